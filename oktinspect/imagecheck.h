// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

#include <cstdint>
#include <string>

namespace okt
{

/// Whether an image is whole, judged by its structure (own code: decoders mend what they can, and tell no offsets).
struct ImageCheck
{
    enum class State
    {
        Whole,
        Odd,      ///< it can be shown, but contains something that no program writes
        Damaged,  ///< its structure or a checksum is wrong
        NotJudged ///< nothing is claimed: the format is not known, or not looked into
    };

    State state = State::NotJudged;
    std::string format;  ///< "PNG", "JPEG", ...; empty: not recognised
    std::int64_t at = 0; ///< offset of the fault in the image
    std::string fault;   ///< the fault in words
};

/// Checks a whole image: of a PNG its chunks, their order and their checksums; of a JPEG its segments, their lengths and
/// tables, the order of restart marks and the end; of a GIF its blocks; of a BMP its sizes. A JPEG, GIF or BMP has no checksums:
/// a changed pixel is not found. An image without bytes is whole. Faults are no exceptions. Nothing is kept.
ImageCheck checkImage(CByteArray const &image);

} // namespace okt
