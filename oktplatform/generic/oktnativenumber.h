// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

/// A real number.
OKT_API double _wtof(WCHAR const *text);
/// A whole number, clamped to the signed 32-bit range.
OKT_API long _wtol(WCHAR const *text);
/// A whole number of base 10, clamped to the unsigned 32-bit range. A minus sign negates within that range. Another base gives 0.
/// `end`, if given, gets the place behind the number, or `text` if there is none.
OKT_API unsigned long wcstoul(WCHAR const *text, WCHAR **end, int base);
