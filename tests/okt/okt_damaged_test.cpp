// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/alloccount.h"
#include "support/expectedleak.h"
#include "support/scratchfolder.h"
#include "support/wine.h"

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktinspect/list.h>
#include <oktinspect/verifier.h>
#include <oktrebar/storedtemplate.h>

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

void put(std::string const &path, std::string const &bytes) { std::ofstream(path, std::ios::binary) << bytes; }

/// The files of these folders below the tests' folder that a filter takes, each contents once, by name.
std::map<std::string, std::string> filesIn(std::vector<std::string> const &folders, auto filter)
{
    std::map<std::string, std::string> files;
    std::set<std::string> seen;
    for (std::string const &folder : folders)
        for (fs::directory_entry const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR + folder))
            if (std::string bytes = contents(entry.path()); filter(entry.path(), bytes) && seen.insert(bytes).second)
                files.emplace(entry.path().generic_string(), std::move(bytes));
    return files;
}

/// The golden pool files and whatever a fuzzer of pool files is given to begin with.
std::map<std::string, std::string> poolFiles()
{
    return filesIn(
        {"/golden", "/../fuzz/corpus/pool_file_fuzz", "/../fuzz/corpus/pool_image_fuzz", "/../fuzz/corpus/frame_scan_fuzz"},
        [](fs::path const &path, std::string const &bytes) {
            return path.extension() != ".json" && path.extension() != ".md" && bytes.size() < 20000;
        });
}

constexpr int kDamages = 4;

/// Every how manyth damage of a file is tried, beginning at another for each file: programs start slowly under a sanitizer, and
/// more slowly under Wine; there most files have none.
#if defined(OKT_TESTS_UNDER_LEAK_CHECK)
int const kDamageStep = 12;
#else
int const kDamageStep = runsUnderWine() ? 24 : 2;
#endif

std::vector<int> damagesOf(int fileNumber)
{
    std::vector<int> kinds;
    for (int kind = fileNumber % kDamageStep; kind < kDamages; kind += kDamageStep)
        kinds.push_back(kind);
    return kinds;
}

/// As it is, one byte changed, cut, a stretch taken out.
std::string damaged(std::string bytes, int kind, std::mt19937 &random)
{
    if (kind == 0 || bytes.empty())
        return bytes;
    std::size_t const at = random() % bytes.size();
    if (kind == 1)
        bytes[at] = static_cast<char>(random());
    else
        bytes.erase(at, kind == 2 ? bytes.size() : 1 + random() % 50);
    return bytes;
}

/// What the exit code says about standard error.
struct Codes
{
    int trouble = 1;    ///< then there is a line
    bool isSole = true; ///< 0: there is none
};

/// Lines on standard error each name the program, one of the files (or what is in a folder, "x/") and the reason; no signal
/// ended the program.
void expectTold(ProcessResult const &result, std::vector<std::string> const &files, std::string const &what, Codes codes = {})
{
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1 || result.exitCode == 2) << what;
    if (result.exitCode == codes.trouble)
    {
        EXPECT_NE(result.err, "") << what;
    }
    if (result.exitCode == 0 && codes.isSole)
    {
        EXPECT_EQ(result.err, "") << what;
    }
    std::istringstream lines(result.err);
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(std::any_of(files.begin(), files.end(),
                                [&line](std::string const &file) {
                                    std::string const head = "okt: " + file + (file.ends_with('/') ? "" : ":");
                                    return line.starts_with(head) && line.size() > head.size() + 1;
                                }))
            << what << '\n'
            << line;
}

/// Commands that take any number of files.
TEST(OktDamaged, CommandsForManyFiles_EveryFile_NoCrashAndALine)
{
    ScratchFolder const folder;
    std::mt19937 random(3);
    for (int kind = 0; kind < kDamages; ++kind)
    {
        std::vector<std::string> files;
        for (auto const &[path, whole] : poolFiles())
        {
            files.push_back(folder.path(std::to_string(files.size()) + ".okt").ToUtf8());
            put(files.back(), damaged(whole, kind, random));
        }
        for (std::vector<std::string> arguments : {std::vector<std::string>{"info"},
                                                   {"info", "--header", "--json"},
                                                   {"ls"},
                                                   {"ls", "--json"},
                                                   {"show", "--ids"},
                                                   {"show", "--index"},
                                                   {"show", "--preview", "--unit", "in"},
                                                   {"find", "a"},
                                                   {"verify"},
                                                   {"verify", "--json"},
                                                   {"info", "-q"},
                                                   {"show", "--json"},
                                                   {"tree", "--json", "--unit", "in"},
                                                   {"table", "Cover", "type:5", "Shape code"},
                                                   {"table", "--csv", "Cover"},
                                                   {"find", "--where", "Cover>1 mm or not objectclass=OKTDbPicture"},
                                                   {"lint"},
                                                   {"lint", "--json"},
                                                   {"hash"},
                                                   {"hash", "--json"},
                                                   {"report", "--force", "-o", folder.path("r.html").ToUtf8()}})
        {
            std::string const what = arguments.front() + ", kind " + std::to_string(kind);
            Codes codes;
            if (arguments.front() == "find")
                codes = {2, false};
            else if (arguments.front() == "verify" || arguments.front() == "lint")
                codes = {2, true}; // what is found goes to standard output
            else if (arguments.front() == "table")
                codes = {1, false}; // a name that stands twice is told
            arguments.insert(arguments.end(), files.begin(), files.end());
            ProcessResult const result = runOkt(arguments);
            expectTold(result, files, what, codes);
            // One bad file does not keep the others from being done.
            bool const isTold = arguments.front() != "find" && arguments.front() != "report" && arguments.front() != "lint" &&
                                arguments[1] != "--json" && arguments[1] != "-q";
            for (std::string const &file : files)
                EXPECT_TRUE(!isTold || (result.out + result.err).find(file) != std::string::npos) << what << ", " << file;
        }
    }
}

/// Those that take one or two.
TEST(OktDamagedOne, CommandsForOneFile_EveryFile_NoCrashAndALine)
{
    ScratchFolder const folder;
    std::string const file = folder.path("x.okt").ToUtf8();
    std::string const other = folder.path("whole.okt").ToUtf8();
    std::string const made = folder.path("made").ToUtf8();
    std::mt19937 random(4);
    int number = 0;
    for (auto const &[path, whole] : poolFiles())
        for (int const kind : damagesOf(number++))
        {
            put(file, damaged(whole, kind, random));
            put(other, whole);
            std::string const what = path + ", kind " + std::to_string(kind);
            for (std::vector<std::string> const &arguments : {std::vector<std::string>{"tree", file},
                                                              {"dump", file},
                                                              {"export", file, "-o", made, "--force"},
                                                              {"export", "--format", "bf2d", file}})
                expectTold(runOkt(arguments), {file}, what + ", " + arguments.front());
            {
                ExpectedLeakOfPrograms const lostPicture; // one of those that `readFilePicture` reads (quirk 18)
                expectTold(runOkt({"picture", file, "-o", made, "--force"}), {file}, what + ", picture");
            }
            // What was lost goes to standard output, beside a file.
            expectTold(runOkt({"recover", file, "-o", made, "--force"}), {file}, what + ", recover", {2, true});
            bool const byName = random() % 2 == 0;
            expectTold(runOkt({"diff", byName ? "--by-name" : "--json", file, other}), {file, other}, what + ", diff",
                       {2, true});
        }
}

/// okt set leaves a file as it was, or makes one of which okt verify says no more than before.
TEST(OktDamagedOne, GetSetAndEdit_EveryFile_AsItWasOrWhole)
{
    ScratchFolder const folder;
    std::string const file = folder.path("x.okt").ToUtf8();
    std::mt19937 random(7);
    int number = 0;
    int changed = 0;
    for (auto const &[path, whole] : poolFiles())
        for (int const kind : damagesOf(number++))
        {
            std::string const bytes = damaged(whole, kind, random);
            put(file, bytes);
            std::string const what = path + ", kind " + std::to_string(kind);
            okt::ByteSource source{std::string_view(bytes)};
            std::string name = "Cover";
            if (okt::StoredTemplate const pool = okt::readTemplate(source); !pool.parameters.empty())
                name = okt::idText(pool.parameters[random() % pool.parameters.size()].id);
            expectTold(runOkt({"get", file, name}), {file}, what + ", get");
            bool hasChanged = false;
            for (char const *const value : {"35 mm", "3"})
            {
                ProcessResult const result = runOkt({"set", file, name + "=" + value, "-q"});
                EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << what << result.err;
                EXPECT_EQ(result.exitCode == 0, result.err.empty()) << what << result.err;
                if (result.exitCode == 1)
                {
                    EXPECT_TRUE(result.err.starts_with("okt: " + file + ":")) << what << result.err;
                    EXPECT_TRUE(result.err.ends_with("okt: nothing is changed\n")) << what << result.err;
                }
                hasChanged = hasChanged || result.exitCode == 0;
            }
            if (!hasChanged)
                EXPECT_EQ(contents(pathOf(file)), bytes) << what;
            else
            {
                ++changed;
                ProcessResult const after = runOkt({"verify", "-q", file});
                put(file, bytes);
                ProcessResult const before = runOkt({"verify", "-q", file});
                EXPECT_LE(after.exitCode, before.exitCode) << what << after.out;
            }
        }
    EXPECT_GT(changed, 3 / kDamageStep); // fewer files are tried where programs start slowly
}

/// Folders of damaged files: the difference of two, a manifest, and what is held against it.
TEST(OktDamaged, Folders_EveryFile_NoCrashAndALine)
{
    ScratchFolder const folder;
    fs::create_directory(pathOf(folder.path("a")));
    fs::create_directory(pathOf(folder.path("b")));
    std::string const a = folder.path("a").ToUtf8();
    std::string const b = folder.path("b").ToUtf8();
    std::mt19937 random(8);
    int number = 0;
    for (auto const &[path, whole] : poolFiles())
    {
        std::string const name = "/" + std::to_string(number) + ".okt";
        put(a + name, damaged(whole, number % kDamages, random));
        put(b + name, damaged(whole, (number + 1) % kDamages, random));
        ++number;
    }
    std::vector<std::string> const within = {a + "/", b + "/"};
    for (char const *const form : {"--json", "-q", "--by-name"})
        expectTold(runOkt({"diff", form, a, b}), within, std::string("diff ") + form, {2, true});
    ProcessResult const manifest = runOkt({"hash", "--manifest", a});
    expectTold(manifest, within, "manifest");
    EXPECT_EQ(std::count(manifest.out.begin(), manifest.out.end(), '\n'), number + 1);
    std::string const list = folder.path("list").ToUtf8();
    put(list, manifest.out);
    ProcessResult const same = runOkt({"verify", "--manifest", list, a});
    EXPECT_EQ(same.out, std::to_string(number) + " files, 0 changes\n");
    expectTold(runOkt({"verify", "--manifest", list, b}), within, "verify", {2, true});
}

/// Those that read texts.
TEST(OktDamagedText, Import_EveryText_NoCrashAndALine)
{
    ScratchFolder const folder;
    std::string const file = folder.path("x.json").ToUtf8();
    std::string const made = folder.path("made.okt").ToUtf8();
    std::mt19937 random(5);
    std::map<std::string, std::string> texts =
        filesIn({"/../fuzz/corpus/text_fuzz"}, [](auto const &, auto const &) { return true; });
    for (auto const &[path, whole] : poolFiles())
    {
        put(made, whole);
        if (ProcessResult const result = runOkt({"export", made}); result.exitCode == 0)
            texts.emplace(path, result.out);
    }
    ASSERT_GT(texts.size(), 20u);
    int number = 0;
    for (auto const &[path, whole] : texts)
        for (int const kind : damagesOf(number++))
        {
            put(file, damaged(whole, kind, random));
            // A text may name files with pictures.
            expectTold(runOkt({"import", file, "-o", made, "--force"}), {file, folder.path("").ToUtf8()},
                       path + ", kind " + std::to_string(kind));
        }
}

/// A table with one size alone, since drawing many pictures takes its time: that of the records, or No. 3.
std::string shortened(std::string const &table)
{
    std::istringstream lines(table);
    std::string result;
    for (std::string line; std::getline(lines, line);)
        if (!std::isdigit(static_cast<unsigned char>(line.front())) || line.starts_with("12,") || line.starts_with("3,"))
            result += line + "\n";
    return result;
}

TEST(OktDamagedText, Build_EveryTable_NoCrashAndALine)
{
    ScratchFolder const folder;
    fs::path const data = folder.path("data").ToUtf8();
    std::string const made = folder.path("made").ToUtf8();
    fs::create_directory(data);
    std::map<std::string, std::string> tables;
    for (fs::directory_entry const &entry : fs::directory_iterator(OKT_EXAMPLES_DIR "/data"))
    {
        std::string const name = entry.path().filename().string();
        if (name == "README.md")
            continue;
        std::string const whole = contents(entry.path());
        tables.emplace((data / name).generic_string(), name.starts_with("bars-") ? shortened(whole) : whole);
    }
    for (auto const &[file, whole] : tables)
        put(file, whole);
    std::mt19937 random(6);
    int whollyMade = 0;
    int number = 0;
    for (auto const &[file, whole] : tables)
    {
        for (int i = number++ % kDamageStep; i < 2 * kDamages; i += kDamageStep)
        {
            put(file, damaged(whole, i % kDamages, random));
            // Another table may tell the fault: one of rules lacks what a size needs.
            ProcessResult const result = runOkt({"build", data.generic_string(), "-o", made, "--force"});
            expectTold(result, {data.generic_string() + "/", data.generic_string(), made},
                       file + ", kind " + std::to_string(i % kDamages));
            whollyMade += result.exitCode == 0 ? 1 : 0;
        }
        put(file, whole);
    }
    EXPECT_GT(whollyMade, 0);
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
    std::unique_ptr<okt::ByteSource> const source = okt::openSource(pathOf(path));
    std::size_t found = 0;
    okt::ListOptions options;
    options.onObject = [&found](okt::ListedObject const &) { ++found; };
    options.onFault = [](okt::Finding const &finding) { ADD_FAILURE() << finding.offset; };
    okt::list(*source, {}, options);
    EXPECT_EQ(found, objects);
    EXPECT_LT(look.bytes(), std::size_t(4) << 20);
}

} // namespace
