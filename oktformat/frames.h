// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <optional>
#include <vector>

namespace okt
{

/// One object of the objects block of a file in memory, whole or not, as ObjectScan finds it, whatever its class is.
struct Frame
{
    enum class State
    {
        Whole,
        Cut,    ///< the file ends inside it
        Damaged ///< it stops to be an object
    };

    int offset = 0; ///< of its first byte in the file
    int size = 0;   ///< up to its end or to the fault; of a cut object up to the end of its last whole record
    State state = State::Whole;
    CString className;          ///< empty: it cannot be read
    std::vector<CString> bases; ///< class names of the frames nested at its start, the nearest base first
    std::optional<_GUID> id;    ///< the first id in it, which is the object's own
};

/// Reads the frame at `offset`. The frame of a value, such as an id, is not an object: Damaged, with size 0.
Frame readFrame(CByteArray const &bytes, int offset);
/// All objects from `offset` on. Bytes that belong to no object are skipped.
std::vector<Frame> readFrames(CByteArray const &bytes, int offset);

} // namespace okt
