#include "process.h"

#include "support/alloccount.h"
#include "support/scratchfolder.h"

#include <tools/okt/failure.h>
#include <tools/okt/inspect/filescan.h>
#include <tools/okt/inspect/verifier.h>

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

std::string contents(fs::path const &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<fs::path> poolFiles()
{
    std::vector<fs::path> files;
    for (char const *const folder : {"/golden", "/../fuzz/corpus/pool_file_fuzz"})
        for (fs::directory_entry const &entry : fs::directory_iterator(std::string(OKT_TEST_DATA_DIR) + folder))
            if (entry.path().extension() == ".okt" && entry.file_size() < 20000)
                files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

/// Lines on standard error each name the program, the file and the reason; no signal ended the program.
void expectTold(ProcessResult const &result, std::string const &file, std::string const &what)
{
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1 || result.exitCode == 2) << what;
    std::string const head = "okt: " + file + ":";
    for (std::size_t at = 0; at < result.err.size(); at = result.err.find('\n', at) + 1)
        EXPECT_EQ(result.err.substr(at, head.size()), head) << what << '\n' << result.err;
}

TEST(OktDamaged, EveryCommand_EveryFile_NoCrashAndALine)
{
    ScratchFolder const folder;
    std::string const file = folder.path("x.okt").ToUtf8();
    std::string const good = folder.path("good.okt").ToUtf8();
    std::mt19937 random(3);
    for (fs::path const &path : poolFiles())
    {
        std::string const whole = contents(path);
        for (int kind = 0; kind < 3; ++kind)
        {
            std::string bytes = whole;
            std::size_t const at = random() % bytes.size();
            if (kind == 0)
                bytes[at] = static_cast<char>(random());
            else
                bytes.erase(at, kind == 1 ? bytes.size() : 1 + random() % 50);
            std::ofstream(file, std::ios::binary) << bytes;
            std::string const what = path.string() + " damaged at " + std::to_string(at) + ", kind " + std::to_string(kind);
            for (std::vector<std::string> const &arguments : {std::vector<std::string>{"info", file},
                                                              {"ls", file},
                                                              {"tree", file},
                                                              {"dump", file},
                                                              {"find", "a", file},
                                                              {"verify", file},
                                                              {"recover", file, "-o", good, "--force"}})
                expectTold(runOkt(arguments), file, what + ", " + arguments.front());
        }
    }
}

/// Frames that are begun over and over, each inside the one before it.
TEST(OktDamaged, NestedWithoutEnd_InTime)
{
    std::string const file = contents(OKT_TEST_DATA_DIR "/golden/stirrup.okt");
    std::string const begin(
        "\x06\x05\x01\x00X\x02\x01\x00\x00\x00\x06\x05\x0B\x00OKTDbObject\x02\x01\x00\x00\x00\x08\x02\x01\x00\x00\x00", 36);
    std::string bytes = file;
    for (int i = 0; i < 20000; ++i)
        bytes += begin;
    okt::ByteSource source{std::string_view(bytes)};
    okt::ObjectScan scan(source, okt::findHeader(source).end);
    int objects = 0;
    int others = 0;
    while (std::optional<okt::Stretch> const stretch = scan.next())
        ++(stretch->kind == okt::Stretch::Kind::Object ? objects : others);
    EXPECT_EQ(objects, 21);
    EXPECT_EQ(others, 1);
}

/// A frame inside a damaged one is no object of its own, unless it is one.
TEST(OktDamaged, ObjectsInsideAnObject_AreNotTakenForOthers)
{
    std::string const whole = contents(OKT_TEST_DATA_DIR "/golden/truncated.okt");
    std::string const object = whole.substr(467, 297);
    auto const count = [](std::string const &bytes) {
        okt::ByteSource source{std::string_view(bytes)};
        okt::ObjectScan scan(source, okt::findHeader(source).end);
        int objects = 0;
        while (std::optional<okt::Stretch> const stretch = scan.next())
            objects += stretch->kind == okt::Stretch::Kind::Object ? 1 : 0;
        return objects;
    };
    // An object of some module that keeps two others in its section.
    std::string const head = object.substr(0, 99); // up to the end of the frame of OKTDbObject
    std::string const outer = head + std::string("\x08\x02\x01\x00\x00\x00", 6) + object + object + "\x09\x07";
    EXPECT_EQ(count(whole.substr(0, 467) + outer + object), 2);
    for (std::size_t at = 0; at < 99; ++at)
    {
        std::string damaged = outer;
        damaged[at] = '\x0C';
        EXPECT_LE(count(whole.substr(0, 467) + damaged + object), 2) << at;
        EXPECT_GE(count(whole.substr(0, 467) + damaged + object), 1) << at;
    }
    // Without what would hold them they are objects.
    EXPECT_EQ(count(whole.substr(0, 467) + "\x0C" + object + object), 2);
}

/// Looking through a large file takes a few megabytes, whatever its size.
TEST(OktDamaged, LargeFile_LittleMemory)
{
    ScratchFolder const folder;
    CString const path = folder.path("large.okt");
    std::size_t objects = 0;
    {
        OKTDbPool pool;
        for (; objects < 20000; ++objects)
        {
            auto *const parameter = new OKTDbParameter(6, pool.objectId());
            parameter->setValue(0.025, 0);
            pool.appendObject(parameter);
        }
        auto *const picture = new OKTDbPicture;
        CByteArray image;
        image.SetSize(32 << 20);
        picture->setPictureData(image);
        pool.appendObject(picture);
        ++objects;
        ASSERT_TRUE(pool.writeFile(path));
    }
    EXPECT_GT(fs::file_size(path.ToUtf8()), std::uintmax_t(48) << 20);
    PeakMemory const look;
    okt::FileScan scan(path.ToUtf8());
    std::size_t found = 0;
    EXPECT_TRUE(scan.run([&found](okt::Stretch const &) { ++found; }, [](std::string const &) {}));
    EXPECT_EQ(found, objects);
    EXPECT_LT(look.bytes(), std::size_t(4) << 20);
}

} // namespace
