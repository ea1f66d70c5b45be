// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

// Globally unique ids. In a file an id is 16 bytes: Data1 to Data3 little-endian, then Data4.
#include OKT_NATIVE(oktnativebytes.h)
#include OKT_NATIVE(oktnativeguid.h)

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>

static_assert(sizeof(_GUID) == 16);

/// The 16 bytes of an id as they are in a file: a pointer to those in memory, or an array on a machine of another byte order.
inline auto OktFileBytesOfGuid(_GUID const &guid)
{
    if constexpr (std::endian::native == std::endian::little)
        return reinterpret_cast<unsigned char const *>(&guid);
    else
    {
        std::array<unsigned char, 16> bytes{};
        for (unsigned int i = 0; i < 4; ++i)
            bytes[i] = static_cast<unsigned char>(guid.Data1 >> (8 * i));
        for (unsigned int i = 0; i < 2; ++i)
        {
            bytes[4 + i] = static_cast<unsigned char>(guid.Data2 >> (8 * i));
            bytes[6 + i] = static_cast<unsigned char>(guid.Data3 >> (8 * i));
        }
        std::copy(std::begin(guid.Data4), std::end(guid.Data4), bytes.begin() + 8);
        return bytes;
    }
}
