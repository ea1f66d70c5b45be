// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/expectedleak.h"
#include "support/filefaults.h"
#include "support/imageof.h"
#include "support/poolcontents.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// What else than a file may stand under a path, and files that change under the hand of who reads them.

namespace
{
namespace fs = std::filesystem;

constexpr int kCuts = 20;    // of a file, in front of each read
constexpr int kChanges = 30; // likewise

enum class Obstacle
{
    Missing,
    Folder,
    Pipe,
    Nothing,  ///< the device that takes all
    Full,     ///< the device that takes nothing
    Dangling, ///< a link that leads nowhere
    WriterLock,
    ReaderLock
};

char const *nameOf(Obstacle obstacle)
{
    constexpr char const *kNames[] = {"missing",   "folder",        "pipe",   "/dev/null",
                                      "/dev/full", "dangling link", "writer", "reader"};
    return kNames[static_cast<int>(obstacle)];
}

/// A path with something in the way, in a folder of its own.
class ObstructedPath
{
public:
    ObstructedPath(Obstacle obstacle, CByteArray const &good) : m_path(m_folder.path("pool.okt"))
    {
        std::string const name = m_path.ToUtf8();
        switch (obstacle)
        {
        case Obstacle::Missing: break;
        case Obstacle::Folder: EXPECT_EQ(mkdir(name.c_str(), 0700), 0); break;
        case Obstacle::Pipe: EXPECT_EQ(mkfifo(name.c_str(), 0600), 0); break;
        case Obstacle::Nothing: m_path = u"/dev/null"; break;
        case Obstacle::Full: m_path = u"/dev/full"; break;
        case Obstacle::Dangling: EXPECT_EQ(symlink("elsewhere", name.c_str()), 0); break;
        case Obstacle::WriterLock:
        case Obstacle::ReaderLock:
            m_folder.put("pool.okt", good);
            EXPECT_TRUE(m_lock.Open(m_path, (obstacle == Obstacle::WriterLock ? CFile::modeWrite : CFile::modeRead) |
                                                CFile::shareExclusive));
            break;
        }
    }

    CString const &path() const { return m_path; }
    std::ptrdiff_t files() const
    {
        return std::distance(fs::directory_iterator(pathOf(m_folder.path(""))), fs::directory_iterator());
    }

private:
    ScratchFolder m_folder;
    CString m_path;
    CFile m_lock;
};

struct Row
{
    Obstacle obstacle;
    bool reads;   ///< a load
    bool written; ///< writeFile
    OktSaveStatus saved;
};

constexpr Row kRows[] = {
    {Obstacle::Missing, false, true, OktSaveStatus::Saved},     {Obstacle::Folder, false, false, OktSaveStatus::Folder},
    {Obstacle::Pipe, false, false, OktSaveStatus::NoPlainFile}, {Obstacle::Nothing, false, true, OktSaveStatus::NoPlainFile},
    {Obstacle::Full, false, false, OktSaveStatus::NoPlainFile}, {Obstacle::Dangling, false, true, OktSaveStatus::Saved},
    {Obstacle::WriterLock, false, false, OktSaveStatus::InUse}, {Obstacle::ReaderLock, true, false, OktSaveStatus::InUse},
};

struct Reader
{
    char const *name;
    std::function<bool(OKTDbPool &, CString const &)> read;
};

std::vector<Reader> readers()
{
    return {{"readFile", [](OKTDbPool &pool, CString const &path) { return pool.readFile(path); }},
            {"readFileHeader",
             [](OKTDbPool &pool, CString const &path) {
                 InfoMap info;
                 return pool.readFileHeader(path, info);
             }},
            {"readIndex", [](OKTDbPool &pool, CString const &path) { return pool.readIndex(path); }},
            {"readFilePicture", [](OKTDbPool &pool, CString const &path) { return pool.readFilePicture(path); }}};
}

CByteArray fileOf(OKTDbPool &pool)
{
    CByteArray image;
    EXPECT_TRUE(OktMakeFileImage(pool, image));
    return image;
}

/// Whether the pool can be used on.
void expectUsable(OKTDbPool &pool, CByteArray const &good)
{
    CByteArray const image = imageOf(pool);
    OKTDbPool other;
    EXPECT_TRUE(other.loadFiler(image));
    EXPECT_EQ(imageOf(other), image);
    EXPECT_TRUE(pool.eraseAllObjects());
    EXPECT_TRUE(pool.loadFiler(good));
}
} // namespace

TEST(PathObstacles, Readers_Table)
{
    AllClassesPool source(PoolSize::Small);
    CByteArray const good = fileOf(source.pool());
    for (Row const &row : kRows)
        for (Reader const &reader : readers())
        {
            SCOPED_TRACE(testing::Message() << reader.name << ", " << nameOf(row.obstacle));
            ReportCatcher const reports;
            ObstructedPath const obstructed(row.obstacle, good);
            OKTDbPool pool;
            EXPECT_EQ(reader.read(pool, obstructed.path()), row.reads);
            if (!row.reads)
            {
                EXPECT_EQ(pool.objectCount(), 0);
            }
            expectUsable(pool, good);
        }
}

TEST(PathObstacles, WriteFile_Table)
{
    AllClassesPool source(PoolSize::Small);
    CByteArray const good = fileOf(source.pool());
    for (Row const &row : kRows)
    {
        SCOPED_TRACE(nameOf(row.obstacle));
        ObstructedPath const obstructed(row.obstacle, good);
        std::ptrdiff_t const before = obstructed.files();
        EXPECT_EQ(source.pool().writeFile(obstructed.path()), row.written);
        bool const isMade = row.obstacle == Obstacle::Missing || row.obstacle == Obstacle::Dangling;
        EXPECT_EQ(obstructed.files(), before + (isMade ? 1 : 0));
        EXPECT_EQ(fileOf(source.pool()), good);
    }
}

TEST(PathObstacles, OktSaveDurably_Table)
{
    AllClassesPool source(PoolSize::Small);
    CByteArray const good = fileOf(source.pool());
    for (Row const &row : kRows)
    {
        SCOPED_TRACE(nameOf(row.obstacle));
        ObstructedPath const obstructed(row.obstacle, good);
        std::ptrdiff_t const before = obstructed.files();
        EXPECT_EQ(OktSaveDurably(source.pool(), obstructed.path()), row.saved);
        EXPECT_EQ(obstructed.files(), before + (row.saved == OktSaveStatus::Saved ? 1 : 0));
        EXPECT_EQ(fileOf(source.pool()), good);
    }
}

TEST(PathObstacles, WriteXmlFile_NothingIsMadeBesideTheFile)
{
    AllClassesPool source(PoolSize::Small);
    CByteArray const good = fileOf(source.pool());
    for (Row const &row : kRows)
    {
        SCOPED_TRACE(nameOf(row.obstacle));
        ReportCatcher const reports;
        ObstructedPath const obstructed(row.obstacle, good);
        std::ptrdiff_t const before = obstructed.files();
        EXPECT_FALSE(source.pool().writeXMLFile(obstructed.path())); // quirk 72
        bool const isMade = row.obstacle == Obstacle::Missing || row.obstacle == Obstacle::Dangling;
        EXPECT_EQ(obstructed.files(), before + (isMade ? 1 : 0));
        OKTDbPool pool;
        EXPECT_FALSE(pool.readXMLFile(obstructed.path()));
        EXPECT_EQ(fileOf(source.pool()), good);
    }
}

// --- Files that change while they are read -----------------------------------------------------------------------------------

// Before each call that reads, the file is cut at each of some places: false, and only whole objects, or all of them.
TEST(ChangingFile, ShrinksInFrontOfEachRead_FalseOrWhole_Quirk18)
{
    AllClassesPool source(PoolSize::Small);
    CByteArray const good = fileOf(source.pool());
    ScratchFolder const folder;
    CString const path = folder.path("pool.okt");
    std::string const name = path.ToUtf8();
    int cuts = 0;
    for (Reader const &reader : readers())
    {
        folder.put("pool.okt", good);
        OKTDbPool whole;
        std::size_t reads = 0;
        {
            FileCallCount const count;
            ASSERT_TRUE(reader.read(whole, path));
            reads = count.reads();
        }
        ASSERT_GT(reads, 0u);
        PoolContents const expected = contentsOf(whole);
        for (std::size_t read = 0; read < reads; ++read)
            for (int part = 0; part < kCuts; ++part)
            {
                ++cuts;
                SCOPED_TRACE(testing::Message() << reader.name << ", read " << read << ", part " << part << " of " << kCuts);
                folder.put("pool.okt", good);
                ReportCatcher const reports;
                OKTDbPool pool;
                bool done = false;
                {
                    FileCallCount const count([&](std::size_t number) {
                        if (number != read)
                            return;
                        EXPECT_EQ(truncate(name.c_str(), static_cast<off_t>(good.GetSize()) * part / kCuts), 0);
                    });
                    ExpectedLeak const lost; // the object at fault (quirk 18)
                    done = reader.read(pool, path);
                }
                EXPECT_EQ(done ? difference(expected, contentsOf(pool)) : differenceOfPart(expected, contentsOf(pool)), "");
                expectUsable(pool, good);
            }
    }
    EXPECT_GE(cuts, 4 * kCuts);
}

// Other bytes in the place of those that were there: whatever comes of it, nothing escapes, and the pool can be used on.
TEST(ChangingFile, BytesChangeInFrontOfEachRead_NothingEscapes)
{
    AllClassesPool source(PoolSize::Small);
    CByteArray const good = fileOf(source.pool());
    ScratchFolder const folder;
    CString const path = folder.path("pool.okt");
    std::string const name = path.ToUtf8();
    int changes = 0;
    for (Reader const &reader : readers())
        for (std::size_t read = 0; read < 4; ++read)
            for (int seed = 0; seed < kChanges; ++seed)
            {
                SCOPED_TRACE(testing::Message() << reader.name << ", read " << read << ", change " << seed);
                folder.put("pool.okt", good);
                ReportCatcher const reports;
                auto pool = std::make_unique<OKTDbPool>();
                {
                    FileCallCount const count([&](std::size_t number) {
                        if (number != read)
                            return;
                        ++changes;
                        std::FILE *const file = std::fopen(name.c_str(), "r+b");
                        ASSERT_NE(file, nullptr);
                        std::fseek(file, static_cast<long>(good.GetSize()) * seed / kChanges, SEEK_SET);
                        for (int i = 0; i < 16; ++i)
                            std::fputc((seed * 37 + i * 11) & 255, file);
                        std::fclose(file);
                    });
                    ExpectedLeak const lost; // the object at fault (quirk 18)
                    reader.read(*pool, path);
                }
                EXPECT_TRUE(pool->eraseAllObjects());
                EXPECT_TRUE(pool->loadFiler(good));
                EXPECT_EQ(pool->objectCount(), source.pool().objectCount());
            }
    EXPECT_GE(changes, 4 * kChanges);
}
