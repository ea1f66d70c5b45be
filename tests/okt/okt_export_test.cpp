// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/bytetext.h"
#include "support/printers.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace
{

namespace fs = std::filesystem;

/// A second process turns pool files into text and back.
class OktExport : public FolderTest
{
protected:
    std::string put(std::string const &name, std::string const &text) const
    {
        std::ofstream(pathOf(path(name)), std::ios::binary) << text;
        return path(name);
    }

    static CByteArray bytesOfFile(std::string const &path) { return contentsOf(CString::FromUtf8(path)); }

    static void expectSameFile(std::string const &left, std::string const &right)
    {
        EXPECT_TRUE(bytesOfFile(left) == bytesOfFile(right)) << left << ' ' << right;
    }

    static void expectDone(ProcessResult const &result)
    {
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }

    static void expectFailure(ProcessResult const &result, std::string const &message)
    {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "okt: " + message + "\n");
    }

    std::size_t filesInFolder() const
    {
        fs::directory_iterator const entries(path(""));
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
};

TEST_F(OktExport, ExportImport_ThroughFiles_SameBytes)
{
    expectDone(runOkt({"export", golden("stirrup.okt"), "-o", path("a.json")}));
    expectDone(runOkt({"import", path("a.json"), "-o", path("a.okt")}));
    expectSameFile(path("a.okt"), golden("stirrup.okt"));
    EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(OktExport, ExportImport_ThroughStandardStreams_SameBytes)
{
    ProcessResult const exported = runOkt({"export", golden("stirrup.okt")});
    EXPECT_EQ(exported.exitCode, 0);
    EXPECT_TRUE(exported.out.starts_with("{\n  \"format\": \"OKTDatabase text\",\n"));
    expectDone(runOkt({"export", golden("stirrup.okt"), "-o", path("a.json")}));
    std::ifstream stream(path("a.json"), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), exported.out);

    ProcessResult const read = runOktOn(golden("stirrup.okt"), {"export", "-"});
    EXPECT_EQ(read.out, exported.out);
    ProcessResult const piped = runOktOn(put("b.json", read.out), {"import", "-", "-o", "-"});
    EXPECT_EQ(piped.exitCode, 0);
    EXPECT_EQ(piped.err, "");
    EXPECT_EQ(piped.out, textOf(bytesOfFile(golden("stirrup.okt"))));
}

TEST_F(OktExport, ExportImport_Pictures_FilesBesideTheText)
{
    expectDone(runOkt({"export", golden("stirrup.okt"), "-o", path("a.json"), "--pictures", path("pictures")}));
    EXPECT_TRUE(fs::exists(path("pictures/727EC297-1483-468D-812D-A07952424387.bin")));
    EXPECT_EQ(bytesOfFile(path("pictures/727EC297-1483-468D-812D-A07952424387.bin")).GetSize(), 1399);
    expectDone(runOkt({"import", path("a.json"), "--pictures", path("pictures"), "-o", path("a.okt")}));
    expectSameFile(path("a.okt"), golden("stirrup.okt"));

    // Without the option they are looked for beside the text.
    expectDone(runOkt({"export", golden("stirrup.okt"), "-o", path("pictures/a.json"), "--pictures", path("pictures")}));
    expectDone(runOkt({"import", path("pictures/a.json"), "-o", path("b.okt")}));
    expectSameFile(path("b.okt"), golden("stirrup.okt"));

    expectFailure(runOkt({"import", path("a.json"), "-o", path("c.okt")}),
                  path("727EC297-1483-468D-812D-A07952424387.bin") + ": there is no such file");
    EXPECT_FALSE(fs::exists(path("c.okt")));
}

TEST_F(OktExport, Export_PictureOfATemplate_NamedAfterItsFormat)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    std::string const pool = fs::directory_iterator(path("out"))->path().generic_string();
    expectDone(runOkt({"export", pool, "-o", path("a.json"), "--pictures", path("pictures")}));
    EXPECT_EQ(fs::directory_iterator(path("pictures"))->path().extension(), ".png");
    expectDone(runOkt({"import", path("a.json"), "--pictures", path("pictures"), "-o", path("a.okt")}));
    expectSameFile(path("a.okt"), pool);
}

TEST_F(OktExport, Output_ThatExists_IsKeptWithoutForce)
{
    std::string const text = put("a.json", "kept");
    std::string const pool = put("a.okt", "kept");
    expectFailure(runOkt({"export", golden("empty.okt"), "-o", text}), text + ": the file exists already; --force replaces it");
    expectDone(runOkt({"export", golden("empty.okt"), "-o", path("b.json")}));
    expectFailure(runOkt({"import", path("b.json"), "-o", pool}), pool + ": the file exists already; --force replaces it");
    EXPECT_EQ(bytesOfFile(text).GetSize(), 4);
    EXPECT_EQ(bytesOfFile(pool).GetSize(), 4);
    expectDone(runOkt({"export", golden("empty.okt"), "-o", text, "--force"}));
    expectDone(runOkt({"import", text, "-o", pool, "--force"}));
    expectSameFile(pool, golden("empty.okt"));

    fs::create_directory(path("pictures"));
    std::string const picture = put("pictures/727EC297-1483-468D-812D-A07952424387.bin", "another");
    expectFailure(runOkt({"export", golden("stirrup.okt"), "-o", path("c.json"), "--pictures", path("pictures")}),
                  picture + ": the file exists already; --force replaces it");
    EXPECT_FALSE(fs::exists(path("c.json")));
    EXPECT_EQ(bytesOfFile(picture).GetSize(), 7);
    expectDone(runOkt({"export", golden("stirrup.okt"), "-o", path("c.json"), "--pictures", path("pictures"), "--force"}));
    EXPECT_EQ(bytesOfFile(picture).GetSize(), 1399);
}

TEST_F(OktExport, Output_ThatCannotBeWritten_NothingIsLeft)
{
    expectFailure(runOkt({"export", golden("empty.okt"), "-o", path("no/a.json")}),
                  path("no/a.json") + ": the file cannot be written: " + systemWords("No such file or directory", 3));
    expectFailure(runOkt({"export", golden("empty.okt"), "-o", path(""), "--force"}),
                  path("") + ": the file cannot be written: a folder has this name");
    std::string const pool = path("a.okt");
    fs::copy_file(golden("stirrup.okt"), pool);
    for (std::string const format : {"json", "bf2d"})
        expectFailure(runOkt({"export", "--format", format, pool, "-o", pool, "--force"}),
                      pool + ": the file cannot be written: this is the pool file itself");
    expectSameFile(pool, golden("stirrup.okt"));
    std::string const picture = path("pictures/727EC297-1483-468D-812D-A07952424387.bin");
    expectFailure(runOkt({"export", pool, "--pictures", path("pictures"), "-o", picture}),
                  picture + ": the file cannot be written: one of the pictures has this name");
    EXPECT_FALSE(fs::exists(path("pictures")));
#if !defined(_WIN32) // where a process can be held to a size of files
    expectFailure(runOkt({"export", pool, "-o", path("b.json")}, ProcessOutput::Kept, 4096),
                  path("b.json") + ": the file cannot be written: File too large");
#endif
    EXPECT_EQ(filesInFolder(), 1u);
    expectOutputFailure(runOkt({"export", pool}, ProcessOutput::Full), "No space left on device");
}

#if !defined(_WIN32) // where links, permissions and names of any bytes are common
TEST_F(OktExport, Output_SymbolicLink_TheFileBehindItIsWritten)
{
    put("old.json", "old");
    fs::create_symlink("old.json", path("link"));
    fs::create_symlink(path("link"), path("link2"));
    fs::create_symlink("new.json", path("dangling"));
    expectFailure(runOkt({"export", golden("empty.okt"), "-o", path("link2")}),
                  path("link2") + ": the file exists already; --force replaces it");
    for (char const *const link : {"link2", "dangling"})
    {
        expectDone(runOkt({"export", golden("empty.okt"), "-o", path(link), "--force"}));
        EXPECT_TRUE(fs::is_symlink(path(link))) << link;
    }
    EXPECT_TRUE(fs::is_symlink(path("link")));
    expectDone(runOkt({"import", path("old.json"), "-o", path("a.okt")}));
    expectDone(runOkt({"import", path("new.json"), "-o", path("b.okt")}));
    expectSameFile(path("a.okt"), golden("empty.okt"));
    expectSameFile(path("b.okt"), golden("empty.okt"));
}

TEST_F(OktExport, Output_Replaced_KeepsItsPermissions)
{
    std::string const text = put("a.json", "old");
    for (fs::perms const kept : {fs::perms(0600), fs::perms(0640), fs::perms(0755)})
    {
        fs::permissions(text, kept);
        expectDone(runOkt({"export", golden("empty.okt"), "-o", text, "--force"}));
        EXPECT_EQ(fs::status(text).permissions(), kept);
    }
}

TEST_F(OktExport, NameThatIsNoUtf8_OneLineAndNothingIsLeft)
{
    expectFailure(runOkt({"export", golden("empty.okt"), "-o", path("") + "a\xFF.json"}),
                  path("a\\xFF.json") + ": the name of the file is no UTF-8");
    EXPECT_EQ(filesInFolder(), 0u);
    fs::copy_file(golden("empty.okt"), path("") + "b\xFF.okt");
    expectFailure(runOkt({"export", path("") + "b\xFF.okt"}), path("b\\xFF.okt") + ": the name of the file is no UTF-8");
    ProcessResult const built = runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", path("") + "o\xFF"});
    EXPECT_EQ(built.err, "okt: " + path("o\\xFF") + ": the name of the file is no UTF-8\n");
    EXPECT_EQ(filesInFolder(), 1u);
}
#endif

TEST_F(OktExport, Export_FaultsOfTheFile_OneLineWithTheByte)
{
    expectFailure(runOkt({"export", path("none.okt")}), path("none.okt") + ": there is no such file");
    expectFailure(runOkt({"export", golden("truncated.okt"), "-o", path("a.json")}),
                  golden("truncated.okt") + ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358");
    EXPECT_FALSE(fs::exists(path("a.json")));
    expectFailure(runOkt({"export", put("text.okt", "no pool")}),
                  path("text.okt") + ":byte 0: this is no pool file: it does not begin with the size of a header");
    expectFailure(runOkt({"export", put("empty.okt", "")}), path("empty.okt") + ": the file is empty");
    expectFailure(runOkt({"export", "-"}), "standard input: the file is empty");
}

TEST_F(OktExport, Import_FaultsOfTheText_OneLineWithLineAndColumn)
{
    expectFailure(runOkt({"import", path("none.json"), "-o", path("a.okt")}), path("none.json") + ": there is no such file");
    expectFailure(runOkt({"import", path(""), "-o", path("a.okt")}), path("") + ": this is a folder, not a file");
    expectFailure(runOkt({"import", put("a.json", "{\n  \"format\": ?"), "-o", path("a.okt")}),
                  path("a.json") + ":2:13: no JSON: while parsing value - invalid literal; last read: '\"format\": ?'");
    expectFailure(runOkt({"import", put("b.json", "{\n  \"objects\": [\n    {\"long\": \"1\"}"), "-o", path("a.okt")}),
                  path("b.json") + ":3:5: \"long\" is no whole number from -2147483648 to 2147483647");
    expectFailure(runOktOn(put("c.json", "[\n"), {"import", "-", "-o", "-"}), "standard input:1:1: no list belongs here");
    EXPECT_FALSE(fs::exists(path("a.okt")));
    EXPECT_EQ(runOkt({"import", path("a.json")}).exitCode, 2);
    EXPECT_EQ(runOkt({"export"}).exitCode, 2);
}

} // namespace
