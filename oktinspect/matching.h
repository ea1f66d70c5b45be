// SPDX-License-Identifier: MIT
#pragma once

// Stands on the records of the text form. Not installed.

#include <oktinspect/diffpool.h>

#include <cstddef>
#include <vector>

namespace okt
{

inline constexpr std::size_t kUnmatched = static_cast<std::size_t>(-1);

/// Pairs of objects of two pools.
struct Matching
{
    std::vector<std::size_t> second; ///< for each object of the first pool its list index in the second, or kUnmatched
    std::vector<std::size_t> first;  ///< for each object of the second pool
    IdPairs ids;                     ///< ids of the first pool to those of the second
};

/// Matches objects by id; objects without an id, and bytes that are not objects, by their order.
Matching matchById(DiffPool const &first, DiffPool const &second);

/// For pools of which one is a clone of the other with new ids; both may have changed since. Matches objects with equal contents
/// and references first; then objects that are referred to from the same member, or have the
/// same class and name.
Matching matchByName(DiffPool const &first, DiffPool const &second);

} // namespace okt
