// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

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

/// Which allocations of a thread fail.
enum class FaultKind
{
    Once,      ///< the one after `number` more, and no other
    FromThere, ///< that one and all behind it
    Large,     ///< each of at least `number` bytes
};

/// Lets allocations of this thread fail while it lives. Under a sanitizer only operator new can fail. One at a time.
class AllocationFault
{
public:
    explicit AllocationFault(std::size_t passed) : AllocationFault(FaultKind::Once, passed) {}
    AllocationFault(FaultKind kind, std::size_t number);
    AllocationFault(AllocationFault const &) = delete;
    AllocationFault &operator=(AllocationFault const &) = delete;
    ~AllocationFault();

    /// True once an allocation has failed.
    bool struck() const;
    /// The C allocator can fail too.
    static bool reachesCAllocator();
    /// Where the first allocation that failed was asked for, the innermost call first, as addresses in the file of this program
    /// that addr2line takes; empty where that cannot be told. Stays after the end of the fault.
    static std::string place();
};

/// Notes what this thread asks for between start and stop, as far as it can be made to fail: how often, and each size once. Takes
/// no memory for it.
class AllocationSizes
{
public:
    AllocationSizes() = default;
    AllocationSizes(AllocationSizes const &) = delete;
    AllocationSizes &operator=(AllocationSizes const &) = delete;
    ~AllocationSizes() { stop(); }

    /// Begins anew.
    void start();
    void stop();
    std::size_t count() const { return m_count; }
    /// The smallest first. Beyond the room, further sizes are left out.
    std::size_t const *begin() const { return m_sizes; }
    std::size_t const *end() const { return m_sizes + m_distinct; }
    /// Called for each allocation.
    void note(std::size_t size);

private:
    static constexpr std::size_t kRoom = 4096;

    std::size_t m_sizes[kRoom];
    std::size_t m_distinct = 0;
    std::size_t m_count = 0;
};

/// The blocks that this thread has asked for since this was made, and that nobody on this thread has freed. Takes no memory for it.
/// One at a time, and where the C allocator cannot be watched, none.
class LiveBlocks
{
public:
    LiveBlocks();
    LiveBlocks(LiveBlocks const &) = delete;
    LiveBlocks &operator=(LiveBlocks const &) = delete;
    ~LiveBlocks();

    struct Block
    {
        void *memory;
        std::size_t size;
    };
    /// Their number.
    std::size_t count() const;
    /// Any of those that `isWanted` accepts, or one without memory.
    Block find(bool (*isWanted)(Block const &)) const;
    /// False once there were more at a time than there is room for.
    bool isComplete() const;
};
