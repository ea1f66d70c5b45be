// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// Not installed.

/// Asks for large pages under a block. The language has no such request.
inline void OktWishLargePages(void *, std::size_t) {}

/// Offers the pages of a block to the system. The language has no such offer.
inline bool OktLendPages(void *, std::size_t) { return false; }
