// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktvariant.h>

#include <cstdint>
#include <limits>

// Safe arrays as the sources of this layer see them. Not installed.

namespace OktArray
{
/// The size of an element in bytes, or 0 for a kind that no array holds.
inline ULONG elementSize(VARTYPE type)
{
    switch (type)
    {
    case VT_I1:
    case VT_UI1: return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL: return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR: return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE: return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN: return sizeof(void *);
    case VT_DECIMAL: return 16;
    case VT_VARIANT: return sizeof(VARIANT);
    default: return 0;
    }
}

inline bool isSoundBound(SAFEARRAYBOUND const &bound)
{
    std::int64_t const upper = static_cast<std::int64_t>(bound.lLbound) + bound.cElements - 1;
    return upper >= std::numeric_limits<LONG>::min() && upper <= std::numeric_limits<LONG>::max();
}

inline bool areSoundBounds(SAFEARRAYBOUND const *bounds, UINT dimensions)
{
    for (UINT i = 0; i < dimensions; ++i)
    {
        if (!isSoundBound(bounds[i]))
            return false;
    }
    return true;
}

inline bool ownsArray(VARIANT const &variant) { return (variant.vt & (VT_ARRAY | VT_BYREF)) == VT_ARRAY; }
} // namespace OktArray
