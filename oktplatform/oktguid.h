#pragma once

#include <oktplatform/oktstring.h>

// Globally unique ids. On disk and in comparisons an id is its 16 bytes as they lie in memory, Data1 to Data3 little-endian.
#if defined(_WIN32)
#include <oktplatform/win32/oktnativeguid.h>
#else
#include <oktplatform/posix/oktnativeguid.h>
#endif

static_assert(sizeof(_GUID) == 16);
