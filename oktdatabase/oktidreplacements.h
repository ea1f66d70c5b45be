// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktdbobjectid.h>

#include <cstdint>
#include <vector>

/// The new ids under which the objects of a pool are written for a clone, and what is written of them. A look-up takes the same
/// time however many ids there are, while a walk down an ordered map misses the processor's caches at each step. Not installed.
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
    /// Every id that was replaced was also written as one of the pool, and no id that names an object of another pool was
    /// written. Only then is the outcome that of ids which are translated when they are read.
    bool areSound() const { return m_unproven == 0 && !m_isRefused; }
    /// The outcome could be another one for other reasons.
    void refuse() { m_isRefused = true; }
    /// Takes the ids that were never written out of the map: they have no new ones.
    void dropUnwritten(IdMap &ids);

    /// A stretch of the objects block, in bytes from its start, in which ids are the old ones: what objects of client modules wrote,
    /// whose classes may look at the translation or take part in it. Stretches are noted in their order.
    void noteOldIds(int begin, int end) { m_oldIds.push_back({begin, end}); }
    /// Whether the byte lies in such a stretch. Asked in ascending order.
    bool areOldIdsAt(int place);
    bool areThereOldIds() const { return !m_oldIds.empty(); }

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
