// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace okt
{

// By hand, since a graph library would set other fonts and sizes than the page has, and change the drawing with its releases.
// Not installed.

/// A box of a layered drawing.
struct LayoutNode
{
    double width = 0;
    int firstLayer = 0; ///< it stands in this layer or in one behind it
};

/// An arrow between boxes, by their places in the list.
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
    double lane = 8; ///< between an arrow that passes a layer and its neighbour
    double gap = 64; ///< between two layers
    double margin = 4;
};

/// Boxes in layers from left to right, so that arrows lead to layers further right; those of a circle that cannot lead back.
/// Arrows over several layers pass between the boxes. The order within a layer follows that of the list where nothing pulls,
/// and few arrows cross. The same list gives the same drawing.
Layout layered(std::vector<LayoutNode> const &nodes, std::vector<LayoutEdge> const &edges, LayoutMeasures const &measures = {});

} // namespace okt
