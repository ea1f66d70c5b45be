// SPDX-License-Identifier: MIT
// Random pools through the binary form: saved, loaded and saved again, in memory and as files. The images are equal, and so are
// the fields, as far as the form promises them.

#include "support/clientclasses.h"
#include "support/pooljson.h"
#include "support/poolmaker.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
/// What a stream keeps of a text of 65,536 units or more: as many as its length modulo 65,536 says (quirk 28).
CString stored(CString const &text) { return text.GetLength() < 65536 ? text : text.Left(text.GetLength() % 65536); }

/// The objects as they come back: texts cut, groups as parameters (quirk 55).
Json describeStored(OKTDbPool &pool)
{
    Json list = Json::array();
    for (int i = 0; i < pool.objectCount(); ++i)
    {
        OKTDbObject *const object = pool.objectAt(i).getObject();
        Json json = describe(object);
        if (auto const *const parameter = OKTDbParameter::cast(object))
        {
            json["class"] = "OKTDbParameter";
            json["userName"] = describe(stored(parameter->UserName()));
            json["expression"] = describe(stored(parameter->Expression()));
            json["description"] = describe(stored(parameter->Description()));
            tagVARIANT const value = parameter->Value();
            if (value.vt == VT_BSTR)
                json["value"]["data"] = describe(stored(CString(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal)))));
        }
        if (auto const *const category = OKTDbCategory::cast(object))
            json["categoryName"] = describe(stored(category->CategoryName()));
        if (auto const *const construct = ClientConstruct::cast(object))
            json["text"] = describe(stored(construct->m_text));
        if (auto const *const index = ClientIndexData::cast(object))
            json["text"] = describe(stored(index->m_text));
        list.push_back(json);
    }
    return list;
}

struct Round
{
    unsigned int seed;
    double factor;
};

void PrintTo(Round const &round, std::ostream *out) { *out << "seed " << round.seed << ", factor " << round.factor; }

class PoolPropertyTest : public testing::TestWithParam<Round>
{
protected:
    void SetUp() override { fillRandomly(m_pool, GetParam().seed, GetParam().factor); }
    void TearDown() override { EXPECT_THAT(m_reports.texts(), testing::ElementsAre()); }

    static CByteArray save(OKTDbPool const &pool)
    {
        CByteArray image;
        IdMap translated;
        EXPECT_TRUE(pool.saveFiler(image, translated));
        EXPECT_EQ(translated.getSize(), 0);
        return image;
    }

    void expectSameObjects(OKTDbPool &loaded)
    {
        Json const expected = describeStored(m_pool);
        Json const actual = describeObjects(loaded);
        ASSERT_EQ(actual.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            for (auto const &[key, value] : expected[i].items())
                EXPECT_EQ(actual[i].value(key, Json()).dump(), value.dump()) << i << ' ' << key;
    }

    Json expectedHeader() const
    {
        Json header = describeHeader(m_pool);
        header["poolName"] = describe(stored(m_pool.poolName()));
        return header;
    }

    /// The header as it is once the objects have been read, which take their roles in the order of their ids.
    void expectSameHeader(OKTDbPool const &loaded) const
    {
        Json const expected = expectedHeader();
        Json const actual = describeHeader(loaded);
        for (char const *const key :
             {"objectId", "poolName", "sketchId", "ppActionsId", "radialReinfId", "objectCount", "metricsFactor", "pictures"})
            EXPECT_EQ(actual.at(key).dump(), expected.at(key).dump()) << key;
    }

    ScratchFolder m_folder;
    ClientClasses m_classes;
    ReportCatcher m_reports;
    OKTDbPool m_pool;
};

TEST_P(PoolPropertyTest, SaveLoadSave_InMemory_ImagesAndFieldsAreEqual)
{
    CByteArray const image = save(m_pool);
    OKTDbPool loaded;
    ASSERT_TRUE(loaded.loadFiler(image));
    expectSameObjects(loaded);
    expectSameHeader(loaded);

    // The roles of construct and index go to the last of their objects, so they settle with the first load.
    CByteArray const second = save(loaded);
    EXPECT_EQ(second.GetSize(), image.GetSize());
    OKTDbPool again;
    ASSERT_TRUE(again.loadFiler(second));
    EXPECT_TRUE(save(again) == second);
    if (loaded.constructId() == m_pool.constructId() && loaded.indexId() == m_pool.indexId())
    {
        EXPECT_TRUE(second == image);
    }
}

TEST_P(PoolPropertyTest, WriteReadWrite_AsAFile_FilesAndFieldsAreEqual)
{
    CString const first = m_folder.path("first.okt");
    ASSERT_TRUE(m_pool.writeFile(first));
    OKTDbPool loaded;
    loaded.setMetricsFactor(GetParam().factor);
    ASSERT_TRUE(loaded.readFile(first));
    expectSameObjects(loaded);
    expectSameHeader(loaded);
    CString const second = m_folder.path("second.okt");
    ASSERT_TRUE(loaded.writeFile(second));
    if (loaded.constructId() == m_pool.constructId() && loaded.indexId() == m_pool.indexId())
    {
        EXPECT_TRUE(contentsOf(second) == contentsOf(first));
    }
}

TEST_P(PoolPropertyTest, WriteFile_WhateverTheFactor_LengthsAreThoseOfAPoolInMetres)
{
    CString const path = m_folder.path("pool.okt");
    ASSERT_TRUE(m_pool.writeFile(path));
    OKTDbPool metres;
    ASSERT_TRUE(metres.readFile(path));
    ASSERT_EQ(metres.objectCount(), m_pool.objectCount());
    for (int i = 0; i < metres.objectCount(); ++i)
    {
        auto const *const here = OKTDbParameter::cast(m_pool.objectAt(i));
        auto const *const there = OKTDbParameter::cast(metres.objectAt(i));
        if (here == nullptr || !here->isInDrawingUnits() || here->Value().vt != VT_R8 || GetParam().factor == 1.0)
            continue;
        EXPECT_EQ(there->Value().dblVal, here->Value().dblVal / GetParam().factor) << i;
    }
}

TEST_P(PoolPropertyTest, PartialReaders_OfTheFile_GiveTheSameObjects)
{
    CString const path = m_folder.path("pool.okt");
    ASSERT_TRUE(m_pool.writeFile(path));
    CByteArray const bytes = contentsOf(path);
    OKTDbPool header;
    InfoMap info;
    ASSERT_EQ(header.readFileHeader(path, info), bytes.GetSize() >= 1024);
    if (bytes.GetSize() < 1024)
        return;
    EXPECT_EQ(header.metricsFactor(), 1.0);
    OKTDbPool whole;
    ASSERT_TRUE(whole.readFile(path));
    // Each place that the header gives is that of the object's frame.
    for (auto const &[id, place] : info)
    {
        OKTDbObject *object = nullptr;
        if (place.nObjectSize < 0 || !whole.findObject(id, object))
            continue;
        OKTMemoryFiler filer;
        ASSERT_EQ(object->xmlOut(&filer), eFilerOk);
        EXPECT_TRUE(stretch(bytes, place.nObjectPosition, place.nObjectSize) == filer.takeBytes()) << textOf(id);
    }
}

std::vector<Round> rounds()
{
    std::vector<Round> rounds;
    for (unsigned int seed = 1; seed <= 40; ++seed)
        for (double const factor : {1.0, 1000.0, 0.001})
            rounds.push_back({seed, factor});
    return rounds;
}

std::string roundName(testing::TestParamInfo<Round> const &info)
{
    char const *const unit = info.param.factor == 1.0 ? "metre" : info.param.factor == 1000.0 ? "millimetre" : "kilometre";
    return "seed" + std::to_string(info.param.seed) + "_" + unit;
}

INSTANTIATE_TEST_SUITE_P(RandomPools, PoolPropertyTest, testing::ValuesIn(rounds()), roundName);
} // namespace
