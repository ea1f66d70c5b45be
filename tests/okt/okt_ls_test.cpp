// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <oktinspect/textmatch.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

TEST(OktLs, EveryClass_OneLineAnObject)
{
    ProcessResult const result = runOkt({"ls", golden("every-class.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "       529      164  OKTDbGroupCategory  {3859AB02-698F-4B34-B252-A7963B31AB78}\n"
                          "       693      242  OKTDbParamRelation  {4F668E11-15B0-44B5-944A-FCCD3DB74192}\n"
                          "       935       76  OKTDbObject         {E82D871E-4897-4269-BF59-A669FEB8B632}\n"
                          "      1011      133  OKTDbConstruct      {5512977A-E6C4-420D-B5F7-5332B461C314}\n"
                          "      1144      285  OKTDbParameter      {1D361C87-DA99-41D0-BEE5-501686E85CB8}  Cover\n"
                          "      1429      106  OKTDbRelation       {0697AB9E-59AF-4B24-90A9-1E82488CE471}\n"
                          "      1535      264  OKTDbCategory       {A1DDE39E-F7DB-44EC-BAFB-D4A63A29323E}  All\n"
                          "      1799      379  OKTDbParameter      {1CDB1CD8-C345-4F66-B176-83AEBC695215}  Number\n"
                          "      2178      125  OKTDbIndexData      {439080EE-F923-4AFE-BA7E-DFA1C51754E7}\n"
                          "      2303      683  OKTDbPicture        {8B737FFE-F644-4066-A681-2580895B0897}\n");
}

TEST(OktLs, ClassAndName_Filters)
{
    auto const lines = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"ls", golden("stirrup.okt")});
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, 0);
        return std::count(result.out.begin(), result.out.end(), '\n');
    };
    EXPECT_EQ(lines({}), 21);
    EXPECT_EQ(lines({"--class", "OKTDbObject"}), 21); // the base of all
    EXPECT_EQ(lines({"--class", "oktdbPARAMETER"}), 15);
    EXPECT_EQ(lines({"--class", "OKTDbParam*"}), 16);
    EXPECT_EQ(lines({"--name", "*hook*"}), 3);
    EXPECT_EQ(lines({"--name", "hook"}), 0);
    EXPECT_EQ(lines({"--name", "*hook*", "--class", "OKTDbCategory"}), 0);
}

TEST(OktLs, Json_OneObjectALine)
{
    ProcessResult const result = runOkt({"ls", "--json", golden("truncated.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + golden("truncated.okt") +
                              ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\n");
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 3);
    nlohmann::json const json = nlohmann::json::parse(result.out.substr(0, result.out.find('\n')));
    EXPECT_EQ(json, nlohmann::json({{"file", golden("truncated.okt")},
                                    {"offset", 467},
                                    {"size", 297},
                                    {"class", "OKTDbParameter"},
                                    {"bases", {"OKTDbObject"}},
                                    {"id", "{97999512-35D2-48B2-BC69-FBFC5CE0B990}"},
                                    {"name", "Parameter 1"}}));
}

TEST(OktLs, SeveralFiles_HeadingsAndTheRestBehindAFault)
{
    ProcessResult const result = runOkt({"ls", "none.okt", golden("empty.okt"), golden("float-value.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: none.okt: there is no such file\n");
    EXPECT_EQ(result.out, golden("empty.okt") + ":\n" + golden("float-value.okt") +
                              ":\n"
                              "       471      303  OKTDbParameter      {A539A6FB-6EBD-43AA-8188-5A3371526F57}  Rotation "
                              "angle\n");
}

TEST(TextPattern, StarsQuestionMarksAndCase)
{
    auto const matches = [](char const *pattern, char16_t const *text) {
        return okt::TextPattern(pattern).matches(CString(text));
    };
    EXPECT_TRUE(matches("", u""));
    EXPECT_TRUE(matches("*", u""));
    EXPECT_TRUE(matches("a*c*e", u"abcde"));
    EXPECT_TRUE(matches("a*c*e", u"abcdcce"));
    EXPECT_FALSE(matches("a*c*e", u"abcdef"));
    EXPECT_TRUE(matches("?b?", u"ABC"));
    EXPECT_FALSE(matches("?b?", u"AB"));
    EXPECT_TRUE(matches("b\xC3\xBCgel", u"B\u00DCGEL"));
    EXPECT_FALSE(matches("@", u"`")); // not letters
    EXPECT_TRUE(okt::TextPattern("OO").isIn(CString(u"Hook")));
    EXPECT_FALSE(okt::TextPattern("o?k").isIn(CString(u"Hook")));
    EXPECT_TRUE(okt::TextPattern("*o?k").isIn(CString(u"Hook")));
}

} // namespace
