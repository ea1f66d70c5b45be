// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/okttext_internal.h>

#include <string>

/// Paths as bytes. Not installed.
namespace OktSystem
{
/// Appends a path as UTF-8 to `path`. False: the text has a zero unit or a lone surrogate. No path can have one, so another file
/// would be opened.
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
} // namespace OktSystem
