// SPDX-License-Identifier: MIT
#include <oktrebar/canvas.h>

#include <oktformat/failure.h>
#include <oktrebar/painter.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace okt
{

namespace
{

struct Colour
{
    double red, green, blue;
};

constexpr Colour kPaper = {0.976, 0.980, 0.984};
constexpr Colour kPanelEdge = {0.80, 0.83, 0.87};
constexpr Colour kSteelEdge = {0.16, 0.21, 0.27};
constexpr Colour kSteel = {0.56, 0.64, 0.72};
constexpr Colour kSteelLight = {0.70, 0.77, 0.83};
constexpr Colour kCentreLine = {0.72, 0.20, 0.14};
constexpr Colour kDimension = {0.10, 0.33, 0.55};
constexpr Colour kText = {0.13, 0.16, 0.20};

constexpr double kFigureSize = 15;
constexpr double kArrow = 9;
constexpr double kArrowHalf = 2.8;
constexpr double kGap = 3;        // between the measured object and the extension line
constexpr double kOvershoot = 4;  // of the extension line beyond the dimension line
constexpr double kFigureRoom = 4; // around a figure
constexpr double kOutside = 24;   // length of an arrow outside

// The minimum width of a bar in pixels for separate edges, and for a centre line.
constexpr double kWithEdges = 2.6;
constexpr double kWithCentreLine = 7;

double distance(Point a, Point b) { return std::hypot(b.x - a.x, b.y - a.y); }

void use(Painter &painter, Colour const &colour) { painter.setColour(colour.red, colour.green, colour.blue); }

[[noreturn]] void refuse(std::string const &reason) { throw Failure("preview", "", "the picture cannot be drawn: " + reason); }

} // namespace

View fitted(Box const &what, Box const &room, double largestScale)
{
    double const scale = std::min({room.width() / what.width(), room.height() / what.height(), largestScale});
    Point const middle = what.centre();
    return {{room.centre().x - scale * middle.x, room.centre().y + scale * middle.y}, scale};
}

struct Canvas::Handles
{
    Handles(int width, int height, PaintForm form) : painter(width, height, form) {}

    Painter painter;
};

Canvas::Canvas(int width, int height, PaintForm form) : m_handles(std::make_unique<Handles>(width, height, form))
{
    Painter &painter = m_handles->painter;
    if (std::string const reason = painter.failure(); !reason.empty())
        refuse(reason);
    use(painter, kPaper);
    painter.paint();
}

Canvas::~Canvas() = default;

void Canvas::trace(View const &view, BarLine const &barLine)
{
    Painter &painter = m_handles->painter;
    painter.newPath();
    for (BarPiece const &piece : barLine.pieces())
    {
        Point const from = view(piece.from);
        Point const to = view(piece.to);
        if (&piece == &barLine.pieces().front())
            painter.moveTo(from.x, from.y);
        if (!piece.isBend())
        {
            painter.lineTo(to.x, to.y);
            continue;
        }
        // In pixels, angles increase clockwise.
        Point const centre = view(piece.centre);
        double const begin = std::atan2(from.y - centre.y, from.x - centre.x);
        double const sweep = piece.turn * std::numbers::pi / 180;
        if (sweep > 0)
            painter.arcBack(centre.x, centre.y, piece.radius * view.scale, begin, begin - sweep);
        else
            painter.arc(centre.x, centre.y, piece.radius * view.scale, begin, begin - sweep);
    }
}

void Canvas::bar(View const &view, BarLine const &barLine, double diameter, bool beginsHere, bool endsHere)
{
    Painter &painter = m_handles->painter;
    double const thick = diameter * view.scale;
    double const edge = std::clamp(thick * 0.1, 0.7, 1.5);
    auto const stroke = [&](Colour const &colour, double width) {
        trace(view, barLine);
        use(painter, colour);
        painter.setLineWidth(width);
        painter.stroke();
    };
    stroke(kSteelEdge, thick);
    if (thick < kWithEdges)
        return;
    stroke(kSteel, thick - 2 * edge);
    stroke(kSteelLight, (thick - 2 * edge) * 0.45);

    auto const across = [&](Point place, double heading, double inwards) {
        double const angle = heading * std::numbers::pi / 180;
        Point const end = view(place);
        Point const along = {std::cos(angle) * inwards * edge / 2, -std::sin(angle) * inwards * edge / 2};
        Point const side = {std::sin(angle) * thick / 2, std::cos(angle) * thick / 2};
        use(painter, kSteelEdge);
        painter.setLineWidth(edge);
        line({end.x + along.x - side.x, end.y + along.y - side.y}, {end.x + along.x + side.x, end.y + along.y + side.y});
    };
    BarPiece const &first = barLine.pieces().front();
    if (beginsHere)
        across(first.from, first.heading, 1);
    if (endsHere)
        across(barLine.end(), barLine.heading(), -1);
    if (thick < kWithCentreLine)
        return;
    double const dashes[] = {10, 3, 2, 3};
    painter.setDashes(dashes, 4);
    stroke(kCentreLine, 1);
    painter.setDashes(nullptr, 0);
}

void Canvas::section(Point centre, double diameter)
{
    Painter &painter = m_handles->painter;
    double const edge = std::clamp(diameter * 0.1, 0.7, 1.5);
    use(painter, kSteelEdge);
    painter.newPath();
    painter.arc(centre.x, centre.y, diameter / 2, 0, 2 * std::numbers::pi);
    painter.fill();
    if (diameter < kWithEdges)
        return;
    use(painter, kSteel);
    painter.arc(centre.x, centre.y, diameter / 2 - edge, 0, 2 * std::numbers::pi);
    painter.fill();
}

void Canvas::enterPanel(Box const &panel)
{
    Painter &painter = m_handles->painter;
    painter.save();
    painter.rectangle(panel.low.x, panel.low.y, panel.width(), panel.height());
    use(painter, kPanelEdge);
    painter.setLineWidth(1);
    painter.strokeAndKeep();
    painter.clip();
}

void Canvas::leavePanel() { m_handles->painter.restore(); }

void Canvas::marker(Box const &box)
{
    Painter &painter = m_handles->painter;
    double const dashes[] = {4, 3};
    painter.setDashes(dashes, 2);
    use(painter, kDimension);
    painter.setLineWidth(1);
    painter.rectangle(box.low.x, box.low.y, box.width(), box.height());
    painter.stroke();
    painter.setDashes(nullptr, 0);
}

void Canvas::line(Point from, Point to)
{
    Painter &painter = m_handles->painter;
    painter.newPath();
    painter.moveTo(from.x, from.y);
    painter.lineTo(to.x, to.y);
    painter.stroke();
}

/// dx, dy: a unit vector in the direction in which the arrow points.
void Canvas::arrow(Point tip, double dx, double dy)
{
    Painter &painter = m_handles->painter;
    painter.newPath();
    painter.moveTo(tip.x, tip.y);
    painter.lineTo(tip.x - kArrow * dx - kArrowHalf * dy, tip.y - kArrow * dy + kArrowHalf * dx);
    painter.lineTo(tip.x - kArrow * dx + kArrowHalf * dy, tip.y - kArrow * dy - kArrowHalf * dx);
    painter.closePath();
    painter.fill();
}

double Canvas::textWidth(std::string const &words, double size, bool bold)
{
    Painter &painter = m_handles->painter;
    painter.setFont(size, bold);
    return painter.advanceOf(words);
}

/// A figure with a blank background, centred, rotated so that it is read from below or from the right.
void Canvas::figure(Point centre, double angle, std::string const &words)
{
    Painter &painter = m_handles->painter;
    double const quarter = std::numbers::pi / 2;
    while (angle > quarter - 1e-6)
        angle -= 2 * quarter;
    while (angle < -quarter - 1e-6)
        angle += 2 * quarter;
    double const width = textWidth(words, kFigureSize, false);
    painter.save();
    painter.translate(centre.x, centre.y);
    painter.rotate(angle);
    use(painter, kPaper);
    painter.rectangle(-width / 2 - kFigureRoom, -kFigureSize / 2 - 1, width + 2 * kFigureRoom, kFigureSize + 2);
    painter.fill();
    use(painter, kText);
    painter.moveTo(-width / 2, kFigureSize * 0.36);
    painter.showText(words);
    painter.restore();
}

void Canvas::dimension(Point from, Point to, double offset, std::string const &words)
{
    Painter &painter = m_handles->painter;
    double const length = distance(from, to);
    double const dx = (to.x - from.x) / length;
    double const dy = (to.y - from.y) / length;
    // The left of a direction, in a system with y downwards.
    Point const left = {dy, -dx};
    auto const beside = [&](Point place, double by) { return Point{place.x + left.x * by, place.y + left.y * by}; };
    auto const along = [&](Point place, double by) { return Point{place.x + dx * by, place.y + dy * by}; };
    double const sign = offset < 0 ? -1 : 1;
    Point const begin = beside(from, offset);
    Point const end = beside(to, offset);

    use(painter, kDimension);
    painter.setLineWidth(1);
    line(beside(from, sign * kGap), beside(begin, sign * kOvershoot));
    line(beside(to, sign * kGap), beside(end, sign * kOvershoot));
    double const width = textWidth(words, kFigureSize, false) + 2 * kFigureRoom;
    double const angle = std::atan2(dy, dx);
    bool const arrowsInside = length > 2 * kArrow + 6;
    bool const figureInside = length > width + 2 * kArrow + 6;
    if (arrowsInside)
    {
        line(along(begin, kArrow / 2), along(end, -kArrow / 2));
        arrow(begin, -dx, -dy);
        arrow(end, dx, dy);
    }
    else
    {
        line(along(begin, -kOutside), along(end, kOutside));
        arrow(begin, dx, dy);
        arrow(end, -dx, -dy);
    }
    Point const middle = along(begin, length / 2);
    if (figureInside)
        figure(middle, angle, words);
    else if (std::abs(dx) < 1e-6) // vertical: beside the line, written horizontally
        figure(beside(middle, sign * (width / 2 + kFigureRoom)), 0, words);
    else
        figure(along(end, width / 2 + (arrowsInside ? kArrow : kOutside)), angle, words);
}

void Canvas::thickness(Point from, Point to, std::string const &words)
{
    double const length = distance(from, to);
    double const dx = (to.x - from.x) / length;
    double const dy = (to.y - from.y) / length;
    use(m_handles->painter, kDimension);
    m_handles->painter.setLineWidth(1);
    line({from.x - dx * kOutside, from.y - dy * kOutside}, {from.x - dx * kArrow / 2, from.y - dy * kArrow / 2});
    line({to.x + dx * kArrow / 2, to.y + dy * kArrow / 2}, {to.x + dx * kOutside, to.y + dy * kOutside});
    arrow(from, dx, dy);
    arrow(to, -dx, -dy);
    double const width = textWidth(words, kFigureSize, false);
    double const away = kOutside + (std::abs(dx) > std::abs(dy) ? width / 2 + kFigureRoom : kFigureSize / 2 + 2);
    figure({to.x + dx * away, to.y + dy * away}, 0, words);
}

void Canvas::leader(Point tip, Point tail, std::string const &words)
{
    double const length = distance(tail, tip);
    double const dx = (tip.x - tail.x) / length;
    double const dy = (tip.y - tail.y) / length;
    use(m_handles->painter, kDimension);
    m_handles->painter.setLineWidth(1);
    line(tail, {tip.x - dx * kArrow / 2, tip.y - dy * kArrow / 2});
    arrow(tip, dx, dy);
    double const width = textWidth(words, kFigureSize, false) + 2 * kFigureRoom;
    figure({tail.x + (tip.x > tail.x ? -width : width) / 2, tail.y}, 0, words);
}

void Canvas::text(Point at, std::string const &words, double size, bool bold, Align align)
{
    Painter &painter = m_handles->painter;
    double const width = textWidth(words, size, bold);
    use(painter, kText);
    painter.moveTo(at.x - (align == Align::Left ? 0 : align == Align::Centre ? width / 2 : width), at.y);
    painter.showText(words);
}

void Canvas::rule(Point from, Point to)
{
    Painter &painter = m_handles->painter;
    use(painter, kPanelEdge);
    painter.setLineWidth(1);
    line(from, to);
}

CByteArray Canvas::png() const
{
    CByteArray const bytes = m_handles->painter.png();
    if (std::string const reason = m_handles->painter.failure(); !reason.empty())
        refuse(reason);
    return bytes;
}

std::string Canvas::svg() const
{
    std::string text = m_handles->painter.svg();
    if (std::string const reason = m_handles->painter.failure(); !reason.empty())
        refuse(reason);
    return text;
}

} // namespace okt
