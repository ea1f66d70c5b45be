#pragma once

#include <oktdatabase/oktdbobjectid.h>

#include <cstring>

namespace okt
{

inline constexpr _GUID kNoId = {};

inline bool isSame(_GUID const &left, _GUID const &right) { return std::memcmp(&left, &right, sizeof left) == 0; }

inline OKTDbObjectId toId(_GUID const &guid)
{
    OKTDbObjectId id;
    id.setGuid(guid);
    return id;
}

} // namespace okt
