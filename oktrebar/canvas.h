// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/barline.h>
#include <oktrebar/painter.h>

#include <oktplatform/oktarrays.h>

#include <memory>
#include <string>
#include <vector>

namespace okt
{

// Drawings of bars. Not installed.

/// The conversion from drawing units to pixels.
struct View
{
    Point origin;     ///< of the point (0, 0), in pixels
    double scale = 1; ///< pixels per unit

    /// Pixels: x to the right, y downwards.
    Point operator()(Point place) const { return {origin.x + scale * place.x, origin.y - scale * place.y}; }
};

/// A view that centres `what` in `room`, which is in pixels.
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
    /// Throws Failure if there is not enough memory.
    Canvas(int width, int height, PaintForm form = PaintForm::Pixels);
    ~Canvas();

    /// A bar with both edges, its centre line if it is wide enough, and a line across each real end.
    void bar(View const &view, BarLine const &line, double diameter, bool beginsHere, bool endsHere);
    /// The cross-section of a bar.
    void section(Point centre, double diameter);
    /// Begins a panel: drawing is clipped to it until `leavePanel`.
    void enterPanel(Box const &panel);
    void leavePanel();
    /// A frame around a detail that is enlarged elsewhere.
    void marker(Box const &box);

    /// A dimension line with its words, the figure, between two points, moved to the left of their direction by `offset`, with extension lines.
    /// A figure that does not fit between the arrows is written after the second point, or beside a vertical line.
    void dimension(Point from, Point to, double offset, std::string const &words);
    /// Two arrows that point at both sides from outside, with the words at the tail of the second.
    void thickness(Point from, Point to, std::string const &words);
    /// An arrow from the tail to the tip, and the words at its tail.
    void leader(Point tip, Point tail, std::string const &words);

    void text(Point at, std::string const &words, double size, bool bold, Align align);
    void rule(Point from, Point to);

    /// The picture as PNG. Throws Failure.
    CByteArray png() const;
    /// The drawing of lines as SVG, once. Throws Failure.
    std::string svg() const;

private:
    struct Handles;

    void line(Point from, Point to);
    void arrow(Point tip, double dx, double dy);
    void figure(Point centre, double angle, std::string const &words);
    double textWidth(std::string const &words, double size, bool bold);
    void trace(View const &view, BarLine const &line);

    std::unique_ptr<Handles> m_handles;
};

} // namespace okt
