// SPDX-License-Identifier: MIT
#include <oktreport/relationgraph.h>

#include <oktformat/sentence.h>
#include <oktreport/html.h>
#include <oktreport/layeredlayout.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace okt
{

namespace
{

constexpr std::size_t kLongestLabel = 30;
constexpr double kBoxMargin = 9;
constexpr double kBold = 1.1; ///< how much wider the letters of groups and categories are

bool beginsCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

/// The estimated width of a text, rather too large: the font depends on the reader's system.
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

/// A coordinate in whole steps, as fine as a screen shows it.
std::string place(double value) { return std::to_string(std::lround(value)); }

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

std::string graphData(RelationGraph const &graph)
{
    std::vector<LayoutNode> boxes;
    for (RelationGraph::Node const &node : graph.nodes)
    {
        bool const isBold = node.kind == RelationGraph::NodeKind::Group || node.kind == RelationGraph::NodeKind::Category;
        double const letters = textWidth(shortened(node.label, kLongestLabel)) * (isBold ? kBold : 1);
        boxes.push_back({2 * kBoxMargin + letters, static_cast<int>(node.kind)});
    }
    // All boxes of a kind have the same width.
    std::array<double, 4> widest = {};
    for (std::size_t i = 0; i < boxes.size(); ++i)
    {
        double &wide = widest[static_cast<std::size_t>(graph.nodes[i].kind)];
        wide = std::max(wide, std::ceil(boxes[i].width));
    }
    for (std::size_t i = 0; i < boxes.size(); ++i)
        boxes[i].width = widest[static_cast<std::size_t>(graph.nodes[i].kind)];
    std::vector<LayoutEdge> arrows;
    for (RelationGraph::Edge const &edge : graph.edges)
        arrows.push_back({edge.from, edge.to});
    Layout const layout = layered(boxes, arrows);

    std::string data = sentence("{{\"size\":[{},{}],\"boxes\":[", place(layout.width), place(layout.height));
    for (std::size_t i = 0; i < graph.nodes.size(); ++i)
    {
        RelationGraph::Node const &node = graph.nodes[i];
        data += sentence("{}[{},{},{},{},\"{}\"]", i == 0 ? "" : ",", static_cast<int>(node.kind), place(layout.nodes[i].x),
                         place(layout.nodes[i].y), place(boxes[i].width), jsonText(node.label));
    }
    data += "],\"ties\":[";
    bool isFirst = true;
    for (std::size_t i = 0; i < graph.edges.size(); ++i)
    {
        std::vector<LayoutPoint> const &points = layout.edges[i];
        if (points.empty())
            continue;
        RelationGraph::Edge const &edge = graph.edges[i];
        data += sentence("{}[{},{},{}", isFirst ? "" : ",", static_cast<int>(edge.kind), edge.from, edge.to);
        isFirst = false;
        if (bool const isStraight = points.size() == 2 && points[0].x < points[1].x; !isStraight)
            for (LayoutPoint const &point : points)
                data += sentence(",{},{}", place(point.x), place(point.y));
        data += "]";
    }
    return data + "]}";
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
