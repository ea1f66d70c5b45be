// SPDX-License-Identifier: MIT
#include "support/alloccount.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

#if defined(__GLIBC__) || defined(_WIN32)
#include <malloc.h>
#endif
#if defined(__GLIBC__)
#include <execinfo.h>
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OKT_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define OKT_TEST_SANITIZED 1
#endif
#endif

namespace
{
constexpr std::size_t kNever = static_cast<std::size_t>(-1);

thread_local std::size_t s_allocations = 0;
thread_local std::ptrdiff_t s_held = 0; // below 0 where memory of another thread was freed here
thread_local std::ptrdiff_t s_peak = 0;
thread_local FaultKind s_kind = FaultKind::Once;
thread_local std::size_t s_left = kNever;
thread_local std::size_t s_least = kNever;
thread_local bool s_struck = false;
thread_local AllocationSizes *s_sizes = nullptr;
thread_local bool s_isTracking = false;

// --- The place of a fault ----------------------------------------------------------------------------------------------------

#if defined(__GLIBC__)
constexpr int kFrames = 24;
constexpr int kOwnFrames = 2; // of this source
thread_local void *s_frames[kFrames];
thread_local int s_frameCount = 0;

void notePlace() { s_frameCount = backtrace(s_frames, kFrames); }
#else
void notePlace() {}
#endif

// --- Blocks ------------------------------------------------------------------------------------------------------------------

// By their addresses, each as near behind its place as there was room. Only the thread of the LiveBlocks comes here.
constexpr std::size_t kPlaces = 1 << 17;
constexpr std::size_t kMostBlocks = kPlaces / 4 * 3;
LiveBlocks::Block s_blocks[kPlaces];
std::size_t s_blockCount = 0;
bool s_isFull = false;

std::size_t placeOf(void const *memory)
{
    return (reinterpret_cast<std::uintptr_t>(memory) >> 4) * 0x9E3779B97F4A7C15u >> 40 & (kPlaces - 1);
}

[[maybe_unused]] void track(void *memory, std::size_t size)
{
    if (!s_isTracking || memory == nullptr)
        return;
    s_isFull = s_isFull || s_blockCount == kMostBlocks;
    if (s_isFull)
        return;
    std::size_t place = placeOf(memory);
    while (s_blocks[place].memory != nullptr)
        place = (place + 1) % kPlaces;
    s_blocks[place] = {memory, size};
    ++s_blockCount;
}

[[maybe_unused]] void forget(void const *memory)
{
    if (!s_isTracking || memory == nullptr)
        return;
    std::size_t place = placeOf(memory);
    while (s_blocks[place].memory != memory)
    {
        if (s_blocks[place].memory == nullptr)
            return;
        place = (place + 1) % kPlaces;
    }
    --s_blockCount;
    // Those behind it move up, as far as they may.
    for (std::size_t next = (place + 1) % kPlaces; s_blocks[next].memory != nullptr; next = (next + 1) % kPlaces)
    {
        std::size_t const wanted = placeOf(s_blocks[next].memory);
        if ((next - wanted) % kPlaces < (next - place) % kPlaces)
            continue;
        s_blocks[place] = s_blocks[next];
        place = next;
    }
    s_blocks[place] = {};
}

// --- Counts ------------------------------------------------------------------------------------------------------------------

[[maybe_unused]] void hold(std::size_t size)
{
    s_held += static_cast<std::ptrdiff_t>(size);
    if (s_held > s_peak)
        s_peak = s_held;
}

[[maybe_unused]] void release(std::size_t size) { s_held -= static_cast<std::ptrdiff_t>(size); }

bool isDue(std::size_t size)
{
    if (size >= s_least)
        return true;
    if (s_left == kNever || s_left-- != 0)
        return false;
    s_left = s_kind == FaultKind::Once ? kNever : 0;
    return true;
}

/// False when this allocation has to fail.
bool passes(std::size_t size)
{
    if (s_sizes != nullptr)
        s_sizes->note(size);
    if (!isDue(size))
        return true;
    if (!s_struck)
        notePlace();
    s_struck = true;
    return false;
}
} // namespace

#if defined(OKT_TEST_SANITIZED)

// The sanitizer owns the C allocator and tells of its calls.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(void const volatile *, std::size_t),
                                                         void (*freed)(void const volatile *));
extern "C" std::size_t __sanitizer_get_allocated_size(void const volatile *memory);

namespace
{
void noteAllocation(void const volatile *memory, std::size_t size)
{
    ++s_allocations;
    hold(size);
    track(const_cast<void *>(memory), size);
}

void noteFree(void const volatile *memory)
{
    forget(const_cast<void const *>(memory));
    if (memory != nullptr)
        release(__sanitizer_get_allocated_size(memory));
}

int const s_hooks = __sanitizer_install_malloc_and_free_hooks(noteAllocation, noteFree);

void *allocate(std::size_t size)
{
    static_cast<void>(s_hooks);
    void *const memory = passes(size) ? std::malloc(size == 0 ? 1 : size) : nullptr;
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
} // namespace

void *operator new(std::size_t size) { return allocate(size); }

void *operator new[](std::size_t size) { return allocate(size); }

void *operator new(std::size_t size, std::nothrow_t const &) noexcept
{
    return passes(size) ? std::malloc(size == 0 ? 1 : size) : nullptr;
}

void operator delete(void *memory) noexcept { std::free(memory); }

void operator delete[](void *memory) noexcept { std::free(memory); }

void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }

void operator delete[](void *memory, std::size_t) noexcept { std::free(memory); }

#elif defined(__GLIBC__) || defined(_WIN32)

#if defined(_WIN32)
// The linker leads every call of this program's own objects here. What the shared libraries ask for on their own account is not
// seen, oleaut32's strings and arrays among it.
#define OKT_SEEN
#define OKT_TAKEN(name) __wrap_##name
#define OKT_REAL(name) __real_##name
#else
// Operator new ends here too, from inside the shared libraries: these must be seen by them.
#define OKT_SEEN __attribute__((visibility("default")))
#define OKT_TAKEN(name) name
#define OKT_REAL(name) __libc_##name
#endif

extern "C" void *OKT_REAL(malloc)(std::size_t size);
extern "C" void *OKT_REAL(calloc)(std::size_t count, std::size_t size);
extern "C" void *OKT_REAL(realloc)(void *memory, std::size_t size);
extern "C" void OKT_REAL(free)(void *memory);

namespace
{
std::size_t sizeOf(void *memory)
{
#if defined(_WIN32)
    return memory == nullptr ? 0 : _msize(memory);
#else
    return malloc_usable_size(memory);
#endif
}

template <typename Call> void *allocate(std::size_t size, Call call)
{
    ++s_allocations;
    if (!passes(size))
    {
        errno = ENOMEM;
        return nullptr;
    }
    std::size_t moved = 0; // of a block that was given up for this one, behind the moment when both were held
    void *const memory = call(moved);
    hold(sizeOf(memory));
    release(moved);
    track(memory, size);
    return memory;
}
} // namespace

extern "C" OKT_SEEN void *OKT_TAKEN(malloc)(std::size_t size)
{
    return allocate(size, [=](std::size_t &) { return OKT_REAL(malloc)(size); });
}

extern "C" OKT_SEEN void *OKT_TAKEN(calloc)(std::size_t count, std::size_t size)
{
    return allocate(count * size, [=](std::size_t &) { return OKT_REAL(calloc)(count, size); });
}

extern "C" OKT_SEEN void *OKT_TAKEN(realloc)(void *memory, std::size_t size)
{
    std::size_t const before = sizeOf(memory);
    return allocate(size, [=](std::size_t &moved) {
        void *const grown = OKT_REAL(realloc)(memory, size);
        if (grown != nullptr || size == 0)
            forget(memory);
        // A block that stayed where it was is held once.
        if (grown == memory || (grown == nullptr && size == 0))
            release(before);
        else if (grown != nullptr)
            moved = before;
        return grown;
    });
}

extern "C" OKT_SEEN void OKT_TAKEN(free)(void *memory)
{
    forget(memory);
    release(sizeOf(memory));
    OKT_REAL(free)(memory);
}

#if defined(_WIN32)
namespace
{
void *allocateNew(std::size_t size)
{
    void *const memory = OKT_TAKEN(malloc)(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
} // namespace

void *operator new(std::size_t size) { return allocateNew(size); }

void *operator new[](std::size_t size) { return allocateNew(size); }

void operator delete(void *memory) noexcept { OKT_TAKEN(free)(memory); }

void operator delete[](void *memory) noexcept { OKT_TAKEN(free)(memory); }

void operator delete(void *memory, std::size_t) noexcept { OKT_TAKEN(free)(memory); }

void operator delete[](void *memory, std::size_t) noexcept { OKT_TAKEN(free)(memory); }
#endif

#else

// Operator new alone can be watched, and only where this program calls it.
namespace
{
void *allocate(std::size_t size)
{
    ++s_allocations;
    void *const memory = passes(size) ? std::malloc(size == 0 ? 1 : size) : nullptr;
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
} // namespace

void *operator new(std::size_t size) { return allocate(size); }

void *operator new[](std::size_t size) { return allocate(size); }

void operator delete(void *memory) noexcept { std::free(memory); }

void operator delete[](void *memory) noexcept { std::free(memory); }

void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }

void operator delete[](void *memory, std::size_t) noexcept { std::free(memory); }

#endif

AllocationCount::AllocationCount() : m_before(s_allocations) {}

std::size_t AllocationCount::count() const { return s_allocations - m_before; }

PeakMemory::PeakMemory() : m_before(s_held) { s_peak = s_held; }

std::size_t PeakMemory::bytes() const { return static_cast<std::size_t>(s_peak - m_before); }

AllocationFault::AllocationFault(FaultKind kind, std::size_t number)
{
    notePlace(); // as in LiveBlocks
    s_struck = false;
    s_kind = kind;
    (kind == FaultKind::Large ? s_least : s_left) = number;
}

AllocationFault::~AllocationFault() { s_least = s_left = kNever; }

bool AllocationFault::reachesCAllocator()
{
#if defined(OKT_TEST_SANITIZED)
    return false;
#else
    return true;
#endif
}

bool AllocationFault::struck() const { return s_struck; }

#if defined(__GLIBC__)
extern "C" char const __executable_start;
extern "C" char const _end;

std::string AllocationFault::place()
{
    std::string text;
    for (int i = kOwnFrames; i < s_frameCount; ++i)
    {
        if (s_frames[i] < &__executable_start || s_frames[i] > &_end)
            continue; // of a library
        char address[32];
        std::snprintf(address, sizeof address, " 0x%zx",
                      static_cast<std::size_t>(static_cast<char const *>(s_frames[i]) - &__executable_start - 1));
        text += address;
    }
    return text;
}
#else
std::string AllocationFault::place() { return {}; }
#endif

void AllocationSizes::start()
{
    m_distinct = m_count = 0;
    s_sizes = this;
}

void AllocationSizes::stop() { s_sizes = nullptr; }

void AllocationSizes::note(std::size_t size)
{
    ++m_count;
    std::size_t *const end = m_sizes + m_distinct;
    std::size_t *const place = std::lower_bound(m_sizes, end, size);
    if (m_distinct == kRoom || (place != end && *place == size))
        return;
    std::copy_backward(place, end, end + 1);
    *place = size;
    ++m_distinct;
}

LiveBlocks::LiveBlocks()
{
    notePlace(); // the first call asks for memory itself, and keeps it
    std::fill_n(s_blocks, s_blockCount == 0 && !s_isFull ? 0 : kPlaces, Block{});
    s_blockCount = 0;
    s_isFull = false;
    s_isTracking = true;
}

LiveBlocks::~LiveBlocks() { s_isTracking = false; }

std::size_t LiveBlocks::count() const { return s_blockCount; }

LiveBlocks::Block LiveBlocks::find(bool (*isWanted)(Block const &)) const
{
    if (s_blockCount == 0)
        return {};
    Block const *const found = std::find_if(s_blocks, s_blocks + kPlaces,
                                            [&](Block const &block) { return block.memory != nullptr && isWanted(block); });
    return found == s_blocks + kPlaces ? Block{} : *found;
}

bool LiveBlocks::isComplete() const { return !s_isFull; }
