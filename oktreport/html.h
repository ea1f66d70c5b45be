// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace okt
{

// Own code, because control characters of displays are escaped too, beyond the five characters of XML. Not installed.

/// Escapes a text of a file or of the user for a page, between tags and in attributes. Control characters of displays, and characters that
/// no document may contain, become escapes such as \u202E, as in the other outputs of okt.
std::string html(CString const &text);
/// The same for UTF-8.
std::string html(std::string_view utf8);

/// The same for a text that is already printable.
std::string escapedLine(std::string_view printableUtf8);

/// The first characters of a printable text and an ellipsis. A short text is unchanged.
std::string shortened(std::string const &printableUtf8, std::size_t most);
/// A text of any length as HTML: of a long text the beginning, with the rest folded.
std::string unfolding(CString const &text);

/// " name="value"", the value being HTML already; nothing for an empty value.
std::string attribute(char const *name, std::string const &value);

/// A printable text as the inside of a JSON string in a page. It cannot contain a tag or an entity reference, so no JSON library writes it.
std::string jsonText(std::string_view printableUtf8);

/// A whole number in groups of three digits, without line breaks: 67 996.
std::string grouped(std::uint64_t number);
/// "1 byte", "67 996 bytes".
std::string counted(std::uint64_t number, std::string const &noun);

/// A data URI with those bytes.
std::string dataUri(char const *type, CByteArray const &bytes);

} // namespace okt
