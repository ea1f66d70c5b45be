// SPDX-License-Identifier: MIT
#include <oktinspect/textmatch.h>

#include <string_view>

namespace okt
{

namespace
{

std::u16string unitsOf(CString const &text)
{
    OktTextView const view = text.View();
    return {view.begin(), view.end()};
}

bool isSame(char16_t left, char16_t right)
{
    if (left == right)
        return true;
    if (left < 0x80 && right < 0x80)
        return (left | 0x20) == (right | 0x20) && (left | 0x20) >= u'a' && (left | 0x20) <= u'z';
    return CString(&left, 1).CompareNoCase(CString(&right, 1)) == 0;
}

bool startsWith(std::u16string_view text, std::u16string_view part)
{
    if (text.size() < part.size())
        return false;
    for (std::size_t i = 0; i < part.size(); ++i)
        if (!isSame(text[i], part[i]))
            return false;
    return true;
}

/// After a mismatch the last star takes one character more.
bool fits(std::u16string_view pattern, std::u16string_view text)
{
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t star = std::u16string_view::npos;
    std::size_t behindStar = 0;
    while (t < text.size())
    {
        if (p < pattern.size() && pattern[p] == u'*')
        {
            star = p++;
            behindStar = t;
        }
        else if (p < pattern.size() && (pattern[p] == u'?' || isSame(pattern[p], text[t])))
        {
            ++p;
            ++t;
        }
        else if (star != std::u16string_view::npos)
        {
            p = star + 1;
            t = ++behindStar;
        }
        else
        {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', p) == std::u16string_view::npos;
}

} // namespace

TextPattern::TextPattern(std::string const &utf8)
    : m_pattern(unitsOf(CString::FromUtf8(utf8))), m_isWild(m_pattern.find_first_of(u"*?") != std::u16string::npos)
{
}

bool TextPattern::matches(CString const &text) const { return fits(m_pattern, unitsOf(text)); }

bool TextPattern::isIn(CString const &text) const
{
    if (m_isWild)
        return matches(text);
    std::u16string const units = unitsOf(text);
    for (std::size_t at = 0; at + m_pattern.size() <= units.size(); ++at)
        if (startsWith(std::u16string_view(units).substr(at), m_pattern))
            return true;
    return false;
}

} // namespace okt
