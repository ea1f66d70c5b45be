#include "relationgraph.h"

#include "html.h"
#include "layeredlayout.h"

#include <tools/okt/text.h>

#include <algorithm>
#include <array>

namespace okt
{

namespace
{

constexpr std::size_t kLongestLabel = 30;
constexpr double kBoxHeight = 20;
constexpr double kBoxMargin = 9;
constexpr double kBold = 1.1; ///< how much wider the letters of groups and categories are

char const *nameOf(RelationGraph::NodeKind kind)
{
    switch (kind)
    {
    case RelationGraph::NodeKind::Group: return "group";
    case RelationGraph::NodeKind::Category: return "category";
    case RelationGraph::NodeKind::Parameter: return "parameter";
    case RelationGraph::NodeKind::Relation: return "relation";
    }
    return "";
}

char const *nameOf(RelationGraph::EdgeKind kind)
{
    switch (kind)
    {
    case RelationGraph::EdgeKind::Lists: return "lists";
    case RelationGraph::EdgeKind::Ties: return "ties";
    case RelationGraph::EdgeKind::Uses: return "uses";
    case RelationGraph::EdgeKind::Named: return "named";
    }
    return "";
}

bool beginsCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

/// The width of a text in the letters of the drawing, rather too much than too little: the font is that of the reader's system.
double textWidth(std::string const &utf8)
{
    double sum = 0;
    for (char const c : utf8)
    {
        unsigned char const byte = static_cast<unsigned char>(c);
        if (!beginsCharacter(c))
            continue;
        if (byte >= 0xE3) // Chinese, Japanese and Korean letters, pictures
            sum += 12.5;
        else if (c == 'i' || c == 'l' || c == 'j' || c == 'I' || c == '.' || c == ',' || c == ' ')
            sum += 3.9;
        else if (c == 'm' || c == 'w' || c == 'M' || c == 'W' || c == '@')
            sum += 10.4;
        else if ((c >= 'A' && c <= 'Z') || byte >= 0x80)
            sum += 8.2;
        else
            sum += 6.7;
    }
    return sum;
}

/// A coordinate with at most two decimals.
std::string place(double value) { return rounded(static_cast<double>(static_cast<long long>(value * 100 + 0.5)) / 100, 9); }

std::string curve(std::vector<LayoutPoint> const &points)
{
    std::string path = "M" + place(points[0].x) + " " + place(points[0].y);
    for (std::size_t i = 1; i < points.size(); ++i)
    {
        LayoutPoint const &from = points[i - 1];
        LayoutPoint const &to = points[i];
        if (from.y == to.y)
        {
            path += "H" + place(to.x);
            continue;
        }
        double const middle = (from.x + to.x) / 2;
        path += "C" + place(middle) + " " + place(from.y) + " " + place(middle) + " " + place(to.y) + " " + place(to.x) + " " +
                place(to.y);
    }
    return path;
}

bool isNameStart(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

} // namespace

RelationGraph drawnPart(RelationGraph const &graph)
{
    RelationGraph part;
    part.nodes.assign(graph.nodes.begin(),
                      graph.nodes.begin() + static_cast<std::ptrdiff_t>(std::min(graph.nodes.size(), kMostDrawnNodes)));
    for (RelationGraph::Edge const &edge : graph.edges)
        if (edge.from < part.nodes.size() && edge.to < part.nodes.size() && part.edges.size() < kMostDrawnEdges)
            part.edges.push_back(edge);
    return part;
}

std::string svgOf(RelationGraph const &graph, std::string const &label)
{
    std::vector<LayoutNode> boxes;
    for (RelationGraph::Node const &node : graph.nodes)
    {
        bool const isBold = node.kind == RelationGraph::NodeKind::Group || node.kind == RelationGraph::NodeKind::Category;
        double const letters = textWidth(shortened(node.label, kLongestLabel)) * (isBold ? kBold : 1);
        boxes.push_back({2 * kBoxMargin + letters, static_cast<int>(node.kind)});
    }
    // One width a column, as far as the kinds make it one.
    std::array<double, 4> widest = {};
    for (std::size_t i = 0; i < boxes.size(); ++i)
    {
        double &wide = widest[static_cast<std::size_t>(graph.nodes[i].kind)];
        wide = std::max(wide, boxes[i].width);
    }
    for (std::size_t i = 0; i < boxes.size(); ++i)
        boxes[i].width = widest[static_cast<std::size_t>(graph.nodes[i].kind)];
    std::vector<LayoutEdge> arrows;
    for (RelationGraph::Edge const &edge : graph.edges)
        arrows.push_back({edge.from, edge.to});
    Layout const layout = layered(boxes, arrows);

    std::string const wide = place(layout.width);
    std::string const high = place(layout.height);
    std::string svg = "<svg class=\"graph\" role=\"group\" aria-label=\"" + label + "\" width=\"" + wide + "\" height=\"" +
                      high + "\" viewBox=\"0 0 " + wide + " " + high + "\">\n";
    for (std::size_t i = 0; i < graph.edges.size(); ++i)
    {
        RelationGraph::Edge const &edge = graph.edges[i];
        if (layout.edges[i].empty())
            continue;
        bool const isArrow = edge.kind == RelationGraph::EdgeKind::Uses || edge.kind == RelationGraph::EdgeKind::Named;
        svg += "<path class=\"" + std::string(nameOf(edge.kind)) + "\" data-from=\"" + std::to_string(edge.from) +
               "\" data-to=\"" + std::to_string(edge.to) + "\"" + (isArrow ? " marker-end=\"url(#arrow)\"" : "") + " d=\"" +
               curve(layout.edges[i]) + "\"/>\n";
    }
    for (std::size_t i = 0; i < graph.nodes.size(); ++i)
    {
        RelationGraph::Node const &node = graph.nodes[i];
        LayoutPoint const &at = layout.nodes[i];
        std::string const shown = shortened(node.label, kLongestLabel);
        svg += "<a class=\"node " + std::string(nameOf(node.kind)) + "\" data-node=\"" + std::to_string(i) + "\" href=\"#" +
               node.target + "\" aria-label=\"" + nameOf(node.kind) + " " + escapedLine(node.label) + "\">";
        if (shown != node.label)
            svg += "<title>" + escapedLine(node.label) + "</title>";
        svg += "<rect x=\"" + place(at.x) + "\" y=\"" + place(at.y - kBoxHeight / 2) + "\" width=\"" + place(boxes[i].width) +
               "\" height=\"" + place(kBoxHeight) + "\" rx=\"4\"/><text x=\"" + place(at.x + kBoxMargin) + "\" y=\"" +
               place(at.y + 4) + "\">" + escapedLine(shown) + "</text></a>\n";
    }
    return svg + "</svg>\n";
}

std::vector<std::string> namesIn(std::string const &expression)
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < expression.size();)
    {
        auto const isDigit = [&](std::size_t at) { return expression[at] >= '0' && expression[at] <= '9'; };
        std::size_t end = i + 1;
        bool const isWord = isNameStart(expression[i]);
        // A number takes the letters right behind it: the e of 1e5 is no name.
        if (isWord || isDigit(i))
            while (end < expression.size() && (isNameStart(expression[end]) || isDigit(end)))
                ++end;
        if (isWord)
            names.push_back(expression.substr(i, end - i));
        i = end;
    }
    return names;
}

} // namespace okt
