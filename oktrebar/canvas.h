// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/barline.h>

#include <oktplatform/oktarrays.h>

#include <memory>
#include <string>
#include <vector>

namespace okt
{

// Drawings of bars. Not installed.

/// Where the places of a bar come to lie in a picture.
struct View
{
    Point origin;     ///< of the place (0, 0), in pixels
    double scale = 1; ///< pixels per unit

    /// Pixels: x to the right, y downwards.
    Point operator()(Point place) const { return {origin.x + scale * place.x, origin.y - scale * place.y}; }
};

/// A view that puts the middle of `what` into the middle of `room`, which is in pixels.
View fitted(Box const &what, Box const &room, double largestScale);

enum class Align
{
    Left,
    Centre,
    Right
};

/// A drawing of bars with their dimensions, in pixels. Texts are ASCII. The same calls give the same bytes.
class Canvas
{
public:
    /// Throws Failure when there is no memory for it.
    Canvas(int width, int height);
    ~Canvas();

    /// A bar with both edges, its centre line where there is room for one, and a line across the ends that are really ends.
    void bar(View const &view, BarLine const &line, double diameter, bool beginsHere, bool endsHere);
    /// The cross-section of a bar.
    void section(Point centre, double diameter);
    /// A panel: the drawing is confined to it until `leavePanel`.
    void enterPanel(Box const &panel);
    void leavePanel();
    /// A frame around something that is shown larger elsewhere.
    void marker(Box const &box);

    /// A dimension line with its figure between two places, moved to the left of their direction by `offset`; lines lead to it.
    /// A figure that has no room between the arrows stands behind the second place, or beside a line that is upright.
    void dimension(Point from, Point to, double offset, std::string const &figure);
    /// Two arrows from outside at both sides of a thing, and the figure at the tail of the second.
    void thickness(Point from, Point to, std::string const &figure);
    /// An arrow from the tail to the tip, and the figure at its tail.
    void leader(Point tip, Point tail, std::string const &figure);

    void text(Point at, std::string const &text, double size, bool bold, Align align);
    void rule(Point from, Point to);

    /// The picture as PNG. Throws Failure.
    CByteArray png() const;

private:
    struct Handles;

    void line(Point from, Point to);
    void arrow(Point tip, double dx, double dy);
    void figure(Point centre, double angle, std::string const &text);
    double textWidth(std::string const &text, double size, bool bold);
    void trace(View const &view, BarLine const &line);

    std::unique_ptr<Handles> m_handles;
};

} // namespace okt
