// SPDX-License-Identifier: MIT
#pragma once

// The escapes that messages, outputs and the text form share. Own code, because JSON's escapes leave marks of direction as they are. Not installed.

#include <cstdint>
#include <string>

namespace okt
{

/// Hexadecimal digits in upper case, padded with zeros.
void appendHex(std::string &target, std::uint64_t value, int digits);

/// A character in UTF-8. What would move the cursor of a terminal, end the line or turn the direction of what follows becomes \n,
/// \r, \t or \uNNNN, and so does a surrogate; a backslash becomes two. With `escapesQuotes` a quotation mark becomes \", and what
/// comes of it can stand in a JSON string.
void appendEscaped(std::string &target, char32_t character, bool escapesQuotes);

} // namespace okt
