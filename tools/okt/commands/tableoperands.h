// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace okt
{

/// An operand that may be a name or a file is a file when something of that name is there, when it has a slash in it (or what parts
/// folders here) or ends in ".okt", and when it is "-".
bool isMeantAsFile(std::string const &operand);
/// Something of that name is there.
bool isThere(std::string const &operand);

/// Refuses "type:abc" as a NAME.
void refuseTypeWithoutNumber(std::string const &name);

/// What stands behind "--" of okt table are files: each becomes a --file, since the parser does not tell which operands those are.
void markTableFiles(std::vector<std::string> &words);

} // namespace okt
