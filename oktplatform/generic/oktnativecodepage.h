// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_THREAD_ACP = 3;
inline constexpr UINT CP_UTF8 = 65001;

/// OktToMultiByte and OktToWideChar under the platform's names. The flags have no effect. A failed allocation gives 0.
OKT_API int WideCharToMultiByte(UINT codePage, DWORD flags, WCHAR const *text, int length, char *target, int size,
                                char const *defaultChar, BOOL *usedDefault);
OKT_API int MultiByteToWideChar(UINT codePage, DWORD flags, char const *text, int length, WCHAR *target, int size);
/// The number of units before the closing zero, 0 for null.
OKT_API int lstrlenW(WCHAR const *text);
