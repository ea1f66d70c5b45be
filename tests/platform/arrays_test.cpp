// SPDX-License-Identifier: MIT
#include <oktplatform/oktarrays.h>

#include "support/alloccount.h"
#include "support/printers.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{
CByteArray bytesOf(std::initializer_list<int> values)
{
    CByteArray bytes;
    for (int const value : values)
        bytes.Add(static_cast<BYTE>(value));
    return bytes;
}

std::string dump(CStringArray const &texts)
{
    std::string result;
    for (int i = 0; i < texts.GetSize(); ++i)
        result += texts[i].ToUtf8() + ";";
    return result;
}

CStringArray textsOf(std::initializer_list<char16_t const *> values)
{
    CStringArray texts;
    for (char16_t const *const value : values)
        texts.Add(value);
    return texts;
}
} // namespace

// --- CByteArray --------------------------------------------------------------------------------------------------------------

TEST(CByteArray, New_IsEmptyWithoutMemory)
{
    AllocationCount const allocations;
    CByteArray const bytes;
    EXPECT_EQ(bytes.GetSize(), 0);
    EXPECT_EQ(bytes.GetCount(), 0);
    EXPECT_TRUE(bytes.IsEmpty());
    EXPECT_EQ(bytes.GetData(), nullptr);
    CByteArray const copy(bytes);
    EXPECT_EQ(copy.GetData(), nullptr);
    EXPECT_EQ(allocations.count(), 0u);
}

TEST(CByteArray, SetSize_FillsNewBytesWithZero)
{
    CByteArray bytes;
    bytes.SetSize(4);
    EXPECT_EQ(bytes, bytesOf({0, 0, 0, 0}));
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<BYTE>(i + 1);
    bytes.SetSize(2);
    EXPECT_EQ(bytes, bytesOf({1, 2}));
    bytes.SetSize(6);
    EXPECT_EQ(bytes, bytesOf({1, 2, 0, 0, 0, 0}));
    bytes.SetSize(0);
    EXPECT_TRUE(bytes.IsEmpty());
    bytes.SetSize(3);
    EXPECT_EQ(bytes, bytesOf({0, 0, 0}));
    bytes.SetAt(0, 9);
    bytes.SetSize(0);
    bytes.SetSize(5000);
    EXPECT_EQ(bytes.GetAt(0), 0);
}

TEST(CByteArray, SetSize_Negative_ThrowsAndChangesNothing)
{
    CByteArray bytes = bytesOf({1, 2});
    EXPECT_THROW(bytes.SetSize(-1), std::length_error);
    EXPECT_THROW(bytes.SetSize(std::numeric_limits<int>::min()), std::length_error);
    EXPECT_EQ(bytes, bytesOf({1, 2}));
}

TEST(CByteArray, Shrinking_KeepsTheMemory)
{
    CByteArray bytes;
    bytes.SetSize(1000);
    BYTE const *const data = bytes.GetData();
    AllocationCount const allocations;
    bytes.SetSize(1);
    bytes.SetSize(1000);
    EXPECT_EQ(bytes.GetData(), data);
    EXPECT_EQ(allocations.count(), 0u);
    bytes.SetSize(10);
    bytes.FreeExtra();
    EXPECT_EQ(bytes.GetSize(), 10);
    bytes.RemoveAll();
    EXPECT_EQ(bytes.GetData(), nullptr);
    bytes.FreeExtra();
    EXPECT_EQ(bytes.GetData(), nullptr);
}

TEST(CByteArray, IndexOutside_Throws)
{
    CByteArray bytes = bytesOf({1, 2});
    CByteArray const &constant = bytes;
    for (int const index : {-1, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    {
        EXPECT_THROW(bytes.GetAt(index), std::out_of_range);
        EXPECT_THROW(bytes.SetAt(index, 0), std::out_of_range);
        EXPECT_THROW(bytes[index] = 0, std::out_of_range);
        EXPECT_THROW(static_cast<void>(constant[index]), std::out_of_range);
    }
    EXPECT_THROW(CByteArray().GetAt(0), std::out_of_range);
    EXPECT_EQ(bytes, bytesOf({1, 2}));
}

TEST(CByteArray, AddAndAppend_GiveTheirPlace)
{
    CByteArray bytes;
    EXPECT_EQ(bytes.Add(7), 0);
    EXPECT_EQ(bytes.Add(8), 1);
    EXPECT_EQ(bytes.Append(bytesOf({9, 10})), 2);
    EXPECT_EQ(bytes.Append(CByteArray()), 4);
    EXPECT_EQ(bytes, bytesOf({7, 8, 9, 10}));
    EXPECT_EQ(bytes.Append(bytes), 4);
    EXPECT_EQ(bytes, bytesOf({7, 8, 9, 10, 7, 8, 9, 10}));
}

TEST(CByteArray, Copies_AreDeep)
{
    CByteArray const bytes = bytesOf({1, 2, 3});
    CByteArray copy(bytes);
    copy[0] = 9;
    CByteArray assigned = bytesOf({5});
    assigned = bytes;
    assigned[1] = 9;
    CByteArray third = bytesOf({1, 2, 3, 4, 5});
    third.Copy(bytes);
    CByteArray &same = third;
    third = same;
    third.Copy(same);
    EXPECT_EQ(bytes, bytesOf({1, 2, 3}));
    EXPECT_EQ(copy, bytesOf({9, 2, 3}));
    EXPECT_EQ(assigned, bytesOf({1, 9, 3}));
    EXPECT_EQ(third, bytes);
    third.Copy(CByteArray());
    EXPECT_TRUE(third.IsEmpty());
}

TEST(CByteArray, Move_TakesTheMemory)
{
    CByteArray source = bytesOf({1, 2, 3});
    BYTE const *const data = source.GetData();
    CByteArray target(std::move(source));
    EXPECT_EQ(target.GetData(), data);
    EXPECT_TRUE(source.IsEmpty()); // NOLINT(bugprone-use-after-move): the emptiness is promised
    EXPECT_EQ(source.GetData(), nullptr);
    CByteArray assigned = bytesOf({4});
    assigned = std::move(target);
    EXPECT_EQ(assigned.GetData(), data);
    CByteArray &same = assigned;
    assigned = std::move(same);
    EXPECT_EQ(assigned, bytesOf({1, 2, 3}));
}

TEST(CByteArray, GrowBy_IsTheLeastStep)
{
    CByteArray bytes;
    bytes.SetSize(0, 1024);
    bytes.Add(1);
    AllocationCount const allocations;
    for (int i = 1; i < 1024; ++i)
        bytes.Add(1);
    EXPECT_EQ(allocations.count(), 0u);
}

TEST(CByteArray, ManyBytes_AllocateSeldom)
{
    CByteArray bytes;
    AllocationCount const allocations;
    for (int i = 0; i < 4 * 1024 * 1024; ++i)
        *bytes.Extend(1) = static_cast<BYTE>(i);
    EXPECT_LT(allocations.count(), 100u);
    for (int i = 0; i < bytes.GetSize(); i += 4099)
        ASSERT_EQ(bytes[i], static_cast<BYTE>(i));
}

TEST(CByteArray, BeyondTheLargestInt_Throws)
{
    CByteArray bytes = bytesOf({1, 2});
    EXPECT_THROW(bytes.Extend(std::numeric_limits<int>::max()), std::length_error);
    EXPECT_THROW(bytes.Extend(std::numeric_limits<int>::max() - 1), std::length_error);
    EXPECT_EQ(bytes, bytesOf({1, 2}));
}

TEST(CByteArray, GrowthByPages_KeepsTheBytes)
{
    CByteArray bytes;
    bytes.SetSize(100);
    bytes[99] = 1;
    bytes.SetSize(64 * 1024 * 1024);
    EXPECT_EQ(bytes[99], 1);
    EXPECT_EQ(bytes[64 * 1024 * 1024 - 1], 0);
}

// --- CStringArray ------------------------------------------------------------------------------------------------------------

TEST(CStringArray, AddAppendCopy)
{
    CStringArray texts;
    EXPECT_TRUE(texts.IsEmpty());
    EXPECT_EQ(texts.Add(u"a"), 0);
    EXPECT_EQ(texts.Add(u"b"), 1);
    EXPECT_EQ(texts.Add(texts[0]), 2);
    EXPECT_EQ(texts.GetCount(), 3);
    EXPECT_EQ(texts.Append(texts), 3);
    EXPECT_EQ(dump(texts), "a;b;a;a;b;a;");
    CStringArray copy;
    copy.Copy(texts);
    copy.Copy(copy);
    copy[0] = u"x";
    copy.SetAt(1, u"y");
    EXPECT_EQ(dump(copy), "x;y;a;a;b;a;");
    EXPECT_EQ(dump(texts), "a;b;a;a;b;a;");
    texts.RemoveAll();
    EXPECT_TRUE(texts.IsEmpty());
    EXPECT_EQ(texts.GetSize(), 0);
}

TEST(CStringArray, SetSize)
{
    CStringArray texts = textsOf({u"a", u"b"});
    texts.SetSize(4, 16);
    EXPECT_EQ(dump(texts), "a;b;;;");
    texts.SetSize(1);
    EXPECT_EQ(dump(texts), "a;");
    EXPECT_THROW(texts.SetSize(-1), std::length_error);
    EXPECT_EQ(dump(texts), "a;");
    EXPECT_EQ(texts.GetData()[0], u"a");
}

TEST(CStringArray, IndexOutside_Throws)
{
    CStringArray texts = textsOf({u"a", u"b"});
    CStringArray const &constant = texts;
    for (int const index : {-1, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    {
        EXPECT_THROW(texts.GetAt(index), std::out_of_range);
        EXPECT_THROW(texts.SetAt(index, u"x"), std::out_of_range);
        EXPECT_THROW(texts[index] = u"x", std::out_of_range);
        EXPECT_THROW(static_cast<void>(constant[index]), std::out_of_range);
    }
    EXPECT_EQ(dump(texts), "a;b;");
}

TEST(CStringArray, InsertAt_MovesTheRestOrGrows)
{
    CStringArray texts = textsOf({u"a", u"b"});
    texts.InsertAt(1, u"x", 2);
    EXPECT_EQ(dump(texts), "a;x;x;b;");
    texts.InsertAt(0, texts[3]);
    EXPECT_EQ(dump(texts), "b;a;x;x;b;");
    texts.InsertAt(5, u"end");
    EXPECT_EQ(dump(texts), "b;a;x;x;b;end;");
    texts.InsertAt(8, u"far");
    EXPECT_EQ(dump(texts), "b;a;x;x;b;end;;;far;");
    texts.InsertAt(0, u"none", 0);
    EXPECT_EQ(texts.GetSize(), 9);
    EXPECT_THROW(texts.InsertAt(-1, u"x"), std::out_of_range);
    EXPECT_THROW(texts.InsertAt(0, u"x", -1), std::length_error);
    EXPECT_EQ(texts.GetSize(), 9);
}

TEST(CStringArray, RemoveAt)
{
    CStringArray texts = textsOf({u"a", u"b", u"c", u"d"});
    texts.RemoveAt(1);
    EXPECT_EQ(dump(texts), "a;c;d;");
    texts.RemoveAt(0, 2);
    EXPECT_EQ(dump(texts), "d;");
    EXPECT_THROW(texts.RemoveAt(1), std::out_of_range);
    EXPECT_THROW(texts.RemoveAt(-1), std::out_of_range);
    EXPECT_THROW(texts.RemoveAt(0, -1), std::out_of_range);
    EXPECT_THROW(texts.RemoveAt(0, std::numeric_limits<int>::max()), std::out_of_range);
    EXPECT_EQ(dump(texts), "d;");
    texts.RemoveAt(1, 0);
    texts.RemoveAt(0);
    EXPECT_TRUE(texts.IsEmpty());
}

TEST(CStringArray, AllocationFails_ArrayStaysAsItWas)
{
    for (std::size_t passed = 0;; ++passed)
    {
        CStringArray texts = textsOf({u"a", u"b"});
        CStringArray const others = textsOf({u"c", u"d", u"e", u"f", u"g", u"h"});
        bool threw = false;
        bool struck = false;
        {
            AllocationFault const fault(passed);
            try
            {
                texts.InsertAt(3, u"x", 20);
                texts.Append(others);
            }
            catch (std::bad_alloc const &)
            {
                threw = true;
            }
            struck = fault.struck();
        }
        EXPECT_EQ(threw, struck);
        EXPECT_TRUE(texts.GetSize() == 2 || texts.GetSize() == 23 || texts.GetSize() == 29) << texts.GetSize();
        EXPECT_EQ(texts.GetSize() == 29, !threw);
        EXPECT_EQ(texts[1], u"b");
        if (!struck)
            break;
    }
}
