#if !defined(_WIN32) // where the system makes the ids, its source cannot be made to fail

#include "support/failingrandom.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace
{
std::atomic<bool> g_fails{false};
}

/// Takes the place of the function of the C library for the whole test program.
extern "C" ssize_t getrandom(void *target, std::size_t size, unsigned int flags)
{
    if (g_fails.load())
    {
        errno = ENOSYS;
        return -1;
    }
    return static_cast<ssize_t>(syscall(SYS_getrandom, target, size, flags));
}

FailingRandom::FailingRandom() { g_fails = true; }

FailingRandom::~FailingRandom() { g_fails = false; }

#endif
