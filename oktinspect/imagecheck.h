// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

#include <cstdint>
#include <string>

namespace okt
{

/// Whether an image is whole, as far as its own structure tells.
struct ImageCheck
{
    enum class State
    {
        Whole,
        Odd,      ///< it can be shown, but has something that no program writes there
        Damaged,  ///< its structure or a check sum in it is wrong
        NotJudged ///< nothing is claimed: the format is not known, or not looked into
    };

    State state = State::NotJudged;
    std::string format;  ///< "PNG", "JPEG", ...; empty: none that is known
    std::int64_t at = 0; ///< of what is odd or damaged: the byte in the image
    std::string fault;   ///< the same in words
};

/// Looks through a whole image: of a PNG its chunks, their order and their check sums; of a JPEG its segments, their lengths and
/// tables, the order of restart marks and the end; of a GIF its blocks; of a BMP its sizes. A JPEG, GIF or BMP has no check sums:
/// a changed pixel in one cannot be told. An image without bytes is whole. Nothing of it is kept, and no exception tells a fault.
ImageCheck checkImage(CByteArray const &image);

} // namespace okt
