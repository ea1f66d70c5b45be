// SPDX-License-Identifier: MIT
#include <oktdatabase/okthelperec.h>

#include "support/printers.h"
#include "support/units.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
using Entries = std::vector<std::pair<wchar_t, int>>;

Entries entries(OKTHelperEC const &set)
{
    Entries all;
    for (int i = 0; i < set.getECasMap().getSize(); ++i)
        all.emplace_back(set.getECasMap().keyAt(static_cast<unsigned int>(i)),
                         set.getECasMap().valueAt(static_cast<unsigned int>(i)));
    return all;
}

OKTHelperEC setOf(char16_t const *text) { return OKTHelperEC(CString(text)); }

/// "AB" without its B: the key stays with the count 0.
OKTHelperEC abWithoutB()
{
    OKTHelperEC set = setOf(u"AB");
    set.remove(L'B');
    return set;
}
} // namespace

TEST(OKTHelperEC, Construct_Default_Empty)
{
    EXPECT_THAT(entries(OKTHelperEC()), IsEmpty());
    static_assert(std::has_virtual_destructor_v<OKTHelperEC>);
}

TEST(OKTHelperEC, Construct_Text_CountsInOrderOfTheCharacters)
{
    EXPECT_THAT(entries(setOf(u"AAB")), ElementsAre(std::pair(L'A', 2), std::pair(L'B', 1)));
    EXPECT_THAT(entries(setOf(u"BA A")), ElementsAre(std::pair(L' ', 1), std::pair(L'A', 2), std::pair(L'B', 1)));
    EXPECT_THAT(entries(setOf(u"")), IsEmpty());
}

TEST(OKTHelperEC, Construct_UpperAndLowerCase_DifferentCharacters)
{
    EXPECT_THAT(entries(setOf(u"aAa")), ElementsAre(std::pair(L'A', 1), std::pair(L'a', 2)));
}

TEST(OKTHelperEC, Construct_BeyondAscii_OneEntryForEachUnit)
{
    EXPECT_THAT(entries(setOf(u"\u00E9\u00E9")), ElementsAre(std::pair(L'\u00E9', 2)));
    EXPECT_EQ(entries(setOf(u"\U0001F600")).size(), 2u); // a surrogate pair is two units
    OktTextView const withZero = viewOf({u"A\0A", 3});
    EXPECT_THAT(entries(OKTHelperEC(CString(withZero))), ElementsAre(std::pair(L'\0', 1), std::pair(L'A', 2)));
}

TEST(OKTHelperEC, MakeFromEC_Filled_StartsFromEmpty)
{
    OKTHelperEC set = setOf(u"AAB");
    set.makeFromEC(u"BC");
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'B', 1), std::pair(L'C', 1)));
    set.makeFromEC(u"");
    EXPECT_THAT(entries(set), IsEmpty());
}

TEST(OKTHelperEC, AddType_AbsentAndPresent_OneMore)
{
    OKTHelperEC set;
    set.addType(L'A');
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 1)));
    set.addType(L'A');
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 2)));
}

TEST(OKTHelperEC, Remove_Present_OneLessAndKeyStaysAtZero_Quirk67)
{
    OKTHelperEC set = setOf(u"AAB");
    set.remove(L'A');
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 1), std::pair(L'B', 1)));
    set.remove(L'A');
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 0), std::pair(L'B', 1)));
    set.remove(L'A');
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 0), std::pair(L'B', 1)));
    set.addType(L'A');
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 1), std::pair(L'B', 1)));
}

TEST(OKTHelperEC, Remove_Absent_NothingAndNoKey)
{
    OKTHelperEC set = setOf(u"A");
    set.remove(L'B');
    set.remove(L'a');
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 1)));
}

TEST(OKTHelperEC, CanRemove_CountOfAtLeastOne)
{
    OKTHelperEC set = setOf(u"AB");
    EXPECT_TRUE(set.canRemove(L'A'));
    EXPECT_FALSE(set.canRemove(L'C'));
    EXPECT_FALSE(set.canRemove(L'a'));
    set.remove(L'B');
    EXPECT_FALSE(set.canRemove(L'B'));
    EXPECT_EQ(entries(set).size(), 2u); // asking made no key
}

TEST(OKTHelperEC, CopyAndAssign_OwnCounts)
{
    OKTHelperEC set = setOf(u"AB");
    OKTHelperEC const copy(set);
    OKTHelperEC assigned = setOf(u"ZZ");
    OKTHelperEC &result = assigned = set;
    set.addType(L'A');
    EXPECT_THAT(entries(copy), ElementsAre(std::pair(L'A', 1), std::pair(L'B', 1)));
    EXPECT_THAT(entries(assigned), ElementsAre(std::pair(L'A', 1), std::pair(L'B', 1)));
    EXPECT_EQ(&result, &assigned);
}

template <typename T>
concept HasLess = requires(T const &a, T const &b)
{
    a < b;
};
template <typename T>
concept HasGreater = requires(T const &a, T const &b)
{
    a > b;
};

TEST(OKTHelperEC, Operators_NeitherLessNorGreater)
{
    static_assert(!HasLess<OKTHelperEC> && !HasGreater<OKTHelperEC>);
    static_assert(std::is_same_v<decltype(std::declval<OKTHelperEC const &>().getECasMap()), OKTHelperEC::CountMap const &>);
}

// --- Comparison --------------------------------------------------------------------------------------------------------------

struct SetRow
{
    char16_t const *left;
    char16_t const *right;
    bool equal;
    bool within;   ///< left <= right
    bool contains; ///< left >= right
};

TEST(OKTHelperEC, Compare_Texts_AsListed)
{
    SetRow const rows[] = {
        {u"", u"", true, true, true},
        {u"BA", u"AB", true, true, true},
        {u"A", u"AB", false, true, false},
        {u"AA", u"AB", false, false, false},
        {u"", u"AB", false, true, false},
        {u"AB", u"", false, false, true},
        {u"AAB", u"AB", false, false, true},
        {u"AB", u"AAB", false, true, false},
        {u"A", u"B", false, false, false},
        {u"a", u"A", false, false, false},
        {u"AABB", u"ABAB", true, true, true},
        {u"ABC", u"AABBC", false, true, false},
        {u"ABCC", u"AABBC", false, false, false},
    };
    for (SetRow const &row : rows)
    {
        SCOPED_TRACE(CString(row.left).ToUtf8() + " and " + CString(row.right).ToUtf8());
        EXPECT_EQ(setOf(row.left) == setOf(row.right), row.equal);
        EXPECT_EQ(setOf(row.left) <= setOf(row.right), row.within);
        EXPECT_EQ(setOf(row.left) >= setOf(row.right), row.contains);
    }
}

TEST(OKTHelperEC, Compare_KeyWithCountZero_IsSeen_Quirk67)
{
    OKTHelperEC const left = abWithoutB();
    OKTHelperEC const onlyA = setOf(u"A");
    EXPECT_FALSE(left == onlyA);
    EXPECT_FALSE(onlyA == left);
    EXPECT_FALSE(left <= onlyA);
    EXPECT_TRUE(onlyA <= left);
    EXPECT_TRUE(left >= onlyA);
    EXPECT_FALSE(onlyA >= left);
    EXPECT_TRUE(left == abWithoutB());
    EXPECT_TRUE(left <= setOf(u"AB"));
}

TEST(OKTHelperEC, Compare_RandomSets_AsTheMaps)
{
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round)
    {
        OKTHelperEC sets[2];
        std::map<wchar_t, int> models[2];
        for (int s = 0; s < 2; ++s)
            for (unsigned int n = random() % 8; n > 0; --n)
            {
                auto const c = static_cast<wchar_t>(L'A' + static_cast<wchar_t>(random() % 3));
                if (random() % 3 != 0)
                {
                    sets[s].addType(c);
                    ++models[s][c];
                }
                else
                {
                    sets[s].remove(c);
                    if (models[s].count(c) != 0 && models[s][c] > 0)
                        --models[s][c];
                }
            }
        bool within = true;
        for (auto const &[c, n] : models[0])
            within = within && models[1].count(c) != 0 && n <= models[1][c];
        ASSERT_EQ(sets[0] == sets[1], models[0] == models[1]);
        ASSERT_EQ(sets[0] <= sets[1], within);
        ASSERT_EQ(sets[1] >= sets[0], within);
        ASSERT_EQ(sets[0] <= sets[1] && sets[1] <= sets[0], sets[0] == sets[1]);
    }
}

namespace
{
int charactersOf(OKTHelperEC const &set) { return set.getECasMap().getSize(); }
} // namespace

TEST(OKTHelperEC, Convert_FromAText_Implicit)
{
    static_assert(std::is_convertible_v<CString, OKTHelperEC>);
    CString const text(u"AAB");
    EXPECT_EQ(charactersOf(text), 2);
    OKTHelperEC set = text;
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'A', 2), std::pair(L'B', 1)));
    set = CString(u"C");
    EXPECT_THAT(entries(set), ElementsAre(std::pair(L'C', 1)));
    EXPECT_TRUE(set == CString(u"C"));
    EXPECT_TRUE(set <= CString(u"CD"));
}
