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
    int size = 0;   ///< up to its end, or to the fault; of a cut one as far as its records are whole
    State state = State::Whole;
    CString className;          ///< empty where that is lost
    std::vector<CString> bases; ///< class names of the frames nested at its start, the nearest base first
    std::optional<_GUID> id;    ///< the first id in it, which is the object's own
};

/// Reads one frame that begins at `offset`. One of a value, such as an id, is no object: Damaged, of size 0.
Frame readFrame(CByteArray const &bytes, int offset);
/// All objects from `offset` on. Bytes that belong to no object are passed over.
std::vector<Frame> readFrames(CByteArray const &bytes, int offset);

} // namespace okt
