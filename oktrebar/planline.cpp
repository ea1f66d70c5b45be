// SPDX-License-Identifier: MIT
#include <oktrebar/planline.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

namespace okt
{

namespace
{

using namespace types;

constexpr double kRightAngle = 90;

double radians(double degrees) { return degrees * std::numbers::pi / 180; }

/// The part of a leg used by a bend, measured from the outside. A bend of more than 90 degrees uses as much as one of 90.
double tangent(double angle, double radius, double diameter)
{
    return angle == 0 ? 0 : (radius + diameter) * std::tan(radians(std::min(std::abs(angle), kRightAngle)) / 2);
}

} // namespace

double figureOf(TemplatePlan const &plan, ParameterKey const &key)
{
    ParameterPlan const *const parameter = plan.find(key);
    double const *const value = parameter == nullptr ? nullptr : std::get_if<double>(&parameter->value);
    if (value == nullptr)
        throw Failure(plan.fileName, "", sentence("the template has no figure of the type {} to be drawn", key.type));
    return *value;
}

namespace
{

/// Of a bend: a bar that goes round more than once is none that is made.
double angleOf(TemplatePlan const &plan, ParameterKey const &key)
{
    constexpr double kMost = 360;
    double const angle = figureOf(plan, key);
    if (!(std::abs(angle) <= kMost))
        throw Failure(plan.fileName, "", sentence("an angle of {} degrees cannot be drawn", number(angle)));
    return angle;
}

} // namespace

BarFigures figuresOf(TemplatePlan const &plan)
{
    auto const figure = [&plan](int type, int listIndex) { return figureOf(plan, {type, listIndex}); };
    BarFigures bar;
    bar.diameter = figure(kDiameter, 0);
    bar.radius = figure(kBendingRadius, 0);
    // The legs of a metric hooked bar are end, bar, end; elsewhere the first leg is the longest.
    bool const endsAreLegs = plan.kind == TemplateKind::Hooked && plan.find({kLength, 2}) != nullptr;
    bar.length = figure(kLength, endsAreLegs ? 2 : 1);
    if (plan.kind == TemplateKind::Link)
        bar.width = figure(kLength, 2);
    bar.first = {angleOf(plan, {kHookAngle1, 0}), figure(kExtension1, 0)};
    bar.second = {angleOf(plan, {kHookAngle2, 0}), figure(kExtension2, 0)};
    return bar;
}

std::vector<double> straightsOf(std::vector<Bf2dLeg> const &legs, double radius, double diameter)
{
    std::vector<double> straights;
    double before = 0;
    for (Bf2dLeg const &leg : legs)
    {
        straights.push_back(leg.length - tangent(before, radius, diameter) - tangent(leg.angle, radius, diameter));
        before = leg.angle;
    }
    return straights;
}

BarLine bentLine(TemplatePlan const &plan)
{
    double const diameter = figureOf(plan, {kDiameter, 0});
    double const radius = figureOf(plan, {kBendingRadius, 0});
    std::vector<Bf2dLeg> legs;
    for (int i = 1; plan.find({kLength, i}) != nullptr; ++i)
        legs.push_back({figureOf(plan, {kLength, i}), angleOf(plan, {kHookAngle1, i})});
    std::vector<double> const straights = straightsOf(legs, radius, diameter);
    auto const drawn = [&](Point start) {
        BarLine line(start, 0);
        for (std::size_t i = 0; i < legs.size(); ++i)
            line.straight(straights[i]).bend(legs[i].angle, radius + diameter / 2);
        return line;
    };
    Box const box = drawn({0, 0}).box(diameter);
    return drawn({-box.low.x, -box.low.y});
}

} // namespace okt
