#pragma once

#include "objectscan.h"

namespace okt
{

/// Lets the library read an object alone. What keeps it from being read, or keeps a load from going on behind it; empty: nothing,
/// or the class is not known here, or the object is larger than `largest`.
std::string libraryReadFault(ByteSource &source, Stretch const &object, std::int64_t largest = 0x7FFFFFFF);

/// The same for the header of a pool.
std::string libraryHeaderFault(ByteSource &source, HeaderPlace const &header);

} // namespace okt
