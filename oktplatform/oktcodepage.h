// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

#include OKT_NATIVE(oktnativecodepage.h)

// 8-bit text on the calling thread has the code page of the system's thread, until the host sets another. A system without such a
// page starts with windows-1252.

/// Sets the code page of the calling thread: 1252, 65001, and each other number that the system's converter knows. An unknown
/// number changes nothing. Built on the standard library alone, the library knows 1252 and 65001 only.
OKT_API void OktSetThreadCodePage(unsigned int codePage);
/// The code page of the calling thread.
OKT_API unsigned int OktThreadCodePage();
/// True: in the thread's code page each ASCII character is the byte of the same number.
OKT_API bool OktThreadCodePageKeepsAscii();

/// Converts `length` units to bytes; -1 stands for all units up to the closing zero, which is converted too. Returns the number of
/// bytes written, or needed when `size` is 0. Returns 0 when the target is too small, an argument is wrong or the code page is
/// unknown. A unit without a byte becomes "?", or `*defaultChar`, and sets `*usedDefault`.
OKT_API int OktToMultiByte(UINT codePage, WCHAR const *text, int length, char *target, int size,
                           char const *defaultChar = nullptr, BOOL *usedDefault = nullptr);
/// Converts bytes to units, with the same lengths and results. Bytes that are no character become U+FFFD. The five bytes that
/// windows-1252 does not define are the control characters of the same number.
OKT_API int OktToWideChar(UINT codePage, char const *text, int length, WCHAR *target, int size);
