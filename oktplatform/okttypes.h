#pragma once

// The platform's plain types under their published names and widths. All text is made of UTF-16 code units: WCHAR is
// 16 bits wide on every system.
#if defined(_WIN32)
#include <oktplatform/win32/oktnativetypes.h>
#else
#include <oktplatform/posix/oktnativetypes.h>
#endif
