// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktfetchahead.h>
#include <oktdatabase/oktfileimage.h>
#include <oktdatabase/oktidorder.h>
#include <oktdatabase/oktidreplacements.h>
#include <oktdatabase/oktimagefiler.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktdatabase/oktshortage.h>
#include <oktdatabase/okttexttable.h>
#include <oktdatabase/oktwindowedread.h>
#include <oktplatform/oktarena.h>
#include <oktplatform/oktfile.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <new>
#include <optional>
#include <typeinfo>
#include <vector>

// The image of a pool, in memory and as a file: length record, header block, objects block.

namespace
{
// The classes that a load has met, each with the place of one object. A class name with the same bytes is not looked up again. The
// class of the last object stands first, since objects of one class often follow each other.
class KnownClasses
{
public:
    /// Stores the class of the object at `place`, which is the position of the filer; null for a name without a class. False: there
    /// is no name.
    bool find(OKTImageFiler &filer, int place, OKTRuntimeClass *&descriptor)
    {
        auto const isSame = [&](Known const &known) { return filer.isSameClassAt(known.place, place); };
        auto known = std::find_if(m_known.begin(), m_end, isSame);
        if (known == m_end)
        {
            // This throws when there is no memory. A false would be a missing name, which ends the load with true.
            CString className;
            if (!filer.findClassName(className))
                return false;
            OKTRuntimeClass *const found = OktFindClass(className);
            known = m_end == m_known.end() ? m_end - 1 : m_end++;
            *known = {place, found};
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

void OKTDbPool::noteFrames(KnownFrames const &frames) const
{
    m_knownFrames = frames;
    m_knownFrames.changes = m_changes;
}

bool OKTDbPool::saveFiler(CByteArray &image, IdMap &translated) const
try
{
    return makeImage(image, translated, nullptr, m_bTranslatedIds);
}
OKT_ANSWER_ZERO

// The ids whose places stand in the header.
std::set<OKTDbObjectId> OKTDbPool::specialIds() const
{
    std::set<OKTDbObjectId> special(m_tabPictures.ids().begin(), m_tabPictures.ids().end());
    special.insert(m_constructId);
    special.insert(m_indexId);
    return special;
}

namespace
{
// Where the frames of all objects begin, in bytes from the start of the objects block. An object of a client module may set a role
// while it is written, or add an object with one, so that the header may need the place of any object.
class FramePlaces
{
public:
    explicit FramePlaces(int objectCount) { m_begins.reserve(static_cast<std::size_t>(objectCount)); }

    void note(OKTDbObjectId const &id, std::int32_t begin) { m_begins.push_back({id.getGuid(), begin}); }
    /// Stores the places of these ids. `end` is that of the last frame. Of several frames under one id the last counts.
    void find(std::set<OKTDbObjectId> ids, std::int32_t end, InfoMap &info) const
    {
        for (auto frame = m_begins.rbegin(); frame != m_begins.rend(); end = frame++->begin)
        {
            OKTDbObjectId id;
            id.setGuid(frame->id);
            if (ids.erase(id) > 0)
                info[id] = {frame->begin, end - frame->begin};
        }
    }

private:
    struct Frame
    {
        _GUID id;
        std::int32_t begin;
    };

    std::vector<Frame> m_begins;
};

// Puts the head of an image over the one in `bytes`, which ends at `start`. False: the image would pass 2^31 - 1 bytes.
bool setHead(CByteArray &bytes, int start, CByteArray &head)
{
    if (head.GetSize() == start)
    {
        std::copy_n(head.GetData(), start, bytes.GetData());
        return true;
    }
    // An object has changed the pool while it was written, so that the head has another length.
    int const objectsSize = bytes.GetSize() - start;
    if (objectsSize > std::numeric_limits<int>::max() - head.GetSize())
        return false;
    std::copy_n(bytes.GetData() + start, objectsSize, head.Extend(objectsSize));
    bytes = std::move(head);
    return true;
}
} // namespace

// Makes the image in one buffer: the length of the header, the header with all places unknown, the objects in id order. Then the
// first two are written again over the old ones, now with the places. Their length is the same, since every number takes the same
// bytes.
//
// Without `replacements`, the ids that are translated go to `translated`. With them, ids are replaced as they are written, and
// `translated` receives only what objects of client modules have put into the filer's map.
bool OKTDbPool::makeImage(CByteArray &image, IdMap &translated, OKTIdReplacements *replacements, bool isTranslating) const
{
    image.RemoveAll();
    std::set<OKTDbObjectId> const special = specialIds();
    auto next = special.begin();
    bool const hasClientObjects = m_hasClientObjects;
    FramePlaces places(hasClientObjects ? m_mapObjects.getSize() : 0);
    std::uint64_t const changes = m_changes;

    InfoMap info;
    OKTImageFiler stream;
    OKTMemoryFiler &filer = stream.filer();
    filer.setTranslatedIds(isTranslating);
    stream.replaceIds(replacements);
    if (!filer.writeInt(CString(), 0) || xmlOut(&filer, info) != eFilerOk)
        return false;
    int const objectsStart = stream.length();
    std::int32_t begin = 0; // of the next frame, from the start of the objects block
    OKTIdOrder const order = hasClientObjects ? OKTIdOrder() : OKTIdOrder(m_mapObjects);
    OKTImageRoom room(stream, m_mapObjects, special, order, m_knownFrames.changes == changes ? m_knownFrames : KnownFrames());
    if (!order.isEmpty() && !OktWriteInOrder(order, m_mapObjects, special, stream, room, begin, info))
        return false;
    auto entry = m_mapObjects.begin();
    std::uint64_t seen = changes;
    for (int i = 0; order.isEmpty() && i < m_mapObjects.getSize(); ++i)
    {
        // By position, where an object of a client module has taken itself or others out of the pool while it was written.
        if (m_changes != seen)
            entry = std::next(m_mapObjects.begin(), i);
        else if (i > 0)
            ++entry;
        seen = m_changes;
        OKTDbObjectId const &id = entry->first;
        OKTDbObject const *const object = entry->second;
        if (object == nullptr)
            continue;
        OktFetchAhead(object);
        while (next != special.end() && *next < id)
            ++next;
        bool const isSpecial = next != special.end() && !(id < *next);
        bool keepsIds = false;
        if (hasClientObjects)
        {
            places.note(id, begin);
            keepsIds = replacements != nullptr && !OktIsOwnObject(*object);
            if (keepsIds)
                stream.replaceIds(nullptr);
        }
        if (object->xmlOut(&filer) != eFilerOk) // from here on the object, and its entry in the map, may be gone
            return false;
        std::int32_t const end = stream.length() - objectsStart;
        if (keepsIds)
        {
            stream.replaceIds(replacements);
            replacements->noteOldIds(begin, end);
            if (stream.isMapAsked() || stream.isTranslationChanged())
                replacements->refuse();
        }
        if (isSpecial)
            info[*next] = {begin, end - begin};
        room.note(i, end);
        begin = end;
    }
    if (hasClientObjects && (m_changes != changes || specialIds() != special))
        places.find(specialIds(), begin, info);
    if (!filer.saveMapTranslatedIds(translated))
        return false;

    OKTImageFiler header;
    header.filer().setTranslatedIds(m_bTranslatedIds);
    header.replaceIds(replacements);
    if (xmlOut(&header.filer(), info) != eFilerOk || !header.filer().saveMapTranslatedIds(translated))
        return false;
    OKTMemoryFiler length;
    if (!length.writeInt(CString(), header.length()))
        return false;
    CByteArray head = length.takeBytes();
    head.Append(header.filer().takeBytes());
    CByteArray bytes = filer.takeBytes();
    if (!setHead(bytes, objectsStart, head))
        return false;
    constexpr int kWaste = 8; // a part that is not worth giving back: the next save takes the block again, as large as it is
    if (bytes.GetCapacity() - bytes.GetSize() > bytes.GetSize() / kWaste)
        bytes.FreeExtra();
    if (m_changes == changes)
        noteFrames(room.known(begin));
    image = std::move(bytes);
    return true;
}

bool OKTDbPool::loadFiler(CByteArray const &image)
try
{
    OKTImageFiler filer(this);
    return hasTranslation(filer.filer()) && loadThrough(filer, image, nullptr);
}
OKT_ANSWER_ZERO

// False: a filer made for this pool found no memory for the map of translated ids, so that it would translate none.
bool OKTDbPool::hasTranslation(OKTMemoryFiler const &filer) const { return filer.getTranslatedIds() == m_bTranslatedIds; }

// With `replacements`, the image is one of a clone: its ids are new ones already, except where areOldIdsAt says otherwise.
bool OKTDbPool::loadThrough(OKTImageFiler &stream, CByteArray const &image, OKTIdReplacements *replacements)
{
    OKTMemoryFiler &filer = stream.filer();
    OktArena arena(image.GetSize());
    OKTTextTable texts(image.GetSize(), &arena);
    filer.readInPlace(image);
    stream.shareTexts(texts);
    int headerLength = 0;
    InfoMap info;
    if (!filer.readInt(CString(), headerLength) || xmlIn(&filer, info) != eFilerOk)
        return false;
    bool const isAll = m_mapObjects.isEmpty() && m_readFilter.getSize() == 0;
    ObjectsRead read;
    if (!loadObjects(stream, arena, stream.position(), replacements, read))
        return false;
    if (isAll)
        noteFrames(OKTImageRoom::known(m_mapObjects, specialIds(), read.frames, read.first, read.bytes));
    return true;
}

void OKTDbPool::ObjectsRead::note(std::int64_t size)
{
    bytes += size;
    if (++frames == OKTImageRoom::kFirst)
        first = bytes;
}

bool OKTDbPool::loadObjects(OKTImageFiler &stream, OktArena &arena, int objectsStart, OKTIdReplacements *replacements,
                            ObjectsRead &read)
{
    OKTMemoryFiler &filer = stream.filer();
    bool const isFiltering = m_readFilter.getSize() > 0;
    KnownClasses classes;
    for (int place; stream.moveToNextObject(place);)
    {
        OKTRuntimeClass *descriptor;
        if (!classes.find(stream, place, descriptor))
            break;
        bool const hasOldIds = replacements != nullptr && replacements->areOldIdsAt(place - objectsStart);
        if (replacements != nullptr)
        {
            filer.setTranslatedIds(hasOldIds);
            if (!hasOldIds && descriptor != nullptr && !OktIsOwnClass(*descriptor))
                replacements->refuse(); // a class of a client module that has taken the name of one of ours
        }
        OKTDbObject *const object = descriptor == nullptr ? nullptr
                                    : arena.isOn()        ? OktMakeToRead(*descriptor, arena)
                                                          : descriptor->CreateObject();
        bool const isRead = readObject(filer, object);
        if (isRead && hasOldIds && stream.isTranslationChanged())
            replacements->refuse();
        if (!isRead || !takeRead(object, isFiltering, arena))
        {
            OktLose(object);
            return false;
        }
        read.note(stream.position() - place);
    }
    return true;
}

namespace
{
// The next block of entries comes from the arena, where both have room for it; else the map gets one as ever.
void supplyEntries(ObjectMap &objects, OktArena &arena)
try
{
    OKTEntryBlocks *const blocks = objects.blocks();
    if (blocks == nullptr || !blocks->isFull())
        return;
    blocks->prepareToAdd();
    if (void *const piece = arena.take(OktArena::kLargest))
        blocks->add(piece, OktArena::kLargest);
}
catch (std::bad_alloc const &)
{
    OktNoteShortage();
}
} // namespace

// False: the object is lost (quirk 18).
bool OKTDbPool::takeRead(OKTDbObject *object, bool isFiltering, OktArena &arena)
{
    if (isFiltering && skipObjectByReadFilter(object))
    {
        delete object;
        return true;
    }
    if (arena.isOn())
        supplyEntries(m_mapObjects, arena);
    return appendReadObject(object);
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
        OktFileImage const scope(*this);
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
    {
        CFile file;
        if (path.IsEmpty() || !file.Open(path, CFile::modeRead | CFile::shareDenyWrite))
            return false;
        std::int64_t const length = OktLengthOf(file);
        if (length <= OKTWindowedRead::kWindow)
        {
            if (!OktReadFromHere(file, image, length))
                return false;
        }
        else if (std::optional<bool> const done = OKTWindowedRead::read(*this, file, length))
            return *done;
        else if (!OktReadBytes(file, image, -1, -1))
            return false;
    }
    OktFileImage const scope(*this);
    return loadFiler(image);
}
OKT_ANSWER_ZERO
