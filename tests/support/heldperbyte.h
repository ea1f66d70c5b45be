// SPDX-License-Identifier: MIT
#pragma once

#include "support/alloccount.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

/// What a reader may hold beyond its input, whatever the input says: some memory for itself, and a multiple of the input.
/// docs/reliability.md has the same numbers.
inline constexpr std::size_t kHeldByItself = 64 * 1024;

/// Runs the reader and expects of the most memory that it held at once no more than `multiple` bytes for each byte of its input.
template <typename Read> void expectHeld(char const *what, std::size_t input, double multiple, Read read)
{
    PeakMemory const peak;
    read();
    std::size_t const held = peak.bytes();
    double const each = static_cast<double>(held) / static_cast<double>(input);
    testing::Test::RecordProperty(what, std::to_string(held) + " of " + std::to_string(input));
    EXPECT_LE(static_cast<double>(held), static_cast<double>(kHeldByItself) + multiple * static_cast<double>(input))
        << what << ": " << held << " bytes for an input of " << input << ", " << each << " for each";
}
