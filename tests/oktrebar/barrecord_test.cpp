// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>
#include <oktrebar/cuttinglength.h>
#include <oktrebar/planline.h>
#include <oktrebar/poolbuilder.h>
#include <oktrebar/recordtemplate.h>
#include <oktrebar/shapecode.h>

#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

namespace
{

using namespace okt;
using testing::HasSubstr;

constexpr char kOne[] = "BF2D@HjTestPDF@r417@ia@p1@l1000@n10@e0.888@d12@gB500A@s48@v@Gl400@w90@l600@w0@C72@";
constexpr char kTwo[] = "BF2D@HjTestPDF@r417@ia@p1@l1224@n10@e1.087@d12@gB500A@s48@v@"
                        "Gl100@w90@l300@w45@l424@w-45@l300@w-90@l100@w0@C82@";

/// The line with the check sum that it should have.
std::string proved(std::string const &upToC) { return upToC + std::to_string(bf2dCheckSum(upToC)) + "@"; }

BarTable const &bars()
{
    static BarTable const table = BarTable::load(OKT_EXAMPLES_DIR "/data/bars-en10080.csv");
    return table;
}

void expectFault(std::string const &line, std::size_t column, std::string const &reason)
{
    try
    {
        parseBf2d(line);
        ADD_FAILURE() << "taken: " << line;
    }
    catch (Bf2dFault const &fault)
    {
        EXPECT_EQ(fault.column, column) << line << '\n' << fault.reason;
        EXPECT_THAT(fault.reason, HasSubstr(reason));
    }
}

/// The record with one piece replaced, and a check sum that fits.
std::string changed(std::string const &from, std::string const &to)
{
    std::string line = std::string(kOne).substr(0, std::string(kOne).rfind('C') + 1);
    line.replace(line.find(from), from.size(), to);
    return proved(line);
}

/// A bar whose mass is that of its length, and whose bends fit in its legs.
Bf2dRecord randomRecord(std::mt19937 &random)
{
    auto const upTo = [&random](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
    auto const text = [&](int longest) {
        std::string result;
        for (int i = upTo(longest); i > 0; --i)
        {
            char const c = static_cast<char>(0x20 + upTo(0x5E));
            result += c == '@' ? '#' : c;
        }
        return result;
    };
    Bf2dRecord record;
    record.project = text(30);
    record.drawing = text(10);
    record.index = text(3);
    record.position = text(5);
    record.grade = text(8);
    record.count = 1 + upTo(5000);
    BarSize const &size = bars().sizes[static_cast<std::size_t>(upTo(static_cast<int>(bars().sizes.size()) - 1))];
    record.diameter = size.diameter;
    record.mandrel = 4 * size.diameter + upTo(10) * 0.5;
    if (upTo(1) == 1)
        record.other = text(6);
    int const legs = 1 + upTo(7);
    double thousandths = 0;
    for (int i = 0; i < legs; ++i)
    {
        double const length = 1000000 + upTo(900000); // in thousandths of a millimetre
        thousandths += length;
        int const angle = upTo(179) + 1;
        record.legs.push_back({length / 1000, i + 1 == legs ? 0 : (upTo(1) == 1 ? angle : -angle) + upTo(3) * 0.25});
        if (record.legs.back().angle > 180)
            record.legs.back().angle = 180;
    }
    record.length = thousandths / 1000;
    record.mass = std::round(record.length * size.mass) / 1000;
    return record;
}

// ---- Lines -------------------------------------------------------------------------------------------------------------------

TEST(OktBf2d, CheckSum_TheExamples_AsTheyTell)
{
    EXPECT_EQ(bf2dCheckSum(std::string_view(kOne).substr(0, std::string_view(kOne).rfind('C') + 1)), 72);
    EXPECT_EQ(bf2dCheckSum(std::string_view(kTwo).substr(0, std::string_view(kTwo).rfind('C') + 1)), 82);
    EXPECT_EQ(bf2dCheckSum(""), 96);
    EXPECT_EQ(bf2dCheckSum("?"), 65);
}

TEST(OktBf2d, Parse_TheExamples_AllFields)
{
    Bf2dRecord const one = parseBf2d(kOne);
    EXPECT_EQ(one.project, "TestPDF");
    EXPECT_EQ(one.drawing, "417");
    EXPECT_EQ(one.index, "a");
    EXPECT_EQ(one.position, "1");
    EXPECT_EQ(one.length, 1000);
    EXPECT_EQ(one.count, 10);
    EXPECT_EQ(one.mass, 0.888);
    EXPECT_EQ(one.diameter, 12);
    EXPECT_EQ(one.grade, "B500A");
    EXPECT_EQ(one.mandrel, 48);
    EXPECT_EQ(one.other, "");
    EXPECT_EQ(one.legs, (std::vector<Bf2dLeg>{{400, 90}, {600, 0}}));
    EXPECT_EQ(parseBf2d(kTwo).legs, (std::vector<Bf2dLeg>{{100, 90}, {300, 45}, {424, -45}, {300, -90}, {100, 0}}));
    EXPECT_EQ(bf2dLine(one), kOne);
    EXPECT_EQ(bf2dLine(parseBf2d(kTwo)), kTwo);
}

TEST(OktBf2d, Parse_WrongLines_ColumnAndReason)
{
    expectFault("", 1, "a record begins with \"BF2D@\"");
    expectFault("bf2d@" + std::string(kOne).substr(5), 1, "a record begins with \"BF2D@\"");
    expectFault(" " + std::string(kOne), 1, "a record begins with \"BF2D@\"");
    expectFault("BF2D@", 6, "here is the end of the line, where the header begins with \"H\"");
    expectFault(std::string(kOne) + " ", 83, "here is \" \", behind the check sum");
    expectFault(std::string(kOne).substr(0, 81), 82, "the check sum is a number with \"@\" at its end");
    expectFault(std::string(kOne).substr(0, 20), 21, "where the field \"i\" belongs");
    expectFault("BF2D@HjTest", 12, "the field \"j\" has no \"@\" at its end");
    std::string other = kOne;
    other.replace(other.find("C72"), 3, "C73");
    expectFault(other, 80, "the check sum is 73, by the line it is 72");
    other.replace(other.find("C73"), 3, "C072");
    expectFault(other, 80, "the check sum is 072, by the line it is 72");
    other = kOne;
    other.replace(other.find("Test"), 4, "Tes\xFC");
    expectFault(other, 11, "a record is printable ASCII, here is the byte 252");
    other[10] = '\t';
    expectFault(other, 11, "here is the byte 9");
}

TEST(OktBf2d, Parse_WrongFields_ColumnAndReason)
{
    expectFault(changed("r417@", ""), 16, "here is \"i\", where the field \"r\" belongs");
    expectFault(changed("r417@", "r417@r417@"), 21, "here is \"r\", where the field \"i\" belongs");
    expectFault(changed("r417@ia@", "ia@r417@"), 16, "here is \"i\", where the field \"r\" belongs");
    expectFault(changed("ia@", "Ia@"), 21, "here is \"I\", where the field \"i\" belongs");
    expectFault(changed("l1000@", "l@"), 28, "the field \"l\" is no number");
    expectFault(changed("l1000@", "l1e3@"), 28, "the field \"l\" is no number");
    expectFault(changed("l1000@", "l+1000@"), 28, "the field \"l\" is no number");
    expectFault(changed("l1000@", "l-1000@"), 28, "the field \"l\" is no number");
    expectFault(changed("l1000@", "l1000.@"), 28, "the field \"l\" is no number");
    expectFault(changed("l1000@", "l1000000@"), 28, "the field \"l\" is no number");
    expectFault(changed("l1000@", "l1001@"), 27, "the length \"l\" is 1001 mm, the legs sum to 1000 mm");
    expectFault(changed("n10@", "n0@"), 34, "the field \"n\" is no whole number");
    expectFault(changed("n10@", "n1.5@"), 34, "the field \"n\" is no whole number");
    expectFault(changed("d12@", "d0@"), 45, "the field \"d\" is to be above 0");
    expectFault(changed("v@G", "v@X"), 61, "here is \"X\", where the geometry begins with \"G\"");
    expectFault(changed("w90@", "w0@"), 68, "stands behind the last leg only");
    expectFault(changed("w90@", "w181@"), 68, "no angle from -180 to 180");
    expectFault(changed("w0@C", "w10@C"), 77, "the last bend angle \"w\" is to be 0");
    expectFault(changed("l600@w0@C", "l600@C"), 76, "where the field \"w\" belongs");
    expectFault(changed("s48@", "s0@"), 1, "a bent bar has a mandrel");
}

TEST(OktBf2d, Parse_EveryByteOfALineChanged_NoneIsTakenForTheSame)
{
    std::string const line = kTwo;
    for (std::size_t i = 0; i < line.size(); ++i)
        for (int value = 0; value < 256; ++value)
        {
            std::string other = line;
            other[i] = static_cast<char>(value);
            if (other == line)
                continue;
            // A sum of 32 does not see a difference of 32, which turns some letters of texts.
            bool const isSeen = (static_cast<unsigned char>(line[i]) - value) % 32 != 0;
            try
            {
                Bf2dRecord const record = parseBf2d(other);
                EXPECT_FALSE(isSeen) << other;
                EXPECT_NE(record, parseBf2d(line)) << other;
            }
            catch (Bf2dFault const &fault)
            {
                EXPECT_FALSE(fault.reason.empty());
            }
        }
}

TEST(OktBf2d, Refusal_MassAndLegs_HeldAgainstTheTable)
{
    Bf2dRecord record = parseBf2d(kOne);
    EXPECT_EQ(bf2dRefusal(record, bars()), "");
    record.mass = 0.888 * 1.045;
    EXPECT_EQ(bf2dRefusal(record, bars()), "");
    record.mass = 0.93;
    EXPECT_EQ(bf2dRefusal(record, bars()),
              "the mass \"e\" is 0.93 kg, by length and table it is 0.888 kg, more than 4.5 % away");
    record.mass = 0.84;
    EXPECT_THAT(bf2dRefusal(record, bars()), HasSubstr("more than 4.5 % away"));
    record.diameter = 8;
    record.mass = 0.395 * 1.06;
    EXPECT_EQ(bf2dRefusal(record, bars()), "");
    record.mass = 0.42;
    EXPECT_THAT(bf2dRefusal(record, bars()), HasSubstr("more than 6 % away"));
    record.diameter = 13;
    EXPECT_THAT(bf2dRefusal(record, bars()), HasSubstr("bars-en10080.csv has no row for 13 mm"));
    record = parseBf2d(kOne);
    record.legs = {{970, 90}, {30, 0}};
    EXPECT_EQ(bf2dRefusal(record, bars()), "leg 2 is too short for its bend, by 6 mm");
    record.legs = {{400, 90}, {60, 90}, {540, 0}};
    EXPECT_EQ(bf2dRefusal(record, bars()), "leg 2 is too short for its bends, by 12 mm");
}

// ---- Shape codes -------------------------------------------------------------------------------------------------------------

struct Shape
{
    char const *code;
    std::vector<Bf2dLeg> legs;
    double radius = 24;
    double diameter = 12;
};

/// The code of a bar, which its mirror image and its other direction have as well.
std::string codeOf(Shape const &shape)
{
    std::vector<Bf2dLeg> mirrored = shape.legs;
    for (Bf2dLeg &leg : mirrored)
        leg.angle = -leg.angle;
    std::vector<Bf2dLeg> reversed(shape.legs.rbegin(), shape.legs.rend());
    for (std::size_t i = 0; i < reversed.size(); ++i)
        reversed[i].angle = i + 1 < reversed.size() ? reversed[i + 1].angle : 0;
    std::string const code = shapeCodeOf(shape.legs, shape.radius, shape.diameter).code;
    EXPECT_EQ(shapeCodeOf(mirrored, shape.radius, shape.diameter).code, code);
    EXPECT_EQ(shapeCodeOf(reversed, shape.radius, shape.diameter).code, code);
    return code;
}

std::vector<Shape> const kPlainShapes = {
    {"00", {{1000, 0}}},
    {"00", {{1000, 0}}, 0, 14},
    {"11", {{400, 90}, {600, 0}}},
    {"11", {{400, -90}, {600, 0}}, 70, 20},
    {"11", {{400, 90}, {600, 0}}, 87, 25},
    {"11", {{400, 90}, {600, 0}}, 87.5, 25},
    {"11", {{400, 90}, {600, 0}}, 28, 14},
    {"12", {{400, 90}, {600, 0}}, 200},
    {"12", {{400, 90}, {600, 0}}, 25},
    {"13", {{400, 180}, {600, 0}}},
    {"13", {{400, 180}, {600, 0}}, 100},
    {"15", {{400, 45}, {600, 0}}},
    {"15", {{400, 12.5}, {600, 0}}},
    {"21", {{400, 90}, {300, 90}, {600, 0}}},
    {"46", {{400, 30}, {300, -30}, {500, -30}, {300, 30}, {450, 0}}},
    {"47", {{120, 180}, {400, 90}, {300, 90}, {400, 180}, {120, 0}}},
    {"51", {{160, 90}, {250, 90}, {400, 90}, {250, 90}, {400, 90}, {160, 0}}},
    {"63", {{160, 90}, {250, 90}, {400, 90}, {250, 90}, {400, 90}, {250, 90}, {160, 0}}},
};

TEST(OktShapeCode, PlainShapes_TheirCodes)
{
    for (Shape const &shape : kPlainShapes)
        EXPECT_EQ(codeOf(shape), shape.code) << testing::PrintToString(shape.legs.size()) << " legs, r = " << shape.radius;
    EXPECT_EQ(shapeCodeOf({{400, 90}, {600, 0}}, 24, 12).what, "L");
    EXPECT_EQ(shapeCodeOf({{400, 90}, {600, 0}}, 200, 12).what, "L with a large radius");
}

TEST(OktShapeCode, WhatGeometryDoesNotTell_NoCode)
{
    std::vector<Shape> const shapes = {
        {"a radius below the least", {{400, 90}, {600, 0}}, 20},
        {"nearly a right angle", {{400, 89}, {600, 0}}},
        {"beyond 45 degrees", {{400, 46}, {600, 0}}},
        {"beyond a right angle", {{400, 135}, {600, 0}}},
        {"to both sides", {{400, 90}, {300, -90}, {600, 0}}},
        {"a large radius", {{400, 90}, {300, 90}, {600, 0}}, 100},
        {"a crank", {{400, 45}, {300, -45}, {600, 0}}},
        {"22 or 31", {{400, 90}, {300, 90}, {300, 90}, {200, 0}}},
        {"22 or none", {{400, 90}, {300, 180}, {300, 0}}},
        {"33 or none", {{200, 180}, {400, 180}, {400, 180}, {200, 0}}},
        {"41 or 44", {{100, 90}, {300, -90}, {400, -90}, {300, 90}, {100, 0}}},
        {"41 or 44, lips inside", {{100, 90}, {300, 90}, {400, 90}, {300, 90}, {100, 0}}},
        {"slants of two lengths", {{400, 30}, {300, -30}, {500, -30}, {310, 30}, {450, 0}}},
        {"two slants", {{400, 30}, {300, -30}, {500, -40}, {300, 40}, {450, 0}}},
        {"one side longer", {{160, 90}, {250, 90}, {400, 90}, {251, 90}, {400, 90}, {160, 0}}},
        {"one end longer", {{160, 90}, {250, 90}, {400, 90}, {250, 90}, {400, 90}, {170, 0}}},
        {"ends beyond the side", {{260, 90}, {250, 90}, {400, 90}, {250, 90}, {400, 90}, {260, 0}}},
        {"one bend outwards", {{160, 90}, {250, 90}, {400, 90}, {250, 90}, {400, -90}, {160, 0}}},
        {"hooks of 135 degrees", {{160, 135}, {250, 90}, {400, 90}, {250, 90}, {400, 135}, {160, 0}}},
        {"the second example", {{100, 90}, {300, 45}, {424, -45}, {300, -90}, {100, 0}}},
    };
    for (Shape const &shape : shapes)
        EXPECT_EQ(codeOf(shape), "") << shape.code;
    EXPECT_EQ(shapeCodeOf({{400, 60}, {600, 0}}, 24, 12).what, "None that the geometry tells for sure");
}

/// The length by the formula of the code is that of the centre line, but for the roundings of the formulas.
TEST(OktShapeCode, CodesFound_TheirFormulasGiveTheLength)
{
    ShapeLengths const table = ShapeLengths::load(OKT_EXAMPLES_DIR "/data/shape-lengths-bs8666.csv");
    for (Shape const &shape : kPlainShapes)
    {
        ASSERT_TRUE(table.has(shape.code)) << shape.code;
        std::string const code = shape.code;
        ShapeDimensions dimensions;
        std::vector<double> lengths;
        for (Bf2dLeg const &leg : shape.legs)
            lengths.push_back(leg.length);
        lengths.resize(7);
        bool const isLink = code == "47" || code == "51" || code == "63";
        dimensions.A = code == "47" ? lengths[1] : isLink ? lengths[2] : lengths[0];
        dimensions.B = code == "13" ? 2 * (shape.radius + shape.diameter) : code == "47" ? lengths[2] : lengths[1];
        dimensions.C = isLink ? lengths[0] : code == "13" || code == "15" ? lengths[1] : lengths[2];
        dimensions.E = lengths[4];
        dimensions.largeRadius = shape.radius;
        dimensions.radius = shape.radius;
        dimensions.diameter = shape.diameter;

        Bf2dRecord record;
        record.diameter = shape.diameter;
        record.mandrel = 2 * shape.radius;
        record.legs = shape.legs;
        double const real = bentLine(bf2dPlan(record, "", "x")).length();
        // A bend that the formula did not know would make 0.5 r + d.
        double const bends = static_cast<double>(shape.legs.size()) - 1;
        EXPECT_NEAR(table.length(code, dimensions), real, 0.6 * shape.diameter * bends + 1e-9) << code;
    }
}

// ---- Titles ------------------------------------------------------------------------------------------------------------------

TEST(OktBf2d, Title_RecordsOfOnePosition_Differ)
{
    EXPECT_EQ(bf2dPlan(parseBf2d(kOne), kOne, "bars-1").poolName, "Bent bar, 12 mm, TestPDF 417/1 (bars-1)");
    EXPECT_EQ(bf2dPlan(parseBf2d(kTwo), kTwo, "bars-2").poolName, "Bent bar, 12 mm, TestPDF 417/1 (bars-2)");
    Bf2dRecord record = parseBf2d(kOne);
    record.legs = {{1000, 0}};
    record.position = "";
    EXPECT_EQ(bf2dPlan(record, "", "x-1").poolName, "Straight bar, 12 mm, TestPDF 417 (x-1)");
    record.drawing = "";
    record.position = "7";
    EXPECT_EQ(bf2dPlan(record, "", "x-1").poolName, "Straight bar, 12 mm, TestPDF/7 (x-1)");
    record.project = "";
    EXPECT_EQ(bf2dPlan(record, "", "x-1").poolName, "Straight bar, 12 mm, 7 (x-1)");
    record.position = "";
    EXPECT_EQ(bf2dPlan(record, "", "x-1").poolName, "Straight bar, 12 mm, x-1");
}

// ---- Templates ---------------------------------------------------------------------------------------------------------------

TEST(OktBf2d, Template_CentreLine_OuterDimensionsOfTheLegs)
{
    TemplatePlan const plan = bf2dPlan(parseBf2d(kOne), kOne, "x");
    BarLine const line = bentLine(plan);
    Box const box = line.box(12);
    EXPECT_NEAR(box.low.x, 0, 1e-9);
    EXPECT_NEAR(box.low.y, 0, 1e-9);
    EXPECT_NEAR(box.high.x, 400, 1e-9);
    EXPECT_NEAR(box.high.y, 600, 1e-9);
    EXPECT_NEAR(line.length(), 400 + 600 - 2 * 36 + 30 * std::acos(0.0), 1e-9);
}

class OktBf2dTemplate : public testing::Test
{
protected:
    /// The pool of a template that went through a file.
    std::unique_ptr<OKTDbPool> stored(std::string const &line) const
    {
        EXPECT_TRUE(buildPool(bf2dPlan(parseBf2d(line), line, "x"))->writeFile(m_folder.path("x.okt")));
        auto pool = std::make_unique<OKTDbPool>();
        pool->setMetricsFactor(1000);
        EXPECT_TRUE(pool->readFile(m_folder.path("x.okt")));
        return pool;
    }

    static OKTDbParameter *find(OKTDbPool &pool, int type, int listIndex)
    {
        IdArray ids;
        pool.collectEntities(OKTDbParameter::desc(), ids);
        for (int i = 0; i < ids.getSize(); ++i)
        {
            OKTDbObject *object = nullptr;
            pool.findObject(ids.at(i), object);
            OKTDbParameter *const parameter = OKTDbParameter::cast(object);
            if (parameter->Type() == type && parameter->ListIndex() == listIndex)
                return parameter;
        }
        return nullptr;
    }

    ScratchFolder m_folder;
};

TEST_F(OktBf2dTemplate, RandomRecords_ThroughATemplate_TheSameLine)
{
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i)
    {
        Bf2dRecord const record = randomRecord(random);
        std::string const line = bf2dLine(record);
        ASSERT_EQ(parseBf2d(line), record) << line;
        ASSERT_EQ(bf2dRefusal(record, bars()), "") << line;
        std::unique_ptr<OKTDbPool> const pool = stored(line);
        EXPECT_EQ(bf2dLineOf(*pool, "x"), line);
        // Also when the line itself is lost.
        find(*pool, types::kStandard, 6)->setValue(CString(u""), 6);
        EXPECT_EQ(bf2dLineOf(*pool, "x"), line);
    }
}

TEST_F(OktBf2dTemplate, OtherNotation_Kept)
{
    std::string const line = changed("l1000@n10@e0.888@", "l1000.00@n010@e0.8880@");
    EXPECT_EQ(bf2dLineOf(*stored(line), "x"), line);
}

TEST_F(OktBf2dTemplate, ChangedParameter_ShowsInTheLine)
{
    std::unique_ptr<OKTDbPool> const pool = stored(kOne);
    find(*pool, types::kLength, 1)->setValue(500.0, 1);
    EXPECT_THROW(bf2dLineOf(*pool, "x"), Failure) << "the legs do not sum to the length";
    find(*pool, types::kLength, 0)->setValue(1100.0, 0);
    find(*pool, types::kNumber, 0)->setValue(12, 0);
    EXPECT_EQ(bf2dLineOf(*pool, "x"),
              proved("BF2D@HjTestPDF@r417@ia@p1@l1100@n12@e0.888@d12@gB500A@s48@v@Gl500@w90@l600@w0@C"));
    find(*pool, types::kStandard, 1)->setValue(CString(u"a@b"), 1);
    EXPECT_THROW(bf2dLineOf(*pool, "x"), Failure);
}

TEST_F(OktBf2dTemplate, OtherTemplate_Failure)
{
    OKTDbPool pool;
    try
    {
        bf2dLineOf(pool, "x.okt");
        ADD_FAILURE();
    }
    catch (Failure const &failure)
    {
        EXPECT_STREQ(failure.what(), "x.okt: this template did not come from a BF2D record");
    }
}

} // namespace
