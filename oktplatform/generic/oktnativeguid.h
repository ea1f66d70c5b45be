// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

#include <cstdint>

/// A globally unique id.
struct _GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    unsigned char Data4[8];
};
using GUID = _GUID;
using CLSID = _GUID;

static_assert(sizeof(_GUID) == 16);

/// Makes a new random id (version 4). When the random source fails, the result is negative and the id null.
OKT_API HRESULT CoCreateGuid(GUID *guid);
/// Reads the registry form with braces, in upper or lower case. Any other text, and null, give the null id and CO_E_CLASSSTRING.
OKT_API HRESULT CLSIDFromString(OLECHAR const *text, CLSID *guid);
/// Writes the registry form with braces, in upper case: 38 units and a zero. Returns 39, or 0 if `size` is smaller.
OKT_API int StringFromGUID2(GUID const &guid, OLECHAR *text, int size);
