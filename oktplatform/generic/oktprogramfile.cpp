// SPDX-License-Identifier: MIT
#include <oktplatform/oktprogram.h>

// The standard library does not tell it.
CString OktProgramFile() { return {}; }
