// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>
#include <oktrebar/bartable.h>
#include <oktrebar/bendtables.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>

using namespace okt;

namespace
{

namespace fs = std::filesystem;

class OktBarTables : public testing::Test
{
protected:
    OktBarTables() : m_folder(fs::temp_directory_path() / ("okt-tables-" + std::to_string(std::random_device()())))
    {
        fs::create_directory(m_folder);
    }
    ~OktBarTables() override
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }

    fs::path put(std::string const &text) const
    {
        std::ofstream(m_folder / "t.csv", std::ios::binary) << text;
        return m_folder / "t.csv";
    }

    /// The message behind the name of the file.
    std::string failureOf(std::function<void()> const &action) const
    {
        std::string const name = (m_folder / "t.csv").generic_string();
        try
        {
            action();
        }
        catch (Failure const &failure)
        {
            std::string const message = failure.what();
            return message.starts_with(name) ? message.substr(name.size()) : message;
        }
        return "no failure";
    }

    std::string barFailure(std::string const &text) const
    {
        fs::path const path = put(text);
        return failureOf([&] { BarTable::load(path); });
    }

    fs::path m_folder;
};

BarSize metric(double diameter)
{
    BarSize size;
    size.diameter = diameter;
    return size;
}

BarSize inch(int number, double diameter)
{
    BarSize size;
    size.number = number;
    size.diameter = diameter;
    return size;
}

TEST_F(OktBarTables, Load_ExampleTables_AllSizes)
{
    BarTable const en = BarTable::load(OKT_EXAMPLES_DIR "/data/bars-en10080.csv");
    EXPECT_EQ(en.units, Units::Millimetre);
    ASSERT_EQ(en.sizes.size(), 12u);
    EXPECT_EQ(en.sizes[3].diameter, 12);
    EXPECT_EQ(en.sizes[3].area, 113.1);
    EXPECT_EQ(en.sizes[3].mass, 0.888);
    EXPECT_EQ(en.sizes[3].label(), "12 mm");
    EXPECT_EQ(en.sizes[3].stem(), "d12");

    BarTable const astm = BarTable::load(OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv");
    EXPECT_EQ(astm.units, Units::Inch);
    ASSERT_EQ(astm.sizes.size(), 11u);
    EXPECT_EQ(astm.sizes[1].number, 4);
    EXPECT_EQ(astm.sizes[1].diameter, 0.5);
    EXPECT_EQ(astm.sizes[10].label(), "No. 18");
    EXPECT_EQ(astm.sizes[10].stem(), "no18");
}

TEST_F(OktBarTables, MetricsFactor_BothUnits_UnitsPerMetre)
{
    EXPECT_EQ(metricsFactor(Units::Millimetre), 1000.0);
    EXPECT_EQ(metricsFactor(Units::Inch), 39.37007874015748);
}

TEST_F(OktBarTables, Load_BadTables_FailureWithLineAndColumn)
{
    std::string const header = "diameter_mm,area_mm2,mass_kg_per_m\n";
    std::string const inchHeader = "size,soft_metric,diameter_in,area_in2,mass_lb_per_ft\n";
    EXPECT_EQ(barFailure("diameter_mm,area_mm2\n12,113\n"), ":1:1: the column \"mass_kg_per_m\" is missing");
    EXPECT_EQ(barFailure("diamter_mm,area_mm2,mass_kg_per_m\n12,113,1\n"), ":1:1: unknown column \"diamter_mm\"");
    EXPECT_EQ(barFailure("# x\n" + header + "12,113,0.888\n12,113,\n"), ":4:8: the value of \"mass_kg_per_m\" is missing");
    EXPECT_EQ(barFailure(header + "12,113,0.888\n12,113,0.888\n"), ":3:1: the size 12 mm stands in line 2 already");
    EXPECT_EQ(barFailure(header + "12,113,0.888\n12.0,113,0.888\n"), ":3:1: the size 12 mm stands in line 2 already");
    EXPECT_EQ(barFailure(header + "0,113,0.888\n"), ":2:1: \"0\" in the column \"diameter_mm\" is not above 0 and up to 1000");
    EXPECT_EQ(barFailure(header + "12,-113,0.888\n"),
              ":2:4: \"-113\" in the column \"area_mm2\" is not above 0 and up to 1000000");
    EXPECT_EQ(barFailure(inchHeader + "3,10,0.375,0.11,0.376\n3,10,0.5,0.11,0.376\n"),
              ":3:1: the size No. 3 stands in line 2 already");
    EXPECT_EQ(barFailure(inchHeader + "3.5,10,0.375,0.11,0.376\n"), ":2:1: 3.5 in the column \"size\" is not a whole number");
    EXPECT_EQ(barFailure(inchHeader + "3,ten,0.375,0.11,0.376\n"),
              ":2:3: \"ten\" in the column \"soft_metric\" is not a number");
    EXPECT_EQ(barFailure(""), ": the file is empty");
}

TEST_F(OktBarTables, SchedulingBends_ExampleTable_RowsOfTheTable)
{
    SchedulingBends const bends = SchedulingBends::load(OKT_EXAMPLES_DIR "/data/bends-bs8666.csv");
    SchedulingBend const *const twelve = bends.find(12);
    ASSERT_NE(twelve, nullptr);
    EXPECT_EQ(twelve->radius, 24);
    EXPECT_EQ(twelve->projection, 125);
    EXPECT_EQ(twelve->linkProjection, 160);
    SchedulingBend const *const thick = bends.find(50);
    ASSERT_NE(thick, nullptr);
    EXPECT_EQ(thick->radius, 175);
    EXPECT_EQ(thick->projection, 475);
    EXPECT_EQ(thick->linkProjection, 725);
    EXPECT_EQ(bends.find(14), nullptr);
    EXPECT_EQ(bends.find(28), nullptr);
}

TEST_F(OktBarTables, SchedulingBends_BadRows_Failure)
{
    std::string const header = "diameter_mm,min_radius_mm,end_projection_general_mm,end_projection_links_mm\n";
    auto const bad = [this](std::string const &text) {
        fs::path const path = put(text);
        return failureOf([&] { SchedulingBends::load(path); });
    };
    EXPECT_EQ(bad(header + "8,16,115,115\n8,16,115,115\n"), ":3:1: the size 8 mm stands here twice");
    EXPECT_EQ(bad(header + "8,16,24,115\n"), ":2:6: the projection ends inside the bend of the radius 16");
    EXPECT_EQ(bad(header + "8,16,115,20\n"), ":2:10: the projection ends inside the bend of the radius 16");
    EXPECT_EQ(bad("diameter_mm,radius\n8,16\n"), ":1:13: unknown column \"radius\"");
}

struct RuleRow
{
    std::string_view rule;
    BarSize size;
    double mandrel; ///< 0: no row
    double hook90;
    double hook135;
    double hook180;
};

TEST_F(OktBarTables, BendRules_EverySize_RowOfTheTable)
{
    BendRules const rules = BendRules::load(OKT_EXAMPLES_DIR "/data/bend-rules.csv");
    RuleRow const rows[] = {
        {kMandrelRule, metric(6), 4, 0, 0, 0},
        {kMandrelRule, metric(16), 4, 0, 0, 0},
        {kMandrelRule, metric(16.5), 7, 0, 0, 0},
        {kMandrelRule, metric(50), 7, 0, 0, 0},
        {kMandrelRule, inch(3, 0.375), 0, 0, 0, 0},
        {kMainHookRule, inch(3, 0.375), 6, 12, 0, 2.5},
        {kMainHookRule, inch(8, 1.0), 6, 12, 0, 4},
        {kMainHookRule, inch(9, 1.128), 8, 12, 0, 4.512},
        {kMainHookRule, inch(11, 1.41), 8, 12, 0, 5.64},
        {kMainHookRule, inch(14, 1.693), 10, 12, 0, 6.772},
        {kMainHookRule, inch(18, 2.257), 10, 12, 0, 9.028},
        {kMainHookRule, inch(16, 2.0), 0, 0, 0, 0},
        {kMainHookRule, metric(12), 0, 0, 0, 0},
        {kStirrupHookRule, inch(3, 0.375), 4, 6, 6, 2.5},
        {kStirrupHookRule, inch(5, 0.625), 4, 6, 6, 2.5},
        {kStirrupHookRule, inch(6, 0.75), 6, 12, 6, 3},
        {kStirrupHookRule, inch(8, 1.0), 6, 12, 6, 4},
        {kStirrupHookRule, inch(9, 1.128), 0, 0, 0, 0},
    };
    for (RuleRow const &row : rows)
    {
        SCOPED_TRACE(std::string(row.rule) + " " + row.size.label());
        BendRule const *const rule = rules.find(row.rule, row.size);
        ASSERT_EQ(rule != nullptr, row.mandrel > 0);
        if (rule == nullptr)
            continue;
        EXPECT_EQ(rule->mandrel, row.mandrel);
        EXPECT_EQ(rule->hook90.value_or(0), row.hook90);
        EXPECT_EQ(rule->hook135.value_or(0), row.hook135);
        EXPECT_DOUBLE_EQ(rule->radius(row.size.diameter), row.mandrel * row.size.diameter / 2);
        EXPECT_EQ(rule->hook180.empty(), row.hook180 == 0);
        if (row.hook180 > 0)
        {
            EXPECT_DOUBLE_EQ(hook180Length(*rule, row.size.diameter), row.hook180);
        }
    }
}

TEST_F(OktBarTables, BendRules_BadRows_Failure)
{
    std::string const header = "rule,applies_to,mandrel_x_d,hook90_x_d,hook135_x_d,hook180,source\n";
    auto const bad = [this](std::string const &text) {
        fs::path const path = put(text);
        return failureOf([&] { BendRules::load(path); });
    };
    for (char const *const scope : {"d < 16 mm", "d <= sixteen mm", "d <= 16", "No. 8 to 3", "No. 3 to", "No. 3 or 4", "all",
                                    "No. -3", "d <= 16 mm and more", "d > nan mm"})
        EXPECT_EQ(bad(header + "r," + scope + ",4,,,,\n"),
                  std::string(":2:3: \"") + scope +
                      "\" is none of \"d <= 16 mm\", \"d > 16 mm\", \"No. 3 to 8\", \"No. 14 and 18\"");
    EXPECT_EQ(bad(header + "r,No. 3,,,,,\n"), ":2:9: the value of \"mandrel_x_d\" is missing");
    EXPECT_EQ(bad(header + "r,No. 3,4,x,,,\n"), ":2:11: \"x\" in the column \"hook90_x_d\" is not a number");
    EXPECT_EQ(bad(header + "r,No. 3,4,,,max(4 d; 2.5 cm),\n"), ":2:26: the formula names 'cm', which is not known here");
    EXPECT_EQ(bad(header + "r,No. 3,4,,,0d,\n"), ":2:13: the formula gives no length");
    EXPECT_EQ(bad(header + "r,No. 5,4,,,,\n"), "no failure");
}

} // namespace
