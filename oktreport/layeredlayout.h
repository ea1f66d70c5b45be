// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace okt
{

// Own code, because a graph library has other fonts and sizes than the page, and its drawings change between releases.
// Not installed.

/// A box of a layered drawing.
struct LayoutNode
{
    double width = 0;
    int firstLayer = 0; ///< it is put in this layer or in a later one
};

/// An arrow between boxes, given by their list indexes.
struct LayoutEdge
{
    std::size_t from = 0;
    std::size_t to = 0;
};

struct LayoutPoint
{
    double x = 0;
    double y = 0;
};

struct Layout
{
    std::vector<LayoutPoint> nodes;              ///< the middle of the left side of each box
    std::vector<std::vector<LayoutPoint>> edges; ///< the points that each arrow passes, in its own direction; none for a loop
    double width = 0;
    double height = 0;
};

/// The measures of a drawing.
struct LayoutMeasures
{
    double row = 24; ///< between the middles of two boxes
    double lane = 8; ///< between an arrow that crosses a layer and its neighbour
    double gap = 64; ///< between two layers
    double margin = 4;
};

/// Puts boxes in layers from left to right. Arrows lead to a layer further right; in a cycle some lead back.
/// Arrows over several layers pass between the boxes. Boxes without neighbours keep the order of the list,
/// and few arrows cross. The same list gives the same drawing.
Layout layered(std::vector<LayoutNode> const &nodes, std::vector<LayoutEdge> const &edges, LayoutMeasures const &measures = {});

} // namespace okt
