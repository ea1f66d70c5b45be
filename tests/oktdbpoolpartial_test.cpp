// SPDX-License-Identifier: MIT
#include "support/clientclasses.h"
#include "support/expectedleak.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace
{
constexpr char const *kNull = "{00000000-0000-0000-0000-000000000000}";
constexpr char const *k1 = "{00000001-1111-1111-1111-111111111111}";
constexpr char const *k2 = "{00000002-2222-2222-2222-222222222222}";
constexpr char const *k3 = "{00000003-3333-3333-3333-333333333333}";
constexpr char const *k4 = "{00000004-4444-4444-4444-444444444444}";
constexpr char const *k5 = "{00000005-5555-5555-5555-555555555555}";
constexpr char const *k6 = "{00000006-6666-6666-6666-666666666666}";

class PoolPartialTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    /// The bytes with zeros behind them, up to a size.
    static CByteArray padded(CByteArray bytes, int size)
    {
        if (bytes.GetSize() < size)
            bytes.SetSize(size);
        return bytes;
    }

    CString put(CByteArray const &image) { return m_folder.put("a.okt", image); }
    CString put(HeaderFields const &header, StreamBuilder const &objects)
    {
        return put(padded(poolImage(header, objects), 1024));
    }

    static std::vector<std::string> ids(OKTDbPool const &pool)
    {
        std::vector<std::string> texts;
        for (int i = 0; i < pool.objectCount(); ++i)
            texts.push_back(textOf(pool.objectAt(i)));
        return texts;
    }

    /// A file with every role: relation, construct, picture, parameter, picture, index.
    struct Everything
    {
        HeaderFields header;
        StreamBuilder objects;
        std::vector<HeaderFields::Place> places;

        Everything()
        {
            ParameterFields parameter;
            parameter.id = k4;
            for (StreamBuilder const &frame :
                 {relationFrame(k1), clientFrame("OKTDbConstruct", k2, 2, u"two"), pictureFrame(k3, {"AQID"}),
                  parameterFrame(parameter), pictureFrame(k5, {"AQIDBAUG"}), clientFrame("OKTDbIndexData", k6, 6, u"six")})
            {
                places.push_back({objects.size(), frame.size()});
                objects.append(frame);
            }
            header.constructId = k2;
            header.construct = places[1];
            header.indexId = k6;
            header.index = places[5];
            header.pictures = {{k5, places[4]}, {k3, places[2]}};
            header.name = u"everything";
        }
        int block() const { return 5 + poolHeader(header).size(); }
    };

    ScratchFolder m_folder;
    ClientClasses m_classes;
    ClientFaults m_faults;
    ReportCatcher m_reports;
};

// --- readFileHeader ----------------------------------------------------------------------------------------------------------

TEST_F(PoolPartialTest, ReadFileHeader_FileWithEverything_FieldsAndPlacesInTheFile)
{
    Everything const all;
    CString const path = put(all.header, all.objects);
    OKTDbPool pool;
    InfoMap info;
    info[idOf(k4)] = {1, 2};

    ASSERT_TRUE(pool.readFileHeader(path, info));

    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(pool.poolName(), u"everything");
    EXPECT_EQ(textOf(pool.constructId()), k2);
    EXPECT_FALSE(pool.constructId().isValid());
    EXPECT_EQ(pool.constructId().getPool(), &pool);
    EXPECT_EQ(pool.picturesId().getSize(), 2);
    EXPECT_EQ(info.getSize(), 5);
    CByteArray const bytes = contentsOf(path);
    StreamBuilder const frames[] = {clientFrame("OKTDbConstruct", k2, 2, u"two"), pictureFrame(k3, {"AQID"}),
                                    pictureFrame(k5, {"AQIDBAUG"}), clientFrame("OKTDbIndexData", k6, 6, u"six")};
    char const *const names[] = {k2, k3, k5, k6};
    for (int i = 0; i < 4; ++i)
    {
        OKTDbPool::_ObjectInfo const place = info[idOf(names[i])];
        ASSERT_LE(place.nObjectPosition + place.nObjectSize, bytes.GetSize());
        EXPECT_EQ(stretch(bytes, place.nObjectPosition, place.nObjectSize), frames[i].bytes()) << names[i];
    }
}

TEST_F(PoolPartialTest, ReadFileHeader_PlacesOfMinusOne_AreMovedToo_Quirk26)
{
    Everything const all;
    OKTDbPool pool;
    InfoMap info;
    ASSERT_TRUE(pool.readFileHeader(put(all.header, all.objects), info));
    EXPECT_EQ(info[idOf(kNull)].nObjectPosition, all.block() - 1);
    EXPECT_EQ(info[idOf(kNull)].nObjectSize, -1);
}

TEST_F(PoolPartialTest, PartialReaders_FileOf1023Bytes_False_Quirk23)
{
    Everything all;
    all.objects = StreamBuilder(); // short enough to be padded
    all.header.pictures = {};
    CByteArray const image = poolImage(all.header, all.objects);
    ASSERT_LT(image.GetSize(), 1023);
    CString const path = put(padded(image, 1023));

    OKTDbPool pool;
    pool.setPoolName(u"before");
    pool.setPicturesIds([] {
        IdArray list;
        list.append(idOf(k1));
        return list;
    }());
    InfoMap info;
    info[idOf(k1)] = {1, 2};
    EXPECT_FALSE(pool.readFileHeader(path, info));
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_FALSE(pool.readIndex(path));
    EXPECT_FALSE(pool.readFilePicture(path));
    EXPECT_EQ(pool.poolName(), u"before");
    EXPECT_EQ(pool.picturesId().getSize(), 1);
    EXPECT_TRUE(pool.readFile(path));
    EXPECT_EQ(pool.poolName(), u"everything");
}

TEST_F(PoolPartialTest, ReadFileHeader_FileOf1024Bytes_True_Quirk23)
{
    OKTDbPool pool;
    InfoMap info;
    EXPECT_TRUE(pool.readFileHeader(put(padded(poolImage({}, {}), 1024)), info));
}

TEST_F(PoolPartialTest, ReadFileHeader_HeaderAbove1024Bytes_IsReadWhole)
{
    Everything all;
    all.header.name = std::u16string(2000, u'n');
    all.header.radialReinfId = k4;
    OKTDbPool pool;
    InfoMap info;
    ASSERT_TRUE(pool.readFileHeader(put(all.header, all.objects), info));
    EXPECT_EQ(pool.poolName().GetLength(), 2000);
    EXPECT_EQ(textOf(pool.RadialReinfId()), k4);
    EXPECT_EQ(info[idOf(k2)].nObjectPosition, all.block() + all.places[1].position);
}

TEST_F(PoolPartialTest, PartialReaders_AnyPoolFactor_TakeThatOfTheFile_Quirk25)
{
    Everything all;
    for (double const factor : {1.0, 2.5})
    {
        all.header.factor = factor;
        CString const path = put(all.header, all.objects);
        OKTDbPool pools[3];
        for (OKTDbPool &pool : pools)
            pool.setMetricsFactor(1000.0);
        InfoMap info;
        EXPECT_TRUE(pools[0].readFileHeader(path, info));
        EXPECT_TRUE(pools[1].readIndex(path));
        EXPECT_TRUE(pools[2].readFilePicture(path));
        for (OKTDbPool &pool : pools)
            EXPECT_EQ(pool.metricsFactor(), factor);
    }
}

TEST_F(PoolPartialTest, ReadFileHeader_NoFile_FalseAndTheMapEmptied)
{
    for (CString const &path : {CString(), m_folder.path("missing.okt"), m_folder.path("")})
    {
        OKTDbPool pool;
        InfoMap info;
        info[idOf(k1)] = {1, 2};
        EXPECT_FALSE(pool.readFileHeader(path, info));
        EXPECT_EQ(info.getSize(), 0);
        EXPECT_FALSE(pool.readIndex(path));
        EXPECT_FALSE(pool.readFilePicture(path));
    }
}

TEST_F(PoolPartialTest, ReadFileHeader_HeaderAtFault_False)
{
    Everything const all;
    StreamBuilder const header = poolHeader(all.header);
    auto const image = [&](std::int64_t length) {
        return StreamBuilder().integer(length).append(header).append(all.objects).bytes();
    };
    struct
    {
        char const *what;
        CByteArray bytes;
    } const cases[] = {
        {"no length record", StreamBuilder().shortInteger(1).append(header).append(all.objects).bytes()},
        {"a length of 0", image(0)},
        {"a length beyond the file", image(1000000)},
        {"a length of 2^31 - 1", image(2147483647)},
        {"a length within the header", image(header.size() - 100)},
        {"another class", StreamBuilder().integer(relationFrame(k1).size()).append(relationFrame(k1)).bytes()},
    };
    for (auto const &row : cases)
    {
        CString const path = put(padded(row.bytes, 1024));
        OKTDbPool pool;
        InfoMap info;
        EXPECT_FALSE(pool.readFileHeader(path, info)) << row.what;
        EXPECT_FALSE(pool.readIndex(path)) << row.what;
        EXPECT_FALSE(pool.readFilePicture(path)) << row.what;
        EXPECT_EQ(pool.objectCount(), 0) << row.what;
    }
}

TEST_F(PoolPartialTest, ReadFileHeader_NegativeLength_IsTheRestOfTheFile)
{
    // The length is still what the places are moved by.
    Everything const all;
    StreamBuilder const header = poolHeader(all.header);
    CString const path = put(padded(StreamBuilder().integer(-2).append(header).append(all.objects).bytes(), 1024));
    OKTDbPool pool;
    InfoMap info;
    EXPECT_TRUE(pool.readFileHeader(path, info));
    EXPECT_EQ(info[idOf(k2)].nObjectPosition, 5 - 2 + all.places[1].position);
}

TEST_F(PoolPartialTest, ReadFileHeader_OldPicture_HasItsPlace_Quirk15)
{
    HeaderFields header;
    header.sections = 4;
    header.secondId = k3;
    header.second = {0, pictureFrame(k3, {"AQID"}).size()};
    CString const path = put(header, pictureFrame(k3, {"AQID"}));
    OKTDbPool pool;
    InfoMap info;
    ASSERT_TRUE(pool.readFileHeader(path, info));
    EXPECT_EQ(info[idOf(k3)].nObjectPosition, 5 + poolHeader(header).size());
    ASSERT_TRUE(pool.readFilePicture(path));
    EXPECT_THAT(ids(pool), ElementsAre(k3));
}

// --- readIndex ---------------------------------------------------------------------------------------------------------------

TEST_F(PoolPartialTest, ReadIndex_FileWithIndex_HeaderAndThatObject)
{
    Everything const all;
    OKTDbPool pool;
    ASSERT_TRUE(pool.readIndex(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k6));
    EXPECT_EQ(textOf(pool.indexId()), k6);
    EXPECT_TRUE(pool.indexId().isValid());
    EXPECT_EQ(ClientIndexData::cast(pool.indexId())->m_text, u"six");
    EXPECT_EQ(textOf(pool.constructId()), k2);
}

TEST_F(PoolPartialTest, ReadIndex_FileWithoutIndex_ReadsTheFirstObject_Quirk24)
{
    Everything all;
    all.header.indexId = "";
    all.header.index = {};
    OKTDbPool pool;
    ASSERT_TRUE(pool.readIndex(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k1));
    EXPECT_TRUE(pool.indexId().isNull());
}

TEST_F(PoolPartialTest, ReadIndex_IndexWithoutPlace_ReadsTheFirstObject_Quirk24_Quirk26)
{
    Everything all;
    all.header.index = {};
    OKTDbPool pool;
    ASSERT_TRUE(pool.readIndex(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k1));
    EXPECT_EQ(textOf(pool.indexId()), k6);
}

TEST_F(PoolPartialTest, ReadIndex_NullIdsShareAPlace_TheLastOneIsRead_Quirk21)
{
    Everything all;
    all.header.indexId = "";
    all.header.index = {};
    all.header.pictures = {{"", all.places[3]}};
    OKTDbPool pool;
    ASSERT_TRUE(pool.readIndex(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k4));
}

TEST_F(PoolPartialTest, ReadIndex_NoObjectsAtAll_False)
{
    HeaderFields header;
    header.name = std::u16string(1000, u'n');
    OKTDbPool pool;
    EXPECT_FALSE(pool.readIndex(put(poolImage(header, {}))));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(pool.poolName().GetLength(), 1000);
}

TEST_F(PoolPartialTest, ReadIndex_Filter_IsNotAsked)
{
    Everything const all;
    OKTDbPool pool;
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbRelation::desc());
    pool.setReadFilter(filter);
    ASSERT_TRUE(pool.readIndex(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k6));
}

TEST_F(PoolPartialTest, ReadIndex_Twice_FalseAndOneCopy_Quirk18)
{
    Everything const all;
    CString const path = put(all.header, all.objects);
    ExpectedLeak const leak;
    OKTDbPool pool;
    ASSERT_TRUE(pool.readIndex(path));
    EXPECT_FALSE(pool.readIndex(path));
    EXPECT_THAT(ids(pool), ElementsAre(k6));
}

TEST_F(PoolPartialTest, ReadIndex_AnswerOutsideTheMap_False)
{
    // The id is translated as it is read and once more by the getter: the map of places does not hold that one.
    Everything const all;
    OKTDbPool pool;
    IdMap map;
    map[idOf(k6)] = idOf("{00000008-8888-8888-8888-888888888888}");
    map[idOf("{00000008-8888-8888-8888-888888888888}")] = idOf("{00000009-9999-9999-9999-999999999999}");
    pool.setMapTranslatedIds(map);
    pool.setBoolTranslatedIds(true);
    EXPECT_FALSE(pool.readIndex(put(all.header, all.objects)));
    EXPECT_EQ(pool.objectCount(), 0);
}

TEST_F(PoolPartialTest, ReadIndex_PlaceAtFault_FalseAndNothingAdded)
{
    Everything const all;
    struct
    {
        char const *what;
        HeaderFields::Place place;
    } const cases[] = {
        {"behind the end of the file", {100000, 10}},
        {"size beyond the end of the file", {all.places[5].position, 100000}},
        {"size 0", {all.places[5].position, 0}},
        {"size of half an object name", {all.places[5].position, 8}},
        {"behind the first byte of the last frame", {all.places[5].position + 1, all.places[5].size - 1}},
        {"largest numbers", {2147483647, 2147483647}},
    };
    for (auto const &row : cases)
    {
        HeaderFields header = all.header;
        header.index = row.place;
        OKTDbPool pool;
        EXPECT_FALSE(pool.readIndex(put(header, all.objects))) << row.what;
        EXPECT_EQ(pool.objectCount(), 0) << row.what;
    }
}

TEST_F(PoolPartialTest, ReadIndex_FrameCutByItsSize_FalseAndTheObjectIsLost_Quirk18)
{
    Everything all;
    all.header.index.size -= 20;
    ExpectedLeak const leak;
    OKTDbPool pool;
    EXPECT_FALSE(pool.readIndex(put(all.header, all.objects)));
    EXPECT_EQ(pool.objectCount(), 0);
}

TEST_F(PoolPartialTest, ReadIndex_UnknownClassAtThePlace_False)
{
    StreamBuilder unknown;
    unknown.beginClass("OKTDbNobody").objectBase(k6).beginMembers(1).endMembers().endClass();
    HeaderFields header;
    header.indexId = k6;
    header.index = {relationFrame(k1).size(), unknown.size()};
    OKTDbPool pool;
    EXPECT_FALSE(pool.readIndex(put(header, relationFrame(k1).append(unknown).append(relationFrame(k3)))));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(textOf(pool.indexId()), k6);
}

TEST_F(PoolPartialTest, ReadIndex_ObjectThatFails_FalseAndTheObjectIsLost_Quirk18)
{
    ClientFaulty::s_readStatus = eFilerMemberFailed;
    StreamBuilder frame;
    frame.beginClass("ClientFaulty").objectBase(k6).endClass();
    HeaderFields header;
    header.indexId = k6;
    header.index = {0, frame.size()};
    ExpectedLeak const leak;
    OKTDbPool pool;
    EXPECT_FALSE(pool.readIndex(put(header, frame)));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(ClientFaulty::s_rootHints, 1);
}

// --- readFilePicture ---------------------------------------------------------------------------------------------------------

TEST_F(PoolPartialTest, ReadFilePicture_FileWithPictures_HeaderAndThoseObjects)
{
    Everything const all;
    OKTDbPool pool;
    ASSERT_TRUE(pool.readFilePicture(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k3, k5));
    ASSERT_EQ(pool.picturesId().getSize(), 2);
    EXPECT_EQ(textOf(pool.picturesId().at(0)), k5);
    EXPECT_EQ(textOf(pool.picturesId().at(1)), k3);
    CByteArray data;
    OKTDbPicture::cast(idOf(k5, &pool))->getPictureData(data);
    EXPECT_EQ(data, bytesOf({1, 2, 3, 4, 5, 6}));
}

TEST_F(PoolPartialTest, ReadFilePicture_FileWithoutPictures_TrueAndNothingAdded)
{
    HeaderFields header;
    header.name = u"none";
    OKTDbPool pool;
    EXPECT_TRUE(pool.readFilePicture(put(header, relationFrame(k1))));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(pool.poolName(), u"none");
}

TEST_F(PoolPartialTest, ReadFilePicture_Twice_FalseAndOneCopy_Quirk18)
{
    Everything const all;
    CString const path = put(all.header, all.objects);
    ExpectedLeak const leak;
    OKTDbPool pool;
    ASSERT_TRUE(pool.readFilePicture(path));
    EXPECT_FALSE(pool.readFilePicture(path));
    EXPECT_THAT(ids(pool), ElementsAre(k3, k5));
}

TEST_F(PoolPartialTest, ReadFilePicture_SecondPictureAtFault_FalseAndTheFirstStays)
{
    Everything all;
    all.header.pictures = {{k5, all.places[4]}, {k3, {100000, 10}}};
    OKTDbPool pool;
    EXPECT_FALSE(pool.readFilePicture(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k5));
}

TEST_F(PoolPartialTest, ReadFilePicture_PictureTwiceInTheList_FalseAtTheSecond_Quirk15_Quirk18)
{
    Everything all;
    all.header.pictures = {{k3, all.places[2]}};
    all.header.secondId = k3;
    all.header.second = all.places[2];
    ExpectedLeak const leak;
    OKTDbPool pool;
    EXPECT_FALSE(pool.readFilePicture(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k3));
}

TEST_F(PoolPartialTest, ReadFilePicture_PictureWithoutPlace_ReadsTheFirstObject_Quirk26)
{
    Everything all;
    all.header.pictures = {{"{00000009-9999-9999-9999-999999999999}", {}}};
    OKTDbPool pool;
    EXPECT_TRUE(pool.readFilePicture(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k1));
}

TEST_F(PoolPartialTest, ReadFilePicture_AnswerOutsideTheMap_FalseAtOnce)
{
    Everything const all;
    OKTDbPool pool;
    IdMap map;
    map[idOf(k5)] = idOf("{00000008-8888-8888-8888-888888888888}");
    map[idOf("{00000008-8888-8888-8888-888888888888}")] = idOf("{00000009-9999-9999-9999-999999999999}");
    pool.setMapTranslatedIds(map);
    pool.setBoolTranslatedIds(true);
    EXPECT_FALSE(pool.readFilePicture(put(all.header, all.objects)));
    EXPECT_EQ(pool.objectCount(), 0);
}

TEST_F(PoolPartialTest, ReadFilePicture_Filter_IsNotAsked)
{
    Everything const all;
    OKTDbPool pool;
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbRelation::desc());
    pool.setReadFilter(filter);
    EXPECT_TRUE(pool.readFilePicture(put(all.header, all.objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k3, k5));
}

TEST_F(PoolPartialTest, PartialReaders_IntoAUsedPool_AddToIt)
{
    Everything const all;
    CString const path = put(all.header, all.objects);
    OKTDbPool pool;
    ASSERT_TRUE(pool.loadFiler(poolImage({}, relationFrame(k1))));
    EXPECT_TRUE(pool.readIndex(path));
    EXPECT_TRUE(pool.readFilePicture(path));
    EXPECT_THAT(ids(pool), ElementsAre(k1, k3, k5, k6));
}

// --- The read filter ---------------------------------------------------------------------------------------------------------

/// A group parameter in a frame of its own, as a client module could bring one: the library's own comes back as a parameter.
class ClientGroup : public OKTDbGroupParameter
{
    OKT_STORED_CLASS(ClientGroup)

    FilerStatusDb xmlIn(OKTFiler *filer) override
    {
        if (!filer->beginReadClass(u"Object", u"ClientGroup"))
            return eFilerClassFailed;
        FilerStatusDb const status = OKTDbGroupParameter::xmlIn(filer);
        filer->endReadClass();
        return status;
    }
};

OKT_STORED_CLASS_SOURCE(ClientGroup)
OKT_STORED_CLASS_REGISTRATION(ClientGroup, OKTDbGroupParameter)

class ReadFilterTest : public PoolPartialTest
{
protected:
    ReadFilterTest()
    {
        ParameterFields parameter;
        parameter.id = k4;
        m_objects.append(relationFrame(k1)).append(paramRelationFrame(k2, {k4})).append(categoryFrame(k3, "", {k4}, u"c"));
        m_objects.append(parameterFrame(parameter)).append(pictureFrame(k5, {"AQ"}));
        m_objects.append(clientFrame("OKTDbConstruct", k6, 6, u""));
    }

    static OKTDbPool::ReadFilter filterOf(std::initializer_list<OKTRuntimeClass *> classes)
    {
        OKTDbPool::ReadFilter filter;
        for (OKTRuntimeClass *const descriptor : classes)
            filter.append(descriptor);
        return filter;
    }

    std::vector<std::string> kept(OKTDbPool::ReadFilter const &filter)
    {
        OKTDbPool fromImage;
        fromImage.setReadFilter(filter);
        EXPECT_TRUE(fromImage.loadFiler(poolImage({}, m_objects)));
        OKTDbPool fromFile;
        fromFile.setReadFilter(filter);
        EXPECT_TRUE(fromFile.readFile(put(poolImage({}, m_objects))));
        EXPECT_EQ(ids(fromImage), ids(fromFile));
        return ids(fromImage);
    }

    StreamBuilder m_objects;
};

TEST_F(ReadFilterTest, LoadFiler_Filters_KeepTheirClassesAndDerivedOnes)
{
    EXPECT_THAT(kept({}), ElementsAre(k1, k2, k3, k4, k5, k6));
    EXPECT_THAT(kept(filterOf({OKTDbObject::desc()})), ElementsAre(k1, k2, k3, k4, k5, k6));
    EXPECT_THAT(kept(filterOf({OKTDbRelation::desc()})), ElementsAre(k1, k2));
    EXPECT_THAT(kept(filterOf({OKTDbParamRelation::desc()})), ElementsAre(k2));
    EXPECT_THAT(kept(filterOf({OKTDbParameter::desc()})), ElementsAre(k4));
    EXPECT_THAT(kept(filterOf({OKTDbGroupParameter::desc()})), ElementsAre());
    EXPECT_THAT(kept(filterOf({OKTDbPicture::desc(), OKTDbCategory::desc()})), ElementsAre(k3, k5));
}

TEST_F(ReadFilterTest, LoadFiler_FilterOfParameters_KeepsGroupParametersAndDropsCategories)
{
    ParameterFields fields;
    fields.id = k1;
    StreamBuilder objects;
    objects.beginClass("ClientGroup").append(parameterFrame(fields)).endClass().append(categoryFrame(k2, "", {}, u"c"));
    OKTDbPool pool;
    pool.setReadFilter(filterOf({OKTDbParameter::desc()}));
    ASSERT_TRUE(pool.loadFiler(poolImage({}, objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k1));
    EXPECT_NE(ClientGroup::cast(pool.objectAt(0)), nullptr);
}

TEST_F(ReadFilterTest, LoadFiler_FrameNamedAfterTheGroupParameter_False_Quirk18_Quirk55)
{
    // The class reads the frame of an ordinary parameter and no other.
    StreamBuilder frame;
    frame.beginClass("OKTDbGroupParameter", 2).objectBase(k1).endClass();
    ExpectedLeak const leak;
    OKTDbPool pool;
    EXPECT_FALSE(pool.loadFiler(poolImage({}, frame)));
    EXPECT_EQ(pool.objectCount(), 0);
}

TEST_F(ReadFilterTest, CopyFrom_FilterOfTheTargetIsAsked_ThatOfTheSourceIsNotCopied)
{
    OKTDbPool source;
    ASSERT_TRUE(source.loadFiler(poolImage({}, m_objects)));
    OKTDbPool target;
    target.setReadFilter(filterOf({OKTDbPicture::desc()}));
    ASSERT_TRUE(target.copyFrom(&source));
    EXPECT_THAT(ids(target), ElementsAre(k5));
    ASSERT_EQ(target.readFilter().getSize(), 1);

    source.setReadFilter(filterOf({OKTDbPicture::desc(), nullptr}));
    OKTDbPool plain;
    ASSERT_TRUE(plain.copyFrom(&source));
    EXPECT_EQ(plain.objectCount(), 6);
    EXPECT_EQ(plain.readFilter().getSize(), 0);
}

TEST_F(ReadFilterTest, LoadFiler_NullsInTheFilter_KeepNothingThemselves)
{
    EXPECT_THAT(kept(filterOf({nullptr})), ElementsAre());
    EXPECT_THAT(kept(filterOf({nullptr, nullptr})), ElementsAre());
    EXPECT_THAT(kept(filterOf({nullptr, OKTDbPicture::desc(), nullptr})), ElementsAre(k5));
}

TEST_F(ReadFilterTest, LoadFiler_DroppedObjects_AreDeletedAndTakeNoRoles)
{
    StreamBuilder dropped;
    dropped.beginClass("TestObject").objectBase(k1).beginMembers(1).wideText(u"t").integer(1).id("").endMembers().endClass();
    OKTDbPool pool;
    pool.setReadFilter(filterOf({OKTDbCategory::desc()}));
    int const before = TestObject::living();
    ASSERT_TRUE(pool.loadFiler(poolImage({}, m_objects)));
    OKTDbPool other;
    other.setReadFilter(filterOf({OKTDbCategory::desc()}));
    ASSERT_TRUE(other.loadFiler(poolImage({}, dropped)));

    EXPECT_EQ(TestObject::living(), before);
    EXPECT_EQ(other.objectCount(), 0);
    EXPECT_THAT(ids(pool), ElementsAre(k3));
    EXPECT_TRUE(pool.constructId().isNull());
    EXPECT_EQ(pool.picturesId().getSize(), 0);
}

TEST_F(ReadFilterTest, LoadFiler_DroppedObjectWithAnIdOfThePool_IsNoFault)
{
    OKTDbPool pool;
    ASSERT_TRUE(pool.loadFiler(poolImage({}, relationFrame(k3))));
    pool.setReadFilter(filterOf({OKTDbPicture::desc()}));
    EXPECT_TRUE(pool.loadFiler(poolImage({}, m_objects)));
    EXPECT_THAT(ids(pool), ElementsAre(k3, k5));
}

TEST_F(ReadFilterTest, LoadFiler_ObjectsAtFaultThatWouldBeDropped_StopTheLoad_Quirk18)
{
    ExpectedLeak const leak;
    OKTDbPool pool;
    pool.setReadFilter(filterOf({OKTDbRelation::desc()}));
    StreamBuilder unknown = relationFrame(k1);
    unknown.beginClass("OKTDbNobody").endClass().append(relationFrame(k2));
    EXPECT_FALSE(pool.loadFiler(poolImage({}, unknown)));
    EXPECT_THAT(ids(pool), ElementsAre(k1));

    ClientFaulty::s_readStatus = eFilerMemberFailed;
    StreamBuilder faulty;
    faulty.beginClass("ClientFaulty").objectBase(k4).endClass().append(relationFrame(k2));
    EXPECT_FALSE(pool.loadFiler(poolImage({}, faulty)));
    EXPECT_THAT(ids(pool), ElementsAre(k1));
}

TEST_F(ReadFilterTest, SetReadFilter_StaysUntilSetAgain)
{
    OKTDbPool pool;
    EXPECT_EQ(pool.readFilter().getSize(), 0);
    pool.setReadFilter(filterOf({OKTDbPicture::desc(), nullptr}));
    ASSERT_EQ(pool.readFilter().getSize(), 2);
    EXPECT_EQ(pool.readFilter().at(0), OKTDbPicture::desc());
    EXPECT_EQ(pool.readFilter().at(1), nullptr);
    ASSERT_TRUE(pool.loadFiler(poolImage({}, m_objects)));
    EXPECT_EQ(pool.readFilter().getSize(), 2);
    ASSERT_TRUE(pool.eraseAllObjects());
    ASSERT_TRUE(pool.loadFiler(poolImage({}, m_objects)));
    EXPECT_EQ(pool.objectCount(), 1);
    pool.eraseAllObjects();
    pool.setReadFilter({});
    ASSERT_TRUE(pool.loadFiler(poolImage({}, m_objects)));
    EXPECT_EQ(pool.objectCount(), 6);
}

TEST_F(ReadFilterTest, CopyOfAPool_CarriesTheFilter)
{
    OKTDbPool pool;
    pool.setReadFilter(filterOf({OKTDbPicture::desc()}));
    OKTDbPool const copy(pool);
    EXPECT_EQ(copy.readFilter().getSize(), 1);
    OKTDbPool assigned;
    assigned = pool;
    EXPECT_EQ(assigned.readFilter().getSize(), 1);
}
} // namespace
