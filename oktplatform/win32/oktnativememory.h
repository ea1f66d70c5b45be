// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// Not installed.

/// No sanitizer of addresses is known here.
inline constexpr bool kOktFindsUseAfterEnd = false;

/// Asks for large pages under a block. They need a privilege on this system, so this does nothing.
inline void OktWishLargePages(void *, std::size_t) {}

/// Gives the pages of a block to the system. They would have to be committed anew, which does not pay here.
inline void OktDropPages(void *, std::size_t) {}

/// Offers the pages of a block to the system. They would have to be reclaimed before use, which does not pay here.
inline bool OktLendPages(void *, std::size_t) { return false; }
