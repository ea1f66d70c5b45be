#pragma once

#include <cstddef>

/// What ids are made of. Not installed.
namespace OktPosix
{
/// Fills `target` from the system's random source. False: the source failed, the target is then of no use.
bool randomBytes(void *target, std::size_t size);

/// A number that is another one in a process forked since the last call. The first call arranges that.
unsigned int processGeneration();
} // namespace OktPosix
