// SPDX-License-Identifier: MIT
#pragma once

// Characters of UTF-8 and UTF-16, one at a time. Own code, because the language has no decoder that goes on behind a fault. Whole texts are CString's matter. Not installed.

#include <cstddef>
#include <string>
#include <string_view>

namespace okt
{

/// The result for bytes that are not valid UTF-8.
inline constexpr char32_t kNoCharacter = 0xFFFFFFFF;
inline constexpr char32_t kReplacementCharacter = 0xFFFD;

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
constexpr bool isSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

/// The character of a pair.
constexpr char32_t joined(char32_t high, char32_t low) { return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00); }
/// The pair of a character beyond U+FFFF.
constexpr char32_t highSurrogate(char32_t character) { return 0xD800 + ((character - 0x10000) >> 10); }
constexpr char32_t lowSurrogate(char32_t character) { return 0xDC00 + ((character - 0x10000) & 0x3FF); }

struct Utf8Character
{
    char32_t character = kNoCharacter;
    std::size_t size = 1; ///< in bytes
};

/// Decodes the first character of `bytes`, which must not be empty. Invalid UTF-8 gives kNoCharacter of size 1. Overlong
/// forms, surrogates and numbers above U+10FFFF are invalid.
Utf8Character firstCharacter(std::string_view utf8);

/// Of a character up to U+10FFFF.
void appendUtf8(std::string &utf8, char32_t character);

} // namespace okt
