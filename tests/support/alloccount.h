#pragma once

#include <cstddef>

/// Counts the allocations of this thread, by operator new and by the C allocator, from its making on.
class AllocationCount
{
public:
    AllocationCount();
    std::size_t count() const;

private:
    std::size_t m_before;
};

/// The most memory that this thread held at once beyond what it held when this was made. A block that moves while it grows counts
/// twice at that moment. Where the C allocator cannot be watched, 0. One at a time.
class PeakMemory
{
public:
    PeakMemory();
    std::size_t bytes() const;

private:
    std::ptrdiff_t m_before;
};

/// Lets one allocation of this thread fail: the one after `passed` more. Under a sanitizer only operator new can fail.
class AllocationFault
{
public:
    explicit AllocationFault(std::size_t passed);
    AllocationFault(AllocationFault const &) = delete;
    AllocationFault &operator=(AllocationFault const &) = delete;
    ~AllocationFault();

    /// True once the allocation has failed.
    bool struck() const;
    /// The C allocator can fail too.
    static bool reachesCAllocator();
};
