// SPDX-License-Identifier: MIT
#include <oktrebar/templateplan.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

using namespace okt;

namespace
{

#define OKT_DATA OKT_EXAMPLES_DIR "/data/"

Plans const &metric()
{
    static Plans const plans =
        metricPlans(BarTable::load(OKT_DATA "bars-en10080.csv"), SchedulingBends::load(OKT_DATA "bends-bs8666.csv"),
                    BendRules::load(OKT_DATA "bend-rules.csv"), ShapeLengths::load(OKT_DATA "shape-lengths-bs8666.csv"));
    return plans;
}

Plans const &inch()
{
    static Plans const plans =
        inchPlans(BarTable::load(OKT_DATA "bars-astm-a615.csv"), BendRules::load(OKT_DATA "bend-rules.csv"));
    return plans;
}

TemplatePlan const &plan(Plans const &plans, std::string const &fileName)
{
    auto const found = std::find_if(plans.templates.begin(), plans.templates.end(),
                                    [&](TemplatePlan const &candidate) { return candidate.fileName == fileName; });
    if (found == plans.templates.end())
        throw std::runtime_error("no template " + fileName);
    return *found;
}

ParameterPlan const &parameter(TemplatePlan const &plan, int type, int listIndex = 0)
{
    ParameterPlan const *const found = plan.find({type, listIndex});
    if (found == nullptr)
        throw std::runtime_error(plan.fileName + " has no parameter of the type " + std::to_string(type));
    return *found;
}

double real(TemplatePlan const &plan, int type, int listIndex = 0)
{
    return std::get<double>(parameter(plan, type, listIndex).value);
}

std::string text(TemplatePlan const &plan, int type, int listIndex = 0)
{
    return std::get<std::string>(parameter(plan, type, listIndex).value);
}

std::set<std::string> fileNames(Plans const &plans)
{
    std::set<std::string> names;
    for (TemplatePlan const &each : plans.templates)
        EXPECT_TRUE(names.insert(each.fileName).second) << each.fileName;
    return names;
}

std::map<std::string, std::string> skipped(Plans const &plans)
{
    std::map<std::string, std::string> reasons;
    for (SkippedTemplate const &each : plans.skipped)
        reasons[each.stem] = each.reason;
    return reasons;
}

TEST(OktTemplatePlan, MetricPlans_ExampleTables_OneTemplatePerSizeAndKind)
{
    std::set<std::string> expected;
    for (char const *const size : {"d6", "d8", "d10", "d12", "d16", "d20", "d25", "d32", "d40", "d50"})
    {
        expected.insert(std::string("link-") + size + ".okt");
        expected.insert(std::string("hooked-") + size + ".okt");
    }
    for (char const *const size : {"d6", "d8", "d10", "d12", "d14", "d16"})
        expected.insert(std::string("mesh-") + size + ".okt");
    EXPECT_EQ(fileNames(metric()), expected);

    std::map<std::string, std::string> const reasons = skipped(metric());
    EXPECT_EQ(reasons.size(), 10u);
    EXPECT_EQ(reasons.at("link-d14"), OKT_DATA "bends-bs8666.csv has no row for 14 mm");
    EXPECT_EQ(reasons.at("hooked-d28"), OKT_DATA "bends-bs8666.csv has no row for 28 mm");
    EXPECT_EQ(reasons.at("mesh-d20"), "mesh sheets are made of bars up to 16 mm");
    EXPECT_EQ(expected.size() + reasons.size(), 3u * 12u);
}

TEST(OktTemplatePlan, InchPlans_ExampleTables_OneTemplatePerSizeAndKind)
{
    std::set<std::string> const expected = {"link-no3.okt",    "link-no4.okt",    "link-no5.okt",    "link-no6.okt",
                                            "link-no7.okt",    "link-no8.okt",    "hooked-no3.okt",  "hooked-no4.okt",
                                            "hooked-no5.okt",  "hooked-no6.okt",  "hooked-no7.okt",  "hooked-no8.okt",
                                            "hooked-no9.okt",  "hooked-no10.okt", "hooked-no11.okt", "hooked-no14.okt",
                                            "hooked-no18.okt", "mesh-no3.okt",    "mesh-no4.okt",    "mesh-no5.okt"};
    EXPECT_EQ(fileNames(inch()), expected);
    std::map<std::string, std::string> const reasons = skipped(inch());
    EXPECT_EQ(reasons.at("link-no9"), OKT_DATA "bend-rules.csv has no row of \"ACI 318 25.3 stirrup\" for No. 9");
    EXPECT_EQ(reasons.at("mesh-no6"), "mesh sheets are made of bars up to No. 5");
    EXPECT_EQ(expected.size() + reasons.size(), 3u * 11u);
}

struct MetricRow
{
    char const *size;
    double diameter, radius, mandrelRadius, projection, linkProjection, hookedLength, linkA, linkB, linkLength;
};

// Hooked: P + 2000 + P - r - 2d. Link: 2A + 2B + max(16d; 160).
constexpr MetricRow kMetricRows[] = {
    {"d6", 6, 12, 12, 110, 110, 2196, 400, 250, 1460},     {"d8", 8, 16, 16, 115, 115, 2198, 400, 250, 1460},
    {"d10", 10, 20, 20, 120, 130, 2200, 400, 250, 1460},   {"d12", 12, 24, 24, 125, 160, 2202, 400, 250, 1492},
    {"d16", 16, 32, 32, 130, 210, 2196, 400, 250, 1556},   {"d20", 20, 70, 70, 190, 290, 2270, 450, 300, 1820},
    {"d25", 25, 87, 87.5, 240, 365, 2343, 550, 400, 2300}, {"d32", 32, 112, 112, 305, 465, 2434, 650, 500, 2812},
    {"d40", 40, 140, 140, 380, 580, 2540, 750, 600, 3340}, {"d50", 50, 175, 175, 475, 725, 2675, 900, 750, 4100},
};

TEST(OktTemplatePlan, MetricHooked_EverySize_FiguresOfTheTables)
{
    for (MetricRow const &row : kMetricRows)
    {
        SCOPED_TRACE(row.size);
        TemplatePlan const &hooked = plan(metric(), std::string("hooked-") + row.size + ".okt");
        EXPECT_EQ(real(hooked, types::kDiameter), row.diameter);
        EXPECT_EQ(real(hooked, types::kBendingRadius), row.radius);
        EXPECT_EQ(real(hooked, types::kHookFilletRadius), row.mandrelRadius);
        EXPECT_EQ(real(hooked, types::kHookAngle1), 90);
        EXPECT_EQ(real(hooked, types::kHookAngle2), 90);
        EXPECT_EQ(real(hooked, types::kHookLength1), row.projection);
        EXPECT_EQ(real(hooked, types::kHookLength2), row.projection);
        EXPECT_EQ(real(hooked, types::kExtension1), row.projection - row.radius - row.diameter);
        EXPECT_EQ(text(hooked, types::kShapeCode), "21");
        EXPECT_DOUBLE_EQ(real(hooked, types::kLength), row.hookedLength);
    }
}

TEST(OktTemplatePlan, MetricLink_EverySize_FiguresOfTheTables)
{
    for (MetricRow const &row : kMetricRows)
    {
        SCOPED_TRACE(row.size);
        TemplatePlan const &link = plan(metric(), std::string("link-") + row.size + ".okt");
        EXPECT_EQ(real(link, types::kBendingRadius), row.radius);
        EXPECT_EQ(real(link, types::kHookLength1), row.linkProjection);
        EXPECT_EQ(real(link, types::kHookLength2), row.linkProjection);
        EXPECT_EQ(real(link, types::kLength, 1), row.linkA);
        EXPECT_EQ(real(link, types::kLength, 2), row.linkB);
        EXPECT_EQ(real(link, types::kLength, 3), row.linkProjection);
        EXPECT_EQ(text(link, types::kShapeCode), "51");
        EXPECT_DOUBLE_EQ(real(link, types::kLength), row.linkLength);
    }
}

struct InchRow
{
    char const *size;
    double diameter, mainRadius, hook90, hook180, hookedLength;
};

// Hooked: 12d + 120 - 2(r + d) + hook180 + 1.5 pi (r + d/2).
constexpr InchRow kInchRows[] = {
    {"no3", 0.375, 1.125, 4.5, 2.5, 130.1850105},
    {"no8", 1.0, 3.0, 12, 4, 144.4933614},
    {"no9", 1.128, 4.512, 13.536, 4.512, 150.6880865},
    {"no18", 2.257, 11.285, 27.084, 9.028, 187.5252406},
};

TEST(OktTemplatePlan, InchHooked_Sizes_FiguresOfTheRules)
{
    for (InchRow const &row : kInchRows)
    {
        SCOPED_TRACE(row.size);
        TemplatePlan const &hooked = plan(inch(), std::string("hooked-") + row.size + ".okt");
        EXPECT_EQ(real(hooked, types::kDiameter), row.diameter);
        EXPECT_DOUBLE_EQ(real(hooked, types::kBendingRadius), row.mainRadius);
        EXPECT_EQ(real(hooked, types::kHookAngle1), 90);
        EXPECT_EQ(real(hooked, types::kHookAngle2), 180);
        EXPECT_DOUBLE_EQ(real(hooked, types::kHookLength1), row.hook90);
        EXPECT_DOUBLE_EQ(real(hooked, types::kHookLength2), row.hook180);
        EXPECT_NEAR(real(hooked, types::kLength), row.hookedLength, 1e-6);
    }
}

TEST(OktTemplatePlan, InchLink_Sizes_StirrupRows)
{
    // No. 4: d 0.5, r 1, hooks 6d = 3; 2(16 + 10) - 8 x 1.5 + 3 pi x 1.25 + 6.
    TemplatePlan const &four = plan(inch(), "link-no4.okt");
    EXPECT_EQ(real(four, types::kBendingRadius), 1.0);
    EXPECT_EQ(real(four, types::kHookAngle1), 135);
    EXPECT_EQ(real(four, types::kHookLength1), 3.0);
    EXPECT_EQ(real(four, types::kLength, 1), 16);
    EXPECT_EQ(real(four, types::kLength, 2), 10);
    EXPECT_NEAR(real(four, types::kLength), 57.7809724509617, 1e-9);
    // No. 8 has the larger mandrel of 6d, and needs a wider link: 2(18 + 12) - 8 x 4 + 3 pi x 3.5 + 12.
    TemplatePlan const &eight = plan(inch(), "link-no8.okt");
    EXPECT_EQ(real(eight, types::kBendingRadius), 3.0);
    EXPECT_EQ(real(eight, types::kHookLength2), 6.0);
    EXPECT_EQ(real(eight, types::kLength, 2), 12);
    EXPECT_NEAR(real(eight, types::kLength), 72.9867228626928, 1e-9);
    EXPECT_EQ(text(eight, types::kSteelGrade), "Grade 60");
}

TEST(OktTemplatePlan, Mesh_BothUnits_StraightBars)
{
    TemplatePlan const &mesh = plan(metric(), "mesh-d8.okt");
    EXPECT_EQ(text(mesh, types::kShapeCode), "00");
    EXPECT_EQ(real(mesh, types::kLength, 1), 4800);
    EXPECT_EQ(real(mesh, types::kLength, 2), 2400);
    EXPECT_EQ(real(mesh, types::kBendingRadius), 16);
    EXPECT_EQ(std::get<int>(parameter(mesh, types::kNumber, 1).value), 12);
    EXPECT_EQ(std::get<int>(parameter(mesh, types::kNumber, 2).value), 24);
    EXPECT_EQ(text(mesh, types::kQuantityExpression, 1), "11x200");
    EXPECT_EQ(text(mesh, types::kQuantityExpression, 2), "23x200");
    EXPECT_FALSE(std::get<bool>(parameter(mesh, types::kHook1).value));

    TemplatePlan const &mat = plan(inch(), "mesh-no5.okt");
    EXPECT_EQ(real(mat, types::kLength), 240);
    EXPECT_EQ(real(mat, types::kBendingRadius), 1.875);
    EXPECT_EQ(text(mat, types::kQuantityExpression, 1), "8x10");
}

TEST(OktTemplatePlan, Plans_EveryTemplate_HasTheParametersOfABar)
{
    for (Plans const *const plans : {&metric(), &inch()})
        for (TemplatePlan const &each : plans->templates)
        {
            SCOPED_TRACE(each.fileName);
            for (int const type : {types::kSteelGrade, types::kDiameter, types::kCover, types::kHook1, types::kHook2,
                                   types::kBendingRadius, types::kShapeCode})
                EXPECT_NE(each.find({type, 0}), nullptr) << type;
            EXPECT_GE(each.categories.size(), 4u);
            std::size_t inBend = 0;
            std::set<std::pair<int, int>> keys;
            for (CategoryPlan const &category : each.categories)
                for (ParameterPlan const &one : category.parameters)
                {
                    inBend += one.inBend ? 1u : 0u;
                    EXPECT_TRUE(keys.insert({one.key.type, one.key.listIndex}).second) << one.key.type;
                    for (ParameterKey const &used : one.uses)
                        EXPECT_NE(each.find(used), nullptr) << one.key.type << " uses " << used.type;
                }
            EXPECT_GE(inBend, 3u);
        }
}

TEST(OktTemplatePlan, Plans_QuantityExpressions_NumberIsOneMoreThanTheirCounts)
{
    TemplatePlan const &link = plan(metric(), "link-d12.okt");
    EXPECT_EQ(text(link, types::kQuantityExpression), "4x150 2x100");
    EXPECT_EQ(std::get<int>(parameter(link, types::kNumber).value), 7);
    EXPECT_EQ(real(link, types::kSpacing, 1), 150);
    EXPECT_EQ(real(link, types::kSpacing, 2), 100);
    EXPECT_EQ(text(plan(inch(), "link-no4.okt"), types::kQuantityExpression), "4x10 2x5");
}

// Tables of others may hold sizes that no bar of the templates can be bent from.
TEST(OktTemplatePlan, Plans_BarTooThickForItsLength_SkippedWithReason)
{
    BarTable bars;
    bars.units = Units::Inch;
    BarSize size;
    size.number = 18;
    size.diameter = 11;
    bars.sizes = {size};
    Plans const plans = inchPlans(bars, BendRules::load(OKT_DATA "bend-rules.csv"));
    EXPECT_TRUE(plans.templates.empty());
    EXPECT_EQ(skipped(plans).at("hooked-no18"), "its bends do not fit in a bar of 120 in");
}

} // namespace
