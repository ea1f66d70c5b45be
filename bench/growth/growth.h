// SPDX-License-Identifier: MIT
#pragma once

#include "../report.h"
#include "../samplefile.h"
#include "../samplepool.h"

#include <oktdatabase/oktdatabase.h>

#include <functional>
#include <memory>
#include <vector>

/// What is timed. Answers how many steps that were: the calls made, or the objects, values or bytes of an operation on a whole.
using Run = std::function<long long()>;

/// An operation in a surrounding of `size` objects, values or bytes, which `prepare` makes outside the time. A run may use it up.
struct GrowthCase
{
    char const *subject;
    char const *operation;
    std::function<Run(int size)> prepare;
    /// Why one step has to take longer among many, where it does: what forces a search, and through what.
    char const *reason = nullptr;
};

std::vector<GrowthCase> poolCases();
std::vector<GrowthCase> memoryFilerCases();
std::vector<GrowthCase> byteFilerCases();
std::vector<GrowthCase> xmlFilerCases();

constexpr int kCalls = 20'000; ///< of an operation that leaves its surrounding as it is
constexpr int kFewCalls = 20;  ///< of one that searches

/// Calls `call(i)` that often. It answers whether it was done.
template <typename F> long long repeat(int times, F call)
{
    for (int i = 0; i < times; ++i)
        demand(call(i), "a step");
    return times;
}
