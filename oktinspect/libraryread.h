#pragma once

#include <oktformat/objectscan.h>

#include <optional>
#include <string>

namespace okt
{

/// Lets the library read an object alone. What keeps it from being read, or keeps a load from going on behind it; empty: nothing,
/// or the class is not known here, or the object is larger than `largest`.
std::string libraryReadFault(ByteSource &source, Stretch const &object, std::int64_t largest = 0x7FFFFFFF);

/// The same, and what the library makes of the object.
struct LibraryRead
{
    std::string fault;
    bool isSameAgain = true;         ///< it writes the object as it was; asked only of a class that is not the library's own
    std::optional<CByteArray> image; ///< of a picture
};
LibraryRead readByLibrary(ByteSource &source, Stretch const &object);

/// The same as libraryReadFault for the header of a pool.
std::string libraryHeaderFault(ByteSource &source, HeaderPlace const &header);

} // namespace okt
