#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

#include <cstdint>

/// A globally unique id. On disk and in comparisons it is its 16 bytes as they lie in memory, Data1 to Data3 little-endian.
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

/// A new random id (version 4). A failure of the system's random source gives a negative result and the null id.
OKT_API HRESULT CoCreateGuid(GUID *guid);
/// The registry form with braces, in either case. Anything else, null included: the null id and CO_E_CLASSSTRING.
OKT_API HRESULT CLSIDFromString(OLECHAR const *text, CLSID *guid);
/// The registry form with braces, upper case: 38 units and a zero. The units written, zero included, or 0 if `size` is below
/// 39.
OKT_API int StringFromGUID2(GUID const &guid, OLECHAR *text, int size);
