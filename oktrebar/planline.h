// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/barline.h>
#include <oktrebar/barrecord.h>
#include <oktrebar/templateplan.h>

#include <vector>

namespace okt
{

// The bar of a plan as a centre line. Pictures and geometry are made from it. Not installed.

/// A number of the template, in its drawing unit. Throws Failure if it is missing, as the other functions do.
double figureOf(TemplatePlan const &plan, ParameterKey const &key);

/// The bar of a link or a hooked bar.
BarFigures figuresOf(TemplatePlan const &plan);

/// The straight parts of legs with given outer dimensions; below 0: the leg is too short for its bends.
std::vector<double> straightsOf(std::vector<Bf2dLeg> const &legs, double radius, double diameter);

/// The centre line of a bar of legs and bends, with the lower left corner of its outside at (0, 0).
BarLine bentLine(TemplatePlan const &plan);

} // namespace okt
