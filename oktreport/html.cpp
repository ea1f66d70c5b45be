// SPDX-License-Identifier: MIT
#include <oktreport/html.h>

#include <oktformat/escape.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktformat/utf8.h>

#include <oktdatabase/okttools.h>

#include <stdexcept>

namespace okt
{

namespace
{

/// More characters of a text are folded away.
constexpr std::size_t kLongestOpen = 240;

constexpr std::string_view kFirmBlank = "\xC2\xA0";
constexpr std::string_view kNarrowBlank = "\xE2\x80\xAF"; // no line breaks at it

bool isNonCharacter(char32_t code) { return (code & 0xFFFE) == 0xFFFE || (code >= 0xFDD0 && code <= 0xFDEF); }

void appendUnit(std::string &result, char32_t unit)
{
    result += "\\u";
    appendHex(result, unit, 4);
}

/// The text with escapes for what no document may hold although it has a code: U+FFFE, U+FFFF and their like in the other planes,
/// U+FDD0 to U+FDEF.
std::string withoutNonCharacters(std::string_view text)
{
    std::string result;
    result.reserve(text.size() + text.size() / 8);
    while (!text.empty())
    {
        // Those of fewer bytes lie below.
        bool const isFar = static_cast<unsigned char>(text.front()) >= 0xEF;
        auto const [code, size] = isFar ? firstCharacter(text) : Utf8Character{};
        if (!isFar || !isNonCharacter(code))
            result += text.substr(0, size);
        else if (code <= 0xFFFF)
            appendUnit(result, code);
        else
        {
            appendUnit(result, highSurrogate(code));
            appendUnit(result, lowSurrogate(code));
        }
        text.remove_prefix(size);
    }
    return result;
}

} // namespace

std::string escapedLine(std::string_view printableUtf8)
{
    std::string result;
    result.reserve(printableUtf8.size() + printableUtf8.size() / 8);
    for (char const c : withoutNonCharacters(printableUtf8))
    {
        switch (c)
        {
        case '&': result += "&amp;"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '"': result += "&quot;"; break;
        case '\'': result += "&#39;"; break;
        default: result += c;
        }
    }
    return result;
}

std::string html(CString const &text) { return escapedLine(printable(text)); }

std::string html(std::string_view utf8) { return escapedLine(printable(utf8)); }

std::string shortened(std::string const &printableUtf8, std::size_t most)
{
    std::size_t count = 0;
    for (std::size_t end = 0; end < printableUtf8.size(); ++end)
    {
        bool const beginsCharacter = (static_cast<unsigned char>(printableUtf8[end]) & 0xC0) != 0x80;
        if (beginsCharacter && ++count > most)
            return printableUtf8.substr(0, end) + "\xE2\x80\xA6";
    }
    return printableUtf8;
}

std::string unfolding(CString const &text)
{
    std::string const whole = printable(text);
    std::string const beginning = shortened(whole, kLongestOpen);
    if (beginning.size() >= whole.size())
        return escapedLine(whole);
    return sentence("<details class=\"text\"><summary>{} <span class=\"note\">{}</span></summary>{}</details>",
                    escapedLine(beginning), counted(width(whole), "character"), escapedLine(whole));
}

std::string attribute(char const *name, std::string const &value)
{
    return value.empty() ? "" : sentence(" {}=\"{}\"", name, value);
}

std::string jsonText(std::string_view printableUtf8)
{
    std::string result;
    for (char const c : withoutNonCharacters(printableUtf8))
    {
        switch (c)
        {
        case '"': result += "\\\""; break;
        case '\\': result += "\\\\"; break;
        case '&': result += "\\u0026"; break;
        case '<': result += "\\u003c"; break;
        case '>': result += "\\u003e"; break;
        default: result += c;
        }
    }
    return result;
}

std::string grouped(std::uint64_t number)
{
    std::string const digits = std::to_string(number);
    std::string result;
    for (std::size_t i = 0; i < digits.size(); ++i)
    {
        if (i > 0 && (digits.size() - i) % 3 == 0)
            result += kNarrowBlank;
        result += digits[i];
    }
    return result;
}

std::string counted(std::uint64_t number, std::string const &noun)
{
    bool const endsInY = noun.ends_with("ory");
    std::string const many = endsInY ? noun.substr(0, noun.size() - 1) + "ies" : noun + "s";
    return grouped(number) + std::string(kFirmBlank) + (number == 1 ? noun : many);
}

std::string dataUri(char const *type, CByteArray const &bytes)
{
    std::string uri = sentence("data:{};base64,", type);
    std::size_t const head = uri.size();
    int length = base64EncodedLength(bytes.GetSize(), kBase64NoLineBreaks);
    uri.resize(head + static_cast<std::size_t>(length));
    if (base64Encode(bytes.GetData(), bytes.GetSize(), uri.data() + head, &length, kBase64NoLineBreaks) == 0)
        throw std::runtime_error("a picture could not be put into the page");
    uri.resize(head + static_cast<std::size_t>(length));
    return uri;
}

} // namespace okt
