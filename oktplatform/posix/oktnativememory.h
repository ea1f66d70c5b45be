// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

// Not installed.

/// The sanitizer of addresses is on: it tells of blocks of the heap that are used behind their end.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kOktFindsUseAfterEnd = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kOktFindsUseAfterEnd = true;
#else
inline constexpr bool kOktFindsUseAfterEnd = false;
#endif
#else
inline constexpr bool kOktFindsUseAfterEnd = false;
#endif

/// Calls `pages(begin, size)` for the whole pages within a block and returns its result, or true if there are none.
template <typename F> auto OktForWholePages(void *memory, std::size_t size, F pages)
{
    auto const page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    auto const begin = (reinterpret_cast<std::uintptr_t>(memory) + page - 1) & ~(page - 1);
    auto const end = (reinterpret_cast<std::uintptr_t>(memory) + size) & ~(page - 1);
    return begin >= end || pages(reinterpret_cast<void *>(begin), end - begin);
}

/// Asks the system for large pages under a new block. The outcome is not reported.
inline void OktWishLargePages(void *memory, std::size_t size)
{
#if defined(MADV_HUGEPAGE)
    OktForWholePages(memory, size, [](void *begin, std::size_t length) { return madvise(begin, length, MADV_HUGEPAGE) == 0; });
#else
    static_cast<void>(memory);
    static_cast<void>(size);
#endif
}

/// Gives the pages of a block to the system, which forgets their bytes. The outcome is not reported.
inline void OktDropPages(void *memory, std::size_t size)
{
    OktForWholePages(memory, size, [](void *begin, std::size_t length) { return madvise(begin, length, MADV_DONTNEED) == 0; });
}

/// Lets the system take back the pages of a block when memory is short: until they are written again, their bytes may become zero at
/// any time. False: the system cannot do this.
inline bool OktLendPages(void *memory, std::size_t size)
{
#if defined(MADV_FREE)
    return OktForWholePages(memory, size,
                            [](void *begin, std::size_t length) { return madvise(begin, length, MADV_FREE) == 0; });
#else
    static_cast<void>(memory);
    static_cast<void>(size);
    return false;
#endif
}
