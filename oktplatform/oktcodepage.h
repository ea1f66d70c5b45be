#pragma once

#include <oktplatform/oktstring.h>

#if defined(_WIN32)
#include <oktplatform/win32/oktnativecodepage.h>
#else
#include <oktplatform/posix/oktnativecodepage.h>
#endif

// The code page of 8-bit text on the calling thread is that of the system's thread until the host sets another. Where the system
// has none, it is windows-1252.

/// 1252, 65001, 932 and whatever else the system's converter knows by number. An unknown number changes nothing.
OKT_API void OktSetThreadCodePage(unsigned int codePage);
OKT_API unsigned int OktThreadCodePage();
/// True when the thread's code page keeps the 128 ASCII characters in their places, one byte each.
OKT_API bool OktThreadCodePageKeepsAscii();

/// Converts `length` units (-1: up to and with the closing zero) to bytes. Gives the bytes written, or needed when `size` is 0;
/// 0 when the target is too small, an argument is wrong or the code page unknown. A unit that has no byte becomes "?", or
/// `*defaultChar`, and sets `*usedDefault`.
OKT_API int OktToMultiByte(UINT codePage, WCHAR const *text, int length, char *target, int size,
                           char const *defaultChar = nullptr, BOOL *usedDefault = nullptr);
/// The way back. Bytes that are no character become U+FFFD. The five bytes that windows-1252 leaves open are the control
/// characters of the same number.
OKT_API int OktToWideChar(UINT codePage, char const *text, int length, WCHAR *target, int size);
