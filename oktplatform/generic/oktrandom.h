// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

/// The random bytes of new ids. Not installed.
namespace OktSystem
{
/// Fills `target` from the random source of the back end. False: the source failed, and the bytes must not be used.
bool randomBytes(void *target, std::size_t size);

/// A number that changes when the process forks. Where the back end cannot see forks, it changes with each call: random bytes must
/// not be kept then.
unsigned int processGeneration();

/// The number of ids whose bytes are drawn in one call.
std::size_t idsPerDraw();

/// The largest value of idsPerDraw.
inline constexpr std::size_t kMostIdsPerDraw = 256;
} // namespace OktSystem
