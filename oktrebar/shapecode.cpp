// SPDX-License-Identifier: MIT
#include <oktrebar/shapecode.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace okt
{

namespace
{

constexpr double kSame = 1e-6;
// Table 2 of the standard rounds down to whole millimetres.
constexpr double kRadiusRounding = 0.5;
constexpr double kThinBar = 16;
constexpr double kThinBarRadius = 2;
constexpr double kThickBarRadius = 3.5;

// The formulas of shapes with slanting legs hold up to this bend.
constexpr double kSteepest = 45;
constexpr double kRight = 90;
constexpr double kBack = 180;
/// Any bend up to the largest angle; all bends of the bar are equal.
constexpr double kSlant = 1;

enum class Radius
{
    Any,
    Least,
    Larger,
    LeastOrLarger
};

struct Shape
{
    char const *code;
    char const *what;
    std::string_view legs;       ///< one letter a leg; equal letters mean equal lengths; C is the end of a link
    std::array<double, 6> bends; ///< after each leg but the last; negative: opposite to the first bend
    Radius radius;
};

// Not here: three or four right angles to one side, four to both sides, and bends of 180 degrees beside others, which the codes
// 22, 33, 41 and 44 leave open; rings and helices (75, 77), which have no legs.
constexpr Shape kShapes[] = {
    {"00", "Straight", "A", {}, Radius::Any},
    {"11", "L", "AB", {kRight}, Radius::Least},
    {"12", "L with a large radius", "AB", {kRight}, Radius::Larger},
    {"13", "U by one bend of 180 degrees", "AB", {kBack}, Radius::LeastOrLarger},
    {"15", "One slanting leg", "AB", {kSlant}, Radius::Least},
    {"21", "U", "ABD", {kRight, kRight}, Radius::Least},
    {"46", "Double crank", "ABDBE", {kSlant, -kSlant, -kSlant, kSlant}, Radius::Least},
    {"47", "Link with hooks", "CABAC", {kBack, kRight, kRight, kBack}, Radius::Least},
    {"51", "Closed link", "CBABAC", {kRight, kRight, kRight, kRight, kRight}, Radius::Least},
    {"63", "Double link", "CBABABC", {kRight, kRight, kRight, kRight, kRight, kRight}, Radius::Least},
};

bool isSame(double one, double other) { return std::abs(one - other) < kSame; }

bool hasRadius(Shape const &shape, double radius, double diameter)
{
    double const least = diameter * (diameter <= kThinBar ? kThinBarRadius : kThickBarRadius);
    bool const isLeast = std::abs(radius - least) <= kRadiusRounding + kSame;
    bool const isLarger = !isLeast && radius > least;
    switch (shape.radius)
    {
    case Radius::Any: return true;
    case Radius::Least: return isLeast;
    case Radius::Larger: return isLarger;
    case Radius::LeastOrLarger: return isLeast || isLarger;
    }
    return false;
}

bool hasBends(Shape const &shape, std::vector<Bf2dLeg> const &legs)
{
    double const first = legs.front().angle;
    double const slant = std::abs(first);
    for (std::size_t i = 0; i + 1 < legs.size(); ++i)
    {
        double const bend = first < 0 ? -legs[i].angle : legs[i].angle;
        bool const isSlant = std::abs(shape.bends[i]) == kSlant;
        if (!isSame(bend, isSlant ? shape.bends[i] * slant : shape.bends[i]) || (isSlant && slant > kSteepest))
            return false;
    }
    return true;
}

bool hasLegs(Shape const &shape, std::vector<Bf2dLeg> const &legs)
{
    for (std::size_t i = 0; i < legs.size(); ++i)
    {
        std::size_t const like = shape.legs.find(shape.legs[i]);
        if (!isSame(legs[i].length, legs[like].length))
            return false;
        // The end of a link lies beside its sides.
        if (shape.legs[0] == 'C' && legs[i].length < legs[0].length - kSame)
            return false;
    }
    return true;
}

} // namespace

ShapeCode shapeCodeOf(std::vector<Bf2dLeg> const &legs, double radius, double diameter)
{
    auto const found = std::find_if(std::begin(kShapes), std::end(kShapes), [&](Shape const &shape) {
        return shape.legs.size() == legs.size() && hasBends(shape, legs) && hasLegs(shape, legs) &&
               hasRadius(shape, radius, diameter);
    });
    if (found == std::end(kShapes))
        return {"", "None that the geometry tells for sure"};
    return {found->code, found->what};
}

} // namespace okt
