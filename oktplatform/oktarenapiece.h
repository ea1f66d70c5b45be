// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>

#include <cstdint>

// The end of what a load has made in a large block for many (OktArena), and not by operator new.

/// Is operator new seen to give blocks at multiples of 16 alone, as the language promises here? A program may replace it by one that
/// keeps no such promise, as one that puts a count of 8 bytes in front; then there are no pieces.
OKT_API bool OktHasArenas() noexcept;

/// True for such a piece: it lies 8 bytes behind a multiple of 16, where operator new gives nothing.
inline bool OktIsInArena(void const *memory)
{
    return __STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16 && (reinterpret_cast<std::uintptr_t>(memory) & 15) == 8 && OktHasArenas();
}
/// Gives such a piece back. On any thread.
OKT_API void OktFreeInArena(void *memory) noexcept;
