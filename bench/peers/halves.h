// SPDX-License-Identifier: MIT
#pragma once

#include "model.h"

#include <cstdint>
#include <cstring>

namespace peers
{
// The two halves of an id.
inline std::uint64_t high(Id const &id)
{
    std::uint64_t half;
    std::memcpy(&half, id.bytes.data(), sizeof half);
    return half;
}

inline std::uint64_t low(Id const &id)
{
    std::uint64_t half;
    std::memcpy(&half, id.bytes.data() + sizeof half, sizeof half);
    return half;
}

inline Id idOf(std::uint64_t highHalf, std::uint64_t lowHalf)
{
    Id id;
    std::memcpy(id.bytes.data(), &highHalf, sizeof highHalf);
    std::memcpy(id.bytes.data() + sizeof highHalf, &lowHalf, sizeof lowHalf);
    return id;
}
} // namespace peers
