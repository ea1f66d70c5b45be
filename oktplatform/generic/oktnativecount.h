// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

/// The number of holders of a block of memory. Several threads may change it.
class OktHolderCount
{
public:
    /// Starts with that many holders.
    constexpr OktHolderCount(int count) : m_count(count) {} // NOLINT(google-explicit-constructor)

    /// Adds a holder.
    void add() { m_count.fetch_add(1, std::memory_order_relaxed); }
    /// Removes a holder. True: it was the last one.
    bool drop() { return m_count.fetch_sub(1, std::memory_order_acq_rel) == 1; }
    /// True: there is no other holder, so the memory may be written.
    bool isOne() const { return m_count.load(std::memory_order_acquire) == 1; }

private:
    std::atomic<int> m_count;
};
