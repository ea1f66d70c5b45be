// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/expressions.h>
#include <oktrebar/formula.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace okt;

namespace
{

double valueOf(std::string const &expression)
{
    return evaluateExpression(expression, [](std::string_view name) -> std::optional<double> {
        if (name == "LegA")
            return 400;
        if (name == "HookLength1")
            return 160;
        if (name == "H\xC3\xB6he_2")
            return 3;
        if (name == "max")
            return 9;
        return std::nullopt;
    });
}

TEST(OktExpression, Evaluate_NamesWithDigits_Value)
{
    EXPECT_EQ(valueOf("2*LegA+HookLength1"), 960);
    EXPECT_EQ(valueOf("HookLength1-2*(LegA-390)"), 140);
    EXPECT_EQ(valueOf("H\xC3\xB6he_2*2"), 6);
    EXPECT_EQ(valueOf("min(LegA;HookLength1)"), 160);
    EXPECT_EQ(valueOf("max(1,2;3)"), 3);
    EXPECT_EQ(valueOf("max(5)"), 5);
    EXPECT_EQ(valueOf("MAX(LegA/1.6;0)+Sqrt(4)+mIn(1;2)"), 253); // as names, whatever the case of letters
    EXPECT_EQ(namesIn("MAX(LegA/1.6;0)"), std::vector<std::string>{"LegA"});
    EXPECT_EQ(valueOf("max+1"), 10); // a parameter of that name
    EXPECT_EQ(valueOf("sqrt(HookLength1+9)"), 13);
    EXPECT_EQ(valueOf("round(LegA/150)*150"), 450);
    EXPECT_EQ(valueOf("ceil(2.1)+floor(2.9)+abs(HookLength1-LegA)"), 245);
    EXPECT_THROW(valueOf("sqrt(HookLength1-LegA)"), FormulaError);
    EXPECT_THROW(valueOf("sqrt"), FormulaError);
    EXPECT_NEAR(valueOf("pi*2"), 6.283185307179586, 1e-12);
}

TEST(OktExpression, Names_OfAText_EachOnce)
{
    EXPECT_EQ(namesIn("2*LegA+LegA/(LegB-LegB)+max(16*Diameter;160)"), (std::vector<std::string>{"LegA", "LegB", "Diameter"}));
    EXPECT_EQ(namesIn("42"), std::vector<std::string>());
    try
    {
        namesIn("2*LegA+*");
        ADD_FAILURE();
    }
    catch (FormulaError const &error)
    {
        EXPECT_EQ(error.position(), 7u);
        EXPECT_STREQ(error.what(), "unexpected '*' in the formula");
    }
}

TEST(TemplateExpressions, Unit_OfEveryExample_ThatOfItsTable)
{
    for (TemplatePlan const &plan : plansFrom(OKT_EXAMPLES_DIR "/data").templates)
    {
        StoredTemplate const pool = readBytes(imageOf(*buildPool(plan)));
        TemplateExpressions const expressions(pool);
        EXPECT_EQ(expressions.unit().name, plan.units == Units::Inch ? "in" : "mm") << plan.fileName;
        for (ParameterExpression const &expression : expressions.all())
            EXPECT_TRUE(expressions.isKept(expression)) << plan.fileName << " " << pool.parameters[expression.parameter].name;
        EXPECT_TRUE(expressions.cycles().empty());
    }
}

class RecalculationTest : public testing::Test
{
protected:
    void use(std::string const &file, std::function<void(TemplatePlan &)> const &change = {})
    {
        m_pool = readBytes(exampleBytes(file, change));
    }

    Recalculation changed(std::vector<std::pair<std::string, ParameterValue>> const &values)
    {
        ChangedValues given;
        for (auto const &[name, value] : values)
            given[indexOf(m_pool, name)] = value;
        return recalculate(TemplateExpressions(m_pool), given);
    }

    /// "Cutting length=1.552", in the order of calculation.
    std::vector<std::string> calculated(Recalculation const &result) const
    {
        std::vector<std::string> texts;
        for (std::size_t const index : result.order)
            texts.push_back(m_pool.parameters[index].name + "=" + std::to_string(std::get<double>(result.values.at(index))));
        return texts;
    }

    std::vector<std::string> left(Recalculation const &result) const
    {
        std::vector<std::string> texts;
        for (LeftParameter const &one : result.left)
            texts.push_back(m_pool.parameters[one.parameter].name + ": " + reasonText(one));
        return texts;
    }

    StoredTemplate m_pool;
};

TEST_F(RecalculationTest, LegOfALink_CuttingLengthFollows)
{
    use("link-d12.okt");
    Recalculation const result = changed({{"Leg A", 0.43}});
    EXPECT_EQ(calculated(result), std::vector<std::string>{"Cutting length=1.552000"});
    EXPECT_EQ(result.values.size(), 2u);
    EXPECT_EQ(left(result), std::vector<std::string>());
}

TEST_F(RecalculationTest, DiameterOfAnInchBar_ChainInItsOrder)
{
    use("hooked-no4.okt");
    Recalculation const result = changed({{"Diameter", 1.0}});
    std::vector<std::string> const texts = calculated(result);
    auto const place = [&](std::string const &name) {
        return std::find_if(texts.begin(), texts.end(), [&](std::string const &one) { return one.starts_with(name + "="); }) -
               texts.begin();
    };
    EXPECT_LT(place("Bending radius"), place("Cutting length"));
    EXPECT_LT(place("Hook length 1"), place("Extension 1"));
    EXPECT_LT(place("Hook length 1"), place("Cutting length"));
    EXPECT_NE(std::find(texts.begin(), texts.end(), "Bending radius=0.076200"), texts.end()); // 3 d = 3 in
    EXPECT_NE(std::find(texts.begin(), texts.end(), "Hook length 1=0.304800"), texts.end());  // 12 d = 12 in
    EXPECT_EQ(left(result), std::vector<std::string>());
}

TEST_F(RecalculationTest, SpacingThatAQuantityUses_LeftAndNamed)
{
    use("link-d12.okt");
    Recalculation const result = changed({{"Spacing A", 0.2}});
    EXPECT_EQ(result.values.size(), 1u);
    EXPECT_EQ(left(result), std::vector<std::string>{"Quantity expression: it has no expression"});
}

TEST_F(RecalculationTest, GivenValueWithAnExpression_StaysAsGiven)
{
    use("link-d12.okt");
    Recalculation const result = changed({{"Leg A", 0.43}, {"Cutting length", 1.6}});
    EXPECT_EQ(result.order.size(), 0u);
    EXPECT_EQ(result.values.at(indexOf(m_pool, "Cutting length")), ParameterValue(1.6));
}

TEST_F(RecalculationTest, SameValue_NothingChanges)
{
    use("link-d12.okt");
    Recalculation const result = changed({{"Leg A", 0.4}});
    EXPECT_TRUE(result.values.empty());
    EXPECT_TRUE(result.left.empty());
}

TEST_F(RecalculationTest, WhatCannotBeCalculated_LeftWithItsReason)
{
    struct Row
    {
        char const *expression;
        char const *reason;
    };
    Row const rows[] = {
        {"2*LegA+2*LegX", "Cutting length: its expression names LegX, which is not there"},
        {"2*LegA+", "Cutting length: its expression cannot be read: the formula ends too early"},
        {"2*LegA", "Cutting length: its value was not what its expression gives"},
        {"2*LegA*Steelgrade",
         "Cutting length: its expression has no value: the formula names 'Steelgrade', which is not known here"},
        {"LegA/(LegB-LegB)", "Cutting length: its expression has no value: the formula divides by zero"},
        {"2*LegA+Standard", "Cutting length: its expression names Standard, and several parameters have that name"},
    };
    for (Row const &row : rows)
    {
        use("link-d12.okt", [&row](TemplatePlan &plan) {
            planned(plan, {types::kLength, 0}).expression = row.expression;
            planned(plan, {types::kShapeStandard, 0}).name = "Standard";
        });
        Recalculation const result = changed({{"Leg A", 0.43}});
        EXPECT_EQ(left(result), std::vector<std::string>{row.reason}) << row.expression;
        EXPECT_EQ(result.values.size(), 1u);
    }
}

TEST_F(RecalculationTest, WhatDependsOnOneThatIsLeft_LeftToo)
{
    use("link-d12.okt", [](TemplatePlan &plan) {
        planned(plan, {types::kLength, 2}).expression = "7*LegA";
        planned(plan, {types::kSpacing, 1}).expression = "LegB";
    });
    Recalculation const result = changed({{"Leg A", 0.43}});
    std::vector<std::string> texts = left(result);
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, (std::vector<std::string>{"Leg B: its value was not what its expression gives",
                                               "Quantity expression: it depends on Spacing A, which was left",
                                               "Spacing A: it depends on Leg B, which was left"}));
    EXPECT_EQ(calculated(result), std::vector<std::string>{"Cutting length=1.552000"}); // from a leg that is new
}

TEST_F(RecalculationTest, Circle_NamedAndNothingCalculated)
{
    use("link-d12.okt", [](TemplatePlan &plan) {
        planned(plan, {types::kLength, 2}).expression = "CuttingLength/2-LegA";
        planned(plan, {types::kLength, 0}).expression = "2*LegA+2*LegB";
        planned(plan, {types::kLength, 0}).name = "Cutting Length";
    });
    Recalculation const result = changed({{"Leg A", 0.43}});
    ASSERT_EQ(result.cycle.size(), 2u);
    EXPECT_EQ(std::set<std::size_t>(result.cycle.begin(), result.cycle.end()),
              (std::set<std::size_t>{indexOf(m_pool, "Leg B"), indexOf(m_pool, "Cutting Length")}));
    EXPECT_TRUE(result.values.empty());
    Recalculation const given = changed({{"Leg A", 0.43}, {"Leg B", 0.3}}); // breaks it
    EXPECT_TRUE(given.cycle.empty());
}

} // namespace
