// SPDX-License-Identifier: MIT
#include <oktformat/imageformat.h>

#include <oktformat/sentence.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace okt
{

namespace
{

using namespace std::string_view_literals;

// The <svg> element is searched within this many bytes.
constexpr std::size_t kSvgProbe = 4096;

/// The bytes of an image; beyond its end there are zeros.
class Bytes
{
public:
    explicit Bytes(CByteArray const &image)
        : m_text(reinterpret_cast<char const *>(image.GetData()), static_cast<std::size_t>(image.GetSize()))
    {
    }

    std::string_view text() const { return m_text; }
    std::size_t size() const { return m_text.size(); }
    bool has(std::string_view signature, std::size_t at = 0) const
    {
        return at <= m_text.size() && m_text.substr(at).starts_with(signature);
    }

    std::uint32_t byte(std::size_t at) const { return at < m_text.size() ? static_cast<unsigned char>(m_text[at]) : 0; }
    std::uint32_t low16(std::size_t at) const { return byte(at) | byte(at + 1) << 8; }
    std::uint32_t high16(std::size_t at) const { return byte(at) << 8 | byte(at + 1); }
    std::uint32_t low32(std::size_t at) const { return low16(at) | low16(at + 2) << 16; }
    std::uint32_t high32(std::size_t at) const { return high16(at) << 16 | high16(at + 2); }

private:
    std::string_view m_text;
};

ImageFormat sized(char const *name, std::int64_t width, std::int64_t height)
{
    auto const isSize = [](std::int64_t value) { return value > 0 && value <= std::numeric_limits<std::int32_t>::max(); };
    if (!isSize(width) || !isSize(height))
        return {name, 0, 0};
    return {name, static_cast<int>(width), static_cast<int>(height)};
}

/// The signature "BM" alone could begin any text, so the header is checked too.
bool isBitmapHead(std::uint32_t size)
{
    return size == 12 || size == 40 || size == 52 || size == 56 || size == 64 || size == 108 || size == 124;
}

ImageFormat bitmap(Bytes const &bytes)
{
    if (bytes.low32(14) == 12) // the first form of its header
        return sized("BMP", bytes.low16(18), bytes.low16(20));
    // A negative height means that rows are stored from top to bottom.
    return sized("BMP", static_cast<std::int32_t>(bytes.low32(18)),
                 std::abs(static_cast<std::int64_t>(static_cast<std::int32_t>(bytes.low32(22)))));
}

/// The size is in the start-of-frame segment.
ImageFormat jpeg(Bytes const &bytes)
{
    for (std::size_t at = 2; at < bytes.size() && bytes.byte(at) == 0xFF;)
    {
        std::uint32_t const marker = bytes.byte(at + 1);
        bool const isFrame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame && at + 9 <= bytes.size())
            return sized("JPEG", bytes.high16(at + 7), bytes.high16(at + 5));
        bool const isFilling = marker == 0xFF;
        at += isFilling ? 1 : 2 + std::max<std::size_t>(bytes.high16(at + 2), 2);
    }
    return {"JPEG", 0, 0};
}

bool isSvg(Bytes const &bytes)
{
    std::string_view text = bytes.text().substr(0, kSvgProbe);
    if (text.starts_with("\xEF\xBB\xBF"sv))
        text.remove_prefix(3);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"sv), text.size()));
    return text.starts_with("<svg"sv) ||
           ((text.starts_with("<?xml"sv) || text.starts_with("<!"sv)) && text.find("<svg"sv) != std::string_view::npos);
}

} // namespace

std::string ImageFormat::text() const
{
    if (name.empty())
        return "no known format";
    if (width == 0)
        return name;
    return sentence("{}, {} x {} pixels", name, width, height);
}

ImageFormat formatOf(CByteArray const &image)
{
    Bytes const bytes(image);
    if (bytes.has("\x89PNG\r\n\x1A\n"sv))
        return bytes.has("IHDR"sv, 12) && bytes.size() >= 24 ? sized("PNG", bytes.high32(16), bytes.high32(20))
                                                             : ImageFormat{"PNG", 0, 0};
    if (bytes.has("\xFF\xD8\xFF"sv))
        return jpeg(bytes);
    if (bytes.has("GIF87a"sv) || bytes.has("GIF89a"sv))
        return bytes.size() >= 10 ? sized("GIF", bytes.low16(6), bytes.low16(8)) : ImageFormat{"GIF", 0, 0};
    if (bytes.has("BM"sv) && bytes.size() >= 26 && isBitmapHead(bytes.low32(14)))
        return bitmap(bytes);
    if (bytes.has("II*\0"sv) || bytes.has("MM\0*"sv))
        return {"TIFF", 0, 0};
    if (bytes.has("RIFF"sv) && bytes.has("WEBP"sv, 8))
        return {"WebP", 0, 0};
    if (bytes.has("\0\0\1\0"sv) && bytes.low16(4) > 0)
        return {"ICO", 0, 0};
    if (bytes.has("\1\0\0\0"sv) && bytes.has(" EMF"sv, 40))
        return {"EMF", 0, 0};
    // The three forms of a WMF: placeable, in memory, in a file. The header of the last two has 9 words.
    if (bytes.has("\xD7\xCD\xC6\x9A"sv) || bytes.has("\1\0\x09\0"sv) || bytes.has("\2\0\x09\0"sv))
        return {"WMF", 0, 0};
    if (bytes.has("%PDF-"sv))
        return {"PDF", 0, 0};
    if (isSvg(bytes))
        return {"SVG", 0, 0};
    return {};
}

} // namespace okt
