// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The notation of values in the text form: bytes of a stream on one side, on the other the content of a JSON string between the
/// quotation marks (writing: `append...`, `...Text`) or the parsed JSON string (reading: `parse...`). Not installed.
namespace okttext
{

using Bytes = std::string_view;

/// UTF-16 units, little-endian, as the inside of a JSON string. A lone surrogate becomes U+FFFD.
void appendUnits(std::string &json, Bytes units);
/// The same, but a lone surrogate becomes \uD800 and a backslash becomes \\.
void appendEscapedUnits(std::string &json, Bytes units);
bool hasLoneSurrogate(Bytes units);
/// Bytes as the inside of a JSON string: the characters of Windows-1252, where the five bytes that it leaves open are the
/// control characters of their number.
void appendNarrow(std::string &json, Bytes text);

/// UTF-8 to units.
std::string parseUnits(std::string_view utf8);
/// Empty: a backslash begins no known escape.
std::optional<std::string> parseEscapedUnits(std::string_view utf8);
/// Empty: a character is not in Windows-1252.
std::optional<std::string> parseNarrow(std::string_view utf8);

/// A JSON number, the shortest that reads back as the same double; a JSON string for infinity, NaN and -0.
std::string doubleText(double value);
/// The value of such a string.
std::optional<double> parseDouble(std::string_view text);

/// "{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}", of the 16 bytes as they lie in memory.
std::string guidText(Bytes guid);
/// Empty: it does not have that form. Case is ignored.
std::optional<std::string> parseGuid(std::string_view text);

/// "VT_R8"; empty: the kind has no name.
std::string_view kindName(std::int32_t kind);
std::optional<std::int32_t> parseKind(std::string_view name);

/// For messages: a class name or another text of a stream, shortened, with "?" for what is not printable ASCII.
std::string readable(std::string_view text, std::size_t longest = 40);

} // namespace okttext
