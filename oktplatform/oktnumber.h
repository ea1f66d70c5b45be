#pragma once

#include <oktplatform/oktstring.h>

// Numbers from text, as the runtime library of the platform reads them: leading white space, a sign, then the longest decimal
// number; 0 when there is none. The point is that of the current numeric locale. No hexadecimal, no infinity, no NaN.
#if defined(_WIN32)
#include <oktplatform/win32/oktnativenumber.h>
#else
#include <oktplatform/posix/oktnativenumber.h>
#endif
