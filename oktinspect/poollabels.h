// SPDX-License-Identifier: MIT
#pragma once

// Stands on the records of the text form. Not installed.

#include <oktinspect/outline.h>

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

namespace okt
{

/// The names for the objects of a pool in messages to users.
class PoolLabels
{
public:
    /// The outline and its pool must outlive this.
    explicit PoolLabels(PoolOutline const &outline);

    /// "Cover", "Category "Bar"", "Picture 0", "Relation": the name, with an addition if another object has the same.
    std::string of(std::size_t object) const;
    /// The same for the object with that id (16 bytes).
    std::string ofId(std::string const &id) const;

private:
    std::string named(std::size_t object, std::string const &what) const;
    std::string alone(std::size_t object, std::string const &what) const;
    bool isAloneInCategory(std::size_t parameter) const;
    std::string idText(std::size_t object) const;

    DiffPool const &m_pool;
    PoolOutline const &m_outline;
    std::map<KnownClass, std::unordered_map<std::string_view, int>> m_names; ///< number of objects with that name
    std::map<KnownClass, int> m_kinds;                                       ///< number of objects of that class
    std::map<std::string, std::size_t> m_pictures;                           ///< ids in the header's list, and their numbers
};

} // namespace okt
