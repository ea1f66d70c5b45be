// SPDX-License-Identifier: MIT
// Pool files that were cut or damaged. The library answers true or false, runs into no undefined behaviour (the suite is built
// with the sanitizers, too), keeps what it read ahead of the fault, and the pool can be used afterwards.

#include "support/clientclasses.h"
#include "support/expectedleak.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace
{
/// A whole file, and the objects that it holds as the bytes that they write.
class DamagedFile
{
public:
    explicit DamagedFile(std::string const &name)
        : m_bytes(contentsOf(CString::FromUtf8(OKT_TEST_DATA_DIR "/golden/" + name + ".okt")))
    {
        OKTDbPool pool;
        EXPECT_TRUE(pool.loadFiler(m_bytes)) << name;
        m_frames = framesOf(pool);
        int end = 5 + (m_bytes.GetAt(1) | m_bytes.GetAt(2) << 8 | m_bytes.GetAt(3) << 16);
        m_objects = end;
        for (CByteArray const &frame : m_frames)
            m_ends.push_back(end += frame.GetSize());
        EXPECT_EQ(end, m_bytes.GetSize()) << name; // in order, nothing between, written as read
    }

    CByteArray const &bytes() const { return m_bytes; }
    int size() const { return m_bytes.GetSize(); }
    /// Where the objects begin.
    int objects() const { return m_objects; }
    std::size_t count() const { return m_frames.size(); }
    /// The number of objects that end at that offset or ahead of it.
    std::size_t wholeAt(int offset) const
    {
        return static_cast<std::size_t>(std::upper_bound(m_ends.begin(), m_ends.end(), offset) - m_ends.begin());
    }

    /// Where the class name of the object ends that stands behind the first `count` objects; the end of the file behind the last.
    int nameEndBehind(std::size_t count) const
    {
        int const begin = count == 0 ? m_objects : m_ends[count - 1];
        return count == m_frames.size() ? begin : begin + 4 + (m_frames[count].GetAt(2) | m_frames[count].GetAt(3) << 8);
    }

    /// The first `count` objects of the file are in the pool and unharmed. A file holds its objects in order of their ids.
    void expectKept(OKTDbPool &pool, std::size_t count, std::string const &what) const
    {
        std::vector<CByteArray> const frames = framesOf(pool);
        std::size_t found = 0;
        for (CByteArray const &frame : frames)
            if (found < count && frame == m_frames[found])
                ++found;
        EXPECT_EQ(found, count) << what;
    }

    static std::vector<CByteArray> framesOf(OKTDbPool &pool)
    {
        std::vector<CByteArray> frames;
        for (int i = 0; i < pool.objectCount(); ++i)
        {
            OKTMemoryFiler filer;
            pool.objectAt(i).getObject()->xmlOut(&filer);
            frames.push_back(filer.takeBytes());
        }
        return frames;
    }

private:
    CByteArray m_bytes;
    int m_objects = 0;
    std::vector<CByteArray> m_frames;
    std::vector<int> m_ends;
};

/// The bytes in a block of just their size, so that a read beyond them is seen.
CByteArray exact(CByteArray bytes)
{
    bytes.FreeExtra();
    return bytes;
}

class PoolFileRobustTest : public testing::Test
{
protected:
    /// What was read is a pool like any other: it is saved, and the image is read again.
    static void expectUsable(OKTDbPool &pool, std::string const &what)
    {
        CByteArray image;
        IdMap translated;
        ASSERT_TRUE(pool.saveFiler(image, translated)) << what;
        OKTDbPool again;
        EXPECT_TRUE(again.loadFiler(image)) << what;
        EXPECT_EQ(again.objectCount(), pool.objectCount()) << what;
    }

    ScratchFolder m_folder;
    ClientClasses m_classes;
    ReportCatcher m_reports; // a damaged count may be reported
    ExpectedLeak m_leak;     // the object at fault is lost (quirk 18)
};

TEST_F(PoolFileRobustTest, LoadFiler_CutAtEveryLength_ObjectsAheadStay_Quirk18)
{
    for (char const *const name : {"empty", "every-class", "value-kinds", "stirrup"})
    {
        DamagedFile const file(name);
        for (int size = 0; size <= file.size(); ++size)
        {
            std::string const what = std::string(name) + " cut at " + std::to_string(size);
            OKTDbPool pool;
            bool const loaded = pool.loadFiler(exact(cut(file.bytes(), size)));
            std::size_t const whole = size < file.objects() ? 0 : file.wholeAt(size);
            file.expectKept(pool, whole, what);
            // One more where the cut object has all of its known members, or looks like one of an older release.
            EXPECT_LE(static_cast<std::size_t>(pool.objectCount()), whole + 1) << what;
            // Up to and with the name of a class the cut object is none yet, whether an object of the class was met or not.
            if (size >= file.objects() && size <= file.nameEndBehind(whole))
            {
                EXPECT_TRUE(loaded) << what;
                EXPECT_EQ(static_cast<std::size_t>(pool.objectCount()), whole) << what;
            }
        }
    }
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(PoolFileRobustTest, PartialReaders_CutAtEveryLength_AnswerWithWhatIsThere)
{
    DamagedFile const file("every-class");
    for (int size = 0; size <= file.size(); size += size < 900 ? 53 : 7)
    {
        std::string const what = "cut at " + std::to_string(size);
        CString const path = m_folder.put("cut.okt", cut(file.bytes(), size));
        OKTDbPool header, index, pictures;
        InfoMap info;
        EXPECT_EQ(header.readFileHeader(path, info), size >= 1024) << what;
        bool const hasIndex = index.readIndex(path);
        bool const hasPictures = pictures.readFilePicture(path);
        EXPECT_EQ(hasIndex, size >= 2303) << what; // where the index object ends
        EXPECT_EQ(hasPictures, size >= 2986) << what;
        EXPECT_EQ(index.objectCount(), hasIndex ? 1 : 0) << what;
        EXPECT_EQ(pictures.objectCount(), hasPictures ? 1 : 0) << what;
    }
}

TEST_F(PoolFileRobustTest, LoadFiler_EveryBitFlipped_ObjectsAheadStay_Quirk18)
{
    for (char const *const name : {"empty", "every-class", "value-kinds"})
    {
        DamagedFile const file(name);
        CByteArray bytes = exact(file.bytes());
        for (int place = 0; place < bytes.GetSize(); ++place)
            for (int bit = 0; bit < 8; ++bit)
            {
                std::string const what = std::string(name) + " bit " + std::to_string(bit) + " of " + std::to_string(place);
                BYTE const before = bytes.GetAt(place);
                bytes.SetAt(place, static_cast<BYTE>(before ^ 1 << bit));
                OKTDbPool pool;
                pool.loadFiler(bytes);
                if (place >= file.objects())
                    file.expectKept(pool, file.wholeAt(place), what);
                EXPECT_LE(static_cast<std::size_t>(pool.objectCount()), file.count()) << what;
                bytes.SetAt(place, before);
            }
    }
}

TEST_F(PoolFileRobustTest, LoadFiler_FramingByteReplaced_ObjectsAheadStayAndThePoolIsUsable_Quirk18)
{
    DamagedFile const file("every-class");
    CByteArray bytes = exact(file.bytes());
    for (int place = 0; place < bytes.GetSize(); ++place)
        for (int const value : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 127, 128, 255})
        {
            BYTE const before = bytes.GetAt(place);
            if (before == value)
                continue;
            std::string const what = std::to_string(value) + " at " + std::to_string(place);
            bytes.SetAt(place, static_cast<BYTE>(value));
            OKTDbPool pool;
            bool const loaded = pool.loadFiler(bytes);
            if (place >= file.objects())
                file.expectKept(pool, file.wholeAt(place), what);
            if (loaded)
                expectUsable(pool, what);
            bytes.SetAt(place, before);
        }
}

TEST_F(PoolFileRobustTest, PartialReaders_EveryByteOfTheHeaderReplaced_AddNoMoreThanIsThere)
{
    DamagedFile const file("every-class");
    CByteArray bytes = file.bytes();
    for (int place = 0; place < file.objects(); ++place)
    {
        BYTE const before = bytes.GetAt(place);
        bytes.SetAt(place, static_cast<BYTE>(before ^ (place % 2 == 0 ? 0xFF : 0x80)));
        CString const path = m_folder.put("damaged.okt", bytes);
        OKTDbPool index, pictures;
        index.readIndex(path);
        pictures.readFilePicture(path);
        EXPECT_LE(index.objectCount(), 1) << place;
        // A damaged second id is one picture more, whose place of -1 leads to the first object (quirk 26).
        EXPECT_LE(pictures.objectCount(), 2) << place;
        bytes.SetAt(place, before);
    }
}

TEST_F(PoolFileRobustTest, LoadFiler_ManyBytesDamaged_PoolIsUsable)
{
    std::mt19937 random(20011);
    for (char const *const name : {"every-class", "stirrup", "newer-sections", "old-sections"})
    {
        CByteArray const whole = contentsOf(CString::FromUtf8(std::string(OKT_TEST_DATA_DIR "/golden/") + name + ".okt"));
        for (int round = 0; round < 300; ++round)
        {
            CByteArray bytes = whole;
            for (unsigned int i = random() % 8 + 1; i > 0; --i)
                bytes.SetAt(static_cast<int>(random() % static_cast<unsigned int>(bytes.GetSize())),
                            static_cast<BYTE>(random()));
            OKTDbPool pool;
            if (pool.loadFiler(exact(bytes)))
                expectUsable(pool, std::string(name) + " round " + std::to_string(round));
        }
    }
}

TEST_F(PoolFileRobustTest, LoadFiler_StretchesTakenOutOrDoubled_IsAnswered)
{
    std::mt19937 random(20012);
    CByteArray const whole = contentsOf(CString::FromUtf8(OKT_TEST_DATA_DIR "/golden/stirrup.okt"));
    for (int round = 0; round < 600; ++round)
    {
        int const first = static_cast<int>(random() % static_cast<unsigned int>(whole.GetSize()));
        int const size = static_cast<int>(random() % 400);
        CByteArray bytes = cut(whole, first);
        if (round % 2 == 0)
        {
            int const from = std::min(first + size, whole.GetSize());
            bytes.Append(stretch(whole, from, whole.GetSize() - from));
        }
        else
        {
            int const from = std::max(first - size, 0);
            bytes.Append(stretch(whole, from, whole.GetSize() - from));
        }
        OKTDbPool pool;
        if (pool.loadFiler(exact(bytes)))
            expectUsable(pool, "round " + std::to_string(round));
        EXPECT_LE(pool.objectCount(), 22) << round;
    }
}

TEST_F(PoolFileRobustTest, LoadFiler_CountsOfTwoThousandMillion_CostNothing)
{
    constexpr char const *id = "{00000001-1111-1111-1111-111111111111}";
    auto const frame = [](char const *name, StreamBuilder const &members) {
        return StreamBuilder().beginClass(name).objectBase(id).beginMembers(1).append(members).endMembers().endClass();
    };
    StreamBuilder const objects[] = {
        frame("OKTDbGroupCategory", StreamBuilder().integer(2147483647)),
        frame("OKTDbCategory", StreamBuilder().id("").integer(2147483647)),
        StreamBuilder().beginClass("OKTDbParamRelation").append(relationFrame(id)).beginMembers(1).integer(2147483647),
        StreamBuilder().beginClass("OKTDbPicture", 3).objectBase(id).beginMembers(2).integer(2147483647),
        StreamBuilder()
            .beginClass("OKTDbPicture", 3)
            .objectBase(id)
            .beginMembers(2)
            .integer(2147483647)
            .endMembers()
            .endClass(),
        frame("OKTDbParameter",
              StreamBuilder().wideText(u"").integer(6).variantReal(1).integer(0).id("").id("").integer(2147483647)),
    };
    for (StreamBuilder const &object : objects)
        for (int behind = 0; behind < 4; ++behind)
        {
            StreamBuilder stream = object;
            for (int i = 0; i < behind; ++i)
                stream.raw({0});
            OKTDbPool pool;
            EXPECT_FALSE(pool.loadFiler(exact(poolImage({}, stream))));
            EXPECT_EQ(pool.objectCount(), 0);
        }
}

TEST_F(PoolFileRobustTest, LoadFiler_DeepNesting_IsPassedOver)
{
    // Frames of frames in a section that nobody knows, closed and not closed.
    for (bool const closed : {true, false})
    {
        StreamBuilder object;
        object.beginClass("OKTDbRelation").objectBase("{00000001-1111-1111-1111-111111111111}").beginMembers(1).endMembers();
        object.beginMembers(2);
        for (int i = 0; i < 20000; ++i)
            object.beginClass("X").beginMembers(1);
        for (int i = 0; i < 20000 && closed; ++i)
            object.endMembers().endClass();
        object.endMembers().endClass().append(relationFrame("{00000002-2222-2222-2222-222222222222}"));
        OKTDbPool pool;
        pool.loadFiler(exact(poolImage({}, object)));
        EXPECT_GE(pool.objectCount(), 1);
        if (closed)
        {
            EXPECT_EQ(pool.objectCount(), 2);
        }
    }
}
} // namespace
