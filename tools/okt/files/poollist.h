// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace okt
{

/// Hears a line for the user.
using OnFault = std::function<void(std::string const &)>;

/// The pool files in a folder and below it, but for backups (*.bak) and those that a .oktignore names, sorted as a reader counts: d8 in front of d10.
/// A folder that cannot be read is a fault. The names begin with that of the folder.
std::vector<std::string> poolFilesIn(std::string const &folder, OnFault const &onFault);

/// Each operand that is a folder replaced by the pool files in it; all others as they are.
std::vector<std::string> withFolders(std::vector<std::string> const &operands, OnFault const &onFault);

/// The names that a file has, one a line; "-" is standard input. Empty lines do not count. Throws Failure.
std::vector<std::string> namesFrom(std::string const &file);

/// The operand is a folder.
bool isFolder(std::string const &operand);

} // namespace okt
