// SPDX-License-Identifier: MIT
#include <oktrebar/preview.h>

#include <oktformat/failure.h>
#include <oktformat/readnumber.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/canvas.h>
#include <oktrebar/planline.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace okt
{

namespace
{

using namespace types;

constexpr double kMargin = 28;
constexpr double kNoLimit = 1e9;

/// The parts of a picture, in pixels.
constexpr Box kLinkRoom = {{140, 124}, {660, 400}};
constexpr Box kHookedRoom = {{112, 96}, {688, 186}};
constexpr Box kHookedRoomAlone = {{112, 116}, {688, 386}};
constexpr Box kPanels[] = {{{kMargin, 252}, {392, 466}}, {{408, 252}, {kPreviewWidth - kMargin, 466}}};
constexpr Box kSheetRoom = {{110, 98}, {690, 308}};
constexpr Box kSheetPanel = {{110, 364}, {690, 568}};
constexpr double kRunsLeft = 170;
constexpr double kRunsRight = 740;
constexpr double kRunsY = 512;

// Below this height in pixels the hooks of a bar that is shown whole cannot be made out.
constexpr double kReadableHook = 100;

struct Run
{
    int count;
    double spacing;
};

/// A template with the numbers that a picture shows.
class Figures
{
public:
    explicit Figures(TemplatePlan const &plan) : m_plan(plan) {}

    double real(int type, int listIndex = 0) const
    {
        double const *const value = get<double>(type, listIndex);
        if (value == nullptr)
            refuse(type);
        return *value;
    }

    int whole(int type, int listIndex = 0) const
    {
        int const *const value = get<int>(type, listIndex);
        if (value == nullptr)
            refuse(type);
        return *value;
    }

    std::string text(int type, int listIndex = 0) const
    {
        std::string const *const value = get<std::string>(type, listIndex);
        if (value == nullptr)
            refuse(type);
        return *value;
    }

    bool metric() const { return m_plan.units == Units::Millimetre; }
    std::string unit() const { return metric() ? "mm" : "in"; }
    /// "12 mm", with the usual number of decimals in drawings.
    std::string length(double value) const { return sentence("{} {}", number(std::round(value * 1000) / 1000), unit()); }

    /// The runs of the quantity expression, such as "4x150 2x100".
    std::vector<Run> runs() const
    {
        std::string const expression = text(kQuantityExpression);
        std::vector<Run> runs;
        std::int64_t bars = 0;
        char const *at = expression.data();
        char const *const end = at + expression.size();
        while (at != end)
        {
            Run run{};
            auto const [times, wrongCount] = readNumber(at, end, run.count);
            if (wrongCount != std::errc() || times == end || *times != 'x' || run.count < 1)
                refuse(kQuantityExpression);
            auto const [behind, wrongSpacing] = readNumber(times + 1, end, run.spacing);
            if (wrongSpacing != std::errc() || !(run.spacing > 0))
                refuse(kQuantityExpression);
            checkBars(bars += run.count);
            runs.push_back(run);
            at = std::find_if(behind, end, [](char c) { return c != ' '; });
        }
        return runs;
    }

    /// A figure of a file may be any; so many bars are drawn in no time, and more are no template.
    void checkBars(std::int64_t count) const
    {
        constexpr std::int64_t kMost = 10'000;
        if (count > kMost)
            throw Failure(m_plan.fileName, "", sentence("{} bars are too many to be drawn", count));
    }

    TemplatePlan const &plan() const { return m_plan; }

private:
    template <typename T> T const *get(int type, int listIndex) const
    {
        ParameterPlan const *const parameter = m_plan.find({type, listIndex});
        return parameter == nullptr ? nullptr : std::get_if<T>(&parameter->value);
    }

    [[noreturn]] void refuse(int type) const
    {
        throw Failure(m_plan.fileName, "", sentence("the template has no figure of the type {} to be drawn", type));
    }

    TemplatePlan const &m_plan;
};

void heading(Canvas &canvas, Figures const &figures, std::string const &line)
{
    canvas.text({kMargin, 38}, figures.plan().poolName, 20, true, Align::Left);
    std::string const code = figures.text(kShapeCode);
    canvas.text({kMargin, 61}, (code.empty() ? "" : sentence("Shape code {}, ", code)) + line, 14, false, Align::Left);
    canvas.rule({kMargin, 74.5}, {kPreviewWidth - kMargin, 74.5});
    canvas.text({kPreviewWidth - kMargin, kPreviewHeight - 11},
                std::string("Every view to scale, dimensions in ") + (figures.metric() ? "millimetres" : "inches"), 12.5, false,
                Align::Right);
}

/// The cross-sections of the bars at their positions, and the runs of equal spacing.
void distribution(Canvas &canvas, Figures const &figures)
{
    std::vector<Run> const runs = figures.runs();
    double total = 0;
    int bars = 1;
    for (Run const &run : runs)
    {
        total += run.count * run.spacing;
        bars += run.count;
    }
    double const scale = (kRunsRight - kRunsLeft) / total;
    double const diameter = figures.real(kDiameter) * scale;
    canvas.text({kMargin, kRunsY - 3}, "Distribution", 15, true, Align::Left);
    canvas.text({kMargin, kRunsY + 15}, sentence("{} bars", bars), 14, false, Align::Left);
    double x = kRunsLeft;
    canvas.section({x, kRunsY}, diameter);
    for (Run const &run : runs)
    {
        double const begin = x;
        for (int i = 0; i < run.count; ++i)
        {
            x += run.spacing * scale;
            canvas.section({x, kRunsY}, diameter);
        }
        double const low = kRunsY + diameter / 2;
        canvas.dimension({begin, low}, {x, low}, -24, sentence("{} x {}", run.count, figures.length(run.spacing)));
    }
}

Point turned(double degrees, double length)
{
    double const angle = degrees * std::numbers::pi / 180;
    return {std::cos(angle) * length, std::sin(angle) * length};
}

Point plus(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }

/// "hooks of 90 and 180 degrees"
std::string hookAngles(BarFigures const &bar)
{
    std::string const first = number(bar.first.angle);
    std::string const second = number(bar.second.angle);
    return sentence("hooks of {} degrees", first == second ? first : sentence("{} and {}", first, second));
}

/// Where the hook length is measured along the end of a bar: up to its end, from the outside of the bend or from where the
/// straight part begins, as the figure says.
struct HookSpan
{
    Point from;
    Point to;
    double heading; ///< towards the end of the bar
    std::string figure;
};

HookSpan hookSpan(Figures const &figures, BarLine const &line, bool second)
{
    BarPiece const &first = line.pieces().front();
    double const length = figures.real(second ? kHookLength2 : kHookLength1);
    HookSpan span;
    span.to = second ? line.end() : first.from;
    span.heading = second ? line.heading() : first.heading + 180;
    span.from = plus(span.to, turned(span.heading, -length));
    span.figure = figures.length(length);
    return span;
}

/// The length of a hook, measured beside it: `face` from its centre line, in drawing units to the left of the way to its end.
void hookDimension(Canvas &canvas, View const &view, HookSpan const &span, double face, double offset)
{
    Point const aside = turned(span.heading + 90, face);
    canvas.dimension(view(plus(span.from, aside)), view(plus(span.to, aside)), offset, span.figure);
}

// Links

void linkHooks(Canvas &canvas, Figures const &figures, View const &view, BarLine const &line, BarFigures const &bar)
{
    for (bool const second : {false, true})
    {
        HookSpan const span = hookSpan(figures, line, second);
        double const side = second ? 1 : -1;
        if ((second ? bar.second : bar.first).angle <= 90)
            // This hook lies on a side, so it is measured outside of the link.
            hookDimension(canvas, view, span, side * 1.5 * bar.diameter, side * 30);
        else if (second || bar.first.straight != bar.second.straight)
            // Between the two hooks.
            hookDimension(canvas, view, span, -side * bar.diameter / 2, -side * bar.radius * view.scale);
    }
}

Box drawLink(Canvas &canvas, Figures const &figures)
{
    BarFigures const bar = figuresOf(figures.plan());
    heading(canvas, figures,
            sentence("d = {}, r = {}, {}, cutting length {}", figures.length(bar.diameter), figures.length(bar.radius),
                     hookAngles(bar), figures.length(figures.real(kLength))));
    BarLine const line = linkLine(bar);
    Box const shape = *previewShape(figures.plan());
    View const view = fitted(shape, kLinkRoom, kNoLimit);

    // The hook at the beginning lies on top.
    double const half = line.length() / 2;
    canvas.bar(view, line.between(half - 2 / view.scale, line.length()), bar.diameter, false, true);
    canvas.bar(view, line.between(0, half), bar.diameter, true, false);

    canvas.dimension(view({0, 0}), view({bar.length, 0}), -40, "A = " + figures.length(bar.length));
    canvas.dimension(view({bar.length, 0}), view({bar.length, bar.width}), -36, "B = " + figures.length(bar.width));
    double const middle = bar.length / 2;
    canvas.thickness(view({middle, 0}), view({middle, bar.diameter}), "d = " + figures.length(bar.diameter));
    double const corner = bar.diameter + bar.radius;
    Point const tip = view(plus({bar.length - corner, corner}, turned(-45, bar.radius)));
    canvas.leader(tip, {tip.x - 46, tip.y - 46}, "r = " + figures.length(bar.radius));

    linkHooks(canvas, figures, view, line, bar);
    distribution(canvas, figures);
    return shape;
}

// Bars with hooks

void hookedFigures(Canvas &canvas, Figures const &figures, View const &view, BarLine const &line, BarFigures const &bar,
                   bool second)
{
    double const side = second ? -1 : 1; // to the middle of the bar
    double const outside = second ? bar.length : 0;
    double const corner = bar.diameter + bar.radius;
    Point const centre = {outside + side * corner, corner};
    HookSpan const span = hookSpan(figures, line, second);
    BarHook const &hook = second ? bar.second : bar.first;
    hookDimension(canvas, view, span, side * bar.diameter / 2, side * 30);
    // For a bend of 180 degrees the arrow is horizontal.
    bool const level = hook.angle > 135;
    Point const tip = view(plus(centre, turned(level ? (second ? 0 : 180) : (second ? -45 : 225), bar.radius)));
    Point const tail = {tip.x + side * (level ? 30 + 0.6 * bar.radius * view.scale : 44), tip.y - (level ? 0 : 44)};
    canvas.leader(tip, tail, "r = " + figures.length(bar.radius));
}

Box drawHooked(Canvas &canvas, Figures const &figures)
{
    BarFigures const bar = figuresOf(figures.plan());
    heading(canvas, figures,
            sentence("d = {}, r = {}, {}, cutting length {}", figures.length(bar.diameter), figures.length(bar.radius),
                     hookAngles(bar), figures.length(figures.real(kLength))));
    BarLine const line = hookedLine(bar);
    Box const shape = *previewShape(figures.plan());
    double const scale = (kHookedRoom.width()) / bar.length;
    bool const alone = shape.height() * scale >= kReadableHook;
    View const view = fitted(shape, alone ? kHookedRoomAlone : kHookedRoom, kNoLimit);
    canvas.bar(view, line, bar.diameter, true, true);
    canvas.dimension(view({0, 0}), view({bar.length, 0}), -36,
                     (figures.metric() ? "B = " : "A = ") + figures.length(bar.length));

    View const detail = {{0, 0}, (kPanels[0].height() - 84) / shape.height()};
    for (bool const second : {false, true})
    {
        if (alone)
        {
            hookedFigures(canvas, figures, view, line, bar, second);
            continue;
        }
        Box const &panel = kPanels[second ? 1 : 0];
        View const enlarged = {{second ? panel.high.x - 84 - bar.length * detail.scale : panel.low.x + 84, panel.high.y - 44},
                               detail.scale};
        canvas.enterPanel(panel);
        canvas.bar(enlarged, line, bar.diameter, true, true);
        hookedFigures(canvas, figures, enlarged, line, bar, second);
        double const at = ((second ? panel.low.x + 80 : panel.high.x - 80) - enlarged.origin.x) / enlarged.scale;
        canvas.thickness(enlarged({at, 0}), enlarged({at, bar.diameter}), "d = " + figures.length(bar.diameter));
        canvas.text({second ? panel.low.x + 12 : panel.high.x - 12, panel.low.y + 22},
                    sentence("Hook {}, {} times larger", second ? "2" : "1", rounded(detail.scale / view.scale, 2)), 14, true,
                    second ? Align::Left : Align::Right);
        canvas.leavePanel();
    }
    if (alone)
    {
        double const at = bar.length / 2;
        canvas.thickness(view({at, 0}), view({at, bar.diameter}), "d = " + figures.length(bar.diameter));
    }
    distribution(canvas, figures);
    return shape;
}

// Mesh sheets

/// Bars of one direction: as many as that, the rest of the sheet divided between both edges.
void meshBars(Canvas &canvas, View const &view, int count, double spacing, double across, double along, double diameter,
              bool upright)
{
    double at = (across - (count - 1) * spacing) / 2;
    for (int i = 0; i < count; ++i)
    {
        BarLine line(upright ? Point{at, 0} : Point{0, at}, upright ? 90 : 0);
        line.straight(along);
        canvas.bar(view, line, diameter, true, true);
        at += spacing;
    }
}

Box drawMesh(Canvas &canvas, Figures const &figures)
{
    double const length = figures.real(kLength);
    double const width = figures.real(kWidth);
    double const diameter = figures.real(kDiameter);
    double const spacingA = figures.real(kSpacing, 1);
    double const spacingB = figures.real(kSpacing, 2);
    int const barsA = figures.whole(kNumber, 1);
    int const barsB = figures.whole(kNumber, 2);
    figures.checkBars(barsA);
    figures.checkBars(barsB);
    heading(canvas, figures, sentence("d = {}, {} bars A along, {} bars B across", figures.length(diameter), barsA, barsB));
    Box const shape = *previewShape(figures.plan());
    auto const sheet = [&](View const &view) {
        meshBars(canvas, view, barsA, spacingA, width, length, diameter, false);
        meshBars(canvas, view, barsB, spacingB, length, width, diameter, true);
    };
    View const view = fitted(shape, kSheetRoom, kNoLimit);
    sheet(view);
    canvas.dimension(view({0, 0}), view({length, 0}), -24, figures.length(length));
    canvas.dimension(view({0, 0}), view({0, width}), 24, figures.length(width));

    // The lower left corner: the edge and two bars above it.
    double const edgeA = (width - (barsA - 1) * spacingA) / 2;
    double const edgeB = (length - (barsB - 1) * spacingB) / 2;
    View const detail = {{kSheetPanel.low.x + 84, kSheetPanel.high.y - 48},
                         (kSheetPanel.height() - 48) / (edgeA + 1.2 * spacingA)};
    canvas.enterPanel(kSheetPanel);
    sheet(detail);
    canvas.dimension(detail({0, edgeA}), detail({0, edgeA + spacingA}), 28, figures.length(spacingA));
    canvas.dimension(detail({edgeB, 0}), detail({edgeB + spacingB, 0}), -26, figures.length(spacingB));
    double const at = edgeB + 0.5 * spacingB;
    canvas.thickness(detail({at, edgeA - diameter / 2}), detail({at, edgeA + diameter / 2}), figures.length(diameter));
    canvas.text({kSheetPanel.high.x - 12, kSheetPanel.high.y - 14},
                sentence("Corner, {} times larger", rounded(detail.scale / view.scale, 2)), 14, true, Align::Right);
    canvas.leavePanel();
    return shape;
}

// Bars from records

/// Each leg is measured on the outer side of the bend after it; the last leg, of the bend before it.
Box drawBent(Canvas &canvas, Figures const &figures)
{
    double const diameter = figures.real(kDiameter);
    double const radius = figures.real(kBendingRadius);
    heading(canvas, figures,
            sentence("d = {}, r = {}, length {}", figures.length(diameter), figures.length(radius),
                     figures.length(figures.real(kLength))));
    BarLine const line = bentLine(figures.plan());
    Box const shape = *previewShape(figures.plan());
    Box const room = {{kMargin + 90, 150}, {kPreviewWidth - kMargin - 90, kPreviewHeight - 110}};
    View const view = fitted(shape, room, kNoLimit);
    canvas.bar(view, line, diameter, true, true);

    std::vector<BarPiece> const &pieces = line.pieces();
    auto const reach = [&](BarPiece const *bend) {
        double const sharp = bend == nullptr ? 0 : std::min(std::abs(bend->turn), 90.0);
        return (radius + diameter) * std::tan(sharp * std::numbers::pi / 360);
    };
    int leg = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        if (pieces[i].isBend())
            continue;
        BarPiece const *const before = i > 0 ? &pieces[i - 1] : nullptr;
        BarPiece const *const after = i + 1 < pieces.size() ? &pieces[i + 1] : nullptr;
        double const turn = after != nullptr ? after->turn : before != nullptr ? before->turn : 1;
        double const side = turn > 0 ? -1 : 1; // left of the direction is positive
        Point const out = turned(pieces[i].heading + 90, side * diameter / 2);
        Point const from = plus(pieces[i].at(-reach(before)), out);
        Point const to = plus(pieces[i].at(pieces[i].length + reach(after)), out);
        canvas.dimension(view(from), view(to), side * 34, figures.length(figures.real(kLength, ++leg)));
    }
    return shape;
}

} // namespace

std::optional<Box> previewShape(TemplatePlan const &plan)
{
    switch (plan.kind)
    {
    case TemplateKind::Link:
    {
        BarFigures const bar = figuresOf(plan);
        return Box{{0, 0}, {bar.length, bar.width}};
    }
    case TemplateKind::Hooked:
    {
        BarFigures const bar = figuresOf(plan);
        return hookedLine(bar).box(bar.diameter);
    }
    case TemplateKind::Mesh: return Box{{0, 0}, {figureOf(plan, {kLength, 0}), figureOf(plan, {kWidth, 0})}};
    case TemplateKind::Bent: return bentLine(plan).box(figureOf(plan, {kDiameter, 0}));
    case TemplateKind::Other: break;
    }
    return std::nullopt;
}

bool isInPreview(TemplateKind kind, ParameterKey const &key)
{
    constexpr std::array kOfMesh = {kShapeCode, kDiameter, kLength, kWidth, kSpacing, kNumber};
    // Standard and shape code also tell which kind it is.
    constexpr std::array kOfBar = {kStandard,    kShapeCode,   kDiameter,   kBendingRadius, kHookAngle1, kHookAngle2,
                                   kHookLength1, kHookLength2, kExtension1, kExtension2,    kLength,     kQuantityExpression};
    switch (kind)
    {
    case TemplateKind::Mesh: return std::find(kOfMesh.begin(), kOfMesh.end(), key.type) != kOfMesh.end();
    case TemplateKind::Other: return false;
    default: return std::find(kOfBar.begin(), kOfBar.end(), key.type) != kOfBar.end();
    }
}

namespace
{

/// Draws a template of a kind that is drawn here, and gives what is shown.
Box drawShape(Canvas &canvas, TemplatePlan const &plan)
{
    Figures const figures(plan);
    switch (plan.kind)
    {
    case TemplateKind::Link: return drawLink(canvas, figures);
    case TemplateKind::Hooked: return drawHooked(canvas, figures);
    case TemplateKind::Bent: return drawBent(canvas, figures);
    default: return drawMesh(canvas, figures);
    }
}

} // namespace

std::optional<Preview> drawPreview(TemplatePlan const &plan)
{
    if (plan.kind == TemplateKind::Other)
        return std::nullopt;
    Canvas canvas(kPreviewWidth, kPreviewHeight);
    Box const shape = drawShape(canvas, plan);
    return Preview{canvas.png(), shape};
}

std::optional<std::string> drawLines(TemplatePlan const &plan)
{
    if (plan.kind == TemplateKind::Other)
        return std::nullopt;
    Canvas canvas(kPreviewWidth, kPreviewHeight, PaintForm::Lines);
    drawShape(canvas, plan);
    return canvas.svg();
}

} // namespace okt
