// SPDX-License-Identifier: MIT
#include <oktrebar/painter.h>

#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <exception>

namespace okt
{

namespace
{

// The built-in font of cairo (ASCII only), so that pictures do not depend on installed fonts.
constexpr char kFont[] = "@cairo:";

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

cairo_status_t appendText(void *target, unsigned char const *data, unsigned int length)
{
    try
    {
        static_cast<std::string *>(target)->append(reinterpret_cast<char const *>(data), length);
        return CAIRO_STATUS_SUCCESS;
    }
    catch (std::exception const &)
    {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

} // namespace

struct Painter::State
{
    State(int width, int height, PaintForm form)
        : surface(form == PaintForm::Lines ? cairo_svg_surface_create_for_stream(appendText, &lines, width, height)
                                           : cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height),
                  cairo_surface_destroy),
          cairo(cairo_create(surface.get()), cairo_destroy)
    {
    }

    std::string lines; // which the surface writes to until its end
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface;
    std::unique_ptr<cairo_t, decltype(&cairo_destroy)> cairo;
    cairo_status_t written = CAIRO_STATUS_SUCCESS;

    cairo_t *get() const { return cairo.get(); }
};

Painter::Painter(int width, int height, PaintForm form) : m_form(form), m_state(std::make_unique<State>(width, height, form))
{
    // Font settings of the user's screen must not change a file.
    std::unique_ptr<cairo_font_options_t, decltype(&cairo_font_options_destroy)> const options(cairo_font_options_create(),
                                                                                               cairo_font_options_destroy);
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(m_state->get(), options.get());
    cairo_set_antialias(m_state->get(), CAIRO_ANTIALIAS_BEST);
    cairo_set_line_join(m_state->get(), CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(m_state->get(), CAIRO_LINE_CAP_BUTT);
}

Painter::~Painter() = default;

std::string Painter::failure() const
{
    cairo_status_t const status = std::max(cairo_status(m_state->get()), m_state->written);
    return status == CAIRO_STATUS_SUCCESS ? std::string() : std::string(cairo_status_to_string(status));
}

void Painter::setColour(double red, double green, double blue) { cairo_set_source_rgb(m_state->get(), red, green, blue); }

void Painter::paint() { cairo_paint(m_state->get()); }

void Painter::setLineWidth(double width) { cairo_set_line_width(m_state->get(), width); }

void Painter::setDashes(double const *lengths, int count) { cairo_set_dash(m_state->get(), lengths, count, 0); }

void Painter::newPath() { cairo_new_path(m_state->get()); }

void Painter::moveTo(double x, double y) { cairo_move_to(m_state->get(), x, y); }

void Painter::lineTo(double x, double y) { cairo_line_to(m_state->get(), x, y); }

void Painter::arc(double x, double y, double radius, double from, double to)
{
    cairo_arc(m_state->get(), x, y, radius, from, to);
}

void Painter::arcBack(double x, double y, double radius, double from, double to)
{
    cairo_arc_negative(m_state->get(), x, y, radius, from, to);
}

void Painter::rectangle(double x, double y, double width, double height)
{
    cairo_rectangle(m_state->get(), x, y, width, height);
}

void Painter::closePath() { cairo_close_path(m_state->get()); }

void Painter::stroke() { cairo_stroke(m_state->get()); }

void Painter::strokeAndKeep() { cairo_stroke_preserve(m_state->get()); }

void Painter::fill() { cairo_fill(m_state->get()); }

void Painter::clip() { cairo_clip(m_state->get()); }

void Painter::save() { cairo_save(m_state->get()); }

void Painter::restore() { cairo_restore(m_state->get()); }

void Painter::translate(double x, double y) { cairo_translate(m_state->get(), x, y); }

void Painter::rotate(double angle) { cairo_rotate(m_state->get(), angle); }

void Painter::setFont(double size, bool bold)
{
    cairo_select_font_face(m_state->get(), kFont, CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(m_state->get(), size);
}

double Painter::advanceOf(std::string const &text)
{
    cairo_text_extents_t extents;
    cairo_text_extents(m_state->get(), text.c_str(), &extents);
    return extents.x_advance;
}

void Painter::showText(std::string const &text) { cairo_show_text(m_state->get(), text.c_str()); }

CByteArray Painter::png()
{
    CByteArray bytes;
    if (cairo_status(m_state->get()) == CAIRO_STATUS_SUCCESS)
        m_state->written = cairo_surface_write_to_png_stream(m_state->surface.get(), append, &bytes);
    return bytes;
}

std::string Painter::svg()
{
    if (m_form != PaintForm::Lines)
        return {};
    cairo_surface_finish(m_state->surface.get());
    m_state->written = std::max(m_state->written, cairo_surface_status(m_state->surface.get()));
    if (m_state->written != CAIRO_STATUS_SUCCESS)
        return {};
    // The sheet is named by the number of surfaces that the process has had.
    std::string text = m_state->lines;
    std::string const name = "<g id=\"surface";
    if (std::size_t const at = text.find(name); at != std::string::npos)
        text.erase(at + name.size(), text.find('"', at + name.size()) - at - name.size());
    return text;
}

} // namespace okt
