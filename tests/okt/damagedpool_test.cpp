// SPDX-License-Identifier: MIT
#include "support/files.h"

#include <oktinspect/reportcollector.h>
#include <okttext/damagedpool.h>
#include <tools/okt/printing/difftext.h>

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

/// Pool files and other ones, whole.
std::vector<std::string> wholeFiles()
{
    std::vector<std::string> files;
    for (fs::directory_entry const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        if (std::string bytes = contents(entry.path()); bytes.size() < 20000)
            files.push_back(std::move(bytes));
    return files;
}

std::string damaged(std::string bytes, std::mt19937 &random)
{
    switch (random() % 4)
    {
    case 0: bytes.resize(random() % (bytes.size() + 1)); break;
    case 1: bytes[random() % bytes.size()] = static_cast<char>(random()); break;
    case 2: bytes.erase(random() % bytes.size(), 1 + random() % 100); break;
    default: bytes.insert(random() % bytes.size(), std::string(1 + random() % 50, static_cast<char>(random()))); break;
    }
    return bytes;
}

bool isWhole(std::string const &bytes, OKTTextFault &fault)
{
    try
    {
        okttext::takeApart(bytes);
        return true;
    }
    catch (OKTTextFault const &found)
    {
        fault = found;
        return false;
    }
}

TEST(DamagedPool, RandomDamage_EveryByteInOnePartAndAFaultTold)
{
    std::mt19937 random(11);
    int damages = 0;
    for (std::string const &whole : wholeFiles())
        for (int round = 0; round < 40; ++round)
        {
            std::string const bytes = damaged(whole, random);
            OKTTextFault fault;
            if (bytes.empty() || isWhole(bytes, fault))
                continue;
            ++damages;
            okt::DamagedPool const pool = okt::takeApartDamaged(bytes, fault);
            ASSERT_FALSE(pool.faults.empty());
            EXPECT_GE(pool.faults.front().byte, 0);
            EXPECT_NE(pool.faults.front().reason, "");
            std::vector<bool> isSeen(bytes.size(), false);
            auto const see = [&](std::size_t begin, std::size_t end) {
                ASSERT_LE(end, bytes.size());
                for (std::size_t at = begin; at < end; ++at)
                {
                    EXPECT_FALSE(isSeen[at]) << at;
                    isSeen[at] = true;
                }
            };
            if (pool.hasHeader)
            {
                see(pool.parts.header.begin, pool.parts.header.end);
                // The size of the header stands ahead of it.
                if (pool.parts.objects.empty() || pool.parts.objects.front().begin != 0)
                    see(0, okttext::kLengthRecord);
            }
            for (okttext::PoolPiece const &stretch : pool.parts.objects)
                see(stretch.begin, stretch.end);
            EXPECT_EQ(std::count(isSeen.begin(), isSeen.end(), false), 0);
        }
    EXPECT_GT(damages, 200);
}

TEST(DamagedPool, RandomDamage_TextAndComparisonOfAll)
{
    okt::ReportCollector const collector;
    std::mt19937 random(12);
    for (std::string const &whole : wholeFiles())
        for (int round = 0; round < 10; ++round)
        {
            std::string const bytes = damaged(whole, random);
            okt::DiffPool const first("a", okttext::arrayOf(whole), okt::Damage::Told);
            okt::DiffPool const second("b", okttext::arrayOf(bytes), okt::Damage::Told);
            EXPECT_TRUE(second.exists());
            okt::PoolDiff const diff = okt::compare(first, second, round % 2 == 0 ? okt::MatchBy::Id : okt::MatchBy::Name);
            for (okt::DisplayUnit const *const unit : {okt::findUnit("mm"), static_cast<okt::DisplayUnit const *>(nullptr)})
            {
                std::string const text = okt::describe(diff, first, second, unit);
                for (std::string const &fault : second.faults())
                    EXPECT_THAT(text, HasSubstr("\n! " + fault + "\n"));
            }
            OKTTextFault fault;
            if (bytes.empty() || isWhole(bytes, fault))
                continue;
            std::string text;
            okt::writeDamagedText(bytes, fault, [&text](std::string_view piece) { text += piece; });
            EXPECT_THAT(text, StartsWith("! byte "));
            EXPECT_TRUE(text.ends_with('\n'));
        }
}

TEST(DamagedPool, NoPoolFile_TextAsItIsOrItsBytes)
{
    auto const textOf = [](std::string const &bytes) {
        std::string text;
        okt::writeDamagedText(bytes, OKTTextFault{"no pool", 0}, [&text](std::string_view piece) { text += piece; });
        return text;
    };
    std::string const fault = "! byte 0: this is no pool file: it does not begin with the size of a header\n";
    EXPECT_EQ(textOf("one\ntwo"), fault + "one\ntwo\n");
    EXPECT_EQ(textOf("\xC3\xA9\n"), fault + "\xC3\xA9\n");
    EXPECT_EQ(textOf("\xE9\n"), fault + "{\n  \"format\": \"OKTDatabase text\",\n  \"version\": 1,\n  \"objects\": [\n"
                                        "    {\"raw\": \"6Qo=\"}\n  ]\n}\n");
    EXPECT_THAT(textOf(std::string(100, '\0')),
                HasSubstr("    {\"raw\": \"" + std::string(76, 'A') + "\"},\n    {\"raw\": \""));
}

} // namespace
