#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktidreplacements.h>
#include <oktdatabase/oktmemoryfiler.h>

#include <algorithm>
#include <memory>
#include <vector>

// Copies of a pool, and the map of translated ids by which a copy gets new ones.

IdMap OKTDbPool::MapTranslatedIds() const
try
{
    return m_mapTranslatedIds;
}
OKT_ANSWER_ZERO

bool OKTDbPool::copyFrom(OKTDbPool const *other)
try
{
    CByteArray image;
    IdMap translated;
    return other != nullptr && other->saveFiler(image, translated) && loadFiler(image);
}
OKT_ANSWER_ZERO

OKTDbPool *OKTDbPool::clone() const
try
{
    bool isRefused = false;
    if (m_bTranslatedIds)
        if (OKTDbPool *const quick = cloneWithNewIds(isRefused); quick != nullptr || isRefused)
            return quick;
    CByteArray image;
    IdMap translated;
    if (!saveFiler(image, translated))
        return nullptr;
    auto copy = std::make_unique<OKTDbPool>();
    copy->setBoolTranslatedIds(m_bTranslatedIds);
    copy->setMapTranslatedIds(std::move(translated));
    copy->RearangeMapTranslatedIds();
    bool const loaded = copy->loadFiler(image);
    copy->setBoolTranslatedIds(false);
    return loaded ? copy.release() : nullptr;
}
OKT_ANSWER_ZERO

// The road of most clones: their objects are written with their new ids, which saves looking each id up once more on reading. Only
// the objects of client modules, whose classes may look at the translation, go the long way within it. Null, and not refused:
// this road could give another outcome than the long one for all. Refused: there can be no clone at all.
OKTDbPool *OKTDbPool::cloneWithNewIds(bool &isRefused) const
{
    auto copy = std::make_unique<OKTDbPool>();
    CByteArray image;
    IdMap newIds;
    OKTIdReplacements replacements(this, m_mapObjects.getSize());
    if (!makeImageWithNewIds(*copy, image, newIds, replacements, isRefused))
        return nullptr;
    OKTMemoryFiler filer(copy.get());
    filer.m_sharedIds = &copy->m_mapTranslatedIds;
    copy->setBoolTranslatedIds(true);
    copy->setMapTranslatedIds(std::move(newIds));
    bool const loaded = copy->loadThrough(filer, image, &replacements);
    copy->setBoolTranslatedIds(false);
    if (!replacements.areSound())
        return nullptr;
    isRefused = !loaded;
    return loaded ? copy.release() : nullptr;
}

// False where that could give another outcome than translating while the image is read: an object goes by another id than the
// pool's, is named by ids without pool alone, refers to an object of another pool, changes the pool while it is written, or takes
// part in the translation.
bool OKTDbPool::makeImageWithNewIds(OKTDbPool &owner, CByteArray &image, IdMap &newIds, OKTIdReplacements &replacements,
                                    bool &isRefused) const
{
    std::vector<OKTDbObjectId> fresh(static_cast<std::size_t>(m_mapObjects.getSize()));
    for (OKTDbObjectId &id : fresh)
        id = OKTDbObjectId::createObjectId(&owner);
    // In the order of the old ids, so that the objects are read in the order of their ids, each behind the last.
    std::sort(fresh.begin(), fresh.end());
    if (!fresh.empty() && fresh.front().isNull())
        return false;
    IdMap ids;
    auto next = fresh.cbegin();
    for (auto const &[id, object] : m_mapObjects)
    {
        if (object == nullptr)
            continue; // not written, and no valid id of it
        if (id.isNull() || object->objectId() != id || object->objectId().getPool() != this)
            return false;
        replacements.add(id, *next);
        ids[id] = *next++;
    }
    IdMap brought; // by objects of client modules: ids that they wrote
    isRefused = !makeImage(image, brought, &replacements);
    if (isRefused || !replacements.areSound())
        return false;
    for (auto const &[id, translated] : brought)
        if (!replacements.noteWritten(id))
            return false;
    if (!replacements.areSound())
        return false;
    auto known = ids.begin();
    for (auto const &[id, object] : m_mapObjects)
        if (object != nullptr && (known == ids.end() || known++->first != id))
            return false;
    if (known != ids.end())
        return false;
    replacements.dropUnwritten(ids);
    newIds = std::move(ids);
    return true;
}

void OKTDbPool::RearangeMapTranslatedIds()
try
{
    for (auto &[id, translated] : m_mapTranslatedIds)
        translated = OKTDbObjectId::createObjectId(this);
}
OKT_ANSWER_NOTHING
