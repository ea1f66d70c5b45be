// SPDX-License-Identifier: MIT
#include <oktinspect/outline.h>

#include <oktinspect/matching.h>

#include <algorithm>

namespace okt
{

PoolOutline::PoolOutline(DiffPool const &pool) : m_pool(pool)
{
    std::vector<DiffObject> const &objects = pool.objects();
    m_places.assign(objects.size(), kUnmatched);
    m_above.assign(objects.size(), kUnmatched);
    for (std::size_t i = 0; i < objects.size(); ++i)
        if (!objects[i].stretch.id.empty())
            m_byId.emplace(objects[i].stretch.id, i);
    for (KnownClass const kind : {KnownClass::GroupCategory, KnownClass::Category, KnownClass::Parameter})
        for (std::size_t i = 0; i < objects.size(); ++i)
            if (objects[i].kind == kind)
                visit(i);
    for (std::size_t i = 0; i < objects.size(); ++i)
        visit(i);
}

/// An object, and what it lists below it.
void PoolOutline::visit(std::size_t object)
{
    if (m_places[object] != kUnmatched)
        return;
    m_places[object] = m_next++;
    KnownClass const kind = m_pool.objects()[object].kind;
    if (kind != KnownClass::GroupCategory && kind != KnownClass::Category)
        return;
    KnownClass const below = kind == KnownClass::GroupCategory ? KnownClass::Category : KnownClass::Parameter;
    for (std::size_t const listed : listOf(object))
    {
        if (m_pool.objects()[listed].kind != below)
            continue;
        if (m_above[listed] == kUnmatched)
            m_above[listed] = object;
        visit(listed);
    }
}

std::vector<std::size_t> PoolOutline::listOf(std::size_t object) const
{
    std::vector<std::size_t> listed;
    for (std::string const &id : m_pool.listOf(m_pool.objects()[object]))
        if (std::size_t const found = find(id); found != kUnmatched)
            listed.push_back(found);
    return listed;
}

void PoolOutline::sort(std::vector<std::size_t> &objects) const
{
    std::sort(objects.begin(), objects.end(),
              [this](std::size_t left, std::size_t right) { return m_places[left] < m_places[right]; });
}

std::size_t PoolOutline::find(std::string_view id) const
{
    auto const found = m_byId.find(id);
    return found == m_byId.end() ? kUnmatched : found->second;
}

} // namespace okt
