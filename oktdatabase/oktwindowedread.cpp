// SPDX-License-Identifier: MIT
#include <oktdatabase/oktwindowedread.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktfileimage.h>
#include <oktdatabase/oktimagefiler.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktdatabase/oktshortage.h>
#include <oktdatabase/okttexttable.h>
#include <oktplatform/oktarena.h>
#include <oktplatform/oktfile.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

/// A stretch of a file in memory, which the stream reads. Positions are those of the stream in it.
class OKTWindowedRead::Window
{
public:
    Window(OKTDbPool &pool, CFile &file, int fileSize)
        : m_file(file), m_fileSize(fileSize), m_arena(fileSize), m_texts(fileSize, &m_arena), m_stream(&pool)
    {
        m_stream.shareTexts(m_texts);
        m_bytes.SetSize(kWindow);
    }
    Window(Window const &) = delete;
    Window &operator=(Window const &) = delete;

    OKTImageFiler &stream() { return m_stream; }
    OktArena &arena() { return m_arena; }
    CByteArray const &bytes() const { return m_bytes; }
    int size() const { return m_bytes.GetSize(); }
    /// The file ends with it.
    bool isLast() const { return m_start + size() == m_fileSize; }

    /// To the beginning of the file. This and the next are false where the file cannot be read or there is no memory.
    bool open()
    {
        if (!fill(0))
            return false;
        m_stream.readAt(m_bytes, 0);
        return true;
    }
    /// Lets the window begin one byte ahead of that position, which comes to 1: what ends there tells whether an object begins.
    bool moveTo(int position)
    try
    {
        int const from = position - 1;
        int const kept = size() - from;
        int const wanted = std::min(m_wanted, m_fileSize - m_start - from);
        if (wanted > size())
            m_bytes.SetSize(wanted);
        std::memmove(m_bytes.GetData(), m_bytes.GetData() + from, static_cast<std::size_t>(kept));
        m_bytes.SetSize(wanted);
        m_start += from;
        if (!fill(kept))
            return false;
        m_stream.readAt(m_bytes, 1);
        return true;
    }
    catch (std::bad_alloc const &)
    {
        OktNoteShortage();
        return false;
    }
    /// The next one is twice as large.
    void enlarge() { m_wanted = m_wanted > m_fileSize / 2 ? m_fileSize : 2 * m_wanted; }

    /// Goes through the rest of the file.
    bool isRestReadable()
    {
        m_start += size();
        while (m_start < m_fileSize)
        {
            m_bytes.SetSize(std::min(kWindow, m_fileSize - m_start));
            if (!fill(0))
                return false;
            m_start += size();
        }
        return true;
    }
    /// All bytes of the file, which `image` receives, and the stream at the same place of it.
    bool readWhole(CByteArray &image)
    {
        int const position = m_start + m_stream.position();
        if (!OktReadBytes(m_file, image, 0, m_fileSize))
            return false;
        m_bytes.RemoveAll();
        m_start = m_fileSize;
        m_stream.readAt(image, position);
        return true;
    }

private:
    bool fill(int from)
    try
    {
        auto const count = static_cast<UINT>(size() - from);
        return m_file.Read(m_bytes.GetData() + from, count) == count;
    }
    catch (CFileException const &)
    {
        return false;
    }

    CFile &m_file;
    int m_fileSize;
    OktArena m_arena;
    OKTTextTable m_texts;
    OKTImageFiler m_stream;
    CByteArray m_bytes;
    int m_wanted = kWindow;
    int m_start = 0; // of the window in the file
};

/// The classes that were met, by the bytes of their names: a window has no place that stays.
class OKTWindowedRead::Classes
{
public:
    /// Stores the class of the object at `place`, which is the position of the stream; null for one that is not this library's. False:
    /// there is no name, or it reaches beyond the window.
    bool find(Window &window, int place, OKTRuntimeClass *&descriptor)
    {
        BYTE const *const head = window.bytes().GetData() + place;
        int const left = window.size() - place;
        auto const isSame = [&](Known const &known) {
            return known.size < left && std::memcmp(known.head.data(), head, static_cast<std::size_t>(known.size)) == 0;
        };
        auto known = std::find_if(m_known.begin(), m_end, isSame);
        if (known == m_end)
        {
            CString className;
            if (!window.stream().findClassName(className))
                return false;
            descriptor = OktFindClass(className);
            if (descriptor != nullptr && !OktIsOwnClass(*descriptor))
                descriptor = nullptr;
            int const size = kHead + (head[2] | head[3] << 8); // which is in the window, as the name is
            if (size > kRoom)
                return true;
            known = m_end == m_known.end() ? m_end - 1 : m_end++;
            *known = {descriptor, size, {}};
            std::copy_n(head, size, known->head.begin());
        }
        std::iter_swap(m_known.begin(), known);
        descriptor = m_known.front().descriptor;
        return true;
    }

private:
    static constexpr int kHead = 4; // class begin, string type, count
    static constexpr int kRoom = 60;
    struct Known
    {
        OKTRuntimeClass *descriptor;
        int size;
        std::array<BYTE, kRoom> head;
    };

    std::array<Known, 8> m_known;
    std::array<Known, 8>::iterator m_end = m_known.begin();
};

/// What a load changes in a pool without objects.
class OKTWindowedRead::Before
{
public:
    explicit Before(OKTDbPool const &pool)
        : m_objectId(pool.m_objectId), m_name(pool.m_strPoolName), m_constructId(pool.m_constructId),
          m_sketchId(pool.m_sketchId), m_indexId(pool.m_indexId), m_ppActionsId(pool.m_ppActionsId),
          m_radialReinfId(pool.m_radialReinfId), m_pictures(pool.m_tabPictures), m_factor(pool.m_dfMetricsFactor),
          m_hasClientObjects(pool.m_hasClientObjects)
    {
    }

    /// Takes it all back. Needs no memory.
    void restore(OKTDbPool &pool)
    {
        OktArenaHold const hold;
        ObjectMap const objects = std::move(pool.m_mapObjects);
        pool.m_mapObjects.removeAll();
        for (auto const &[id, object] : objects)
            delete object;
        ++pool.m_changes;
        pool.m_objectId = m_objectId;
        pool.m_strPoolName = m_name;
        pool.m_constructId = m_constructId;
        pool.m_sketchId = m_sketchId;
        pool.m_indexId = m_indexId;
        pool.m_ppActionsId = m_ppActionsId;
        pool.m_radialReinfId = m_radialReinfId;
        pool.m_tabPictures = std::move(m_pictures);
        pool.m_dfMetricsFactor = m_factor;
        pool.m_hasClientObjects = m_hasClientObjects;
    }

private:
    OKTDbObjectId m_objectId;
    CString m_name;
    OKTDbObjectId m_constructId;
    OKTDbObjectId m_sketchId;
    OKTDbObjectId m_indexId;
    OKTDbObjectId m_ppActionsId;
    OKTDbObjectId m_radialReinfId;
    OKTDbPool::PictureList m_pictures;
    double m_factor;
    bool m_hasClientObjects;
};

std::optional<bool> OKTWindowedRead::read(OKTDbPool &pool, CFile &file, std::int64_t length)
{
    std::optional<Window> window;
    std::optional<Before> before;
    try
    {
        if (!pool.m_mapObjects.isEmpty() || pool.m_bTranslatedIds || length <= kWindow ||
            length > std::numeric_limits<int>::max())
            return std::nullopt;
        before.emplace(pool);
        window.emplace(pool, file, static_cast<int>(length));
        if (!window->open())
            return std::nullopt;
    }
    catch (std::bad_alloc const &)
    {
        OktNoteShortage();
        return std::nullopt;
    }
    OktFileImage const scope(pool);
    Outcome outcome = readFrom(pool, *window);
    if (outcome == Outcome::False && !window->isRestReadable())
        outcome = Outcome::Unreadable;
    if (outcome == Outcome::Unreadable || outcome == Outcome::AsWhole)
        before->restore(pool);
    return outcome == Outcome::AsWhole ? std::nullopt : std::optional(outcome == Outcome::True);
}

OKTWindowedRead::Outcome OKTWindowedRead::readFrom(OKTDbPool &pool, Window &window)
{
    OKTImageFiler &stream = window.stream();
    int headerLength = 0;
    InfoMap info;
    bool const isRead = stream.filer().readInt(CString(), headerLength) && pool.xmlIn(&stream.filer(), info) == eFilerOk;
    if (stream.hasMetEnd())
        return Outcome::AsWhole; // the header may go on
    if (!isRead)
        return Outcome::False;
    OKTDbPool::ObjectsRead read;
    Outcome const outcome = readObjects(pool, window, read);
    if (outcome == Outcome::True && pool.m_readFilter.getSize() == 0)
        pool.noteFrames(OKTImageRoom::known(pool.m_mapObjects, pool.specialIds(), read.frames, read.first, read.bytes));
    return outcome;
}

OKTWindowedRead::Outcome OKTWindowedRead::readObjects(OKTDbPool &pool, Window &window, OKTDbPool::ObjectsRead &read)
{
    constexpr int kNear = 8 << 10; // an object that begins nearer to the end moves to the front
    OKTImageFiler &stream = window.stream();
    bool const isFiltering = pool.m_readFilter.getSize() > 0;
    Classes classes;
    for (;;)
    {
        int place;
        if (!stream.moveToNextObject(place))
        {
            if (window.isLast())
                return Outcome::True;
            if (!window.moveTo(std::max(stream.position(), window.size() - 1))) // where one may begin
                return Outcome::Unreadable;
            continue;
        }
        if (window.size() - place < kNear && !window.isLast())
        {
            if (!window.moveTo(place))
                return Outcome::Unreadable;
            continue;
        }
        OKTRuntimeClass *descriptor = nullptr;
        if (!classes.find(window, place, descriptor) || descriptor == nullptr)
            return readRest(pool, window, read);
        stream.forgetEnd();
        OKTDbObject *const object = OktMakeToRead(*descriptor, window.arena());
        bool const isRead = OKTDbPool::readObject(stream.filer(), object);
        if (stream.hasMetEnd() && !window.isLast())
        {
            delete object;
            if (place == 1)
                window.enlarge(); // it begins the window, and ends beyond it
            if (!window.moveTo(place))
                return Outcome::Unreadable;
            continue;
        }
        if (!isRead || !pool.takeRead(object, isFiltering, window.arena()))
        {
            OktLose(object);
            return Outcome::False;
        }
        read.note(stream.position() - place);
    }
}

/// From the object at the position on, in the file as a whole.
OKTWindowedRead::Outcome OKTWindowedRead::readRest(OKTDbPool &pool, Window &window, OKTDbPool::ObjectsRead &read)
{
    CByteArray image;
    if (!window.readWhole(image))
        return Outcome::Unreadable;
    return pool.loadObjects(window.stream(), window.arena(), 0, nullptr, read) ? Outcome::True : Outcome::False;
}
