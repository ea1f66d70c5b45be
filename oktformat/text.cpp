// SPDX-License-Identifier: MIT
#include <oktformat/text.h>

#include <oktformat/escape.h>
#include <oktformat/sentence.h>
#include <oktformat/utf8.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace okt
{

namespace
{

// Numbers outside of these limits are written with an exponent.
constexpr double kSmallestPlain = 1e-5;
constexpr double kLargestPlain = 1e15;

std::string printableUnits(CString const &text, bool escapeQuotes)
{
    OktTextView const units = text.View();
    std::string result;
    result.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        char32_t c = units[i];
        if (isHighSurrogate(c) && i + 1 < units.size() && isLowSurrogate(units[i + 1]))
            c = joined(c, units[++i]);
        appendEscaped(result, c, escapeQuotes);
    }
    return result;
}

std::string printableBytes(std::string_view utf8, bool escapeQuotes, std::size_t limit)
{
    std::string result;
    for (std::size_t count = 0; !utf8.empty(); ++count)
    {
        if (count == limit)
            return result + "...";
        auto const [character, size] = firstCharacter(utf8);
        if (character == kNoCharacter)
        {
            result += "\\x";
            appendHex(result, static_cast<unsigned char>(utf8.front()), 2);
        }
        else
            appendEscaped(result, character, escapeQuotes);
        utf8.remove_prefix(size);
    }
    return result;
}

} // namespace

std::string printable(CString const &text) { return printableUnits(text, false); }

std::string printable(std::string_view utf8) { return printableBytes(utf8, false, std::string_view::npos); }

std::string quoted(CString const &text) { return sentence("\"{}\"", printableUnits(text, true)); }

std::string excerpt(std::string_view utf8) { return sentence("\"{}\"", printableBytes(utf8, true, 40)); }

std::size_t notUtf8At(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();)
    {
        auto const [character, size] = firstCharacter(text.substr(at));
        if (character == kNoCharacter)
            return at;
        at += size;
    }
    return std::string_view::npos;
}

std::string plural(std::int64_t number, std::string_view noun)
{
    std::string text = sentence("{} ", number);
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

std::string byteAt(std::int64_t position) { return sentence("byte {}", position); }

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
