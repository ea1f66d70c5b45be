// SPDX-License-Identifier: MIT
#pragma once

#if defined(_WIN32)
#include <oktplatform/okttypes.h>
#endif

/// True where the tests of the Windows build run under Wine. What it does otherwise than Windows stands in docs/windows.md; a
/// test that meets such a place expects there what Wine does.
inline bool runsUnderWine()
{
#if defined(_WIN32)
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
#else
    return false;
#endif
}
