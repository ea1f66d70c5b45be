#pragma once

#include <oktrebar/barline.h>
#include <oktrebar/templateplan.h>

#include <oktplatform/oktarrays.h>

#include <optional>

namespace okt
{

/// Size of every preview picture in pixels.
inline constexpr int kPreviewWidth = 800;
inline constexpr int kPreviewHeight = 600;

/// The preview picture of a template, and what it shows: the box around the bar or sheet, in the template's drawing units, with
/// its lower left corner at (0, 0).
struct Preview
{
    CByteArray png;
    Box shape;
};

/// The bar of a link or a hooked bar from the figures of its template. Throws Failure where a figure is missing.
BarFigures figuresOf(TemplatePlan const &plan);

/// Draws a template from its own figures, to scale. Nothing for a template of another kind. Throws Failure.
std::optional<Preview> drawPreview(TemplatePlan const &plan);

} // namespace okt
