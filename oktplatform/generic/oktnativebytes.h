// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// The number with its bytes in reverse order.
inline std::uint64_t OktReversedBytes(std::uint64_t number)
{
    std::uint64_t reversed = 0;
    for (int i = 0; i < 8; ++i, number >>= 8)
        reversed = reversed << 8 | (number & 0xFF);
    return reversed;
}
