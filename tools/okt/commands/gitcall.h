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
        std::string file; ///< where its contents lie
        std::string mode; ///< such as "100644"
        std::string name; ///< in the repository

        /// Git has no file for a side that does not exist.
        bool exists() const;
    };

    Side before;
    Side after;
    bool isUnmerged = false;        ///< a merge has left several; there are no sides then
    std::vector<std::string> about; ///< what git says of a rename, a line each

    /// Lines for what git itself tells ahead of a diff: a rename, another mode. Empty: nothing of the kind.
    std::string text() const;
};

/// Path; old file, hash and mode; new file, hash and mode; for a rename the new path and what is to be said of it. The path alone
/// where it is not merged. Nothing: so many arguments are not git's.
std::optional<GitCall> gitCallOf(std::vector<std::string> const &arguments);

/// Git puts the names of files right behind the command that was given to it, and they may begin with a dash: what follows --git
/// are operands.
void markGitOperands(std::vector<std::string> &words);

} // namespace okt
