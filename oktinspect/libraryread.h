// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>
#include <oktinspect/objectread.h>

#include <cstdint>
#include <optional>

namespace okt
{

/// Makes the finding LibraryMembers or LibraryInner for an object; empty: there is no such fault.
std::optional<Finding> libraryFinding(ReadFault const &fault, std::int64_t at, CString const &className);

/// Reads an object alone, with the library. Returns why it cannot be read, or why a load would stop after it. Empty: it can be
/// read, or the class is not known here, or the object is larger than `largest`.
std::optional<Finding> libraryReadFault(ByteSource &source, Stretch const &object, std::int64_t largest = 0x7FFFFFFF);

/// The same, with further results.
struct LibraryRead
{
    std::optional<Finding> fault;
    bool isSameAgain = true;         ///< the object writes the same bytes again; checked only for classes of client modules
    std::optional<CByteArray> image; ///< of a picture
};
LibraryRead readByLibrary(ByteSource &source, Stretch const &object);

/// The same as libraryReadFault for the header of a pool: HeaderMembers or HeaderInner.
std::optional<Finding> libraryHeaderFault(ByteSource &source, HeaderPlace const &header);

} // namespace okt
