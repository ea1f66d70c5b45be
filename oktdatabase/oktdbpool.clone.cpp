// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktidreplacements.h>
#include <oktdatabase/oktimagefiler.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

// A clone with new ids, the fast path beside OKTDbPool::clone: ids are replaced as they are written, by a hash table, which saves a
// look-up of each in an ordered map of all ids while it is read.
//
// The outcome is that of the plain clone, whose steps are: (1) a save notes every valid id that is written, (2) each of these gets a
// fresh id of the new pool, (3) a load replaces every id that was noted. Each condition below names the step that it stands for.
// Where one does not hold, the result is null and the plain clone is made. tests/oktdbpoolcopy_test.cpp and
// tests/oktdbpoolproperties_test.cpp hold both against each other.

// `isRefused`: a save or a load failed that fails in the plain clone too, so that there is no clone at all.
OKTDbPool *OKTDbPool::cloneWithNewIds(bool &isRefused) const
{
    auto copy = std::make_unique<OKTDbPool>();
    CByteArray image;
    IdMap newIds;
    OKTIdReplacements replacements(this, m_mapObjects.getSize());
    if (!makeImageWithNewIds(*copy, image, newIds, replacements, isRefused))
        return nullptr;
    if (!m_bTranslatedIds)
        return nullptr; // an object of a client module has switched translation off: step 3 translates nothing
    // Step 3. Objects of client modules read their old ids with translation on. The filer then has a map of its own, as in the plain
    // clone: such an object may change the map of its pool while it reads itself.
    auto const setTranslation = [&] {
        copy->setBoolTranslatedIds(m_bTranslatedIds);
        copy->setMapTranslatedIds(std::move(newIds));
    };
    bool loaded = false;
    if (m_hasClientObjects)
    {
        setTranslation();
        OKTImageFiler filer(copy.get());
        loaded = copy->hasTranslation(filer.filer()) && copy->loadThrough(filer, image, &replacements);
    }
    else
    {
        OKTImageFiler filer(copy.get()); // without a map: no id is translated
        setTranslation();
        loaded = copy->loadThrough(filer, image, &replacements);
    }
    copy->setBoolTranslatedIds(false);
    if (!replacements.areSound())
        return nullptr; // step 3 would have been another: a class of a client module took part in the translation
    isRefused = !loaded;
    return loaded ? copy.release() : nullptr;
}

// Steps 1 and 2. False: they could have another outcome than that of the plain clone, or, with `isRefused`, the save fails.
bool OKTDbPool::makeImageWithNewIds(OKTDbPool &owner, CByteArray &image, IdMap &newIds, OKTIdReplacements &replacements,
                                    bool &isRefused) const
{
    // Step 2: the fresh ids. They are given in the order of the old ones, so that step 3 reads the objects in the order of their ids.
    std::vector<OKTDbObjectId> fresh(static_cast<std::size_t>(m_mapObjects.getSize()));
    for (OKTDbObjectId &id : fresh)
        id = OKTDbObjectId::createObjectId(&owner);
    std::sort(fresh.begin(), fresh.end());
    if (!fresh.empty() && fresh.front().isNull())
        return false; // the system makes no ids
    IdMap ids;
    auto next = fresh.cbegin();
    for (auto const &[id, object] : m_mapObjects)
    {
        if (object == nullptr)
            continue; // step 1 does not write it, and its id is not valid
        // Step 1 notes an object under the id that it carries, and only if that is valid in this pool.
        if (id.isNull() || object->objectId() != id || object->objectId().getPool() != this)
            return false;
        replacements.add(id, *next);
        ids[id] = *next++;
    }

    // Step 1: the save. Objects of client modules write their old ids, and the filer notes those as in the plain clone.
    IdMap noted;
    isRefused = !makeImage(image, noted, &replacements, true);
    if (isRefused || !replacements.areSound())
        return false; // an id was replaced that step 1 does not note, or one of another pool was written, which it does
    for (auto const &[id, translated] : noted)
        if (!replacements.noteWritten(id))
            return false; // step 1 notes an id that is none of the objects known here
    if (!replacements.areSound())
        return false; // an id was replaced that was never written as one of this pool: step 1 does not note it

    // An object of a client module may have changed the pool meanwhile: step 1 would have met other objects.
    auto known = ids.begin();
    for (auto const &[id, object] : m_mapObjects)
        if (object != nullptr && (known == ids.end() || known++->first != id))
            return false;
    if (known != ids.end())
        return false;
    replacements.dropUnwritten(ids); // step 2 has no fresh id for an id that step 1 did not write
    newIds = std::move(ids);
    return true;
}
