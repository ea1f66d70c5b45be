// SPDX-License-Identifier: MIT
#include <oktformat/objectscan.h>
#include <oktformat/poolheader.h>
#include <tools/okt/files/files.h>

#include "support/hexbytes.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace okt;

namespace
{

_GUID guid(int number)
{
    _GUID id = {};
    id.Data1 = static_cast<std::uint32_t>(number);
    return id;
}

OKTDbObjectId idOf(int number)
{
    OKTDbObjectId id;
    id.setGuid(guid(number));
    return id;
}

/// A header that names objects 2 to 8, of which 2 to 5 have places.
CByteArray header()
{
    OKTDbPool pool;
    pool.setObjectId(idOf(1));
    pool.setPoolName(u"Bügel");
    pool.setMetricsFactor(2.5);
    pool.setConstructId(idOf(2));
    pool.setIndexId(idOf(3));
    IdArray pictures;
    pictures.append(idOf(4));
    pictures.append(idOf(5));
    pool.setPicturesIds(pictures);
    pool.setPPActionsId(idOf(6));
    pool.setSketchId(idOf(7));
    pool.setRadialReinfId(idOf(8));
    OKTDbPool::InfoMap places;
    for (int i = 2; i <= 5; ++i)
    {
        OKTDbPool::_ObjectInfo place;
        place.nObjectPosition = 100 * i;
        place.nObjectSize = 10 * i;
        places[idOf(i)] = place;
    }
    OKTMemoryFiler filer;
    pool.xmlOut(&filer, places);
    CByteArray bytes;
    filer.saveFiler(bytes);
    return bytes;
}

void expectReference(std::optional<HeaderReference> const &reference, int number, bool hasPlace)
{
    ASSERT_TRUE(reference.has_value());
    EXPECT_EQ(reference->id.Data1, static_cast<std::uint32_t>(number));
    EXPECT_EQ(reference->hasPlace, hasPlace);
    EXPECT_EQ(reference->position, hasPlace ? 100 * number : -1);
    EXPECT_EQ(reference->size, hasPlace ? 10 * number : -1);
}

TEST(OktPoolHeader, ReadPoolHeader_EveryMember_UnderItsName)
{
    CByteArray const bytes = header();
    ByteSource source(bytes);
    PoolHeader const read = readPoolHeader(source, 0);
    ASSERT_TRUE(read.id.has_value());
    EXPECT_EQ(read.id->Data1, 1u);
    EXPECT_EQ(read.name, CString(u"Bügel"));
    EXPECT_EQ(read.factor, 2.5);
    expectReference(read.construct, 2, true);
    expectReference(read.index, 3, true);
    EXPECT_EQ(read.pictureCount, 2);
    ASSERT_EQ(read.pictures.size(), 2u);
    expectReference(read.pictures[0], 4, true);
    expectReference(read.pictures[1], 5, true);
    expectReference(read.ppActions, 6, false);
    expectReference(read.sketch, 7, false);
    expectReference(read.radialReinf, 8, false);
    ASSERT_TRUE(read.oldPicture.has_value());
    EXPECT_EQ(read.oldPicture->id.Data1, 0u);
    EXPECT_TRUE(read.oldPicture->hasPlace);
    EXPECT_EQ(source.copy(read.index->offset, 15), std::string("\x06\x05\x0B\x00OKTObjectId", 15));
}

TEST(OktPoolHeader, ReadPoolHeader_CutBehindTheIndex_WhatStandsInFront)
{
    CByteArray const bytes = header();
    ByteSource source(bytes);
    std::int64_t const behindIndex = readPoolHeader(source, 0).index->offset + 48;
    CByteArray const cut = firstBytes(bytes, static_cast<int>(behindIndex));
    ByteSource rest(cut);
    PoolHeader const read = readPoolHeader(rest, 0);
    expectReference(read.construct, 2, true);
    ASSERT_TRUE(read.index.has_value());
    EXPECT_FALSE(read.index->hasPlace);
    EXPECT_FALSE(read.name.has_value());
    EXPECT_FALSE(read.factor.has_value());
    EXPECT_EQ(read.pictureCount, -1);
}

TEST(OktPoolHeader, HeaderWalk_PlacesOfEachId_InTheOrderOfTheFile)
{
    CByteArray const bytes = header();
    ByteSource source(bytes);
    HeaderWalk walk(source, 0);
    std::vector<std::string> told;
    while (walk.next())
        if (walk.isSize())
            told.push_back(roleText(headerRole(walk.id())) + " " + std::to_string(walk.position()) + " " +
                           std::to_string(walk.value().number));
    EXPECT_EQ(told, (std::vector<std::string>{"the construct 200 20", "a picture -1 -1", "the index 300 30", "a picture 400 40",
                                              "a picture 500 50"}));
}

TEST(OktPoolHeader, HeaderRole_MembersThatNoWriterPutsThere_Other)
{
    StoredValue value;
    value.kind = StoredValue::Kind::Id;
    value.section = 1;
    value.ordinal = 2;
    EXPECT_EQ(headerRole(value), HeaderRole::Other);
    value.ordinal = 1;
    EXPECT_EQ(headerRole(value), HeaderRole::Construct);
    value.nested = 1;
    EXPECT_EQ(headerRole(value), HeaderRole::Other);
    value.nested = 0;
    value.kind = StoredValue::Kind::Long;
    EXPECT_EQ(headerRole(value), HeaderRole::Other);
    EXPECT_EQ(roleText(HeaderRole::Other), "an object");
}

} // namespace
