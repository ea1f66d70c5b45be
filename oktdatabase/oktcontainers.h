// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktentryblocks.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

class OKTDbObject;
class OKTDbObjectId;

/// A list by index, a thin layer on the standard vector. ARG is how an element is passed, as a rule T const &. Indexes count
/// from 0; `at` with an index outside the list throws std::out_of_range. Search begins at index `start`.
template <typename T, typename ARG> class OKTArray
{
public:
    OKTArray() = default;
    OKTArray(OKTArray const &) = default;
    OKTArray(OKTArray &&) noexcept = default;
    OKTArray &operator=(OKTArray const &) = default;
    OKTArray &operator=(OKTArray &&) noexcept = default;
    virtual ~OKTArray() = default;

    /// The number of elements.
    int getSize() const { return static_cast<int>(m_elements.size()); }
    /// The element at that index, good until an element is added or removed. Throws std::out_of_range outside the list.
    T &at(int index) { return m_elements.at(static_cast<std::size_t>(index)); }
    T const &at(int index) const { return m_elements.at(static_cast<std::size_t>(index)); }

    /// Allocates memory for that many elements in all. The size stays.
    void reserve(int count) { m_elements.reserve(static_cast<std::size_t>(count)); }
    /// Adds `n` copies at the end and gives the size before.
    int append(ARG element, int n = 1)
    {
        int const before = getSize();
        if (n == 1)
            m_elements.push_back(element);
        else if (n > 1)
            m_elements.insert(m_elements.end(), static_cast<std::size_t>(n), element);
        return before;
    }
    /// Adds all elements of the other list, which may be this one, and gives the size before.
    int appendArray(OKTArray const &other)
    {
        int const before = getSize();
        std::vector<T> const own = this == &other ? m_elements : std::vector<T>();
        std::vector<T> const &added = this == &other ? own : other.m_elements;
        m_elements.insert(m_elements.end(), added.begin(), added.end());
        return before;
    }

    /// Whether an equal element stands at the index `start` or behind it.
    bool contains(ARG element, int start = 0) const { return findIndex(element, start) >= 0; }
    /// The first index that holds an equal element, or -1.
    int findIndex(ARG element, int start = 0) const
    {
        auto const found = std::find(from(start), m_elements.end(), element);
        return found == m_elements.end() ? -1 : static_cast<int>(found - m_elements.begin());
    }
    /// Removes every equal element from `start` on; true if there was one.
    bool remove(ARG element, int start = 0)
    {
        T const wanted = element; // the argument may be an element of this list
        auto const kept = std::remove(m_elements.begin() + (from(start) - m_elements.cbegin()), m_elements.end(), wanted);
        bool const any = kept != m_elements.end();
        m_elements.erase(kept, m_elements.end());
        return any;
    }
    /// Removes all elements.
    void removeAll() { m_elements.clear(); }

    /// Both throw std::out_of_range outside the list; inserting at its end is allowed.
    void insertAt(int index, ARG element)
    {
        if (index != getSize())
            at(index);
        m_elements.insert(m_elements.begin() + index, element);
    }
    void removeAt(int index)
    {
        at(index);
        m_elements.erase(m_elements.begin() + index);
    }

    /// The elements in their order, for reading.
    auto begin() const { return m_elements.begin(); }
    auto end() const { return m_elements.end(); }

private:
    auto from(int start) const
    {
        return m_elements.cbegin() + std::clamp<std::ptrdiff_t>(start, 0, static_cast<std::ptrdiff_t>(m_elements.size()));
    }

    std::vector<T> m_elements;
};

/// A map in ascending key order that is also read by position, a thin layer on the standard ordered map. KA and VA are how keys
/// and values are passed. Positional access keeps a cursor, so that a loop over neighbouring positions costs a step each; any
/// other position costs a walk from the start. The cursor makes reading by position a write: one thread at a time.
/// A position past the end throws std::out_of_range.
template <typename K, typename V, typename KA, typename VA> class OKTMap
{
    using Map = std::map<K, V, std::less<K>, OKTEntryAllocator<std::pair<K const, V>>>;

public:
    OKTMap() = default;
    OKTMap(OKTMap const &other) : m_map(other.m_map) {}
    OKTMap(OKTMap &&other) noexcept : m_map(std::move(other.m_map)) { other.resetCursor(); }
    OKTMap &operator=(OKTMap const &other)
    {
        resetCursor();
        m_map = other.m_map;
        return *this;
    }
    OKTMap &operator=(OKTMap &&other) noexcept
    {
        resetCursor();
        other.resetCursor();
        m_map = std::move(other.m_map);
        return *this;
    }
    virtual ~OKTMap() = default;

    /// The number of entries; whether there is none; whether there is one of that key.
    int getSize() const { return static_cast<int>(m_map.size()); }
    bool isEmpty() const { return m_map.empty(); }
    bool contains(KA key) const { return m_map.find(key) != m_map.end(); }
    /// The value of the key, or null. Leaves the cursor alone.
    V const *find(KA key) const
    {
        auto const found = m_map.find(key);
        return found == m_map.end() ? nullptr : &found->second;
    }
    V *find(KA key)
    {
        auto const found = m_map.find(key);
        return found == m_map.end() ? nullptr : &found->second;
    }
    /// Finds the key or inserts it with a zero value.
    V &operator[](KA key) { return place(key).first->second; }

    /// Inserts the key with that value and gives true; false, and nothing changed, when the key is there.
    bool insert(KA key, VA value) { return place(key, value).second; }

    /// The key and the value at that position in key order, counted from 0. Both throw std::out_of_range past the end.
    K const &keyAt(unsigned int position) const { return walkTo(position)->first; }
    V const &valueAt(unsigned int position) const { return walkTo(position)->second; }
    V &valueAt(unsigned int position) { return walkTo(position)->second; }
    /// The position of the key, or -1; a linear walk.
    int findKey(KA key) const
    {
        int position = 0;
        for (auto const &entry : m_map)
        {
            if (entry.first == key)
                return position;
            ++position;
        }
        return -1;
    }

    /// Removes the entry of the key, if there is one.
    void erase(KA key)
    {
        resetCursor();
        m_map.erase(key);
    }
    /// Removes all entries.
    void removeAll()
    {
        resetCursor();
        m_map.clear();
    }

    /// A copy of all keys, in their order.
    OKTArray<K, KA> keys() const
    {
        OKTArray<K, KA> all;
        for (auto const &entry : m_map)
            all.append(entry.first);
        return all;
    }
    /// A copy of all values, in the order of their keys.
    OKTArray<V, VA> values() const
    {
        OKTArray<V, VA> all;
        for (auto const &entry : m_map)
            all.append(entry.second);
        return all;
    }

    /// The entries in key order, each a pair of key and value. Values can be changed where the map is not const.
    auto begin() { return m_map.begin(); }
    auto end() { return m_map.end(); }
    auto begin() const { return m_map.begin(); }
    auto end() const { return m_map.end(); }

    /// The blocks of the entries, or null before there was one.
    OKTEntryBlocks *blocks() const { return m_map.get_allocator().blocks(); }
    /// Calls `each(key, value)` for all entries in the order in which they lie in memory, and gives true. False, and nothing is
    /// called, where that order cannot be told. Throws std::bad_alloc, likewise before any call.
    template <typename F> bool forEachInMemory(F each) const
    {
        // The nodes of a map are alike, so that an entry stands at the same place in each.
        auto const allocator = m_map.get_allocator();
        OKTEntryBlocks const *const blocks = allocator.blocks();
        if (blocks == nullptr || blocks->count() != m_map.size())
            return false;
        using Entry = typename Map::value_type;
        std::ptrdiff_t const offset = blocks->offsetInEntry(&*m_map.begin());
        return offset >= 0 && blocks->forEach([&](void *node) {
            auto const *const entry =
                std::launder(reinterpret_cast<Entry const *>(static_cast<unsigned char *>(node) + offset));
            each(entry->first, entry->second);
        });
    }

private:
    using Iterator = typename Map::iterator;

    static constexpr unsigned int kNoCursor = 0xFFFFFFFFu;

    void resetCursor() const { m_cursorIndex = kNoCursor; }

    // The entry of the key, and whether it is new, made of `value`. Looked for at the end first: maps are mostly filled in
    // ascending order, as a file holds its objects.
    template <typename... Value> std::pair<Iterator, bool> place(KA key, Value const &...value)
    {
        std::size_t const before = m_map.size();
        Iterator const entry = m_map.try_emplace(m_map.end(), key, value...);
        bool const isNew = m_map.size() != before;
        if (isNew)
            resetCursor();
        return {entry, isNew};
    }

    Iterator walkTo(unsigned int position) const
    {
        if (position >= m_map.size())
            throw std::out_of_range("OKTMap: position past the end");
        if (m_cursorIndex != kNoCursor && position == m_cursorIndex + 1)
            ++m_cursor;
        else if (m_cursorIndex != kNoCursor && position + 1 == m_cursorIndex)
            --m_cursor;
        else if (m_cursorIndex == kNoCursor || position != m_cursorIndex)
            m_cursor = std::next(m_map.begin(), static_cast<std::ptrdiff_t>(position));
        m_cursorIndex = position;
        return m_cursor;
    }

    mutable Map m_map; // mutable for the cursor, which must be able to hand out values to write
    mutable Iterator m_cursor;
    mutable unsigned int m_cursorIndex = kNoCursor;
};

/// Ids, in the order of appending.
using IdArray = OKTArray<OKTDbObjectId, OKTDbObjectId const &>;
/// Old id to new id.
using IdMap = OKTMap<OKTDbObjectId, OKTDbObjectId, OKTDbObjectId const &, OKTDbObjectId const &>;
/// The objects of a pool by id.
using ObjectMap = OKTMap<OKTDbObjectId, OKTDbObject *, OKTDbObjectId const &, OKTDbObject *const &>;
