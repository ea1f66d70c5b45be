// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/plane.h>

#include <vector>

namespace okt
{

// The centre line of a bar, piece by piece, in drawing units. Not installed.

/// A straight part of a bar, or a bend.
struct BarPiece
{
    Point from;
    Point to;
    double heading = 0; ///< direction at `from`, in degrees from the x axis, counter-clockwise
    double length = 0;  ///< along the centre line
    double turn = 0;    ///< degrees, positive to the left; 0 for a straight part
    double radius = 0;  ///< of the centre line; 0 for a straight part
    Point centre;       ///< of a bend

    bool isBend() const { return turn != 0; }
    /// The point at that length from `from`.
    Point at(double distance) const;
    /// The direction there.
    double headingAt(double distance) const;
};

/// The centre line of a bar, built in the order in which the bar is bent: straight parts, and bends as tangent arcs.
class BarLine
{
public:
    BarLine(Point start, double heading) : m_end(start), m_heading(heading) {}

    /// A length of 0 or less, or a turn of 0, adds nothing.
    BarLine &straight(double length);
    BarLine &bend(double turn, double radius);

    std::vector<BarPiece> const &pieces() const { return m_pieces; }
    Point end() const { return m_end; }
    double heading() const { return m_heading; }
    double length() const;
    /// The bounding box of a bar of that thickness.
    Box box(double diameter) const;
    /// The part between two lengths from the start; lengths outside of the line are clamped.
    BarLine between(double from, double to) const;

private:
    std::vector<BarPiece> m_pieces;
    Point m_end;
    double m_heading;
};

/// The end of a bar: a bend and the straight part after it.
struct BarHook
{
    double angle = 0; ///< degrees
    double straight = 0;
};

/// The figures of a bent bar, all in one unit. `radius` is that of the inside of its bends.
struct BarFigures
{
    double diameter = 0;
    double radius = 0;
    double length = 0; ///< from outside to outside
    double width = 0;  ///< of a link
    BarHook first;
    BarHook second;

    double centreRadius() const { return radius + diameter / 2; }
};

/// A closed link, its outer dimensions from (0, 0) to (length, width), closed in the upper left corner. A hook of up to 90 degrees
/// would lie on a side of the link, so it is moved inwards by one diameter.
BarLine linkLine(BarFigures const &figures);
/// A bar along the x axis, its outside from 0 to length, with hooks at both ends that stand up.
BarLine hookedLine(BarFigures const &figures);

} // namespace okt
