// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <vector>

/// Seconds of processor time of this thread, the system's share included: what else runs on the machine disturbs them least.
/// Where the system has no such clock, seconds of a clock on the wall.
inline double secondsNow()
{
#if defined(CLOCK_THREAD_CPUTIME_ID)
    std::timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
#else
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
#endif
}

/// Times what is given to it, apart from everything around it, and keeps the median. The benchmarks time by hand, because what
/// surrounds a load (a fresh pool, the end of the last one) costs as much as the load.
class Stopwatch
{
public:
    /// The time of the call in seconds.
    template <typename F> double time(F call)
    {
        double const begin = secondsNow();
        call();
        m_seconds.push_back(secondsNow() - begin);
        return m_seconds.back();
    }

    void add(double seconds) { m_seconds.push_back(seconds); }

    double median() const
    {
        std::vector<double> sorted = m_seconds;
        auto const middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
        std::nth_element(sorted.begin(), middle, sorted.end());
        return *middle;
    }

private:
    std::vector<double> m_seconds;
};

/// What lies at `place` counts as used and as changed: the compiler leaves out nothing that was done to it.
inline void keep(void const *place) { asm volatile("" : : "r"(place) : "memory"); }
