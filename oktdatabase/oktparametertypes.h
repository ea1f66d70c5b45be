// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbparameter.h>

#include <array>
#include <iterator>

// What the type number of a parameter decides about its value. Not installed.

inline constexpr ParamType kQuantityExpression = 39;

// The types that are lengths.
inline constexpr unsigned int kLengthTypes[] = {0,  6,  10, 14, 16, 17, 20, 23, 25, 26, 30, 31, 33, 34, 35, 37, 42, 43, 44,
                                                49, 50, 54, 55, 58, 59, 60, 64, 65, 66, 67, 68, 70, 72, 75, 79, 80, 81};
static_assert(std::size(kLengthTypes) == 37);
inline constexpr auto kIsLength = [] {
    std::array<bool, 82> isLength = {};
    for (unsigned int const type : kLengthTypes)
        isLength[type] = true;
    return isLength;
}();

inline bool OktIsLengthType(ParamType type)
{
    auto const number = static_cast<unsigned int>(type); // one below 0 lies beyond the end
    return number < kIsLength.size() && kIsLength[number];
}
