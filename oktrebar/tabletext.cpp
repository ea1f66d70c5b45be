// SPDX-License-Identifier: MIT
#include <oktrebar/tabletext.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <oktplatform/oktstring.h>

#include <algorithm>
#include <vector>

namespace okt
{

namespace
{

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLittleMark = "\xFF\xFE";
constexpr std::string_view kBigMark = "\xFE\xFF";
constexpr std::string_view kWideLittleMark("\xFF\xFE\0\0", 4);
constexpr std::string_view kWideBigMark("\0\0\xFE\xFF", 4);
constexpr char kWanted[] = "tables are UTF-8, or UTF-16 with a byte order mark";
constexpr char kWantedOfRecords[] = "bar records are ASCII, or UTF-16 with a byte order mark";

// The number of bytes used to guess the encoding.
constexpr std::size_t kLookedAt = 1024;

unsigned byteAtPlace(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

/// "line:column" of an offset; both from 1, the column in bytes.
std::string placeIn(std::string_view text, std::size_t at)
{
    std::string_view const before = text.substr(0, at);
    std::size_t const lineStart = before.rfind('\n') + 1; // none: 0
    return sentence("{}:{}", 1 + std::count(before.begin(), before.end(), '\n'), at - lineStart + 1);
}

std::string hexByte(unsigned byte)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    return std::string("0x") + kDigits[byte >> 4] + kDigits[byte & 15];
}

/// Looks like UTF-16 of western languages: every second byte is 0.
bool looksLikeUtf16(std::string_view bytes, std::size_t zeroAt)
{
    bytes = bytes.substr(0, kLookedAt);
    std::size_t zeros = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        if (bytes[i] != 0)
            continue;
        if (i % 2 != zeroAt)
            return false;
        ++zeros;
    }
    return zeros * 4 >= bytes.size(); // half of the characters at least
}

std::string fromUtf16(std::string const &file, std::string_view bytes, bool isLittle)
{
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    {
        unsigned const low = byteAtPlace(bytes, isLittle ? i : i + 1);
        unsigned const high = byteAtPlace(bytes, isLittle ? i + 1 : i);
        units += static_cast<char16_t>(high << 8 | low);
    }
    auto const refuse = [&](std::size_t unit, std::string const &reason) {
        auto const line = 1 + std::count(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(unit), u'\n');
        throw Failure(file, std::to_string(line), reason);
    };
    if (bytes.size() % 2 != 0)
        refuse(units.size(), "the file ends in the middle of a character of UTF-16");
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        bool const isHigh = units[i] >= 0xD800 && units[i] <= 0xDBFF;
        bool const hasLow = i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF;
        if (isHigh && hasLow)
            ++i;
        else if (units[i] >= 0xD800 && units[i] <= 0xDFFF)
            refuse(i, "half a character of UTF-16 stands alone here");
    }
    return CString(units.data(), static_cast<int>(units.size())).ToUtf8();
}

/// Removes the byte order mark and converts UTF-16 to UTF-8. Other bytes stay unchanged.
std::string withoutMark(std::string const &file, std::string_view bytes, char const *wanted)
{
    if (bytes.starts_with(kWideLittleMark) || bytes.starts_with(kWideBigMark))
        throw Failure(file, "", std::string("this is UTF-32; ") + wanted);
    if (bytes.starts_with(kLittleMark) || bytes.starts_with(kBigMark))
        return fromUtf16(file, bytes.substr(kLittleMark.size()), bytes.starts_with(kLittleMark));
    if (bytes.size() > 1 && (looksLikeUtf16(bytes, 1) || looksLikeUtf16(bytes, 0)))
        throw Failure(file, "", std::string("this looks like UTF-16 without a byte order mark; ") + wanted);
    return std::string(bytes.substr(bytes.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0));
}

} // namespace

std::string recordText(std::string const &file, std::string_view bytes) { return withoutMark(file, bytes, kWantedOfRecords); }

std::string tableText(std::string const &file, std::string_view bytes)
{
    std::string const text = withoutMark(file, bytes, kWanted);
    if (std::size_t const at = text.find('\0'); at != std::string::npos)
        throw Failure(file, placeIn(text, at), "a byte 0 is here: this is no text");
    if (std::size_t const at = notUtf8At(text); at != std::string::npos)
        throw Failure(file, placeIn(text, at),
                      sentence("the byte {} here is no UTF-8, perhaps Windows-1252 or Latin-1; {}",
                               hexByte(byteAtPlace(text, at)), kWanted));
    return text;
}

} // namespace okt
