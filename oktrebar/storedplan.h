// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/expressions.h>
#include <oktrebar/preview.h>
#include <oktrebar/templateplan.h>

#include <oktplatform/oktarrays.h>

#include <optional>
#include <string>
#include <string_view>

namespace okt
{

// From a template in a file back to the plan that it could have been made from, and to its picture.

/// Of the kind Other where the parameters are not those of a template that is drawn here, or it was made in another unit than
/// millimetres or inches.
TemplatePlan planOf(StoredTemplate const &pool, LengthUnit const &drawn, ChangedValues const &changed = {});

/// The preview picture of a template; nothing where it is not drawn here, or a figure is missing.
std::optional<Preview> previewOf(StoredTemplate const &pool, LengthUnit const &drawn, ChangedValues const &changed = {});

/// The same drawing as an SVG document. Nothing for a template of another kind; throws Failure as drawLines does.
std::optional<std::string> drawingOf(StoredTemplate const &pool, LengthUnit const &drawn);

/// The image in the frame of a picture. Nothing: the database does not read it.
std::optional<CByteArray> imageIn(std::string_view frame);

/// The same bytes.
bool isSameImage(CByteArray const &left, CByteArray const &right);

/// An image of the size that every picture drawn here has. One of another size was made elsewhere; one of this size may be, too.
bool mayBeDrawnHere(CByteArray const &image);

/// The camera of the picture in the frame looks at this shape, as that of a picture does which is drawn here. False too where the
/// database does not read the frame.
bool looksAt(std::string_view frame, Box const &shape);

/// The frame with another image, and with the camera of `after` where it has that of `before`. Nothing unless the database reads
/// the frame and would write all of it.
std::optional<CByteArray> withImage(std::string_view frame, Preview const &before, Preview const &after);

} // namespace okt
