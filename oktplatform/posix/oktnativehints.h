// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

/// Marks a function that may be called through a null pointer, so that no sanitizer takes the call for a mistake.
#define OKT_CALLED_ON_NULL __attribute__((no_sanitize("null")))

/// Asks the processor to bring the memory at that address near. The address need not be valid.
inline void OktFetch(void const *address) { __builtin_prefetch(address); }
