// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/condition.h>
#include <oktrebar/expressions.h>

#include <gtest/gtest.h>

using namespace okt;

namespace
{

bool holds(std::string const &condition, std::string const &file = "link-d12.okt", char const *unit = "mm")
{
    static std::map<std::string, StoredTemplate> pools;
    if (!pools.contains(file))
        pools.emplace(file, readBytes(exampleBytes(file)));
    StoredTemplate const &pool = pools.at(file);
    return Condition(condition, *findLengthUnit(unit)).holds(pool, TemplateExpressions(pool).unit());
}

TEST(Condition, Holds_Table)
{
    struct Row
    {
        char const *condition;
        bool holds;
    };
    // Diameter 12, Cover 30 mm, shape code 51, B500B, Hook 1 true, Number 7, quantity 4x150 2x100.
    Row const rows[] = {
        {"Diameter>=12 mm", true},
        {"Diameter>=1.2cm", true},
        {"Diameter>12 mm", false},
        {"type:5<=12mm", true},
        {"Cover<30 mm", false},
        {"Cover<=30 mm", true},
        {"Cover=3 cm", true},
        {"Cover!=3 cm", false},
        {"Cover<>31", true},
        {"Cover<31", true},
        {"Cover<0.031 m and Cover>0.029 m", true},
        {"Cover>1 in", true},
        {"Cover<0.1 ft", true},
        {"cover==30", true},
        {"Diameter>=16 mm and \"Shape code\"=51", false},
        {"Diameter>=16 mm or \"Shape code\"=51", true},
        {"not Diameter>=16 mm and 'Shape code'=51", true},
        {"not (Diameter>=16 mm or \"Shape code\"=51)", false},
        {"Diameter>=16 mm or Cover<20 mm or Number=7", true},
        {"Diameter>=16 mm and Cover<20 mm or Number=7", true},
        {"Diameter>=16 mm and (Cover<20 mm or Number=7)", false},
        {"Number>6 and Number<8", true},
        {"Steelgrade=b500b", true},
        {"Steelgrade!=B500B", false},
        {"Steelgrade=\"B500B\"", true},
        {"\"Shape code\">=51", true},
        {"\"Shape code\">100", false},
        {"\"Hook 1\"", true},
        {"\"Hook 1\"=true", true},
        {"\"Hook 1\"=no", false},
        {"Cover", true},
        {"Nothing", false},
        {"not Nothing", true},
        {"Nothing<30 mm", false},
        {"Nothing!=30 mm", false},
        {"type:54=400", true},
        {"type:54=250", true},
        {"type:54=251", false},
        {"objectclass=OKTDbPicture", true},
        {"objectclass=okTdbRelation", true}, // a base of the relation that is there
        {"objectclass!=OKTDbPicture", false},
        {"objectclass=OKTDbConstruct", false},
        {"\"Quantity expression\"=\"4x150 2x100\"", true},
    };
    for (Row const &row : rows)
        EXPECT_EQ(holds(row.condition), row.holds) << row.condition;
}

TEST(Condition, Holds_InchTemplate_UnitsConverted)
{
    EXPECT_TRUE(holds("Diameter=0.5 in", "link-no4.okt"));
    EXPECT_TRUE(holds("Diameter=12.7 mm and Cover=38.1", "link-no4.okt"));
    EXPECT_TRUE(holds("Cover=1.5", "link-no4.okt", "in"));
    EXPECT_FALSE(holds("Cover=1.5", "link-no4.okt"));
}

TEST(Condition, Refused_Table)
{
    struct Row
    {
        char const *condition;
        std::size_t position;
        char const *reason;
    };
    Row const rows[] = {
        {"", 0, "the condition ends too early; the name of a parameter is missing"},
        {"Cover<", 6, "a value is missing behind the comparison"},
        {"Cover<30 kg", 9, "\"kg\" is no unit of length; there are mm, cm, m, in, ft"},
        {"Cover 30", 6, "a comparison (= != < <= > >=) is wanted, not \"30\"; a name with blanks stands in quotation marks"},
        {"(Cover<30", 9, "')' is missing"},
        {"Cover<30)", 8, "unexpected \")\""},
        {"Cover<30 and", 12, "the condition ends too early; the name of a parameter is missing"},
        {"\"Shape code=51", 0, "the quotation mark is not closed"},
        {"<30", 0, "the name of a parameter is wanted, not \"<\""},
        {"objectclass<OKTDbPicture", 11, "objectclass is compared with = or != only"},
        {"objectclass", 11, "objectclass is to be compared, with = or !="},
    };
    for (Row const &row : rows)
        try
        {
            Condition const condition(row.condition, *findLengthUnit("mm"));
            ADD_FAILURE() << row.condition;
        }
        catch (ConditionError const &error)
        {
            EXPECT_EQ(error.position(), row.position) << row.condition;
            EXPECT_STREQ(error.what(), row.reason) << row.condition;
        }
    EXPECT_THROW(Condition(std::string(300, '('), *findLengthUnit("mm")), ConditionError);
    std::string deep;
    for (int i = 0; i < 300; ++i)
        deep += "not ";
    EXPECT_THROW(Condition(deep + "Cover", *findLengthUnit("mm")), ConditionError);
}

TEST(Condition, Holds_ValueOfAnotherKind_Refused)
{
    struct Row
    {
        char const *condition;
        char const *reason;
    };
    Row const rows[] = {
        {"Cover<thick", "\"Cover\" is a length, and \"thick\" is none"},
        {"Number<7 mm", "\"Number\" is a plain number, and \"7 mm\" is none"},
        {"\"Hook 1\"=maybe", "\"Hook 1\" is compared with true or false, by = or !=, and \"maybe\" is none"},
    };
    for (Row const &row : rows)
        try
        {
            holds(row.condition);
            ADD_FAILURE() << row.condition;
        }
        catch (ConditionError const &error)
        {
            EXPECT_STREQ(error.what(), row.reason);
        }
}

} // namespace
