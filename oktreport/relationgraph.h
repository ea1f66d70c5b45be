// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace okt
{

/// What of a template is tied to what.
struct RelationGraph
{
    // The script of the page knows these numbers.
    enum class NodeKind
    {
        Group,
        Category,
        Parameter,
        Relation
    };
    enum class EdgeKind
    {
        Lists, ///< a group its categories, a category its parameters
        Ties,  ///< a parameter to a relation that names it
        Uses,  ///< a parameter to one that it names by id
        Named  ///< a parameter to one that its expression names
    };
    struct Node
    {
        NodeKind kind = NodeKind::Parameter;
        std::string label; ///< printable UTF-8, as long as it is
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

/// More boxes than these nobody can follow; the page then tells so in place of a drawing of all.
inline constexpr std::size_t kMostDrawnNodes = 400;
inline constexpr std::size_t kMostDrawnEdges = 1500;

/// The first boxes and arrows of a graph, as many as are drawn.
RelationGraph drawnPart(RelationGraph const &graph);

/// What the script of the page draws of a graph, as JSON that may stand in a page:
/// {"size": [width, height], "boxes": [[kind, x, middle y, width, label], ...], "ties": [[kind, from, to, x, y, x, y, ...], ...]}.
/// A tie without points leads from the right side of one box straight to the left side of the other.
std::string graphData(RelationGraph const &graph);

/// The names in an expression: letters, digits and underscores that begin with a letter or an underscore.
std::vector<std::string> namesIn(std::string const &expression);

} // namespace okt
