// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>
#include <oktrebar/csvtable.h>
#include <oktrebar/cuttinglength.h>
#include <oktrebar/formula.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

using namespace okt;

namespace
{

ShapeLengths table() { return ShapeLengths::load(OKT_EXAMPLES_DIR "/data/shape-lengths-bs8666.csv"); }

// A = 300, B = 200, C = 150, D = 100, E = 80, R = 500, r = 24, d = 12
constexpr ShapeDimensions kBar = {300, 200, 150, 100, 80, 500, 24, 12};

TEST(OktCuttingLength, Length_EveryCodeOfTheTable_AsComputedByHand)
{
    std::map<std::string, double> const expected = {
        {"00", 300},
        {"11", 476},
        {"12", 270.6},
        {"13", 544.8},
        {"15", 450},
        {"21", 602},
        {"22", 678},
        {"33", 1192},
        {"41", 734},
        {"44", 734},
        {"46", 930},
        {"47", 1100},
        {"51", 1180},
        {"63", 1356},
        {"75", 1104.7786842338604},
        {"77", 135716.80263507906},
    };
    ShapeLengths const shapes = table();
    std::vector<std::string> const codes = shapes.codes();
    ASSERT_EQ(codes.size(), expected.size());
    for (std::string const &code : codes)
    {
        ASSERT_EQ(expected.count(code), 1u) << code;
        EXPECT_NEAR(shapes.length(code, kBar), expected.at(code), 1e-6) << code;
    }
}

TEST(OktCuttingLength, Length_WorkedFigures_Agree)
{
    ShapeLengths const shapes = table();
    CsvTable const worked = CsvTable::load(OKT_EXAMPLES_DIR "/data/worked.csv");
    ASSERT_EQ(worked.rows().size(), 2u);
    for (CsvRow const &row : worked.rows())
    {
        ShapeDimensions bar;
        bar.A = worked.positive(row, "A_mm", 1e6);
        bar.B = worked.positive(row, "B_mm", 1e6);
        bar.radius = worked.positive(row, "radius_mm", 1e6);
        bar.diameter = worked.positive(row, "diameter_mm", 1e6);
        double const length = worked.positive(row, "length_mm", 1e6);
        std::string const &code = worked.text(row, "code");
        std::string const &third = worked.text(row, "C_mm");
        if (third == "min form " + std::string(kShortestLinkFormula))
        {
            EXPECT_EQ(code, "51");
            EXPECT_DOUBLE_EQ(shortestLinkLength(bar.A, bar.B, bar.diameter), length);
            continue;
        }
        bar.C = worked.positive(row, "C_mm", 1e6);
        EXPECT_DOUBLE_EQ(shapes.length(code, bar), length) << code;
    }
}

TEST(OktCuttingLength, Length_WorkedFiguresSpelledOut_752And1460)
{
    EXPECT_DOUBLE_EQ(table().length("21", {300, 200, 300, 0, 0, 0, 24, 12}), 752);
    EXPECT_DOUBLE_EQ(shortestLinkLength(400, 250, 8), 1460);
}

TEST(OktCuttingLength, ShortestLink_AboveTenMillimetres_EndsGrowWithTheBar)
{
    EXPECT_DOUBLE_EQ(shortestLinkLength(400, 250, 10), 1460);
    EXPECT_DOUBLE_EQ(shortestLinkLength(400, 250, 12), 1492);
}

TEST(OktCuttingLength, Length_UnknownCode_FailureThatNamesFileAndCode)
{
    try
    {
        table().length("34", kBar);
        FAIL();
    }
    catch (Failure const &failure)
    {
        EXPECT_EQ(std::string(failure.what()),
                  OKT_EXAMPLES_DIR "/data/shape-lengths-bs8666.csv: the shape code \"34\" is missing");
    }
}

TEST(OktCuttingLength, DevelopedLength_StraightAndBends_CentreLine)
{
    EXPECT_DOUBLE_EQ(developedLength({500}, {}, 24, 12), 500);
    // A right angle on the centre line of r + d/2 = 30: 15 pi.
    EXPECT_NEAR(developedLength({100, 200}, {90}, 24, 12), 300 + 47.1238898038469, 1e-9);
    EXPECT_NEAR(developedLength({100, 200, 50}, {90, 180}, 24, 12), 350 + 141.3716694115407, 1e-9);
}

// The table's deduction for a bend, 0.5 r + d from the sum of outer dimensions, is the developed length but for rounding.
TEST(OktCuttingLength, DevelopedLength_ShapeElevenAndTwentyOne_NearTheTable)
{
    double const outer = 36;
    EXPECT_NEAR(developedLength({300 - outer, 200 - outer}, {90}, 24, 12), table().length("11", kBar), 2);
    EXPECT_NEAR(developedLength({300 - outer, 200 - 2 * outer, 150 - outer}, {90, 90}, 24, 12), table().length("21", kBar), 4);
}

} // namespace
