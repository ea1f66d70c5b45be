// SPDX-License-Identifier: MIT
// The memory of a load for many objects at once: each piece ends alone, and what is unused goes back.

#include "support/alloccount.h"
#include "support/shortage.h"

#include <oktplatform/oktarena.h>
#include <oktplatform/okttextblocks.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace
{
constexpr std::int64_t kImage = 3 << 20;

class Arena : public testing::Test
{
protected:
    void SetUp() override
    {
        OktArena arena(kImage);
        void *const piece = arena.take(8);
        if (piece == nullptr)
            GTEST_SKIP() << "no arena under the sanitizer of addresses";
        OktFreeInArena(piece);
    }
    void TearDown() override { OktArena::forgetSpare(); }
};

std::vector<void *> filled(OktArena &arena, int count, std::size_t size)
{
    std::vector<void *> pieces;
    for (int i = 0; i < count; ++i)
    {
        pieces.push_back(arena.take(size));
        std::memset(pieces.back(), i, size);
    }
    return pieces;
}
} // namespace

TEST_F(Arena, Take_ManySizes_PiecesApartAndMarkedByTheirPlace)
{
    OktArena arena(kImage);
    struct Piece
    {
        unsigned char *begin;
        std::size_t size;
    };
    std::vector<Piece> pieces;
    for (std::size_t size = 1; size <= 2000; size += 7)
        pieces.push_back({static_cast<unsigned char *>(arena.take(size)), size});
    pieces.push_back({static_cast<unsigned char *>(arena.take(OktArena::kLargest)), OktArena::kLargest});
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        ASSERT_NE(pieces[i].begin, nullptr);
        EXPECT_TRUE(OktIsInArena(pieces[i].begin));
        std::memset(pieces[i].begin, static_cast<int>(i % 251), pieces[i].size);
    }
    for (std::size_t i = 0; i < pieces.size(); ++i)
        EXPECT_TRUE(std::all_of(pieces[i].begin, pieces[i].begin + pieces[i].size,
                                [i](unsigned char byte) { return byte == i % 251; }));
    EXPECT_EQ(arena.take(OktArena::kLargest + 1), nullptr);
    for (Piece const &piece : pieces)
        OktFreeInArena(piece.begin);
}

TEST_F(Arena, Take_SmallImage_NothingAndNoMemory)
{
    AllocationCount const count;
    OktArena arena(OktArena::kLeastImage - 1);
    EXPECT_EQ(arena.take(8), nullptr);
    EXPECT_EQ(count.count(), 0u);
}

TEST_F(Arena, Free_InAnyOrderBehindTheArena_AllMemoryGoesBack)
{
    OktArena::forgetSpare();
    LiveBlocks const blocks;
    {
        std::vector<void *> pieces;
        {
            OktArena arena(kImage);
            pieces = filled(arena, 20'000, 232); // more than was expected, so that there are several regions
        }
        EXPECT_GT(blocks.count(), 2u);
        std::shuffle(pieces.begin(), pieces.end(), std::mt19937(7));
        for (void *const piece : pieces)
            OktFreeInArena(piece);
    }
    OktArena::forgetSpare();
    EXPECT_EQ(blocks.count(), 0u);
}

TEST_F(Arena, Free_WhileTheArenaGoesOn_ItsChunkStays)
{
    OktArena arena(kImage);
    for (int i = 0; i < 20'000; ++i)
    {
        void *const piece = arena.take(232);
        ASSERT_NE(piece, nullptr);
        std::memset(piece, 1, 232);
        OktFreeInArena(piece);
    }
}

TEST_F(Arena, Take_BehindAnotherArena_RegionOfThatIsUsedAgain)
{
    OktArena::forgetSpare();
    for (void *const piece : [] {
             OktArena arena(kImage);
             return filled(arena, 1000, 232);
         }())
        OktFreeInArena(piece);
    AllocationCount const count;
    OktArena arena(kImage);
    void *const piece = arena.take(232);
    EXPECT_EQ(count.count(), 0u);
    OktFreeInArena(piece);
}

// Half of the chunks go to the system when they are free, and the pieces in the others keep their bytes.
TEST_F(Arena, Free_MostOfThePieces_TheOthersKeepTheirBytes)
{
    std::vector<void *> pieces;
    {
        OktArena arena(kImage);
        pieces = filled(arena, 10'000, 232);
    }
    for (int i = 0; i < 10'000; ++i)
        if (i % 1000 != 999)
            OktFreeInArena(pieces[static_cast<std::size_t>(i)]);
    for (int i = 999; i < 10'000; i += 1000)
    {
        auto *const piece = static_cast<unsigned char *>(pieces[static_cast<std::size_t>(i)]);
        EXPECT_TRUE(std::all_of(piece, piece + 232, [i](unsigned char byte) { return byte == i % 256; })) << i;
        OktFreeInArena(piece);
    }
}

TEST_F(Arena, Free_OnSeveralThreads_AllMemoryGoesBack)
{
    OktArena::forgetSpare();
    std::vector<void *> pieces;
    {
        OktArena arena(kImage);
        pieces = filled(arena, 12'000, 232);
    }
    std::vector<std::thread> threads;
    for (std::size_t part = 0; part < 4; ++part)
        threads.emplace_back([&, part] {
            for (std::size_t i = part; i < pieces.size(); i += 4)
                OktFreeInArena(pieces[i]);
        });
    for (std::thread &thread : threads)
        thread.join();
    OktArena::forgetSpare();
}

TEST_F(Arena, Take_NoMemory_NothingFromThenOn)
{
    for (std::size_t passed = 0; passed < 4; ++passed)
    {
        OktArena::forgetSpare();
        OktArena arena(kImage);
        void *piece = nullptr;
        bool struck = false;
        {
            AllocationFault const fault(passed);
            piece = arena.take(8);
            struck = fault.struck();
        }
        EXPECT_EQ(piece == nullptr, struck) << passed;
        EXPECT_EQ(arena.take(8) == nullptr, struck) << passed;
        if (piece != nullptr)
        {
            OktFreeInArena(piece);
            OktFreeInArena(static_cast<unsigned char *>(piece) + 16); // the second one
        }
    }
}

TEST_F(Arena, Texts_OutliveItAndCanBeChanged)
{
    std::vector<CString> texts;
    std::u16string const units(300, u'x');
    {
        OktArena arena(kImage);
        OktTextBlocks blocks(&arena);
        for (int length = 1; length <= 300; ++length)
            texts.push_back(blocks.make(reinterpret_cast<unsigned char const *>(units.data()), length));
    }
    for (int length = 1; length <= 300; ++length)
    {
        CString &text = texts[static_cast<std::size_t>(length - 1)];
        CString const copy = text;
        EXPECT_EQ(text.GetLength(), length);
        EXPECT_EQ(text.GetString()[length], 0);
        text += u"y";
        EXPECT_EQ(copy, CString(units.substr(0, static_cast<std::size_t>(length)).c_str()));
        EXPECT_EQ(text.GetLength(), length + 1);
    }
}
