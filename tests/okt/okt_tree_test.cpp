// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

TEST(OktTree, Stirrup_Ascii)
{
    ProcessResult const result = runOkt({"tree", golden("stirrup.okt"), "--ascii", "--unit", "m"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "\"Stirrup, closed, 135 degrees\" {ED7D40B5-8AF9-4025-8681-00D526EDB9C2}\n"
                          "|- Group category {FD73AB2E-1A82-49FF-8881-F7D70F960A36}\n"
                          "|  |- Category \"Bar\"\n"
                          "|  |  |- Steelgrade = \"B500B\"\n"
                          "|  |  |- Diameter = 12\n"
                          "|  |  |- Cover = 30 m\n"
                          "|  |  |- Hook 1 = true\n"
                          "|  |  |- Hook angle 1 = 135\n"
                          "|  |  |- Hook length 1 = 120 m  [10*Diameter]\n"
                          "|  |  |- Bending radius = 24 m  [2*Diameter]\n"
                          "|  |  |- Shape code = \"51\"\n"
                          "|  |  |- Multiplication Factor = 1\n"
                          "|  |  `- Bügel Ø12 — strzemię = \"Série 🔩\"\n"
                          "|  `- Category \"Layout\"\n"
                          "|     |- Quantity type = 2\n"
                          "|     |- Spacing A = 200 m\n"
                          "|     |- Spacing B = 150 m\n"
                          "|     |- Number = 5\n"
                          "|     `- Quantity expression = \"3x200 2x150 \"\n"
                          "|        |- Spacing A = 200 m\n"
                          "|        `- Spacing B = 150 m\n"
                          "|- Relations\n"
                          "|  |- OKTDbRelation {CD9D555D-99DF-446C-8760-5FCBF09C1DAF}\n"
                          "|  `- OKTDbParamRelation {8B87DAE8-0AB5-41BD-BC6D-1853113361DB}\n"
                          "|     |- Diameter = 12\n"
                          "|     |- Hook length 1 = 120 m  [10*Diameter]\n"
                          "|     `- Bending radius = 24 m  [2*Diameter]\n"
                          "`- Pictures\n"
                          "   `- {727EC297-1483-468D-812D-A07952424387}, 1399 bytes, no known format\n");
}

TEST(OktTree, TruthValueThatIsNeither_ItsNumber)
{
    std::string const text = runOkt({"tree", golden("value-kinds.okt"), "--ascii"}).out;
    EXPECT_NE(text.find("Kind 11 = -1000\n"), std::string::npos) << text;
}

TEST(OktTree, EveryClassAndWhatIsMissing)
{
    EXPECT_EQ(runOkt({"tree", golden("object-order.okt"), "--ascii"}).out,
              "\"order\" {A78DEF1B-5A4E-44CD-A394-60A2C002C195}\n"
              "|- Group category {DFAD992A-1252-4B0C-BF98-0692FF22B5C0}\n"
              "|  |- OKTDbParamRelation {D390CF61-06FB-4A6B-A293-578561851006} (does not belong here)\n"
              "|  `- OKTDbParamRelation {D390CF61-06FB-4A6B-A293-578561851006} (does not belong here)\n"
              "`- Relations\n"
              "   |- OKTDbParamRelation {D390CF61-06FB-4A6B-A293-578561851006}\n"
              "   |  |- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n"
              "   |  `- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n"
              "   |- OKTDbParamRelation {459DB7A7-94B5-4E34-8AEC-6344BF0C0224}\n"
              "   |  |- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n"
              "   |  `- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n"
              "   |- OKTDbParamRelation {840470AC-F59B-4B87-9218-00D09700A66D}\n"
              "   |  |- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n"
              "   |  `- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n"
              "   `- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD}\n"
              "      |- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n"
              "      `- OKTDbParamRelation {9683F3F1-2D96-483F-ADC6-D3EAB6EDF6DD} (does not belong here)\n");
    // The classes of the example's module have other members under these names.
    std::string const other = ownModule() + " brings a class of this name with other members; --module FILE gives another\n";
    ProcessResult const result = runOkt({"tree", golden("every-class.okt"), "--ascii"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "\"every class\" {C2C1FA38-3F64-4E91-B56C-D03684F9F650}\n"
                          "|- Group category {3859AB02-698F-4B34-B252-A7963B31AB78}\n"
                          "|  `- Category \"All\"\n"
                          "|     |- Cover = 25000 mm\n"
                          "|     `- Number = 4\n"
                          "|        |- Cover = 25000 mm\n"
                          "|        `- Cover = 25000 mm\n"
                          "|- Relations\n"
                          "|  |- OKTDbParamRelation {4F668E11-15B0-44B5-944A-FCCD3DB74192}\n"
                          "|  |  |- Number = 4\n"
                          "|  |  `- Cover = 25000 mm\n"
                          "|  `- OKTDbRelation {0697AB9E-59AF-4B24-90A9-1E82488CE471}\n"
                          "|- Pictures\n"
                          "|  `- {8B737FFE-F644-4066-A681-2580895B0897}, 300 bytes, no known format\n"
                          "|- Other objects\n"
                          "|  |- OKTDbObject {E82D871E-4897-4269-BF59-A669FEB8B632}\n"
                          "|  |- OKTDbConstruct {5512977A-E6C4-420D-B5F7-5332B461C314}\n"
                          "|  `- OKTDbIndexData {439080EE-F923-4AFE-BA7E-DFA1C51754E7}\n"
                          "`- Classes that need a client module\n"
                          "   |- OKTDbConstruct, 1 object: " +
                              other + "   `- OKTDbIndexData, 1 object: " + other);
    EXPECT_EQ(result.err, "");
}

TEST(OktTree, BoxesWhereTheLocaleHasThem)
{
    std::string const boxes = "\n\xE2\x94\x94\xE2\x94\x80 Parameters in no category\n   \xE2\x94\x94\xE2\x94\x80 Rot";
#if defined(_WIN32) // in UTF-8 whatever the locale is
    EXPECT_NE(runOkt({"tree", golden("float-value.okt")}).out.find(boxes), std::string::npos);
#else
    auto const underLocale = [](std::string const &name) {
        return runProgram("/usr/bin/env", {"LC_ALL=" + name, OKT_EXE, "tree", golden("float-value.okt")}).out;
    };
    EXPECT_NE(underLocale("C.UTF-8").find(boxes), std::string::npos);
    EXPECT_NE(underLocale("C").find("\n`- Parameters in no category\n   `- Rotation angle"), std::string::npos);
#endif
}

TEST(OktTree, Damaged_WhatIsWholeAndOneLine)
{
    ProcessResult const result = runOkt({"tree", golden("truncated.okt"), "--ascii"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "\"truncated\" {02AAB656-E491-4221-AA92-6A25E381840D}\n"
                          "`- Parameters in no category\n"
                          "   |- Parameter 1 = 200000 mm\n"
                          "   |- Parameter 2 = 300000 mm\n"
                          "   `- Parameter 0 = 100000 mm\n");
    EXPECT_EQ(result.err, std::string() + "okt: " + golden("truncated.okt") +
                              ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\n");
    EXPECT_EQ(runOkt({"tree"}).exitCode, 2);
    EXPECT_EQ(runOkt({"tree", golden("stirrup.okt"), "--unit", "yard"}).exitCode, 2);
}

} // namespace
