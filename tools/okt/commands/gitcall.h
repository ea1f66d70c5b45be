// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace okt
{

/// What git passes to an external diff.
struct GitCall
{
    struct Side
    {
        std::string file; ///< path of the contents
        std::string mode; ///< such as "100644"
        std::string name; ///< in the repository

        /// True if this side does not exist: git passes no file then.
        bool exists() const;
    };

    Side before;
    Side after;
    bool isUnmerged = false;        ///< the file has a merge conflict; then there are no sides
    std::vector<std::string> about; ///< the lines of git about a rename

    /// The lines that git writes before a diff, about a rename or a changed mode. Empty: neither.
    std::string text() const;
};

/// Parses: path; old file, hash and mode; new file, hash and mode; for a rename the new path and the lines about it. The path alone
/// for a merge conflict. Empty: the number of arguments is not that of git.
std::optional<GitCall> gitCallOf(std::vector<std::string> const &arguments);

/// Git appends the names of files to the configured command, and they may begin with a dash. So all arguments after --git
/// are operands.
void markGitOperands(std::vector<std::string> &words);

} // namespace okt
