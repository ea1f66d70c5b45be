// SPDX-License-Identifier: MIT
#pragma once

/// While one lives, the system's random source fails. Random bytes are drawn in batches for each thread, so that only a new
/// thread is sure to feel it.
class FailingRandom
{
public:
    FailingRandom();
    FailingRandom(FailingRandom const &) = delete;
    FailingRandom &operator=(FailingRandom const &) = delete;
    ~FailingRandom();
};

/// While one lives, the system's random source gives the same bytes each time. A new thread makes the same ids of them on every run.
/// Where the system makes the ids, they stay random.
class RepeatedRandom
{
public:
    RepeatedRandom();
    RepeatedRandom(RepeatedRandom const &) = delete;
    RepeatedRandom &operator=(RepeatedRandom const &) = delete;
    ~RepeatedRandom();
};
