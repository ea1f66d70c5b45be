// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace okt
{

// By hand, since what is escaped beyond the five characters of XML is our own: what steers a display. Not installed.

/// A text of a file or of the user as it stands in a page, between tags and in attributes alike. What steers a display, and what
/// no document may hold, is an escape such as \u202E there, as in the other outputs of okt.
std::string html(CString const &text);
/// The same for UTF-8.
std::string html(std::string_view utf8);

/// A text that is printable already, with its escapes as they are.
std::string escapedLine(std::string_view printableUtf8);

/// The first characters of a printable text and an ellipsis; a text that is not longer stays as it is.
std::string shortened(std::string const &printableUtf8, std::size_t most);
/// A text of any length, as HTML: of a long one the beginning, with the rest folded away.
std::string unfolding(CString const &text);

/// " name="value"", the value being HTML already; nothing for an empty value.
std::string attribute(char const *name, std::string const &value);

/// A printable text between the quotation marks of JSON that stands in a page: no tag can begin or end in it, and no reference.
std::string jsonText(std::string_view printableUtf8);

/// A whole number in groups of three digits, which no line break parts: 67 996.
std::string grouped(std::uint64_t number);
/// "1 byte", "67 996 bytes".
std::string counted(std::uint64_t number, std::string const &noun);

/// A data URI with those bytes.
std::string dataUri(char const *type, CByteArray const &bytes);

} // namespace okt
