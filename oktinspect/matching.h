// SPDX-License-Identifier: MIT
#pragma once

// Stands on the records of the text form. Not installed.

#include <oktinspect/diffpool.h>

#include <cstddef>
#include <vector>

namespace okt
{

inline constexpr std::size_t kUnmatched = static_cast<std::size_t>(-1);

/// Which object of the second pool stands for which of the first.
struct Matching
{
    std::vector<std::size_t> second; ///< for each object of the first pool its place in the second, or kUnmatched
    std::vector<std::size_t> first;  ///< the other way
    IdPairs ids;                     ///< ids of the first pool to those of the second
};

/// Objects of the same id belong together; stretches that are no objects, and objects without an id, in their order.
Matching matchById(DiffPool const &first, DiffPool const &second);

/// For pools of which one is a clone of the other with new ids, and both may have been changed since. Objects that hold the same
/// and stand in the same relations belong together; of what is left those that are referred to from the same place, or have the
/// same class and name.
Matching matchByName(DiffPool const &first, DiffPool const &second);

} // namespace okt
