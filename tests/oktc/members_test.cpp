// SPDX-License-Identifier: MIT
#include "oktc/answers.h"
#include "support/expectedleak.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

// Pools, objects and their members through the C interface.

using Ids = std::vector<TestId>;

TEST(CPool, New_EmptyWithAnIdAndFactorOne)
{
    TestPool pool;
    TestPool other;
    double factor = 0;
    EXPECT_OK(oktcPoolFactor(pool.pool, &factor));
    EXPECT_EQ(factor, 1.0);
    EXPECT_EQ(pool.count(), 0u);
    EXPECT_NE(idOf(pool.pool).text(), idOf(other.pool).text());
    EXPECT_EQ(member(pool.pool, OKTC_NAME), "");
}

TEST(CPool, Factor_ANumberAboveZero)
{
    TestPool pool;
    EXPECT_OK(oktcPoolSetFactor(pool.pool, 1000.0));
    for (double const factor : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(oktcPoolSetFactor(pool.pool, factor), OKTC_BAD_ARGUMENT);
    double factor = 0;
    EXPECT_OK(oktcPoolFactor(pool.pool, &factor));
    EXPECT_EQ(factor, 1000.0);
}

TEST(CPool, At_PositionsInTheOrderOfIds)
{
    TestPool pool;
    pool.parameter();
    pool.parameter();
    std::vector<OktcObject> const all = objectsOf(pool.pool, nullptr);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_LT(std::memcmp(idOf(all[0]).bytes, idOf(all[1]).bytes, 16), 0);
    OktcObject object = 0;
    EXPECT_OK(oktcPoolAt(pool.pool, 1, &object));
    EXPECT_EQ(object, all[1]);
    EXPECT_EQ(oktcPoolAt(pool.pool, 2, &object), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(oktcPoolAt(pool.pool, std::numeric_limits<std::uint64_t>::max(), &object), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(object, 0u);
}

TEST(CPool, Objects_OfAClassAndThoseDerivedFromIt)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter();
    OktcObject const group = pool.object("OKTDbGroupParameter");
    OktcObject const category = pool.object("OKTDbCategory");
    EXPECT_EQ(objectsOf(pool.pool, "OKTDbCategory"), std::vector<OktcObject>{category});
    EXPECT_EQ(objectsOf(pool.pool, "OKTDbParameter").size(), 2u);
    EXPECT_EQ(objectsOf(pool.pool, "OKTDbGroupParameter"), std::vector<OktcObject>{group});
    EXPECT_EQ(objectsOf(pool.pool, nullptr).size(), 3u);
    EXPECT_EQ(objectsOf(pool.pool, "OKTDbPicture"), std::vector<OktcObject>{});
    OktcObject *objects = nullptr;
    std::uint64_t count = 0;
    EXPECT_EQ(oktcPoolObjects(pool.pool, "No such", &objects, &count), OKTC_UNKNOWN_CLASS);
    EXPECT_STREQ(oktcLastMessage(), "there is no class of the name No such");
    EXPECT_NE(parameter, group);
}

TEST(CPool, Clone_WithTheSameIdsOrNewOnes)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter();
    OktcObject const category = pool.object("OKTDbCategory");
    TestId const old = idOf(parameter);
    EXPECT_OK(oktcListAppend(category, OKTC_PARAMETERS, old.bytes));
    OktcPool copied = 0;
    EXPECT_OK(oktcPoolClone(pool.pool, 0, &copied));
    TestPool copy(copied);
    OktcObject found = 0;
    EXPECT_OK(oktcPoolFind(copy.pool, old.bytes, &found));
    EXPECT_NE(found, parameter);

    EXPECT_OK(oktcPoolClone(pool.pool, 1, &copied));
    TestPool renewed(copied);
    EXPECT_EQ(oktcPoolFind(renewed.pool, old.bytes, &found), OKTC_NOT_FOUND);
    TestId fresh;
    EXPECT_OK(oktcPoolNewId(renewed.pool, old.bytes, fresh.bytes));
    EXPECT_OK(oktcPoolFind(renewed.pool, fresh.bytes, &found));
    EXPECT_EQ(listOf(objectsOf(renewed.pool, "OKTDbCategory").at(0), OKTC_PARAMETERS), Ids{fresh});
    EXPECT_EQ(oktcPoolNewId(copy.pool, old.bytes, fresh.bytes), OKTC_NOT_FOUND);
    EXPECT_EQ(listOf(category, OKTC_PARAMETERS), Ids{old});
}

TEST(CPool, CopyFrom_ObjectsUnderTheirIds)
{
    TestPool source;
    TestId const id = idOf(source.parameter());
    EXPECT_OK(oktcSetText(source.pool, OKTC_NAME, "source", -1));
    TestPool pool;
    EXPECT_OK(oktcPoolCopyFrom(pool.pool, source.pool));
    OktcObject found = 0;
    EXPECT_OK(oktcPoolFind(pool.pool, id.bytes, &found));
    EXPECT_EQ(idOf(pool.pool), idOf(source.pool));
    EXPECT_EQ(member(pool.pool, OKTC_NAME), "source");
    {
        ExpectedLeak const lost;                                          // the object at fault (quirk 18)
        EXPECT_EQ(oktcPoolCopyFrom(pool.pool, source.pool), OKTC_FAILED); // the id is there already
    }
    EXPECT_EQ(oktcPoolCopyFrom(pool.pool, pool.pool), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(pool.count(), 1u);
}

TEST(CObject, ClassesAndKinds)
{
    TestPool pool;
    OktcObject const group = pool.object("OKTDbGroupParameter");
    EXPECT_EQ(textOf([&](char **text, std::uint64_t *length) { return oktcObjectClass(group, text, length); }),
              "OKTDbGroupParameter");
    std::int32_t is = 7;
    EXPECT_OK(oktcObjectIsKind(group, "OKTDbParameter", &is));
    EXPECT_EQ(is, 1);
    EXPECT_OK(oktcObjectIsKind(group, "OKTDbCategory", &is));
    EXPECT_EQ(is, 0);
    EXPECT_EQ(oktcObjectIsKind(group, "No such", &is), OKTC_UNKNOWN_CLASS);
    OktcObject none = 3;
    EXPECT_EQ(oktcObjectCreate(pool.pool, "No such", &none), OKTC_UNKNOWN_CLASS);
    EXPECT_EQ(none, 0u);
}

TEST(CText, MembersOfEachClass)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter(6);
    OktcObject const category = pool.object("OKTDbCategory");
    EXPECT_EQ(member(parameter, OKTC_NAME), "Cover");
    for (std::int32_t const number : {OKTC_NAME, OKTC_EXPRESSION, OKTC_DESCRIPTION, OKTC_VALUE})
    {
        std::string const text = "B\xC3\xBCgel " + std::to_string(number);
        EXPECT_OK(oktcSetText(parameter, number, text.c_str(), -1));
        EXPECT_EQ(member(parameter, number), text);
    }
    EXPECT_EQ(member(parameter, OKTC_NAME), "B\xC3\xBCgel 1");
    EXPECT_OK(oktcSetText(category, OKTC_NAME, "Bar and more", 3));
    EXPECT_EQ(member(category, OKTC_NAME), "Bar");
    EXPECT_EQ(oktcSetText(category, OKTC_EXPRESSION, "", -1), OKTC_WRONG_CLASS);
    EXPECT_EQ(member(pool.pool, OKTC_VALUE), "<wrong class>");
    EXPECT_EQ(member(pool.object("OKTDbPicture"), OKTC_NAME), "<wrong class>");
    for (std::int32_t const number : {0, 5, -1})
        EXPECT_EQ(member(parameter, number), "<bad argument>");
    EXPECT_OK(oktcParameterSetInt(parameter, 1));
    EXPECT_EQ(member(parameter, OKTC_VALUE), "<wrong kind>");
}

TEST(CText, ZerosInside_AreKept)
{
    TestPool pool;
    EXPECT_OK(oktcSetText(pool.pool, OKTC_NAME, "a\0b", 3));
    EXPECT_EQ(member(pool.pool, OKTC_NAME), std::string("a\0b", 3));
    EXPECT_OK(oktcSetText(pool.pool, OKTC_NAME, "", 0));
    EXPECT_EQ(member(pool.pool, OKTC_NAME), "");
}

TEST(CText, LongerThanAFileHolds_Refused)
{
    TestPool pool;
    std::string const longest(65535, 'x');
    EXPECT_OK(oktcSetText(pool.pool, OKTC_NAME, longest.c_str(), -1));
    EXPECT_EQ(oktcSetText(pool.pool, OKTC_NAME, (longest + "x").c_str(), -1), OKTC_TOO_LARGE);
    EXPECT_EQ(member(pool.pool, OKTC_NAME), longest);
}

TEST(CText, NotUtf8_RefusedAndTheTextStays)
{
    TestPool pool;
    EXPECT_OK(oktcSetText(pool.pool, OKTC_NAME, "before", -1));
    for (char const *bad : {"x\xFF", "\xED\xA0\x80", "\xC0\x80", "\xF0\x9F\x98"})
        EXPECT_EQ(oktcSetText(pool.pool, OKTC_NAME, bad, -1), OKTC_BAD_TEXT);
    EXPECT_EQ(oktcSetText(pool.pool, OKTC_NAME, "x\xFF", -1), OKTC_BAD_TEXT);
    EXPECT_STREQ(oktcLastMessage(), "the text is not UTF-8 from byte 1 on");
    EXPECT_EQ(member(pool.pool, OKTC_NAME), "before");
}

TEST(CText, LoneSurrogates_EscapedAsInTheTextForm)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter();
    for (OktcHandle const handle : {pool.pool, parameter})
    {
        EXPECT_OK(oktcSetEscapedText(handle, OKTC_NAME, "a\\uD800\\\\n\xF0\x9F\x98\x80\\udc00", -1));
        EXPECT_EQ(member(handle, OKTC_NAME), "<lone surrogate>");
        EXPECT_EQ(escapedMember(handle, OKTC_NAME), "a\\uD800\\\\n\xF0\x9F\x98\x80\\uDC00");
        EXPECT_OK(oktcSetText(handle, OKTC_NAME, "back\\slash", -1));
        EXPECT_EQ(escapedMember(handle, OKTC_NAME), "back\\\\slash");
        EXPECT_EQ(oktcSetEscapedText(handle, OKTC_NAME, "bad \\x", -1), OKTC_BAD_TEXT);
        EXPECT_EQ(oktcSetEscapedText(handle, OKTC_NAME, "\xFF", -1), OKTC_BAD_TEXT);
        EXPECT_EQ(member(handle, OKTC_NAME), "back\\slash");
    }
}

TEST(CReference, OfEachClass)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter();
    OktcObject const category = pool.object("OKTDbCategory");
    TestId const id = idNamed("{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}");
    EXPECT_EQ(reference(parameter, OKTC_OWNER), idOf(pool.pool));
    struct Row
    {
        OktcHandle handle;
        std::int32_t member;
    };
    for (Row const &row : {Row{parameter, OKTC_OWNER}, Row{parameter, OKTC_CATEGORY}, Row{category, OKTC_GROUP},
                           Row{pool.pool, OKTC_CONSTRUCT}, Row{pool.pool, OKTC_INDEX}, Row{pool.pool, OKTC_SKETCH},
                           Row{pool.pool, OKTC_ACTIONS}, Row{pool.pool, OKTC_RADIAL}, Row{pool.pool, OKTC_ID}})
    {
        EXPECT_OK(oktcSetReference(row.handle, row.member, id.bytes));
        EXPECT_EQ(reference(row.handle, row.member), id) << row.member;
        EXPECT_OK(oktcSetReference(row.handle, row.member, nullptr));
        EXPECT_EQ(reference(row.handle, row.member), TestId()) << row.member;
    }
    TestId none;
    EXPECT_EQ(oktcReference(category, OKTC_OWNER, none.bytes), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcReference(pool.pool, OKTC_GROUP, none.bytes), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcReference(parameter, OKTC_SKETCH, none.bytes), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcSetReference(parameter, OKTC_SKETCH, nullptr), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcSetReference(parameter, OKTC_ID, id.bytes), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(oktcReference(parameter, 0, none.bytes), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(oktcSetReference(parameter, 10, none.bytes), OKTC_BAD_ARGUMENT);
}

TEST(CList, OfEachClass_AppendedOnceAndRemoved)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter();
    TestId const id = idNamed("{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}");
    struct Row
    {
        OktcHandle handle;
        std::int32_t member;
        Ids twice;
    };
    for (Row const &row : {Row{pool.object("OKTDbCategory"), OKTC_PARAMETERS, {id}},
                           Row{pool.object("OKTDbParamRelation"), OKTC_PARAMETERS, {id}},
                           Row{pool.object("OKTDbGroupCategory"), OKTC_CATEGORIES, {id}}, Row{parameter, OKTC_USES, {id, id}},
                           Row{pool.pool, OKTC_PICTURES, {id}}})
    {
        EXPECT_EQ(listOf(row.handle, row.member), Ids{});
        EXPECT_OK(oktcListAppend(row.handle, row.member, id.bytes));
        EXPECT_OK(oktcListAppend(row.handle, row.member, id.bytes));
        EXPECT_EQ(listOf(row.handle, row.member), row.twice);
        EXPECT_OK(oktcListRemove(row.handle, row.member, id.bytes));
        EXPECT_EQ(listOf(row.handle, row.member), Ids{});
        EXPECT_EQ(oktcListRemove(row.handle, row.member, id.bytes), OKTC_NOT_FOUND);
    }
    EXPECT_EQ(oktcListAppend(parameter, OKTC_PARAMETERS, id.bytes), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcListAppend(parameter, OKTC_PICTURES, id.bytes), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcListAppend(pool.pool, OKTC_USES, id.bytes), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcListAppend(parameter, 0, id.bytes), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(oktcListAppend(parameter, 6, id.bytes), OKTC_BAD_ARGUMENT);
}

TEST(CList, Elements_ParametersInTheOrderOfTheirNames)
{
    TestPool pool;
    OktcObject const group = pool.object("OKTDbGroupParameter");
    OktcObject const first = pool.parameter();
    OktcObject const second = pool.parameter();
    EXPECT_OK(oktcSetText(first, OKTC_NAME, "B", -1));
    EXPECT_OK(oktcSetText(second, OKTC_NAME, "A", -1));
    EXPECT_OK(oktcListAppend(group, OKTC_ELEMENTS, idOf(first).bytes));
    EXPECT_OK(oktcListAppend(group, OKTC_ELEMENTS, idOf(second).bytes));
    EXPECT_EQ(listOf(group, OKTC_ELEMENTS), (Ids{idOf(second), idOf(first)}));
    EXPECT_EQ(oktcListAppend(group, OKTC_ELEMENTS, idOf(pool.object("OKTDbCategory")).bytes), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcListAppend(group, OKTC_ELEMENTS, idNamed("{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}").bytes), OKTC_WRONG_CLASS);
    EXPECT_OK(oktcObjectErase(second));
    EXPECT_OK(oktcListRemove(group, OKTC_ELEMENTS, idOf(first).bytes));
    EXPECT_EQ(listOf(group, OKTC_ELEMENTS).size(), 1u);
}

TEST(CParameter, TypesAndListPlaces)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter(6);
    std::int32_t number = 0;
    EXPECT_OK(oktcParameterType(parameter, &number));
    EXPECT_EQ(number, 6);
    EXPECT_OK(oktcParameterIsLength(parameter, &number));
    EXPECT_EQ(number, 1);
    auto const typeName = [&](char **text, std::uint64_t *length) { return oktcParameterTypeName(parameter, text, length); };
    auto const code = [&](char **text, std::uint64_t *length) { return oktcParameterListCode(parameter, text, length); };
    EXPECT_EQ(textOf(typeName), "Cover");
    EXPECT_OK(oktcParameterSetType(parameter, 39));
    EXPECT_EQ(textOf(typeName), "Quantity expression");
    EXPECT_OK(oktcParameterIsLength(parameter, &number));
    EXPECT_EQ(number, 0);
    EXPECT_EQ(member(parameter, OKTC_NAME), "Cover");
    EXPECT_EQ(textOf(code), "");
    EXPECT_OK(oktcParameterSetListIndex(parameter, 27));
    EXPECT_OK(oktcParameterListIndex(parameter, &number));
    EXPECT_EQ(number, 27);
    EXPECT_EQ(textOf(code), "AA");
    EXPECT_OK(oktcParameterSetDouble(parameter, 1.0));
    EXPECT_OK(oktcParameterListIndex(parameter, &number));
    EXPECT_EQ(number, 27);
    EXPECT_EQ(oktcParameterType(pool.object("OKTDbCategory"), &number), OKTC_WRONG_CLASS);
    EXPECT_EQ(number, 0);
}

TEST(CParameter, Values_EachKindIsReadAsItself)
{
    TestPool pool;
    OktcObject parameter = 0;
    EXPECT_OK(oktcParameterCreate(pool.pool, 6, &parameter));
    std::int32_t kind = 7;
    std::int32_t small = 0;
    double real = 0;
    EXPECT_OK(oktcParameterKind(parameter, &kind));
    EXPECT_EQ(kind, OKTC_EMPTY);
    std::uint8_t *bytes = nullptr;
    std::uint64_t length = 0;
    EXPECT_EQ(oktcPoolImage(pool.pool, &bytes, &length), OKTC_NOT_STORABLE);
    std::string const message = oktcLastMessage();
    EXPECT_EQ(message, "the OKTDbParameter " + idOf(parameter).text() + " holds what a file cannot");

    EXPECT_OK(oktcParameterSetDouble(parameter, 0.1));
    EXPECT_OK(oktcParameterKind(parameter, &kind));
    EXPECT_EQ(kind, OKTC_DOUBLE);
    EXPECT_OK(oktcParameterDouble(parameter, &real));
    EXPECT_EQ(real, 0.1);
    EXPECT_EQ(oktcParameterInt(parameter, &small), OKTC_WRONG_KIND);

    EXPECT_OK(oktcParameterSetInt(parameter, std::numeric_limits<std::int32_t>::min()));
    EXPECT_OK(oktcParameterKind(parameter, &kind));
    EXPECT_EQ(kind, OKTC_INT);
    EXPECT_OK(oktcParameterInt(parameter, &small));
    EXPECT_EQ(small, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(oktcParameterDouble(parameter, &real), OKTC_WRONG_KIND);
    EXPECT_EQ(real, 0.0);

    EXPECT_OK(oktcParameterSetBool(parameter, 5));
    EXPECT_OK(oktcParameterKind(parameter, &kind));
    EXPECT_EQ(kind, OKTC_BOOL);
    EXPECT_OK(oktcParameterBool(parameter, &small));
    EXPECT_EQ(small, 1);
    EXPECT_OK(oktcParameterSetBool(parameter, 0));
    EXPECT_OK(oktcParameterBool(parameter, &small));
    EXPECT_EQ(small, 0);

    EXPECT_OK(oktcSetText(parameter, OKTC_VALUE, "4x150", -1));
    EXPECT_OK(oktcParameterKind(parameter, &kind));
    EXPECT_EQ(kind, OKTC_TEXT);
    EXPECT_EQ(oktcParameterBool(parameter, &small), OKTC_WRONG_KIND);
}

TEST(CPicture, DataAndCamera)
{
    TestPool pool;
    OktcObject const picture = pool.object("OKTDbPicture");
    auto const data = [&] {
        return bytesOf([&](std::uint8_t **bytes, std::uint64_t *length) { return oktcPictureData(picture, bytes, length); });
    };
    EXPECT_EQ(data(), "");
    EXPECT_OK(oktcPictureSetData(picture, "\0\xFF three", 8));
    EXPECT_EQ(data(), std::string("\0\xFF three", 8));
    EXPECT_OK(oktcPictureSetData(picture, nullptr, 0));
    EXPECT_EQ(data(), "");
    EXPECT_EQ(oktcPictureSetData(picture, "", 0x80000000), OKTC_TOO_LARGE);
    double const camera[3] = {1, 2, 3};
    double const target[3] = {4, 5, 6};
    double const up[3] = {7, 8, 9};
    EXPECT_OK(oktcPictureSetCamera(picture, camera, target, up));
    double read[3][3] = {};
    EXPECT_OK(oktcPictureCamera(picture, read[0], read[1], read[2]));
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(read[i / 3][i % 3], i + 1);
    EXPECT_EQ(oktcPictureCamera(pool.parameter(), read[0], read[1], read[2]), OKTC_WRONG_CLASS);
}
