#pragma once

#include <cstddef>

// Not installed.

/// Large pages are a privilege on this system.
inline void OktWishLargePages(void *, std::size_t) {}

/// Pages that are offered to this system must be asked back before they are used, which is not worth it here.
inline bool OktLendPages(void *, std::size_t) { return false; }
