// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktimagefiler.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/okttools.h>
#include <oktplatform/oktarena.h>
#include <oktplatform/okthints.h>

#include <atomic>
#include <typeinfo>

// The objects of a pool and the ids of special role.

namespace
{
// The special roles go to objects of exactly these classes. The first two belong to client modules.
constexpr char16_t kConstructClass[] = u"OKTDbConstruct";
constexpr char16_t kIndexClass[] = u"OKTDbIndexData";
constexpr char16_t kPictureClass[] = u"OKTDbPicture";

// The number of this library's class of that name.
int pictureClass()
{
    static int const number = [] {
        OKTRuntimeClass const *const descriptor = OktFindClass(kPictureClass);
        return descriptor == nullptr ? -1 : descriptor->ClassCounter();
    }();
    return number;
}

// The class of this library of which the last object without a role was. Objects of one class often follow each other.
std::atomic<std::type_info const *> s_withoutRole = nullptr;
} // namespace

OKTDbPool::OKTDbPool() : m_objectId(OKTDbObjectId::createObjectId(this)) {}

OKTDbPool::~OKTDbPool()
{
    try
    {
        eraseAllObjects();
    }
    catch (...)
    {
        // A presenter has thrown.
    }
}

// Parameters outside a pool call this through a null pointer, which is meant.
OKT_CALLED_ON_NULL double OKTDbPool::metricsFactor() const { return metricsFactorOf(this); }

double OKTDbPool::metricsFactorOf(OKTDbPool const *pool) { return pool == nullptr ? 1.0 : pool->m_dfMetricsFactor; }

void OKTDbPool::setPoolName(CString const &name)
try
{
    m_strPoolName = name.Owned();
}
OKT_ANSWER_NOTHING

// --- Well-known ids ---

void OKTDbPool::PictureList::append(OKTDbObjectId const &id)
{
    m_ids.append(id);
    try
    {
        m_known.insert(id);
    }
    catch (...)
    {
        m_ids.removeAt(m_ids.getSize() - 1); // the list and the set stay in step
        throw;
    }
}

void OKTDbPool::PictureList::remove(OKTDbObjectId const &id)
{
    if (m_known.erase(id) > 0)
        m_ids.remove(id);
}

void OKTDbPool::PictureList::removeAll()
{
    m_known.clear();
    m_ids.removeAll();
}

void OKTDbPool::PictureList::assign(IdArray const &ids)
{
    std::set<OKTDbObjectId> known(ids.begin(), ids.end());
    m_ids = IdArray(ids);
    m_known = std::move(known);
}

void OKTDbPool::setPicturesIds(IdArray const &ids)
try
{
    ++m_changes;
    m_tabPictures.assign(ids);
}
OKT_ANSWER_NOTHING

OKTDbObjectId OKTDbPool::translatedId(OKTDbObjectId const &id) const
{
    OKTDbObjectId const *const translated = m_bTranslatedIds ? m_mapTranslatedIds.find(id) : nullptr;
    return translated == nullptr ? id : *translated;
}

OKTDbObjectId OKTDbPool::constructId() const
try
{
    return translatedId(m_constructId);
}
OKT_ANSWER_ZERO

OKTDbObjectId OKTDbPool::sketchId() const
try
{
    return translatedId(m_sketchId);
}
OKT_ANSWER_ZERO

OKTDbObjectId OKTDbPool::indexId() const
try
{
    return translatedId(m_indexId);
}
OKT_ANSWER_ZERO

OKTDbObjectId OKTDbPool::ppActionsId() const
try
{
    return translatedId(m_ppActionsId);
}
OKT_ANSWER_ZERO

IdArray OKTDbPool::picturesId() const
try
{
    IdArray ids;
    for (OKTDbObjectId const &id : m_tabPictures.ids())
        ids.append(translatedId(id));
    return ids;
}
OKT_ANSWER_ZERO

void OKTDbPool::noteSpecialObject(OKTDbObject const *object, OKTDbObjectId const &id)
{
    std::type_info const &type = typeid(*object);
    if (&type == s_withoutRole.load(std::memory_order_relaxed))
        return;
    bool const isOwn = OktIsOwnObject(*object);
    m_hasClientObjects = m_hasClientObjects || !isOwn;
    if (isOwn && object->isA()->ClassCounter() != pictureClass())
    {
        s_withoutRole.store(&type, std::memory_order_relaxed);
        return; // as most objects are: no names need to be compared
    }
    if (object->isA(kConstructClass))
        m_constructId = id;
    if (object->isA(kPictureClass) && !m_tabPictures.contains(id))
        m_tabPictures.append(id);
    if (object->isA(kIndexClass))
        m_indexId = id;
}

void OKTDbPool::forgetSpecialObject(OKTDbObject const *object, OKTDbObjectId const &id)
{
    if (object->isA(kConstructClass))
        m_constructId.setNull();
    if (object->isA(kPictureClass))
        m_tabPictures.remove(id);
    if (object->isA(kIndexClass))
        m_indexId.setNull();
}

// --- Objects ---

// The last step of taking an object over, which stands in the map already: sets its id and notes its role. When that raises, the
// object is taken out of the map again and keeps the id that it had.
bool OKTDbPool::adoptObject(OKTDbObject *object, OKTDbObjectId const &id)
{
    OKTDbObjectId const before = object->objectId();
    object->setObjectId(id);
    try
    {
        noteSpecialObject(object, id);
    }
    catch (...)
    {
        m_mapObjects.erase(id);
        object->setObjectId(before);
        throw;
    }
    return true;
}

bool OKTDbPool::appendObject(OKTDbObject *object)
try
{
    if (object == nullptr || m_mapObjects.contains(object->objectId()))
        return false;
    OKTDbObjectId id = OKTDbObjectId::createObjectId(this);
    id.setObject(object);
    ++m_changes;
    m_mapObjects[id] = object;
    return adoptObject(object, id);
}
OKT_ANSWER_ZERO

// Takes an object over under the id that it brought from a stream.
bool OKTDbPool::appendReadObject(OKTDbObject *object)
try
{
    if (object == nullptr)
        return false;
    OKTDbObjectId id = object->objectId();
    id.setObject(object);
    ++m_changes;
    return m_mapObjects.insert(id, object) && adoptObject(object, id);
}
OKT_ANSWER_ZERO

bool OKTDbPool::removeObject(OKTDbObjectId const &id)
try
{
    OKTDbObject *const *const entry = m_mapObjects.find(id);
    if (entry == nullptr || *entry == nullptr)
        return false;
    OKTDbObject *const object = *entry;
    OKTDbObjectId const key = id; // the argument may be the object's own id
    ++m_changes;
    forgetSpecialObject(object, key);
    object->setObjectId(OKTDbObjectId::kNull);
    m_mapObjects.erase(key);
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::removeObject(OKTDbObject *object)
try
{
    if (object == nullptr)
        return false;
    OKTDbObjectId const id = object->objectId();
    if (!m_mapObjects.contains(id))
        return false;
    ++m_changes;
    m_mapObjects.erase(id);
    forgetSpecialObject(object, id);
    object->setObjectId(OKTDbObjectId::kNull);
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::removeAllObjects()
try
{
    ++m_changes;
    while (!m_mapObjects.isEmpty())
    {
        auto const &[id, object] = *m_mapObjects.begin();
        if (object == nullptr)
            return false;
        object->setObjectId(OKTDbObjectId::kNull);
        m_mapObjects.erase(OKTDbObjectId(id));
    }
    m_constructId.setNull();
    m_indexId.setNull();
    m_tabPictures.removeAll();
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::eraseAllObjects()
try
{
    if (m_mapObjects.isEmpty())
        return true;
    ++m_changes;
    OktArenaHold const hold;
    // The map is emptied first, so that no destructor finds objects in it that are gone.
    ObjectMap const objects = std::move(m_mapObjects);
    m_mapObjects.removeAll();
    for (auto const &[id, object] : objects)
        delete object;
    m_mapObjects.removeAll();
    m_hasClientObjects = false;
    m_constructId.setNull();
    m_tabPictures.removeAll();
    m_indexId.setNull();
    m_mapTranslatedIds.removeAll();
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::replaceObject(OKTDbObjectId const &id, OKTDbObject *object)
try
{
    OKTDbObject **const entry = m_mapObjects.find(id);
    if (entry == nullptr)
        return false;
    ++m_changes;
    *entry = object;
    m_hasClientObjects = m_hasClientObjects || (object != nullptr && !OktIsOwnObject(*object));
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::findObject(OKTDbObjectId const &id, OKTDbObject *&object)
try
{
    OKTDbObject *const *const entry = m_mapObjects.find(id);
    if (entry == nullptr)
        return false;
    object = *entry;
    return true;
}
OKT_ANSWER_ZERO

OKTDbObjectId OKTDbPool::objectAt(int position) const
try
{
    if (position < 0 || position >= m_mapObjects.getSize())
        return OKTDbObjectId();
    return m_mapObjects.keyAt(static_cast<unsigned int>(position));
}
OKT_ANSWER_ZERO

void OKTDbPool::getAllObjects(IdArray &ids) const
try
{
    ids = m_mapObjects.keys();
}
OKT_ANSWER_NOTHING

bool OKTDbPool::collectEntities(OKTRuntimeClass *descriptor, IdArray &ids) const
try
{
    ids.removeAll();
    for (auto const &[id, object] : m_mapObjects)
        if (descriptor == nullptr || (object != nullptr && object->isKindOf(descriptor)))
            ids.append(id);
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::CreateObjectFromClassName(CString className, OKTDbObject *&object)
try
{
    return OKTTools::getObjectFromClassName(className, object);
}
OKT_ANSWER_ZERO

bool OKTDbPool::resetObject(OKTDbObjectId const &id)
try
{
    OKTDbObject *object = nullptr;
    if (!findObject(id, object) || object == nullptr)
        return false;
    OKTDbObjectId const kept = object->objectId();
    OKTDbObject *const fresh = object->createObject();
    if (fresh == nullptr)
        return false;
    OKTImageFiler stream;
    stream.clearVariants();
    OKTMemoryFiler &filer = stream.filer();
    filer.setTranslatedIds(false);
    filer.setInternalIsWriteEnabled(true);
    if (fresh->xmlOut(&filer) != eFilerOk)
        return false; // and the new object is lost (quirk 22), here and below
    filer.setInternalIsWriteEnabled(false);
    if (object->xmlIn(&filer) != eFilerOk)
        return false;
    delete fresh;
    object->setObjectId(kept);
    return true;
}
OKT_ANSWER_ZERO
