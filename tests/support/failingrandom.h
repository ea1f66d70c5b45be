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
