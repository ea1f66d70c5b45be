// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarray_internal.h>
#include <oktplatform/oktvariant.h>

#include <bit>
#include <cstdint>
#include <cstring>

// Numbers whose bytes are taken for those of a double, as a little-endian machine has them. Not installed.

/// The double in eight bytes of elements that have `size` bytes each, a power of two up to 8.
inline double OktDoubleOfBytes(void const *bytes, unsigned int size)
{
    if constexpr (std::endian::native == std::endian::little)
    {
        double value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    std::uint64_t bits = 0;
    for (unsigned int i = 0; i < sizeof bits; ++i)
        bits |= std::uint64_t{static_cast<unsigned char const *>(bytes)[i ^ (size - 1)]} << (8 * i);
    return std::bit_cast<double>(bits);
}

/// The same back.
inline void OktBytesOfDouble(double value, void *bytes, unsigned int size)
{
    if constexpr (std::endian::native == std::endian::little)
    {
        std::memcpy(bytes, &value, sizeof value);
        return;
    }
    auto const bits = std::bit_cast<std::uint64_t>(value);
    for (unsigned int i = 0; i < sizeof bits; ++i)
        static_cast<unsigned char *>(bytes)[i ^ (size - 1)] = static_cast<unsigned char>(bits >> (8 * i));
}

/// The size in bytes of the number that a variant of this kind holds; 8 for what is no number.
inline unsigned int OktNumberSize(VARTYPE type)
{
    ULONG const size = OktArray::elementSize(type);
    return size == 1 || size == 2 || size == 4 ? size : 8;
}

/// The first four data bytes of a variant with two or four bytes as one number.
inline LONG OktDataAsLong(VARIANT const &variant)
{
    bool const isSwapped = std::endian::native == std::endian::big && OktNumberSize(variant.vt) == 2;
    return static_cast<LONG>(std::rotl(static_cast<ULONG>(variant.lVal), isSwapped ? 16 : 0));
}
inline void OktSetDataAsLong(VARIANT &variant, LONG number)
{
    variant.lVal = number;
    variant.lVal = OktDataAsLong(variant);
}

/// The data bytes of a variant as a double, whatever its kind.
inline double OktDataAsDouble(VARIANT const &variant) { return OktDoubleOfBytes(&variant.llVal, OktNumberSize(variant.vt)); }
inline void OktSetDataAsDouble(VARIANT &variant, double value)
{
    OktBytesOfDouble(value, &variant.llVal, OktNumberSize(variant.vt));
}
