#include "canvas.h"

#include "failure.h"

#include <cairo.h>

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

// The strokes that cairo brings itself, ASCII alone: no font of the machine has a part in the picture.
constexpr char kFont[] = "@cairo:";
constexpr double kFigureSize = 15;
constexpr double kArrow = 9;
constexpr double kArrowHalf = 2.8;
constexpr double kGap = 3;        // between what is measured and the line that leads away from it
constexpr double kOvershoot = 4;  // of that line beyond the dimension line
constexpr double kFigureRoom = 4; // around a figure
constexpr double kOutside = 24;   // length of an arrow that stands outside

// What a bar must have in pixels for its edges, and for its centre line, to be told apart.
constexpr double kWithEdges = 2.6;
constexpr double kWithCentreLine = 7;

double distance(Point a, Point b) { return std::hypot(b.x - a.x, b.y - a.y); }

void use(cairo_t *cairo, Colour const &colour) { cairo_set_source_rgb(cairo, colour.red, colour.green, colour.blue); }

cairo_status_t append(void *target, unsigned char const *data, unsigned int length)
{
    try
    {
        std::copy_n(data, length, static_cast<CByteArray *>(target)->Extend(static_cast<int>(length)));
        return CAIRO_STATUS_SUCCESS;
    }
    catch (std::exception const &)
    {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

[[noreturn]] void refuse(cairo_status_t status)
{
    throw Failure("preview", "", std::string("the picture cannot be drawn: ") + cairo_status_to_string(status));
}

} // namespace

View fitted(Box const &what, Box const &room, double largestScale)
{
    double const scale = std::min({room.width() / what.width(), room.height() / what.height(), largestScale});
    Point const middle = what.centre();
    return {{room.centre().x - scale * middle.x, room.centre().y + scale * middle.y}, scale};
}

struct Canvas::Handles
{
    Handles(int width, int height)
        : surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), cairo_surface_destroy),
          cairo(cairo_create(surface.get()), cairo_destroy)
    {
    }

    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface;
    std::unique_ptr<cairo_t, decltype(&cairo_destroy)> cairo;
};

Canvas::Canvas(int width, int height) : m_handles(std::make_unique<Handles>(width, height))
{
    cairo_t *const cairo = m_handles->cairo.get();
    if (cairo_status(cairo) != CAIRO_STATUS_SUCCESS)
        refuse(cairo_status(cairo));
    use(cairo, kPaper);
    cairo_paint(cairo);
    // What a user has set for the screen must not show in a file.
    std::unique_ptr<cairo_font_options_t, decltype(&cairo_font_options_destroy)> const options(cairo_font_options_create(),
                                                                                               cairo_font_options_destroy);
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(cairo, options.get());
    cairo_set_antialias(cairo, CAIRO_ANTIALIAS_BEST);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
}

Canvas::~Canvas() = default;

void Canvas::trace(View const &view, BarLine const &barLine)
{
    cairo_t *const cairo = m_handles->cairo.get();
    cairo_new_path(cairo);
    for (BarPiece const &piece : barLine.pieces())
    {
        Point const from = view(piece.from);
        Point const to = view(piece.to);
        if (&piece == &barLine.pieces().front())
            cairo_move_to(cairo, from.x, from.y);
        if (!piece.isBend())
        {
            cairo_line_to(cairo, to.x, to.y);
            continue;
        }
        // Angles of a picture grow clockwise.
        Point const centre = view(piece.centre);
        double const begin = std::atan2(from.y - centre.y, from.x - centre.x);
        double const sweep = piece.turn * std::numbers::pi / 180;
        if (sweep > 0)
            cairo_arc_negative(cairo, centre.x, centre.y, piece.radius * view.scale, begin, begin - sweep);
        else
            cairo_arc(cairo, centre.x, centre.y, piece.radius * view.scale, begin, begin - sweep);
    }
}

void Canvas::bar(View const &view, BarLine const &barLine, double diameter, bool beginsHere, bool endsHere)
{
    cairo_t *const cairo = m_handles->cairo.get();
    double const thick = diameter * view.scale;
    double const edge = std::clamp(thick * 0.1, 0.7, 1.5);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_BUTT);
    auto const stroke = [&](Colour const &colour, double width) {
        trace(view, barLine);
        use(cairo, colour);
        cairo_set_line_width(cairo, width);
        cairo_stroke(cairo);
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
        use(cairo, kSteelEdge);
        cairo_set_line_width(cairo, edge);
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
    cairo_set_dash(cairo, dashes, 4, 0);
    stroke(kCentreLine, 1);
    cairo_set_dash(cairo, nullptr, 0, 0);
}

void Canvas::section(Point centre, double diameter)
{
    cairo_t *const cairo = m_handles->cairo.get();
    double const edge = std::clamp(diameter * 0.1, 0.7, 1.5);
    use(cairo, kSteelEdge);
    cairo_new_path(cairo);
    cairo_arc(cairo, centre.x, centre.y, diameter / 2, 0, 2 * std::numbers::pi);
    cairo_fill(cairo);
    if (diameter < kWithEdges)
        return;
    use(cairo, kSteel);
    cairo_arc(cairo, centre.x, centre.y, diameter / 2 - edge, 0, 2 * std::numbers::pi);
    cairo_fill(cairo);
}

void Canvas::enterPanel(Box const &panel)
{
    cairo_t *const cairo = m_handles->cairo.get();
    cairo_save(cairo);
    cairo_rectangle(cairo, panel.low.x, panel.low.y, panel.width(), panel.height());
    use(cairo, kPanelEdge);
    cairo_set_line_width(cairo, 1);
    cairo_stroke_preserve(cairo);
    cairo_clip(cairo);
}

void Canvas::leavePanel() { cairo_restore(m_handles->cairo.get()); }

void Canvas::marker(Box const &box)
{
    cairo_t *const cairo = m_handles->cairo.get();
    double const dashes[] = {4, 3};
    cairo_set_dash(cairo, dashes, 2, 0);
    use(cairo, kDimension);
    cairo_set_line_width(cairo, 1);
    cairo_rectangle(cairo, box.low.x, box.low.y, box.width(), box.height());
    cairo_stroke(cairo);
    cairo_set_dash(cairo, nullptr, 0, 0);
}

void Canvas::line(Point from, Point to)
{
    cairo_t *const cairo = m_handles->cairo.get();
    cairo_new_path(cairo);
    cairo_move_to(cairo, from.x, from.y);
    cairo_line_to(cairo, to.x, to.y);
    cairo_stroke(cairo);
}

/// dx, dy: a unit vector in the direction in which the arrow points.
void Canvas::arrow(Point tip, double dx, double dy)
{
    cairo_t *const cairo = m_handles->cairo.get();
    cairo_new_path(cairo);
    cairo_move_to(cairo, tip.x, tip.y);
    cairo_line_to(cairo, tip.x - kArrow * dx - kArrowHalf * dy, tip.y - kArrow * dy + kArrowHalf * dx);
    cairo_line_to(cairo, tip.x - kArrow * dx + kArrowHalf * dy, tip.y - kArrow * dy - kArrowHalf * dx);
    cairo_close_path(cairo);
    cairo_fill(cairo);
}

double Canvas::textWidth(std::string const &words, double size, bool bold)
{
    cairo_t *const cairo = m_handles->cairo.get();
    cairo_select_font_face(cairo, kFont, CAIRO_FONT_SLANT_NORMAL, bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, size);
    cairo_text_extents_t extents;
    cairo_text_extents(cairo, words.c_str(), &extents);
    return extents.x_advance;
}

/// A figure around its middle, turned so that it is read from below or from the right, on paper of its own.
void Canvas::figure(Point centre, double angle, std::string const &words)
{
    cairo_t *const cairo = m_handles->cairo.get();
    double const quarter = std::numbers::pi / 2;
    while (angle > quarter - 1e-6)
        angle -= 2 * quarter;
    while (angle < -quarter - 1e-6)
        angle += 2 * quarter;
    double const width = textWidth(words, kFigureSize, false);
    cairo_save(cairo);
    cairo_translate(cairo, centre.x, centre.y);
    cairo_rotate(cairo, angle);
    use(cairo, kPaper);
    cairo_rectangle(cairo, -width / 2 - kFigureRoom, -kFigureSize / 2 - 1, width + 2 * kFigureRoom, kFigureSize + 2);
    cairo_fill(cairo);
    use(cairo, kText);
    cairo_move_to(cairo, -width / 2, kFigureSize * 0.36);
    cairo_show_text(cairo, words.c_str());
    cairo_restore(cairo);
}

void Canvas::dimension(Point from, Point to, double offset, std::string const &words)
{
    cairo_t *const cairo = m_handles->cairo.get();
    double const length = distance(from, to);
    double const dx = (to.x - from.x) / length;
    double const dy = (to.y - from.y) / length;
    // The left of a direction, where y points downwards.
    Point const left = {dy, -dx};
    auto const beside = [&](Point place, double by) { return Point{place.x + left.x * by, place.y + left.y * by}; };
    auto const along = [&](Point place, double by) { return Point{place.x + dx * by, place.y + dy * by}; };
    double const sign = offset < 0 ? -1 : 1;
    Point const begin = beside(from, offset);
    Point const end = beside(to, offset);

    use(cairo, kDimension);
    cairo_set_line_width(cairo, 1);
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
    else if (std::abs(dx) < 1e-6) // upright: beside it, where it can be read without turning the head
        figure(beside(middle, sign * (width / 2 + kFigureRoom)), 0, words);
    else
        figure(along(end, width / 2 + (arrowsInside ? kArrow : kOutside)), angle, words);
}

void Canvas::thickness(Point from, Point to, std::string const &words)
{
    double const length = distance(from, to);
    double const dx = (to.x - from.x) / length;
    double const dy = (to.y - from.y) / length;
    use(m_handles->cairo.get(), kDimension);
    cairo_set_line_width(m_handles->cairo.get(), 1);
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
    use(m_handles->cairo.get(), kDimension);
    cairo_set_line_width(m_handles->cairo.get(), 1);
    line(tail, {tip.x - dx * kArrow / 2, tip.y - dy * kArrow / 2});
    arrow(tip, dx, dy);
    double const width = textWidth(words, kFigureSize, false) + 2 * kFigureRoom;
    figure({tail.x + (tip.x > tail.x ? -width : width) / 2, tail.y}, 0, words);
}

void Canvas::text(Point at, std::string const &words, double size, bool bold, Align align)
{
    cairo_t *const cairo = m_handles->cairo.get();
    double const width = textWidth(words, size, bold);
    use(cairo, kText);
    cairo_move_to(cairo, at.x - (align == Align::Left ? 0 : align == Align::Centre ? width / 2 : width), at.y);
    cairo_show_text(cairo, words.c_str());
}

void Canvas::rule(Point from, Point to)
{
    cairo_t *const cairo = m_handles->cairo.get();
    use(cairo, kPanelEdge);
    cairo_set_line_width(cairo, 1);
    line(from, to);
}

CByteArray Canvas::png() const
{
    CByteArray bytes;
    cairo_status_t status = cairo_status(m_handles->cairo.get());
    if (status == CAIRO_STATUS_SUCCESS)
        status = cairo_surface_write_to_png_stream(m_handles->surface.get(), append, &bytes);
    if (status != CAIRO_STATUS_SUCCESS)
        refuse(status);
    return bytes;
}

} // namespace okt
