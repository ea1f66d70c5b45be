// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/circles.h>
#include <oktrebar/templatelint.h>

#include <gtest/gtest.h>

#include <algorithm>

#include <limits>

using namespace okt;

namespace
{

std::vector<LintFinding> findings(std::string const &bytes, PictureCheck pictures = PictureCheck::None)
{
    LintOptions options;
    options.pictures = pictures;
    return lint(
        readBytes(bytes),
        [&bytes](std::int64_t begin, std::int64_t end) {
            return bytes.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
        },
        options);
}

/// "error expression-name Cutting length: ...; mend".
std::vector<std::string> texts(std::vector<LintFinding> const &found)
{
    std::vector<std::string> lines;
    for (LintFinding const &one : found)
        lines.push_back(std::string(severityName(one.severity())) + " " + std::string(codeName(one.code)) + " " + one.name +
                        ": " + explanation(one) + "; " + mend(one));
    return lines;
}

std::vector<std::string> linted(std::function<void(TemplatePlan &)> const &change, std::string const &file = "link-d12.okt")
{
    return texts(findings(exampleBytes(file, change)));
}

using Lines = std::vector<std::string>;

TEST(TemplateLint, EveryExample_Quiet)
{
    for (TemplatePlan const &plan : plansFrom(OKT_EXAMPLES_DIR "/data").templates)
    {
        std::string const bytes = imageOf(*buildPool(plan));
        EXPECT_EQ(texts(findings(bytes, PictureCheck::Shape)), Lines()) << plan.fileName;
        EXPECT_EQ(texts(findings(bytes, PictureCheck::Drawing)), Lines()) << plan.fileName;
    }
}

TEST(TemplateLint, Expressions_NamesFormsValues)
{
    EXPECT_EQ(
        linted([](TemplatePlan &plan) {
            planned(plan, {types::kLength, 0}).expression = "2*LegA+2*LegX";
        }),
        Lines{"error expression-name Cutting length: the expression names LegX, which is not there; name a parameter that is "
              "there, without its blanks"});
    EXPECT_EQ(
        linted([](TemplatePlan &plan) {
            planned(plan, {types::kLength, 0}).expression = "2*LegA+";
        }),
        Lines{"warning expression-unreadable Cutting length: the expression \"2*LegA+\" has no value: the formula ends too "
              "early; write it with numbers, names, + - * / ( ) max and min, or take it away"});
    EXPECT_EQ(
        linted([](TemplatePlan &plan) {
            planned(plan, {types::kLength, 0}).value = 1500.0;
        }),
        Lines{"warning expression-value Cutting length: the value is 1500 mm, its expression gives 1492 mm; set the value to "
              "1492 mm, or take the expression away"});
}

TEST(TemplateLint, Circles_EachNamedAndNoValueOfTheirs)
{
    EXPECT_EQ(linted([](TemplatePlan &plan) {
                  planned(plan, {types::kLength, 0}).expression = "LegB*3";
                  planned(plan, {types::kLength, 0}).name = "Cut";
                  planned(plan, {types::kLength, 2}).expression = "Cut/2";
                  planned(plan, {types::kLength, 1}).expression = "2*Cover";
                  planned(plan, {types::kCover, 0}).expression = "LegA/3";
                  planned(plan, {types::kSpacing, 1}).expression = "SpacingA+1";
              }),
              (Lines{"error expression-cycle Cover: the expressions go round in a circle: Cover -> Leg A -> Cover; give one of "
                     "them a value instead of its expression",
                     "error expression-cycle Leg B: the expressions go round in a circle: Leg B -> Cut -> Leg B; give one of "
                     "them a value instead of its expression",
                     "error expression-cycle Spacing A: the expressions go round in a circle: Spacing A -> Spacing A; give "
                     "one of them a value instead of its expression"}));
}

TEST(CirclesIn, Table)
{
    using Graph = std::vector<std::vector<std::size_t>>;
    EXPECT_EQ(circlesIn({}), Graph());
    EXPECT_EQ(circlesIn({{1, 2}, {2}, {}}), Graph());
    EXPECT_EQ(circlesIn({{0}, {2}, {3}, {1}}), (Graph{{0}, {1, 2, 3}}));
    EXPECT_EQ(circlesIn({{1}, {0, 2}, {1}}), (Graph{{0, 1}, {2, 1}})); // both hang together
    EXPECT_EQ(circlesIn({{1}, {2}, {1}}), (Graph{{1, 2}}));            // the first leads there and is in none
    Graph chain(200000);
    for (std::size_t i = 0; i < chain.size(); ++i)
        chain[i] = {(i + 1) % chain.size()};
    ASSERT_EQ(circlesIn(chain).size(), 1u);
    EXPECT_EQ(circlesIn(chain).front().size(), 200000u);
}

TEST(TemplateLint, NameTwiceInACategory)
{
    EXPECT_EQ(
        linted([](TemplatePlan &plan) {
            planned(plan, {types::kShapeStandard, 0}).name = "Standard";
        }),
        Lines{"warning name-twice Standard: a second parameter of this name stands in the category \"Bar\"; rename one of "
              "the two"});
    for (char const *const name : {"standard", "Stan Dard"}) // as a person, and as an expression looks for it
        EXPECT_EQ(linted([name](TemplatePlan &plan) {
                      planned(plan, {types::kShapeStandard, 0}).name = name;
                  }),
                  Lines{std::string("warning name-twice ") + name +
                        ": a parameter \"Standard\" stands in the category \"Bar\", which is the same name; rename one of the "
                        "two"});
}

/// What a cut file does not have may have stood in the lost part.
TEST(TemplateLint, CutFile_NothingConcludedFromAbsence)
{
    std::string bytes = exampleBytes("link-d12.okt", [](TemplatePlan &plan) {
        planned(plan, {types::kLength, 0}).expression = "2*LegA+2*LegX";
    });
    EXPECT_EQ(texts(findings(bytes + "behind the end", PictureCheck::Shape)),
              Lines{"error expression-name Cutting length: the expression names LegX, which is not there; name a parameter "
                    "that is there, without its blanks"});
    for (std::size_t part = 1; part < 16; ++part)
    {
        std::string const cut = bytes.substr(0, bytes.size() * part / 16);
        if (readBytes(cut).isPart)
        {
            EXPECT_EQ(texts(findings(cut, PictureCheck::Shape)), Lines()) << part;
        }
    }
    EXPECT_TRUE(readBytes(bytes.substr(0, bytes.size() - 1)).isPart);
    EXPECT_FALSE(readBytes(bytes + "behind the end").isPart);
    EXPECT_FALSE(readBytes(bytes).isPart);
}

TEST(TemplateLint, Values_ThatTheirTypeCannotHave)
{
    EXPECT_EQ(linted([](TemplatePlan &plan) {
                  planned(plan, {types::kCover, 0}).value = -30.0;
              }),
              Lines{"error impossible-value Cover: the value -30 mm is negative, which its type cannot be; correct the value"});
    EXPECT_EQ(
        linted([](TemplatePlan &plan) {
            planned(plan, {types::kHookAngle1, 0}).value = 270.0;
        }),
        Lines{"error impossible-value Hook angle 1: the value 270 is above half a turn, which its type cannot be; correct "
              "the value"});
    EXPECT_EQ(linted([](TemplatePlan &plan) {
                  planned(plan, {types::kSpacing, 1}).value = 0.0;
              }),
              Lines{"error impossible-value Spacing A: the value 0 mm is zero, which its type cannot be; correct the value"});
    EXPECT_EQ(linted([](TemplatePlan &plan) {
                  planned(plan, {types::kCover, 0}).value = std::numeric_limits<double>::infinity();
              }).size(),
              1u);
    EXPECT_EQ(linted([](TemplatePlan &plan) {
                  planned(plan, {types::kCover, 0}).value = std::string("thick");
              }),
              Lines{"error wrong-kind Cover: the type wants another kind of value than \"thick\"; give it a number"});
}

TEST(TemplateLint, QuantityExpression_ThatIsNone)
{
    // What the database makes of it on the way into a file is none either.
    std::unique_ptr<OKTDbPool> const pool = buildPool(examplePlan("link-d12.okt"));
    pool->setMetricsFactor(1);
    IdArray ids;
    pool->collectEntities(OKTDbParameter::desc(), ids);
    for (int i = 0; i < ids.getSize(); ++i)
    {
        OKTDbObject *object = nullptr;
        pool->findObject(ids.at(i), object);
        if (auto *const parameter = OKTDbParameter::cast(object); parameter != nullptr && parameter->Type() == 39)
            parameter->setValue(u"four of them", 0);
    }
    std::vector<LintFinding> const found = findings(imageOf(*pool));
    ASSERT_EQ(std::count_if(found.begin(), found.end(),
                            [](LintFinding const &one) { return one.code == LintFinding::Code::QuantityUnreadable; }),
              1);
}

TEST(TemplateLint, CoverBelowTheDiameter)
{
    EXPECT_EQ(
        linted([](TemplatePlan &plan) {
            planned(plan, {types::kCover, 0}).value = 11.0;
        }),
        Lines{"warning cover-below-diameter Cover: the cover of 11 mm is less than the diameter, 12 mm; set the cover to 12 mm "
              "or more"});
    EXPECT_EQ(linted([](TemplatePlan &plan) { planned(plan, {types::kCover, 0}).value = 12.0; }), Lines());
    EXPECT_EQ(
        linted(
            [](TemplatePlan &plan) {
                planned(plan, {types::kCover, 0}).value = 0.4;
            },
            "link-no4.okt"),
        Lines{"warning cover-below-diameter Cover: the cover of 0.4 in is less than the diameter, 0.5 in; set the cover to 0.5 "
              "in or more"});
}

TEST(TemplateLint, HookShorterThanItsBend)
{
    auto const shorten = [](TemplatePlan &plan) {
        planned(plan, {types::kHookLength1, 0}).value = 35.0; // the bend takes 24 + 12
        planned(plan, {types::kExtension1, 0}).value = 0.0;
        planned(plan, {types::kExtension1, 0}).expression = "";
    };
    EXPECT_EQ(
        linted(shorten),
        Lines{
            "error hook-too-short Hook length 1: the hook of 35 mm ends inside its bend, which takes 36 mm; set the length to "
            "36 mm or more"});
    EXPECT_EQ(linted([&](TemplatePlan &plan) {
                  shorten(plan);
                  planned(plan, {types::kHook1, 0}).value = false; // there is none
              }),
              Lines());
}

TEST(TemplateLint, Pictures_MissingOrNotThatOfTheValues)
{
    std::unique_ptr<OKTDbPool> const pool = buildPool(examplePlan("link-d12.okt"));
    IdArray ids;
    pool->collectEntities(OKTDbParameter::desc(), ids);
    for (int i = 0; i < ids.getSize(); ++i)
    {
        OKTDbObject *object = nullptr;
        pool->findObject(ids.at(i), object);
        if (auto *const parameter = OKTDbParameter::cast(object); parameter->UserName() == u"Leg C")
            parameter->setValue(170.0, 3);
        else if (parameter->UserName() == u"Hook length 1" || parameter->UserName() == u"Hook length 2")
            parameter->setValue(170.0, 0);
        else if (parameter->UserName() == u"Extension 1" || parameter->UserName() == u"Extension 2")
            parameter->setValue(134.0, 0);
    }
    // The shape of the link is as it was, so that only the drawing tells.
    EXPECT_EQ(texts(findings(imageOf(*pool), PictureCheck::Shape)), Lines());
    EXPECT_EQ(
        texts(findings(imageOf(*pool), PictureCheck::Drawing)),
        Lines{
            "info picture-out-of-date : the picture is not the one that is drawn here for these values: it is out of date, or "
            "was made elsewhere; build the template anew, or leave it where the picture was made elsewhere"});
    IdArray pictures;
    pool->collectEntities(OKTDbPicture::desc(), pictures);
    OKTDbObject *picture = nullptr;
    pool->findObject(pictures.at(0), picture);
    pool->removeObject(picture);
    std::unique_ptr<OKTDbObject> const owned(picture);
    EXPECT_EQ(
        texts(findings(imageOf(*pool), PictureCheck::Shape)),
        Lines{
            "warning picture-missing : the template has no picture; add one in the design system, or build the template anew"});
    EXPECT_EQ(texts(findings(imageOf(*pool), PictureCheck::None)), Lines());
}

TEST(TemplateLint, PictureOfAnotherShape_ToldWithoutDrawing)
{
    std::unique_ptr<OKTDbPool> const pool = buildPool(examplePlan("link-d12.okt"));
    IdArray ids;
    pool->collectEntities(OKTDbParameter::desc(), ids);
    for (int i = 0; i < ids.getSize(); ++i)
    {
        OKTDbObject *object = nullptr;
        pool->findObject(ids.at(i), object);
        auto *const parameter = OKTDbParameter::cast(object);
        if (parameter->UserName() == u"Leg A")
            parameter->setValue(430.0, 1);
        else if (parameter->UserName() == u"Cutting length")
            parameter->setValue(1552.0, 0);
    }
    EXPECT_EQ(
        texts(findings(imageOf(*pool), PictureCheck::Shape)),
        Lines{"info picture-out-of-date : the picture shows another shape than these values give: it is out of date, or was "
              "made elsewhere; build the template anew, or leave it where the picture was made elsewhere"});
    EXPECT_EQ(texts(findings(imageOf(*pool), PictureCheck::Drawing)).size(), 1u);
}

} // namespace
