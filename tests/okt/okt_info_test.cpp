// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace
{

using testing::HasSubstr;

class OktInfo : public FolderTest
{
};

TEST_F(OktInfo, Stirrup_HeaderAndClasses)
{
    ProcessResult const result = runOkt({"info", golden("stirrup.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, golden("stirrup.okt") +
                              ": 9311 bytes\n"
                              "  Pool            \"Stirrup, closed, 135 degrees\" {ED7D40B5-8AF9-4025-8681-00D526EDB9C2}\n"
                              "  Header          558 bytes from byte 5, sections 1, 2, 3, 4, 5, 6\n"
                              "  Metrics factor  1\n"
                              "  sketch          {5926E432-8963-4BA0-9B8A-63BD13355F3E}\n"
                              "  picture         {727EC297-1483-468D-812D-A07952424387}, 2149 bytes from byte 3571\n"
                              "  Objects         21\n"
                              "  CLASS                   OBJECTS     BYTES         SECTIONS\n"
                              "  OKTDbCategory           2           1062          1\n"
                              "  OKTDbGroupCategory      1           212           1\n"
                              "  OKTDbParamRelation      1           290           1\n"
                              "  OKTDbParameter          15          4929          1, 2\n"
                              "  OKTDbPicture            1           2149          1, 2, 3\n"
                              "  OKTDbRelation           1           106           1\n"
                              "  (header)                            563\n");
}

TEST_F(OktInfo, OldSections_NumbersOfThoseThatAreThere)
{
    ProcessResult const result = runOkt({"info", golden("oldest-header.okt"), golden("newer-sections.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, golden("oldest-header.okt") +
                              ": 1159 bytes\n"
                              "  Pool            \"oldest\" {270DA048-6A72-4B45-8DE0-81C43C29E773}\n"
                              "  Header          263 bytes from byte 5, section 1\n"
                              "  Metrics factor  none\n"
                              "  Objects         3\n"
                              "  CLASS                   OBJECTS     BYTES         SECTIONS\n"
                              "  OKTDbParameter          3           891           1, 2\n"
                              "  (header)                            268\n"
                              "\n" +
                              golden("newer-sections.okt") +
                              ": 13654 bytes\n"
                              "  Pool            \"newer sections\" {C2C1FA38-3F64-4E91-B56C-D03684F9F650}\n"
                              "  Header          2630 bytes from byte 5, sections 1, 2, 3, 4, 5, 6, 7, 9\n"
                              "  Metrics factor  1\n"
                              "  construct       {5512977A-E6C4-420D-B5F7-5332B461C314}, no place\n"
                              "  index           {439080EE-F923-4AFE-BA7E-DFA1C51754E7}, no place\n"
                              "  ppActions       {45A3C7B9-1986-4CD1-A067-68DE1D95FE29}\n"
                              "  sketch          {1A435E24-0A16-4E55-B2F3-F55750B8BCD9}\n"
                              "  picture         {8B737FFE-F644-4066-A681-2580895B0897}, 1943 bytes from byte 11711\n"
                              "  radial          {46705F52-6EC5-4F4E-BAE4-4BF91EFAAD93}\n"
                              "  Objects         8\n"
                              "  CLASS                   OBJECTS     BYTES         SECTIONS\n"
                              "  OKTDbCategory           1           1524          1, 2\n"
                              "  OKTDbGroupCategory      1           794           1\n"
                              "  OKTDbObject             1           496           1, 2\n"
                              "  OKTDbParamRelation      1           1502          1, 8\n"
                              "  OKTDbParameter          2           4024          1, 2, 3, 5\n"
                              "  OKTDbPicture            1           1943          1, 2, 3, 4\n"
                              "  OKTDbRelation           1           736           1, 2\n"
                              "  (header)                            2635\n");
}

TEST_F(OktInfo, HeaderOnly_Json)
{
    ProcessResult const result = runOkt({"info", "--header", "--json", golden("stirrup.okt")});
    EXPECT_EQ(result.exitCode, 0);
    nlohmann::json const json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["file"], golden("stirrup.okt"));
    EXPECT_EQ(json["size"], 9311);
    EXPECT_EQ(json["header"]["name"], "Stirrup, closed, 135 degrees");
    EXPECT_EQ(json["header"]["sections"], nlohmann::json({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(json["header"]["named"][1]["offset"], 3571);
    EXPECT_EQ(json["header"]["named"][0]["offset"], nullptr);
    EXPECT_FALSE(json.contains("objects"));
}

TEST_F(OktInfo, Json_Classes)
{
    nlohmann::json const json = nlohmann::json::parse(runOkt({"info", "--json", golden("stirrup.okt")}).out);
    EXPECT_EQ(json["objects"], 21);
    EXPECT_EQ(json["objectBytes"], 8748);
    EXPECT_EQ(json["classes"][0]["class"], "OKTDbCategory");
    EXPECT_EQ(json["classes"][0]["sections"]["OKTDbObject"], nlohmann::json({1}));
    EXPECT_EQ(json["faults"], nlohmann::json::array());
}

TEST_F(OktInfo, Json_ClassNameWithABackslash_AsItIs)
{
    std::string bytes = contents(golden("unknown-class.okt"));
    for (std::size_t at = bytes.find("OKTDbNobody"); at != std::string::npos; at = bytes.find("OKTDbNobody", at + 1))
        bytes[at + 3] = '\\';
    ProcessResult const result = runOkt({"info", "--json", put("a.okt", bytes)});
    EXPECT_THAT(result.out, HasSubstr(R"({"class":"OKT\\bNobody","objects":1,)"));
    EXPECT_THAT(result.out, HasSubstr(R"("OKT\\bNobody":[1]})"));
}

TEST_F(OktInfo, StandardInputTwice_OneLine)
{
    for (std::vector<std::string> const &arguments :
         std::vector<std::vector<std::string>>{{"info", "-", "-"},
                                               {"ls", "-", "-"},
                                               {"verify", "-", "-"},
                                               {"show", "-", "-"},
                                               {"find", "Cover", "-", "-"},
                                               {"report", "-", "-", "-o", path("page.html")}})
    {
        ProcessResult const result = runOktOn(golden("empty.okt"), arguments);
        EXPECT_EQ(result.exitCode, 1) << arguments.front();
        EXPECT_EQ(result.err, "okt: standard input: it can be read only once\n") << arguments.front();
        EXPECT_EQ(result.out, "") << arguments.front();
    }
}

TEST_F(OktInfo, Damaged_LineAndTheRest)
{
    ProcessResult const result = runOkt({"info", golden("truncated.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + golden("truncated.okt") +
                              ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\n");
    EXPECT_NE(result.out.find("  Objects         3\n"), std::string::npos);
}

TEST_F(OktInfo, NoPoolFile)
{
    std::string const text = put("x.okt", "no pool file");
    std::string const empty = put("empty.okt", "");
    ProcessResult const result = runOkt({"info", "--header", text, empty, golden("empty.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + text + ":byte 0: this is no pool file: it does not begin with the size of a header\nokt: " +
                              empty + ": the file is empty\n");
    EXPECT_NE(result.out.find(golden("empty.okt") + ": 459 bytes\n"), std::string::npos);
    EXPECT_EQ(runOkt({"info"}).exitCode, 2);
}

} // namespace
