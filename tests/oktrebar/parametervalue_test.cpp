// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/parametervalue.h>

#include <gtest/gtest.h>

using namespace okt;

namespace
{

StoredParameter parameter(int type, ParameterValue value)
{
    StoredParameter one;
    one.type = type;
    one.value = std::move(value);
    return one;
}

LengthUnit const &unit(char const *name) { return *findLengthUnit(name); }

std::string refusal(StoredParameter const &one, std::string const &text, LengthUnit const *plain = nullptr)
{
    try
    {
        parsedValue(one, text, plain, unit("mm"));
        return "";
    }
    catch (ValueError const &error)
    {
        return error.what();
    }
}

TEST(LengthUnitTest, ParseQuantity_Table)
{
    struct Row
    {
        char const *text;
        double value;
        char const *unit; ///< or what is no unit
    };
    Row const rows[] = {{"35 mm", 35, "mm"},  {"1.5in", 1.5, "in"}, {" 2  ft ", 2, "ft"},   {"-3", -3, ""},
                        {"+4 cm", 4, "cm"},   {".5 m", 0.5, "m"},   {"1e3 mm", 1000, "mm"}, {"35 kg", 35, "kg"},
                        {"4x150", 4, "x150"}, {"35 MM", 35, "MM"}};
    for (Row const &row : rows)
    {
        std::optional<Quantity> const quantity = parseQuantity(row.text);
        ASSERT_TRUE(quantity) << row.text;
        EXPECT_EQ(quantity->value, row.value) << row.text;
        EXPECT_EQ(quantity->unit == nullptr ? quantity->rest : std::string(quantity->unit->name), row.unit) << row.text;
    }
    for (char const *const text : {"", " ", "mm", "thick", "nan", "inf", "+-3", "1e999"})
        EXPECT_FALSE(parseQuantity(text)) << text;
}

TEST(ParameterValueTest, Parsed_OfTheKindThatIsThere)
{
    LengthUnit const &mm = unit("mm");
    EXPECT_EQ(parsedValue(parameter(6, 0.03), "35 mm", nullptr, mm), ParameterValue(0.035));
    EXPECT_EQ(parsedValue(parameter(6, 0.03), "1.5 in", nullptr, mm), ParameterValue(1.5 / (1 / 0.0254)));
    EXPECT_EQ(parsedValue(parameter(6, 0.03), "35", &mm, mm), ParameterValue(0.035));
    EXPECT_EQ(parsedValue(parameter(5, 12.0), "1.6 cm", nullptr, mm), ParameterValue(16.0));
    EXPECT_EQ(parsedValue(parameter(5, 0.5), "12.7 mm", nullptr, unit("in")), ParameterValue(0.5));
    EXPECT_EQ(parsedValue(parameter(5, std::int32_t{12}), "16 mm", nullptr, mm), ParameterValue(std::int32_t{16}));
    EXPECT_EQ(parsedValue(parameter(9, 90.0), "135", nullptr, mm), ParameterValue(135.0));
    EXPECT_EQ(parsedValue(parameter(38, std::int32_t{7}), "8", nullptr, mm), ParameterValue(std::int32_t{8}));
    EXPECT_EQ(parsedValue(parameter(7, true), "no", nullptr, mm), ParameterValue(false));
    EXPECT_EQ(parsedValue(parameter(4, std::string("B500B")), "B500C", nullptr, mm), ParameterValue(std::string("B500C")));
    EXPECT_EQ(parsedValue(parameter(39, std::string("4x0.15 2x0.1 ")), "6x200 1x50 mm", nullptr, mm),
              ParameterValue(std::string("6x0.2 1x0.05 ")));
}

TEST(ParameterValueTest, Refused_Table)
{
    EXPECT_EQ(refusal(parameter(6, 0.03), "35"), "a length needs its unit, such as \"35 mm\"");
    EXPECT_EQ(refusal(parameter(6, 0.03), "35 kg"), "\"kg\" is no unit of length; there are mm, cm, m, in, ft");
    EXPECT_EQ(refusal(parameter(6, 0.03), "thick"), "a length is wanted, and \"thick\" is none");
    EXPECT_EQ(refusal(parameter(5, std::int32_t{12}), "12.7 mm"), "it holds a whole number of mm, and \"12.7 mm\" is none");
    EXPECT_EQ(refusal(parameter(9, 90.0), "90 mm"), "this is no length: \"90 mm\" has a unit");
    EXPECT_EQ(refusal(parameter(9, 90.0), "90 degrees"), "a number is wanted, and \"90 degrees\" is none");
    EXPECT_EQ(refusal(parameter(38, std::int32_t{7}), "7.5"), "a whole number is wanted, and \"7.5\" is none that it can hold");
    EXPECT_EQ(refusal(parameter(38, std::int32_t{7}), "3000000000"),
              "a whole number is wanted, and \"3000000000\" is none that it can hold");
    EXPECT_EQ(refusal(parameter(7, true), "maybe"), "true or false is wanted, and \"maybe\" is neither");
    EXPECT_EQ(refusal(parameter(4, {}), "B500B"), "it has no value yet whose kind could be kept");
    EXPECT_EQ(refusal(parameter(4, std::string("a")), "\xFF"), "the text is no UTF-8");
    EXPECT_EQ(refusal(parameter(4, std::string("a")), std::string(65536, 'a')), "the text is longer than a file can hold");
    EXPECT_EQ(refusal(parameter(39, std::string("4x0.15 ")), "4x150"), "its lengths need their unit, such as \"4x150 mm\"");
    EXPECT_EQ(refusal(parameter(39, std::string("4x0.15 ")), "4 by 150 mm"),
              "a quantity expression is wanted, such as \"4x150 2x100\", and \"4 by 150\" is none");
}

TEST(ParameterValueTest, QuantityTerms_Table)
{
    std::vector<QuantityTerm> const terms = quantityTerms(" 4x150  ?x0.5 2*100 ");
    ASSERT_EQ(terms.size(), 3u);
    EXPECT_EQ(terms[0].count, 4);
    EXPECT_EQ(terms[0].spacing, 150);
    EXPECT_FALSE(terms[1].count);
    EXPECT_EQ(terms[2].spacing, 100);
    for (char const *const text : {"", "x", "4x", "x150", "4x150,", "4x150 2", "-1x100", "4x150x2"})
        EXPECT_THROW(quantityTerms(text), ValueError) << text;
}

} // namespace
