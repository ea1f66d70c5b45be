// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbgroupparameter.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/oktidreplacements.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktdatabase/okttools.h>
#include <oktdatabase/oktwholeframe.h>
#include <oktdatabase/oktxmlfiler.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <memory>
#include <typeinfo>
#include <vector>

namespace
{
// The special roles go to objects of exactly these classes. The first two belong to client modules.
constexpr char16_t kConstructClass[] = u"OKTDbConstruct";
constexpr char16_t kIndexClass[] = u"OKTDbIndexData";
constexpr char16_t kPictureClass[] = u"OKTDbPicture";

constexpr OKTDbPool::_ObjectInfo kNoPlace = {-1, -1};
constexpr long kHeaderProbe = 1024; // bytes that a partial reader asks for first; a shorter file is refused (quirk 23)

// While one lives, the image is a file and not a copy in memory.
class FileScope
{
public:
    explicit FileScope(bool &flag) : m_flag(flag) { m_flag = true; }
    FileScope(FileScope const &) = delete;
    FileScope &operator=(FileScope const &) = delete;
    ~FileScope() { m_flag = false; }

private:
    bool &m_flag;
};

// The classes of the objects that a load has met, by the place of one object of each: a name that is the same bytes is not
// looked up again. The last one stands first, since objects of one class often follow each other.
class KnownClasses
{
public:
    /// The class of the object at `place`, where the filer stands; null: there is none of that name. False: nor is there a name.
    bool find(OKTMemoryFiler &filer, int place, OKTRuntimeClass *&descriptor)
    {
        auto const isSame = [&](Known const &known) { return filer.isSameClassAt(known.place, place); };
        auto known = std::find_if(m_known.begin(), m_end, isSame);
        if (known == m_end)
        {
            // Want of memory raises here: as a missing name it would end the load with true.
            CString className;
            if (!filer.findClassName(className))
                return false;
            OKTRuntimeClass *const *const entry = g_RuntimeClass.find(className);
            known = m_end == m_known.end() ? m_end - 1 : m_end++;
            *known = {place, entry == nullptr ? nullptr : *entry};
        }
        std::iter_swap(m_known.begin(), known);
        descriptor = m_known.front().descriptor;
        return true;
    }

private:
    struct Known
    {
        int place;
        OKTRuntimeClass *descriptor;
    };

    std::array<Known, 8> m_known;
    std::array<Known, 8>::iterator m_end = m_known.begin();
};

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
__attribute__((no_sanitize("null"))) double OKTDbPool::metricsFactor() const { return metricsFactorOf(this); }

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
    forgetSize();
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
    if (typeid(*object) == typeid(OKTDbParameter))
        return; // as most objects are, and none with a role
    m_hasClientObjects = m_hasClientObjects || !OktIsOwnObject(*object);
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

// Gives an object that is in the map under that id the id, and its role. A failure leaves object and pool as they were.
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
    forgetSize();
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
    forgetSize();
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
    forgetSize();
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
    forgetSize();
    m_mapObjects.erase(id);
    forgetSpecialObject(object, id);
    object->setObjectId(OKTDbObjectId::kNull);
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::removeAllObjects()
try
{
    forgetSize();
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
    forgetSize();
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
    forgetSize();
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
    OKTMemoryFiler filer;
    filer.m_bClearsVariants = true;
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

// --- The binary file: length record, header block, objects block ---

bool OKTDbPool::saveFiler(CByteArray &image, IdMap &translated) const
try
{
    return makeImage(image, translated, nullptr);
}
OKT_ANSWER_ZERO

namespace
{
constexpr int kAsked = 16384; // objects at most, when the size of a pool is estimated
constexpr int kLarge = 1024;  // objects of a pool that remembers its size
constexpr int kSample = 64;   // objects that tell whether a pool or a file is as expected

// 0: a class that does not tell.
std::int64_t frameSizeOf(OKTDbObject const &object)
{
    std::type_info const &type = typeid(object);
    if (type == typeid(OKTDbParameter) || type == typeid(OKTDbGroupParameter))
        return static_cast<OKTDbParameter const &>(object).frameSize();
    if (type == typeid(OKTDbCategory))
        return static_cast<OKTDbCategory const &>(object).frameSize();
    return type == typeid(OKTDbPicture) ? static_cast<OKTDbPicture const &>(object).frameSize() : 0;
}

// The frames that a load reads.
class FrameSizes
{
public:
    void add(OKTDbObject const &object, std::int64_t size)
    {
        m_sum += size;
        if (m_sampled == kSample)
            return;
        ++m_sampled;
        m_isAsWritten = m_isAsWritten && frameSizeOf(object) == size;
    }
    std::int64_t sum() const { return m_sum; }
    /// Objects of a sample take as much when they are written. Files of other versions hold less or more.
    bool isAsWritten() const { return m_isAsWritten; }

private:
    std::int64_t m_sum = 0;
    int m_sampled = 0;
    bool m_isAsWritten = true;
};
} // namespace

// Pictures are few and large: each that the pool lists is asked.
std::int64_t OKTDbPool::picturesSize() const
{
    std::int64_t size = 0;
    for (OKTDbObjectId const &id : m_tabPictures.ids())
        if (OKTDbObject *const *const entry = m_mapObjects.find(id); entry != nullptr && *entry != nullptr)
            size += frameSizeOf(**entry);
    return size;
}

// Of some objects: the first, whose ids are as random as all.
std::int64_t OKTDbPool::sampleSize() const
{
    std::int64_t size = 0;
    int left = kSample;
    for (auto const &[id, object] : m_mapObjects)
    {
        if (left-- == 0)
            break;
        if (object != nullptr && typeid(*object) != typeid(OKTDbPicture))
            size += frameSizeOf(*object);
    }
    return size;
}

// About how many bytes the frames of all objects take, so that an image grows in one block. Of a large pool a part is asked,
// spread over the pool, unless its size is known from the last image and a sample says that it has not changed much.
std::int64_t OKTDbPool::expectedSize() const
{
    constexpr std::int64_t kUnknown = 512; // an object of another class
    constexpr int kRoom = 64;
    constexpr double kSurplus = 1.05;
    if (m_knownSize >= 0 && std::abs(sampleSize() - m_knownSample) <= m_knownSample / 32)
        return static_cast<std::int64_t>(kSurplus * static_cast<double>(m_knownSize)) + picturesSize() + kRoom;
    int const step = m_mapObjects.getSize() / kAsked + 1;
    int asked = 0;
    std::int64_t sizes = 0;
    int skipped = 0;
    for (auto const &[id, object] : m_mapObjects)
    {
        if (++skipped < step || object == nullptr)
            continue;
        skipped = 0;
        ++asked;
        std::int64_t const size = frameSizeOf(*object);
        if (step == 1 || typeid(*object) != typeid(OKTDbPicture))
            sizes += size == 0 ? kUnknown : size;
    }
    if (step == 1)
        return sizes + kRoom;
    double const share = kSurplus * m_mapObjects.getSize() / std::max(asked, 1);
    return static_cast<std::int64_t>(static_cast<double>(sizes) * share) + picturesSize() + kRoom;
}

// A small pool is asked as a whole each time.
void OKTDbPool::noteSize(std::int64_t framesSize) const
{
    bool const isLarge = m_mapObjects.getSize() >= kLarge;
    m_knownSize = isLarge ? std::max<std::int64_t>(framesSize - picturesSize(), 0) : -1;
    m_knownSample = isLarge ? sampleSize() : 0;
}

// The objects of a pool that was loaded lie one behind the other, in the order in which they are written: one that is a few
// further on comes near while this one is written. Where they lie elsewhere, what is fetched is not used.
static void fetchAhead(OKTDbObject const *object)
{
    constexpr int kAhead = 1024;
    constexpr int kObject = 256;
    constexpr int kLine = 64;
    for (int at = kAhead; at < kAhead + kObject; at += kLine)
        __builtin_prefetch(reinterpret_cast<char const *>(object) + at);
}

// The ids whose places stand in the header.
std::set<OKTDbObjectId> OKTDbPool::specialIds() const
{
    std::set<OKTDbObjectId> special(m_tabPictures.ids().begin(), m_tabPictures.ids().end());
    special.insert(m_constructId);
    special.insert(m_indexId);
    return special;
}

// Without `replacements`, the filers' maps of translated ids are merged into `translated`. With them, ids are replaced as they are
// written; `translated` receives nothing but what objects of client modules brought into the filer's map.
bool OKTDbPool::makeImage(CByteArray &image, IdMap &translated, OKTIdReplacements *replacements) const
{
    image.RemoveAll();

    // Only the places of these objects are noted. Both the set and the objects are in id order.
    std::set<OKTDbObjectId> const special = specialIds();
    auto next = special.begin();
    // An object of a client module may name others, or bring them, while it is written: then all places count.
    struct Begin
    {
        _GUID id;
        std::int32_t place;
    };
    bool const hasClientObjects = m_hasClientObjects;
    std::vector<Begin> begins;
    if (hasClientObjects)
        begins.reserve(static_cast<std::size_t>(m_mapObjects.getSize()));
    std::uint64_t const changes = m_changes;

    // The image grows in one buffer. Its head is written with every place unknown, and once more when the places are known: it
    // is as long then, since a number takes the same bytes whatever its value.
    InfoMap info;
    OKTMemoryFiler filer;
    filer.setTranslatedIds(m_bTranslatedIds);
    filer.replaceIds(replacements);
    if (!filer.writeInt(CString(), 0))
        return false;
    if (xmlOut(&filer, info) != eFilerOk)
        return false;
    long const objectsStart = filer.GetFilerLength();
    long start = objectsStart;
    filer.expectLength(objectsStart + expectedSize());
    // By position: an object may take itself out of the pool while it is written.
    for (unsigned int i = 0; i < static_cast<unsigned int>(m_mapObjects.getSize()); ++i)
    {
        OKTDbObjectId const id = m_mapObjects.keyAt(i);
        OKTDbObject const *const object = m_mapObjects.valueAt(i);
        if (object == nullptr)
            continue;
        fetchAhead(object);
        bool keepsIds = false;
        if (hasClientObjects)
        {
            begins.push_back({id.getGuid(), static_cast<std::int32_t>(start - objectsStart)});
            keepsIds = replacements != nullptr && !OktIsOwnObject(*object);
            if (keepsIds)
                filer.replaceIds(nullptr);
        }
        if (object->xmlOut(&filer) != eFilerOk)
            return false;
        long const end = filer.GetFilerLength();
        if (keepsIds)
        {
            filer.replaceIds(replacements);
            replacements->noteOldIds(static_cast<int>(start - objectsStart), static_cast<int>(end - objectsStart));
            if (filer.m_bMapAsked || filer.m_bMapChanged || !filer.getTranslatedIds())
                replacements->refuse();
        }
        while (next != special.end() && *next < id)
            ++next;
        if (next != special.end() && *next == id)
            info[id] = {static_cast<std::int32_t>(start - objectsStart), static_cast<std::int32_t>(end - start)};
        start = end;
    }
    if (hasClientObjects && (m_changes != changes || specialIds() != special))
    {
        auto place = static_cast<std::int32_t>(start - objectsStart);
        std::set<OKTDbObjectId> left = specialIds();
        for (auto begin = begins.rbegin(); begin != begins.rend(); place = begin++->place)
        {
            OKTDbObjectId id;
            id.setGuid(begin->id);
            if (left.erase(id) > 0) // the last of several frames counts
                info[id] = {begin->place, place - begin->place};
        }
    }
    if (!filer.saveMapTranslatedIds(translated))
        return false;

    OKTMemoryFiler header;
    header.setTranslatedIds(m_bTranslatedIds);
    header.replaceIds(replacements);
    if (xmlOut(&header, info) != eFilerOk || !header.saveMapTranslatedIds(translated))
        return false;

    OKTMemoryFiler length;
    if (!length.writeInt(CString(), static_cast<int>(header.GetFilerLength())))
        return false;
    CByteArray head = length.takeBytes();
    head.Append(header.takeBytes());
    CByteArray bytes = filer.takeBytes();
    if (head.GetSize() == objectsStart)
        std::copy_n(head.GetData(), head.GetSize(), bytes.GetData());
    else
    {
        // An object has changed the pool while it was written, so that the head has another length.
        int const objectsSize = bytes.GetSize() - static_cast<int>(objectsStart);
        if (objectsSize > std::numeric_limits<int>::max() - head.GetSize())
            return false;
        std::copy_n(bytes.GetData() + objectsStart, objectsSize, head.Extend(objectsSize));
        bytes = std::move(head);
    }
    constexpr int kWaste = 8; // a part that is not worth giving back: the next save takes the block again, as large as it is
    if (bytes.GetCapacity() - bytes.GetSize() > bytes.GetSize() / kWaste)
        bytes.FreeExtra();
    noteSize(start - objectsStart);
    image = std::move(bytes);
    return true;
}

bool OKTDbPool::loadFiler(CByteArray const &image)
try
{
    OKTMemoryFiler filer(this);
    return hasTranslation(filer) && loadThrough(filer, image, nullptr);
}
OKT_ANSWER_ZERO

// False: a filer made for this pool found no memory for the map of translated ids, so that it would translate none.
bool OKTDbPool::hasTranslation(OKTMemoryFiler const &filer) const { return filer.getTranslatedIds() == m_bTranslatedIds; }

// With `replacements`, the image is one of a clone whose ids are new ones already, but for the stretches that it tells.
bool OKTDbPool::loadThrough(OKTMemoryFiler &filer, CByteArray const &image, OKTIdReplacements *replacements)
{
    OKTTextTable texts(image.GetSize());
    filer.readInPlace(image);
    filer.shareTexts(&texts);
    int headerLength = 0;
    InfoMap info;
    if (!filer.readInt(CString(), headerLength) || xmlIn(&filer, info) != eFilerOk)
        return false;
    auto const objectsStart = static_cast<int>(filer.GetFilerPosition());
    bool const isFiltering = m_readFilter.getSize() > 0;
    bool const isAll = m_mapObjects.isEmpty() && !isFiltering;
    KnownClasses classes;
    FrameSizes sizes;
    for (int place; filer.moveToNextObject(place);)
    {
        OKTRuntimeClass *descriptor;
        if (!classes.find(filer, place, descriptor))
            break;
        bool const hasOldIds = replacements != nullptr && replacements->areOldIdsAt(place - objectsStart);
        if (replacements != nullptr)
        {
            filer.setTranslatedIds(hasOldIds);
            if (!hasOldIds && descriptor != nullptr && !OktIsOwnClass(*descriptor))
                replacements->refuse(); // a class of a client module that has taken the name of one of ours
        }
        OKTDbObject *const object = descriptor == nullptr ? nullptr : descriptor->CreateObject();
        if (!readObject(filer, object))
            return false;
        if (hasOldIds && (filer.m_bMapChanged || !filer.getTranslatedIds()))
            replacements->refuse();
        if (isFiltering && skipObjectByReadFilter(object))
            delete object;
        else if (!appendReadObject(object))
            return false; // and the object is lost (quirk 18)
        else
            sizes.add(*object, filer.GetFilerPosition() - place);
    }
    if (isAll && sizes.isAsWritten())
        noteSize(sizes.sum());
    return true;
}

// Lets a new object read itself. One that fails is lost (quirk 18).
bool OKTDbPool::readObject(OKTMemoryFiler &filer, OKTDbObject *object)
{
    if (object == nullptr)
        return false;
    filer.setIsReadingObjectFromRoot(true);
    return object->xmlIn(&filer) == eFilerOk;
}

bool OKTDbPool::writeFile(CString const &path)
try
{
    if (path.IsEmpty())
        return false;
    CByteArray image;
    IdMap translated;
    {
        FileScope const scope(m_bFileScope);
        if (!saveFiler(image, translated))
            return false;
    }
    return OKTMemoryFiler::saveFiler(path, image);
}
OKT_ANSWER_ZERO

bool OKTDbPool::readFile(CString const &path)
try
{
    CByteArray image;
    if (path.IsEmpty() || !OKTMemoryFiler::loadFiler(path, image, -1, -1))
        return false;
    FileScope const scope(m_bFileScope);
    return loadFiler(image);
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbPool::xmlOut(OKTFiler *filer, InfoMap const &info) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Pool", u"OKTDbPool", 6))
        return eFilerClassFailed;
    OKTFrame frame;
    auto const writePlace = [&](_ObjectInfo const *place) {
        _ObjectInfo const &known = place == nullptr ? kNoPlace : *place;
        frame.fold(filer->writeInt(u"nObjectPosition", static_cast<int>(known.nObjectPosition)));
        frame.fold(filer->writeInt(u"nObjectSize", static_cast<int>(known.nObjectSize)));
    };

    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_objectId", m_objectId));
        frame.fold(filer->writeObjectId(u"m_constructId", m_constructId));
        writePlace(info.find(m_constructId));
        // Here the one picture of old files stood (quirk 15).
        frame.fold(filer->writeObjectId(u"idDummy", OKTDbObjectId::kNull));
        writePlace(nullptr);
        frame.fold(filer->writeObjectId(u"m_indexId", m_indexId));
        writePlace(info.find(m_indexId));
        frame.fold(filer->writeString(u"m_strPoolName", m_strPoolName));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(2))
    {
        frame.enterSection();
        // A file is independent of the factor: parameters divide by it when they write (quirk 17).
        frame.fold(filer->writeDouble(u"dfMetricsFactor", m_bFileScope ? 1.0 : m_dfMetricsFactor));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(3))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_ppActionsId", m_ppActionsId));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(4))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_sketchId", m_sketchId));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(5))
    {
        frame.enterSection();
        OKTListNames names(u"m_tabPictures");
        IdArray const &pictures = m_tabPictures.ids();
        int const count = pictures.getSize();
        frame.fold(filer->writeInt(u"m_tabPictures.Length", count));
        for (int i = 0; i < count && frame.isOk(); ++i)
        {
            CString const *const name = names.at(i);
            frame.fold(name != nullptr && filer->writeObjectId(*name, pictures.at(i)));
            writePlace(info.find(pictures.at(i)));
        }
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(6))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_radialReinfId", m_radialReinfId));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbPool::xmlIn(OKTFiler *filer, InfoMap &info)
try
{
    info.removeAll();
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Pool", u"OKTDbPool"))
        return eFilerClassFailed;
    OKTFrame frame;
    auto const readPlace = [&](OKTDbObjectId const &id) {
        int position = -1;
        int size = -1;
        frame.fold(filer->readInt(u"nObjectPosition", position));
        frame.fold(filer->readInt(u"nObjectSize", size));
        frame.fold(OktHasMemory([&] { info[id] = {position, size}; }));
    };
    auto const appendPicture = [&](OKTDbObjectId const &id) { frame.fold(OktHasMemory([&] { m_tabPictures.append(id); })); };

    OKTDbObjectId oldPicture;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_objectId", m_objectId));
        frame.fold(filer->readObjectId(u"m_constructId", m_constructId));
        readPlace(m_constructId);
        frame.fold(filer->readObjectId(u"idOldPicture", oldPicture));
        readPlace(oldPicture);
        frame.fold(filer->readObjectId(u"m_indexId", m_indexId));
        readPlace(m_indexId);
        frame.fold(filer->readString(u"m_strPoolName", m_strPoolName));
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(2))
    {
        frame.enterSection();
        double const kept = m_dfMetricsFactor;
        frame.fold(filer->readDouble(u"m_dfMetricsFactor", m_dfMetricsFactor));
        if (m_bFileScope)
            m_dfMetricsFactor = kept;
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(3))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_ppActionsId", m_ppActionsId));
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(4))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_sketchId", m_sketchId));
        filer->endReadMembers();
    }
    m_tabPictures.removeAll(); // also where the section is missing (quirk 20)
    if (filer->beginReadMembers(5))
    {
        frame.enterSection();
        OKTListNames names(u"m_tabPictures");
        int count = 0;
        frame.fold(filer->readInt(u"m_tabPictures.Length", count));
        for (int i = 0; i < count && frame.isOk(); ++i)
        {
            OKTDbObjectId id;
            CString const *const name = names.at(i);
            frame.fold(name != nullptr && filer->readObjectId(*name, id));
            readPlace(id);
            appendPicture(id);
        }
        filer->endReadMembers();
    }
    if (!oldPicture.isNull())
        appendPicture(oldPicture);
    if (filer->beginReadMembers(6))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_radialReinfId", m_radialReinfId));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

// --- Partial reading ---

bool OKTDbPool::readFileHeader(CString const &path, InfoMap &info)
try
{
    info.removeAll();
    CByteArray bytes;
    if (!OKTMemoryFiler::loadFiler(path, bytes, 0, kHeaderProbe))
        return false;
    OKTMemoryFiler probe;
    probe.readInPlace(bytes);
    int headerLength = 0;
    if (!probe.readInt(CString(), headerLength))
        return false;
    long const headerStart = probe.GetFilerPosition();

    CByteArray header;
    if (!OKTMemoryFiler::loadFiler(path, header, headerStart, headerLength))
        return false;
    OKTMemoryFiler filer(this);
    filer.readInPlace(header);
    if (!hasTranslation(filer) || xmlIn(&filer, info) != eFilerOk)
        return false;
    // From the start of the objects block to the start of the file, the places of -1 too (quirk 26). The sum wraps like any
    // 32-bit number, since a header may lie.
    auto const shift = static_cast<std::uint32_t>(headerStart) + static_cast<std::uint32_t>(headerLength);
    for (auto &[id, place] : info)
        place.nObjectPosition = static_cast<std::int32_t>(static_cast<std::uint32_t>(place.nObjectPosition) + shift);
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::readIndex(CString const &path)
try
{
    InfoMap info;
    return readFileHeader(path, info) && readObjectAlone(path, indexId(), info);
}
OKT_ANSWER_ZERO

bool OKTDbPool::readFilePicture(CString const &path)
try
{
    InfoMap info;
    if (!readFileHeader(path, info))
        return false;
    IdArray const pictures = m_tabPictures.ids(); // and no getter, which would give an empty list for want of memory
    for (OKTDbObjectId const &id : pictures)
        if (!readObjectAlone(path, translatedId(id), info))
            return false;
    return true;
}
OKT_ANSWER_ZERO

// Reads the stretch of one object and adds the first object found in it.
bool OKTDbPool::readObjectAlone(CString const &path, OKTDbObjectId const &id, InfoMap const &info)
{
    _ObjectInfo const *const place = info.find(id);
    CByteArray bytes;
    if (place == nullptr || !OKTMemoryFiler::loadFiler(path, bytes, place->nObjectPosition, place->nObjectSize))
        return false;
    OKTMemoryFiler filer(this);
    filer.readInPlace(bytes);
    CString className;
    OKTDbObject *object = nullptr;
    return hasTranslation(filer) && filer.readNextObjectClass(className) && CreateObjectFromClassName(className, object) &&
           readObject(filer, object) && appendReadObject(object);
}

bool OKTDbPool::skipObjectByReadFilter(OKTDbObject *object) const
try
{
    if (object == nullptr || m_readFilter.getSize() == 0)
        return false;
    for (OKTRuntimeClass const *descriptor : m_readFilter)
        if (descriptor != nullptr && object->isKindOf(descriptor))
            return false;
    return true;
}
OKT_ANSWER_ZERO

OKTDbPool::ReadFilter OKTDbPool::readFilter() const
try
{
    return m_readFilter;
}
OKT_ANSWER_ZERO

// --- XML documents ---

bool OKTDbPool::writeXMLFile(CString const &path)
try
{
    OKTXmlFiler filer;
    if (path.IsEmpty() || !filer.NewFiler(path, true))
        return false;
    bool done = true;
    ObjectMap const &objects = m_mapObjects;
    for (unsigned int i = 0; i < static_cast<unsigned int>(objects.getSize()); ++i)
        if (OKTDbObject const *const object = objects.valueAt(i); object != nullptr && object->xmlOut(&filer) != eFilerOk)
            done = false;
    if (xmlOut(&filer, InfoMap()) != eFilerOk)
        done = false;
    return filer.CloseFiler() && done;
}
OKT_ANSWER_ZERO

bool OKTDbPool::readXMLFile(CString const &path)
try
{
    OKTXmlFiler filer(this);
    if (path.IsEmpty() || !filer.NewFiler(path, false))
        return false;
    bool done = true;
    for (CString className; filer.getDescriptionForNextReadObject(className);)
    {
        OKTDbObject *object = nullptr;
        if (CreateObjectFromClassName(className, object) && object != nullptr)
        {
            filer.setIsReadingObjectFromRoot(true);
            if (object->xmlIn(&filer) == eFilerOk && appendReadObject(object))
                continue;
            done = false; // and the object is lost (quirk 18)
        }
        if (!filer.skipNextToReadDocumentObject())
            break;
    }
    InfoMap info;
    if (xmlIn(&filer, info) != eFilerOk)
        done = false;
    return filer.CloseFiler() && done;
}
OKT_ANSWER_ZERO

// --- Copying and id translation ---

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
