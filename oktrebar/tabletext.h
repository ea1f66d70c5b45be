// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace okt
{

// The character encoding of text files. Not installed.

/// Converts a table to UTF-8 without a byte order mark. The bytes are UTF-8, or UTF-16 with a byte order mark. Throws
/// Failure with the name `file` for other bytes, with a guess what they are.
std::string tableText(std::string const &file, std::string_view bytes);

/// The same for bar records, but invalid UTF-8 is left unchanged: the parser of the lines, which must be ASCII, reports
/// the place.
std::string recordText(std::string const &file, std::string_view bytes);

} // namespace okt
