// SPDX-License-Identifier: MIT
#include <oktformat/bytesource.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/text.h>

#include <algorithm>

namespace okt
{

namespace
{

// Several times the longest look(), so that a walk over small records seldom reads the same bytes twice.
constexpr std::size_t kFileWindow = 4 * ByteSource::kWidestLook;

std::string_view viewOf(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

class FileSource : public ByteSource
{
public:
    explicit FileSource(std::filesystem::path const &path) : m_name(pathName(path))
    {
        m_size = static_cast<std::int64_t>(readableLength(path));
        CFileException refused;
        if (!m_file.Open(pathText(path), CFile::modeRead | CFile::shareDenyWrite, &refused))
            throw Failure(m_name, "", "the file cannot be opened: " + systemReason(refused.m_lOsError));
    }

protected:
    void moveWindow(std::int64_t offset, std::size_t count) override
    {
        // Keep some bytes before the offset in the window: walks look back.
        std::int64_t const begin = std::max<std::int64_t>(0, offset - 64);
        std::size_t const wanted =
            std::min(std::max(count + 64, m_buffered), static_cast<std::size_t>(std::max<std::int64_t>(0, m_size - begin)));
        m_buffered = std::min(2 * m_buffered, kFileWindow); // start small: a header is short
        m_buffer.resize(wanted);
        m_window = {};
        try
        {
            m_file.Seek(begin, CFile::begin);
            UINT const read = wanted == 0 ? 0 : m_file.Read(m_buffer.data(), static_cast<UINT>(wanted));
            if (read != wanted)
                throw Failure(m_name, byteAt(begin + read), "the file became shorter while it was read");
        }
        catch (CFileException const &exception)
        {
            throw Failure(m_name, "", "the file cannot be read: " + systemReason(exception.m_lOsError));
        }
        m_windowBegin = begin;
        m_window = m_buffer;
    }

private:
    std::string m_name;
    CFile m_file;
    std::string m_buffer;
    std::size_t m_buffered = 1 << 14;
};

/// The bytes of a stream, owned.
class OwnedSource : public ByteSource
{
public:
    explicit OwnedSource(CByteArray bytes) : m_bytes(std::move(bytes))
    {
        m_window = viewOf(m_bytes);
        m_size = static_cast<std::int64_t>(m_window.size());
    }

private:
    CByteArray m_bytes;
};

} // namespace

ByteSource::ByteSource(std::string_view bytes) : m_size(static_cast<std::int64_t>(bytes.size())), m_window(bytes) {}

ByteSource::ByteSource(CByteArray const &bytes) : ByteSource(viewOf(bytes)) {}

void ByteSource::moveWindow(std::int64_t, std::size_t) {}

std::string_view ByteSource::lookElsewhere(std::int64_t offset, std::size_t count)
{
    if (offset < 0 || offset >= m_size || count == 0)
        return {};
    count = static_cast<std::size_t>(
        std::min<std::int64_t>({static_cast<std::int64_t>(count), static_cast<std::int64_t>(kWidestLook), m_size - offset}));
    std::int64_t const inWindow = offset - m_windowBegin;
    if (inWindow < 0 || inWindow + static_cast<std::int64_t>(count) > static_cast<std::int64_t>(m_window.size()))
        moveWindow(offset, count);
    return m_window.substr(static_cast<std::size_t>(offset - m_windowBegin), count);
}

std::string ByteSource::copy(std::int64_t offset, std::int64_t count)
{
    std::string bytes;
    while (count > 0)
    {
        std::string_view const piece =
            look(offset, static_cast<std::size_t>(std::min<std::int64_t>(count, static_cast<std::int64_t>(kWidestLook))));
        if (piece.empty())
            break;
        bytes += piece;
        offset += static_cast<std::int64_t>(piece.size());
        count -= static_cast<std::int64_t>(piece.size());
    }
    return bytes;
}

std::int64_t ByteSource::findFrameBegin(std::int64_t from, std::int64_t to)
{
    to = std::min(to, m_size);
    while (from + 2 <= to)
    {
        std::string_view const piece =
            look(from, static_cast<std::size_t>(std::min<std::int64_t>(to - from, static_cast<std::int64_t>(kWidestLook))));
        if (std::size_t const found = piece.find("\x06\x05", 0, 2); found != std::string_view::npos)
            return from + static_cast<std::int64_t>(found);
        from += static_cast<std::int64_t>(piece.size()) - 1;
    }
    return -1;
}

std::unique_ptr<ByteSource> openSource(std::filesystem::path const &path, OnProgress const &onProgress)
{
    if (isStream(path))
        return std::make_unique<OwnedSource>(readInput(path, onProgress));
    return std::make_unique<FileSource>(path);
}

} // namespace okt
