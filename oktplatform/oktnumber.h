// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

// _wtof, _wtol and wcstoul read numbers from text: leading white space, a sign, then the longest decimal number; 0 if there is
// none. The decimal point is that of the current numeric locale. Hexadecimal numbers, infinities and NaN are not read.
#include OKT_NATIVE(oktnativenumber.h)
