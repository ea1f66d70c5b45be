// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace
{

class OktTable : public LibraryTest
{
protected:
    void SetUp() override
    {
        for (char const *const name : {"link-d12.okt", "link-d8.okt", "link-no4.okt"})
            take(name);
    }

    std::string table(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "table");
        std::string text = shortened(done(arguments));
        if (text.starts_with("file ")) // whose column was as wide as the names with the folder
            text.erase(4, path("").size());
        return text;
    }
};

TEST_F(OktTable, Columns_SortedAsAReaderCounts)
{
    EXPECT_EQ(table({"Diameter", "Cover", "Cutting length", "Steelgrade", path("lib")}),
              "file              Diameter (mm)  Cover (mm)  Cutting length (mm)  Steelgrade\n"
              "lib/link-d8.okt               8          30                 1460  B500B\n"
              "lib/link-d12.okt             12          30                 1492  B500B\n"
              "lib/link-no4.okt           12.7        38.1        1467.63670025  Grade 60\n");
    EXPECT_EQ(table({"--csv", "Cover", path("lib/link-d12.okt"), path("lib/link-d8.okt")}),
              "file,Cover\r\nlib/link-d8.okt,30\r\nlib/link-d12.okt,30\r\n"); // as a shell would not sort them
    EXPECT_EQ(table({"type:5", "-u", "in", path("lib/link-no4.okt")}), "file              type:5 (in)\n"
                                                                       "lib/link-no4.okt          0.5\n");
}

TEST_F(OktTable, Csv_Rfc4180)
{
    EXPECT_EQ(table({"--csv", "Cover", "Standard", "Nothing", path("lib/link-d12.okt"), "-u", "m"}),
              "file,Cover,Standard,Nothing\r\nlib/link-d12.okt,0.03,\"EN 1992-1-1, EN 10080\",\r\n");
    EXPECT_EQ(table({"--csv=local", "Cover", "Standard", path("lib/link-d12.okt"), "-u", "m"}),
              "\xEF\xBB\xBF"
              "file;Cover;Standard\r\nlib/link-d12.okt;0,03;EN 1992-1-1, EN 10080\r\n");
    done({"set", path("lib/link-d8.okt"), "Steelgrade=a \"b\"; c"});
    EXPECT_EQ(table({"--csv", "Steelgrade", path("lib/link-d8.okt")}),
              "file,Steelgrade\r\nlib/link-d8.okt,\"a \"\"b\"\"; c\"\r\n");
    EXPECT_EQ(table({"--csv-local", "Steelgrade", path("lib/link-d8.okt")}),
              "\xEF\xBB\xBF"
              "file;Steelgrade\r\nlib/link-d8.okt;\"a \"\"b\"\"; c\"\r\n");
}

TEST_F(OktTable, LineBreaksAndHalfCharacters_OneFieldAndUtf8)
{
    std::string const file = path("lib/link-d8.okt");
    done({"set", file, "Steelgrade=one\r\n\"two\"", "-q"});
    EXPECT_EQ(table({"--csv", "Steelgrade", file}), "file,Steelgrade\r\nlib/link-d8.okt,\"one\r\n\"\"two\"\"\"\r\n");
    std::string const columns = table({"Steelgrade", file});
    EXPECT_EQ(std::count(columns.begin(), columns.end(), '\n'), 2) << columns;
    std::string const markdown = table({"--markdown", "Steelgrade", file});
    EXPECT_EQ(std::count(markdown.begin(), markdown.end(), '\n'), 3) << markdown;
    done({"set", file, "Steelgrade=a|b", "-q"});
    EXPECT_THAT(table({"--markdown", "Steelgrade", file}), testing::HasSubstr(" | a\\|b |\n"));

    std::string text = done({"export", file});
    std::string const grade = "\"string16\": \"a|b\"";
    ASSERT_NE(text.find(grade), std::string::npos);
    text.replace(text.find(grade), grade.size(), R"("string16-escaped": "a\\uD800b")");
    done({"import", put("text.json", text), "-o", file, "--force"});
    EXPECT_EQ(table({"--csv", "Steelgrade", file}), "file,Steelgrade\r\nlib/link-d8.okt,a\xEF\xBF\xBD"
                                                    "b\r\n");
    EXPECT_THAT(table({"--json", "Steelgrade", file}), testing::HasSubstr("{\"Steelgrade\":\"a\xEF\xBF\xBD"
                                                                          "b\"}"));
    done({"set", file, "Cover=35 mm", "-q"});
    EXPECT_EQ(done({"export", file}).find("a\\\\uD800b") != std::string::npos, true); // what is not meant stays
}

TEST_F(OktTable, JsonAndMarkdown)
{
    EXPECT_EQ(
        table({"--json", "Cover", "Steelgrade", "Hook 1", "Number", "Nothing", path("lib/link-d12.okt")}),
        "{\"file\":\"lib/link-d12.okt\",\"unit\":\"mm\",\"values\":{\"Cover\":30.0,\"Steelgrade\":\"B500B\",\"Hook 1\":true,"
        "\"Number\":7,\"Nothing\":null}}\n");
    EXPECT_EQ(table({"--markdown", "Cover", "Steelgrade", "Nothing", path("lib/link-d12.okt")}),
              "| file | Cover (mm) | Steelgrade | Nothing |\n"
              "| --- | ---: | --- | ---: |\n"
              "| lib/link-d12.okt | 30 | B500B | |\n");
}

TEST_F(OktTable, ParameterThatStandsTwice_FirstAndANote)
{
    ProcessResult const result = runOkt({"table", "type:54", "--csv", path("lib/link-d12.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(shortened(result.out), "file,type:54\r\nlib/link-d12.okt,400\r\n");
    EXPECT_EQ(shortened(result.err), "okt: lib/link-d12.okt: \"type:54\" stands there more than once; the first is shown\n");
}

TEST_F(OktTable, NamesAndFiles_ToldApart)
{
    std::string const one = "file              Cover (mm)\nlib/link-d12.okt          30\n";
    EXPECT_EQ(table({path("lib/link-d12.okt"), "Cover"}), one);
    EXPECT_EQ(table({"-n", "Cover", path("lib/link-d12.okt")}), one);
    EXPECT_EQ(table({"--name=Cover", "--", path("lib/link-d12.okt")}), one);
    EXPECT_EQ(table({"Cover", "--file", path("lib/link-d12.okt")}), one);
    EXPECT_EQ(runOkt({"table", "Cover"}).err, "okt: FILE is missing; see \"okt table --help\"\n");
    EXPECT_EQ(runOkt({"table", path("lib")}).err, "okt: NAME is missing; see \"okt table --help\"\n");
    EXPECT_EQ(runOkt({"table", "Cover", "Cover", path("lib")}).err,
              "okt: NAME: \"Cover\" is asked for twice; see \"okt table --help\"\n");
    ProcessResult const missing = runOkt({"table", "Cover", "none.okt"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "okt: none.okt: there is no such file\n");
    EXPECT_EQ(runOkt({"table", "-n", "Cover", "--", "-odd.okt"}).err, "okt: -odd.okt: there is no such file\n");
    EXPECT_EQ(runOkt({"table", "--csv=other", "Cover", path("lib")}).err,
              "okt: --csv takes no such value: it is --csv, or --csv=local; see \"okt table --help\"\n");
    EXPECT_EQ(runOkt({"table", "diameter", "Diameter", path("lib")}).err,
              "okt: NAME: \"Diameter\" is asked for twice; see \"okt table --help\"\n");
    for (std::string const type : {"type:", "type:abc", "type:5x"})
    {
        EXPECT_EQ(runOkt({"table", type, path("lib")}).err,
                  "okt: NAME: \"" + type + "\" is no type: a number follows type:; see \"okt table --help\"\n");
        EXPECT_EQ(runOkt({"get", path("lib/link-d12.okt"), type}).err,
                  "okt: NAME: \"" + type + "\" is no type: a number follows type:; see \"okt get --help\"\n");
    }
    EXPECT_EQ(runOkt({"table", "--csv", "--json", "Cover", path("lib")}).exitCode, 2);
}

TEST_F(OktTable, DamagedFile_WhatIsWholeAndOneLine)
{
    ProcessResult const result =
        runOkt({"table", "--csv", "Diameter", "Cover", golden("truncated.okt"), path("lib/link-d8.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(shortened(result.out), testing::StartsWith("file,Diameter,Cover\r\n"));
    EXPECT_THAT(result.out, testing::HasSubstr("\r\n" + golden("truncated.okt") + ",,\r\n"));
    EXPECT_THAT(shortened(result.out), testing::HasSubstr("\r\nlib/link-d8.okt,8,30\r\n"));
    EXPECT_EQ(result.err, "okt: " + golden("truncated.okt") +
                              ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\n");
    std::string const empty = put("empty.okt", std::string());
    EXPECT_EQ(shortened(runOkt({"table", "Cover", empty}).err), "okt: empty.okt: the file is empty\n");
}

class OktGet : public LibraryTest
{
};

TEST_F(OktGet, ValueWithItsUnit)
{
    std::string const link = take("link-d12.okt");
    EXPECT_EQ(done({"get", link, "Cover"}), "30 mm\n");
    EXPECT_EQ(done({"get", link, "cover", "--unit", "cm"}), "3 cm\n");
    EXPECT_EQ(done({"get", link, "type:5"}), "12 mm\n");
    EXPECT_EQ(done({"get", link, "Steelgrade"}), "B500B\n");
    EXPECT_EQ(done({"get", link, "Hook 1"}), "true\n");
    EXPECT_EQ(done({"get", link, "Quantity expression"}), "4x150 2x100 mm\n");
    EXPECT_EQ(done({"get", golden("stirrup.okt"), "{9B38EB57-18BC-4FFE-8B5E-E30D431643D5}"}),
              done({"get", golden("stirrup.okt"), "Hook length 1"}));
    std::string const json = shortened(done({"get", link, "Cover", "--json"}));
    EXPECT_EQ(json.substr(0, 44), "{\"file\":\"lib/link-d12.okt\",\"name\":\"Cover\",\"i");
    EXPECT_EQ(json.substr(json.find("\"type\"")),
              "\"type\":6,\"value\":30.0,\"unit\":\"mm\",\"description\":\"Concrete cover on every side\"}\n");
}

TEST_F(OktGet, NoneOrSeveral_ExitCodeOne)
{
    std::string const link = take("link-d12.okt");
    ProcessResult const none = runOkt({"get", link, "Covre"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(shortened(none.err), "okt: lib/link-d12.okt: there is no parameter \"Covre\"\n");
    ProcessResult const several = runOkt({"get", link, "type:54"});
    EXPECT_EQ(several.exitCode, 1);
    EXPECT_EQ(several.out, "");
    EXPECT_EQ(shortened(several.err),
              "okt: lib/link-d12.okt: \"type:54\" stands there 4 times; an id tells which one is meant\n");
    EXPECT_EQ(runOkt({"get", link}).exitCode, 2);
}

} // namespace
