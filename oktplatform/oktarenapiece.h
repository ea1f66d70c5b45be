// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>

#include <cstdint>

// The end of what a load has made in a large block for many (OktArena), and not by operator new.

/// True for such a piece: it lies 8 bytes behind a multiple of 16, where operator new gives nothing. Where that gives such places, too,
/// there are no pieces.
inline bool OktIsInArena(void const *memory)
{
    return __STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16 && (reinterpret_cast<std::uintptr_t>(memory) & 15) == 8;
}
/// Gives such a piece back. On any thread.
OKT_API void OktFreeInArena(void *memory) noexcept;
