#include "support/alloccount.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__GLIBC__) || defined(_WIN32)
#include <malloc.h>
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
thread_local std::size_t s_left = kNever;
thread_local bool s_struck = false;

[[maybe_unused]] void hold(std::size_t size)
{
    s_held += static_cast<std::ptrdiff_t>(size);
    if (s_held > s_peak)
        s_peak = s_held;
}

[[maybe_unused]] void release(std::size_t size) { s_held -= static_cast<std::ptrdiff_t>(size); }

/// False when this allocation has to fail.
bool passes()
{
    if (s_left == kNever)
        return true;
    if (s_left-- != 0)
        return true;
    s_left = kNever;
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
void noteAllocation(void const volatile *, std::size_t size)
{
    ++s_allocations;
    hold(size);
}

void noteFree(void const volatile *memory)
{
    if (memory != nullptr)
        release(__sanitizer_get_allocated_size(memory));
}

int const s_hooks = __sanitizer_install_malloc_and_free_hooks(noteAllocation, noteFree);

void *allocate(std::size_t size)
{
    static_cast<void>(s_hooks);
    void *const memory = passes() ? std::malloc(size == 0 ? 1 : size) : nullptr;
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
} // namespace

void *operator new(std::size_t size) { return allocate(size); }

void *operator new[](std::size_t size) { return allocate(size); }

void *operator new(std::size_t size, std::nothrow_t const &) noexcept
{
    return passes() ? std::malloc(size == 0 ? 1 : size) : nullptr;
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

template <typename Call> void *allocate(Call call)
{
    ++s_allocations;
    if (!passes())
    {
        errno = ENOMEM;
        return nullptr;
    }
    std::size_t moved = 0; // of a block that was given up for this one, behind the moment when both were held
    void *const memory = call(moved);
    hold(sizeOf(memory));
    release(moved);
    return memory;
}
} // namespace

extern "C" OKT_SEEN void *OKT_TAKEN(malloc)(std::size_t size)
{
    return allocate([=](std::size_t &) { return OKT_REAL(malloc)(size); });
}

extern "C" OKT_SEEN void *OKT_TAKEN(calloc)(std::size_t count, std::size_t size)
{
    return allocate([=](std::size_t &) { return OKT_REAL(calloc)(count, size); });
}

extern "C" OKT_SEEN void *OKT_TAKEN(realloc)(void *memory, std::size_t size)
{
    std::size_t const before = sizeOf(memory);
    return allocate([=](std::size_t &moved) {
        void *const grown = OKT_REAL(realloc)(memory, size);
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
    void *const memory = passes() ? std::malloc(size == 0 ? 1 : size) : nullptr;
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

AllocationFault::AllocationFault(std::size_t passed)
{
    s_struck = false;
    s_left = passed;
}

AllocationFault::~AllocationFault() { s_left = kNever; }

bool AllocationFault::reachesCAllocator()
{
#if defined(OKT_TEST_SANITIZED)
    return false;
#else
    return true;
#endif
}

bool AllocationFault::struck() const { return s_struck; }
