// SPDX-License-Identifier: MIT
#include <oktrebar/barline.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace okt;

namespace
{

constexpr double kPi = std::numbers::pi;
constexpr double kClose = 1e-9;

void expectPoint(Point point, double x, double y)
{
    EXPECT_NEAR(point.x, x, kClose);
    EXPECT_NEAR(point.y, y, kClose);
}

void expectBox(Box const &box, double left, double bottom, double right, double top)
{
    expectPoint(box.low, left, bottom);
    expectPoint(box.high, right, top);
}

/// Each piece begins where the one ahead of it ends, in its direction.
void expectSmooth(BarLine const &line)
{
    for (std::size_t i = 1; i < line.pieces().size(); ++i)
    {
        BarPiece const &before = line.pieces()[i - 1];
        BarPiece const &piece = line.pieces()[i];
        expectPoint(piece.from, before.to.x, before.to.y);
        EXPECT_NEAR(piece.heading, before.heading + before.turn, kClose);
    }
}

BarFigures link(double hookAngle, double straight)
{
    BarFigures figures;
    figures.diameter = 12;
    figures.radius = 24;
    figures.length = 400;
    figures.width = 250;
    figures.first = {hookAngle, straight};
    figures.second = figures.first;
    return figures;
}

TEST(OktBarLine, Straight_EveryHeading_EndsWhereItLeads)
{
    struct Row
    {
        double heading, x, y;
    };
    for (Row const &row : {Row{0, 11, 2}, Row{90, 1, 12}, Row{180, -9, 2}, Row{-90, 1, -8}, Row{270, 1, -8}, Row{-450, 1, -8},
                           Row{45, 1 + 10 / std::sqrt(2.0), 2 + 10 / std::sqrt(2.0)}, Row{60, 6, 2 + 5 * std::sqrt(3.0)}})
    {
        BarLine line({1, 2}, row.heading);
        line.straight(10);
        expectPoint(line.end(), row.x, row.y);
        EXPECT_EQ(line.heading(), row.heading);
        EXPECT_EQ(line.length(), 10);
    }
}

TEST(OktBarLine, Bend_LeftAndRight_ArcTouchesBothSides)
{
    BarLine left({0, 0}, 0);
    left.straight(10).bend(90, 4).straight(10);
    ASSERT_EQ(left.pieces().size(), 3u);
    expectPoint(left.pieces()[1].centre, 10, 4);
    expectPoint(left.pieces()[1].to, 14, 4);
    expectPoint(left.end(), 14, 14);
    EXPECT_NEAR(left.length(), 20 + 2 * kPi, kClose);

    BarLine right({0, 0}, 0);
    right.bend(-135, 4);
    expectPoint(right.pieces()[0].centre, 0, -4);
    expectPoint(right.end(), 4 / std::sqrt(2.0), -4 - 4 / std::sqrt(2.0));
    EXPECT_EQ(right.heading(), -135);
    EXPECT_NEAR(right.length(), 3 * kPi, kClose);

    BarLine half({5, 0}, 0);
    half.bend(180, 2);
    expectPoint(half.end(), 5, 4);
    EXPECT_EQ(half.heading(), 180);
}

TEST(OktBarLine, StraightAndBend_NothingToAdd_NoPiece)
{
    BarLine line({1, 1}, 30);
    line.straight(0).straight(-5).bend(0, 4).bend(90, 0).bend(90, -1).straight(std::nan(""));
    EXPECT_TRUE(line.pieces().empty());
    EXPECT_EQ(line.length(), 0);
    expectPoint(line.end(), 1, 1);
    expectBox(line.box(10), 1, 1, 1, 1);
}

TEST(OktBarLine, Box_Thickness_OnBothSidesButNotAtTheEnds)
{
    BarLine line({0, 0}, 0);
    line.straight(100);
    expectBox(line.box(12), 0, -6, 100, 6);
}

// The outermost place of a bend is neither its beginning nor its end.
TEST(OktBarLine, Box_BendOverAnAxis_ReachesTheOutsideOfTheBend)
{
    BarLine half({0, 0}, 0);
    half.bend(180, 10);
    expectBox(half.box(4), 0, -2, 12, 22);
    BarLine other({0, 0}, 180);
    other.bend(-180, 10);
    expectBox(other.box(4), -12, -2, 0, 22);
    BarLine slanting({0, 0}, 45);
    slanting.bend(90, 10);
    EXPECT_NEAR(slanting.box(4).high.x, -10 / std::sqrt(2.0) + 12, kClose);
}

TEST(OktBarLine, Between_PartsOfStraightAndBend_LieOnTheLine)
{
    BarLine line({0, 0}, 0);
    line.straight(10).bend(90, 4).straight(10);
    double const arc = 2 * kPi;
    BarLine const part = line.between(5, 10 + arc / 2);
    ASSERT_EQ(part.pieces().size(), 2u);
    expectPoint(part.pieces()[0].from, 5, 0);
    EXPECT_NEAR(part.length(), 5 + arc / 2, kClose);
    EXPECT_NEAR(part.heading(), 45, kClose);
    expectPoint(part.end(), 10 + 4 / std::sqrt(2.0), 4 - 4 / std::sqrt(2.0));

    expectPoint(line.between(-3, 1000).end(), 14, 14);
    EXPECT_NEAR(line.between(-3, 1000).length(), line.length(), kClose);
    EXPECT_TRUE(line.between(7, 7).pieces().empty());
    EXPECT_TRUE(line.between(100, 200).pieces().empty());
    expectSmooth(line.between(1, 20));
}

TEST(OktBarLine, LinkLine_HooksOf135Degrees_OuterSizeAndLengthOfTheCentreLine)
{
    BarFigures const figures = link(135, 72);
    BarLine const line = linkLine(figures);
    expectSmooth(line);
    expectBox(line.box(12), 0, 0, 400, 250);
    // Four sides less two bend places at each corner, three bends of 90 and two of 135 degrees, two ends.
    EXPECT_NEAR(line.length(), 2 * (400 + 250) - 8 * (24 + 12) + 3 * kPi * 30 + 2 * 72, kClose);
    // Both ends point into the link, side by side.
    EXPECT_NEAR(line.pieces().front().heading, 135, kClose);
    EXPECT_NEAR(line.heading(), -405, kClose);
    Point const first = line.pieces().front().from;
    Point const second = line.end();
    EXPECT_NEAR(std::hypot(first.x - second.x, first.y - second.y), 2 * 30, kClose);
    EXPECT_LT(first.x, second.x);
    EXPECT_LT(first.y, second.y);
    EXPECT_LT(second.x, 200);
}

TEST(OktBarLine, LinkLine_HooksOf90Degrees_LieBesideTheSidesTheyLap)
{
    // End projection of 160, from the outside of the bend.
    BarFigures const figures = link(90, 160 - 24 - 12);
    BarLine const line = linkLine(figures);
    expectSmooth(line);
    expectBox(line.box(12), 0, 0, 400, 250);
    expectPoint(line.pieces().front().from, 18, 250 - 160);
    expectPoint(line.end(), 160, 250 - 18);
    // One diameter less of two sides than when the ends lay in one plane with them.
    EXPECT_NEAR(line.length(), 2 * (400 + 250) - 8 * 36 + 2.5 * kPi * 30 + 2 * 124 - 2 * 12, kClose);
}

TEST(OktBarLine, HookedLine_RightAngles_EndsStandUp)
{
    BarFigures figures;
    figures.diameter = 12;
    figures.radius = 24;
    figures.length = 2000;
    figures.first = {90, 125 - 36};
    figures.second = {90, 100 - 36};
    BarLine const line = hookedLine(figures);
    expectSmooth(line);
    expectBox(line.box(12), 0, 0, 2000, 125);
    expectPoint(line.pieces().front().from, 6, 125);
    expectPoint(line.end(), 1994, 100);
}

TEST(OktBarLine, HookedLine_HalfTurn_EndLiesAboveTheBar)
{
    BarFigures figures;
    figures.diameter = 0.5;
    figures.radius = 1.5;
    figures.length = 120;
    figures.first = {90, 6};
    figures.second = {180, 2.5};
    BarLine const line = hookedLine(figures);
    expectSmooth(line);
    EXPECT_NEAR(line.length(), 120 - 2 * 2 + 1.5 * kPi * 1.75 + 6 + 2.5, kClose);
    expectPoint(line.pieces().front().from, 0.25, 2 + 6);
    expectPoint(line.end(), 120 - 2 - 2.5, 0.25 + 2 * 1.75);
    expectBox(line.box(0.5), 0, 0, 120, 8);
    EXPECT_EQ(line.heading(), 180);
}

} // namespace
