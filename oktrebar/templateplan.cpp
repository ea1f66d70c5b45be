// SPDX-License-Identifier: MIT
#include <oktrebar/templateplan.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <cmath>

namespace okt
{

namespace
{

using namespace types;

// The largest bar diameter of welded fabric.
constexpr double kThickestMeshMm = 16;
constexpr int kThickestMeshNumber = 5;

constexpr double kRightAngle = 90;
constexpr double kLinkHookAngle = 135;
constexpr double kHalfTurn = 180;

constexpr char kLinkCode[] = "51";
constexpr char kHookedCode[] = "21";
constexpr char kStraightCode[] = "00";
constexpr char kSpecialCode[] = "99";

/// How bars are laid out: runs of equal spacings. `fine` and `coarse` are the two spacings.
struct Layout
{
    int coarseCount;
    double coarse;
    int fineCount;
    double fine;
};

/// Values that are not in a table, by unit.
struct Defaults
{
    char const *steelGrade;
    double cover;
    double coverStep;   ///< the cover of a thicker bar is a multiple of this
    Layout layout;      ///< of links and bars
    double barLength;   ///< of the hooked bar, outside to outside
    double linkWidth;   ///< least outer width of a link
    double linkStep;    ///< the width of a link is a multiple of this
    double linkSurplus; ///< how much a link is longer than wide
    double sheetLength;
    double sheetWidth;
    double meshSpacing;
    double meshOverlap;
};

// Files store quantity expressions with three decimals of a metre. The spacings survive that: 150 mm is 0.15 m, and of whole
// inches only the multiples of 5 are whole millimetres.
constexpr Defaults kMetric = {"B500B", 30, 5, {4, 150, 2, 100}, 2000, 250, 50, 150, 4800, 2400, 200, 400};
constexpr Defaults kInch = {"Grade 60", 1.5, 0.5, {4, 10, 2, 5}, 120, 10, 2, 6, 240, 90, 10, 20};

std::string multiple(double factor, char const *name) { return sentence("{}*{}", number(factor), name); }

double roundedUp(double value, double step) { return std::ceil(value / step) * step; }

ParameterPlan parameter(int type, std::variant<double, int, bool, std::string> value, std::string description = "")
{
    ParameterPlan plan;
    plan.key.type = type;
    plan.value = std::move(value);
    plan.description = std::move(description);
    return plan;
}

ParameterPlan listed(ParameterPlan plan, int listIndex)
{
    plan.key.listIndex = listIndex;
    return plan;
}

ParameterPlan named(ParameterPlan plan, std::string name)
{
    plan.name = std::move(name);
    return plan;
}

ParameterPlan computed(ParameterPlan plan, std::string expression, std::vector<ParameterKey> uses = {})
{
    plan.expression = std::move(expression);
    plan.uses = std::move(uses);
    return plan;
}

ParameterPlan bend(ParameterPlan plan)
{
    plan.inBend = true;
    return plan;
}

ParameterPlan diameterOf(BarSize const &size, Units units)
{
    bool const metric = units == Units::Millimetre;
    std::string const text =
        metric ? sentence("Nominal diameter in millimetres; area {} mm2, mass {} kg/m", number(size.area), number(size.mass))
               : sentence("Nominal diameter of {} in inches; area {} in2, mass {} lb/ft", size.label(), number(size.area),
                          number(size.mass));
    return bend(parameter(kDiameter, size.diameter, text));
}

/// No less than the bar is thick, which bond asks for (EN 1992-1-1 4.4.1.2).
double coverOf(BarSize const &size, Defaults const &defaults)
{
    return std::max(defaults.cover, roundedUp(size.diameter, defaults.coverStep));
}

/// The first parameters of the category "Bar", which all kinds have.
std::vector<ParameterPlan> barParameters(BarSize const &size, Units units, Defaults const &defaults)
{
    bool const metric = units == Units::Millimetre;
    return {parameter(kStandard, metric ? "EN 1992-1-1, EN 10080" : "ACI 318, ASTM A615"),
            parameter(kSteelGrade, defaults.steelGrade), diameterOf(size, units),
            parameter(kCover, coverOf(size, defaults), "Concrete cover on every side")};
}

ParameterPlan leg(int listIndex, double length, std::string const &description)
{
    return listed(named(parameter(kLength, length, description), "Leg"), listIndex);
}

ParameterPlan cuttingLength(double length, std::string const &description)
{
    return named(parameter(kLength, length, description), "Cutting length");
}

/// Spacings, number and quantity expression of bars that stand in runs of two spacings.
CategoryPlan distribution(Layout const &layout)
{
    std::string const quantity =
        sentence("{}x{} {}x{}", layout.coarseCount, number(layout.coarse), layout.fineCount, number(layout.fine));
    CategoryPlan category{"Distribution", {}};
    category.parameters = {
        parameter(kQuantityType, 2, "By expression"), listed(parameter(kSpacing, layout.coarse, "Spacing in the field"), 1),
        listed(parameter(kSpacing, layout.fine, "Spacing at the supports"), 2),
        parameter(kNumber, layout.coarseCount + layout.fineCount + 1, "Bars: one more than spacings"),
        computed(parameter(kQuantityExpression, quantity, "Field and supports"), "", {{kSpacing, 1}, {kSpacing, 2}})};
    return category;
}

/// One hook of a bar, at end 1 or 2.
struct Hook
{
    double angle;
    double length;
    std::string expression;
    std::string description;
    double straight;   ///< the straight part after the bend
    bool isProjection; ///< the length counts from the outside of the bend; otherwise it is the straight part itself
};

CategoryPlan hooks(Hook const &first, Hook const &second)
{
    CategoryPlan category{"Hooks", {}};
    struct End
    {
        Hook const &hook;
        char const *name;
        int has, angle, length, extension;
    };
    End const ends[] = {{first, "HookLength1", kHook1, kHookAngle1, kHookLength1, kExtension1},
                        {second, "HookLength2", kHook2, kHookAngle2, kHookLength2, kExtension2}};
    for (End const &end : ends)
    {
        std::string const straight = std::string(end.name) + (end.hook.isProjection ? "-BendingRadius-Diameter" : "");
        category.parameters.push_back(parameter(end.has, true));
        category.parameters.push_back(bend(parameter(end.angle, end.hook.angle, "Degrees")));
        category.parameters.push_back(
            bend(computed(parameter(end.length, end.hook.length, end.hook.description), end.hook.expression)));
        category.parameters.push_back(
            computed(parameter(end.extension, end.hook.straight, "Straight length behind the bend"), straight));
    }
    return category;
}

std::string ruleName(BendRule const &rule) { return rule.rule + (rule.source.empty() ? "" : ", " + rule.source); }

CategoryPlan bendCategory(BendRule const &rule, double diameter, double radius, std::string const &radiusExpression,
                          std::string const &radiusSource, int filletType)
{
    CategoryPlan category{"Bend", {}};
    std::string const mandrel = sentence("Half the minimum mandrel of {} d, {}", number(rule.mandrel), ruleName(rule));
    category.parameters = {
        bend(computed(parameter(kBendingRadius, radius, radiusSource), radiusExpression)),
        bend(computed(parameter(filletType, rule.radius(diameter), mandrel), multiple(rule.mandrel / 2, "Diameter")))};
    return category;
}

char const *stemOf(TemplateKind kind)
{
    return kind == TemplateKind::Link ? "link" : kind == TemplateKind::Hooked ? "hooked" : "mesh";
}

TemplatePlan plan(TemplateKind kind, char const *title, BarSize const &size, Units units)
{
    TemplatePlan result;
    result.kind = kind;
    result.fileName = sentence("{}-{}.okt", stemOf(kind), size.stem());
    result.poolName =
        sentence("{}, {}{}", title, size.label(), units == Units::Millimetre ? ", EN 1992 / BS 8666" : ", ACI 318");
    result.units = units;
    return result;
}

/// The link of a size is wide enough for its hooks and for two corners.
double linkWidth(Defaults const &defaults, double hook, double radius, double diameter)
{
    return roundedUp(std::max({defaults.linkWidth, hook, 2 * (radius + diameter)}), defaults.linkStep);
}

/// Both bends of the hooked bar fit between its ends.
bool fits(Defaults const &defaults, double radius, double diameter) { return 2 * (radius + diameter) <= defaults.barLength; }

TemplatePlan metricLink(BarSize const &size, SchedulingBend const &row, BendRule const &rule)
{
    double const width = linkWidth(kMetric, row.linkProjection, row.radius, size.diameter);
    double const length = width + kMetric.linkSurplus;
    double const straight = row.linkProjection - row.radius - size.diameter;
    Hook const hook = {kRightAngle, row.linkProjection,
                       "",          "End projection P of links, outside of the bend to the bar's end, BS 8666 table 2",
                       straight,    true};

    TemplatePlan result = plan(TemplateKind::Link, "Closed link", size, Units::Millimetre);
    CategoryPlan bar{"Bar", barParameters(size, Units::Millimetre, kMetric)};
    bar.parameters.push_back(parameter(kShapeStandard, "BS 8666:2005"));
    bar.parameters.push_back(parameter(kShapeCode, kLinkCode, "Closed link"));
    bar.parameters.push_back(leg(1, length, "Outer dimension A"));
    bar.parameters.push_back(leg(2, width, "Outer dimension B"));
    bar.parameters.push_back(leg(3, row.linkProjection, "Ends C and D: the end projection"));
    bar.parameters.push_back(
        computed(cuttingLength(shortestLinkLength(length, width, size.diameter), "Shape 51 with the least ends, BS 8666"),
                 "2*LegA+2*LegB+max(16*Diameter;160)", {{kLength, 1}, {kLength, 2}, {kDiameter, 0}}));
    result.categories = {
        bar, hooks(hook, hook),
        bendCategory(rule, size.diameter, row.radius, "", "Minimum scheduling radius, BS 8666 table 2", kHookFilletRadius),
        distribution(kMetric.layout)};
    return result;
}

TemplatePlan metricHooked(BarSize const &size, SchedulingBend const &row, BendRule const &rule, ShapeLengths const &shapes)
{
    double const straight = row.projection - row.radius - size.diameter;
    Hook const hook = {kRightAngle, row.projection,
                       "",          "End projection P, outside of the bend to the bar's end, BS 8666 table 2",
                       straight,    true};
    ShapeDimensions dimensions;
    dimensions.A = row.projection;
    dimensions.B = kMetric.barLength;
    dimensions.C = row.projection;
    dimensions.radius = row.radius;
    dimensions.diameter = size.diameter;

    TemplatePlan result = plan(TemplateKind::Hooked, "Bar with hooks at both ends", size, Units::Millimetre);
    CategoryPlan bar{"Bar", barParameters(size, Units::Millimetre, kMetric)};
    bar.parameters.push_back(parameter(kShapeStandard, "BS 8666:2005"));
    bar.parameters.push_back(parameter(kShapeCode, kHookedCode, "Two ends bent to the same side"));
    bar.parameters.push_back(leg(1, row.projection, "Outer dimension A: end 1"));
    bar.parameters.push_back(leg(2, kMetric.barLength, "Outer dimension B"));
    bar.parameters.push_back(leg(3, row.projection, "Outer dimension C: end 2"));
    bar.parameters.push_back(computed(
        cuttingLength(shapes.length(kHookedCode, dimensions), sentence("Shape 21: {}, BS 8666", shapes.formula(kHookedCode))),
        "LegA+LegB+LegC-BendingRadius-2*Diameter",
        {{kLength, 1}, {kLength, 2}, {kLength, 3}, {kBendingRadius, 0}, {kDiameter, 0}}));
    result.categories = {
        bar, hooks(hook, hook),
        bendCategory(rule, size.diameter, row.radius, "", "Minimum scheduling radius, BS 8666 table 2", kHookFilletRadius),
        distribution(kMetric.layout)};
    return result;
}

/// A straight part between two bends of 90 degrees or more, from its outer dimension.
double between(double outer, double radius, double diameter) { return outer - 2 * (radius + diameter); }

TemplatePlan inchLink(BarSize const &size, BendRule const &rule)
{
    double const d = size.diameter;
    double const radius = rule.radius(d);
    double const extension = *rule.hook135 * d;
    double const width = linkWidth(kInch, 2 * extension, radius, d);
    double const length = width + kInch.linkSurplus;
    double const cut = developedLength({between(length, radius, d), between(width, radius, d), between(length, radius, d),
                                        between(width, radius, d), extension, extension},
                                       {kRightAngle, kRightAngle, kRightAngle, kLinkHookAngle, kLinkHookAngle}, radius, d);
    Hook const hook = {
        kLinkHookAngle, extension, multiple(*rule.hook135, "Diameter"), "Extension behind the bend, " + ruleName(rule),
        extension,      false};

    TemplatePlan result = plan(TemplateKind::Link, "Closed link", size, Units::Inch);
    CategoryPlan bar{"Bar", barParameters(size, Units::Inch, kInch)};
    bar.parameters.push_back(parameter(kShapeStandard, "BS 8666:2005", "Codes only; hooks by ACI 318"));
    bar.parameters.push_back(parameter(kShapeCode, kLinkCode, "Closed link"));
    bar.parameters.push_back(leg(1, length, "Outer dimension A"));
    bar.parameters.push_back(leg(2, width, "Outer dimension B"));
    bar.parameters.push_back(computed(
        cuttingLength(cut, "Length of the centre line: four sides, three bends of 90 and two of 135 degrees, two extensions"),
        "2*LegA+2*LegB-8*(BendingRadius+Diameter)+3*pi*(BendingRadius+Diameter/2)+HookLength1+HookLength2",
        {{kLength, 1}, {kLength, 2}, {kBendingRadius, 0}, {kDiameter, 0}, {kHookLength1, 0}, {kHookLength2, 0}}));
    result.categories = {bar, hooks(hook, hook),
                         bendCategory(rule, d, radius, multiple(rule.mandrel / 2, "Diameter"),
                                      "Inside radius of the bend, " + ruleName(rule), kHookFilletRadius),
                         distribution(kInch.layout)};
    return result;
}

TemplatePlan inchHooked(BarSize const &size, BendRule const &rule)
{
    double const d = size.diameter;
    double const radius = rule.radius(d);
    double const extension90 = *rule.hook90 * d;
    double const extension180 = hook180Length(rule, d);
    double const cut =
        developedLength({extension90, between(kInch.barLength, radius, d), extension180}, {kRightAngle, kHalfTurn}, radius, d);
    Hook const first = {
        kRightAngle, extension90, multiple(*rule.hook90, "Diameter"), "Extension behind the bend, " + ruleName(rule),
        extension90, false};
    Hook const second = {kHalfTurn,    extension180,
                         "",           sentence("Extension behind the bend, {}, {}", rule.hook180, ruleName(rule)),
                         extension180, false};

    TemplatePlan result = plan(TemplateKind::Hooked, "Bar with hooks at both ends", size, Units::Inch);
    CategoryPlan bar{"Bar", barParameters(size, Units::Inch, kInch)};
    bar.parameters.push_back(parameter(kShapeStandard, "BS 8666:2005", "Codes only; hooks by ACI 318"));
    bar.parameters.push_back(parameter(kShapeCode, kSpecialCode, "No code of its own: hooks of 90 and 180 degrees"));
    bar.parameters.push_back(leg(1, kInch.barLength, "Outer dimension from hook to hook"));
    bar.parameters.push_back(
        computed(cuttingLength(cut, "Length of the centre line: bar, bends of 90 and 180 degrees, two extensions"),
                 "LegA-2*(BendingRadius+Diameter)+1.5*pi*(BendingRadius+Diameter/2)+HookLength1+HookLength2",
                 {{kLength, 1}, {kBendingRadius, 0}, {kDiameter, 0}, {kHookLength1, 0}, {kHookLength2, 0}}));
    result.categories = {bar, hooks(first, second),
                         bendCategory(rule, d, radius, multiple(rule.mandrel / 2, "Diameter"),
                                      "Inside radius of the bend, " + ruleName(rule), kHookFilletRadius),
                         distribution(kInch.layout)};
    return result;
}

/// Bars of one direction of a sheet: as many as fit with half a spacing at either edge.
int meshBars(double across, double spacing) { return static_cast<int>(std::lround(across / spacing)); }

TemplatePlan mesh(BarSize const &size, Units units, BendRule const &rule, double longitudinalCut, double transversalCut)
{
    Defaults const &defaults = units == Units::Millimetre ? kMetric : kInch;
    double const spacing = defaults.meshSpacing;
    int const along = meshBars(defaults.sheetWidth, spacing);
    int const across = meshBars(defaults.sheetLength, spacing);
    auto const quantity = [spacing](int bars) { return sentence("{}x{}", bars - 1, number(spacing)); };

    TemplatePlan result = plan(TemplateKind::Mesh, "Mesh sheet", size, units);
    CategoryPlan sheet{"Sheet", {}};
    sheet.parameters = {
        parameter(kMeshStandard, units == Units::Millimetre ? "EN 1992-1-1, EN 10080" : "ACI 318, ASTM A615"),
        parameter(kMeshType, "Square", "The same bars and spacings both ways"),
        parameter(kLength, defaults.sheetLength, "Of the sheet, along the bars A"),
        parameter(kWidth, defaults.sheetWidth, "Of the sheet, along the bars B"),
        computed(parameter(kLongitudinalOverlap, defaults.meshOverlap, "Two meshes"), "2*SpacingB", {{kSpacing, 2}}),
        computed(parameter(kTransversalOverlap, defaults.meshOverlap, "Two meshes"), "2*SpacingA", {{kSpacing, 1}})};

    CategoryPlan bars{"Bars", {}};
    bars.parameters = {
        parameter(kSteelGrade, defaults.steelGrade),
        diameterOf(size, units),
        parameter(kCover, defaults.cover, "Concrete cover of the outer bars"),
        parameter(kShapeStandard, "BS 8666:2005", units == Units::Millimetre ? "" : "Codes only"),
        parameter(kShapeCode, kStraightCode, "Straight bars"),
        computed(listed(cuttingLength(longitudinalCut, "Bars A, along the sheet: shape 00"), 1), "Length", {{kLength, 0}}),
        computed(listed(cuttingLength(transversalCut, "Bars B, across the sheet: shape 00"), 2), "Width", {{kWidth, 0}}),
        parameter(kHook1, false, "Straight ends"),
        parameter(kHook2, false, "Straight ends")};

    CategoryPlan layout{"Distribution", {}};
    layout.parameters = {
        parameter(kQuantityType, 2, "By expression"),
        listed(parameter(kSpacing, spacing, "Between the bars A"), 1),
        listed(parameter(kSpacing, spacing, "Between the bars B"), 2),
        listed(parameter(kNumber, along, "Bars A: one more than spacings"), 1),
        listed(parameter(kNumber, across, "Bars B: one more than spacings"), 2),
        listed(computed(parameter(kQuantityExpression, quantity(along), "Across the sheet"), "", {{kSpacing, 1}}), 1),
        listed(computed(parameter(kQuantityExpression, quantity(across), "Along the sheet"), "", {{kSpacing, 2}}), 2)};

    result.categories = {sheet, bars,
                         bendCategory(rule, size.diameter, rule.radius(size.diameter), multiple(rule.mandrel / 2, "Diameter"),
                                      "Where the sheet is bent, " + ruleName(rule), kBendFilletRadius),
                         layout};
    return result;
}

void skip(Plans &plans, char const *kind, BarSize const &size, std::string const &reason)
{
    plans.skipped.push_back({sentence("{}-{}", kind, size.stem()), reason});
}

std::string noRow(std::string_view rule, BarSize const &size, std::string const &file)
{
    return sentence("{} has no row of {} for {}", file, excerpt(rule), size.label());
}

double straightLength(ShapeLengths const &shapes, double length)
{
    ShapeDimensions dimensions;
    dimensions.A = length;
    return shapes.length(kStraightCode, dimensions);
}

} // namespace

ParameterPlan const *TemplatePlan::find(ParameterKey key) const
{
    for (CategoryPlan const &category : categories)
        for (ParameterPlan const &parameter : category.parameters)
            if (parameter.key == key)
                return &parameter;
    return nullptr;
}

Plans metricPlans(BarTable const &bars, SchedulingBends const &bends, BendRules const &rules, ShapeLengths const &shapes)
{
    Plans plans;
    for (BarSize const &size : bars.sizes)
    {
        SchedulingBend const *const row = bends.find(size.diameter);
        BendRule const *const rule = rules.find(kMandrelRule, size);
        for (char const *const kind : {"link", "hooked"})
        {
            if (row == nullptr)
                skip(plans, kind, size, sentence("{} has no row for {}", bends.file(), size.label()));
            else if (rule == nullptr)
                skip(plans, kind, size, noRow(kMandrelRule, size, rules.file()));
        }
        if (row != nullptr && rule != nullptr)
        {
            plans.templates.push_back(metricLink(size, *row, *rule));
            if (fits(kMetric, row->radius, size.diameter))
                plans.templates.push_back(metricHooked(size, *row, *rule, shapes));
            else
                skip(plans, "hooked", size, sentence("its bends do not fit in a bar of {} mm", number(kMetric.barLength)));
        }
        if (size.diameter > kThickestMeshMm)
            skip(plans, "mesh", size, sentence("mesh sheets are made of bars up to {} mm", number(kThickestMeshMm)));
        else if (rule == nullptr)
            skip(plans, "mesh", size, noRow(kMandrelRule, size, rules.file()));
        else
            plans.templates.push_back(mesh(size, Units::Millimetre, *rule, straightLength(shapes, kMetric.sheetLength),
                                           straightLength(shapes, kMetric.sheetWidth)));
    }
    return plans;
}

Plans inchPlans(BarTable const &bars, BendRules const &rules)
{
    Plans plans;
    for (BarSize const &size : bars.sizes)
    {
        BendRule const *const stirrup = rules.find(kStirrupHookRule, size);
        BendRule const *const main = rules.find(kMainHookRule, size);
        if (stirrup == nullptr || !stirrup->hook135)
            skip(plans, "link", size, noRow(kStirrupHookRule, size, rules.file()));
        else
            plans.templates.push_back(inchLink(size, *stirrup));
        if (main == nullptr || !main->hook90 || main->hook180.empty())
            skip(plans, "hooked", size, noRow(kMainHookRule, size, rules.file()));
        else if (!fits(kInch, main->radius(size.diameter), size.diameter))
            skip(plans, "hooked", size, sentence("its bends do not fit in a bar of {} in", number(kInch.barLength)));
        else
            plans.templates.push_back(inchHooked(size, *main));
        if (size.number > kThickestMeshNumber)
            skip(plans, "mesh", size, sentence("mesh sheets are made of bars up to No. {}", kThickestMeshNumber));
        else if (main == nullptr)
            skip(plans, "mesh", size, noRow(kMainHookRule, size, rules.file()));
        else
            plans.templates.push_back(mesh(size, Units::Inch, *main, kInch.sheetLength, kInch.sheetWidth));
    }
    return plans;
}

} // namespace okt
