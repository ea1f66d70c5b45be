// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/okttypes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// Walks over text by characters, for the sources of this layer. Not installed.

namespace OktText
{
inline constexpr char32_t kReplacement = 0xFFFD;

template <typename U> constexpr bool isHighSurrogate(U unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

template <typename U> constexpr bool isLowSurrogate(U unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

constexpr bool isSurrogate(char32_t character) { return character >= 0xD800 && character <= 0xDFFF; }

/// The simple lower-case mapping of one character, the same in every locale.
char32_t foldCase(char32_t character);

/// White space as the runtime library classifies it, the same in every locale.
constexpr bool isSpace(WCHAR unit)
{
    return (unit >= 0x09 && unit <= 0x0D) || unit == 0x20 || unit == 0x85 || unit == 0xA0 || unit == 0x1680 ||
           (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 || unit == 0x202F || unit == 0x205F ||
           unit == 0x3000;
}

/// The number of leading ASCII units or bytes.
template <typename U> std::size_t countAscii(U const *text, std::size_t length)
{
    // Eight bytes at a time, in either byte order: no unit may have bits above its low seven.
    constexpr std::size_t kStep = sizeof(std::uint64_t) / sizeof(U);
    constexpr std::uint64_t kOthers = sizeof(U) == 1 ? 0x8080808080808080u : 0xFF80FF80FF80FF80u;
    static_assert(sizeof(U) <= 2);
    std::size_t count = 0;
    while (length - count >= kStep)
    {
        std::uint64_t units = 0;
        std::memcpy(&units, text + count, sizeof units);
        if ((units & kOthers) != 0)
            break;
        count += kStep;
    }
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): it does not see that a text is as long as its length
    while (count < length && static_cast<std::make_unsigned_t<U>>(text[count]) < 0x80)
        ++count;
    return count;
}

/// Reads the character at `place` and moves `place` behind it. A lone surrogate is returned as it is.
inline char32_t nextCharacter(WCHAR const *&place, WCHAR const *end)
{
    char32_t const first = *place++;
    if (!isHighSurrogate(first) || place == end || !isLowSurrogate(static_cast<char32_t>(*place)))
        return first;
    return 0x10000 + ((first - 0xD800) << 10) + (static_cast<char32_t>(*place++) - 0xDC00);
}

/// Writes one or two units to `target`, which needs room for two, and returns their number.
inline int putCharacter(char32_t character, WCHAR *target)
{
    if (character < 0x10000)
    {
        target[0] = static_cast<WCHAR>(character);
        return 1;
    }
    target[0] = static_cast<WCHAR>(0xD800 + ((character - 0x10000) >> 10));
    target[1] = static_cast<WCHAR>(0xDC00 + ((character - 0x10000) & 0x3FF));
    return 2;
}

/// The character of a wide character of any width. A value beyond Unicode becomes U+FFFD.
constexpr char32_t fromWide(wchar_t wide)
{
    auto const character = static_cast<char32_t>(wide);
    return character > 0x10FFFF ? kReplacement : character;
}

/// Writes a character, which must not be a surrogate, as 1 to 4 bytes of UTF-8 and returns their number.
inline int putUtf8(char32_t character, char *target)
{
    if (character < 0x80)
    {
        target[0] = static_cast<char>(character);
        return 1;
    }
    auto const tail = [character](int shift) { return static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x800)
    {
        target[0] = static_cast<char>(0xC0 | (character >> 6));
        target[1] = tail(0);
        return 2;
    }
    if (character < 0x10000)
    {
        target[0] = static_cast<char>(0xE0 | (character >> 12));
        target[1] = tail(6);
        target[2] = tail(0);
        return 3;
    }
    target[0] = static_cast<char>(0xF0 | (character >> 18));
    target[1] = tail(12);
    target[2] = tail(6);
    target[3] = tail(0);
    return 4;
}

/// Reads the next character of UTF-8 text. Malformed text gives U+FFFD, once for each maximal ill-formed subpart.
inline char32_t nextUtf8(char const *&place, char const *end)
{
    auto const first = static_cast<unsigned char>(*place++);
    if (first < 0x80)
        return first;
    int count = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    char32_t character = 0;
    if (first >= 0xC2 && first <= 0xDF)
    {
        count = 1;
        character = first & 0x1Fu;
    }
    else if (first >= 0xE0 && first <= 0xEF)
    {
        count = 2;
        character = first & 0x0Fu;
        if (first == 0xE0)
            low = 0xA0; // else it would be longer than needed
        if (first == 0xED)
            high = 0x9F; // else it would be a surrogate
    }
    else if (first >= 0xF0 && first <= 0xF4)
    {
        count = 3;
        character = first & 0x07u;
        if (first == 0xF0)
            low = 0x90;
        if (first == 0xF4)
            high = 0x8F; // else it would be beyond U+10FFFF
    }
    else
        return kReplacement;
    for (; count > 0; --count)
    {
        if (place == end)
            return kReplacement;
        auto const byte = static_cast<unsigned char>(*place);
        if (byte < low || byte > high)
            return kReplacement;
        character = (character << 6) | (byte & 0x3Fu);
        ++place;
        low = 0x80;
        high = 0xBF;
    }
    return character;
}
} // namespace OktText
