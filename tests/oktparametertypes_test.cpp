// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbparameter.h>

#include "support/printers.h"
#include "support/reportcatcher.h"

#include <oktplatform/oktwarning.h>

#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <string>

// The names of the parameter types and the list codes.

namespace
{
struct TypeRow
{
    int type;
    unsigned int prompt; ///< 0: a constant text that is not looked up
    char const *text;
};

// Type 48 has no row.
constexpr TypeRow kTypes[] = {
    {3, 1000, "Standard"},
    {4, 1001, "Steelgrade"},
    {5, 1002, "Diameter"},
    {6, 1003, "Cover"},
    {7, 1004, "Hook 1"},
    {8, 1005, "Hook 1 by catalog"},
    {9, 1006, "Hook angle 1"},
    {10, 1007, "Hook length 1"},
    {11, 1008, "Hook 2"},
    {12, 1009, "Hook 2 by catalog"},
    {13, 1010, "Hook angle 2"},
    {14, 1011, "Hook length 2"},
    {15, 1012, "Hook fillet by catalog"},
    {16, 1013, "Hook fillet radius"},
    {17, 1014, "Hook recover length"},
    {18, 1015, "Anchor 1"},
    {19, 1016, "Anchor 1 by catalog"},
    {20, 1017, "Anchor length 1"},
    {21, 1018, "Anchor 2"},
    {22, 1019, "Anchor 2 by catalog"},
    {23, 1020, "Anchor length 2"},
    {24, 1021, "Bend by catalog"},
    {25, 1022, "Bend fillet radius"},
    {26, 1023, "Bending radius"},
    {27, 1025, "Shape standard"},
    {28, 1026, "Shape code"},
    {29, 1068, "View direction"},
    {30, 1069, "Offset X"},
    {31, 1070, "Offset Y"},
    {32, 1071, "Justification"},
    {33, 1027, "Extension 1"},
    {34, 1028, "Extension 2"},
    {35, 1029, "Lateral extension"},
    {36, 1030, "Quantity type"},
    {37, 1031, "Spacing"},
    {38, 1032, "Number"},
    {39, 1033, "Quantity expression"},
    {40, 1034, "Caqout start"},
    {41, 1035, "Caqout end"},
    {42, 1037, "Alternate top bars"},
    {43, 1038, "Alternate bottom bars"},
    {44, 1039, "Hole cover"},
    {45, 1040, "Extremity justification"},
    {46, 1041, "Lateral justification"},
    {47, 1042, "Rotation angle"},
    {49, 1043, "Offset X"},
    {50, 1044, "Offset Y"},
    {51, 1045, "Justification"},
    {52, 1046, "Standard"},
    {53, 1047, "Type"},
    {54, 1048, "Length"},
    {55, 1049, "Width"},
    {56, 1050, "Justification"},
    {57, 1051, "Rotation angle"},
    {58, 1052, "Cover ext"},
    {59, 1053, "Cover int"},
    {60, 1054, "Size limit"},
    {61, 1055, "Repartition method"},
    {62, 1056, "Trim mesh"},
    {63, 1057, "Custom overlap"},
    {64, 1058, "Longitudinal overlap"},
    {65, 1059, "Transversal overlap"},
    {66, 1060, "Lateral extension"},
    {67, 1061, "Cover 1"},
    {68, 1062, "Cover 2"},
    {69, 1063, "Custom overlap"},
    {70, 1064, "Overlap length"},
    {71, 1065, "Justification"},
    {72, 1066, "Lateral extension"},
    {73, 1067, "Bend direction"},
    {74, 1072, "Enabled"},
    {75, 1073, "Spacing tolerance"},
    {76, 0, "Hook position"},
    {77, 0, "Index"},
    {78, 0, "Multiplication Factor"},
    {79, 0, "Repartition offset top"},
    {80, 0, "Repartition offset Bottom"},
    {81, 0, "Hidden length unit"},
    {82, 0, "Prefix"},
};

CString prompt(unsigned int id) { return ZnPrompts::getPrompt(id, L"OKTDATABASE", 0); }
} // namespace

// --- getNameFromType ---------------------------------------------------------------------------------------------------------

TEST(ParameterTypes, Table_EveryTypeBut48_OnceInOrder)
{
    int type = 3;
    for (TypeRow const &row : kTypes)
    {
        EXPECT_EQ(row.type, type);
        type += type == 47 ? 2 : 1;
    }
    EXPECT_EQ(type, 83);
}

TEST(ParameterTypes, GetNameFromType_EachNamedType_ItsText)
{
    for (TypeRow const &row : kTypes)
    {
        EXPECT_EQ(OKTDbParameter::getNameFromType(row.type), CString(row.text)) << row.type;
        if (row.prompt != 0)
        {
            EXPECT_EQ(prompt(row.prompt), CString(row.text)) << row.prompt;
        }
    }
}

TEST(ParameterTypes, GetNameFromType_AroundType48_PromptsRunOnAnd48HasNone_Quirk54)
{
    EXPECT_EQ(OKTDbParameter::getNameFromType(47), prompt(1042));
    EXPECT_EQ(OKTDbParameter::getNameFromType(48), prompt(0));
    EXPECT_EQ(OKTDbParameter::getNameFromType(49), prompt(1043));
}

TEST(ParameterTypes, GetNameFromType_TypesWithoutRow_TextOfPromptZero)
{
    ReportCatcher reports;
    for (int const type : {-1, 0, 1, 2, 48, 83, 84, 1000, 1003, -3, INT_MAX, INT_MIN})
        EXPECT_EQ(OKTDbParameter::getNameFromType(type), prompt(0)) << type;
    EXPECT_EQ(OKTDbParameter::getNameFromType(82), CString(u"Prefix"));
    EXPECT_TRUE(prompt(0).IsEmpty());
    EXPECT_EQ(reports.count(), 0u);
}

TEST(ParameterTypes, GetNameFromType_OneTextForSeveralTypes)
{
    for (auto const &same : {std::set<int>{3, 52}, {32, 51, 56, 71}, {35, 66, 72}, {30, 49}, {31, 50}, {47, 57}, {63, 69}})
        for (int const type : same)
            EXPECT_EQ(OKTDbParameter::getNameFromType(type), OKTDbParameter::getNameFromType(*same.begin())) << type;
}

TEST(ParameterTypes, GetTypeName_OfAParameter_FromTheTypeNotTheUserName)
{
    OKTDbParameter parameter(6, OKTDbObjectId());
    EXPECT_EQ(parameter.UserName(), CString(u"Cover"));
    parameter.setUserName(u"Mine", false);
    EXPECT_EQ(parameter.getTypeName(), CString(u"Cover"));
    parameter.setType(39);
    EXPECT_EQ(parameter.getTypeName(), CString(u"Quantity expression"));
    EXPECT_EQ(OKTDbParameter().getTypeName(), prompt(0));
}

// --- The prompt catalogue ----------------------------------------------------------------------------------------------------

TEST(ParameterTypes, Catalogue_1000To1073_73TextsWithout1036AndASpare1024_Quirk54)
{
    std::set<unsigned int> used;
    for (TypeRow const &row : kTypes)
    {
        if (row.prompt != 0)
        {
            EXPECT_TRUE(used.insert(row.prompt).second) << row.prompt;
        }
    }
    int held = 0;
    for (unsigned int id = 1000; id <= 1073; ++id)
    {
        EXPECT_EQ(prompt(id).IsEmpty(), id == 1036) << id;
        EXPECT_EQ(used.count(id) != 0, id != 1036 && id != 1024) << id;
        held += prompt(id).IsEmpty() ? 0 : 1;
    }
    EXPECT_EQ(held, 73);
    EXPECT_EQ(prompt(1024), CString(u"Side"));
    EXPECT_TRUE(prompt(999).IsEmpty());
    EXPECT_TRUE(prompt(1074).IsEmpty());
}

// --- encodeListIndex ---------------------------------------------------------------------------------------------------------

TEST(ParameterTypes, EncodeListIndex_Rows_AsListed)
{
    struct
    {
        int index;
        char const *code;
    } const rows[] = {{0, ""},
                      {1, "A"},
                      {2, "B"},
                      {25, "Y"},
                      {26, "Z"},
                      {27, "AA"},
                      {28, "AB"},
                      {52, "AZ"},
                      {53, "BA"},
                      {78, "BZ"},
                      {676, "YZ"},
                      {677, "ZA"},
                      {702, "ZZ"},
                      {703, "AAA"},
                      {704, "AAB"},
                      {18278, "ZZZ"},
                      {18279, "AAAA"},
                      {475254, "ZZZZ"},
                      {475255, "AAAAA"},
                      {INT_MAX, "FXSHRXW"},
                      {-1, "1"},
                      {-3, "3"},
                      {-26, "26"},
                      {-1000000, "1000000"},
                      {-INT_MAX, "2147483647"}};
    for (auto const &row : rows)
        EXPECT_EQ(OKTDbParameter::encodeListIndex(row.index), CString(row.code)) << row.index;
}

TEST(ParameterTypes, EncodeListIndex_SmallestInteger_WithSign_Quirk53)
{
    EXPECT_EQ(OKTDbParameter::encodeListIndex(INT_MIN), CString(u"-2147483648"));
}

TEST(ParameterTypes, EncodeListIndex_Counting_EachCodeFollowsTheOneBefore)
{
    std::string code;
    for (int index = 1; index <= 20000; ++index)
    {
        std::size_t place = code.size();
        while (place > 0 && code[place - 1] == 'Z')
            code[--place] = 'A';
        if (place > 0)
            ++code[place - 1];
        else
            code.insert(code.begin(), 'A');
        ASSERT_EQ(OKTDbParameter::encodeListIndex(index).ToUtf8(), code) << index;
    }
}

TEST(ParameterTypes, GetListIndex_OfAParameter_CodeOfItsIndex)
{
    OKTDbParameter parameter;
    EXPECT_TRUE(parameter.getListIndex().IsEmpty());
    parameter.setListIndex(28);
    EXPECT_EQ(parameter.getListIndex(), CString(u"AB"));
    parameter.setListIndex(-28);
    EXPECT_EQ(parameter.getListIndex(), CString(u"28"));
}
