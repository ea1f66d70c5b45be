// SPDX-License-Identifier: MIT
#pragma once

// Stands on the records of the text form. Not installed.

#include <oktinspect/diffpool.h>

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace okt
{

/// The objects of a pool in the order in which okt shows them: groups with their categories and these with their parameters, categories in no
/// group, parameters in no category, then all others as they follow each other in the file.
class PoolOutline
{
public:
    /// The pool must outlive this.
    explicit PoolOutline(DiffPool const &pool);

    DiffPool const &pool() const { return m_pool; }
    /// The index of an object in that order.
    std::size_t place(std::size_t object) const { return m_places[object]; }
    /// Sorts objects in that order.
    void sort(std::vector<std::size_t> &objects) const;

    /// The category that lists a parameter, the group that lists a category; kUnmatched: there is none.
    std::size_t above(std::size_t object) const { return m_above[object]; }
    /// The objects that a group, a category or a relation lists and that are there.
    std::vector<std::size_t> listOf(std::size_t object) const;
    /// The object of that id (16 bytes), or kUnmatched.
    std::size_t find(std::string_view id) const;

private:
    void visit(std::size_t object);

    DiffPool const &m_pool;
    std::vector<std::size_t> m_places;
    std::vector<std::size_t> m_above;
    std::size_t m_next = 0;
    std::unordered_map<std::string_view, std::size_t> m_byId;
};

} // namespace okt
