#pragma once

#include <oktplatform/oktstring.h>

// Globally unique ids. In a file an id is 16 bytes: Data1 to Data3 little-endian, then Data4.
#include OKT_NATIVE(oktnativeguid.h)

static_assert(sizeof(_GUID) == 16);
