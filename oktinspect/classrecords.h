// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/valuewalk.h>
#include <oktinspect/finding.h>

#include <string_view>
#include <vector>

namespace okt
{

/// A place where the records of a whole frame differ from those that its class writes.
struct RecordFault
{
    Finding finding; ///< of the code Records or ListCount; its object is the frame
    bool isAstray;   ///< the following members cannot be told by their ordinals
};

struct RecordCheck
{
    std::vector<RecordFault> faults; ///< up to the first with isAstray
    bool isLater = false;            ///< a class of the library has sections that this release does not know
};

/// Compares the frame at an offset, and those nested in it, with the stored forms of the library's own classes: base,
/// class version, sections, members and the counts of lists. Frames of other classes are skipped, but not those nested in them.
///
/// A class of version N has the sections 1 to N. A later release has a higher version and sections behind the known ones.
RecordCheck checkRecords(ByteSource &source, std::int64_t begin);

/// For a frame of an unknown class: "OKTDbParameter" or "OKTDbPicture" if it has exactly the records of that class, because
/// no other class is likely to have the same long sequence; else empty.
std::string_view classByRecords(ByteSource &source, std::int64_t begin);

} // namespace okt
