// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// Not installed.

/// No sanitizer of addresses is known here.
inline constexpr bool kOktFindsUseAfterEnd = false;

/// Asks for large pages under a block. The language has no such request.
inline void OktWishLargePages(void *, std::size_t) {}

/// Gives the pages of a block to the system. The language has no such offer.
inline void OktDropPages(void *, std::size_t) {}

/// Offers the pages of a block to the system. The language has no such offer.
inline bool OktLendPages(void *, std::size_t) { return false; }
