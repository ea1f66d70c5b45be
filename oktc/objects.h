// SPDX-License-Identifier: MIT
#pragma once

// Objects as what they are. Not installed.

#include <oktc/call.h>

class OKTDbObject;

namespace oktc
{

/// Refuses an object of another class, and a pool.
template <typename T> T &as(OKTDbObject *object)
{
    T *const cast = T::cast(object);
    if (cast == nullptr)
        refuse(OKTC_WRONG_CLASS, "an object of this class has no such member");
    return *cast;
}

/// Refuses an object where a pool is meant.
inline void noObject(OKTDbObject const *object)
{
    if (object != nullptr)
        refuse(OKTC_WRONG_CLASS, "an object has no such member, a pool has");
}

} // namespace oktc
