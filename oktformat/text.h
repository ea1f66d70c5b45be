// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace okt
{

/// A text as it goes to a terminal: on one line, with nothing in it that steers the terminal. Control characters, line and
/// direction marks and lone surrogates become escapes such as \n and \uD800, a backslash becomes two.
std::string printable(CString const &text);
/// The same for UTF-8; a byte that belongs to no character becomes \xNN.
std::string printable(std::string_view utf8);
/// printable in quotation marks; a quotation mark inside becomes \".
std::string quoted(CString const &text);
/// For messages: printable in quotation marks, at most some 40 characters of it.
std::string excerpt(std::string_view utf8);

/// Offset of the first byte that is not valid UTF-8; npos: there is none.
std::size_t notUtf8At(std::string_view text);

/// "1 object", "2 objects", "1 category", "2 categories".
std::string plural(std::int64_t number, std::string_view noun);
/// "belongs" of one, "belong" of several.
char const *belong(std::int64_t number);
/// "an OKTDbParameter", "a Thing"; "an object" without a name.
std::string withArticle(CString const &className);
/// How messages call a place in a file.
std::string byteAt(std::int64_t position);

/// Columns that a text takes, counted in characters.
std::size_t width(std::string_view utf8);
/// The text with blanks behind it up to the wanted width.
std::string padded(std::string const &utf8, std::size_t wanted);

/// The shortest decimal text that reads back as the same number; whole numbers have no point, and only very large or small ones
/// an exponent. Independent of the locale.
std::string number(double value);
/// The number with at most `digits` significant digits, without trailing zeros. Independent of the locale.
std::string rounded(double value, int digits);

} // namespace okt
