#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

OKT_API double _wtof(WCHAR const *text);
/// Clamps to the signed 32-bit range.
OKT_API long _wtol(WCHAR const *text);
/// Base 10 only. Clamps to the unsigned 32-bit range, a minus sign negates within it. `end`, if given, gets the place behind
/// the number, or `text` when there is none.
OKT_API unsigned long wcstoul(WCHAR const *text, WCHAR **end, int base);
