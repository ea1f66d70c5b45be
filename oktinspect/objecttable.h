// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktformat/objectscan.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace okt
{

/// The entry for each object of a file: some 40 bytes, in the order of the file.
class ObjectTable
{
public:
    static constexpr std::int32_t kNone = -1;

    struct Entry
    {
        _GUID id; ///< null: it has none
        std::int32_t begin;
        std::int32_t size;
        KnownClass known;    ///< the nearest known class, its own or a base
        std::int32_t parent; ///< of a parameter its category, of a category its group: an index, or kNone
    };

    void add(Stretch const &object);
    /// Sorts the ids. Call it when all objects are added.
    void sort();

    std::size_t size() const { return m_entries.size(); }
    Entry const &at(std::int32_t index) const { return m_entries[static_cast<std::size_t>(index)]; }
    Entry &at(std::int32_t index) { return m_entries[static_cast<std::size_t>(index)]; }

    /// The first object with that id; kNone: there is none.
    std::int32_t find(_GUID const &id) const;
    /// All objects sorted by id; those with the same id in the order of the file.
    std::vector<std::int32_t> const &byId() const { return m_byId; }

private:
    std::vector<Entry> m_entries;
    std::vector<std::int32_t> m_byId;
};

/// The word for an object of that class in messages: "parameter", "group category", "object".
char const *nounOf(KnownClass known);

/// The order of ids in a file: by their bytes.
bool isBelow(_GUID const &left, _GUID const &right);

} // namespace okt
