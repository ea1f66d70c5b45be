// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/expressions.h>
#include <oktrebar/preview.h>
#include <oktrebar/storedplan.h>

#include <oktformat/failure.h>

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

using namespace okt;

namespace
{

/// One of each kind and unit.
std::vector<TemplatePlan> oneOfEach()
{
    std::map<std::pair<TemplateKind, Units>, TemplatePlan> first;
    for (TemplatePlan const &plan : plansFrom(OKT_EXAMPLES_DIR "/data").templates)
        first.emplace(std::pair(plan.kind, plan.units), plan);
    std::vector<TemplatePlan> plans;
    for (auto &[key, plan] : first)
        plans.push_back(std::move(plan));
    return plans;
}

void changeValue(ParameterPlan &parameter)
{
    if (double *const real = std::get_if<double>(&parameter.value))
        *real *= 1.25;
    else if (int *const whole = std::get_if<int>(&parameter.value))
        *whole += 1;
    else if (bool *const flag = std::get_if<bool>(&parameter.value))
        *flag = !*flag;
    else
        std::get<std::string>(parameter.value) += "7";
}

TEST(StoredPlan, ParameterThatIsNotInThePreview_PictureIsTheSame)
{
    std::vector<TemplatePlan> const plans = oneOfEach();
    EXPECT_EQ(plans.size(), 7u); // links, hooked bars and sheets in both units, bars of records in one
    for (TemplatePlan const &plan : plans)
    {
        SCOPED_TRACE(plan.fileName);
        Preview const before = *drawPreview(plan);
        int notShown = 0;
        for (std::size_t category = 0; category < plan.categories.size(); ++category)
            for (std::size_t i = 0; i < plan.categories[category].parameters.size(); ++i)
            {
                ParameterKey const key = plan.categories[category].parameters[i].key;
                if (isInPreview(plan.kind, key))
                    continue;
                ++notShown;
                TemplatePlan other = plan;
                changeValue(other.categories[category].parameters[i]);
                EXPECT_TRUE(isSameImage(drawPreview(other)->png, before.png)) << key.type << " " << key.listIndex;
            }
        EXPECT_GT(notShown, 3);
        TemplatePlan thicker = plan;
        changeValue(planned(thicker, {types::kDiameter, 0}));
        EXPECT_TRUE(isInPreview(plan.kind, {types::kDiameter, 0}));
        EXPECT_FALSE(isSameImage(drawPreview(thicker)->png, before.png));
    }
    EXPECT_FALSE(isInPreview(TemplateKind::Other, {types::kDiameter, 0}));
    EXPECT_FALSE(isInPreview(TemplateKind::Link, {types::kCover, 0}));
    EXPECT_FALSE(isInPreview(TemplateKind::Link, {types::kSpacing, 1}));
    EXPECT_TRUE(isInPreview(TemplateKind::Mesh, {types::kSpacing, 1}));
}

TEST(StoredPlan, PreviewShape_ThatOfTheDrawing)
{
    for (TemplatePlan const &plan : oneOfEach())
    {
        Box const shape = *previewShape(plan);
        Box const drawn = drawPreview(plan)->shape;
        EXPECT_EQ(shape.low.x, drawn.low.x) << plan.fileName;
        EXPECT_EQ(shape.low.y, drawn.low.y) << plan.fileName;
        EXPECT_EQ(shape.high.x, drawn.high.x) << plan.fileName;
        EXPECT_EQ(shape.high.y, drawn.high.y) << plan.fileName;
    }
    EXPECT_FALSE(previewShape(TemplatePlan()));
    TemplatePlan link = examplePlan("link-d12.okt");
    EXPECT_EQ(previewShape(link)->width(), 400);
    planned(link, {types::kLength, 1}).value = std::string("long");
    EXPECT_THROW(previewShape(link), Failure);
}

TEST(StoredPlan, LooksAt_TheShapeOfItsTemplateOnly)
{
    for (TemplatePlan const &plan : oneOfEach())
    {
        std::string const bytes = imageOf(*buildPool(plan));
        StoredTemplate const pool = readBytes(bytes);
        ASSERT_EQ(pool.pictures.size(), 1u);
        std::string const frame = bytes.substr(static_cast<std::size_t>(pool.pictures[0].begin),
                                               static_cast<std::size_t>(pool.pictures[0].end - pool.pictures[0].begin));
        Box shape = *previewShape(planOf(pool, TemplateExpressions(pool).unit()));
        EXPECT_TRUE(looksAt(frame, shape)) << plan.fileName;
        shape.high.x *= 1.01;
        EXPECT_FALSE(looksAt(frame, shape)) << plan.fileName;
        EXPECT_TRUE(mayBeDrawnHere(*imageIn(frame)));
    }
    EXPECT_FALSE(looksAt("no frame", {{0, 0}, {1, 1}}));
    CByteArray image;
    image.Add(1);
    EXPECT_FALSE(mayBeDrawnHere(image));
}

} // namespace
