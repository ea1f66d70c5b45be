// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

/// Marks a function that may be called through a null pointer. The language has no such mark.
#define OKT_CALLED_ON_NULL

/// Asks the processor to load the memory at an address. The language has no such request.
inline void OktFetch(void const *) {}
