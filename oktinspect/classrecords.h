// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/valuewalk.h>
#include <oktinspect/finding.h>

#include <string_view>
#include <vector>

namespace okt
{

/// Where the records of a whole frame are not those that a writer of its class makes.
struct RecordFault
{
    Finding finding; ///< of the code Records or ListCount; its object is the frame
    bool isAstray;   ///< members behind it may not be those that their places say
};

struct RecordCheck
{
    std::vector<RecordFault> faults; ///< up to the first that leads astray
    bool isLater = false;            ///< a class of the library has sections that this release does not know
};

/// Compares the frame that begins at a place, and those nested in it, with the stored forms of the library's own classes: base,
/// class version, sections, members and the counts of lists. Frames of other classes are passed over, their parts are not.
///
/// A class of version N has the sections 1 to N. A later release has a higher version and sections behind the known ones.
RecordCheck checkRecords(ByteSource &source, std::int64_t begin);

/// For a frame of a class that is not known: the name of OKTDbParameter or OKTDbPicture where it has the very records of that, for
/// these stored forms are too long to be those of two classes; else empty.
std::string_view classByRecords(ByteSource &source, std::int64_t begin);

} // namespace okt
