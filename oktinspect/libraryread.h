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

/// LibraryMembers or LibraryInner about an object of that class at a place; nothing: there is no such fault.
std::optional<Finding> libraryFinding(ReadFault const &fault, std::int64_t at, CString const &className);

/// Lets the library read an object alone. What keeps it from being read, or keeps a load from going on behind it; nothing: it is
/// read, or the class is not known here, or the object is larger than `largest`.
std::optional<Finding> libraryReadFault(ByteSource &source, Stretch const &object, std::int64_t largest = 0x7FFFFFFF);

/// The same, and what the library makes of the object.
struct LibraryRead
{
    std::optional<Finding> fault;
    bool isSameAgain = true;         ///< it writes the object as it was; asked only of a class that is not the library's own
    std::optional<CByteArray> image; ///< of a picture
};
LibraryRead readByLibrary(ByteSource &source, Stretch const &object);

/// The same as libraryReadFault for the header of a pool: HeaderMembers or HeaderInner.
std::optional<Finding> libraryHeaderFault(ByteSource &source, HeaderPlace const &header);

} // namespace okt
