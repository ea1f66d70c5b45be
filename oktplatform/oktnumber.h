#pragma once

#include <oktplatform/oktstring.h>

// Numbers from text, as the runtime library of the platform reads them: leading white space, a sign, then the longest decimal
// number; 0 when there is none. The point is that of the current numeric locale. No hexadecimal, no infinity, no NaN.

OKT_API double _wtof(WCHAR const *text);
/// Clamps to the signed 32-bit range.
OKT_API long _wtol(WCHAR const *text);
#if !defined(_WIN32)
/// Base 10 only. Clamps to the unsigned 32-bit range, a minus sign negates within it. `end`, if given, gets the place behind
/// the number, or `text` when there is none.
OKT_API unsigned long wcstoul(WCHAR const *text, WCHAR **end, int base);
#endif
