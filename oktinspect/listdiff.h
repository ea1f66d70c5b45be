// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <cstddef>
#include <string>
#include <vector>

namespace okt
{

/// The differences between two lists, as list indexes. Own code, because the tools for lines of text tell no moves.
struct ListDiff
{
    std::vector<std::size_t> removed; ///< in the first list
    std::vector<std::size_t> added;   ///< in the second
    std::vector<std::size_t> moved;   ///< in the second list: the smallest set of elements whose order changed

    bool isSame() const { return removed.empty() && added.empty() && moved.empty(); }
};

/// An element that occurs twice counts twice.
ListDiff compareLists(std::vector<std::string> const &before, std::vector<std::string> const &after);

} // namespace okt
