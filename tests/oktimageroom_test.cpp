// SPDX-License-Identifier: MIT
// The memory that is reserved for an image, and what a pool knows of the size of the next one.

#include "support/alloccount.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/spareblock.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

// A picture announces its length: the buffer gets it at once, and little more.
TEST(ImageRoom, XmlOutOfPicture_AnySize_OneBlockOfThatSize)
{
    // 49151 bytes fill a chunk of 65535 characters to the last but one.
    for (int const size : {49150, 49151, 49152, 49153, 200'000, 3'000'000})
    {
        OKTDbPicture picture;
        CByteArray data;
        data.SetSize(size);
        picture.setPictureData(data);
        OKTMemoryFiler filer;
        ASSERT_EQ(picture.xmlOut(&filer), eFilerOk);
        CByteArray const frame = filer.takeBytes();
        EXPECT_LE(frame.GetCapacity(), frame.GetSize() + 600) << size;
    }
}

namespace
{
void fillWithPictures(OKTDbPool &pool, int count)
{
    CByteArray data;
    data.SetSize(16384);
    for (int i = 0; i < count; ++i)
    {
        if (i % 1000 == 999)
        {
            auto *const picture = new OKTDbPicture;
            picture->setPictureData(data);
            pool.appendObject(picture);
        }
        else if (i % 21 == 0)
        {
            auto *const category = new OKTDbCategory;
            for (int used = 0; used < 20; ++used)
                category->appendParameter(OKTDbObjectId::createObjectId(&pool));
            pool.appendObject(category);
        }
        else
        {
            auto *const parameter = new OKTDbParameter(i % 82, OKTDbObjectId::kNull);
            parameter->setValue(1.5 * i, 1);
            pool.appendObject(parameter);
        }
    }
}
} // namespace

// The image grows in one block, which is little larger than the image.
TEST(ImageRoom, SaveFiler_PicturesAmongManyObjects_OneBlockOfThatSize)
{
    for (int const count : {100, 1000, 20000})
    {
        OKTDbPool pool;
        fillWithPictures(pool, count);
        CByteArray const image = imageOf(pool);
        EXPECT_LE(image.GetCapacity(), image.GetSize() + image.GetSize() / 8) << count;
    }
}

namespace
{
constexpr int kManyObjects = 3000;

/// The most that a save holds, times the image that it makes.
double peakOfSave(OKTDbPool const &pool)
{
    giveUpSpareBlock();
    PeakMemory const peak;
    int const size = imageOf(pool).GetSize();
    return static_cast<double>(peak.bytes()) / size;
}

template <typename F> void changeParameters(OKTDbPool &pool, F change)
{
    IdArray ids;
    ASSERT_TRUE(pool.collectEntities(OKTDbParameter::desc(), ids));
    for (OKTDbObjectId const &id : ids)
        change(*OKTDbParameter::cast(id));
}

constexpr double kMost = 1.15; // images
} // namespace

TEST(ImageRoom, SavedOrLoadedBefore_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, kManyObjects);
    EXPECT_LE(peakOfSave(pool), kMost);
    EXPECT_LE(peakOfSave(pool), kMost);
    CByteArray const image = imageOf(pool);
    OKTDbPool again;
    ASSERT_TRUE(again.loadFiler(image));
    EXPECT_LE(peakOfSave(again), kMost);
    EXPECT_EQ(imageOf(again), image);
}

// A little goes into the room that every image has.
TEST(ImageRoom, ALittleLonger_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, kManyObjects);
    peakOfSave(pool);
    int changed = 0;
    changeParameters(pool, [&](OKTDbParameter &parameter) {
        if (++changed % 10 == 0)
            parameter.setDescription(u"see the drawing");
    });
    EXPECT_LE(peakOfSave(pool), kMost);
}

TEST(ImageRoom, TextsOfAllObjectsSetThenCleared_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, kManyObjects);
    peakOfSave(pool);
    changeParameters(pool,
                     [](OKTDbParameter &parameter) { parameter.setDescription(CString(std::u16string(300, u'x').c_str())); });
    EXPECT_LE(peakOfSave(pool), kMost);
    changeParameters(pool, [](OKTDbParameter &parameter) { parameter.setDescription(u""); });
    EXPECT_LE(peakOfSave(pool), kMost);
}

TEST(ImageRoom, PicturesExchanged_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, kManyObjects);
    peakOfSave(pool);
    for (int const size : {1'000'000, 0})
    {
        CByteArray data;
        data.SetSize(size);
        for (OKTDbObjectId const &id : pool.picturesId())
            OKTDbPicture::cast(id)->setPictureData(data);
        EXPECT_LE(peakOfSave(pool), size == 0 ? kMost + 0.15 : kMost)
            << size; // the text of a chunk stands beside a small image
    }
}

TEST(ImageRoom, FewObjectsWithLargePictures_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, 20);
    CByteArray data;
    data.SetSize(2'000'000);
    for (int i = 0; i < 5; ++i)
    {
        auto *const picture = new OKTDbPicture;
        picture->setPictureData(data);
        ASSERT_TRUE(pool.appendObject(picture));
    }
    EXPECT_LE(peakOfSave(pool), kMost);
}

TEST(ImageRoom, FewObjectsWithLongLists_OneBlock)
{
    OKTDbPool pool;
    for (int i = 0; i < 20; ++i)
    {
        auto *const category = new OKTDbCategory;
        for (int used = 0; used < 1000; ++used)
            category->appendParameter(OKTDbObjectId::createObjectId(&pool));
        ASSERT_TRUE(pool.appendObject(category));
    }
    EXPECT_LE(peakOfSave(pool), kMost);
}

// Objects that are listed as pictures and are none, or are not there, announce nothing.
TEST(ImageRoom, ListedPicturesOfOtherKinds_SameImage)
{
    OKTDbPool pool;
    fillWithPictures(pool, 200);
    IdArray ids;
    pool.getAllObjects(ids);
    IdArray listed;
    listed.append(ids.at(0));
    listed.append(ids.at(199));
    listed.append(OKTDbObjectId::createObjectId(&pool));
    listed.append(OKTDbObjectId());
    pool.setPicturesIds(listed);
    CByteArray const image = imageOf(pool);
    OKTDbPool again;
    ASSERT_TRUE(again.loadFiler(image));
    EXPECT_EQ(again.objectCount(), 200);
    EXPECT_EQ(imageOf(again), image);
}

TEST(ImageRoom, OtherObjectsOfTheSameNumber_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, kManyObjects);
    peakOfSave(pool);
    ASSERT_TRUE(pool.eraseAllObjects());
    for (int i = 0; i < kManyObjects; ++i)
        ASSERT_TRUE(pool.appendObject(new OKTDbCategory));
    EXPECT_LE(peakOfSave(pool), kMost);

    IdArray ids;
    pool.getAllObjects(ids);
    std::vector<std::unique_ptr<OKTDbObject>> old;
    for (int i = 0; i < ids.getSize(); ++i)
        if (i % 2 == 0)
        {
            OKTDbObject *object = nullptr;
            ASSERT_TRUE(pool.findObject(ids.at(i), object));
            old.emplace_back(object);
            auto *const category = new OKTDbCategory;
            category->setObjectId(ids.at(i));
            for (int used = 0; used < 20; ++used)
                category->appendParameter(OKTDbObjectId::createObjectId(&pool));
            ASSERT_TRUE(pool.replaceObject(ids.at(i), category));
        }
    EXPECT_LE(peakOfSave(pool), kMost);
}

TEST(ImageRoom, ObjectsComeAndGo_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, kManyObjects);
    peakOfSave(pool);
    IdArray ids;
    pool.getAllObjects(ids);
    for (int i = 0; i < ids.getSize(); i += 2)
    {
        std::unique_ptr<OKTDbObject> object;
        OKTDbObject *found = nullptr;
        ASSERT_TRUE(pool.findObject(ids.at(i), found));
        object.reset(found);
        ASSERT_TRUE(i % 4 == 0 ? pool.removeObject(ids.at(i)) : pool.removeObject(found));
    }
    EXPECT_LE(peakOfSave(pool), kMost);
    for (int i = 0; i < ids.getSize(); i += 2)
        ASSERT_TRUE(pool.appendObject(new OKTDbCategory));
    EXPECT_LE(peakOfSave(pool), kMost);
    std::vector<std::unique_ptr<OKTDbObject>> handedBack;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
        handedBack.emplace_back(id.getObject());
    ASSERT_TRUE(pool.removeAllObjects());
    for (int i = 0; i < ids.getSize(); ++i)
        ASSERT_TRUE(pool.appendObject(new OKTDbCategory));
    EXPECT_LE(peakOfSave(pool), kMost);
}

// Rubbish between objects, or behind them, is no part of the next image.
TEST(ImageRoom, FileWithRubbish_OneBlock)
{
    OKTDbPool pool;
    fillWithPictures(pool, kManyObjects);
    CByteArray image = imageOf(pool);
    int const size = image.GetSize();
    image.SetSize(3 * size);
    OKTDbPool again;
    ASSERT_TRUE(again.loadFiler(image));
    ASSERT_EQ(again.objectCount(), kManyObjects);
    EXPECT_LE(peakOfSave(again), kMost);
}

TEST(ImageRoom, LoadedInPartOrJoined_OneBlock)
{
    OKTDbPool source;
    fillWithPictures(source, kManyObjects);
    CByteArray const image = imageOf(source);

    OKTDbPool part;
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbParameter::desc());
    part.setReadFilter(filter);
    ASSERT_TRUE(part.loadFiler(image));
    ASSERT_GT(part.objectCount(), 2000);
    EXPECT_LE(peakOfSave(part), kMost);

    OKTDbPool joined;
    fillWithPictures(joined, kManyObjects);
    peakOfSave(joined);
    ASSERT_TRUE(joined.loadFiler(image));
    ASSERT_EQ(joined.objectCount(), 2 * kManyObjects);
    EXPECT_LE(peakOfSave(joined), kMost);
}

// Parameters are asked to the byte, whatever they hold.
TEST(ImageRoom, SaveFiler_ParametersOfAnyKind_NoMoreThanTheirSize)
{
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    for (int i = 0; i < 500; ++i)
    {
        auto *const parameter = new OKTDbParameter(i % 82, pool.objectId());
        switch (i % 4)
        {
        case 0: parameter->setValue(1.5 * i, 1); break;
        case 1: parameter->setValue(i, 1); break;
        case 2: parameter->setValue(i % 8 == 2, 1); break;
        default: parameter->setValue(u"a text of some length", 1); break;
        }
        parameter->setType(i % 4 == 3 ? 82 : 6);
        parameter->setExpression(CString(std::u16string(static_cast<std::size_t>(i % 50), u'x').c_str()));
        IdArray ids;
        for (int used = 0; used < i % 5; ++used)
            ids.append(OKTDbObjectId::createObjectId(&pool));
        parameter->setTabParams(ids);
        ASSERT_TRUE(pool.appendObject(parameter));
    }
    giveUpSpareBlock();
    CByteArray const image = imageOf(pool);
    EXPECT_LE(image.GetCapacity(), image.GetSize() + 128);
}

// So are the other classes.
TEST(ImageRoom, SaveFiler_OtherClasses_NoMoreThanTheirSize)
{
    auto const fillCategory = [](OKTDbCategory &category, int number) {
        category.setCategoryName(CString(std::u16string(static_cast<std::size_t>(number % 9), u'c').c_str()));
        for (int i = 0; i < number % 7; ++i)
            category.appendParameter(OKTDbObjectId::createObjectId(nullptr));
    };
    for (int kind = 0; kind < 5; ++kind)
    {
        OKTDbPool pool;
        for (int i = 0; i < 300; ++i)
        {
            OKTDbObject *object = nullptr;
            if (kind == 0)
                fillCategory(*static_cast<OKTDbCategory *>(object = new OKTDbCategory), i);
            else if (kind == 1)
                object = new OKTDbRelation;
            else if (kind == 2)
            {
                auto *const group = new OKTDbGroupCategory;
                for (int used = 0; used < i % 7; ++used)
                    group->appendCategory(OKTDbObjectId::createObjectId(nullptr));
                object = group;
            }
            else if (kind == 3)
            {
                auto *const relation = new OKTDbParamRelation;
                for (int used = 0; used < i % 7; ++used)
                    relation->appendParameter(OKTDbObjectId::createObjectId(nullptr));
                object = relation;
            }
            else
            {
                auto *const picture = new OKTDbPicture;
                CByteArray data;
                data.SetSize(i % 5 == 4 ? 60'000 : i % 5);
                picture->setPictureData(data);
                object = picture;
            }
            ASSERT_TRUE(pool.appendObject(object));
        }
        giveUpSpareBlock();
        CByteArray const image = imageOf(pool);
        EXPECT_LE(image.GetCapacity(), image.GetSize() + 128) << kind;
    }
}

// The pictures of a pool are asked each time, wherever they stand.
TEST(ImageRoom, SavedAgain_PictureAmongTheFirstOrTheLast_OneBlock)
{
    for (int round = 0; round < 20; ++round)
    {
        OKTDbPool pool;
        fillWithPictures(pool, kManyObjects);
        peakOfSave(pool);
        CByteArray data;
        data.SetSize(1'000'000);
        for (int i = 0; i < 30; ++i)
        {
            auto *const picture = new OKTDbPicture;
            picture->setPictureData(data);
            ASSERT_TRUE(pool.appendObject(picture));
        }
        EXPECT_LE(peakOfSave(pool), kMost) << round;
        EXPECT_LE(peakOfSave(pool), kMost) << round;
    }
}

// An object of another module is not asked: what it does while it is written, it does once.
TEST(ImageRoom, SaveFiler_ObjectsOfAnotherModule_WrittenOnce)
{
    class Counting : public TestObject
    {
    public:
        FilerStatusDb xmlOut(OKTFiler *filer) const override
        {
            ++m_calls;
            return TestObject::xmlOut(filer);
        }

        mutable int m_calls = 0;
    };
    OKTDbPool pool;
    auto *const counting = new Counting;
    ASSERT_TRUE(pool.appendObject(counting));
    imageOf(pool);
    EXPECT_EQ(counting->m_calls, 1);
}
