// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktbackend.h>

// The platform's plain types under their published names and widths. Text is made of UTF-16 code units: WCHAR has 16 bits on every
// system.
#include OKT_NATIVE(oktnativetypes.h)
