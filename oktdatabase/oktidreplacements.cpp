// SPDX-License-Identifier: MIT
#include <oktdatabase/oktidreplacements.h>

#include <cstring>

namespace
{
struct Words
{
    std::uint64_t low;
    std::uint64_t high;
};

Words wordsOf(_GUID const &guid)
{
    Words words;
    static_assert(sizeof words == sizeof guid);
    std::memcpy(&words, &guid, sizeof words);
    return words;
}

// With a secret of the process in it, so that no file can be made that has all of its ids in one place.
std::uint64_t scattered(_GUID const &guid)
{
    static Words const secret = [] {
        _GUID drawn = {};
        CoCreateGuid(&drawn);
        return wordsOf(drawn);
    }();
    Words const words = wordsOf(guid);
    std::uint64_t mixed = (words.low ^ secret.low) * 0x9E3779B97F4A7C15u;
    mixed ^= mixed >> 32;
    mixed = (mixed ^ words.high ^ secret.high) * 0xD6E8FEB86659FD93u;
    return mixed ^ (mixed >> 32);
}

bool areEqual(_GUID const &a, _GUID const &b) { return std::memcmp(&a, &b, sizeof a) == 0; }
} // namespace

OKTIdReplacements::OKTIdReplacements(OKTDbPool const *pool, int count) : m_pool(pool)
{
    std::size_t places = 16;
    while (places * 3 < static_cast<std::size_t>(count) * 4)
        places *= 2;
    m_places.resize(places);
}

// The place that holds the id, or the free one where it belongs.
OKTIdReplacements::Place &OKTIdReplacements::placeOf(_GUID const &guid)
{
    static constexpr _GUID kFree = {};
    std::size_t const mask = m_places.size() - 1;
    std::size_t at = static_cast<std::size_t>(scattered(guid)) & mask;
    while (!areEqual(m_places[at].id, kFree) && !areEqual(m_places[at].id, guid))
        at = (at + 1) & mask;
    return m_places[at];
}

void OKTIdReplacements::add(OKTDbObjectId const &id, OKTDbObjectId const &fresh)
{
    Place &place = placeOf(id.getGuid());
    place.id = id.getGuid();
    place.fresh = fresh.getGuid();
    ++m_unwritten;
}

void OKTIdReplacements::dropUnwritten(IdMap &ids)
{
    if (m_unwritten == 0)
        return;
    for (OKTDbObjectId const &id : ids.keys())
        if (!placeOf(id.getGuid()).isWritten)
            ids.erase(id);
}

bool OKTIdReplacements::areOldIdsAt(int place)
{
    while (m_nextOldIds < m_oldIds.size() && m_oldIds[m_nextOldIds].end <= place)
        ++m_nextOldIds;
    return m_nextOldIds < m_oldIds.size() && m_oldIds[m_nextOldIds].begin <= place;
}

bool OKTIdReplacements::noteWritten(OKTDbObjectId const &id)
{
    Place &place = placeOf(id.getGuid());
    if (id.isNull() || !areEqual(place.id, id.getGuid()))
        return false;
    markWritten(place);
    return true;
}

// By an id of the pool itself.
void OKTIdReplacements::markWritten(Place &place)
{
    if (place.isWritten)
        return;
    m_unproven -= place.isUnproven ? 1 : 0;
    place.isUnproven = false;
    place.isWritten = true;
    --m_unwritten;
}

OKTDbObjectId const &OKTIdReplacements::forWriting(OKTDbObjectId const &id)
{
    if (id.isNull())
        return id;
    Place &place = placeOf(id.getGuid());
    OKTDbPool const *const pool = id.getPool();
    if (!areEqual(place.id, id.getGuid()))
    {
        m_isRefused = m_isRefused || (pool != nullptr && pool != m_pool && id.isValid());
        return id;
    }
    if (pool == m_pool)
        markWritten(place);
    else if (!place.isWritten && !place.isUnproven)
    {
        place.isUnproven = true;
        ++m_unproven;
    }
    m_fresh.setGuid(place.fresh);
    return m_fresh;
}
