// SPDX-License-Identifier: MIT
#pragma once

// The platform's plain types are the system's own. Its header is included without its rarely used parts and without macros named min
// and max. A program that needs all of it includes <windows.h> before the headers of this library.
#if !defined(_INC_WINDOWS) && !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#define OKT_LEAN_WINDOWS
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#if defined(OKT_LEAN_WINDOWS)
#undef WIN32_LEAN_AND_MEAN
#undef OKT_LEAN_WINDOWS
#endif
#include <winerror.h>
#include <wtypes.h>

#include <cstdint>

static_assert(sizeof(WCHAR) == 2 && sizeof(LONG) == 4 && sizeof(HRESULT) == 4);
