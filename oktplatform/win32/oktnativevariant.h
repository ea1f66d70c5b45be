// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/okttypes.h>

// Variants, system strings and safe arrays are those of oleaut32.
#include <oleauto.h>
