// SPDX-License-Identifier: MIT
#include <oktformat/utf8.h>

#include <array>

namespace okt
{

Utf8Character firstCharacter(std::string_view utf8)
{
    static constexpr std::array<char32_t, 4> kSmallest = {0, 0x80, 0x800, 0x10000};
    auto const at = [utf8](std::size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(utf8[i])); };
    char32_t const first = at(0);
    if (first < 0x80)
        return {first, 1};
    std::size_t const more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4 || utf8.size() <= more)
        return {};
    char32_t character = first & (0x3Fu >> more);
    for (std::size_t i = 1; i <= more; ++i)
    {
        if ((at(i) & 0xC0) != 0x80)
            return {};
        character = (character << 6) | (at(i) & 0x3F);
    }
    if (character < kSmallest[more] || character > 0x10FFFF || isSurrogate(character))
        return {};
    return {character, more + 1};
}

void appendUtf8(std::string &utf8, char32_t character)
{
    auto const byte = [&utf8](char32_t value) { utf8 += static_cast<char>(static_cast<unsigned char>(value)); };
    if (character < 0x80)
    {
        byte(character);
        return;
    }
    if (character < 0x800)
    {
        byte(0xC0 | (character >> 6));
    }
    else if (character < 0x10000)
    {
        byte(0xE0 | (character >> 12));
        byte(0x80 | ((character >> 6) & 0x3F));
    }
    else
    {
        byte(0xF0 | (character >> 18));
        byte(0x80 | ((character >> 12) & 0x3F));
        byte(0x80 | ((character >> 6) & 0x3F));
    }
    byte(0x80 | (character & 0x3F));
}

} // namespace okt
