// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace okt
{

// Which characters the bytes of a file stand for. Not installed.

/// The text of a table in UTF-8 without a byte order mark. The bytes are UTF-8, or UTF-16 behind a byte order mark. Throws
/// Failure, named `file`, which tells what the bytes look like where they are neither.
std::string tableText(std::string const &file, std::string_view bytes);

/// The same for bar records, save that bytes that are no UTF-8 stay as they are: whoever reads the lines, which are ASCII, tells
/// where they stand.
std::string recordText(std::string const &file, std::string_view bytes);

} // namespace okt
