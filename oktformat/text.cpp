#include <oktformat/text.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace okt
{

namespace
{

// Outside of these a number is written with an exponent.
constexpr double kSmallestPlain = 1e-5;
constexpr double kLargestPlain = 1e15;

constexpr std::uint32_t kNoCharacter = 0xFFFFFFFF;

std::string hex(std::uint32_t value, int digits)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        text += kDigits[(value >> shift) & 15];
    return text;
}

bool isHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

bool isLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// Characters that would move the cursor, end the line or turn the direction of what follows.
bool steersTerminal(std::uint32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF || (c >= 0xFFF9 && c <= 0xFFFB);
}

void appendUtf8(std::string &target, std::uint32_t c)
{
    auto const byte = [&target](std::uint32_t value) { target += static_cast<char>(static_cast<unsigned char>(value)); };
    if (c < 0x80)
    {
        byte(c);
    }
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

void appendPrintable(std::string &target, std::uint32_t c, bool escapeQuotes)
{
    if (c == '\\')
        target += "\\\\";
    else if (c == '"' && escapeQuotes)
        target += "\\\"";
    else if (c == '\n')
        target += "\\n";
    else if (c == '\r')
        target += "\\r";
    else if (c == '\t')
        target += "\\t";
    else if (steersTerminal(c) || isHighSurrogate(c) || isLowSurrogate(c))
        target += "\\u" + hex(c, 4);
    else
        appendUtf8(target, c);
}

std::string printableUnits(CString const &text, bool escapeQuotes)
{
    OktTextView const units = text.View();
    std::string result;
    result.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        std::uint32_t c = units[i];
        if (isHighSurrogate(c) && i + 1 < units.size() && isLowSurrogate(units[i + 1]))
        {
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<std::uint32_t>(units[i + 1]) - 0xDC00);
            ++i;
        }
        appendPrintable(result, c, escapeQuotes);
    }
    return result;
}

/// The character at the start of the bytes and its length; kNoCharacter and 1 when they start with none.
std::uint32_t decode(std::string_view bytes, std::size_t &length)
{
    auto const at = [bytes](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])); };
    length = 1;
    std::uint32_t const first = at(0);
    if (first < 0x80)
        return first;
    std::size_t const more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4 || bytes.size() <= more)
        return kNoCharacter;
    std::uint32_t c = first & (0x3Fu >> more);
    for (std::size_t i = 1; i <= more; ++i)
    {
        if ((at(i) & 0xC0) != 0x80)
            return kNoCharacter;
        c = (c << 6) | (at(i) & 0x3F);
    }
    static constexpr std::array<std::uint32_t, 4> kSmallest = {0, 0x80, 0x800, 0x10000};
    if (c < kSmallest[more] || c > 0x10FFFF || isHighSurrogate(c) || isLowSurrogate(c))
        return kNoCharacter;
    length = more + 1;
    return c;
}

std::string printableBytes(std::string_view utf8, bool escapeQuotes, std::size_t limit)
{
    std::string result;
    for (std::size_t count = 0; !utf8.empty(); ++count)
    {
        if (count == limit)
            return result + "...";
        std::size_t length = 0;
        std::uint32_t const c = decode(utf8, length);
        if (c == kNoCharacter)
            result += "\\x" + hex(static_cast<unsigned char>(utf8.front()), 2);
        else
            appendPrintable(result, c, escapeQuotes);
        utf8.remove_prefix(length);
    }
    return result;
}

} // namespace

std::string printable(CString const &text) { return printableUnits(text, false); }

std::string printable(std::string_view utf8) { return printableBytes(utf8, false, std::string_view::npos); }

std::string quoted(CString const &text) { return "\"" + printableUnits(text, true) + "\""; }

std::string excerpt(std::string_view utf8) { return "\"" + printableBytes(utf8, true, 40) + "\""; }

std::size_t notUtf8At(std::string_view text)
{
    for (std::size_t at = 0, length = 0; at < text.size(); at += length)
        if (decode(text.substr(at), length) == kNoCharacter)
            return at;
    return std::string_view::npos;
}

std::string plural(std::int64_t number, std::string_view noun)
{
    std::string text = std::to_string(number) + " ";
    if (number == 1)
        return text.append(noun);
    return noun.ends_with("ory") ? text.append(noun.substr(0, noun.size() - 1)) + "ies" : text.append(noun) + "s";
}

char const *belong(std::int64_t number) { return number == 1 ? "belongs" : "belong"; }

std::string withArticle(CString const &className)
{
    if (className.IsEmpty())
        return "an object";
    std::string const name = printable(className);
    bool const vowel = std::string_view("AEIOUaeiou").find(name.front()) != std::string_view::npos;
    return (vowel ? "an " : "a ") + name;
}

std::string byteAt(std::int64_t position) { return "byte " + std::to_string(position); }

std::size_t width(std::string_view utf8)
{
    std::size_t count = 0;
    for (char const c : utf8)
        count += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1u : 0u;
    return count;
}

std::string padded(std::string const &utf8, std::size_t wanted)
{
    std::size_t const taken = width(utf8);
    return taken < wanted ? utf8 + std::string(wanted - taken, ' ') : utf8;
}

std::string number(double value)
{
    if (std::isnan(value))
        return "not a number";
    if (std::isinf(value))
        return value < 0 ? "-infinity" : "infinity";
    double const size = std::abs(value);
    bool const isHandy = size == 0 || (size >= kSmallestPlain && size < kLargestPlain);
    std::array<char, 64> buffer{};
    char *const last = buffer.data() + buffer.size();
    std::to_chars_result const end = isHandy ? std::to_chars(buffer.data(), last, value, std::chars_format::fixed)
                                             : std::to_chars(buffer.data(), last, value);
    return std::string(buffer.data(), end.ptr);
}

std::string rounded(double value, int digits)
{
    if (!std::isfinite(value))
        return number(value);
    std::array<char, 64> buffer{};
    std::to_chars_result const end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, digits);
    return std::string(buffer.data(), end.ptr);
}

} // namespace okt
