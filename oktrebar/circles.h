// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace okt
{

// Not installed.

/// Circles in a graph, given by the nodes that each node leads to: for each node that is in one a shortest circle, unless a circle of an
/// earlier node went through it. A circle begins at its lowest unmet node. Of a graph that would take too many steps some nodes are not
/// looked at; of nodes that all lead to each other there is one circle at least.
std::vector<std::vector<std::size_t>> circlesIn(std::vector<std::vector<std::size_t>> const &edges);

} // namespace okt
