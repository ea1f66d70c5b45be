// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/plane.h>
#include <oktrebar/templateplan.h>

#include <oktplatform/oktarrays.h>

#include <optional>
#include <string>

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

/// Draws a template from its own figures, to scale, by docs/templates.md. Empty for a template of another kind. The same plan
/// gives the same bytes on one system; fonts and edges differ between systems. Throws Failure if a number is missing, the
/// quantity expression ("4x150 2x100") is not valid, or there is not enough memory.
std::optional<Preview> drawPreview(TemplatePlan const &plan);

/// The same drawing as lines, an SVG document. Empty and Failure as of drawPreview; Failure, too, where the graphics library of the
/// system writes no SVG.
std::optional<std::string> drawLines(TemplatePlan const &plan);

/// What the preview picture of a template shows, as Preview::shape, without drawing it. Empty and Failure as of drawPreview.
std::optional<Box> previewShape(TemplatePlan const &plan);

/// Another value of this parameter may show in the preview picture of a template of this kind. False: the picture stays the same to the
/// byte.
bool isInPreview(TemplateKind kind, ParameterKey const &key);

} // namespace okt
