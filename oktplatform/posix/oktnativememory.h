#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

// Not installed.

/// Asks for large pages under a block that was just made, where the system has some. It is a wish: nothing tells its outcome.
inline void OktWishLargePages(void *memory, std::size_t size)
{
#if defined(MADV_HUGEPAGE)
    auto const page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    auto const begin = (reinterpret_cast<std::uintptr_t>(memory) + page - 1) & ~(page - 1);
    auto const end = (reinterpret_cast<std::uintptr_t>(memory) + size) & ~(page - 1);
    if (begin < end)
        madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
#else
    static_cast<void>(memory);
    static_cast<void>(size);
#endif
}
