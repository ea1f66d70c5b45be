// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

#include <string>

namespace okt
{

/// What the first bytes of an image say about it (own code: a decoder for each format would be needed for some twenty lines).
struct ImageFormat
{
    std::string name; ///< "PNG", "JPEG", ...; empty: not recognised
    int width = 0;    ///< in pixels; 0: not found in the first bytes
    int height = 0;

    /// "PNG, 800 x 600 pixels", "WMF", "no known format".
    std::string text() const;
};

/// Known are PNG, JPEG, GIF, BMP, TIFF, WebP, ICO, WMF, EMF, SVG and PDF; the first four with their size.
ImageFormat formatOf(CByteArray const &image);

} // namespace okt
