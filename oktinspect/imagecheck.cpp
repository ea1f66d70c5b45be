// SPDX-License-Identifier: MIT
#include <oktinspect/imagecheck.h>

#include <oktformat/imageformat.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace okt
{

namespace
{

using namespace std::string_view_literals;

constexpr std::string_view kPngSignature = "\x89PNG\r\n\x1A\n"sv;
constexpr std::string_view kPngEnd = "\0\0\0\0IEND\xAE\x42\x60\x82"sv;

// The checksum of PNG. No library that is linked on every system has it. Table n is for a byte that n more follow, so that eight bytes
// are taken at once.
constexpr std::size_t kCrcStep = 8;
constexpr auto kCrcTables = [] {
    std::array<std::array<std::uint32_t, 256>, kCrcStep> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte)
    {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
        tables[0][byte] = value;
    }
    for (std::size_t n = 1; n < kCrcStep; ++n)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[n][byte] = (tables[n - 1][byte] >> 8) ^ tables[0][tables[n - 1][byte] & 0xFF];
    return tables;
}();

std::uint32_t crcOf(std::string_view bytes)
{
    std::uint32_t value = 0xFFFFFFFF;
    for (; bytes.size() >= kCrcStep; bytes.remove_prefix(kCrcStep))
    {
        auto const byteAt = [&](std::size_t i) {
            std::uint32_t const own = static_cast<unsigned char>(bytes[i]);
            return (i < 4 ? own ^ (value >> (8 * i)) : own) & 0xFF;
        };
        std::uint32_t next = 0;
        for (std::size_t i = 0; i < kCrcStep; ++i)
            next ^= kCrcTables[kCrcStep - 1 - i][byteAt(i)];
        value = next;
    }
    for (char const byte : bytes)
        value = kCrcTables[0][(value ^ static_cast<unsigned char>(byte)) & 0xFF] ^ (value >> 8);
    return ~value;
}

/// One pass over the bytes of an image. Only the first fault is stored.
class Pass
{
public:
    explicit Pass(std::string_view bytes) : m_bytes(bytes) {}

    ImageCheck result(char const *format) const
    {
        ImageCheck check = m_check;
        check.format = format;
        if (check.fault.empty())
            check.state = ImageCheck::State::Whole;
        return check;
    }

protected:
    bool has(std::size_t count) const { return m_bytes.size() - m_at >= count; }
    std::uint32_t byte(std::size_t at) const { return static_cast<unsigned char>(m_bytes[at]); }
    std::uint32_t high16(std::size_t at) const { return byte(at) << 8 | byte(at + 1); }
    std::uint32_t high32(std::size_t at) const { return high16(at) << 16 | high16(at + 2); }
    std::uint32_t low16(std::size_t at) const { return byte(at) | byte(at + 1) << 8; }
    std::uint32_t low32(std::size_t at) const { return low16(at) | low16(at + 2) << 16; }

    /// Returns false, so that callers can return it.
    bool damaged(std::size_t at, std::string const &fault) { return note(ImageCheck::State::Damaged, at, fault); }
    bool ends(char const *where) { return damaged(m_bytes.size(), std::string("it ends ") + where); }

    void checkEnd()
    {
        if (std::size_t const behind = m_bytes.size() - m_at; behind > 0)
            note(ImageCheck::State::Odd, m_at, plural(static_cast<std::int64_t>(behind), "byte") + " behind its end");
    }

    std::string_view m_bytes;
    std::size_t m_at = 0;

private:
    bool note(ImageCheck::State state, std::size_t at, std::string const &fault)
    {
        if (m_check.fault.empty())
        {
            m_check.state = state;
            m_check.at = static_cast<std::int64_t>(at);
            m_check.fault = fault;
        }
        return false;
    }

    ImageCheck m_check;
};

class PngPass : public Pass
{
public:
    using Pass::Pass;

    void run()
    {
        if (!m_bytes.starts_with(kPngSignature))
        {
            damaged(0, "its signature is damaged");
            return;
        }
        m_at = kPngSignature.size();
        while (m_type != "IEND")
            if (!chunk())
                return;
        checkEnd();
    }

private:
    bool chunk()
    {
        if (!has(12))
            return ends("without its last chunk");
        std::size_t const begin = m_at;
        std::uint32_t const length = high32(begin);
        std::string const type(m_bytes.substr(begin + 4, 4));
        if (!std::all_of(type.begin(), type.end(), [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }))
            return damaged(begin, "the name of a chunk has characters that are no letters");
        if (length > m_bytes.size() - begin - 12)
            return ends(("inside its chunk " + type).c_str());
        std::size_t const data = begin + 8;
        if (crcOf(m_bytes.substr(begin + 4, 4 + length)) != high32(data + length))
            return damaged(begin, sentence("the check sum of its chunk {} is not that of its bytes", type));
        if (!isInPlace(begin, type, length))
            return false;
        if (type == "IHDR" && !head(data))
            return false;
        m_type = type;
        m_at = data + length + 4;
        return true;
    }

    bool isInPlace(std::size_t at, std::string const &type, std::uint32_t length)
    {
        bool const isFirst = m_type.empty();
        if (isFirst != (type == "IHDR"))
            return damaged(at, isFirst ? "its first chunk is no IHDR" : "a second IHDR");
        if (isFirst && length != 13)
            return damaged(at, "its IHDR has " + plural(length, "byte"));
        bool const isData = type == "IDAT";
        if (isData && m_hasData && m_type != "IDAT")
            return damaged(at, "a chunk stands between its chunks IDAT");
        if (isData && m_wantsPalette && !m_hasPalette)
            return damaged(at, "its palette is missing");
        m_hasData = m_hasData || isData;
        m_hasPalette = m_hasPalette || type == "PLTE";
        if (type == "IEND" && (length != 0 || !m_hasData))
            return damaged(at, m_hasData ? "its IEND has bytes" : "it has no IDAT");
        return true;
    }

    bool head(std::size_t at)
    {
        if (high32(at) == 0 || high32(at + 4) == 0 || high32(at) > 0x7FFFFFFF || high32(at + 4) > 0x7FFFFFFF)
            return damaged(at, "its width or height is none");
        std::uint32_t const depth = byte(at + 8);
        std::uint32_t const colours = byte(at + 9);
        bool const isSmall = depth == 1 || depth == 2 || depth == 4;
        bool const isKnown = colours == 0   ? isSmall || depth == 8 || depth == 16
                             : colours == 3 ? isSmall || depth == 8
                                            : (colours == 2 || colours == 4 || colours == 6) && (depth == 8 || depth == 16);
        if (!isKnown || byte(at + 10) != 0 || byte(at + 11) != 0 || byte(at + 12) > 1)
            return damaged(at + 8, "its kind of pixels is none");
        m_wantsPalette = colours == 3;
        return true;
    }

    std::string m_type; ///< of the last chunk
    bool m_hasData = false;
    bool m_hasPalette = false;
    bool m_wantsPalette = false;
};

class JpegPass : public Pass
{
public:
    using Pass::Pass;

    void run()
    {
        if (!m_bytes.starts_with("\xFF\xD8\xFF"sv))
        {
            damaged(0, "its signature is damaged");
            return;
        }
        m_at = 2;
        while (!m_hasEnded)
            if (!segment())
                return;
        checkEnd();
    }

private:
    static bool isFrame(std::uint32_t marker)
    {
        return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    }

    bool segment()
    {
        if (has(1) && byte(m_at) != 0xFF)
            return damaged(m_at, "a segment is due where none begins");
        while (has(2) && byte(m_at + 1) == 0xFF)
            ++m_at;
        if (!has(2))
            return ends("without its end mark");
        std::size_t const begin = m_at;
        std::uint32_t const marker = byte(begin + 1);
        if (marker == 0xD9)
        {
            m_hasEnded = true;
            m_at += 2;
            return m_hasScan || damaged(begin, "it has no pixels");
        }
        // A marker without a length, or no marker at all.
        if (marker < 0xC0 || (marker >= 0xD0 && marker <= 0xD8))
            return damaged(begin, "a segment has a mark that is none");
        if (!has(4) || high16(begin + 2) < 2 || m_bytes.size() - begin - 2 < high16(begin + 2))
            return ends("inside a segment");
        std::size_t const end = begin + 2 + high16(begin + 2);
        if (!isWhole(marker, begin + 4, end))
            return damaged(begin, "the length of a segment is not that of what is in it");
        if (isFrame(marker))
        {
            if (m_hasFrame)
                return damaged(begin, "a second head");
            m_hasFrame = true;
            if (high16(begin + 7) == 0) // a height of 0 would be given after the pixels, by a segment that is rarely used
                return damaged(begin, "its width is none");
        }
        m_at = end;
        return marker != 0xDA || scan(begin);
    }

    /// Checks the lengths inside a segment.
    bool isWhole(std::uint32_t marker, std::size_t at, std::size_t end)
    {
        std::size_t const size = end - at;
        if (isFrame(marker))
            return size >= 6 && size == 6 + 3 * byte(at + 5);
        switch (marker)
        {
        case 0xDA: return size >= 4 && size == 4 + 2 * byte(at);
        case 0xDD:
            if (size == 2)
                m_restarts = high16(at) != 0;
            return size == 2;
        case 0xDB:
            while (at < end)
                at += 1 + (byte(at) < 0x10 ? 64u : 128u);
            return at == end;
        case 0xC4:
            while (at + 17 <= end)
            {
                std::size_t codes = 0;
                for (std::size_t i = 1; i <= 16; ++i)
                    codes += byte(at + i);
                at += 17 + codes;
            }
            return at == end;
        default: return true;
        }
    }

    /// Pixel data up to the next segment: each FF is followed by a zero, or by the next restart mark.
    bool scan(std::size_t begin)
    {
        if (!m_hasFrame)
            return damaged(begin, "its pixels stand in front of its head");
        m_hasScan = true;
        std::uint32_t restart = 0;
        for (;; m_at += 2)
        {
            m_at = std::min(m_bytes.find('\xFF', m_at), m_bytes.size());
            if (!has(2))
                return ends("without its end mark");
            std::uint32_t const next = byte(m_at + 1);
            if (next >= 0xD0 && next <= 0xD7)
            {
                if (!m_restarts || next != 0xD0 + restart)
                    return damaged(m_at, "a restart mark that is not due");
                restart = (restart + 1) % 8;
            }
            else if (next != 0)
                return true;
        }
    }

    bool m_hasFrame = false;
    bool m_hasScan = false;
    bool m_hasEnded = false;
    bool m_restarts = false;
};

class GifPass : public Pass
{
public:
    using Pass::Pass;

    void run()
    {
        if (!has(13))
        {
            ends("inside its head");
            return;
        }
        m_at = 13;
        if (!colours(byte(10)))
            return;
        for (;;)
        {
            if (!has(1))
            {
                ends("without its end mark");
                return;
            }
            std::uint32_t const type = byte(m_at);
            if (type == 0x3B)
            {
                ++m_at;
                if (!m_hasImage)
                    damaged(m_at - 1, "it has no pixels");
                return checkEnd();
            }
            if (type != 0x21 && type != 0x2C)
            {
                damaged(m_at, "a block is due where none begins");
                return;
            }
            if (!(type == 0x21 ? extension() : image()))
                return;
        }
    }

private:
    bool colours(std::uint32_t flags)
    {
        std::size_t const size = (flags & 0x80) != 0 ? std::size_t(3) << ((flags & 7) + 1) : 0;
        if (!has(size))
            return ends("inside its table of colours");
        m_at += size;
        return true;
    }

    bool extension()
    {
        if (!has(2))
            return ends("inside a block");
        m_at += 2;
        return pieces();
    }

    bool image()
    {
        if (!has(11))
            return ends("inside a block");
        std::uint32_t const flags = byte(m_at + 9);
        m_at += 10;
        if (!colours(flags))
            return false;
        if (!has(1) || byte(m_at) < 2 || byte(m_at) > 8)
            return has(1) ? damaged(m_at, "its pixels have a size of code that is none") : ends("inside a block");
        ++m_at;
        m_hasImage = true;
        return pieces();
    }

    bool pieces()
    {
        for (;;)
        {
            if (!has(1))
                return ends("inside a block");
            std::size_t const size = byte(m_at);
            if (!has(1 + size))
                return ends("inside a block");
            m_at += 1 + size;
            if (size == 0)
                return true;
        }
    }

    bool m_hasImage = false;
};

class BmpPass : public Pass
{
public:
    using Pass::Pass;

    void run()
    {
        std::uint64_t const stated = low32(2);
        if (stated > m_bytes.size())
        {
            damaged(2, sentence("it has {}, by its head {}", bytes(m_bytes.size()), stated));
            return;
        }
        if (!isPixelsInside())
            return;
        m_at = static_cast<std::size_t>(stated);
        if (stated < m_pixelsEnd)
            damaged(2, sentence("its head says that it has {}, its pixels end behind {}", bytes(stated), bytes(m_pixelsEnd)));
        else
            checkEnd();
    }

private:
    static std::string bytes(std::uint64_t count) { return plural(static_cast<std::int64_t>(count), "byte"); }

    bool isPixelsInside()
    {
        bool const isFirstForm = low32(14) == 12;
        if (!isFirstForm && m_bytes.size() < 54)
            return ends("inside its head");
        auto const width = static_cast<std::uint64_t>(isFirstForm ? low16(18) : low32(18));
        auto const height = isFirstForm ? std::int64_t(low16(20)) : std::int64_t(static_cast<std::int32_t>(low32(22)));
        std::uint32_t const depth = low16(isFirstForm ? 24 : 28);
        std::uint32_t const packing = isFirstForm ? 0 : low32(30);
        if (width == 0 || width > 0x7FFFFFFF || height == 0)
            return damaged(18, "its width or height is none");
        if (depth != 1 && depth != 4 && depth != 8 && depth != 16 && depth != 24 && depth != 32 && packing < 4)
            return damaged(28, "its kind of pixels is none");
        std::uint64_t const pixels = low32(10);
        bool const isPacked = packing != 0 && packing != 3;
        std::uint64_t const size =
            isPacked ? low32(34) : (width * depth + 31) / 32 * 4 * static_cast<std::uint64_t>(std::abs(height));
        m_pixelsEnd = pixels + size;
        if (pixels < 14 + low32(14) || m_pixelsEnd > m_bytes.size())
            return damaged(10, "its pixels are not inside of it");
        return true;
    }

    std::uint64_t m_pixelsEnd = 0;
};

template <typename P> ImageCheck checkAs(char const *format, std::string_view bytes)
{
    P pass(bytes);
    pass.run();
    return pass.result(format);
}

/// If the first bytes are damaged, the bytes after them may show the format.
std::optional<ImageCheck> byTheRest(std::string_view bytes)
{
    auto const stands = [bytes](std::string_view text, std::size_t at) {
        return bytes.substr(std::min(at, bytes.size())).starts_with(text);
    };
    if (stands("\0\0\0\x0DIHDR"sv, 8) || bytes.ends_with(kPngEnd))
        return checkAs<PngPass>("PNG", bytes);
    if (bytes.ends_with("\xFF\xD9"sv) && (stands("JFIF\0"sv, 6) || stands("Exif\0"sv, 6)))
        return checkAs<JpegPass>("JPEG", bytes);
    return std::nullopt;
}

} // namespace

ImageCheck checkImage(CByteArray const &image)
{
    std::string_view const bytes(reinterpret_cast<char const *>(image.GetData()), static_cast<std::size_t>(image.GetSize()));
    if (bytes.empty())
        return {ImageCheck::State::Whole, "", 0, ""};
    std::string const format = formatOf(image).name;
    if (format == "PNG")
        return checkAs<PngPass>("PNG", bytes);
    if (format == "JPEG")
        return checkAs<JpegPass>("JPEG", bytes);
    if (format == "GIF")
        return checkAs<GifPass>("GIF", bytes);
    if (format == "BMP")
        return checkAs<BmpPass>("BMP", bytes);
    if (std::optional<ImageCheck> const check = byTheRest(bytes))
        return *check;
    return {ImageCheck::State::NotJudged, format, 0, ""};
}

} // namespace okt
