// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <cstddef>
#include <string>
#include <vector>

namespace okt
{

/// In what two lists differ, by places in them.
struct ListDiff
{
    std::vector<std::size_t> removed; ///< in the first list
    std::vector<std::size_t> added;   ///< in the second
    std::vector<std::size_t> moved;   ///< in the second: the fewest that would have to move

    bool isSame() const { return removed.empty() && added.empty() && moved.empty(); }
};

/// What a list has twice counts twice.
ListDiff compareLists(std::vector<std::string> const &before, std::vector<std::string> const &after);

} // namespace okt
