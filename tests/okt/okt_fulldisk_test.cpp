// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

std::string const kData = OKT_EXAMPLES_DIR "/data";

/// Where nothing can be written, the user is told once, and nothing half-written is left.
class OktFullDisk : public FolderTest
{
protected:
    /// Pictures and a text that is longer than each of them.
    std::string pool() const
    {
        OKTDbPool pool;
        pool.setPoolName(u"Full");
        for (int i = 0; i < 3; ++i)
        {
            auto *const picture = new OKTDbPicture;
            CByteArray image;
            image.SetSize(2000 + i);
            picture->setPictureData(image);
            pool.appendObject(picture);
        }
        auto *const owner = new OKTDbParamRelation;
        pool.appendObject(owner);
        for (int i = 0; i < 20; ++i)
        {
            auto *const parameter = new OKTDbParameter(10, owner->objectId());
            pool.appendObject(parameter);
            parameter->setValue(0.5 * i, 0);
        }
        EXPECT_TRUE(pool.writeFile(m_folder.path("in.okt")));
        return path("in.okt");
    }

    std::set<std::string> left(std::string const &folder) const
    {
        std::set<std::string> names;
        for (fs::directory_entry const &entry : fs::directory_iterator(path(folder)))
            names.insert(entry.path().filename().string());
        return names;
    }
};

struct FullCase
{
    std::vector<std::string> arguments;
    int exitCode = 1;
};

TEST_F(OktFullDisk, StandardOutput_EveryCommandThatPrints_OneLine)
{
    std::string const a = golden("stirrup.okt");
    std::string const b = golden("pictures.okt");
    std::string const cut = golden("truncated.okt");
    ASSERT_EQ(runOkt({"export", a, "-o", path("a.json")}).exitCode, 0);
    ASSERT_EQ(runOkt({"build", kData + "/bar-records.bf2d", "-o", path("records")}).exitCode, 0);
    std::vector<FullCase> const cases = {
        {{"info", a, b}},
        {{"info", "--json", a, b}},
        {{"info", "--header", a, b}},
        {{"info", cut, a}},
        {{"ls", a, b}},
        {{"ls", "--json", a, cut}},
        {{"show", a, b}},
        {{"show", "--preview", b, b}},
        {{"tree", b}},
        {{"find", "*", a, b}, 2},
        {{"find", "-l", "*", a, b}, 2},
        {{"find", "*", path("records")}, 2},
        {{"dump", a}},
        {{"dump", cut}},
        {{"verify", a, b}},
        {{"verify", "--json", cut, cut}},
        {{"diff", a, b}, 2},
        {{"diff", "--json", a, b}, 2},
        {{"export", a}},
        {{"export", "--format", "bf2d", path("records/bar-records-1.okt")}},
        {{"import", path("a.json"), "-o", "-"}},
        {{"picture", b, "--index", "1", "-o", "-"}},
        {{"report", a, b, "-o", "-"}},
        {{"recover", cut, "-o", "-"}},
        {{"recover", cut, "-o", path("recovered.okt")}},
        {{"picture", b, "--index", "1", "-o", path("picture.png")}},
        {{"build", kData, "-o", path("templates")}},
        {{"completion", "bash"}},
        {{"--help"}},
        {{"--version"}},
    };
    for (FullCase const &each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.arguments));
        expectOutputFailure(runOkt(each.arguments, ProcessOutput::Full), "No space left on device", each.exitCode);
    }
    // Behind a file that is whole there is nothing to tell on standard output but that.
    OKTDbPool recovered;
    EXPECT_TRUE(recovered.readFile(m_folder.path("recovered.okt")));
}

TEST_F(OktFullDisk, StandardOutput_ExportWithPictures_NothingIsLeft)
{
    std::string const file = pool();
    expectOutputFailure(runOkt({"export", file, "--pictures", path("a/pictures")}, ProcessOutput::Full),
                        "No space left on device");
    EXPECT_EQ(left(""), std::set<std::string>{"in.okt"});
}

#if !defined(_WIN32) // where a process can be held to a size of files

TEST_F(OktFullDisk, File_EveryCommandThatWritesOne_OneLineAndNothingIsLeft)
{
    std::string const file = pool();
    ASSERT_EQ(runOkt({"export", file, "-o", path("in.json")}).exitCode, 0);
    std::set<std::string> const before = left("");
    std::vector<std::vector<std::string>> const commands = {
        {"export", file, "-o", path("out")},  {"import", path("in.json"), "-o", path("out")},
        {"picture", file, "-o", path("out")}, {"recover", file, "-o", path("out")},
        {"report", file, "-o", path("out")},
    };
    for (std::vector<std::string> const &command : commands)
        for (long const most : {500L, 1500L}) // the line on standard error is a file here too
        {
            SCOPED_TRACE(testing::PrintToString(command));
            ProcessResult const result = runOkt(command, ProcessOutput::Kept, most);
            EXPECT_EQ(result.exitCode, 1);
            EXPECT_EQ(result.err, "okt: " + path("out") + ": the file cannot be written: File too large\n");
            EXPECT_EQ(result.out, "");
            EXPECT_EQ(left(""), before);
        }
    ProcessResult const built = runOkt({"build", kData, "-o", path("new/out")}, ProcessOutput::Kept, 1000);
    EXPECT_EQ(built.exitCode, 1);
    EXPECT_EQ(built.err, "okt: " + path("new/out/bar-records-1.okt") + ": the file cannot be written: File too large\n");
    EXPECT_EQ(left(""), before);
}

TEST_F(OktFullDisk, File_AFewOfManyTemplates_ThoseAreWholeAndStay)
{
    std::vector<std::string> const command = {"build", kData + "/bar-records.bf2d", "-o", path("out")};
    ASSERT_EQ(runOkt(command).exitCode, 0);
    auto const size = [this](char const *name) { return static_cast<long>(fs::file_size(path("out") + "/" + name)); };
    long const first = size("bar-records-1.okt");
    ASSERT_LT(first, size("bar-records-2.okt"));
    fs::remove_all(path("out"));
    ProcessResult const result = runOkt(command, ProcessOutput::Kept, first);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + path("out/bar-records-2.okt") + ": the file cannot be written: File too large\n");
    EXPECT_EQ(left("out"), std::set<std::string>{"bar-records-1.okt"});
    EXPECT_EQ(size("bar-records-1.okt"), first);
}

TEST_F(OktFullDisk, ExportWithPictures_TextAtItsLastByte_NothingIsLeft)
{
    std::string const file = pool();
    ASSERT_EQ(runOkt({"export", file, "-o", path("x.json"), "--pictures", path("pictures")}).exitCode, 0);
    std::set<std::string> const pictures = left("pictures");
    ASSERT_EQ(pictures.size(), 3u);
    auto const most = static_cast<long>(fs::file_size(path("x.json"))) - 1;
    ASSERT_GT(most, 3000);
    std::string const message = "okt: " + path("x.json") + ": the file cannot be written: File too large\n";
    std::vector<std::string> command = {"export", file, "-o", path("x.json"), "--pictures", path("pictures"), "--force"};

    // What was there stays: the text, a picture that would be replaced, a file of somebody else.
    std::string const text = contents(path("x.json"));
    std::string const one = "pictures/" + *pictures.begin();
    put(one, "mine");
    put("pictures/note.txt", "mine");
    fs::remove(path("pictures/" + *pictures.rbegin()));
    std::set<std::string> const before = left("pictures");
    ProcessResult result = runOkt(command, ProcessOutput::Kept, most);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, message);
    EXPECT_EQ(left("pictures"), before);
    EXPECT_EQ(contents(path(one)), "mine");
    EXPECT_EQ(contents(path("x.json")), text);

    // A folder that was there stays, one that was not goes, with those above it.
    fs::remove_all(path("pictures"));
    fs::remove(path("x.json"));
    fs::create_directory(path("pictures"));
    EXPECT_EQ(runOkt(command, ProcessOutput::Kept, most).err, message);
    EXPECT_EQ(left("pictures"), std::set<std::string>());
    command[5] = path("new/pictures");
    EXPECT_EQ(runOkt(command, ProcessOutput::Kept, most).err, message);
    EXPECT_EQ(left(""), (std::set<std::string>{"in.okt", "pictures"}));
}

TEST_F(OktFullDisk, ExportWithPictures_OnePictureTooLarge_NothingIsLeft)
{
    std::string const file = pool();
    ProcessResult const result = runOkt({"export", file, "--pictures", path("pictures")}, ProcessOutput::Kept, 2001);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.starts_with("okt: " + path("pictures/"))) << result.err;
    EXPECT_TRUE(result.err.ends_with(".bin: the file cannot be written: File too large\n")) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
    EXPECT_EQ(left(""), std::set<std::string>{"in.okt"});
}

TEST_F(OktFullDisk, ExportWithPictures_PictureThatExists_NothingElseIsLeft)
{
    std::string const file = pool();
    ASSERT_EQ(runOkt({"export", file, "-o", path("x.json"), "--pictures", path("pictures")}).exitCode, 0);
    std::string const last = *left("pictures").rbegin();
    fs::remove_all(path("pictures"));
    fs::remove(path("x.json"));
    fs::create_directory(path("pictures"));
    put("pictures/" + last, "mine");
    ProcessResult const result = runOkt({"export", file, "-o", path("x.json"), "--pictures", path("pictures")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + path("pictures/" + last) + ": the file exists already; --force replaces it\n");
    EXPECT_EQ(left("pictures"), std::set<std::string>{last});
    EXPECT_EQ(contents(path("pictures/" + last)), "mine");
    EXPECT_EQ(left(""), (std::set<std::string>{"in.okt", "pictures"}));
}

TEST_F(OktFullDisk, StandardInput_ThatCannotBeKept_OneLineAndNothingIsLeft)
{
    std::string const file = pool();
    fs::create_directory(path("tmp"));
    setenv("TMPDIR", path("tmp").c_str(), 1);
    for (std::vector<std::string> const &command :
         std::vector<std::vector<std::string>>{{"show", "-"}, {"tree", "-"}, {"picture", "-", "-o", path("x.png")}})
    {
        ProcessResult const result = runProgram(OKT_EXE, command, ProcessOutput::Kept, 1000, file);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "okt: standard input: it cannot be kept in a file: File too large\n");
        EXPECT_EQ(left("tmp"), std::set<std::string>());
        EXPECT_EQ(left(""), (std::set<std::string>{"in.okt", "tmp"}));
    }
    unsetenv("TMPDIR");
}

#endif

} // namespace
