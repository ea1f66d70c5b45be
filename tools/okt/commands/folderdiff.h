// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/compare.h>

#include <string>

namespace okt
{

struct DisplayUnit;

struct FolderDiffOptions
{
    MatchBy by = MatchBy::Id;
    DisplayUnit const *unit = nullptr; ///< null: by the members of the classes
    bool asJson = false;
    bool isQuiet = false; ///< only the total
};

/// Compares the pool files below two folders: those of the same path, and of the others those whose pools have the same id. What
/// differs is printed as it comes. Gives the exit code of okt diff; what is wrong with a file is told, and the others are compared.
int compareFolders(std::string const &before, std::string const &after, FolderDiffOptions const &options);

} // namespace okt
