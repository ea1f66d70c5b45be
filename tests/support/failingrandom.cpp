// SPDX-License-Identifier: MIT
#include "support/failingrandom.h"

#if defined(_WIN32) // where the system makes the ids, nothing stands in for its source

RepeatedRandom::RepeatedRandom() = default;

RepeatedRandom::~RepeatedRandom() = default;

#else

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <random>

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace
{
std::atomic<bool> g_fails{false};
std::atomic<bool> g_isRepeated{false};
std::minstd_rand g_sequence;
} // namespace

/// Takes the place of the function of the C library for the whole test program.
extern "C" ssize_t getrandom(void *target, std::size_t size, unsigned int flags)
{
    if (g_fails.load())
    {
        errno = ENOSYS;
        return -1;
    }
    if (g_isRepeated.load())
    {
        auto *const bytes = static_cast<unsigned char *>(target);
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<unsigned char>(g_sequence() >> 8);
        return static_cast<ssize_t>(size);
    }
    return static_cast<ssize_t>(syscall(SYS_getrandom, target, size, flags));
}

FailingRandom::FailingRandom() { g_fails = true; }

FailingRandom::~FailingRandom() { g_fails = false; }

RepeatedRandom::RepeatedRandom()
{
    g_sequence.seed(20250101);
    g_isRepeated = true;
}

RepeatedRandom::~RepeatedRandom() { g_isRepeated = false; }

#endif
