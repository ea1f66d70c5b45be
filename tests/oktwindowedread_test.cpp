// SPDX-License-Identifier: MIT
// A file that is read through a window, held against the load of the whole file; and the objects of a load, which lie in blocks of
// memory and end one by one.

#include "support/allclasses.h"
#include "support/alloccount.h"
#include "support/clientclasses.h"
#include "support/expectedleak.h"
#include "support/filefaults.h"
#include "support/imageof.h"
#include "support/poolcontents.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/shortage.h"

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktwindowedread.h>
#include <oktplatform/oktarena.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
void addPicture(OKTDbPool &pool, int size)
{
    CByteArray data;
    data.SetSize(size);
    for (int i = 0; i < size; ++i)
        data[i] = static_cast<BYTE>(i * 7);
    auto *const picture = new OKTDbPicture;
    picture->setPictureData(data);
    pool.appendObject(picture);
}

/// The image of a pool of parameters, categories and pictures, some of which are larger than a window.
CByteArray imageOfPool(int parameters, std::vector<int> const &pictures)
{
    OKTDbPool pool;
    pool.setPoolName(u"in a window");
    fillWithParameters(pool, parameters);
    for (int i = 0; i < parameters / 50; ++i)
    {
        auto *const category = new OKTDbCategory;
        category->setCategoryName(u"Bars of the mesh");
        for (int used = 0; used < 20; ++used)
            category->appendParameter(pool.objectAt(used));
        pool.appendObject(category);
    }
    for (int const size : pictures)
        addPicture(pool, size);
    return imageOf(pool);
}

/// How a file is read.
enum class Way
{
    Any,
    Whole
};

struct Read
{
    bool done = false;
    PoolContents contents;
    std::size_t reports = 0;
};

/// Into a pool with a header of its own.
Read readFrom(Way way, CString const &path)
{
    ExpectedLeak const leak; // an object at fault is lost (quirk 18)
    ReportCatcher const reports;
    OKTDbPool pool;
    pool.setObjectId(OKTDbObjectId());
    pool.setPoolName(u"before");
    pool.setMetricsFactor(25.0);
    pool.setBoolTranslatedIds(way == Way::Whole); // by an empty map, which changes no id
    Read read;
    read.done = pool.readFile(path);
    pool.setBoolTranslatedIds(false);
    read.contents = contentsOf(pool);
    read.reports = reports.count();
    return read;
}

/// What differs between both ways, or nothing.
std::string differenceOfWays(ScratchFolder const &folder, CByteArray const &image)
{
    CString const path = folder.put("pool.okt", image);
    Read const any = readFrom(Way::Any, path);
    Read const whole = readFrom(Way::Whole, path);
    if (any.done != whole.done)
        return whole.done ? "false where the whole file gives true" : "true where the whole file gives false";
    if (any.reports != whole.reports)
        return "another number of reports";
    return difference(whole.contents, any.contents);
}

CByteArray partOf(CByteArray const &bytes, int size)
{
    CByteArray part(bytes);
    part.SetSize(size);
    return part;
}
} // namespace

TEST(WindowedRead, ReadFile_AnySizeAroundTheWindow_AsFromTheWhole)
{
    ScratchFolder const folder;
    for (int parameters : {500, 700, 1500, 4000})
        EXPECT_EQ(differenceOfWays(folder, imageOfPool(parameters, {})), "") << parameters;
    // The last frame ends at each place around the end of the first window and of the second.
    CByteArray const image = imageOfPool(1500, {});
    ASSERT_GT(image.GetSize(), 2 * OKTWindowedRead::kWindow);
    for (int const end : {OKTWindowedRead::kWindow, 2 * OKTWindowedRead::kWindow})
        for (int size = end - 12; size <= end + 12; ++size)
            EXPECT_EQ(differenceOfWays(folder, partOf(image, size)), "") << size;
}

TEST(WindowedRead, ReadFile_ObjectsLargerThanTheWindow_AsFromTheWhole)
{
    ScratchFolder const folder;
    CByteArray const image = imageOfPool(1500, {10, 9'000, 60'000, 200'000, 1'000'000});
    ASSERT_GT(image.GetSize(), 2'000'000);
    EXPECT_EQ(differenceOfWays(folder, image), "");
    OKTDbPool pool;
    EXPECT_TRUE(pool.readFile(folder.put("pool.okt", image)));
    EXPECT_EQ(pool.picturesId().getSize(), 5);
}

TEST(WindowedRead, ReadFile_BytesFlippedOrCut_AsFromTheWhole)
{
    ScratchFolder const folder;
    CByteArray const image = imageOfPool(700, {60'000});
    ASSERT_GT(image.GetSize(), OKTWindowedRead::kWindow);
    std::mt19937 random(11);
    auto const anywhere = [&] { return static_cast<int>(random() % static_cast<unsigned int>(image.GetSize())); };
    int refused = 0;
    for (int i = 0; i < 60; ++i)
    {
        CByteArray flipped(image);
        int const place = i < 20 ? OKTWindowedRead::kWindow - 4096 + 200 * i : anywhere();
        flipped[place] = static_cast<BYTE>(flipped[place] ^ (1 << i % 8));
        ASSERT_EQ(differenceOfWays(folder, flipped), "") << "byte " << place;
        ASSERT_EQ(differenceOfWays(folder, partOf(image, std::max(place, OKTWindowedRead::kWindow + 1))), "") << place;
        OKTDbPool pool;
        ExpectedLeak const leak;
        refused += pool.readFile(folder.path("pool.okt")) ? 0 : 1;
    }
    EXPECT_GT(refused, 0);
}

TEST(WindowedRead, ReadFile_RubbishLongerThanAWindow_IsPassedOver_Quirk19)
{
    ScratchFolder const folder;
    CByteArray image = imageOfPool(700, {});
    for (int const rubbish : {255 << 10, 256 << 10, 300 << 10, 1 << 20})
    {
        CByteArray file(image);
        file.SetSize(file.GetSize() + rubbish); // zeros, which begin no frame
        EXPECT_EQ(differenceOfWays(folder, file), "") << rubbish;
        OKTDbPool pool;
        EXPECT_TRUE(pool.readFile(folder.path("pool.okt")));
    }
}

TEST(WindowedRead, ReadFile_HeaderLongerThanTheWindow_AsFromTheWhole)
{
    ScratchFolder const folder;
    OKTDbPool pool;
    fillWithParameters(pool, 100);
    IdArray pictures;
    for (int i = 0; i < 5'000; ++i)
        pictures.append(OKTDbObjectId::createObjectId(nullptr));
    pool.setPicturesIds(pictures);
    EXPECT_EQ(differenceOfWays(folder, imageOf(pool)), "");
    OKTDbPool read;
    EXPECT_TRUE(read.readFile(folder.path("pool.okt")));
    EXPECT_EQ(read.picturesId().getSize(), 5'000);
}

// Objects of client modules may ask where they stand: they are read from the whole file.
TEST(WindowedRead, ReadFile_ObjectsOfClientModules_AsFromTheWhole)
{
    ScratchFolder const folder;
    AllClassesPool source(PoolSize::Large);
    ASSERT_GT(source.image().GetSize(), 2 * OKTWindowedRead::kWindow);
    EXPECT_EQ(differenceOfWays(folder, source.image()), "");
    ClientClasses const classes;
    OKTDbPool pool;
    fillWithParameters(pool, 3'000);
    pool.appendObject((*g_RuntimeClass.find(u"OKTDbConstruct"))->CreateObject());
    EXPECT_EQ(differenceOfWays(folder, imageOf(pool)), "");
}

TEST(WindowedRead, ReadFile_FilteredOrUnknownClass_AsFromTheWhole)
{
    ScratchFolder const folder;
    CByteArray const image = imageOfPool(1500, {60'000});
    CString const path = folder.put("pool.okt", image);
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbCategory::desc());
    OKTDbPool pool;
    pool.setReadFilter(filter);
    EXPECT_TRUE(pool.readFile(path));
    EXPECT_EQ(pool.objectCount(), 30);
    CByteArray unknown(image);
    char const name[] = "OKTDbPicture";
    BYTE *const place = std::search(unknown.GetData() + 5'000, unknown.GetData() + unknown.GetSize(), name, name + 12);
    ASSERT_NE(place, unknown.GetData() + unknown.GetSize());
    *place = 'X';
    EXPECT_EQ(differenceOfWays(folder, unknown), "");
}

TEST(WindowedRead, ReadFile_PoolWithObjects_AreAddedAndSecondTimeIsFalse)
{
    ScratchFolder const folder;
    CString const path = folder.put("pool.okt", imageOfPool(1500, {}));
    OKTDbPool pool;
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(pool.appendObject(new OKTDbRelation));
    EXPECT_TRUE(pool.readFile(path));
    EXPECT_EQ(pool.objectCount(), 1533);
    ExpectedLeak const leak;
    EXPECT_FALSE(pool.readFile(path));
    EXPECT_EQ(pool.objectCount(), 1533);
}

#if defined(OKT_TEST_FILE_FAULTS)
// Whatever of the file was read before, the pool is as it was, also behind an object that is broken.
TEST(WindowedRead, ReadFile_AReadFails_FalseAndPoolAsItWas)
{
    ScratchFolder const folder;
    CByteArray const image = imageOfPool(3'000, {60'000});
    CByteArray broken(image);
    broken[400'000] = static_cast<BYTE>(broken[400'000] ^ 0xFF);
    for (CByteArray const &bytes : {image, broken})
    {
        CString const path = folder.put("pool.okt", bytes);
        std::size_t calls = 0;
        PoolContents undisturbed; // of the broken file, what stands ahead of the fault
        {
            ExpectedLeak const leak;
            OKTDbPool pool;
            {
                FileCallCount const count;
                pool.readFile(path);
                calls = count.calls();
            }
            undisturbed = contentsOf(pool);
        }
        ASSERT_GT(calls, 8u);
        int refused = 0;
        for (std::size_t passed = 0; passed < calls; ++passed)
        {
            ExpectedLeak const leak;
            OKTDbPool pool;
            pool.setPoolName(u"before");
            PoolContents const before = contentsOf(pool);
            bool read = true;
            bool struck = false;
            {
                FileFault const fault(FileFaultKind::Error, 5, passed);
                read = pool.readFile(path);
                struck = fault.struck();
            }
            if (!struck || read)
                continue; // a call whose outcome nobody needs, as the end of the file
            // The plain way may have read the file where the fast one could not begin.
            PoolContents const after = contentsOf(pool);
            if (difference(undisturbed, after) != "")
            {
                EXPECT_EQ(difference(before, after), "") << passed << ' ' << FileFault::call();
            }
            ++refused;
        }
        EXPECT_GT(refused, 4);
    }
}
#endif

TEST(WindowedRead, ReadFile_LargeFile_NoSecondImage)
{
    ScratchFolder const folder;
    CByteArray const image = imageOfPool(20'000, {});
    CString const path = folder.put("pool.okt", image);
    giveUpKept();
    OKTDbPool pool;
    PeakMemory const peak;
    ASSERT_TRUE(pool.readFile(path));
    std::size_t const most = peak.bytes();
    PeakMemory const fromHere; // sets the peak to what is held now
    if (most > 0)
    {
        EXPECT_LE(most - peak.bytes(), static_cast<std::size_t>(image.GetSize() / 10));
    }
}

TEST(ShortageWindowedRead, ReadFile_EveryFault_FalseOrEveryObject_Quirk18)
{
    ScratchFolder const folder;
    CByteArray const image = imageOfPool(1500, {60'000, 300'000});
    CString const path = folder.put("pool.okt", image);
    std::unique_ptr<OKTDbPool> pool;
    bool read = false;
    forEveryFault({
        .name = "readFile through a window",
        .prepare =
            [&] {
                pool = std::make_unique<OKTDbPool>();
                pool->setMetricsFactor(1000.0);
            },
        .perform = [&] { read = pool->readFile(path); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (read && imageOf(*pool) != image)
                wrong = "true, and not all is there";
            else if (!read && !struck && !isFileFault())
                wrong = "false without cause";
            pool.reset();
            return wrong;
        },
        .mayLose = 1,
        .usesFiles = true,
        .most = 80,
    });
}

// --- Where the objects of a load end ---

TEST(ObjectsOfALoad, RemoveObject_OutlivesItsPoolAndEndsByDelete)
{
    CByteArray const image = imageOfPool(2'000, {});
    giveUpKept();
    LiveBlocks const blocks;
    {
        std::vector<std::unique_ptr<OKTDbObject>> kept;
        std::vector<CString> names;
        {
            OKTDbPool pool;
            ASSERT_TRUE(pool.loadFiler(image));
            for (int i = 0; i < 100; ++i)
            {
                OKTDbObject *object = nullptr;
                ASSERT_TRUE(pool.findObject(pool.objectAt(7 * i), object));
                ASSERT_TRUE(pool.removeObject(object));
                kept.emplace_back(object);
                if (auto const *const parameter = OKTDbParameter::cast(object))
                    names.push_back(parameter->UserName());
            }
        }
        OKTDbPool other;
        std::size_t at = 0;
        for (auto &object : kept)
        {
            if (auto const *const parameter = OKTDbParameter::cast(object.get()))
            {
                EXPECT_EQ(parameter->UserName(), names[at++]);
            }
            EXPECT_TRUE(other.appendObject(object.release()));
        }
        EXPECT_GT(at, 50u);
        EXPECT_TRUE(other.loadFiler(image)); // into a pool with objects
        for (int i = 0; i < 500; ++i)
            EXPECT_TRUE(OKTDbObjectId(other.objectAt(i)).eraseObject());
    }
    giveUpKept();
    EXPECT_EQ(blocks.count(), 0u);
}

TEST(ObjectsOfALoad, CopyOfPool_SharesThemAndGoesOnBehindAnErasedEntry)
{
    CByteArray const image = imageOfPool(2'000, {});
    auto pool = std::make_unique<OKTDbPool>();
    ASSERT_TRUE(pool->loadFiler(image));
    OKTDbPool copy(*pool);
    EXPECT_EQ(imageOf(copy), image);
    ASSERT_TRUE(copy.removeAllObjects());
    pool.reset(); // which deletes them
    EXPECT_EQ(copy.objectCount(), 0);
}

namespace
{
class DerivedParameter : public OKTDbParameter
{
public:
    explicit DerivedParameter(int &ends) : m_ends(ends) {}
    ~DerivedParameter() override { ++m_ends; }

private:
    int &m_ends;
};
} // namespace

TEST(ObjectsOfALoad, NewAndDelete_EveryForm)
{
    giveUpKept();
    LiveBlocks const blocks;
    int ends = 0;
    delete new OKTDbParameter;
    OKTDbObject *const derived = new DerivedParameter(ends);
    delete derived;
    delete new (std::nothrow) OKTDbParameter;
    delete[] new OKTDbParameter[3];
    alignas(OKTDbParameter) unsigned char place[sizeof(OKTDbParameter)];
    (new (place) OKTDbParameter)->~OKTDbParameter();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(blocks.count(), 0u);
}
