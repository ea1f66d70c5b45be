// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// Lengths as people write them: "35 mm", "1.5in".

struct LengthUnit
{
    std::string_view name;
    double perMetre;
};

/// mm, cm, m, in, ft.
std::vector<LengthUnit> const &lengthUnits();
/// Null: no unit has this name.
LengthUnit const *findLengthUnit(std::string_view name);

/// A number and what stands behind it.
struct Quantity
{
    double value = 0;
    LengthUnit const *unit = nullptr; ///< null: none
    std::string rest;                 ///< what stands behind the number and is no unit

    /// A number and nothing behind it.
    bool isPlain() const { return unit == nullptr && rest.empty(); }
};

/// Nothing: the text does not begin with a number, or with one that is not finite. Blanks around it and in front of the unit do not
/// count; the decimal point is a point.
std::optional<Quantity> parseQuantity(std::string_view text);

/// A number that went through a file in another unit, without the last bits that this left behind.
double snappedNumber(double value);

} // namespace okt
