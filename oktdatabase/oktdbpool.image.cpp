#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbgroupparameter.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktidreplacements.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktdatabase/oktwholeframe.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <typeinfo>
#include <vector>

// The image of a pool, in memory and as a file: length record, header block, objects block.

namespace
{
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
