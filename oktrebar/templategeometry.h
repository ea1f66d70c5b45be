// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/templateplan.h>

#include <oktdatabase/oktgexyz.h>

#include <vector>

namespace okt
{

/// A corner of a bar's centre line, and the inside radius of the bend there.
struct Corner
{
    OKTGeXYZ point;
    double bendRadius = 0; ///< 0 at both ends
};

/// The geometry of the bar of a template in drawing units: its centre line as a polyline. A bend of more than 90 degrees has two
/// corners, since a polyline that turns back has none. Of a mesh it is one bar along the sheet.
struct BarGeometry
{
    std::vector<Corner> corners;
    double diameter = 0; ///< of the bar
};

/// Throws Failure where a figure is missing. A template of another kind has no corners.
BarGeometry geometryOf(TemplatePlan const &plan);

} // namespace okt
