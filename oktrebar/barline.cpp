// SPDX-License-Identifier: MIT
#include <oktrebar/barline.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace okt
{

namespace
{

constexpr double kRightAngle = 90;

double radians(double degrees) { return degrees * std::numbers::pi / 180; }

/// Exact for the multiples of 90 degrees, which most headings are.
Point direction(double degrees)
{
    double const quarters = degrees / kRightAngle;
    if (quarters == std::floor(quarters))
    {
        static constexpr Point kAxes[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
        return kAxes[static_cast<long long>(quarters) & 3];
    }
    return {std::cos(radians(degrees)), std::sin(radians(degrees))};
}

Point moved(Point from, double heading, double distance)
{
    Point const step = direction(heading);
    return {from.x + distance * step.x, from.y + distance * step.y};
}

/// The start of a bend that ends at `end` with this heading.
Point bendStart(Point end, double endHeading, double turn, double radius)
{
    double const side = turn > 0 ? kRightAngle : -kRightAngle;
    Point const centre = moved(end, endHeading + side, radius);
    return moved(centre, endHeading - turn - side, radius);
}

} // namespace

Point BarPiece::at(double distance) const
{
    if (!isBend())
        return moved(from, heading, distance);
    double const side = turn > 0 ? kRightAngle : -kRightAngle;
    return moved(centre, headingAt(distance) - side, radius);
}

double BarPiece::headingAt(double distance) const { return isBend() ? heading + turn * distance / length : heading; }

BarLine &BarLine::straight(double length)
{
    if (!(length > 0))
        return *this;
    BarPiece piece;
    piece.from = m_end;
    piece.heading = m_heading;
    piece.length = length;
    piece.to = piece.at(length);
    m_end = piece.to;
    m_pieces.push_back(piece);
    return *this;
}

BarLine &BarLine::bend(double turn, double radius)
{
    if (turn == 0 || !(radius > 0))
        return *this;
    BarPiece piece;
    piece.from = m_end;
    piece.heading = m_heading;
    piece.turn = turn;
    piece.radius = radius;
    piece.length = radius * radians(std::abs(turn));
    piece.centre = moved(m_end, m_heading + (turn > 0 ? kRightAngle : -kRightAngle), radius);
    piece.to = piece.at(piece.length);
    m_end = piece.to;
    m_heading += turn;
    m_pieces.push_back(piece);
    return *this;
}

double BarLine::length() const
{
    double sum = 0;
    for (BarPiece const &piece : m_pieces)
        sum += piece.length;
    return sum;
}

Box BarLine::box(double diameter) const
{
    Box box{m_end, m_end};
    bool first = true;
    double const half = diameter / 2;
    // Both edges of the bar at that point.
    auto const cover = [&](Point centre, double heading) {
        for (double const side : {half, -half})
        {
            Point const edge = moved(centre, heading + kRightAngle, side);
            box.low = first ? edge : Point{std::min(box.low.x, edge.x), std::min(box.low.y, edge.y)};
            box.high = first ? edge : Point{std::max(box.high.x, edge.x), std::max(box.high.y, edge.y)};
            first = false;
        }
    };
    for (BarPiece const &piece : m_pieces)
    {
        cover(piece.from, piece.heading);
        cover(piece.to, piece.heading + piece.turn);
        // A bend is widest where it runs along an axis.
        double const low = std::min(piece.heading, piece.heading + piece.turn);
        double const high = std::max(piece.heading, piece.heading + piece.turn);
        for (int quarter = static_cast<int>(std::ceil(low / kRightAngle)); piece.isBend() && quarter * kRightAngle < high;
             ++quarter)
        {
            double const axis = quarter * kRightAngle;
            cover(piece.at(piece.length * (axis - piece.heading) / piece.turn), axis);
        }
    }
    return box;
}

BarLine BarLine::between(double from, double to) const
{
    double begin = 0;
    BarLine part(m_end, m_heading);
    bool started = false;
    for (BarPiece const &piece : m_pieces)
    {
        double const first = std::clamp(from - begin, 0.0, piece.length);
        double const last = std::clamp(to - begin, 0.0, piece.length);
        begin += piece.length;
        if (!(last > first))
            continue;
        if (!started)
            part = BarLine(piece.at(first), piece.headingAt(first));
        started = true;
        if (piece.isBend())
            part.bend(piece.turn * (last - first) / piece.length, piece.radius);
        else
            part.straight(last - first);
    }
    return part;
}

BarLine linkLine(BarFigures const &figures)
{
    double const radius = figures.centreRadius();
    double const half = figures.diameter / 2;
    double const corner = half + radius;
    auto const shift = [&](BarHook const &hook) { return hook.angle <= kRightAngle ? figures.diameter : 0.0; };
    // Clockwise from the hook of the upper side.
    double const shift1 = shift(figures.first);
    Point const top = bendStart({corner + shift1, figures.width - half}, 0, -figures.first.angle, radius);
    BarLine line(moved(top, figures.first.angle, -figures.first.straight), figures.first.angle);
    line.straight(figures.first.straight).bend(-figures.first.angle, radius);
    line.straight(figures.length - 2 * corner - shift1).bend(-kRightAngle, radius);
    line.straight(figures.width - 2 * corner).bend(-kRightAngle, radius);
    line.straight(figures.length - 2 * corner).bend(-kRightAngle, radius);
    line.straight(figures.width - 2 * corner - shift(figures.second));
    line.bend(-figures.second.angle, radius).straight(figures.second.straight);
    return line;
}

BarLine hookedLine(BarFigures const &figures)
{
    double const radius = figures.centreRadius();
    double const half = figures.diameter / 2;
    double const corner = half + radius;
    Point const foot = bendStart({corner, half}, 0, figures.first.angle, radius);
    BarLine line(moved(foot, -figures.first.angle, -figures.first.straight), -figures.first.angle);
    line.straight(figures.first.straight).bend(figures.first.angle, radius);
    line.straight(figures.length - 2 * corner);
    line.bend(figures.second.angle, radius).straight(figures.second.straight);
    return line;
}

} // namespace okt
