// SPDX-License-Identifier: MIT
#include <oktdatabase/oktgexyz.h>

#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/reporttext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <random>

using ::testing::ElementsAre;

namespace
{
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectCoordinates(OKTGeXYZ const &point, double x, double y, double z)
{
    EXPECT_EQ(point.X(), x);
    EXPECT_EQ(point.Y(), y);
    EXPECT_EQ(point.Z(), z);
}
} // namespace

// --- The value ---------------------------------------------------------------------------------------------------------------

TEST(OKTGeXYZ, Construct_Default_Zero)
{
    expectCoordinates(OKTGeXYZ(), 0.0, 0.0, 0.0);
    EXPECT_TRUE(OKTGeXYZ() == OKTGeXYZ(0, 0, 0));
}

TEST(OKTGeXYZ, Class_NothingVirtual_ThreeDoubles)
{
    static_assert(!std::is_polymorphic_v<OKTGeXYZ>);
    static_assert(sizeof(OKTGeXYZ) == 3 * sizeof(double));
}

TEST(OKTGeXYZ, SetAndGet_EachCoordinate)
{
    OKTGeXYZ point(1.5, -2.5, 1e300);
    expectCoordinates(point, 1.5, -2.5, 1e300);
    point.setX(4);
    point.setY(5);
    point.setZ(6);
    expectCoordinates(point, 4, 5, 6);
    point.setCoordinates(7, 8, 9);
    double x = 0;
    double y = 0;
    double z = 0;
    point.getCoordinates(x, y, z);
    EXPECT_EQ(x, 7);
    EXPECT_EQ(y, 8);
    EXPECT_EQ(z, 9);
}

TEST(OKTGeXYZ, CopyAndAssign_Memberwise)
{
    OKTGeXYZ const point(1, 2, 3);
    OKTGeXYZ const copy(point);
    OKTGeXYZ assigned;
    assigned = point;
    expectCoordinates(copy, 1, 2, 3);
    expectCoordinates(assigned, 1, 2, 3);
}

// --- Comparison --------------------------------------------------------------------------------------------------------------

struct ComparisonRow
{
    OKTGeXYZ a;
    OKTGeXYZ b;
    bool equal;
    bool greater;
    bool smaller;
};

static void PrintTo(ComparisonRow const &row, std::ostream *out)
{
    *out << '(' << row.a.X() << ", " << row.a.Y() << ", " << row.a.Z() << ") and (" << row.b.X() << ", " << row.b.Y() << ", "
         << row.b.Z() << ')';
}

class OKTGeXYZComparison : public ::testing::TestWithParam<ComparisonRow>
{
};

TEST_P(OKTGeXYZComparison, Operators_Row_AsListed_Quirk68)
{
    ComparisonRow const &row = GetParam();
    EXPECT_EQ(row.a == row.b, row.equal);
    EXPECT_EQ(row.a != row.b, !row.equal);
    EXPECT_EQ(row.a > row.b, row.greater);
    EXPECT_EQ(row.a < row.b, row.smaller);
}

INSTANTIATE_TEST_SUITE_P(Rows, OKTGeXYZComparison,
                         ::testing::Values(ComparisonRow{{0, 0, 0}, {0, 0, 0}, true, false, false},
                                           ComparisonRow{{1, 2, 3}, {1, 2, 3}, true, false, false},
                                           // equality: a box of half-width 1e-10, the limit itself outside in double arithmetic
                                           ComparisonRow{{0, 0, 0}, {9e-11, 0, 0}, true, false, false},
                                           ComparisonRow{{0, 0, 0}, {0, -9e-11, 0}, true, false, false},
                                           ComparisonRow{{0, 0, 0}, {1e-10, 0, 0}, false, false, false},
                                           ComparisonRow{{0, 0, 0}, {0, 1e-10, 0}, false, false, false},
                                           ComparisonRow{{0, 0, 0}, {0, 0, 1e-10}, false, false, false},
                                           ComparisonRow{{9e-11, 9e-11, 9e-11}, {0, 0, 0}, true, false, false},
                                           ComparisonRow{{0, 0, 0}, {2e-10, 0, 0}, false, false, true},
                                           ComparisonRow{{2e-10, 0, 0}, {0, 0, 0}, false, true, false},
                                           // order: each axis for itself, joined with "or"
                                           ComparisonRow{{1, 0, 0}, {0, 1, 0}, false, true, true},
                                           ComparisonRow{{0, 0, 1}, {0, 1, 0}, false, true, true},
                                           ComparisonRow{{1, 2, 3}, {1, 2, 2}, false, true, false},
                                           ComparisonRow{{1, 2, 3}, {1, 3, 3}, false, false, true},
                                           ComparisonRow{{1, 2, 3}, {2, 2, 3}, false, false, true},
                                           ComparisonRow{{5, 0, 0}, {1, 9, 9}, false, true, true},
                                           ComparisonRow{{-1, -1, -1}, {-2, -2, -2}, false, true, false},
                                           // order: the tolerance at 1 is 2e-10
                                           ComparisonRow{{1 + 1e-10, 0, 0}, {1, 0, 0}, false, false, false},
                                           ComparisonRow{{1 + 3e-10, 0, 0}, {1, 0, 0}, false, true, false},
                                           ComparisonRow{{1 - 1e-10, 0, 0}, {1, 0, 0}, false, false, false},
                                           ComparisonRow{{1 - 3e-10, 0, 0}, {1, 0, 0}, false, false, true},
                                           ComparisonRow{{-1 - 1e-10, 0, 0}, {-1, 0, 0}, false, false, false},
                                           ComparisonRow{{-1 - 3e-10, 0, 0}, {-1, 0, 0}, false, false, true},
                                           // equality is absolute, order relative: unequal, and yet neither greater nor smaller
                                           ComparisonRow{{1e6 + 1e-9, 0, 0}, {1e6, 0, 0}, false, false, false},
                                           ComparisonRow{{1e6 - 1e-9, 0, 0}, {1e6, 0, 0}, false, false, false},
                                           ComparisonRow{{1e6 + 2e-4, 0, 0}, {1e6, 0, 0}, false, true, false},
                                           // what is no number is unequal to everything, itself included
                                           ComparisonRow{{kNaN, 0, 0}, {kNaN, 0, 0}, false, false, false},
                                           ComparisonRow{{0, 0, kNaN}, {0, 0, 0}, false, false, false},
                                           ComparisonRow{{kNaN, 2, 0}, {0, 1, 0}, false, true, false}));

TEST(OKTGeXYZ, Order_NearTheLimit_FollowsTheRightOperandOnly_Quirk68)
{
    OKTGeXYZ const zero(0, 0, 0);
    OKTGeXYZ const a(1e-10 + 0.5e-20, 0, 0); // beyond the tolerance at 0, within that at a
    EXPECT_TRUE(a > zero);
    EXPECT_FALSE(zero < a);
}

TEST(OKTGeXYZ, Operators_RandomPoints_AsTheirDefinitions)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int i = 0; i < 20000; ++i)
    {
        double const scale = std::pow(10.0, unit(random) * 7);
        double const step = std::pow(10.0, -9.0 + 2 * unit(random)) * std::max(1.0, scale);
        double a[3];
        double b[3];
        bool equal = true;
        bool greater = false;
        bool smaller = false;
        for (int d = 0; d < 3; ++d)
        {
            b[d] = unit(random) * scale;
            a[d] = random() % 2 == 0 ? b[d] : b[d] + unit(random) * step;
            double const tolerance = 1e-10 + 1e-10 * std::fabs(b[d]);
            equal = equal && (a[d] - b[d]) * (a[d] - b[d]) <= 1e-20;
            greater = greater || a[d] > b[d] + tolerance;
            smaller = smaller || b[d] - tolerance > a[d];
        }
        OKTGeXYZ const left(a[0], a[1], a[2]);
        OKTGeXYZ const right(b[0], b[1], b[2]);
        ASSERT_EQ(left == right, equal);
        ASSERT_EQ(left != right, !equal);
        ASSERT_EQ(left > right, greater);
        ASSERT_EQ(left < right, smaller);
    }
}

// --- The stored form ---------------------------------------------------------------------------------------------------------

TEST(OKTGeXYZ, XmlOut_Point_FrameUnderTheCallersName)
{
    ScriptedFiler filer;
    EXPECT_EQ(OKTGeXYZ(1, 2.5, -3).xmlOut(u"m_pntCamera", &filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginWriteClass m_pntCamera OKTGeXYZ 1", "beginWriteMembers 1", "writeDouble m_dfX 1",
                            "writeDouble m_dfY 2.5", "writeDouble m_dfZ -3", "endWriteMembers", "endWriteClass"));
}

TEST(OKTGeXYZ, XmlIn_Point_FrameUnderTheCallersName)
{
    ScriptedFiler filer;
    for (double const value : {1.0, 2.5, -3.0})
        filer.giveDouble(value);
    OKTGeXYZ point(7, 8, 9);
    EXPECT_EQ(point.xmlIn(u"m_pntCamera", &filer), eFilerOk);
    expectCoordinates(point, 1, 2.5, -3);
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass m_pntCamera OKTGeXYZ", "beginReadMembers 1", "readDouble m_dfX",
                                           "readDouble m_dfY", "readDouble m_dfZ", "endReadMembers", "endReadClass"));
}

TEST(OKTGeXYZ, XmlOutAndIn_BinaryFiler_EveryBit)
{
    for (double const value : {0.1, -0.0, 1e308, 5e-324, -DBL_MAX})
    {
        OKTMemoryFiler filer;
        ASSERT_EQ(OKTGeXYZ(value, 1, value).xmlOut(u"p", &filer), eFilerOk);
        ASSERT_TRUE(filer.setInternalIsWriteEnabled(false));
        OKTGeXYZ point;
        EXPECT_EQ(point.xmlIn(u"p", &filer), eFilerOk);
        expectCoordinates(point, value, 1, value);
        EXPECT_EQ(std::signbit(point.X()), std::signbit(value));
    }
}

TEST(OKTGeXYZ, XmlOutAndIn_NullFiler_Status3AndUnchanged)
{
    OKTGeXYZ point(1, 2, 3);
    EXPECT_EQ(point.xmlOut(u"p", nullptr), eFilerNoFiler);
    EXPECT_EQ(point.xmlIn(u"p", nullptr), eFilerNoFiler);
    expectCoordinates(point, 1, 2, 3);
}

TEST(OKTGeXYZ, XmlOutAndIn_FrameRefused_Status4AndNothingMore)
{
    OKTGeXYZ point(1, 2, 3);
    ScriptedFiler filer;
    filer.failAt("beginWriteClass", 1);
    filer.failAt("beginReadClass", 1);
    EXPECT_EQ(point.xmlOut(u"p", &filer), eFilerClassFailed);
    EXPECT_EQ(point.xmlIn(u"p", &filer), eFilerClassFailed);
    EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass p OKTGeXYZ 1", "beginReadClass p OKTGeXYZ"));
    expectCoordinates(point, 1, 2, 3);
}

TEST(OKTGeXYZ, XmlOutAndIn_NoSection_Status5AfterTheEndOfTheFrame)
{
    OKTGeXYZ point(1, 2, 3);
    ScriptedFiler filer;
    filer.failAt("beginWriteMembers", 1);
    filer.failAt("beginReadMembers", 1);
    EXPECT_EQ(point.xmlOut(u"p", &filer), eFilerNoMembers);
    EXPECT_EQ(point.xmlIn(u"p", &filer), eFilerNoMembers);
    EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass p OKTGeXYZ 1", "beginWriteMembers 1", "endWriteClass",
                                           "beginReadClass p OKTGeXYZ", "beginReadMembers 1", "endReadClass"));
    expectCoordinates(point, 1, 2, 3);
}

TEST(OKTGeXYZ, XmlOutAndIn_OneMemberFails_Status1AndTheOthersTried)
{
    for (int n = 1; n <= 3; ++n)
    {
        ScriptedFiler filer;
        filer.failAt("writeDouble", n);
        filer.failAt("readDouble", n);
        OKTGeXYZ point;
        EXPECT_EQ(point.xmlOut(u"p", &filer), eFilerMemberFailed);
        EXPECT_EQ(filer.calls().size(), 7u);
        EXPECT_EQ(point.xmlIn(u"p", &filer), eFilerMemberFailed);
        EXPECT_EQ(filer.calls().size(), 14u);
    }
}

TEST(OKTGeXYZ, XmlIn_ReadFails_FailureValueOfTheFilerInThePoint)
{
    OKTMemoryFiler filer;
    filer.beginWriteClass(u"p", u"OKTGeXYZ", 1);
    filer.beginWriteMembers(1);
    filer.writeDouble(u"m_dfX", 4.0);
    filer.writeInt(u"m_dfY", 5);
    filer.writeDouble(u"m_dfZ", 6.0);
    filer.endWriteMembers();
    filer.endWriteClass();
    filer.setInternalIsWriteEnabled(false);
    OKTGeXYZ point(1, 2, 3);
    EXPECT_EQ(point.xmlIn(u"p", &filer), eFilerMemberFailed);
    expectCoordinates(point, 4.0, -DBL_MAX, -DBL_MAX); // the third read finds the int still standing there
}

TEST(OKTGeXYZ, XmlOutAndIn_FilerThrows_ReportAndSuccess_Quirk6)
{
    ScriptedFiler filer;
    filer.giveDouble(4.0);
    filer.throwAt("writeDouble", 2);
    filer.throwAt("readDouble", 2);
    ReportCatcher reports;
    OKTGeXYZ point(1, 2, 3);
    EXPECT_EQ(point.xmlOut(u"p", &filer), eFilerOk);
    EXPECT_EQ(point.xmlIn(u"p", &filer), eFilerOk);
    expectCoordinates(point, 4, 2, 3);
    ASSERT_EQ(reports.count(), 2u);
    EXPECT_THAT(reports.texts()[0], IsReportOf("oktgexyz"));
}
