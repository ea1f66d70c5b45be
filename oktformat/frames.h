#pragma once

#include <oktplatform/oktplatform.h>

#include <optional>
#include <vector>

namespace okt
{

/// One outermost class frame of the objects block, found by its records alone (RecordWalk), whatever its class is.
struct Frame
{
    enum class State
    {
        Whole,
        Cut,    ///< the file ends inside it
        Damaged ///< a byte in it is no record, or closes what is not open
    };

    int offset = 0; ///< of its first byte in the file
    int size = 0;   ///< up to its end, or to the fault
    State state = State::Whole;
    CString className;
    std::vector<CString> bases; ///< class names of the frames nested at its start, the nearest base first
    std::optional<_GUID> id;    ///< the first id in it, which is the object's own
};

/// Reads one frame that begins at `offset`.
Frame readFrame(CByteArray const &bytes, int offset);
/// The place of the next object frame at or behind `offset` as a reader of pools finds it: the bytes 6, 5 at the start or right
/// behind a byte 7. -1: none.
int findFrame(CByteArray const &bytes, int offset);
/// All frames of objects from `offset` on. Where one is damaged, the search goes on at the fault.
std::vector<Frame> readFrames(CByteArray const &bytes, int offset);

} // namespace okt
