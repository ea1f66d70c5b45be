#include "support/alloccount.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__GLIBC__)
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

// Where a thread's variables are made by operator new, it cannot use them: there the counts are those of the process.
#if defined(_WIN32)
#define OKT_PER_THREAD
#else
#define OKT_PER_THREAD thread_local
#endif
OKT_PER_THREAD std::size_t s_allocations = 0;
OKT_PER_THREAD std::ptrdiff_t s_held = 0; // below 0 where memory of another thread was freed here
OKT_PER_THREAD std::ptrdiff_t s_peak = 0;
OKT_PER_THREAD std::size_t s_left = kNever;
OKT_PER_THREAD bool s_struck = false;

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

void *operator new(std::size_t size, std::nothrow_t const &) noexcept { return passes() ? std::malloc(size == 0 ? 1 : size) : nullptr; }

void operator delete(void *memory) noexcept { std::free(memory); }

void operator delete[](void *memory) noexcept { std::free(memory); }

void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }

void operator delete[](void *memory, std::size_t) noexcept { std::free(memory); }

#elif defined(__GLIBC__)

// Operator new ends here too, from inside the shared libraries: these must be seen by them.
extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_calloc(std::size_t count, std::size_t size);
extern "C" void *__libc_realloc(void *memory, std::size_t size);
extern "C" void __libc_free(void *memory);

namespace
{
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
    hold(malloc_usable_size(memory));
    release(moved);
    return memory;
}
} // namespace

extern "C" __attribute__((visibility("default"))) void *malloc(std::size_t size)
{
    return allocate([=](std::size_t &) { return __libc_malloc(size); });
}

extern "C" __attribute__((visibility("default"))) void *calloc(std::size_t count, std::size_t size)
{
    return allocate([=](std::size_t &) { return __libc_calloc(count, size); });
}

extern "C" __attribute__((visibility("default"))) void *realloc(void *memory, std::size_t size)
{
    std::size_t const before = malloc_usable_size(memory);
    return allocate([=](std::size_t &moved) {
        void *const grown = __libc_realloc(memory, size);
        // A block that stayed where it was is held once.
        if (grown == memory || (grown == nullptr && size == 0))
            release(before);
        else if (grown != nullptr)
            moved = before;
        return grown;
    });
}

extern "C" __attribute__((visibility("default"))) void free(void *memory)
{
    release(malloc_usable_size(memory));
    __libc_free(memory);
}

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

bool AllocationFault::struck() const { return s_struck; }
