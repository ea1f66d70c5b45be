#include <okttext/oktnotation.h>

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

constexpr char kDigits[] = "0123456789ABCDEF";
constexpr std::uint32_t kReplacement = 0xFFFD;

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

std::uint32_t unitAt(Bytes units, std::size_t index)
{
    return static_cast<std::uint32_t>(static_cast<unsigned char>(units[2 * index])) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(units[2 * index + 1])) << 8;
}

bool isHigh(std::uint32_t c) { return c >= 0xD800 && c <= 0xDBFF; }

bool isLow(std::uint32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

bool isSurrogate(std::uint32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

void appendHex(std::string &out, std::uint64_t value, int digits)
{
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        out += kDigits[(value >> shift) & 15];
}

/// Characters that would steer a terminal or turn the direction of what follows, and those that JSON does not take.
bool isEscaped(std::uint32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF || (c >= 0xFFF9 && c <= 0xFFFB);
}

void appendCharacter(std::string &json, std::uint32_t c)
{
    auto const byte = [&json](std::uint32_t value) { json += static_cast<char>(static_cast<unsigned char>(value)); };
    if (c == '"' || c == '\\')
    {
        json += '\\';
        byte(c);
    }
    else if (c == '\n')
        json += "\\n";
    else if (c == '\r')
        json += "\\r";
    else if (c == '\t')
        json += "\\t";
    else if (isEscaped(c))
    {
        json += "\\u";
        appendHex(json, c, 4);
    }
    else if (c < 0x80)
        byte(c);
    else if (c < 0x800)
    {
        byte(0xC0 | (c >> 6));
        byte(0x80 | (c & 0x3F));
    }
    else if (c < 0x10000)
    {
        byte(0xE0 | (c >> 12));
        byte(0x80 | ((c >> 6) & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
    else
    {
        byte(0xF0 | (c >> 18));
        byte(0x80 | ((c >> 12) & 0x3F));
        byte(0x80 | ((c >> 6) & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
}

/// Calls `take` with each character; a lone surrogate comes as itself.
template <typename Take> void forCharacters(Bytes units, Take const &take)
{
    std::size_t const count = units.size() / 2;
    for (std::size_t i = 0; i < count; ++i)
    {
        std::uint32_t const c = unitAt(units, i);
        if (isHigh(c) && i + 1 < count && isLow(unitAt(units, i + 1)))
        {
            take(0x10000 + ((c - 0xD800) << 10) + (unitAt(units, i + 1) - 0xDC00));
            ++i;
        }
        else
            take(c);
    }
}

/// Takes one character from the front of UTF-8 that is known to be well-formed, as the JSON parser hands it over.
std::uint32_t takeCharacter(std::string_view &utf8)
{
    auto const first = static_cast<unsigned char>(utf8.front());
    std::size_t const more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first >= 0xC0 ? 1 : 0;
    std::uint32_t c = more == 0 ? first : first & (0x3Fu >> more);
    for (std::size_t i = 1; i <= more && i < utf8.size(); ++i)
        c = (c << 6) | (static_cast<unsigned char>(utf8[i]) & 0x3Fu);
    utf8.remove_prefix(std::min(more + 1, utf8.size()));
    return c;
}

void pushUnit(std::string &units, std::uint32_t unit)
{
    units += static_cast<char>(static_cast<unsigned char>(unit & 0xFF));
    units += static_cast<char>(static_cast<unsigned char>(unit >> 8));
}

void pushCharacter(std::string &units, std::uint32_t c)
{
    if (c < 0x10000)
        return pushUnit(units, c);
    pushUnit(units, 0xD800 + ((c - 0x10000) >> 10));
    pushUnit(units, 0xDC00 + ((c - 0x10000) & 0x3FF));
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
    forCharacters(units, [&json](std::uint32_t c) { appendCharacter(json, isSurrogate(c) ? kReplacement : c); });
}

void appendEscapedUnits(std::string &json, Bytes units)
{
    forCharacters(units, [&json](std::uint32_t c) {
        if (isSurrogate(c))
        {
            json += "\\\\u";
            appendHex(json, c, 4);
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
    forCharacters(units, [&found](std::uint32_t c) { found = found || isSurrogate(c); });
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
        std::uint32_t const c = takeCharacter(utf8);
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
        pushUnit(units, static_cast<std::uint32_t>(*unit));
        utf8.remove_prefix(5);
    }
    return units;
}

std::optional<std::string> parseNarrow(std::string_view utf8)
{
    std::string text;
    while (!utf8.empty())
    {
        std::uint32_t const c = takeCharacter(utf8);
        std::uint32_t byte = c;
        if (c >= 0x80 && (c < 0xA0 || c > 0xFF))
        {
            auto const found = std::find(kNarrow.begin(), kNarrow.end(), c);
            if (found == kNarrow.end())
                return std::nullopt;
            byte = 0x80 + static_cast<std::uint32_t>(found - kNarrow.begin());
        }
        text += static_cast<char>(static_cast<unsigned char>(byte));
    }
    return text;
}

std::string base64(Bytes bytes, Base64Padding padding)
{
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size())))
    {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = (group << 8) | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u);
        for (std::size_t i = 0; i < 4; ++i)
            if (i <= bytes.size())
                text += kAlphabet[(group >> (18 - 6 * i)) & 63];
            else if (padding == Base64Padding::With)
                text += '=';
    }
    return text;
}

std::optional<std::string> parseBase64(std::string_view text, Base64Padding padding)
{
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t bits = 0;
    int count = 0;
    std::string_view rest = text;
    for (; !rest.empty() && rest.front() != '='; rest.remove_prefix(1))
    {
        char const c = rest.front();
        int const value = c >= 'A' && c <= 'Z'   ? c - 'A'
                          : c >= 'a' && c <= 'z' ? c - 'a' + 26
                          : c >= '0' && c <= '9' ? c - '0' + 52
                          : c == '+'             ? 62
                          : c == '/'             ? 63
                                                 : -1;
        if (value < 0)
            return std::nullopt;
        bits = ((bits << 6) | static_cast<std::uint32_t>(value)) & 0xFFFF;
        count += 6;
        if (count >= 8)
        {
            count -= 8;
            bytes += static_cast<char>(static_cast<unsigned char>(bits >> count));
        }
    }
    // A character of which no bit is needed, bits left over that are not zero, padding too short, too long or unwanted.
    std::size_t const written = text.size() - rest.size();
    std::size_t const wanted = padding == Base64Padding::With ? (4 - written % 4) % 4 : 0;
    bool const isWhole = count < 6 && (bits & ((1u << count) - 1)) == 0;
    if (!isWhole || rest != std::string_view("===").substr(0, wanted))
        return std::nullopt;
    return bytes;
}

std::string doubleText(double value)
{
    if (std::isnan(value))
    {
        std::string text = "\"nan:";
        appendHex(text, std::bit_cast<std::uint64_t>(value), 16);
        return text + '"';
    }
    if (std::isinf(value))
        return value < 0 ? "\"-infinity\"" : "\"infinity\"";
    if (value == 0 && std::signbit(value))
        return "\"-0\""; // as a number it is a whole number to many a reader, without its sign
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
        text[kGuidPlaces[i]] = kDigits[byte >> 4];
        text[kGuidPlaces[i] + 1] = kDigits[byte & 15];
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
