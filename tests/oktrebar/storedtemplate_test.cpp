// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/expressions.h>
#include <oktrebar/parametertable.h>

#include "support/files.h"

#include <gtest/gtest.h>

using namespace okt;

namespace
{

StoredTemplate const &link()
{
    static StoredTemplate const pool = readBytes(exampleBytes("link-d12.okt"));
    return pool;
}

TEST(StoredTemplate, Read_BuiltLink_ParametersAsTheyAreInTheFile)
{
    StoredTemplate const &pool = link();
    EXPECT_EQ(pool.poolName, "Closed link, 12 mm, EN 1992 / BS 8666");
    EXPECT_EQ(pool.parameters.size(), 25u);
    EXPECT_EQ(pool.categories.size(), 4u);
    EXPECT_EQ(pool.groups.size(), 1u);
    EXPECT_EQ(pool.relations.size(), 1u);
    EXPECT_EQ(pool.relations.front().parameters.size(), 7u);
    EXPECT_EQ(pool.pictures.size(), 1u);
    EXPECT_TRUE(pool.faults.empty());
    StoredParameter const &cut = pool.parameters[indexOf(pool, "Cutting length")];
    EXPECT_EQ(cut.className, "OKTDbParameter");
    EXPECT_EQ(cut.type, 54);
    EXPECT_EQ(cut.listIndex, 0);
    EXPECT_EQ(cut.value, ParameterValue(1.492));
    EXPECT_TRUE(cut.isLength());
    EXPECT_EQ(cut.expression, "2*LegA+2*LegB+max(16*Diameter;160)");
    EXPECT_EQ(cut.description, "Shape 51 with the least ends, BS 8666");
    ASSERT_EQ(cut.uses.size(), 3u);
    EXPECT_EQ(pool.find(cut.uses[0])->name, "Leg A");
    EXPECT_EQ(pool.find(cut.uses[2])->name, "Diameter");
    StoredParameter const &diameter = pool.parameters[indexOf(pool, "diameter")]; // the case of letters does not count
    EXPECT_EQ(diameter.value, ParameterValue(12.0));
    EXPECT_FALSE(diameter.isLength());
    EXPECT_TRUE(diameter.isDiameter());
    EXPECT_EQ(pool.parameters[indexOf(pool, "Hook 1")].value, ParameterValue(true));
    EXPECT_EQ(pool.parameters[indexOf(pool, "Number")].value, ParameterValue(std::int32_t{7}));
    EXPECT_EQ(pool.parameters[indexOf(pool, "Steelgrade")].value, ParameterValue(std::string("B500B")));
    EXPECT_EQ(pool.parameters[indexOf(pool, "Quantity expression")].value, ParameterValue(std::string("4x0.15 2x0.1 ")));
}

TEST(StoredTemplate, Selector_NameIdType_MeanTheSame)
{
    StoredTemplate const &pool = link();
    std::size_t const cover = indexOf(pool, "Cover");
    EXPECT_EQ(indexOf(pool, "COVER"), cover);
    EXPECT_EQ(indexOf(pool, "type:6"), cover);
    std::string id(36, ' ');
    EXPECT_EQ(ParameterSelector("type:54").in(pool).size(), 4u); // three legs and the cutting length
    EXPECT_EQ(ParameterSelector("type:x").in(pool).size(), 0u);
    EXPECT_EQ(ParameterSelector("Cov").in(pool).size(), 0u);
    EXPECT_EQ(ParameterSelector("{00000000-0000-0000-0000-000000000000}").in(pool).size(), 0u);
}

TEST(StoredTemplate, InOrder_AsPeopleSeeIt_CategoryByCategory)
{
    StoredTemplate const &pool = link();
    std::vector<std::string> names;
    for (std::size_t const index : pool.inOrder())
        names.push_back(pool.parameters[index].name);
    ASSERT_EQ(names.size(), 25u);
    EXPECT_EQ(names[0], "Standard");
    EXPECT_EQ(names[2], "Diameter");
    EXPECT_EQ(names[9], "Cutting length");
    EXPECT_EQ(names[24], "Quantity expression");
}

TEST(StoredTemplate, Read_CutFile_WhatIsWholeAndTheFault)
{
    std::string const bytes = contents(golden("truncated.okt"));
    StoredTemplate const pool = readBytes(bytes);
    ASSERT_EQ(pool.faults.size(), 1u);
    EXPECT_EQ(pool.faults[0].offset, 1595);
    EXPECT_EQ(pool.faults[0].reason, "the file ends inside an OKTDbParameter that begins at byte 1358");
    EXPECT_EQ(readBytes("").faults[0].reason, "the file is empty");
}

TEST(StoredTemplate, Row_ValuesInTheUnit_MissingOnesEmptyAndSeveralNoted)
{
    TableRow const row = rowOf(link(), "a.okt",
                               {ParameterSelector("Cover"), ParameterSelector("type:5"), ParameterSelector("None"),
                                ParameterSelector("type:54"), ParameterSelector("Quantity expression")},
                               *findLengthUnit("cm"));
    ASSERT_EQ(row.fields.size(), 5u);
    EXPECT_EQ(shownText(*row.fields[0]), "3 cm");
    EXPECT_EQ(shownText(*row.fields[1]), "1.2 cm");
    EXPECT_FALSE(row.fields[2]);
    EXPECT_EQ(shownText(*row.fields[3]), "40 cm");
    EXPECT_EQ(shownText(*row.fields[4]), "4x15 2x10 cm");
    EXPECT_EQ(row.several, std::vector<std::size_t>{3});
}

TEST(StoredTemplate, Row_DiameterOfAnInchTemplate_Converted)
{
    StoredTemplate const pool = readBytes(exampleBytes("link-no4.okt"));
    EXPECT_EQ(TemplateExpressions(pool).unit().name, "in");
    TableRow const row =
        rowOf(pool, "a.okt", {ParameterSelector("Diameter"), ParameterSelector("Cover")}, *findLengthUnit("mm"));
    EXPECT_EQ(shownText(*row.fields[0]), "12.7 mm");
    EXPECT_EQ(shownText(*row.fields[1]), "38.1 mm");
}

} // namespace
