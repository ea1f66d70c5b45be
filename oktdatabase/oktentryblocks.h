// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarenapiece.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

/// Blocks of 8 to 512 entries of one size, for OKTEntryAllocator.
class OKTEntryBlocks
{
public:
    /// `size` is that of an entry, in bytes.
    explicit OKTEntryBlocks(std::size_t size) : m_size(std::max(size, sizeof(Place))) {}
    OKTEntryBlocks(OKTEntryBlocks const &) = delete;
    OKTEntryBlocks &operator=(OKTEntryBlocks const &) = delete;
    ~OKTEntryBlocks() { endBlocks(); }

    /// That size.
    std::size_t entrySize() const { return m_size; }
    /// Memory for one entry, and its end. The blocks are freed with the last one. Taking throws std::bad_alloc.
    void *take()
    {
        void *const place = m_free != nullptr ? std::exchange(m_free, m_free->next) : takeNew();
        ++m_used;
        return place;
    }
    void giveBack(void *entry) noexcept
    {
        m_free = new (entry) Place{m_free};
        if (--m_used > 0)
            return;
        m_free = nullptr;
        m_next = m_end = nullptr;
        endBlocks();
    }
    /// The next entry needs a further block.
    bool isFull() const { return m_next == m_end && m_free == nullptr; }
    /// Takes over a piece of an arena of so many bytes as that block, after a call of prepareToAdd, which throws std::bad_alloc.
    void prepareToAdd()
    {
        if (m_blocks.size() == m_blocks.capacity())
            m_blocks.reserve(2 * m_blocks.size() + 1);
    }
    void add(void *piece, std::size_t bytes) noexcept
    {
        m_blocks.push_back({static_cast<unsigned char *>(piece), bytes / m_size});
        m_next = m_blocks.back().memory;
        m_end = m_next + m_blocks.back().count * m_size;
    }

    /// How many entries are in use.
    std::size_t count() const { return m_used; }
    /// The place of that byte within its entry; below 0 when it is in no block.
    std::ptrdiff_t offsetInEntry(void const *byte) const
    {
        auto const *const place = static_cast<unsigned char const *>(byte);
        for (std::size_t i = m_blocks.size(); i-- > 0;)
        {
            unsigned char const *const begin = m_blocks[i].memory;
            if (std::less_equal<>()(begin, place) && std::less<>()(place, begin + m_blocks[i].count * m_size))
                return (place - begin) % static_cast<std::ptrdiff_t>(m_size);
        }
        return -1;
    }
    /// Calls `each(entry)` for the entries in use, in the order in which they lie in memory. False, and nothing is called: so many
    /// were given back that this would take more memory than the entries in use. Throws std::bad_alloc, likewise before any call.
    template <typename F> bool forEach(F each) const
    {
        std::vector<void const *> unused;
        for (Place const *place = m_free; place != nullptr; place = place->next)
        {
            if (unused.size() >= m_used)
                return false;
            unused.push_back(place);
        }
        std::sort(unused.begin(), unused.end(), std::less<>());
        for (Block const &block : m_blocks)
        {
            unsigned char *const begin = block.memory;
            unsigned char *const end = &block == &m_blocks.back() ? m_next : begin + block.count * m_size;
            auto skipped = std::lower_bound(unused.begin(), unused.end(), static_cast<void const *>(begin), std::less<>());
            for (unsigned char *entry = begin; entry != end; entry += m_size)
                if (skipped != unused.end() && *skipped == entry)
                    ++skipped;
                else
                    each(static_cast<void *>(entry));
        }
        return true;
    }

private:
    struct Place
    {
        Place *next;
    };

    struct Block
    {
        unsigned char *memory;
        std::size_t count; // of entries
    };

    void endBlocks() noexcept
    {
        for (Block const &block : m_blocks)
            if (OktIsInArena(block.memory))
                OktFreeInArena(block.memory);
            else
                delete[] block.memory;
        m_blocks.clear();
    }
    void *takeNew()
    {
        if (m_next == m_end)
        {
            std::size_t const count = std::size_t{8} << std::min<std::size_t>(m_blocks.size(), 6);
            prepareToAdd();
            m_blocks.push_back({new unsigned char[count * m_size], count});
            m_next = m_blocks.back().memory;
            m_end = m_next + count * m_size;
        }
        return std::exchange(m_next, m_next + m_size);
    }

    std::vector<Block> m_blocks;
    unsigned char *m_next = nullptr; // of the last block, what was never used
    unsigned char *m_end = nullptr;
    Place *m_free = nullptr; // what was given back
    std::size_t m_used = 0;
    std::size_t m_size;
};

/// Memory for the entries of an OKTMap, in blocks: an entry takes no call of the heap and has none of its overhead. The blocks of a map
/// are freed with its last entry. Copies of an allocator share the blocks, a copy of a map has its own. One thread at a time.
///
/// For OKTMap alone, which is a template and so needs it here. With the heap in its place a load takes 7.7 % more instructions.
template <typename T> class OKTEntryAllocator
{
public:
    using value_type = T;
    using propagate_on_container_move_assignment = std::true_type;
    using propagate_on_container_swap = std::true_type;

    OKTEntryAllocator() = default;
    /// For entries of another size, which get blocks of their own. It still knows those of the other.
    template <typename U>
    OKTEntryAllocator(OKTEntryAllocator<U> const &other) // NOLINT(google-explicit-constructor): the standard asks for it
        : m_blocks(other.m_blocks)
    {
    }

    /// Memory for `count` objects; only one at a time comes from the blocks. Throws std::bad_alloc.
    T *allocate(std::size_t count)
    {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__ && sizeof(T) % alignof(T) == 0);
        if (count != 1)
            return std::allocator<T>().allocate(count);
        if (m_blocks == nullptr || m_blocks->entrySize() != sizeof(T))
            m_blocks = std::make_shared<OKTEntryBlocks>(sizeof(T));
        return static_cast<T *>(m_blocks->take());
    }
    /// Gives back what allocate returned for the same count.
    void deallocate(T *entry, std::size_t count) noexcept
    {
        if (count != 1)
            std::allocator<T>().deallocate(entry, count);
        else
            m_blocks->giveBack(entry);
    }
    /// A copy of a container has blocks of its own.
    OKTEntryAllocator select_on_container_copy_construction() const { return {}; }
    /// Memory of one can be given back to the other.
    bool operator==(OKTEntryAllocator const &other) const { return m_blocks == other.m_blocks; }

    /// The blocks, or null.
    OKTEntryBlocks *blocks() const { return m_blocks.get(); }

private:
    template <typename U> friend class OKTEntryAllocator;

    std::shared_ptr<OKTEntryBlocks> m_blocks;
};
