#pragma once

#include <oktplatform/okttext_internal.h>

#include <string>

/// Paths as the system takes them. Not installed.
namespace OktPosix
{
/// A path as UTF-8, put behind what `path` holds. False: a zero unit or a lone surrogate, neither of which can stand in a path:
/// the file opened would be another one.
inline bool pathOf(WCHAR const *text, std::size_t length, std::string &path)
{
    WCHAR const *const end = text + length;
    while (text != end)
    {
        char32_t const character = OktText::nextCharacter(text, end);
        if (character == 0 || OktText::isSurrogate(character))
            return false;
        char bytes[4];
        path.append(bytes, static_cast<std::size_t>(OktText::putUtf8(character, bytes)));
    }
    return true;
}
} // namespace OktPosix
