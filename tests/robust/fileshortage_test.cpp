// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/imageof.h"
#include "support/poolcontents.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <memory>

// Memory that runs out, and disks that fail, while the files of a pool of all classes are written and read, as a whole and in part:
// the answer is false, or the outcome is complete, and a good file is never replaced by less with the answer true.

namespace
{
constexpr std::size_t kMostOfLarge = 40;
constexpr double kFactor = 1000.0;

struct Answers
{
    std::size_t oldFile = 0;
    std::size_t cutFile = 0;
};

/// Writes over a good file of another, smaller pool.
void writeFileUnderFaults(char const *name, PoolSize size, std::size_t most)
{
    ScratchFolder const folder;
    AllClassesPool source(size);
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(source.pool().writeFile(path));
    CByteArray const whole = contentsOf(path);
    OKTDbPool smaller;
    fillWithParameters(smaller, 20);
    ASSERT_TRUE(smaller.writeFile(path));
    CByteArray const before = contentsOf(path);
    bool written = false;
    Answers answers;
    forEveryFault({
        .name = name,
        .prepare =
            [&] {
                folder.put("pool.okt", before);
                written = false;
            },
        .perform = [&] { written = source.pool().writeFile(path); },
        .judge = [&](bool struck) -> std::string {
            CByteArray const found = contentsOf(path);
            std::string wrong;
            if (written && found != whole)
                wrong = "true, and the file is not the pool's";
            else if (!written && !struck)
                wrong = "false without cause";
            else if (!written && !isFileFault()) // a disk that fails may leave a part, since the file is written in place
                ++(found == before ? answers.oldFile : answers.cutFile);
            if (source.pool().metricsFactor() != kFactor || imageOf(source.pool()) != source.image())
                wrong = firstOf(wrong, std::string("with memory back, another image is saved"));
            if (!source.pool().writeFile(path) || contentsOf(path) != whole)
                wrong = firstOf(wrong, std::string("with memory back, another file is written"));
            return wrong;
        },
        .usesFiles = true,
        .most = most,
    });
    EXPECT_EQ(answers.cutFile, 0u) << name << ": false with a file that is neither the old nor the new one, beside "
                                   << answers.oldFile << " old ones";
}

void readFileUnderFaults(char const *name, PoolSize size, std::size_t most)
{
    ScratchFolder const folder;
    AllClassesPool source(size);
    PoolContents const expected = contentsOf(source.pool());
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(source.pool().writeFile(path));
    CByteArray const file = contentsOf(path);
    std::unique_ptr<OKTDbPool> pool;
    bool read = false;
    forEveryFault({
        .name = name,
        .prepare =
            [&] {
                pool = std::make_unique<OKTDbPool>();
                pool->setMetricsFactor(kFactor);
                read = false;
            },
        .perform = [&] { read = pool->readFile(path); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong = read     ? difference(expected, contentsOf(*pool))
                                : struck ? differenceOfPart(expected, contentsOf(*pool))
                                         : "without cause";
            if (!wrong.empty())
                wrong = (read ? "true, and " : "false, and ") + wrong;
            if (pool->metricsFactor() != kFactor)
                wrong = firstOf(wrong, std::string("the pool has another factor"));
            pool->eraseAllObjects();
            if (!pool->readFile(path) || imageOf(*pool) != source.image())
                wrong = firstOf(wrong, std::string("with memory back, the file is not read whole"));
            if (contentsOf(path) != file)
                wrong = firstOf(wrong, std::string("the file has changed"));
            pool.reset();
            return wrong;
        },
        .mayLose = 1, // quirk 18
        .usesFiles = true,
        .most = most,
    });
}

/// What readFileHeader tells of a file.
std::string textOf(InfoMap const &info)
{
    std::string text;
    for (auto const &[id, place] : info)
        text += id.getGuidAsString(true).ToUtf8() + " " + std::to_string(place.nObjectPosition) + " " +
                std::to_string(place.nObjectSize) + "\n";
    return text;
}

/// Part of the file is read; the pool then has to hold `objects` of the source's and its header.
template <typename Read> void readPartUnderFaults(char const *name, int objects, Read read)
{
    ScratchFolder const folder;
    AllClassesPool source(PoolSize::Small);
    source.pool().setMetricsFactor(1.0); // as the file says it
    PoolContents const expected = contentsOf(source.pool());
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(source.pool().writeFile(path));
    std::unique_ptr<OKTDbPool> pool;
    bool done = false;
    auto const judge = [&](bool answered) -> std::string {
        PoolContents const found = contentsOf(*pool);
        std::string const part = differenceOfPart(expected, found);
        if (!part.empty() || !answered)
            return part;
        if (static_cast<int>(found.objects.size()) != objects)
            return "objects are missing, of " + std::to_string(objects) + " there are " + std::to_string(found.objects.size());
        return found.header == expected.header ? "" : "the fields of the pool differ";
    };
    forEveryFault({
        .name = name,
        .prepare =
            [&] {
                pool = std::make_unique<OKTDbPool>();
                done = false;
            },
        .perform = [&] { done = read(*pool, path); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong = done || struck ? judge(done) : "without cause";
            if (!wrong.empty())
                wrong = (done ? "true, and " : "false, and ") + wrong;
            pool = std::make_unique<OKTDbPool>();
            if (!read(*pool, path) || !judge(true).empty())
                wrong = firstOf(wrong, std::string("with memory back, the part is not read"));
            pool.reset();
            return wrong;
        },
        .mayLose = 1, // quirk 18
        .usesFiles = true,
        .pool = [&] { return pool.get(); },
    });
}
} // namespace

TEST(ShortageFile, WriteFile_EveryFault_FalseOrTheWholeFile) { writeFileUnderFaults("writeFile", PoolSize::Small, 0); }

TEST(ShortageFile, WriteFile_LargePoolAndFaultsAllOver_FalseOrTheWholeFile)
{
    writeFileUnderFaults("writeFile, large pool", PoolSize::Large, kMostOfLarge);
}

TEST(ShortageFile, ReadFile_EveryFault_FalseOrEveryObject_Quirk18) { readFileUnderFaults("readFile", PoolSize::Small, 0); }

TEST(ShortageFile, ReadFile_LargePoolAndFaultsAllOver_FalseOrEveryObject_Quirk18)
{
    readFileUnderFaults("readFile, large pool", PoolSize::Large, kMostOfLarge);
}

TEST(ShortagePartial, ReadFileHeader_EveryFault_FalseOrTheWholeHeader)
{
    readPartUnderFaults("readFileHeader", 0, [](OKTDbPool &pool, CString const &path) {
        InfoMap info;
        return pool.readFileHeader(path, info);
    });
}

TEST(ShortagePartial, ReadFileHeader_EveryFault_FalseOrEveryPlace)
{
    ScratchFolder const folder;
    AllClassesPool source(PoolSize::Small);
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(source.pool().writeFile(path));
    OKTDbPool pool;
    InfoMap info;
    ASSERT_TRUE(pool.readFileHeader(path, info));
    std::string const places = textOf(info);
    bool done = false;
    forEveryFault({
        .name = "readFileHeader, places",
        .prepare =
            [&] {
                info = InfoMap();
                done = false;
            },
        .perform = [&] { done = pool.readFileHeader(path, info); },
        .judge = [&](bool struck) -> std::string {
            std::string const found = textOf(info);
            info = InfoMap();
            pool.setPicturesIds(IdArray());
            pool.setPoolName(CString());
            if (done)
                return found == places ? "" : "true, and places are missing";
            return struck ? "" : "false without cause";
        },
        .usesFiles = true,
    });
}

TEST(ShortagePartial, ReadIndex_EveryFault_FalseOrTheIndex_Quirk18)
{
    readPartUnderFaults("readIndex", 1, [](OKTDbPool &pool, CString const &path) { return pool.readIndex(path); });
}

TEST(ShortagePartial, ReadFilePicture_EveryFault_FalseOrEveryPicture_Quirk18)
{
    readPartUnderFaults("readFilePicture", 3, [](OKTDbPool &pool, CString const &path) { return pool.readFilePicture(path); });
}

// No id passes a document, so that the answer is false always (quirk 72).
TEST(ShortageDocument, WriteXmlFile_EveryFault_FalseAndTheNextOneIsWhole_Quirk72)
{
    ScratchFolder const folder;
    AllClassesPool source(PoolSize::Small);
    CString const path = folder.path("pool.xml");
    EXPECT_FALSE(source.pool().writeXMLFile(path));
    CByteArray const whole = contentsOf(path);
    bool written = true;
    forEveryFault({
        .name = "writeXMLFile",
        .perform = [&] { written = source.pool().writeXMLFile(path); },
        .judge = [&](bool) -> std::string {
            if (written)
                return "true";
            if (source.pool().writeXMLFile(path) || contentsOf(path) != whole)
                return "with memory back, another document is written";
            return imageOf(source.pool()) == source.image() ? "" : "the pool has changed";
        },
        .usesFiles = true,
    });
}

TEST(ShortageDocument, ReadXmlFile_EveryFault_FalseAndNoObject_Quirk72)
{
    ScratchFolder const folder;
    CByteArray document;
    std::string const text = "<?xml version='1.0' encoding='ISO-8859-1'?><Document>"
                             "<Object class='Unknown' version='1'/>"
                             "<Object class='OKTDbRelation' version='1'><Object class='OKTDbObject' version='1'>"
                             "<Members version='1'/></Object></Object>"
                             "<Object class='OKTDbParameter' version='2'/>"
                             "<Pool class='OKTDbPool' version='6'><Members version='1'><m_strPoolName string='A name of a "
                             "document that is long'/></Members></Pool></Document>";
    for (char const c : text)
        document.Add(static_cast<BYTE>(c));
    CString const path = folder.put("pool.xml", document);
    std::unique_ptr<OKTDbPool> pool;
    bool read = true;
    forEveryFault({
        .name = "readXMLFile",
        .prepare =
            [&] {
                pool = std::make_unique<OKTDbPool>();
                read = true;
            },
        .perform = [&] { read = pool->readXMLFile(path); },
        .judge = [&](bool) -> std::string {
            int const objects = pool->objectCount();
            pool.reset();
            if (read)
                return "true";
            return objects == 0 ? "" : "there are objects";
        },
        .mayLose = 2, // quirk 18, for each object of a known class
        .losesWithMemory = true,
        .usesFiles = true,
    });
}
