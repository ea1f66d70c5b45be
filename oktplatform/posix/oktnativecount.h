// SPDX-License-Identifier: MIT
#pragma once

#if __has_include(<ext/atomicity.h>)
#include <ext/atomicity.h>

/// The number of holders of a block of memory. Several threads may change it. libstdc++ knows whether the process has one thread, and
/// counts without locked instructions then.
class OktHolderCount
{
public:
    /// Starts with that many holders.
    constexpr OktHolderCount(int count) : m_count(count) {} // NOLINT(google-explicit-constructor)

    /// Adds a holder.
    void add() { __gnu_cxx::__atomic_add_dispatch(&m_count, 1); }
    /// Removes a holder. True: it was the last one.
    bool drop() { return __gnu_cxx::__exchange_and_add_dispatch(&m_count, -1) == 1; }
    /// True: there is no other holder, so the memory may be written.
    bool isOne() const { return __atomic_load_n(&m_count, __ATOMIC_ACQUIRE) == 1; }

private:
    _Atomic_word m_count;
};
#else
#include <oktplatform/generic/oktnativecount.h>
#endif
