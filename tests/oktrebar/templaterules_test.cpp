// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/templaterules.h>

#include <oktformat/failure.h>
#include <oktrebar/parametervalue.h>

#include <gtest/gtest.h>

using namespace okt;

namespace
{

TemplateRules rulesOf(std::vector<std::string> const &values)
{
    TemplateRules rules;
    for (std::string const &value : values)
        rules.values.push_back(TemplateAssignment::of(value));
    return rules;
}

std::string refusal(std::string const &bytes, TemplateRules const &rules)
{
    try
    {
        ruled("a.okt", bytes, rules);
    }
    catch (Failure const &failure)
    {
        return failure.what();
    }
    return "";
}

TEST(TemplateRules, Value_BytesOfTheEdit)
{
    std::string const bytes = exampleBytes("link-d12.okt");
    std::optional<RuledTemplate> const made = ruled("a.okt", bytes, rulesOf({" Cover = 35 mm"}));
    ASSERT_TRUE(made && made->made);
    StoredTemplate const before = readBytes(bytes);
    ChangedValues const values = {{indexOf(before, "Cover"), ParameterValue(0.035)}};
    EXPECT_EQ(made->made->bytes, edited(bytes, before, *made->drawn, values).bytes);
    EXPECT_EQ(made->changes.values, values);

    std::optional<RuledTemplate> const again = ruled("a.okt", made->made->bytes, rulesOf({"Cover=35 mm"}));
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->made);
}

TEST(TemplateRules, OtherTemplate_NotMeant)
{
    TemplateRules rules = rulesOf({"Cover=35 mm"});
    rules.isMeant = [](StoredTemplate const &pool, LengthUnit const &) { return pool.parameters.empty(); };
    EXPECT_FALSE(ruled("a.okt", exampleBytes("link-d12.okt"), rules));
}

TEST(TemplateRules, WhatIsWrong_NamedWithTheFile)
{
    std::string const bytes = exampleBytes("link-d12.okt");
    EXPECT_EQ(refusal(bytes, rulesOf({"Covering=35 mm"})), "a.okt: there is no parameter \"Covering\"");
    EXPECT_EQ(refusal(bytes, rulesOf({"Cover=35"})), "a.okt: \"Cover\": a length needs its unit, such as \"35 mm\"");
    EXPECT_EQ(refusal(bytes, rulesOf({"Cover=35 mm", "cover=36 mm"})), "a.okt: \"cover\": it is given twice");
    EXPECT_NE(refusal(bytes.substr(0, bytes.size() / 2), rulesOf({"Cover=35 mm"})), "");
    EXPECT_THROW(TemplateAssignment::of("Cover"), ValueError);
    EXPECT_THROW(TemplateAssignment::of("=35 mm"), ValueError);
}

} // namespace
