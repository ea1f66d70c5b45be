// SPDX-License-Identifier: MIT
#include <oktrebar/templategeometry.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

using namespace okt;

namespace
{

Plans plansOf(char const *table)
{
    std::filesystem::path const folder = OKT_EXAMPLES_DIR "/data";
    BarTable const bars = BarTable::load(folder / table);
    BendRules const rules = BendRules::load(folder / "bend-rules.csv");
    if (bars.units == Units::Inch)
        return inchPlans(bars, rules);
    return metricPlans(bars, SchedulingBends::load(folder / "bends-bs8666.csv"), rules,
                       ShapeLengths::load(folder / "shape-lengths-bs8666.csv"));
}

TemplatePlan planOf(char const *table, std::string const &fileName)
{
    for (TemplatePlan const &plan : plansOf(table).templates)
        if (plan.fileName == fileName)
            return plan;
    ADD_FAILURE() << "no " << fileName;
    return {};
}

OKTGeXYZ step(OKTGeXYZ const &from, OKTGeXYZ const &to)
{
    return OKTGeXYZ(to.X() - from.X(), to.Y() - from.Y(), to.Z() - from.Z());
}

double length(OKTGeXYZ const &vector) { return std::hypot(vector.X(), vector.Y(), vector.Z()); }

/// Degrees between two steps.
double turn(OKTGeXYZ const &a, OKTGeXYZ const &b)
{
    double const cosine = (a.X() * b.X() + a.Y() * b.Y()) / (length(a) * length(b));
    return std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / std::numbers::pi;
}

/// The length of the centre line: an arc in place of the tangents at each corner.
double developed(BarGeometry const &geometry)
{
    double sum = 0;
    std::vector<Corner> const &corners = geometry.corners;
    for (std::size_t i = 1; i < corners.size(); ++i)
        sum += length(step(corners[i - 1].point, corners[i].point));
    for (std::size_t i = 1; i + 1 < corners.size(); ++i)
    {
        double const angle = turn(step(corners[i - 1].point, corners[i].point), step(corners[i].point, corners[i + 1].point)) *
                             std::numbers::pi / 180;
        double const radius = corners[i].bendRadius + geometry.diameter / 2;
        sum += radius * (angle - 2 * std::tan(angle / 2));
    }
    return sum;
}

std::vector<int> turnsOf(BarGeometry const &geometry)
{
    std::vector<int> turns;
    std::vector<Corner> const &corners = geometry.corners;
    for (std::size_t i = 1; i + 1 < corners.size(); ++i)
        turns.push_back(static_cast<int>(std::lround(
            10 * turn(step(corners[i - 1].point, corners[i].point), step(corners[i].point, corners[i + 1].point)))));
    return turns;
}

} // namespace

TEST(OktTemplateGeometry, GeometryOf_InchLink_LengthOfTheCentreLineIsTheCuttingLength)
{
    BarGeometry const geometry = geometryOf(planOf("bars-astm-a615.csv", "link-no4.okt"));
    EXPECT_DOUBLE_EQ(geometry.diameter, 0.5);
    // Hooks of 135 degrees have two corners of 67.5 each.
    EXPECT_EQ(turnsOf(geometry), (std::vector<int>{675, 675, 900, 900, 900, 675, 675}));
    EXPECT_NEAR(developed(geometry), 57.780972450961724, 1e-9);
    EXPECT_EQ(geometry.corners.front().bendRadius, 0);
    EXPECT_EQ(geometry.corners.back().bendRadius, 0);
    for (std::size_t i = 1; i + 1 < geometry.corners.size(); ++i)
        EXPECT_DOUBLE_EQ(geometry.corners[i].bendRadius, 1.0);
}

TEST(OktTemplateGeometry, GeometryOf_EveryInchTemplate_LengthOfTheCentreLineIsTheCuttingLength)
{
    int bent = 0;
    for (TemplatePlan const &plan : plansOf("bars-astm-a615.csv").templates)
    {
        // The cutting length is the last of the lengths in the list.
        ParameterPlan const *cut = nullptr;
        for (int i = 0; i < 5 && plan.kind != TemplateKind::Mesh; ++i)
            if (ParameterPlan const *const found = plan.find({types::kLength, i});
                found != nullptr && found->key.listIndex == 0)
                cut = found;
        if (plan.kind == TemplateKind::Mesh)
            cut = plan.find({types::kLength, 1});
        ASSERT_NE(cut, nullptr) << plan.fileName;
        EXPECT_NEAR(developed(geometryOf(plan)), std::get<double>(cut->value), 1e-9) << plan.fileName;
        bent += plan.kind == TemplateKind::Mesh ? 0 : 1;
    }
    EXPECT_EQ(bent, 17);
}

TEST(OktTemplateGeometry, GeometryOf_Hooked180_TwoCornersOf90)
{
    BarGeometry const geometry = geometryOf(planOf("bars-astm-a615.csv", "hooked-no4.okt"));
    EXPECT_EQ(turnsOf(geometry), (std::vector<int>{900, 900, 900}));
}

TEST(OktTemplateGeometry, GeometryOf_MetricHooked_OuterDimensionsOfShape21)
{
    TemplatePlan const plan = planOf("bars-en10080.csv", "hooked-d12.okt");
    BarGeometry const geometry = geometryOf(plan);
    ASSERT_EQ(geometry.corners.size(), 4u);
    EXPECT_DOUBLE_EQ(geometry.diameter, 12);
    EXPECT_DOUBLE_EQ(geometry.corners[1].bendRadius, std::get<double>(plan.find({types::kBendingRadius, 0})->value));
    // Between the corners of the centre line lies the outer dimension less half a diameter at each side.
    EXPECT_NEAR(length(step(geometry.corners[1].point, geometry.corners[2].point)), 2000 - 12, 1e-9);
    double const projection = std::get<double>(plan.find({types::kLength, 1})->value);
    EXPECT_NEAR(length(step(geometry.corners[0].point, geometry.corners[1].point)), projection - 6, 1e-9);
}

TEST(OktTemplateGeometry, GeometryOf_Mesh_OneStraightBar)
{
    BarGeometry const geometry = geometryOf(planOf("bars-en10080.csv", "mesh-d8.okt"));
    ASSERT_EQ(geometry.corners.size(), 2u);
    EXPECT_EQ(geometry.corners[0].point, OKTGeXYZ(0, 0, 0));
    EXPECT_EQ(geometry.corners[1].point, OKTGeXYZ(4800, 0, 0));
    EXPECT_DOUBLE_EQ(geometry.diameter, 8);
}

TEST(OktTemplateGeometry, GeometryOf_AnotherKind_NoCorners) { EXPECT_TRUE(geometryOf(TemplatePlan()).corners.empty()); }
