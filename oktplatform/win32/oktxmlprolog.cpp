// SPDX-License-Identifier: MIT
#include <oktplatform/win32/oktxmlprolog.h>

#include <algorithm>
#include <string_view>

namespace
{
constexpr std::string_view kDocumentType = "<!DOCTYPE";
constexpr std::string_view kEntity = "<!ENTITY";

/// The characters of a document, one or two bytes each. Characters beyond ASCII are not told apart.
class Characters
{
public:
    Characters(unsigned char const *bytes, std::size_t count)
        : m_bytes(bytes), m_width(startsWide(bytes, count) ? 2 : 1), m_low(m_width == 2 && isBigEndian(bytes) ? 1 : 0),
          m_count(count / m_width)
    {
    }

    std::size_t count() const { return m_count; }
    bool isWide() const { return m_width == 2; }

    char at(std::size_t place) const
    {
        unsigned char const *const first = m_bytes + place * m_width;
        bool const isAscii = first[m_low] < 0x80 && (m_width == 1 || first[1 - m_low] == 0);
        return isAscii ? static_cast<char>(first[m_low]) : '\x7F';
    }

    bool startsAt(std::size_t place, std::string_view text) const
    {
        for (char const expected : text)
            if (place >= m_count || at(place++) != expected)
                return false;
        return true;
    }

    /// The index of a text from `place` on, or the end.
    std::size_t find(std::size_t place, std::string_view text) const
    {
        while (place < m_count && !startsAt(place, text))
            ++place;
        return place;
    }

private:
    /// By a byte order mark, or by the first character of a declaration.
    static bool startsWide(unsigned char const *bytes, std::size_t count)
    {
        return count >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF) ||
                              bytes[0] == 0 || bytes[1] == 0);
    }
    static bool isBigEndian(unsigned char const *bytes) { return bytes[0] == 0 || bytes[0] == 0xFE; }

    unsigned char const *m_bytes;
    std::size_t m_width;
    std::size_t m_low; // the offset of the lower byte of a character
    std::size_t m_count;
};

constexpr bool isSpace(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

/// The word behind white space, up to the next white space or the end of a part of a declaration.
std::string wordBehind(Characters const &text, std::size_t place)
{
    while (place < text.count() && isSpace(text.at(place)))
        ++place;
    std::string word;
    for (; place < text.count() && !isSpace(text.at(place)) && text.at(place) != '[' && text.at(place) != '>'; ++place)
        word += text.at(place);
    return word;
}

/// The place behind a declaration, or behind the bracket that opens its inner declarations.
std::size_t behindDeclaration(Characters const &text, std::size_t place)
{
    for (; place < text.count(); ++place)
    {
        char const character = text.at(place);
        if (character == '>' || character == '[')
            return place + 1;
        if (character == '"' || character == '\'')
            place = text.find(place + 1, {&character, 1});
    }
    return place;
}

bool isOfFourBytes(unsigned char const *bytes, std::size_t count)
{
    return count >= 4 && (std::count(bytes, bytes + 4, 0) == 3 || std::count(bytes, bytes + 2, 0) == 2 ||
                          (bytes[0] == 0xFF && bytes[1] == 0xFE && bytes[2] == 0 && bytes[3] == 0));
}

/// The value of "encoding=" in the first instruction of a document, in lower case, or an empty text.
std::string declaredEncoding(Characters const &text, std::size_t start)
{
    constexpr std::string_view kName = "encoding";
    std::size_t const end = text.find(start, "?>");
    std::size_t place = text.find(start, kName);
    if (place >= end)
        return {};
    place += kName.size();
    while (place < end && text.at(place) != '"' && text.at(place) != '\'')
        ++place;
    std::string name;
    for (++place; place < end && text.at(place) != '"' && text.at(place) != '\''; ++place)
        name +=
            text.at(place) >= 'A' && text.at(place) <= 'Z' ? static_cast<char>(text.at(place) + ('a' - 'A')) : text.at(place);
    return text.find(place, kName) < end ? "?" : name;
}

/// True: the parser reads the characters as this file does. In other encodings an ASCII byte may be a part of another character.
bool isTold(std::string const &encoding, bool isWide)
{
    if (encoding.empty())
        return true;
    if (isWide)
        return encoding.starts_with("utf-16");
    return encoding == "utf-8" || encoding == "us-ascii" || encoding == "ascii" || encoding.starts_with("iso-8859-") ||
           encoding.starts_with("windows-125");
}
} // namespace

OktXmlProlog::Prolog OktXmlProlog::look(unsigned char const *bytes, std::size_t count)
{
    Prolog prolog;
    Characters const text(bytes, count);
    std::size_t place = text.find(0, "<");
    bool const isInstruction = text.startsAt(place, "<?xml") && place + 5 < text.count() && isSpace(text.at(place + 5));
    prolog.mayDeclareParameterEntity =
        isOfFourBytes(bytes, count) || (isInstruction && !isTold(declaredEncoding(text, place), text.isWide()));
    for (; place < text.count() && !prolog.mayDeclareParameterEntity; place = text.find(place, "<"))
    {
        if (text.startsAt(place, "<!--"))
            place = text.find(place + 4, "-->");
        else if (text.startsAt(place, "<?"))
            place = text.find(place + 2, "?>");
        else if (text.startsAt(place, "<!"))
        {
            if (text.startsAt(place, kDocumentType))
                prolog.documentType = wordBehind(text, place + kDocumentType.size());
            else if (text.startsAt(place, kEntity))
                prolog.mayDeclareParameterEntity = wordBehind(text, place + kEntity.size()).starts_with('%');
            place = behindDeclaration(text, place);
        }
        else
            break; // the root
    }
    return prolog;
}
