#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace okt
{

/// What of a template is tied to what.
struct RelationGraph
{
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
        std::string label;  ///< printable UTF-8, as long as it is
        std::string target; ///< the place in the page that tells of it
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

/// A drawing of the graph as SVG. `label` is what a screen reader says of it, in HTML.
std::string svgOf(RelationGraph const &graph, std::string const &label);

/// The names in an expression: letters, digits and underscores that begin with a letter or an underscore.
std::vector<std::string> namesIn(std::string const &expression);

} // namespace okt
