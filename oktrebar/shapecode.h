// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/barrecord.h>

#include <string>
#include <vector>

namespace okt
{

/// A shape of BS 8666:2005 ("51") and its description; empty code: the geometry does not determine one.
struct ShapeCode
{
    std::string code;
    std::string what;
};

/// The shape of a bar of legs (outer dimensions) and bends with one inside radius, all in millimetres and degrees. Of the shapes of the table of cutting lengths
/// only those are found that legs, bends and directions determine. A mirrored bar has the same shape. Codes without a radius
/// have the minimum radius, 2 d up to 16 mm and 3.5 d above.
ShapeCode shapeCodeOf(std::vector<Bf2dLeg> const &legs, double radius, double diameter);

} // namespace okt
