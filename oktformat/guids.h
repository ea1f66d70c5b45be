// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobjectid.h>

#include <cstring>
#include <string>

namespace okt
{

inline constexpr _GUID kNoId = {};

/// All 16 bytes are equal.
inline bool isSame(_GUID const &left, _GUID const &right) { return std::memcmp(&left, &right, sizeof left) == 0; }

/// In registry form, as messages have it.
std::string idText(_GUID const &id);
std::string idText(OKTDbObjectId const &id);

/// As an id without a pool.
inline OKTDbObjectId toId(_GUID const &guid)
{
    OKTDbObjectId id;
    id.setGuid(guid);
    return id;
}

} // namespace okt
