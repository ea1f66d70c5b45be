// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktdbobjectid.h>

#include <cstdint>
#include <vector>

/// The fresh ids of the objects of a pool while it is cloned, and a record of which of them were written (oktdbpool.clone.cpp). A
/// hash table: a look-up takes the same time however many ids there are. Not installed.
class OKTIdReplacements
{
public:
    /// For that many ids of the pool.
    OKTIdReplacements(OKTDbPool const *pool, int count);

    /// `id` is not null and not there yet.
    void add(OKTDbObjectId const &id, OKTDbObjectId const &fresh);
    /// What to write for an id: the new one, or the id itself where there is none. Good until the next call.
    OKTDbObjectId const &forWriting(OKTDbObjectId const &id);
    /// The id was written as it is, for translation while it is read. False: it is none of the pool's objects.
    bool noteWritten(OKTDbObjectId const &id);
    /// Every id that was replaced was also written with the pool as its own, and no id was written that names an object of another
    /// pool. Only then is the outcome the same as that of translating ids while they are read.
    bool areSound() const { return m_unproven == 0 && !m_isRefused; }
    /// From now on areSound is false: the outcome could be another one for a reason that is not seen here.
    void refuse() { m_isRefused = true; }
    /// Takes the ids that were never written out of the map: they have no new ones.
    void dropUnwritten(IdMap &ids);

    /// A stretch of the objects block, in bytes from its start, in which ids are not replaced: an object of a client module wrote it,
    /// whose class may use the translation. Stretches are noted in ascending order.
    void noteOldIds(int begin, int end) { m_oldIds.push_back({begin, end}); }
    /// Whether the byte lies in such a stretch. To be asked in ascending order.
    bool areOldIdsAt(int place);

private:
    struct Place
    {
        _GUID id = {}; // zero: the place is free
        _GUID fresh = {};
        bool isWritten = false;
        bool isUnproven = false; // replaced so far only where an id without the pool stood
    };

    Place &placeOf(_GUID const &guid);
    void markWritten(Place &place);

    struct Stretch
    {
        int begin;
        int end;
    };

    OKTDbPool const *m_pool;
    std::vector<Place> m_places; // their number is a power of 2, and a quarter of them is free
    OKTDbObjectId m_fresh;
    int m_unwritten = 0;
    int m_unproven = 0;
    bool m_isRefused = false;
    std::vector<Stretch> m_oldIds;
    std::size_t m_nextOldIds = 0;
};
