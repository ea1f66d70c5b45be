// SPDX-License-Identifier: MIT
#pragma once

#include "stopwatch.h"

#include <benchmark/benchmark.h>

#include <cstdint>

#include <support/alloccount.h>

/// The column names of the JSON output, which scripts/bench turns into the table.
inline constexpr char const *kAllocations = "allocations_per_object";
inline constexpr char const *kNanoseconds = "ns_per_object";
inline constexpr char const *kBytes = "bytes_per_object";
inline constexpr char const *kMemcpyRatio = "times_memcpy";
inline constexpr char const *kCopyRatio = "times_copy";
inline constexpr char const *kGigabytes = "gigabytes_per_second";
inline constexpr char const *kPeerGigabytes = "peer_gigabytes_per_second";
