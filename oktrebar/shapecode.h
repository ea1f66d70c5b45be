// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/barrecord.h>

#include <string>
#include <vector>

namespace okt
{

/// A shape of BS 8666:2005 ("51"), and what it is in words; an empty code: none that the geometry tells for sure.
struct ShapeCode
{
    std::string code;
    std::string what;
};

/// The shape of a bar of legs (outer dimensions) and bends with one inside radius, all in millimetres and degrees. Of the shapes of the table of cutting lengths
/// those are found whose legs, bends and directions are plain; what the mirror shows is the same shape. Codes without a radius
/// of their own stand for the least one, 2 d up to 16 mm and 3.5 d above.
ShapeCode shapeCodeOf(std::vector<Bf2dLeg> const &legs, double radius, double diameter);

} // namespace okt
