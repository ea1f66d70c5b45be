// SPDX-License-Identifier: MIT
#include "support/bytetext.h"
#include "support/files.h"

#include "support/clientclasses.h"
#include "support/poolmaker.h"

#include <tools/okt/commands/gitfilter.h>

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using okt::cleaned;
using okt::FilteredFile;
using okt::smudged;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kFirstLine[] = "{\"format\": \"OKTDatabase text\", \"version\": 1,\n";

std::vector<std::string> goldenFiles()
{
    std::vector<std::string> files;
    for (fs::directory_entry const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        files.push_back(contents(entry.path()));
    return files;
}

std::string randomPool(unsigned seed)
{
    auto const pool = std::make_unique<OKTDbPool>();
    fillRandomly(*pool, seed, 1.0);
    CByteArray bytes;
    IdMap translated;
    EXPECT_TRUE(pool->saveFiler(bytes, translated));
    return textOf(bytes);
}

/// What holds for every file that is no text of the filter.
void expectBack(std::string const &bytes)
{
    ASSERT_FALSE(okt::isFilterText(bytes));
    FilteredFile const stored = cleaned(bytes);
    EXPECT_EQ(stored.bytes == bytes, stored.fault.has_value()) << "either it is a text, or it is told why not";
    EXPECT_TRUE(smudged(stored.bytes).bytes == bytes);
    EXPECT_FALSE(smudged(stored.bytes).fault.has_value());
    FilteredFile const again = cleaned(stored.bytes);
    EXPECT_TRUE(again.bytes == stored.bytes);
}

TEST(GitFilter, GoldenFiles_ComeBack)
{
    for (std::string const &bytes : goldenFiles())
        expectBack(bytes);
}

TEST(GitFilter, RandomPools_ComeBackFromTheirText)
{
    ClientClasses const classes;
    for (unsigned seed = 1; seed <= 20; ++seed)
    {
        std::string const bytes = randomPool(seed);
        EXPECT_THAT(cleaned(bytes).bytes, StartsWith(kFirstLine)) << seed;
        expectBack(bytes);
    }
}

TEST(GitFilter, DamagedFiles_ComeBack)
{
    std::mt19937 random(7);
    for (std::string const &whole : goldenFiles())
        for (int round = 0; round < 20 && whole.size() < 20000; ++round)
        {
            std::string bytes = whole;
            if (round % 3 == 0)
                bytes.resize(random() % (bytes.size() + 1));
            else if (round % 3 == 1 && !bytes.empty())
                bytes[random() % bytes.size()] = static_cast<char>(random());
            else if (!bytes.empty())
                bytes.erase(random() % bytes.size(), 1 + random() % 100);
            expectBack(bytes);
        }
}

TEST(GitFilter, OtherFiles_PassAndTellWhy)
{
    EXPECT_EQ(cleaned("").bytes, "");
    EXPECT_EQ(cleaned("").fault->reason, "the file is empty");
    EXPECT_EQ(cleaned("text\r\n").bytes, "text\r\n");
    EXPECT_EQ(cleaned("text\r\n").fault->place(), "byte 0");
    EXPECT_THAT(cleaned("text\r\n").fault->reason, HasSubstr("this is no pool file"));
    EXPECT_EQ(smudged("text\r\n").bytes, "text\r\n");
    EXPECT_FALSE(smudged("text\r\n").fault.has_value()) << "an old version may be anything";
}

/// What okt export writes is somebody's own file, whatever its name.
TEST(GitFilter, TextOfExport_StaysText)
{
    std::string const text = okt::asExported(cleaned(randomPool(1)).bytes);
    EXPECT_THAT(text, StartsWith("{\n  \"format\": \"OKTDatabase text\",\n  \"version\": 1,\n  \"header\": {"));
    expectBack(text);
    EXPECT_EQ(cleaned(text).bytes, text);
}

/// The text of a merge, as it lies in the work tree once its conflicts are settled.
TEST(GitFilter, TextOfTheFilter_TakenForItsPoolFile)
{
    ClientClasses const classes;
    std::string const pool = randomPool(1);
    std::string const text = cleaned(pool).bytes;
    EXPECT_EQ(cleaned(text).bytes, text);
    std::string spaced = text;
    spaced.replace(spaced.find("\n  \"header\""), 3, "\n\n\t");
    EXPECT_NE(spaced, text);
    EXPECT_EQ(cleaned(spaced).bytes, text);
    EXPECT_EQ(smudged(spaced).bytes, pool);
}

TEST(GitFilter, TextWithOtherEndsOfLines_StillRead)
{
    std::string const pool = randomPool(1);
    std::string text;
    for (char const c : cleaned(pool).bytes)
        text += c == '\n' ? "\r\n" : std::string(1, c);
    EXPECT_TRUE(smudged(text).bytes == pool);
    EXPECT_THAT(cleaned(text).bytes, StartsWith(kFirstLine));
}

TEST(GitFilter, TextWithAConflict_PassesBothWaysAndTheLineIsTold)
{
    std::string text = cleaned(randomPool(1)).bytes;
    text.insert(text.find("\n  \"objects\"") + 1, "<<<<<<< HEAD\n");
    for (FilteredFile const &file : {cleaned(text), smudged(text)})
    {
        EXPECT_EQ(file.bytes, text);
        ASSERT_TRUE(file.fault.has_value());
        EXPECT_GT(file.fault->line, 1);
        EXPECT_THAT(file.fault->reason, StartsWith("no JSON: "));
    }
}

TEST(GitFilter, FirstLine_NothingElseIsTheSign)
{
    EXPECT_TRUE(okt::isFilterText(kFirstLine));
    EXPECT_TRUE(okt::isFilterText("{\"format\": \"OKTDatabase text\", \"version\": 1,\r\n"));
    EXPECT_FALSE(okt::isFilterText("{\"format\": \"OKTDatabase text\", \"version\": 1,"));
    EXPECT_FALSE(okt::isFilterText("{\"format\": \"OKTDatabase text\", \"version\": 1, \"header\""));
    EXPECT_FALSE(okt::isFilterText("{\"format\":\"OKTDatabase text\",\"version\":1,\n"));
    EXPECT_FALSE(okt::isFilterText(""));
}

} // namespace
