// SPDX-License-Identifier: MIT
#pragma once

// The instructions of a processor that not each of its kind has. Not installed.

#if defined(__x86_64__) && defined(__GNUC__)
#include <tmmintrin.h>

/// Marks a function that uses the instructions of SSSE3. It may only be called where OktHasSsse3 is true.
#define OKT_SSSE3 __attribute__((target("ssse3")))

inline bool OktHasSsse3()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3");
}
#endif
