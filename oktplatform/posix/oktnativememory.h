#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

// Not installed.

/// Calls `pages(begin, size)` for the whole pages of a block and gives what it answers; true where there are none.
template <typename F> auto OktForWholePages(void *memory, std::size_t size, F pages)
{
    auto const page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    auto const begin = (reinterpret_cast<std::uintptr_t>(memory) + page - 1) & ~(page - 1);
    auto const end = (reinterpret_cast<std::uintptr_t>(memory) + size) & ~(page - 1);
    return begin >= end || pages(reinterpret_cast<void *>(begin), end - begin);
}

/// Asks for large pages under a block that was just made, where the system has some. It is a wish: nothing tells its outcome.
inline void OktWishLargePages(void *memory, std::size_t size)
{
#if defined(MADV_HUGEPAGE)
    OktForWholePages(memory, size, [](void *begin, std::size_t length) { return madvise(begin, length, MADV_HUGEPAGE) == 0; });
#else
    static_cast<void>(memory);
    static_cast<void>(size);
#endif
}

/// Lets the system take the pages of a block for others when it runs short: what stands in them may become zeros at any time
/// until they are written again. False where the system knows no such thing.
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
