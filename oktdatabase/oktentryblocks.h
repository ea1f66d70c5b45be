// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

/// Memory for the entries of an OKTMap, in blocks of 8 to 512: an entry takes no call of the heap and has none of its overhead. The
/// blocks of a map are freed with its last entry. Copies of an allocator share the blocks, a copy of a map has its own. One thread
/// at a time.
///
/// For OKTMap alone, which is a template and so needs it here. With the heap in its place a load takes 7.7 % more instructions.
template <typename T> class OKTEntryAllocator
{
public:
    using value_type = T;
    using propagate_on_container_move_assignment = std::true_type;
    using propagate_on_container_swap = std::true_type;

    OKTEntryAllocator() = default;
    /// For other entries, so with blocks of its own.
    template <typename U>
    OKTEntryAllocator(OKTEntryAllocator<U> const &) // NOLINT(google-explicit-constructor): the standard asks for it
    {
    }

    /// Memory for `count` objects; only one at a time comes from the blocks. Throws std::bad_alloc.
    T *allocate(std::size_t count)
    {
        if (count != 1)
            return std::allocator<T>().allocate(count);
        if (m_blocks == nullptr)
            m_blocks = std::make_shared<Blocks>();
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

private:
    class Blocks
    {
    public:
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
            m_blocks.clear();
        }

    private:
        struct Place
        {
            Place *next;
        };
        union Entry
        {
            Place place;
            alignas(T) unsigned char bytes[sizeof(T)];
        };

        void *takeNew()
        {
            if (m_next == m_end)
            {
                std::size_t const size = std::size_t{8} << std::min<std::size_t>(m_blocks.size(), 6);
                m_blocks.reserve(m_blocks.size() + 1);
                m_blocks.emplace_back(new Entry[size]);
                m_next = m_blocks.back().get();
                m_end = m_next + size;
            }
            return m_next++;
        }

        std::vector<std::unique_ptr<Entry[]>> m_blocks;
        Entry *m_next = nullptr; // of the last block, what was never used
        Entry *m_end = nullptr;
        Place *m_free = nullptr; // what was given back
        std::size_t m_used = 0;
    };

    std::shared_ptr<Blocks> m_blocks;
};
