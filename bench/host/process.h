// SPDX-License-Identifier: MIT
#pragma once

#include "../stopwatch.h"
#include "hostcase.h"

#include <sys/resource.h>

#include <fstream>
#include <string>

/// A number of bytes that the system keeps of this process, by its name there.
inline double bytesOfProcess(char const *name)
{
    std::ifstream status("/proc/self/status");
    std::string word;
    double kilobytes = 0.0;
    while (status >> word)
        if (word == name && status >> kilobytes)
            return kilobytes * 1024.0;
    return 0.0;
}

inline double pageFaults()
{
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_minflt);
}

/// Lets the most that the process has held count from now on.
inline void forgetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

/// Measures the first time of a call, and what the process held in it. What the call makes has to live on.
template <typename F> HostFigures measureFirst(F call)
{
    HostFigures figures;
    forgetPeak();
    double const faults = pageFaults();
    double const begin = secondsNow();
    call();
    figures.first = secondsNow() - begin;
    figures.faults = pageFaults() - faults;
    figures.peak = bytesOfProcess("VmHWM:") - bytesOfProcess("VmRSS:");
    return figures;
}

/// The first time of a call, then the median of `turns` more.
template <typename F> HostFigures measureFirstAndLater(int turns, F call)
{
    HostFigures figures = measureFirst(call);
    Stopwatch watch;
    for (int i = 0; i < turns; ++i)
        watch.time(call);
    figures.later = watch.median();
    return figures;
}

inline int hostTurns(int count) { return count >= 1'000'000 ? 5 : count >= 100'000 ? 9 : count >= 10'000 ? 31 : 301; }
