// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace okt
{

/// The graph of references between the objects of a template.
struct RelationGraph
{
    // The script of the page uses these numbers.
    enum class NodeKind
    {
        Group,
        Category,
        Parameter,
        Relation
    };
    enum class EdgeKind
    {
        Lists, ///< from a group to its categories, from a category to its parameters
        Ties,  ///< from a parameter to a relation that lists it
        Uses,  ///< from a parameter to one that it uses
        Named  ///< a parameter to one that its expression names
    };
    struct Node
    {
        NodeKind kind = NodeKind::Parameter;
        std::string label; ///< printable UTF-8, not shortened
    };
    struct Edge
    {
        EdgeKind kind = EdgeKind::Lists;
        std::size_t from = 0;
        std::size_t to = 0;
    };

    std::vector<Node> nodes;
    std::vector<Edge> edges;
};

/// The largest number of boxes in a drawing. For more, the page says so instead.
inline constexpr std::size_t kMostDrawnNodes = 400;
inline constexpr std::size_t kMostDrawnEdges = 1500;

/// The boxes and arrows of a graph that are drawn.
RelationGraph drawnPart(RelationGraph const &graph);

/// The data from which the script of the page draws a graph, as JSON for a page:
/// {"size": [width, height], "boxes": [[kind, x, middle y, width, label], ...], "ties": [[kind, from, to, x, y, x, y, ...], ...]}.
/// A tie without points leads from the right side of one box straight to the left side of the other.
std::string graphData(RelationGraph const &graph);

/// The names in an expression: letters, digits and underscores that begin with a letter or an underscore.
std::vector<std::string> namesIn(std::string const &expression);

} // namespace okt
