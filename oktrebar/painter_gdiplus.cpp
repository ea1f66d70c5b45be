// SPDX-License-Identifier: MIT
#include <oktrebar/painter.h>

#include <oktformat/sentence.h>
#include <oktplatform/oktstring.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <objidl.h>
#include <vector>

#if !defined(PROPID)
using PROPID = ULONG;
#endif
// The header of GDI+ uses these names from the global scope.
using std::max;
using std::min;
#include <gdiplus.h>

namespace okt
{

namespace
{

// The encoder of PNG is known by its id.
constexpr CLSID kPng = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

/// Where the axes of the drawing lie on the sheet.
struct Axes
{
    double x = 0;
    double y = 0;
    double cosine = 1;
    double sine = 0;
};

/// GDI+ works between its start and its end. It is started once and ends with the process.
bool isStarted()
{
    static bool const started = [] {
        ULONG_PTR token = 0;
        Gdiplus::GdiplusStartupInput const input;
        return Gdiplus::GdiplusStartup(&token, &input, nullptr) == Gdiplus::Ok;
    }();
    return started;
}

Gdiplus::REAL real(double value) { return static_cast<Gdiplus::REAL>(value); }

double degrees(double radians) { return radians * 180 / std::numbers::pi; }

Gdiplus::ARGB packed(double red, double green, double blue)
{
    auto const part = [](double share) { return static_cast<Gdiplus::ARGB>(std::lround(share * 255)); };
    return 0xFF000000u | part(red) << 16 | part(green) << 8 | part(blue);
}

} // namespace

struct Painter::State
{
    struct Kept
    {
        Gdiplus::GraphicsState graphics;
        Axes axes;
        double lineWidth;
        std::vector<Gdiplus::REAL> dashes;
    };

    State(int width, int height) : bitmap(width, height, PixelFormat24bppRGB), graphics(&bitmap)
    {
        graphics.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
        graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);
        check(bitmap.GetLastStatus());
    }

    void check(Gdiplus::Status result)
    {
        if (status == Gdiplus::Ok)
            status = result;
    }

    Gdiplus::PointF at(double x, double y) const
    {
        return Gdiplus::PointF(real(axes.x + x * axes.cosine - y * axes.sine), real(axes.y + x * axes.sine + y * axes.cosine));
    }

    /// The system's font without serifs, else the first that it has. Null where it has none at all.
    Gdiplus::FontFamily const *family()
    {
        if (fallback.IsAvailable())
            return &fallback;
        Gdiplus::FontFamily const *const found = Gdiplus::FontFamily::GenericSansSerif();
        if (found != nullptr && found->IsAvailable())
            return found;
        Gdiplus::InstalledFontCollection const installed;
        INT count = 0;
        installed.GetFamilies(1, &fallback, &count);
        if (count > 0 && fallback.IsAvailable())
            return &fallback;
        check(Gdiplus::FontFamilyNotFound);
        return nullptr;
    }

    void strokePath()
    {
        Gdiplus::Pen pen(Gdiplus::Color(colour), real(lineWidth));
        pen.SetLineJoin(Gdiplus::LineJoinRound);
        if (!dashes.empty())
        {
            // Lengths are told in widths of the line.
            std::vector<Gdiplus::REAL> lengths;
            std::transform(dashes.begin(), dashes.end(), std::back_inserter(lengths),
                           [this](Gdiplus::REAL length) { return length / real(lineWidth); });
            pen.SetDashPattern(lengths.data(), static_cast<INT>(lengths.size()));
        }
        check(graphics.DrawPath(&pen, &path));
    }

    void fillPath(Gdiplus::GraphicsPath const &what)
    {
        Gdiplus::SolidBrush const brush((Gdiplus::Color(colour)));
        check(graphics.FillPath(&brush, &what));
    }

    void arcTo(double x, double y, double radius, double from, double sweep)
    {
        Gdiplus::PointF const centre = at(x, y);
        double const turned = std::atan2(axes.sine, axes.cosine);
        check(path.AddArc(centre.X - real(radius), centre.Y - real(radius), real(2 * radius), real(2 * radius),
                          real(degrees(from + turned)), real(degrees(sweep))));
        current = at(x + radius * std::cos(from + sweep), y + radius * std::sin(from + sweep));
    }

    Gdiplus::FontFamily fallback;
    Gdiplus::Bitmap bitmap;
    Gdiplus::Graphics graphics;
    Gdiplus::GraphicsPath path;
    Gdiplus::PointF current;
    Axes axes;
    std::vector<Kept> kept;
    Gdiplus::ARGB colour = 0xFF000000u;
    double lineWidth = 1;
    std::vector<Gdiplus::REAL> dashes;
    double fontSize = 10;
    int fontStyle = Gdiplus::FontStyleRegular;
    Gdiplus::Status status = Gdiplus::Ok;
};

Painter::Painter(int width, int height, PaintForm form) : m_form(form)
{
    if (form == PaintForm::Pixels && isStarted())
        m_state = std::make_unique<State>(width, height);
}

Painter::~Painter() = default;

std::string Painter::failure() const
{
    if (m_form == PaintForm::Lines)
        return "GDI+ writes no SVG";
    if (m_state == nullptr)
        return "GDI+ cannot be started";
    return m_state->status == Gdiplus::Ok ? std::string() : sentence("GDI+ gives status {}", static_cast<int>(m_state->status));
}

void Painter::setColour(double red, double green, double blue) { m_state->colour = packed(red, green, blue); }

void Painter::paint() { m_state->check(m_state->graphics.Clear(Gdiplus::Color(m_state->colour))); }

void Painter::setLineWidth(double width) { m_state->lineWidth = width; }

void Painter::setDashes(double const *lengths, int count)
{
    m_state->dashes.clear();
    std::transform(lengths, lengths + count, std::back_inserter(m_state->dashes), real);
}

void Painter::newPath() { m_state->check(m_state->path.Reset()); }

void Painter::moveTo(double x, double y)
{
    m_state->check(m_state->path.StartFigure());
    m_state->current = m_state->at(x, y);
}

void Painter::lineTo(double x, double y)
{
    Gdiplus::PointF const end = m_state->at(x, y);
    m_state->check(m_state->path.AddLine(m_state->current, end));
    m_state->current = end;
}

void Painter::arc(double x, double y, double radius, double from, double to) { m_state->arcTo(x, y, radius, from, to - from); }

void Painter::arcBack(double x, double y, double radius, double from, double to)
{
    m_state->arcTo(x, y, radius, from, to - from);
}

void Painter::rectangle(double x, double y, double width, double height)
{
    Gdiplus::PointF const corners[] = {m_state->at(x, y), m_state->at(x + width, y), m_state->at(x + width, y + height),
                                       m_state->at(x, y + height)};
    m_state->check(m_state->path.AddPolygon(corners, 4));
}

void Painter::closePath() { m_state->check(m_state->path.CloseFigure()); }

void Painter::stroke()
{
    strokeAndKeep();
    newPath();
}

void Painter::strokeAndKeep() { m_state->strokePath(); }

void Painter::fill()
{
    m_state->fillPath(m_state->path);
    newPath();
}

void Painter::clip()
{
    m_state->check(m_state->graphics.SetClip(&m_state->path, Gdiplus::CombineModeIntersect));
    newPath();
}

void Painter::save()
{
    m_state->kept.push_back({m_state->graphics.Save(), m_state->axes, m_state->lineWidth, m_state->dashes});
}

void Painter::restore()
{
    State::Kept const before = std::move(m_state->kept.back());
    m_state->kept.pop_back();
    m_state->check(m_state->graphics.Restore(before.graphics));
    m_state->axes = before.axes;
    m_state->lineWidth = before.lineWidth;
    m_state->dashes = before.dashes;
}

void Painter::translate(double x, double y)
{
    Gdiplus::PointF const origin = m_state->at(x, y);
    m_state->axes.x = static_cast<double>(origin.X);
    m_state->axes.y = static_cast<double>(origin.Y);
}

void Painter::rotate(double angle)
{
    double const turned = std::atan2(m_state->axes.sine, m_state->axes.cosine) + angle;
    m_state->axes.cosine = std::cos(turned);
    m_state->axes.sine = std::sin(turned);
}

void Painter::setFont(double size, bool bold)
{
    m_state->fontSize = size;
    m_state->fontStyle = bold ? Gdiplus::FontStyleBold : Gdiplus::FontStyleRegular;
}

double Painter::advanceOf(std::string const &text)
{
    Gdiplus::FontFamily const *const family = m_state->family();
    if (family == nullptr)
        return 0;
    Gdiplus::Font const font(family, real(m_state->fontSize), m_state->fontStyle, Gdiplus::UnitPixel);
    std::wstring const wide(text.begin(), text.end());
    Gdiplus::RectF box;
    m_state->check(m_state->graphics.MeasureString(wide.c_str(), static_cast<INT>(wide.size()), &font, Gdiplus::PointF(0, 0),
                                                   Gdiplus::StringFormat::GenericTypographic(), &box));
    return static_cast<double>(box.Width);
}

void Painter::showText(std::string const &text)
{
    Gdiplus::FontFamily const *const family = m_state->family();
    if (family == nullptr)
        return;
    std::wstring const wide(text.begin(), text.end());
    double const ascent =
        m_state->fontSize * family->GetCellAscent(m_state->fontStyle) / family->GetEmHeight(m_state->fontStyle);
    Gdiplus::GraphicsPath outline;
    m_state->check(outline.AddString(wide.c_str(), static_cast<INT>(wide.size()), family, m_state->fontStyle,
                                     real(m_state->fontSize), Gdiplus::PointF(0, real(-ascent)),
                                     Gdiplus::StringFormat::GenericTypographic()));
    // A blank has no outline.
    if (outline.GetPointCount() == 0)
        return;
    Axes const &axes = m_state->axes;
    Gdiplus::Matrix const place(real(axes.cosine), real(axes.sine), real(-axes.sine), real(axes.cosine), m_state->current.X,
                                m_state->current.Y);
    m_state->check(outline.Transform(&place));
    m_state->fillPath(outline);
}

std::string Painter::svg() { return {}; }

CByteArray Painter::png()
{
    CByteArray bytes;
    IStream *stream = nullptr;
    if (m_state == nullptr || m_state->status != Gdiplus::Ok)
        return bytes;
    if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, &stream)))
    {
        m_state->check(Gdiplus::OutOfMemory);
        return bytes;
    }
    m_state->check(m_state->bitmap.Save(stream, &kPng, nullptr));
    LARGE_INTEGER start;
    start.QuadPart = 0;
    stream->Seek(start, STREAM_SEEK_SET, nullptr);
    unsigned char piece[4096];
    ULONG count = 0;
    while (m_state->status == Gdiplus::Ok && SUCCEEDED(stream->Read(piece, sizeof piece, &count)) && count > 0)
        std::copy_n(piece, count, bytes.Extend(static_cast<int>(count)));
    stream->Release();
    return bytes;
}

} // namespace okt
