// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

std::string const kData = OKT_EXAMPLES_DIR "/data";

class OktBf2dCommands : public FolderTest
{
};

TEST_F(OktBf2dCommands, BuildAndExport_TheExamples_TheSameBytes)
{
    ProcessResult const built = runOkt({"build", kData + "/bar-records.bf2d", "-o", path("out")});
    EXPECT_EQ(built.exitCode, 0) << built.err;
    EXPECT_TRUE(built.out.ends_with("2 templates in " + path("out") + ", 0 not made\n")) << built.out;
    std::string lines;
    for (char const *const name : {"out/bar-records-1.okt", "out/bar-records-2.okt"})
    {
        ProcessResult const exported = runOkt({"export", "--format", "bf2d", path(name)});
        EXPECT_EQ(exported.exitCode, 0) << exported.err;
        lines += exported.out;
    }
    EXPECT_EQ(lines, contents(kData + "/bar-records.bf2d"));

    ProcessResult const file = runOkt({"export", "--format", "bf2d", path("out/bar-records-1.okt"), "-o", path("one.bf2d")});
    EXPECT_EQ(file.exitCode, 0);
    EXPECT_EQ(contents(path("one.bf2d")), lines.substr(0, lines.find('\n') + 1));
    EXPECT_EQ(runOkt({"export", "--format", "bf2d", path("out/bar-records-1.okt"), "-o", path("one.bf2d")}).err,
              "okt: " + path("one.bf2d") + ": the file exists already; --force replaces it\n");
}

TEST_F(OktBf2dCommands, Build_TheExamples_ShapeCodesAndTitles)
{
    ProcessResult const built = runOkt({"build", kData + "/bar-records.bf2d", "-o", path("out")});
    EXPECT_EQ(built.exitCode, 0) << built.err;
    std::vector<std::string> codes;
    std::vector<std::string> titles;
    for (char const *const name : {"out/bar-records-1.okt", "out/bar-records-2.okt"})
    {
        OKTDbPool pool;
        ASSERT_TRUE(pool.readFile(m_folder.path(name)));
        titles.push_back(pool.poolName().ToUtf8());
        EXPECT_NE(built.out.find(path(name) + ": " + titles.back() + ", "), std::string::npos) << built.out;
        for (int i = 0; i < pool.objectCount(); ++i)
            if (auto *const parameter = OKTDbParameter::cast(pool.objectAt(i)); parameter != nullptr && parameter->Type() == 28)
                codes.push_back(CString(parameter->Value().bstrVal).ToUtf8());
    }
    EXPECT_EQ(codes, (std::vector<std::string>{"11", ""}));
    EXPECT_EQ(titles, (std::vector<std::string>{"Bent bar, 12 mm, TestPDF 417/1 (bar-records-1)",
                                                "Bent bar, 12 mm, TestPDF 417/1 (bar-records-2)"}));
}

std::string utf16(std::string const &ascii, bool isLittle)
{
    std::string bytes;
    for (char const c : ascii)
        bytes += isLittle ? std::string{c, '\0'} : std::string{'\0', c};
    return bytes;
}

TEST_F(OktBf2dCommands, Build_RecordsBehindAByteOrderMark_TheSameRecords)
{
    fs::copy(kData + "/bars-en10080.csv", path("bars-en10080.csv"));
    std::string const records = contents(kData + "/bar-records.bf2d");
    for (std::string const &bytes :
         {"\xEF\xBB\xBF" + records, "\xFF\xFE" + utf16(records, true), "\xFE\xFF" + utf16(records, false)})
    {
        ProcessResult const built = runOkt({"build", put("r.bf2d", bytes), "-o", path("out"), "--force"});
        EXPECT_EQ(built.exitCode, 0);
        EXPECT_EQ(built.err, "");
        EXPECT_EQ(runOkt({"export", "--format", "bf2d", path("out/r-1.okt")}).out, records.substr(0, records.find('\n') + 1));
    }
}

TEST_F(OktBf2dCommands, Build_RecordsInAnotherEncoding_OneLineTellsIt)
{
    fs::copy(kData + "/bars-en10080.csv", path("bars-en10080.csv"));
    std::string const records = contents(kData + "/bar-records.bf2d");
    auto const told = [this](std::string const &bytes) {
        std::string const file = put("r.bf2d", bytes);
        ProcessResult const built = runOkt({"build", file, "-o", path("out")});
        EXPECT_EQ(built.exitCode, 1);
        EXPECT_EQ(built.out, "");
        EXPECT_TRUE(built.err.starts_with("okt: " + file)) << built.err;
        return built.err.substr(std::min(built.err.size(), ("okt: " + file).size()));
    };
    std::string const wanted = "; bar records are ASCII, or UTF-16 with a byte order mark\n";
    EXPECT_EQ(told(utf16(records, true)), ": this looks like UTF-16 without a byte order mark" + wanted);
    EXPECT_EQ(told(utf16(records, false)), ": this looks like UTF-16 without a byte order mark" + wanted);
    EXPECT_EQ(told(std::string("\xFF\xFE\0\0", 4) + records), ": this is UTF-32" + wanted);
    EXPECT_EQ(told("\xFF\xFE" + utf16(records, true) + "x"), ":3: the file ends in the middle of a character of UTF-16\n");
}

TEST_F(OktBf2dCommands, Build_OnlyWrongRecords_NoFolder)
{
    fs::copy(kData + "/bars-en10080.csv", path("bars-en10080.csv"));
    std::string const file = put("wrong.bf2d", "BF2D@\n");
    ProcessResult const built = runOkt({"build", file, "-o", path("out")});
    EXPECT_EQ(built.exitCode, 1);
    EXPECT_EQ(built.err, "okt: " + file + ":1:6: here is the end of the line, where the header begins with \"H\"\n");
    EXPECT_EQ(built.out, "0 templates in " + path("out") + ", 1 not made\n");
    EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(OktBf2dCommands, Build_OneRecord_TemplateInTheSingular)
{
    fs::copy(kData + "/bars-en10080.csv", path("bars-en10080.csv"));
    std::string const good = contents(kData + "/bar-records.bf2d");
    std::string const file = put("one.bf2d", good.substr(0, good.find('\n') + 1));
    ProcessResult const built = runOkt({"build", file, "-o", path("out")});
    EXPECT_EQ(built.exitCode, 0) << built.err;
    EXPECT_TRUE(built.out.ends_with("\n1 template in " + path("out") + ", 0 not made\n")) << built.out;
}

#if !defined(_WIN32) // where names differ in the case of their letters
TEST_F(OktBf2dCommands, Build_TwoFilesOfOneName_Failure)
{
    fs::create_directory(path("data"));
    fs::copy(kData + "/bars-en10080.csv", path("data/bars-en10080.csv"));
    for (char const *const name : {"bends-bs8666.csv", "bend-rules.csv", "shape-lengths-bs8666.csv"})
        fs::copy(kData + "/" + name, path("data/") + name);
    fs::copy(kData + "/bar-records.bf2d", path("data/a.bf2d"));
    fs::copy(kData + "/bar-records.bf2d", path("data/a.BF2D"));
    ProcessResult const result = runOkt({"build", path("data"), "-o", path("out")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err,
              "okt: " + path("data") + ": two files of bar records have the same name: a-1.okt would be made twice\n");
    EXPECT_FALSE(fs::exists(path("out")));
}
#endif

TEST_F(OktBf2dCommands, Build_WrongRecords_OneLineForEachAndTheGoodOnesMade)
{
    fs::copy(kData + "/bars-en10080.csv", path("bars-en10080.csv"));
    std::string const good = contents(kData + "/bar-records.bf2d");
    std::string const one = good.substr(0, good.find('\n'));
    std::string wrongSum = one;
    wrongSum.replace(wrongSum.find("C72"), 3, "C71");
    std::string const file = put("mixed.bf2d", wrongSum + "\r\n\r\n" + one + "\r\nBF2D@\n" + one); // no end of the last line
    ProcessResult const result = runOkt({"build", file, "-o", path("out")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + file + ":1:80: the check sum is 71, by the line it is 72\nokt: " + file +
                              ":4:6: here is the end of the line, where the header begins with \"H\"\n");
    EXPECT_TRUE(result.out.ends_with("2 templates in " + path("out") + ", 2 not made\n")) << result.out;
    EXPECT_TRUE(fs::exists(path("out/mixed-3.okt")));
    EXPECT_TRUE(fs::exists(path("out/mixed-5.okt")));
    EXPECT_EQ(runOkt({"export", "--format", "bf2d", path("out/mixed-3.okt")}).out, one + "\n");
}

TEST_F(OktBf2dCommands, Build_NoRecordOrNoTable_Failure)
{
    std::string const empty = put("empty.bf2d", "\r\n\n");
    fs::copy(kData + "/bar-records.bf2d", path("alone.bf2d"));
    ProcessResult const noTable = runOkt({"build", path("alone.bf2d"), "-o", path("out")});
    EXPECT_EQ(noTable.exitCode, 1);
    EXPECT_EQ(noTable.err, "okt: " + path("bars-en10080.csv") + ": there is no such file\n");
    fs::copy(kData + "/bars-en10080.csv", path("bars-en10080.csv"));
    EXPECT_EQ(runOkt({"build", empty, "-o", path("out")}).err, "okt: " + empty + ": the file has no bar record\n");
    EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(OktBf2dCommands, Export_NumberOfBarsThatNoRecordHolds_OneLine)
{
    ASSERT_EQ(runOkt({"build", kData + "/bar-records.bf2d", "-o", path("out")}).exitCode, 0);
    CString const file = CString::FromUtf8(path("out/bar-records-1.okt"));
    OKTDbPool pool;
    ASSERT_TRUE(pool.readFile(file));
    std::vector<OKTDbObject *> found;
    for (int i = 0; i < pool.objectCount(); ++i)
        if (auto *const parameter = OKTDbParameter::cast(pool.objectAt(i));
            parameter != nullptr && parameter->UserName() == u"Number")
            found.push_back(parameter);
    ASSERT_EQ(found.size(), 1u);
    for (double const number : {10.7, 0.0, -1.0, 1e300, std::nan("")})
    {
        static_cast<OKTDbParameter *>(found.front())->setValue(number, 0);
        ASSERT_TRUE(pool.writeFile(file));
        ProcessResult const result = runOkt({"export", "--format", "bf2d", path("out/bar-records-1.okt")});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "okt: " + path("out/bar-records-1.okt") +
                                  ": the template gives no BF2D record: its number of bars is no whole number from 1 to "
                                  "1000000\n");
    }
}

TEST_F(OktBf2dCommands, Export_WithAFolderForPictures_WrongUsage)
{
    ProcessResult const result = runOkt({"export", "--format", "bf2d", "--pictures", path("p"), golden("stirrup.okt")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.err.starts_with("okt: --pictures: a bar record has no pictures")) << result.err;
}

TEST_F(OktBf2dCommands, Build_EndingInCapitals_BarRecordsAsWell)
{
    fs::copy(kData + "/bars-en10080.csv", path("bars-en10080.csv"));
    fs::copy(kData + "/bar-records.bf2d", path("RECORDS.BF2D"));
    ProcessResult const built = runOkt({"build", path("RECORDS.BF2D"), "-o", path("out")});
    EXPECT_EQ(built.exitCode, 0) << built.err;
    EXPECT_TRUE(built.out.ends_with("2 templates in " + path("out") + ", 0 not made\n")) << built.out;
}

TEST_F(OktBf2dCommands, Export_TemplateOfATable_NoRecord)
{
    ASSERT_EQ(runOkt({"build", kData + "/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    ProcessResult const result = runOkt({"export", "--format", "bf2d", path("out/link-no4.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "okt: " + path("out/link-no4.okt") + ": this template did not come from a BF2D record\n");
}

} // namespace
