#pragma once

#include <cstddef>

// Not installed.

/// Large pages are a privilege on this system.
inline void OktWishLargePages(void *, std::size_t) {}
