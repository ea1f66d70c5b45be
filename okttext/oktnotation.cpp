// SPDX-License-Identifier: MIT
#include <okttext/oktnotation.h>

#include <oktformat/escape.h>
#include <oktformat/recordwalk.h>
#include <oktformat/utf8.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

namespace okttext
{

namespace
{

// Windows-1252 from 0x80 to 0x9F; elsewhere a byte is the character of its number.
constexpr std::array<char16_t, 32> kNarrow = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                              0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                              0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                              0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

constexpr std::array<std::string_view, 29> kKinds = {
    "VT_EMPTY", "VT_NULL",     "VT_I2",    "VT_I4",        "VT_R4",      "VT_R8",      "VT_CY",      "VT_DATE",
    "VT_BSTR",  "VT_DISPATCH", "VT_ERROR", "VT_BOOL",      "VT_VARIANT", "VT_UNKNOWN", "VT_DECIMAL", "",
    "VT_I1",    "VT_UI1",      "VT_UI2",   "VT_UI4",       "VT_I8",      "VT_UI8",     "VT_INT",     "VT_UINT",
    "VT_VOID",  "VT_HRESULT",  "VT_PTR",   "VT_SAFEARRAY", "VT_CARRAY"};

char32_t unitAt(Bytes units, std::size_t index) { return okt::littleEndian(units.substr(2 * index, 2)); }

void appendCharacter(std::string &json, char32_t c) { okt::appendEscaped(json, c, true); }

/// Calls `take` with each character; a lone surrogate comes as itself.
template <typename Take> void forCharacters(Bytes units, Take const &take)
{
    std::size_t const count = units.size() / 2;
    for (std::size_t i = 0; i < count; ++i)
    {
        char32_t const c = unitAt(units, i);
        if (okt::isHighSurrogate(c) && i + 1 < count && okt::isLowSurrogate(unitAt(units, i + 1)))
            take(okt::joined(c, unitAt(units, ++i)));
        else
            take(c);
    }
}

/// Removes one character from the front of a text, which is valid UTF-8, as the JSON parser has checked.
char32_t takeCharacter(std::string_view &utf8)
{
    auto const [character, size] = okt::firstCharacter(utf8);
    utf8.remove_prefix(size);
    return character == okt::kNoCharacter ? okt::kReplacementCharacter : character;
}

void pushUnit(std::string &units, char32_t unit)
{
    units += static_cast<char>(static_cast<unsigned char>(unit & 0xFF));
    units += static_cast<char>(static_cast<unsigned char>(unit >> 8));
}

void pushCharacter(std::string &units, char32_t c)
{
    if (c < 0x10000)
        return pushUnit(units, c);
    pushUnit(units, okt::highSurrogate(c));
    pushUnit(units, okt::lowSurrogate(c));
}

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

std::optional<std::uint64_t> parseHex(std::string_view digits)
{
    std::uint64_t value = 0;
    for (char const digit : digits)
    {
        if (hexValue(digit) < 0)
            return std::nullopt;
        value = (value << 4) | static_cast<std::uint64_t>(hexValue(digit));
    }
    return value;
}

} // namespace

void appendUnits(std::string &json, Bytes units)
{
    forCharacters(units, [&json](char32_t c) { appendCharacter(json, okt::isSurrogate(c) ? okt::kReplacementCharacter : c); });
}

void appendEscapedUnits(std::string &json, Bytes units)
{
    forCharacters(units, [&json](char32_t c) {
        if (okt::isSurrogate(c))
        {
            json += "\\\\u";
            okt::appendHex(json, c, 4);
        }
        else if (c == '\\')
            json += "\\\\\\\\";
        else
            appendCharacter(json, c);
    });
}

bool hasLoneSurrogate(Bytes units)
{
    bool found = false;
    forCharacters(units, [&found](char32_t c) { found = found || okt::isSurrogate(c); });
    return found;
}

void appendNarrow(std::string &json, Bytes text)
{
    for (char const c : text)
    {
        auto const byte = static_cast<unsigned char>(c);
        appendCharacter(json, byte >= 0x80 && byte < 0xA0 ? kNarrow[byte - 0x80u] : byte);
    }
}

std::string parseUnits(std::string_view utf8)
{
    std::string units;
    while (!utf8.empty())
        pushCharacter(units, takeCharacter(utf8));
    return units;
}

std::optional<std::string> parseEscapedUnits(std::string_view utf8)
{
    std::string units;
    while (!utf8.empty())
    {
        char32_t const c = takeCharacter(utf8);
        if (c != '\\')
        {
            pushCharacter(units, c);
            continue;
        }
        if (utf8.starts_with('\\'))
        {
            pushUnit(units, c);
            utf8.remove_prefix(1);
            continue;
        }
        std::optional<std::uint64_t> const unit =
            utf8.size() >= 5 && utf8.front() == 'u' ? parseHex(utf8.substr(1, 4)) : std::nullopt;
        if (!unit)
            return std::nullopt;
        pushUnit(units, static_cast<char32_t>(*unit));
        utf8.remove_prefix(5);
    }
    return units;
}

std::optional<std::string> parseNarrow(std::string_view utf8)
{
    std::string text;
    while (!utf8.empty())
    {
        char32_t const c = takeCharacter(utf8);
        char32_t byte = c;
        if (c >= 0x80 && (c < 0xA0 || c > 0xFF))
        {
            auto const found = std::find(kNarrow.begin(), kNarrow.end(), c);
            if (found == kNarrow.end())
                return std::nullopt;
            byte = 0x80 + static_cast<char32_t>(found - kNarrow.begin());
        }
        text += static_cast<char>(static_cast<unsigned char>(byte));
    }
    return text;
}

std::string doubleText(double value)
{
    if (std::isnan(value))
    {
        std::string text = "\"nan:";
        okt::appendHex(text, std::bit_cast<std::uint64_t>(value), 16);
        return text + '"';
    }
    if (std::isinf(value))
        return value < 0 ? "\"-infinity\"" : "\"infinity\"";
    if (value == 0 && std::signbit(value))
        return "\"-0\""; // many JSON readers would read -0 as the integer 0
    std::array<char, 32> buffer{};
    std::to_chars_result const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return std::string(buffer.data(), end.ptr);
}

std::optional<double> parseDouble(std::string_view text)
{
    if (text == "infinity")
        return std::numeric_limits<double>::infinity();
    if (text == "-infinity")
        return -std::numeric_limits<double>::infinity();
    if (text == "-0")
        return -0.0;
    if (text.size() != 20 || !text.starts_with("nan:"))
        return std::nullopt;
    std::optional<std::uint64_t> const bits = parseHex(text.substr(4));
    if (!bits || !std::isnan(std::bit_cast<double>(*bits)))
        return std::nullopt;
    return std::bit_cast<double>(*bits);
}

namespace
{
// Where the digits of byte i stand: Data1, Data2 and Data3 are numbers, their lowest byte comes first in memory.
constexpr std::array<std::size_t, 16> kGuidPlaces = {7, 5, 3, 1, 12, 10, 17, 15, 20, 22, 25, 27, 29, 31, 33, 35};
constexpr std::string_view kGuidForm = "{--------+----+----+----+------------}";
} // namespace

std::string guidText(Bytes guid)
{
    std::string text(kGuidForm);
    std::replace(text.begin(), text.end(), '-', '0');
    std::replace(text.begin(), text.end(), '+', '-');
    for (std::size_t i = 0; i < kGuidPlaces.size() && i < guid.size(); ++i)
    {
        auto const byte = static_cast<unsigned char>(guid[i]);
        std::string digits;
        okt::appendHex(digits, byte, 2);
        text.replace(kGuidPlaces[i], 2, digits);
    }
    return text;
}

std::optional<std::string> parseGuid(std::string_view text)
{
    std::string guid;
    if (text.size() != kGuidForm.size())
        return std::nullopt;
    for (std::size_t const place : kGuidPlaces)
    {
        std::optional<std::uint64_t> const byte = parseHex(text.substr(place, 2));
        if (!byte)
            return std::nullopt;
        guid += static_cast<char>(static_cast<unsigned char>(*byte));
    }
    auto const sameLetters = [](char left, char right) {
        return hexValue(left) >= 0 ? hexValue(left) == hexValue(right) : left == right;
    };
    std::string const again = guidText(guid);
    if (!std::equal(again.begin(), again.end(), text.begin(), text.end(), sameLetters))
        return std::nullopt;
    return guid;
}

std::string_view kindName(std::int32_t kind)
{
    return kind >= 0 && static_cast<std::size_t>(kind) < kKinds.size() ? kKinds[static_cast<std::size_t>(kind)]
                                                                       : std::string_view();
}

std::optional<std::int32_t> parseKind(std::string_view name)
{
    auto const found = std::find(kKinds.begin(), kKinds.end(), name);
    if (name.empty() || found == kKinds.end())
        return std::nullopt;
    return static_cast<std::int32_t>(found - kKinds.begin());
}

std::string readable(std::string_view text, std::size_t longest)
{
    std::string shown(text.substr(0, longest));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < 0x20 || c > 0x7E; }, '?');
    return text.size() > longest ? shown + "..." : shown;
}

} // namespace okttext
