// SPDX-License-Identifier: MIT
#include <oktformat/filescan.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/text.h>

namespace okt
{

FileScan::FileScan(std::string const &file, OnProgress onProgress)
    : m_name(inputName(utf8Path(file))), m_onProgress(std::move(onProgress)), m_source(openSource(utf8Path(file), m_onProgress))
{
    if (m_source->size() == 0)
        throw Failure(m_name, "", "the file is empty");
    m_header = findHeader(*m_source);
}

bool FileScan::run(std::function<void(Stretch const &)> const &onObject,
                   std::function<void(std::string const &)> const &onFault)
{
    bool isWhole = m_header.isWhole;
    if (!isWhole)
        onFault(Failure(m_name, byteAt(m_header.faultAt), m_header.fault).what());
    bool isHeader = !isWhole;
    ObjectScan scan(*m_source, m_header.end);
    ProgressStep progress(m_onProgress, printable(m_name), static_cast<std::uintmax_t>(m_source->size()));
    std::uintmax_t objects = 0;
    while (std::optional<Stretch> const stretch = scan.next())
    {
        objects += stretch->kind == Stretch::Kind::Object ? 1 : 0;
        progress.at(static_cast<std::uintmax_t>(stretch->end), objects);
        if (stretch->kind == Stretch::Kind::Object)
            onObject(*stretch);
        // The first stretch after a damaged header is the rest of that header.
        else if (stretch->kind != Stretch::Kind::Gap && !isHeader)
        {
            isWhole = false;
            onFault(Failure(m_name, byteAt(stretch->faultAt), stretch->fault()).what());
        }
        isHeader = false;
    }
    return isWhole;
}

std::string plainText(CString const &text) { return text.ToUtf8(); }

} // namespace okt
