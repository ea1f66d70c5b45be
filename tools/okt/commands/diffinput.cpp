// SPDX-License-Identifier: MIT
#include <tools/okt/commands/diffinput.h>

#include <oktformat/objectscan.h>
#include <oktformat/text.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/progress.h>

namespace okt
{

DiffInput::DiffInput(std::string const &file, std::string name) : m_name(std::move(name)), m_path(utf8Path(file))
{
    if (isStream(m_path))
        m_source = std::make_unique<ByteSource>(m_kept.emplace(readInput(m_path, terminalProgress())));
    else
        m_source = openSource(m_path, terminalProgress());
}

bool DiffInput::isSameAs(DiffInput &other)
{
    std::int64_t const size = m_source->size();
    if (size != other.m_source->size())
        return false;
    ProgressLine progress(printable(std::string_view(m_name)), static_cast<std::uintmax_t>(size));
    for (std::int64_t at = 0; at < size; at += static_cast<std::int64_t>(ByteSource::kWidestLook))
    {
        progress.at(static_cast<std::uintmax_t>(at));
        if (m_source->look(at, ByteSource::kWidestLook) != other.m_source->look(at, ByteSource::kWidestLook))
            return false;
    }
    return true;
}

std::size_t DiffInput::countObjects()
{
    HeaderPlace const header = findHeader(*m_source);
    ObjectScan scan(*m_source, header.end);
    ProgressLine progress(printable(std::string_view(m_name)), static_cast<std::uintmax_t>(m_source->size()));
    std::size_t count = 0;
    while (std::optional<Stretch> const stretch = scan.next())
        progress.at(static_cast<std::uintmax_t>(stretch->end), ++count);
    return count;
}

CByteArray DiffInput::take()
{
    m_source.reset();
    return m_kept ? std::move(*m_kept) : readInput(m_path, terminalProgress());
}

} // namespace okt
