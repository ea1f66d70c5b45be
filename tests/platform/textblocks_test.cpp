// SPDX-License-Identifier: MIT
// Texts whose buffers share blocks of memory are texts like others, and a block lives as long as one of them does.

#include "support/alloccount.h"
#include "support/printers.h"

#include <oktplatform/okttextblocks.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
CString made(OktTextBlocks &blocks, std::u16string const &units)
{
    return blocks.make(reinterpret_cast<unsigned char const *>(units.data()), static_cast<int>(units.size()));
}

std::u16string numbered(int number) { return u"text " + std::u16string(static_cast<std::size_t>(number % 40), u'x'); }

CString plain(std::u16string const &units) { return CString(units.c_str()); }
} // namespace

TEST(TextBlocks, Make_TheUnitsAndAZeroBehindThem)
{
    OktTextBlocks blocks;
    CString const text = made(blocks, u"a\u03A9\xD800");
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text, CString(u"a\u03A9\xD800"));
    EXPECT_EQ(text.GetString()[3], 0);
}

TEST(TextBlocks, Make_FromBytesAtAnOddPlace)
{
    OktTextBlocks blocks;
    unsigned char const bytes[] = {0xFF, 'a', 0, 'b', 0, 0xFF};
    EXPECT_EQ(blocks.make(bytes + 1, 2), CString(u"ab"));
}

TEST(TextBlocks, ManyTextsOfEveryLength_EachIsItsOwn)
{
    OktTextBlocks blocks;
    std::vector<CString> texts;
    for (int length = 1; length <= 700; ++length)
        texts.push_back(
            made(blocks, std::u16string(static_cast<std::size_t>(length), static_cast<char16_t>('A' + length % 50))));
    for (int length = 1; length <= 700; ++length)
    {
        CString const &text = texts[static_cast<std::size_t>(length - 1)];
        EXPECT_EQ(text, plain(std::u16string(static_cast<std::size_t>(length), static_cast<char16_t>('A' + length % 50))));
        EXPECT_EQ(text.GetString()[length], 0);
    }
}

TEST(TextBlocks, ShortTexts_TakeNoCallOfTheHeapEach)
{
    OktTextBlocks blocks;
    std::vector<CString> texts;
    texts.reserve(1000);
    std::u16string const units(30, u'u');
    AllocationCount const count;
    for (int i = 0; i < 1000; ++i)
        texts.push_back(made(blocks, units));
    EXPECT_EQ(count.count(), 19u); // 53 texts of 76 bytes in each block of 4080
}

TEST(TextBlocks, TextsOutliveWhatMadeThem)
{
    std::vector<CString> texts;
    {
        OktTextBlocks blocks;
        for (int i = 0; i < 500; ++i)
            texts.push_back(made(blocks, numbered(i)));
    }
    for (int i = 499; i >= 0; --i)
    {
        EXPECT_EQ(texts.back(), plain(numbered(i)));
        texts.pop_back();
    }
}

#if !defined(OKT_TESTS_UNDER_LEAK_CHECK) // the C allocator cannot be watched there
TEST(TextBlocks, ABlockGoesWithItsLastText)
{
    OktTextBlocks blocks;
    std::vector<CString> kept;
    std::vector<CString> texts;
    kept.reserve(10);
    texts.reserve(10'000);
    PeakMemory const peak;
    for (int round = 0; round < 10; ++round)
    {
        for (int i = 0; i < 10'000; ++i)
            texts.push_back(made(blocks, u"ten units!"));
        kept.push_back(texts[5'000]);
        texts.clear();
    }
    EXPECT_GT(peak.bytes(), 10'000u * 34);
    EXPECT_LT(peak.bytes(), 10'000u * 36 + 20 * 4096); // and two blocks at most for each that is kept
    for (CString const &text : kept)
        EXPECT_EQ(text, u"ten units!");
}
#endif

TEST(TextBlocks, AChangedText_LeavesItsNeighboursAlone)
{
    OktTextBlocks blocks;
    CString first = made(blocks, u"first");
    CString second = made(blocks, u"second");
    CString third = made(blocks, u"third");
    first += u" and much more behind it";
    second.Truncate(2);
    second += u"a";
    third.SetUnits(3, [](WCHAR *units, int count) { std::fill_n(units, count, static_cast<WCHAR>('z')); });
    CString const fourth = made(blocks, u"fourth");
    EXPECT_EQ(first, u"first and much more behind it");
    EXPECT_EQ(second, u"sea");
    EXPECT_EQ(third, u"zzz");
    EXPECT_EQ(fourth, u"fourth");
}

TEST(TextBlocks, ASharedText_IsCopiedWhenItIsChanged)
{
    OktTextBlocks blocks;
    CString const text = made(blocks, u"shared");
    CString copy = text;
    copy += u" no more";
    EXPECT_EQ(copy, u"shared no more");
    EXPECT_EQ(text, u"shared");
}

TEST(TextBlocks, TheLastTextMayGoInAnotherThread)
{
    std::vector<CString> texts;
    {
        OktTextBlocks blocks;
        for (int i = 0; i < 1000; ++i)
            texts.push_back(made(blocks, numbered(i)));
    }
    std::vector<CString> others(texts.begin() + 500, texts.end());
    texts.resize(500);
    std::thread thread([taken = std::move(others)]() mutable { taken.clear(); });
    texts.clear();
    thread.join();
}

TEST(TextBlocks, NoMemory_ThrowsAndWhatThereIsStays)
{
    OktTextBlocks blocks;
    CString const first = made(blocks, u"first");
    std::u16string const units(200, u'u');
    std::vector<CString> texts;
    texts.reserve(100);
    {
        AllocationFault const fault(0);
        EXPECT_THROW(
            {
                for (int i = 0; i < 100; ++i)
                    texts.push_back(made(blocks, units));
            },
            std::bad_alloc);
        EXPECT_TRUE(fault.struck());
    }
    EXPECT_EQ(first, u"first");
    EXPECT_EQ(texts.size(), 9u); // 416 bytes each in 4080
    EXPECT_EQ(made(blocks, units), plain(units));
}
