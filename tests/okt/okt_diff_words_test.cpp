// SPDX-License-Identifier: MIT
#include "difftest.h"

#include <oktinspect/listdiff.h>

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using testing::HasSubstr;

class OktDiffWords : public DiffTest
{
protected:
    /// What differs since the file was written, without the names of the files and the sums.
    std::string changesSince(std::string const &before, std::vector<std::string> options = {})
    {
        options.insert(options.begin(), {"diff", before, write("now.okt")});
        ProcessResult const result = runOkt(options);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "");
        std::size_t const body = result.out.find('\n', result.out.find('\n') + 1) + 1;
        std::size_t const sums = result.out.rfind('\n', result.out.size() - 2) + 1;
        return result.out.substr(body, std::max(sums, body) - body);
    }

    OKTDbParamRelation *relation() { return OKTDbParamRelation::cast(found(m_parameters[0]->OwnerId())); }

    OKTDbObject *found(OKTDbObjectId const &id)
    {
        OKTDbObject *object = nullptr;
        m_pool.findObject(id, object);
        return object;
    }

    OKTDbCategory *addCategory(char16_t const *name)
    {
        auto *const category = new OKTDbCategory;
        m_pool.appendObject(category);
        category->setCategoryName(name);
        return category;
    }

    OKTDbPicture *addPicture(int size)
    {
        auto *const picture = new OKTDbPicture;
        m_pool.appendObject(picture);
        CByteArray image;
        image.SetSize(size);
        picture->setPictureData(image);
        return picture;
    }
};

// ---- Parameters --------------------------------------------------------------------------------------------------------------

TEST_F(OktDiffWords, Value_Length_InTheUnitAskedFor)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setUserName(u"Cover", false);
    std::string const named = write("named.okt");
    m_parameters[1]->setValue(0.035, 1);
    EXPECT_EQ(changesSince(named), "~ Cover: 250 mm -> 35 mm\n");
    EXPECT_EQ(changesSince(named, {"--unit", "cm"}), "~ Cover: 25 cm -> 3.5 cm\n");
    EXPECT_EQ(changesSince(named, {"-uin"}), "~ Cover: 9.84251968504 in -> 1.37795275591 in\n");
    EXPECT_EQ(changesSince(named, {"--unit=m"}), "~ Cover: 0.25 m -> 0.035 m\n");
    EXPECT_EQ(runOkt({"diff", "--unit", "km", before, named}).exitCode, 2);
    EXPECT_EQ(changesSince(named, {"--members"}),
              "~ OKTDbParameter " + textOf(m_parameters[1]) + " \"Cover\"\n    varConverted: 0.25 -> 0.035\n");
}

TEST_F(OktDiffWords, Value_NoLength_WithoutUnit)
{
    m_parameters[1]->setType(5);
    m_parameters[1]->setValue(12.0, 1);
    m_parameters[2]->setType(4);
    m_parameters[2]->setValue(CString(u"B500A"), 2);
    m_parameters[3]->setType(7);
    m_parameters[3]->setValue(true, 3);
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(16.0, 1);
    m_parameters[2]->setValue(CString(u"B500B"), 2);
    m_parameters[3]->setValue(false, 3);
    EXPECT_EQ(changesSince(before), "~ Leg A: 12 -> 16\n~ Leg B: \"B500A\" -> \"B500B\"\n~ Leg C: true -> false\n");
}

/// The library brings it into its own form, with lengths in the unit, as in every other display.
TEST_F(OktDiffWords, Value_QuantityExpression_InTheUnit)
{
    m_parameters[1]->setType(39);
    m_parameters[1]->setValue(CString(u"4x0.15 2x0.1 "), 1);
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(CString(u"5x0.15 2x0.1 "), 1);
    EXPECT_EQ(changesSince(before), "~ Leg A: \"4x150 2x100 \" -> \"5x150 2x100 \"\n");
}

TEST_F(OktDiffWords, Value_AnotherKind_BothAsTheyRead)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(CString(u"long"), 1);
    EXPECT_EQ(changesSince(before), "~ Leg A: 250 mm -> \"long\"\n");
}

TEST_F(OktDiffWords, Value_LooksTheSame_WhatTheFileHas)
{
    m_parameters[1]->setType(38);
    m_parameters[1]->setValue(2, 1);
    m_parameters[2]->setValue(0.1, 2);
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(2.0, 1);
    m_parameters[2]->setValue(0.1 + 1e-16, 2);
    EXPECT_EQ(changesSince(before),
              "~ Leg A: 2 (in the file VT_I4 2) -> 2 (in the file VT_R8 2)\n"
              "~ Leg B: 100 mm (in the file VT_R8 0.1) -> 100 mm (in the file VT_R8 0.1000000000000001)\n");
}

/// A file with it is not read by the library, so that there is no word for it.
TEST_F(OktDiffWords, Value_OfAKindThatNoFileHas_ByItsMember)
{
    std::string const value = "\"variant\": \"VT_R8\", \"double\": 0.25}";
    std::string text = runOkt({"export", write("a.okt")}).out;
    ASSERT_NE(text.find(value), std::string::npos);
    put("none.json", text.replace(text.find(value), value.size(), "\"variant\": \"VT_EMPTY\"}"));
    ASSERT_EQ(runOkt({"import", path("none.json"), "-o", path("none.okt")}).exitCode, 0);
    EXPECT_EQ(changesSince(path("none.okt")), "~ Leg A: varConverted VT_EMPTY -> VT_R8 0.25\n");
}

TEST_F(OktDiffWords, Texts_NameExpressionDescription_ALineEach)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setUserName(u"Leg Z", false);
    m_parameters[1]->setExpression(u"2*LegB");
    m_parameters[1]->setDescription(u"Outer\n\u202E dimension");
    EXPECT_EQ(changesSince(before), "~ Leg Z: name \"Leg A\" -> \"Leg Z\"\n"
                                    "~ Leg Z: expression \"\" -> \"2*LegB\"\n"
                                    "~ Leg Z: description \"\" -> \"Outer\\n\\u202E dimension\"\n");
}

TEST_F(OktDiffWords, Texts_LongOnes_BelowEachOther)
{
    m_parameters[1]->setDescription(u"The outer dimension of the leg, between the tangents of the bends at its two ends");
    std::string const before = write("a.okt");
    m_parameters[1]->setDescription(u"The outer dimension of the leg, to the outside of the bends at its two ends");
    EXPECT_EQ(changesSince(before),
              "~ Leg A: description\n"
              "    - \"The outer dimension of the leg, between the tangents of the bends at its two ends\"\n"
              "    + \"The outer dimension of the leg, to the outside of the bends at its two ends\"\n");
}

TEST_F(OktDiffWords, Type_ListCodeCategoryOwner_ByTheirNames)
{
    OKTDbCategory *const hooks = addCategory(u"Hooks");
    std::string const before = write("a.okt");
    m_parameters[1]->setType(10);
    m_parameters[1]->setListIndex(27);
    m_parameters[1]->setCategory(hooks->objectId());
    m_parameters[1]->setOwnerId(OKTDbObjectId());
    EXPECT_EQ(changesSince(before), "~ Leg A: type 54 Length -> 10 Hook length 1\n"
                                    "~ Leg A: list code A -> AA\n"
                                    "~ Leg A: category \"Bar\" -> \"Hooks\"\n"
                                    "~ Leg A: owner Relation -> none\n");
}

TEST_F(OktDiffWords, Uses_ComeAndGo_ByName)
{
    std::string const none = write("none.okt");
    IdArray ids;
    ids.append(m_parameters[0]->objectId());
    ids.append(m_parameters[2]->objectId());
    m_parameters[1]->setTabParams(ids);
    EXPECT_EQ(changesSince(none), "~ Leg A: uses\n    + Length\n    + Leg B\n");
    std::string const two = write("two.okt");
    IdArray one;
    one.append(m_parameters[2]->objectId());
    m_parameters[1]->setTabParams(one);
    EXPECT_EQ(changesSince(two), "~ Leg A: uses\n    - Length\n");
    EXPECT_THAT(changesSince(none, {"--members"}),
                HasSubstr("    m_tabIdsParams: 0 ids -> 1 id\n      + " + textOf(m_parameters[2]) + " \"Leg B\"\n"));
    EXPECT_THAT(changesSince(two, {"--members"}), HasSubstr("    m_tabIdsParams: 2 ids -> 1 id\n      - "));
}

TEST_F(OktDiffWords, Names_ThatSeveralHave_WithCategoryOrId)
{
    OKTDbCategory *const hooks = addCategory(u"Hooks");
    auto *const group = new OKTDbGroupCategory;
    m_pool.appendObject(group);
    group->appendCategory(m_category->objectId());
    group->appendCategory(hooks->objectId());
    OKTDbParameter *const inHooks = addParameter(m_parameters[0]->OwnerId(), 1);
    m_category->removeParameter(inHooks->objectId());
    hooks->appendParameter(inHooks->objectId());
    OKTDbParameter *const second = addParameter(m_parameters[0]->OwnerId(), 3);
    m_parameters[0]->setUserName(u"", false);
    std::string const before = write("a.okt");
    m_parameters[0]->setValue(0.01, 0);
    m_parameters[1]->setValue(0.02, 1);
    inHooks->setValue(0.03, 1);
    second->setValue(0.04, 3);
    EXPECT_EQ(changesSince(before), "~ Parameter " + textOf(m_parameters[0]) +
                                        ": 0 mm -> 10 mm\n"
                                        "~ Leg A in \"Bar\": 250 mm -> 20 mm\n"
                                        "~ Leg C " +
                                        textOf(second) +
                                        ": 750 mm -> 40 mm\n"
                                        "~ Leg A in \"Hooks\": 250 mm -> 30 mm\n");
}

// ---- Categories, groups, relations -------------------------------------------------------------------------------------------

TEST_F(OktDiffWords, Category_RemovedAndAdded_ByName)
{
    std::string const before = write("a.okt");
    OKTDbParameter *const gone = m_parameters[3];
    m_category->removeParameter(gone->objectId());
    m_pool.removeObject(gone->objectId());
    delete gone;
    addParameter(m_parameters[0]->OwnerId(), 0)->setUserName(u"Leg D", false);
    m_parameters.back()->setExpression(u"LegA");
    EXPECT_EQ(changesSince(before), "- Leg C = 750 mm\n"
                                    "+ Leg D = 0 mm  [LegA]\n"
                                    "~ Category \"Bar\": parameters\n"
                                    "    - Leg C\n"
                                    "    + Leg D\n");
}

TEST_F(OktDiffWords, Category_AnotherOrder_WhatMoved)
{
    std::string const before = write("a.okt");
    m_category->removeParameter(m_parameters[1]->objectId());
    m_category->appendParameter(m_parameters[1]->objectId());
    EXPECT_EQ(changesSince(before), "~ Category \"Bar\": parameters\n    ~ Leg A, now behind Leg C\n");
    m_category->removeAllParameters();
    for (int const i : {3, 0, 1, 2})
        m_category->appendParameter(m_parameters[static_cast<std::size_t>(i)]->objectId());
    EXPECT_EQ(changesSince(before), "~ Category \"Bar\": parameters\n    ~ Leg C, now first\n");
    EXPECT_THAT(changesSince(before, {"--members"}), HasSubstr("    m_tabParameters: 4 ids -> 4 ids, in another order\n"));
}

TEST_F(OktDiffWords, Category_NameAndGroup_ByTheirNames)
{
    std::string const before = write("a.okt");
    auto *const group = new OKTDbGroupCategory;
    m_pool.appendObject(group);
    group->appendCategory(m_category->objectId());
    m_category->setGroupCategory(group->objectId());
    m_category->setCategoryName(u"Bars");
    EXPECT_EQ(changesSince(before), "+ Group category, 1 category\n"
                                    "~ Category \"Bars\": group none -> " +
                                        textOf(group) +
                                        "\n"
                                        "~ Category \"Bars\": name \"Bar\" -> \"Bars\"\n");
    std::string const grouped = write("grouped.okt");
    group->appendCategory(addCategory(u"Hooks")->objectId());
    EXPECT_EQ(changesSince(grouped), "+ Category \"Hooks\", 0 parameters\n"
                                     "~ Group category: categories\n    + Category \"Hooks\"\n");
}

TEST_F(OktDiffWords, Relation_ItsParameters_ByName)
{
    std::string const before = write("a.okt");
    relation()->appendParameter(m_parameters[1]->objectId());
    EXPECT_EQ(changesSince(before), "~ Relation: parameters\n    + Leg A\n");
    auto *const another = new OKTDbParamRelation;
    m_pool.appendObject(another);
    another->appendParameter(m_parameters[1]->objectId());
    EXPECT_THAT(changesSince(before), HasSubstr("+ Relation " + textOf(another) + ", 1 parameter\n"));
    EXPECT_THAT(changesSince(before), HasSubstr("~ Relation " + textOf(relation()) + ": parameters\n    + Leg A\n"));
}

/// In the order in which they are shown, not in that of the file, which is that of their ids.
TEST_F(OktDiffWords, AddedAndRemoved_InTheOrderOfCategories)
{
    OKTDbPool empty;
    empty.setObjectId(m_pool.objectId());
    empty.setPoolName(u"Link");
    std::string const none = write("none.okt", empty);
    auto *const group = new OKTDbGroupCategory;
    m_pool.appendObject(group);
    OKTDbCategory *const hooks = addCategory(u"Hooks");
    group->appendCategory(hooks->objectId());
    group->appendCategory(m_category->objectId());
    for (int const i : {2, 0})
    {
        m_category->removeParameter(m_parameters[static_cast<std::size_t>(i)]->objectId());
        hooks->appendParameter(m_parameters[static_cast<std::size_t>(i)]->objectId());
    }
    OKTDbParameter *const stray = addParameter(m_parameters[0]->OwnerId(), 0);
    m_category->removeParameter(stray->objectId());
    stray->setUserName(u"Stray", false);
    addCategory(u"Alone");
    std::string const full = write("full.okt");
    auto const lines = [](std::string const &sign) {
        return sign + " Group category, 2 categories\n" + sign + " Category \"Hooks\", 2 parameters\n" + sign +
               " Leg B = 500 mm\n" + sign + " Length = 0 mm\n" + sign + " Category \"Bar\", 2 parameters\n" + sign +
               " Leg A = 250 mm\n" + sign + " Leg C = 750 mm\n" + sign + " Category \"Alone\", 0 parameters\n" + sign +
               " Stray = 0 mm\n" + sign + " Relation, 0 parameters\n";
    };
    expectDifferent(runOkt({"diff", none, full}), lines("+") + "0 removed, 10 added, 0 changed, 0 the same\n");
    expectDifferent(runOkt({"diff", full, none}), lines("-") + "10 removed, 0 added, 0 changed, 0 the same\n");
}

// ---- Pictures, the header, others --------------------------------------------------------------------------------------------

TEST_F(OktDiffWords, Picture_ImageAndCamera)
{
    OKTDbPicture *const picture = addPicture(100);
    std::string const before = write("a.okt");
    CByteArray png;
    for (int const byte :
         {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13, 0x49, 0x48, 0x44, 0x52, 0, 0, 3, 32, 0, 0, 2, 88})
        png.Add(static_cast<BYTE>(byte));
    picture->setPictureData(png);
    picture->setCameraData({0, 0, 1}, {0, 0, 0}, {0, 1, 0});
    EXPECT_THAT(changesSince(before),
                HasSubstr("~ Picture: no known format, 100 bytes -> PNG, 800 x 600 pixels, 24 bytes\n~ Picture: camera ("));
    EXPECT_THAT(changesSince(before), HasSubstr(" -> (0, 0, 1)\n"));
    std::string const one = write("one.okt");
    picture->setPictureData(png);
    addPicture(1);
    EXPECT_EQ(changesSince(one), "~ Number of pictures: 1 -> 2\n"
                                 "~ Picture 1: nothing -> " +
                                     textOf(found(m_pool.picturesId().at(1))) + "\n+ Picture 1: no known format, 1 byte\n");
}

TEST_F(OktDiffWords, Header_NamesAndRoles)
{
    std::string const before = write("a.okt");
    m_pool.setPoolName(u"Other link");
    m_pool.setSketchId(m_category->objectId());
    m_pool.setIndexId(m_parameters[1]->objectId());
    EXPECT_EQ(changesSince(before), "~ Index: none -> Leg A\n"
                                    "~ Pool name: \"Link\" -> \"Other link\"\n"
                                    "~ Sketch: none -> Category \"Bar\"\n");
}

TEST_F(OktDiffWords, ByName_ChangedClone_TheSameWords)
{
    std::string const original = write("a.okt");
    m_parameters[2]->setValue(0.75, 2);
    m_parameters[3]->setUserName(u"Leg Z", false);
    expectDifferent(runOkt({"diff", "--by-name", original, writeClone("b.okt")}),
                    "~ Leg B: 500 mm -> 750 mm\n"
                    "~ Leg Z: name \"Leg C\" -> \"Leg Z\"\n"
                    "0 removed, 0 added, 2 changed, 4 the same\n");
    m_parameters[3]->setUserName(u"Leg C", false);
    addParameter(m_parameters[0]->OwnerId(), 1)->setUserName(u"Leg E", false);
    m_category->removeParameter(m_parameters[0]->objectId());
    m_category->appendParameter(m_parameters[0]->objectId());
    expectDifferent(runOkt({"diff", "--by-name", original, writeClone("c.okt")}),
                    "+ Leg E = 250 mm\n"
                    "~ Category \"Bar\": parameters\n"
                    "    + Leg E\n"
                    "    ~ Length, now behind Leg E\n"
                    "~ Leg B: 500 mm -> 750 mm\n"
                    "0 removed, 1 added, 2 changed, 4 the same\n");
}

// ---- Lists -------------------------------------------------------------------------------------------------------------------

std::size_t longestCommon(std::vector<std::string> const &left, std::vector<std::string> const &right)
{
    std::vector<std::vector<std::size_t>> best(left.size() + 1, std::vector<std::size_t>(right.size() + 1, 0));
    for (std::size_t i = 1; i <= left.size(); ++i)
        for (std::size_t j = 1; j <= right.size(); ++j)
            best[i][j] = left[i - 1] == right[j - 1] ? best[i - 1][j - 1] + 1 : std::max(best[i - 1][j], best[i][j - 1]);
    return best.back().back();
}

TEST(ListDiff, RandomLists_FewestMovesAndNothingForgotten)
{
    std::mt19937 random(1);
    std::string const all = "abcdefg";
    for (int round = 0; round < 2000; ++round)
    {
        std::vector<std::string> lists[2];
        for (std::vector<std::string> &list : lists)
        {
            for (char const letter : all.substr(0, random() % 8))
                list.emplace_back(1, letter);
            std::shuffle(list.begin(), list.end(), random);
        }
        okt::ListDiff const diff = okt::compareLists(lists[0], lists[1]);
        EXPECT_EQ(diff.isSame(), lists[0] == lists[1]);
        std::size_t const stayed = lists[1].size() - diff.added.size();
        EXPECT_EQ(lists[0].size() - diff.removed.size(), stayed);
        EXPECT_EQ(stayed - diff.moved.size(), longestCommon(lists[0], lists[1]));
        for (std::size_t const place : diff.added)
            EXPECT_EQ(std::count(lists[0].begin(), lists[0].end(), lists[1][place]), 0);
        for (std::size_t const place : diff.removed)
            EXPECT_EQ(std::count(lists[1].begin(), lists[1].end(), lists[0][place]), 0);
    }
}

TEST(ListDiff, EntryThatIsThereTwice_CountsTwice)
{
    okt::ListDiff const diff = okt::compareLists({"a", "b", "a"}, {"a", "b"});
    EXPECT_EQ(diff.removed, (std::vector<std::size_t>{2}));
    EXPECT_TRUE(diff.added.empty());
    EXPECT_TRUE(diff.moved.empty());
}

TEST(ListDiff, OneThatWentToTheEnd_IsTheOnlyOneThatMoved)
{
    okt::ListDiff const diff = okt::compareLists({"a", "b", "c", "d"}, {"b", "c", "d", "a"});
    EXPECT_EQ(diff.moved, (std::vector<std::size_t>{3}));
    EXPECT_TRUE(diff.added.empty());
    EXPECT_TRUE(diff.removed.empty());
}

} // namespace
