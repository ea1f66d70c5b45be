// SPDX-License-Identifier: MIT
#pragma once

namespace okt
{

/// A point in the plane of a bar, in drawing units: x to the right, y upwards.
struct Point
{
    double x = 0;
    double y = 0;
};

/// A rectangle between two corners.
struct Box
{
    Point low;
    Point high;

    /// In the units of the corners; negative where they are the wrong way round.
    double width() const { return high.x - low.x; }
    double height() const { return high.y - low.y; }
    Point centre() const { return {(low.x + high.x) / 2, (low.y + high.y) / 2}; }
};

} // namespace okt
