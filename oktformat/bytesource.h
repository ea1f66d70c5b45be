// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/progress.h>

#include <oktplatform/oktplatform.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace okt
{

/// Bytes that are read through a window: only the part of a file that is in use is in memory.
class ByteSource
{
public:
    /// The largest number of bytes that look() returns. The longest text record has 131,073 bytes with its head.
    static constexpr std::size_t kWidestLook = std::size_t(1) << 18;

    /// Bytes in memory, which must outlive the source.
    explicit ByteSource(std::string_view bytes);
    explicit ByteSource(CByteArray const &bytes);
    ByteSource(ByteSource const &) = delete;
    ByteSource &operator=(ByteSource const &) = delete;
    virtual ~ByteSource() = default;

    /// The length in bytes, as it was when the source was made.
    std::int64_t size() const { return m_size; }

    /// The bytes from `offset` on, at most `count` of them: fewer at the end. Good until the next look. Throws Failure when the
    /// file cannot be read.
    std::string_view look(std::int64_t offset, std::size_t count)
    {
        std::int64_t const inWindow = offset - m_windowBegin;
        if (inWindow >= 0 && inWindow + static_cast<std::int64_t>(count) <= static_cast<std::int64_t>(m_window.size()))
            return m_window.substr(static_cast<std::size_t>(inWindow), count);
        return lookElsewhere(offset, count);
    }

    /// The byte at an offset; -1 outside of the file.
    int at(std::int64_t offset)
    {
        std::string_view const byte = look(offset, 1);
        return byte.empty() ? -1 : static_cast<unsigned char>(byte.front());
    }

    /// A copy of `count` bytes, of any number; fewer at the end.
    std::string copy(std::int64_t offset, std::int64_t count);

    /// The offset of the first pair of bytes 6, 5 inside [from, to); -1: none.
    std::int64_t findFrameBegin(std::int64_t from, std::int64_t to);

protected:
    ByteSource() = default;
    /// Moves the window so that it holds `count` bytes from `offset` on, or all up to the end of the file.
    virtual void moveWindow(std::int64_t offset, std::size_t count);

    std::int64_t m_size = 0;
    std::int64_t m_windowBegin = 0;
    std::string_view m_window;

private:
    std::string_view lookElsewhere(std::int64_t offset, std::size_t count);
};

/// Opens a pool file. A stream (isStream) is read whole. Throws Failure as readBytes does.
std::unique_ptr<ByteSource> openSource(std::filesystem::path const &path, OnProgress const &onProgress = {});

} // namespace okt
