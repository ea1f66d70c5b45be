// SPDX-License-Identifier: MIT
#include <oktdatabase/oktcontainers.h>

#include "support/printers.h"

#include <oktdatabase/oktdbpool.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using ::testing::ElementsAre;

namespace
{
using IntArray = OKTArray<int, int const &>;
using IntMap = OKTMap<int, int, int const &, int const &>;

IntArray arrayOf(std::vector<int> const &values)
{
    IntArray array;
    for (int const value : values)
        array.append(value);
    return array;
}

std::vector<int> contents(IntArray const &array)
{
    std::vector<int> values;
    for (int i = 0; i < array.getSize(); ++i)
        values.push_back(array.at(i));
    return values;
}

IntMap mapOf(std::vector<int> const &keys)
{
    IntMap map;
    for (int const key : keys)
        map[key] = key * 10;
    return map;
}

std::vector<std::pair<int, int>> contents(IntMap const &map)
{
    std::vector<std::pair<int, int>> entries;
    for (int i = 0; i < map.getSize(); ++i)
        entries.emplace_back(map.keyAt(static_cast<unsigned int>(i)), map.valueAt(static_cast<unsigned int>(i)));
    return entries;
}
} // namespace

// --- OKTArray ----------------------------------------------------------------------------------------------------------------

TEST(OKTArray, Construct_Default_Empty)
{
    IntArray const array;
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_TRUE(std::has_virtual_destructor_v<IntArray>);
}

TEST(OKTArray, Append_One_SizeBefore)
{
    IntArray array;
    EXPECT_EQ(array.append(7), 0);
    EXPECT_EQ(array.append(8, 1), 1);
    EXPECT_THAT(contents(array), ElementsAre(7, 8));
}

TEST(OKTArray, Append_SeveralCopies_SizeBefore)
{
    IntArray array = arrayOf({1});
    EXPECT_EQ(array.append(7, 3), 1);
    EXPECT_THAT(contents(array), ElementsAre(1, 7, 7, 7));
}

TEST(OKTArray, Append_NoCopy_Unchanged)
{
    IntArray array = arrayOf({1});
    EXPECT_EQ(array.append(7, 0), 1);
    EXPECT_EQ(array.append(7, -2), 1);
    EXPECT_THAT(contents(array), ElementsAre(1));
}

TEST(OKTArray, Append_OwnElement_ElementAsItWas)
{
    OKTArray<std::string, std::string const &> array;
    array.append(std::string(40, 'a'));
    for (int i = 0; i < 40; ++i)
        array.append(array.at(0));
    array.append(array.at(0), 9);
    EXPECT_EQ(array.getSize(), 50);
    EXPECT_EQ(array.at(49), std::string(40, 'a'));
}

TEST(OKTArray, AppendArray_Other_SizeBefore)
{
    IntArray array = arrayOf({1, 2});
    EXPECT_EQ(array.appendArray(arrayOf({3, 4})), 2);
    EXPECT_EQ(array.appendArray(IntArray()), 4);
    EXPECT_THAT(contents(array), ElementsAre(1, 2, 3, 4));
}

TEST(OKTArray, AppendArray_Itself_TwiceTheElements)
{
    IntArray array = arrayOf({1, 2});
    EXPECT_EQ(array.appendArray(array), 2);
    EXPECT_THAT(contents(array), ElementsAre(1, 2, 1, 2));
}

TEST(OKTArray, At_Inside_Reference)
{
    IntArray array = arrayOf({1, 2});
    array.at(1) = 5;
    IntArray const &constant = array;
    EXPECT_EQ(constant.at(1), 5);
    static_assert(std::is_same_v<decltype(array.at(0)), int &>);
    static_assert(std::is_same_v<decltype(constant.at(0)), int const &>);
}

TEST(OKTArray, At_Outside_ThrowsOutOfRange)
{
    IntArray array = arrayOf({1, 2});
    IntArray const &constant = array;
    EXPECT_THROW(array.at(2), std::out_of_range);
    EXPECT_THROW(array.at(-1), std::out_of_range);
    EXPECT_THROW(constant.at(2), std::out_of_range);
    EXPECT_THROW(IntArray().at(0), std::out_of_range);
}

TEST(OKTArray, FindIndex_FromStart_FirstMatchNotBeforeStart)
{
    IntArray const array = arrayOf({5, 6, 5, 7, 5});
    EXPECT_EQ(array.findIndex(5), 0);
    EXPECT_EQ(array.findIndex(5, 0), 0);
    EXPECT_EQ(array.findIndex(5, 1), 2);
    EXPECT_EQ(array.findIndex(5, 3), 4);
    EXPECT_EQ(array.findIndex(6, 2), -1);
    EXPECT_EQ(array.findIndex(9), -1);
}

TEST(OKTArray, FindIndex_StartOutside_NoElementBeyondTheEnd)
{
    IntArray const array = arrayOf({5, 6});
    EXPECT_EQ(array.findIndex(5, 2), -1);
    EXPECT_EQ(array.findIndex(5, 1000), -1);
    EXPECT_EQ(array.findIndex(5, -3), 0);
    EXPECT_EQ(IntArray().findIndex(5), -1);
}

TEST(OKTArray, Contains_MatchBeforeStart_DoesNotCount)
{
    IntArray const array = arrayOf({5, 6});
    EXPECT_TRUE(array.contains(5));
    EXPECT_TRUE(array.contains(6, 1));
    EXPECT_FALSE(array.contains(5, 1));
    EXPECT_FALSE(array.contains(7));
}

TEST(OKTArray, Remove_Duplicates_AllGone)
{
    IntArray array = arrayOf({5, 6, 5, 5, 7});
    EXPECT_TRUE(array.remove(5));
    EXPECT_THAT(contents(array), ElementsAre(6, 7));
    EXPECT_FALSE(array.remove(5));
    EXPECT_THAT(contents(array), ElementsAre(6, 7));
}

TEST(OKTArray, Remove_FromStart_MatchBeforeStartStays)
{
    IntArray array = arrayOf({5, 6, 5, 7, 5});
    EXPECT_TRUE(array.remove(5, 1));
    EXPECT_THAT(contents(array), ElementsAre(5, 6, 7));
    EXPECT_FALSE(array.remove(5, 1));
    EXPECT_FALSE(array.remove(7, 3));
    EXPECT_THAT(contents(array), ElementsAre(5, 6, 7));
}

TEST(OKTArray, Remove_OwnElement_AllEqualGone)
{
    OKTArray<std::string, std::string const &> array;
    for (char const *const text : {"a", "b", "a", "c", "a"})
        array.append(text);
    EXPECT_TRUE(array.remove(array.at(0)));
    ASSERT_EQ(array.getSize(), 2);
    EXPECT_EQ(array.at(0), "b");
    EXPECT_EQ(array.at(1), "c");
}

TEST(OKTArray, RemoveAll_Filled_EmptyAndUsable)
{
    IntArray array = arrayOf({5, 6});
    array.removeAll();
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_EQ(array.append(1), 0);
}

TEST(OKTArray, Copy_ThenChangeOne_OtherUnchanged)
{
    IntArray array = arrayOf({1, 2});
    IntArray copy(array);
    IntArray assigned = arrayOf({9});
    assigned = array;
    array.at(0) = 7;
    array.append(3);
    EXPECT_THAT(contents(copy), ElementsAre(1, 2));
    EXPECT_THAT(contents(assigned), ElementsAre(1, 2));
    IntArray const &same = array;
    array = same;
    EXPECT_THAT(contents(array), ElementsAre(7, 2, 3));
}

TEST(OKTArray, RangeLoop_Elements_InOrder)
{
    std::vector<int> seen;
    for (int const value : arrayOf({3, 1, 2}))
        seen.push_back(value);
    EXPECT_THAT(seen, ElementsAre(3, 1, 2));
}

TEST(OKTArray, RandomOperations_BesideStandardVector_SameContentsAndAnswers)
{
    std::mt19937 random(20240611);
    auto const number = [&random](int below) { return static_cast<int>(random() % static_cast<unsigned int>(below)); };
    for (int round = 0; round < 60; ++round)
    {
        IntArray array;
        std::vector<int> model;
        for (int step = 0; step < 200; ++step)
        {
            int const value = number(8);
            int const start = number(static_cast<int>(model.size()) + 3) - 1;
            auto const from =
                model.begin() + std::min<std::ptrdiff_t>(std::max(start, 0), static_cast<std::ptrdiff_t>(model.size()));
            switch (number(9))
            {
            case 0:
            case 1:
            case 2:
                ASSERT_EQ(array.append(value), static_cast<int>(model.size()));
                model.push_back(value);
                break;
            case 3:
            {
                int const n = number(4);
                ASSERT_EQ(array.append(value, n), static_cast<int>(model.size()));
                model.insert(model.end(), static_cast<std::size_t>(n), value);
                break;
            }
            case 4:
            {
                auto const place = std::find(from, model.end(), value);
                int const expected = place == model.end() ? -1 : static_cast<int>(place - model.begin());
                ASSERT_EQ(array.findIndex(value, start), expected);
                ASSERT_EQ(array.contains(value, start), expected >= 0);
                break;
            }
            case 5:
            {
                auto const kept = std::remove(from, model.end(), value);
                ASSERT_EQ(array.remove(value, start), kept != model.end());
                model.erase(kept, model.end());
                break;
            }
            case 6:
                if (!model.empty())
                {
                    int const index = number(static_cast<int>(model.size()));
                    array.at(index) = value;
                    model[static_cast<std::size_t>(index)] = value;
                }
                break;
            case 7:
                if (model.size() < 100)
                {
                    ASSERT_EQ(array.appendArray(array), static_cast<int>(model.size()));
                    std::vector<int> const twice = model;
                    model.insert(model.end(), twice.begin(), twice.end());
                }
                break;
            default:
                if (number(10) == 0)
                {
                    array.removeAll();
                    model.clear();
                }
            }
            ASSERT_EQ(contents(array), model) << "round " << round << " step " << step;
        }
    }
}

// --- OKTMap ------------------------------------------------------------------------------------------------------------------

TEST(OKTMap, Construct_Default_Empty)
{
    IntMap const map;
    EXPECT_EQ(map.getSize(), 0);
    EXPECT_TRUE(map.isEmpty());
    EXPECT_TRUE(std::has_virtual_destructor_v<IntMap>);
}

TEST(OKTMap, Index_NewKey_ZeroValue)
{
    IntMap numbers;
    EXPECT_EQ(numbers[3], 0);
    EXPECT_EQ(numbers.getSize(), 1);

    OKTMap<int, int *, int const &, int *const &> pointers;
    EXPECT_EQ(pointers[3], nullptr);

    InfoMap places;
    OKTDbPool::_ObjectInfo const &info = places[OKTDbObjectId()];
    EXPECT_EQ(info.nObjectPosition, 0);
    EXPECT_EQ(info.nObjectSize, 0);
}

TEST(OKTMap, Index_KnownKey_ItsValueAndNoEntry)
{
    IntMap map = mapOf({1, 2});
    EXPECT_EQ(map[2], 20);
    map[2] = 5;
    EXPECT_EQ(map[2], 5);
    EXPECT_EQ(map.getSize(), 2);
}

TEST(OKTMap, PositionalAccess_AnyOrderOfInsertion_AscendingKeys)
{
    IntMap const map = mapOf({5, 1, 4, 2, 3});
    EXPECT_THAT(contents(map),
                ElementsAre(std::pair(1, 10), std::pair(2, 20), std::pair(3, 30), std::pair(4, 40), std::pair(5, 50)));
}

TEST(OKTMap, PositionalAccess_BackwardsAndJumps_RightEntries)
{
    IntMap const map = mapOf({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    for (unsigned int i = 10; i-- > 0;)
        EXPECT_EQ(map.keyAt(i), static_cast<int>(i));
    for (unsigned int const i : {3u, 3u, 9u, 0u, 1u, 1u, 0u, 8u, 9u, 8u, 2u})
    {
        EXPECT_EQ(map.keyAt(i), static_cast<int>(i));
        EXPECT_EQ(map.valueAt(i), static_cast<int>(i) * 10);
    }
}

TEST(OKTMap, PositionalAccess_PastTheEnd_ThrowsAndGoesOnWorking)
{
    IntMap map = mapOf({1, 2});
    IntMap const &constant = map;
    EXPECT_EQ(constant.keyAt(1), 2);
    EXPECT_THROW(constant.keyAt(2), std::out_of_range);
    EXPECT_THROW(constant.valueAt(0xFFFFFFFFu), std::out_of_range);
    EXPECT_THROW(map.valueAt(2), std::out_of_range);
    EXPECT_EQ(constant.keyAt(1), 2);
    EXPECT_THROW(IntMap().keyAt(0), std::out_of_range);
}

TEST(OKTMap, ValueAt_NotConst_CanBeWritten)
{
    IntMap map = mapOf({1, 2, 3});
    for (unsigned int i = 0; i < 3; ++i)
        map.valueAt(i) += 1;
    EXPECT_THAT(contents(map), ElementsAre(std::pair(1, 11), std::pair(2, 21), std::pair(3, 31)));
}

TEST(OKTMap, Contains_DoesNotInsert)
{
    IntMap const map = mapOf({1});
    EXPECT_TRUE(map.contains(1));
    EXPECT_FALSE(map.contains(2));
    EXPECT_EQ(map.getSize(), 1);
}

TEST(OKTMap, Find_KnownAndUnknown_ValueOrNull)
{
    IntMap const map = mapOf({1});
    ASSERT_NE(map.find(1), nullptr);
    EXPECT_EQ(*map.find(1), 10);
    EXPECT_EQ(map.find(2), nullptr);
    EXPECT_EQ(map.getSize(), 1);
}

TEST(OKTMap, FindKey_PositionOrMinusOne)
{
    IntMap const map = mapOf({30, 10, 20});
    EXPECT_EQ(map.findKey(10), 0);
    EXPECT_EQ(map.findKey(20), 1);
    EXPECT_EQ(map.findKey(30), 2);
    EXPECT_EQ(map.findKey(15), -1);
    EXPECT_EQ(IntMap().findKey(1), -1);
}

TEST(OKTMap, Erase_KnownKey_Gone)
{
    IntMap map = mapOf({1, 2, 3});
    map.erase(2);
    EXPECT_THAT(contents(map), ElementsAre(std::pair(1, 10), std::pair(3, 30)));
}

TEST(OKTMap, Erase_AbsentKey_NothingHappens)
{
    IntMap map = mapOf({1});
    map.erase(2);
    IntMap empty;
    empty.erase(1);
    EXPECT_EQ(map.getSize(), 1);
    EXPECT_TRUE(empty.isEmpty());
}

TEST(OKTMap, KeyAt_AfterErase_RestartsAndIsRight)
{
    for (int const erased : {0, 1, 2, 3, 4})
    {
        IntMap map = mapOf({0, 1, 2, 3, 4});
        EXPECT_EQ(map.keyAt(2), 2);
        map.erase(erased);
        for (unsigned int i = 1; i < 4; ++i)
            EXPECT_EQ(map.keyAt(i), static_cast<int>(i) < erased ? static_cast<int>(i) : static_cast<int>(i) + 1);
    }
}

TEST(OKTMap, KeyAt_AfterInsertionAheadOfCursor_IsRight)
{
    IntMap map = mapOf({10, 20, 30});
    EXPECT_EQ(map.keyAt(1), 20);
    map[15] = 1;
    EXPECT_EQ(map.keyAt(1), 15);
    EXPECT_EQ(map.keyAt(2), 20);
    EXPECT_EQ(map[15], 1);
    EXPECT_EQ(map.keyAt(3), 30);
}

TEST(OKTMap, EraseKeyAndInsertAgain_InAPositionalLoop_VisitsEachOnce)
{
    IntMap map = mapOf({1, 2, 3, 4});
    std::vector<int> seen;
    for (unsigned int i = 0; i < 4; ++i)
    {
        int const key = map.keyAt(i);
        seen.push_back(key);
        map.erase(key);
        map[key] = -key;
    }
    EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(map.valueAt(2), -3);
}

TEST(OKTMap, RemoveAll_Filled_EmptyAndUsable)
{
    IntMap map = mapOf({1, 2});
    EXPECT_EQ(map.keyAt(1), 2);
    map.removeAll();
    EXPECT_TRUE(map.isEmpty());
    map[7] = 1;
    EXPECT_EQ(map.keyAt(0), 7);
}

TEST(OKTMap, KeysAndValues_InKeyOrder)
{
    IntMap const map = mapOf({3, 1, 2});
    EXPECT_THAT(contents(map.keys()), ElementsAre(1, 2, 3));
    EXPECT_THAT(contents(map.values()), ElementsAre(10, 20, 30));
}

TEST(OKTMap, CopyAndAssign_WithCursors_EachOnItsOwn)
{
    IntMap map = mapOf({1, 2, 3});
    EXPECT_EQ(map.keyAt(1), 2);
    IntMap copy(map);
    map.removeAll();
    EXPECT_EQ(copy.keyAt(2), 3);
    EXPECT_EQ(copy.keyAt(1), 2);

    IntMap assigned = mapOf({8, 9});
    EXPECT_EQ(assigned.keyAt(1), 9);
    assigned = copy;
    EXPECT_EQ(assigned.keyAt(2), 3);
    copy[0] = 0;
    EXPECT_EQ(assigned.keyAt(0), 1);
    IntMap const &same = assigned;
    assigned = same;
    EXPECT_THAT(contents(assigned.keys()), ElementsAre(1, 2, 3));
}

TEST(OKTMap, Move_WithCursors_EachOnItsOwn)
{
    IntMap map = mapOf({1, 2, 3});
    EXPECT_EQ(map.keyAt(1), 2);
    IntMap moved(std::move(map));
    EXPECT_EQ(moved.keyAt(2), 3);
    IntMap target = mapOf({8});
    EXPECT_EQ(target.keyAt(0), 8);
    target = std::move(moved);
    EXPECT_EQ(target.keyAt(1), 2);
}

TEST(OKTMap, CStringKeys_OrderOfComparison_UpperCaseFirst)
{
    OKTMap<CString, int, CString const &, int const &> map;
    for (auto const *const text : {u"b", u"a", u"B", u"A", u"aa", u""})
        map[text] = 1;
    std::string order;
    for (unsigned int i = 0; i < 6; ++i)
        order += map.keyAt(i).ToUtf8() + ",";
    EXPECT_EQ(order, ",A,B,a,aa,b,");
}

TEST(OKTMap, RandomOperations_BesideStandardMap_SameContentsAndPositions)
{
    std::mt19937 random(19980401);
    auto const number = [&random](int below) { return static_cast<int>(random() % static_cast<unsigned int>(below)); };
    for (int round = 0; round < 60; ++round)
    {
        IntMap map;
        std::map<int, int> model;
        unsigned int position = 0;
        for (int step = 0; step < 400; ++step)
        {
            int const key = number(40);
            int const value = number(1000);
            auto const size = static_cast<unsigned int>(model.size());
            switch (number(12))
            {
            case 0:
            case 1:
                map[key] = value;
                model[key] = value;
                break;
            case 2:
                map.erase(key);
                model.erase(key);
                break;
            case 3:
            case 4:
            case 5:
            case 6: // neighbours of the last position, or any
                if (size == 0)
                    break;
                position = number(5) == 0 ? static_cast<unsigned int>(number(static_cast<int>(size)))
                                          : (position + static_cast<unsigned int>(number(3)) + size - 1) % size;
                ASSERT_EQ(map.keyAt(position), std::next(model.begin(), position)->first);
                ASSERT_EQ(std::as_const(map).valueAt(position), std::next(model.begin(), position)->second);
                break;
            case 7:
                if (size == 0)
                    break;
                position = static_cast<unsigned int>(number(static_cast<int>(size)));
                map.valueAt(position) = value;
                std::next(model.begin(), position)->second = value;
                break;
            case 8:
            {
                auto const found = model.find(key);
                ASSERT_EQ(map.contains(key), found != model.end());
                ASSERT_EQ(map.findKey(key), found == model.end() ? -1 : std::distance(model.begin(), found));
                ASSERT_EQ(map.find(key) == nullptr, found == model.end());
                break;
            }
            case 9: ASSERT_THROW(map.keyAt(size), std::out_of_range); break;
            case 10:
            {
                IntMap const copy(map);
                map = copy;
                break;
            }
            default:
                if (number(30) == 0)
                {
                    map.removeAll();
                    model.clear();
                }
            }
            ASSERT_EQ(map.getSize(), static_cast<int>(model.size()));
            ASSERT_EQ(map.isEmpty(), model.empty());
        }
        ASSERT_EQ(contents(map), (std::vector<std::pair<int, int>>(model.begin(), model.end()))) << "round " << round;
    }
}

TEST(OKTArray, AppendArray_ItselfAtEverySize_EachElementTwiceInOrder)
{
    // Texts of their own memory, so that a look at one that has moved is seen.
    OKTArray<std::string, std::string const &> array;
    for (int size = 0; size < 40; ++size)
    {
        auto twice = array;
        EXPECT_EQ(twice.appendArray(twice), size);
        ASSERT_EQ(twice.getSize(), 2 * size);
        for (int i = 0; i < size; ++i)
        {
            EXPECT_EQ(twice.at(i), array.at(i));
            EXPECT_EQ(twice.at(size + i), array.at(i));
        }
        array.append(std::string(40, static_cast<char>('A' + size)));
    }
}
