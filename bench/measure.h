#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

#include <support/alloccount.h>

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

/// The column names of the JSON output, which scripts/bench turns into the table.
inline constexpr char const *kAllocations = "allocations_per_object";
inline constexpr char const *kNanoseconds = "ns_per_object";
inline constexpr char const *kBytes = "bytes_per_object";
inline constexpr char const *kMemcpyRatio = "times_memcpy";
inline constexpr char const *kCopyRatio = "times_copy";
inline constexpr char const *kGigabytes = "gigabytes_per_second";
inline constexpr char const *kPeerGigabytes = "peer_gigabytes_per_second";
