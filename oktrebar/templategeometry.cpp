// SPDX-License-Identifier: MIT
#include <oktrebar/templategeometry.h>

#include <oktrebar/planline.h>

#include <cmath>
#include <numbers>

namespace okt
{

namespace
{

constexpr double kSharpest = 90; // largest bend in degrees that one corner represents

double radians(double degrees) { return degrees * std::numbers::pi / 180; }

Corner corner(Point const &place, double bendRadius) { return {OKTGeXYZ(place.x, place.y, 0), bendRadius}; }

/// Where the tangents of a bend meet; of a bend of more than 90 degrees, those of its halves.
void addBend(BarGeometry &geometry, BarPiece const &bend)
{
    int const parts = std::abs(bend.turn) > kSharpest ? 2 : 1;
    double const tangent = bend.radius * std::tan(radians(std::abs(bend.turn) / parts) / 2);
    for (int i = 0; i < parts; ++i)
    {
        double const begin = bend.length * i / parts;
        BarLine const reach = BarLine(bend.at(begin), bend.headingAt(begin)).straight(tangent);
        geometry.corners.push_back(corner(reach.end(), bend.radius - geometry.diameter / 2));
    }
}

BarGeometry geometryOfLine(BarLine const &line, double diameter)
{
    BarGeometry geometry;
    if (line.pieces().empty())
        return geometry;
    geometry.diameter = diameter;
    geometry.corners.push_back(corner(line.pieces().front().from, 0));
    for (BarPiece const &piece : line.pieces())
        if (piece.isBend())
            addBend(geometry, piece);
    geometry.corners.push_back(corner(line.end(), 0));
    return geometry;
}

} // namespace

BarGeometry geometryOf(TemplatePlan const &plan)
{
    switch (plan.kind)
    {
    case TemplateKind::Link: return geometryOfLine(linkLine(figuresOf(plan)), figureOf(plan, {types::kDiameter, 0}));
    case TemplateKind::Hooked: return geometryOfLine(hookedLine(figuresOf(plan)), figureOf(plan, {types::kDiameter, 0}));
    case TemplateKind::Mesh:
        return geometryOfLine(BarLine({0, 0}, 0).straight(figureOf(plan, {types::kLength, 1})),
                              figureOf(plan, {types::kDiameter, 0}));
    case TemplateKind::Bent: return geometryOfLine(bentLine(plan), figureOf(plan, {types::kDiameter, 0}));
    case TemplateKind::Other: break;
    }
    return {};
}

} // namespace okt
