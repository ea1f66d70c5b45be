// SPDX-License-Identifier: MIT
#include <oktinspect/objecttable.h>

#include <oktformat/guids.h>

#include <algorithm>
#include <cstring>

namespace okt
{

namespace
{

KnownClass nearestKnown(Stretch const &object)
{
    for (std::string const &name : object.classNames)
        if (KnownClass const known = knownClass(name); known != KnownClass::Other)
            return known;
    return KnownClass::Other;
}

} // namespace

bool isBelow(_GUID const &left, _GUID const &right) { return std::memcmp(&left, &right, sizeof left) < 0; }

char const *nounOf(KnownClass known)
{
    switch (known)
    {
    case KnownClass::Parameter: return "parameter";
    case KnownClass::Category: return "category";
    case KnownClass::GroupCategory: return "group category";
    case KnownClass::Picture: return "picture";
    case KnownClass::Relation:
    case KnownClass::ParamRelation: return "relation";
    default: return "object";
    }
}

void ObjectTable::add(Stretch const &object)
{
    m_entries.push_back({object.id.value_or(kNoId), static_cast<std::int32_t>(object.begin),
                         static_cast<std::int32_t>(object.size()), nearestKnown(object), kNone});
}

void ObjectTable::sort()
{
    m_byId.resize(m_entries.size());
    for (std::size_t i = 0; i < m_byId.size(); ++i)
        m_byId[i] = static_cast<std::int32_t>(i);
    std::sort(m_byId.begin(), m_byId.end(), [this](std::int32_t left, std::int32_t right) {
        _GUID const &l = at(left).id;
        _GUID const &r = at(right).id;
        return isSame(l, r) ? left < right : isBelow(l, r);
    });
}

std::int32_t ObjectTable::find(_GUID const &id) const
{
    auto const found = std::lower_bound(m_byId.begin(), m_byId.end(), id, [this](std::int32_t index, _GUID const &wanted) {
        return isBelow(at(index).id, wanted);
    });
    return found != m_byId.end() && isSame(at(*found).id, id) ? *found : kNone;
}

} // namespace okt
