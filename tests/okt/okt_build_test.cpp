// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/printers.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace
{

namespace fs = std::filesystem;

std::string const kData = OKT_EXAMPLES_DIR "/data";

/// A second process makes templates; this one looks at what it left.
class OktBuild : public FolderTest
{
protected:
    /// A folder with copies of all tables.
    std::string copyOfData() const
    {
        fs::copy(kData, path("data"));
        return path("data");
    }

    static void put(std::string const &file, std::string const &text)
    {
        std::ofstream stream(file, std::ios::binary);
        stream << text;
        ASSERT_TRUE(stream.good()) << file;
    }

    /// Everything in the folder, hidden files too.
    static std::set<std::string> namesIn(std::string const &folder)
    {
        std::set<std::string> names;
        for (fs::directory_entry const &entry : fs::directory_iterator(folder))
            names.insert(entry.path().filename().string());
        return names;
    }

    /// Exit code 1, one line "okt: ..." on standard error, and it says this.
    static void expectFailure(ProcessResult const &result, std::string const &message)
    {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "okt: " + message + "\n");
    }
};

TEST_F(OktBuild, Build_ExampleFolder_AllTemplatesAndTheirSummary)
{
    ProcessResult const result = runOkt({"build", kData, "-o", path("new/out")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    std::set<std::string> const names = namesIn(path("new/out"));
    EXPECT_EQ(names.size(), 48u);
    for (char const *const name : {"link-d6.okt", "link-d50.okt", "hooked-d12.okt", "mesh-d14.okt", "link-no8.okt",
                                   "hooked-no18.okt", "mesh-no5.okt", "bar-records-2.okt"})
        EXPECT_EQ(names.count(name), 1u) << name;
    EXPECT_NE(result.out.find(path("new/out/link-d12.okt") + ": Closed link, 12 mm, EN 1992 / BS 8666, "), std::string::npos);
    EXPECT_NE(result.out.find("no link-d14: " + kData + "/bends-bs8666.csv has no row for 14 mm\n"), std::string::npos);
    EXPECT_TRUE(result.out.ends_with("48 templates in " + path("new/out") + ", 23 not made\n")) << result.out;
    // One line a template or reason, and the sum.
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 48 + 23 + 1);
}

TEST_F(OktBuild, Build_OneTable_OnlyItsSizes)
{
    ASSERT_EQ(runOkt({"build", kData + "/bars-astm-a615.csv", "--output", path("out")}).exitCode, 0);
    std::set<std::string> const names = namesIn(path("out"));
    EXPECT_EQ(names.size(), 20u);
    EXPECT_EQ(names.count("link-no4.okt"), 1u);
    EXPECT_EQ(names.count("link-d12.okt"), 0u);
}

TEST_F(OktBuild, Build_Templates_ReadWholeByThePool)
{
    ASSERT_EQ(runOkt({"build", kData, "-o", path("out")}).exitCode, 0);
    for (std::string const &name : namesIn(path("out")))
    {
        OKTDbPool pool;
        EXPECT_TRUE(pool.readFile(CString::FromUtf8(path("out/" + name)))) << name;
        EXPECT_GE(pool.objectCount(), 25) << name;
        EXPECT_FALSE(pool.poolName().IsEmpty()) << name;
        // Large enough for the partial readers.
        InfoMap places;
        EXPECT_TRUE(pool.readFileHeader(CString::FromUtf8(path("out/" + name)), places)) << name;
    }
}

TEST_F(OktBuild, Build_Again_TemplatesKeptUnlessForced)
{
    std::vector<std::string> command = {"build", kData + "/bars-en10080.csv", "-o", path("out")};
    ASSERT_EQ(runOkt(command).exitCode, 0);
    std::set<std::string> const before = namesIn(path("out"));
    put(path("out/link-d12.okt"), "not a pool");
    put(path("out/other.txt"), "stays");
    ProcessResult const kept = runOkt(command);
    EXPECT_EQ(kept.exitCode, 1);
    EXPECT_EQ(kept.out, "");
    EXPECT_TRUE(kept.err.ends_with(": the file exists already; --force replaces it\n")) << kept.err;
    EXPECT_EQ(fs::file_size(path("out/link-d12.okt")), 10u);
    command.emplace_back("--force");
    ASSERT_EQ(runOkt(command).exitCode, 0);
    std::set<std::string> after = namesIn(path("out"));
    EXPECT_EQ(after.erase("other.txt"), 1u);
    EXPECT_EQ(after, before);
    OKTDbPool pool;
    EXPECT_TRUE(pool.readFile(CString::FromUtf8(path("out/link-d12.okt"))));
}

// ---- What is no data --------------------------------------------------------------------------------------------------------

TEST_F(OktBuild, Build_DataMissing_Failure)
{
    expectFailure(runOkt({"build", path("none"), "-o", path("out")}), path("none") + ": there is no such file or folder");
    expectFailure(runOkt({"build", path("none/bars-x.csv"), "-o", path("out")}),
                  path("none/bars-x.csv") + ": there is no such file or folder");
    EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(OktBuild, Build_FolderWithoutTables_Failure)
{
    fs::create_directory(path("data"));
    expectFailure(runOkt({"build", path("data"), "-o", path("out")}),
                  path("data") + ": the folder has no bar table (bars-*.csv) and no bar records (*.bf2d)");
}

TEST_F(OktBuild, Build_EmptyTable_Failure)
{
    std::string const data = copyOfData();
    put(data + "/bars-en10080.csv", "");
    expectFailure(runOkt({"build", data, "-o", path("out")}), data + "/bars-en10080.csv: the file is empty");
}

TEST_F(OktBuild, Build_FolderNamedLikeATable_Failure)
{
    std::string const data = copyOfData();
    fs::create_directory(data + "/bars-folder.csv");
    expectFailure(runOkt({"build", data, "-o", path("out")}), data + "/bars-folder.csv: this is a folder, not a file");
}

TEST_F(OktBuild, Build_RuleTableMissing_FailureThatNamesIt)
{
    for (char const *const name : {"bend-rules.csv", "bends-bs8666.csv", "shape-lengths-bs8666.csv"})
    {
        std::string const data = copyOfData();
        fs::remove(data + "/" + name);
        expectFailure(runOkt({"build", data, "-o", path("out")}), data + "/" + name + ": there is no such file");
        fs::remove_all(data);
    }
    EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(OktBuild, Build_LockedTable_Failure)
{
    std::string const data = copyOfData();
    CFile held;
    ASSERT_TRUE(held.Open(CString::FromUtf8(data + "/bars-en10080.csv"), CFile::modeWrite | CFile::shareExclusive));
    expectFailure(runOkt({"build", data + "/bars-en10080.csv", "-o", path("out")}),
                  data + "/bars-en10080.csv: the file is locked by another program");
}

TEST_F(OktBuild, Build_ForeignFile_Failure)
{
    expectFailure(runOkt({"build", OKT_TEST_DATA_DIR "/golden/empty.okt", "-o", path("out")}),
                  std::string(OKT_TEST_DATA_DIR "/golden/empty.okt:1:4: a byte 0 is here: this is no text"));
}

struct BadTable
{
    char const *file;
    char const *text;
    char const *message; ///< behind the path of the file
};

TEST_F(OktBuild, Build_BadTables_FailureWithPlaceAndNothingWritten)
{
    BadTable const rows[] = {
        {"bars-en10080.csv", "diameter_mm,area_mm2,weight\n12,113,0.888\n", ":1:22: unknown column \"weight\""},
        {"bars-en10080.csv", "diameter_mm,area_mm2\n12,113\n", ":1:1: the column \"mass_kg_per_m\" is missing"},
        {"bars-en10080.csv", "diameter,area_mm2,mass_kg_per_m\n12,113,0.888\n", ":1:1: unknown column \"diameter\""},
        {"bars-en10080.csv", "# x\ndiameter_mm,area_mm2,mass_kg_per_m\n12,113,0.888\n16,2o1,1.578\n",
         ":4:4: \"2o1\" in the column \"area_mm2\" is not a number"},
        {"bars-en10080.csv", "diameter_mm,area_mm2,mass_kg_per_m\n12,113,0.888\n16,201,1.578\n12,113,0.888\n",
         ":4:1: the size 12 mm stands in line 2 already"},
        {"bars-en10080.csv", "diameter_mm,area_mm2,mass_kg_per_m\n-12,113,0.888\n",
         ":2:1: \"-12\" in the column \"diameter_mm\" is not above 0 and up to 1000"},
        {"bars-en10080.csv", "diameter_mm,area_mm2,mass_kg_per_m\n", ":1:1: there is no line behind the names of the columns"},
        {"bars-en10080.csv", "diameter_mm,area_mm2,mass_kg_per_m\n12,113\n",
         ":2:7: the line ends ahead of the column \"mass_kg_per_m\""},
        {"bars-astm-a615.csv", "size,soft_metric,diameter_in,area_in2,mass_lb_per_ft\n3,10,zero,0.11,0.376\n",
         ":2:6: \"zero\" in the column \"diameter_in\" is not a number"},
        {"bend-rules.csv", "rule,applies_to,mandrel_x_d,hook90_x_d,hook135_x_d,hook180,source\nACI,all bars,4,,,,\n",
         ":2:5: \"all bars\" is none of \"d <= 16 mm\", \"d > 16 mm\", \"No. 3 to 8\", \"No. 14 and 18\""},
        {"bends-bs8666.csv", "diameter_mm,min_radius_mm,end_projection_general_mm,end_projection_links_mm\n12,x,1,1\n",
         ":2:4: \"x\" in the column \"min_radius_mm\" is not a number"},
        {"shape-lengths-bs8666.csv", "code,length,what\n21,A+(B+C,U\n", ":2:10: ')' is missing in the formula"},
        {"shape-lengths-bs8666.csv", "code,length,what\n21,A,U\n21,B,U\n", ":3:1: the shape code \"21\" stands here twice"},
    };
    for (BadTable const &row : rows)
    {
        SCOPED_TRACE(row.message);
        std::string const data = copyOfData();
        put(data + "/" + row.file, row.text);
        expectFailure(runOkt({"build", data, "-o", path("out")}), data + "/" + row.file + row.message);
        EXPECT_FALSE(fs::exists(path("out")));
        fs::remove_all(data);
    }
}

/// What a spreadsheet of a country with decimal commas makes of a table: other separators, comments as cells, codes as numbers.
std::string asASpreadsheetWrites(std::string const &table)
{
    std::string text;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);)
    {
        bool const isComment = line.starts_with('#');
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, isComment ? '\n' : ',');)
        {
            if (cell.find_first_not_of("0123456789.") == std::string::npos)
                std::replace(cell.begin(), cell.end(), '.', ',');
            if (cell == "00")
                cell = "0";
            text += isComment || cell.find(';') != std::string::npos ? '"' + cell + "\";" : cell + ";";
        }
        text += line.ends_with(',') ? ";;\r\n" : ";\r\n";
    }
    return text + ";;;;\r\n";
}

TEST_F(OktBuild, Build_TablesOfASpreadsheet_TheSameTemplates)
{
    std::string const data = copyOfData();
    fs::remove(data + "/worked.csv");
    for (std::string const &name : namesIn(data))
        if (name.ends_with(".csv"))
            put(data + "/" + name, "\xEF\xBB\xBF" + asASpreadsheetWrites(contents(data + "/" + name)));
    auto const expectLine = [&data](char const *file, std::string const &line) {
        EXPECT_NE(contents(data + "/" + file).find("\r\n" + line + "\r\n"), std::string::npos) << line;
    };
    expectLine("bars-en10080.csv", "8;50,3;0,395;;");
    expectLine("bend-rules.csv", "ACI 318 25.3 main;No. 3 to 8;6;12;;\"max(4 d; 2.5 in)\";standard hook;;");
    expectLine("shape-lengths-bs8666.csv", "0;A;straight;;");
    fs::rename(data + "/bars-astm-a615.csv", data + "/bars-astm-a615.CSV");
    ASSERT_EQ(runOkt({"build", kData, "-o", path("one")}).exitCode, 0);
    ProcessResult const result = runOkt({"build", data, "-o", path("two")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out.ends_with("48 templates in " + path("two") + ", 23 not made\n")) << result.out;
    for (std::string const &name : namesIn(path("one")))
    {
        ProcessResult const diff = runOkt({"diff", "--by-name", path("one/" + name), path("two/" + name)});
        EXPECT_EQ(diff.exitCode, 0) << name << '\n' << diff.out << diff.err;
    }
}

TEST_F(OktBuild, Build_ShapeCodeMissing_Failure)
{
    std::string const data = copyOfData();
    put(data + "/shape-lengths-bs8666.csv", "code,length,what\n00,A,straight\n");
    expectFailure(runOkt({"build", data, "-o", path("out")}),
                  data + "/shape-lengths-bs8666.csv: the shape code \"21\" is missing");
}

TEST_F(OktBuild, Build_TwoTablesWithOneSize_Failure)
{
    std::string const data = copyOfData();
    put(data + "/bars-more.csv", "diameter_mm,area_mm2,mass_kg_per_m\n12,113.1,0.888\n");
    expectFailure(runOkt({"build", data, "-o", path("out")}),
                  data + ": two bar tables hold the same size: link-d12.okt would be made twice");
    EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(OktBuild, Build_PathsThatSteerTheTerminal_OneLineAllTheSame)
{
    expectFailure(runOkt({"build", path("no\n\x1b[31m"), "-o", path("out")}),
                  path("no") + "\\n\\u001B[31m: there is no such file or folder");
}

// ---- What cannot be written -------------------------------------------------------------------------------------------------

TEST_F(OktBuild, Build_OutputIsAFile_Failure)
{
    put(path("out"), "stays");
    expectFailure(runOkt({"build", kData, "-o", path("out")}),
                  path("out") + ": the output folder cannot be made: a file has this name");
    EXPECT_EQ(fs::file_size(path("out")), 5u);
}

TEST_F(OktBuild, Build_OutputBelowAFile_Failure)
{
    put(path("file"), "stays");
    expectFailure(runOkt({"build", kData, "-o", path("file/out")}),
                  path("file/out") + ": the output folder cannot be made: Not a directory");
}

#if !defined(_WIN32) // where there are folders that even an administrator cannot write to
TEST_F(OktBuild, Build_OutputWhereNobodyCanWrite_Failure)
{
    ProcessResult const result = runOkt({"build", kData, "-o", "/proc/okt-templates"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.starts_with("okt: /proc/okt-templates: the output folder cannot be made: ")) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
}

TEST_F(OktBuild, Build_OutputFolderThatTakesNoFiles_Failure)
{
    ProcessResult const result = runOkt({"build", kData, "-o", "/proc"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.starts_with("okt: /proc/bar-records-1.okt: ") || result.err.starts_with("okt: /proc/link-no3.okt: "))
        << result.err;
    EXPECT_NE(result.err.find("the file cannot be written: "), std::string::npos) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
}
#endif

TEST_F(OktBuild, Build_TargetIsAFolder_FailureAndNothingWritten)
{
    fs::create_directories(path("out/mesh-d8.okt"));
    expectFailure(runOkt({"build", kData, "-o", path("out")}),
                  path("out/mesh-d8.okt") + ": the file cannot be written: a folder has this name");
    EXPECT_EQ(namesIn(path("out")), std::set<std::string>{"mesh-d8.okt"});
}

TEST_F(OktBuild, Build_TargetIsWriteProtected_FailureAndOldFileStays)
{
    fs::create_directory(path("out"));
    put(path("out/mesh-d8.okt"), "mine");
    fs::permissions(path("out/mesh-d8.okt"), fs::perms::owner_read);
    expectFailure(runOkt({"build", kData, "-o", path("out")}), path("out/mesh-d8.okt") + ": the file is write-protected");
    EXPECT_EQ(namesIn(path("out")), std::set<std::string>{"mesh-d8.okt"});
    EXPECT_EQ(fs::file_size(path("out/mesh-d8.okt")), 4u);
}

TEST_F(OktBuild, Build_TargetIsLocked_FailureAndOldFileStays)
{
    fs::create_directory(path("out"));
    put(path("out/link-d8.okt"), "mine");
    CFile held;
    ASSERT_TRUE(held.Open(CString::FromUtf8(path("out/link-d8.okt")), CFile::modeWrite | CFile::shareExclusive));
    expectFailure(runOkt({"build", kData, "-o", path("out")}),
                  path("out/link-d8.okt") + ": the file is locked by another program");
    EXPECT_EQ(namesIn(path("out")), std::set<std::string>{"link-d8.okt"});
    EXPECT_EQ(fs::file_size(path("out/link-d8.okt")), 4u);
}

#if !defined(_WIN32) // where a process can be held to a size of files
TEST_F(OktBuild, Build_DiskTakesNoMore_FailureOldFilesStayAndNoPartOfANewOne)
{
    ASSERT_EQ(runOkt({"build", kData + "/bars-en10080.csv", "-o", path("out")}).exitCode, 0);
    std::set<std::string> const before = namesIn(path("out"));
    CByteArray const link = contentsOf(CString::FromUtf8(path("out/link-d6.okt")));
    ProcessResult const result =
        runOkt({"build", kData + "/bars-en10080.csv", "-o", path("out"), "--force"}, ProcessOutput::Kept, 4096);
    expectFailure(result, path("out/link-d6.okt") + ": the file cannot be written: File too large");
    EXPECT_EQ(namesIn(path("out")), before);
    EXPECT_EQ(contentsOf(CString::FromUtf8(path("out/link-d6.okt"))), link);

    ProcessResult const fresh = runOkt({"build", kData + "/bars-en10080.csv", "-o", path("new")}, ProcessOutput::Kept, 4096);
    expectFailure(fresh, path("new/link-d6.okt") + ": the file cannot be written: File too large");
    EXPECT_FALSE(fs::exists(path("new")));
}
#endif

TEST_F(OktBuild, Build_StandardOutputTakesNothing_Failure)
{
    std::vector<std::string> const command = {"build", kData, "-o", path("out"), "--force"};
    expectOutputFailure(runOkt(command, ProcessOutput::Full), "No space left on device");
    expectOutputFailure(runOkt(command, ProcessOutput::Closed), "Bad file descriptor");
    // What was made by then is whole.
    for (std::string const &name : namesIn(path("out")))
    {
        OKTDbPool pool;
        EXPECT_TRUE(pool.readFile(CString::FromUtf8(path("out/" + name)))) << name;
    }
}

// ---- Wrong usage ------------------------------------------------------------------------------------------------------------

TEST_F(OktBuild, Usage_Wrong_ExitCodeTwoAndOneLine)
{
    std::vector<std::string> const commands[] = {
        {},
        {"make"},
        {"build"},
        {"build", kData},
        {"build", "-o", path("out")},
        {"build", kData, kData, "-o", path("out")},
        {"build", kData, "-o"},
        {"build", kData, "-o", path("out"), "--fast"},
        {"show"},
        {"show", "--unit", "mile", "x.okt"},
        {"show", "--colour", "x.okt"},
        {"build", "show", "-o"},
    };
    for (std::vector<std::string> const &command : commands)
    {
        ProcessResult const result = runOkt(command);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(command);
        EXPECT_EQ(result.out, "") << testing::PrintToString(command);
        EXPECT_TRUE(result.err.starts_with("okt: ")) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
}

TEST_F(OktBuild, Usage_HelpAndVersion_ExitCodeZero)
{
    for (std::vector<std::string> const &command :
         std::vector<std::vector<std::string>>{{"--help"}, {"build", "--help"}, {"show", "-h"}, {"--version"}})
    {
        ProcessResult const result = runOkt(command);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_FALSE(result.out.empty());
    }
    EXPECT_EQ(runOkt({"--version"}).out, "okt " OKT_VERSION "\n");
    EXPECT_NE(runOkt({"--help"}).out.find("build"), std::string::npos);
    EXPECT_NE(runOkt({"show", "--help"}).out.find("--unit"), std::string::npos);
}

TEST_F(OktBuild, Usage_HelpWithFullOutput_Failure)
{
    expectOutputFailure(runOkt({"--help"}, ProcessOutput::Full), "No space left on device");
}

} // namespace
