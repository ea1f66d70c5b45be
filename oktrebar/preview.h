// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/plane.h>
#include <oktrebar/templateplan.h>

#include <oktplatform/oktarrays.h>

#include <optional>

namespace okt
{

/// Size of every preview picture in pixels.
inline constexpr int kPreviewWidth = 800;
inline constexpr int kPreviewHeight = 600;

/// The preview picture of a template, and what it shows.
struct Preview
{
    CByteArray png; ///< a PNG file
    Box shape;      ///< around the bar or sheet in the template's drawing units (mm or in), its lower left corner at (0, 0)
};

/// Draws a template from its own figures, to scale, by docs/templates.md. Nothing for a template of another kind. The same plan
/// gives the same bytes on one system; fonts and edges differ from one to another. Throws Failure where a figure is missing, the
/// quantity expression is none ("4x150 2x100"), or there is no memory for the sheet.
std::optional<Preview> drawPreview(TemplatePlan const &plan);

} // namespace okt
