// SPDX-License-Identifier: MIT
#include "samplepool.h"

#include "report.h"

#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktgexyz.h>

#include <memory>

namespace
{
constexpr int kParametersOfCategory = 20;
constexpr int kObjectsOfPicture = 1'000;
constexpr int kPictureBytes = 16'384;

// Cover, steel grade, spacing, two hook lengths, number, bending radius, shape code: four are lengths, four are not.
constexpr ParamType kTypes[] = {6, 3, 10, 7, 14, 36, 16, 27};

std::unique_ptr<OKTDbPool> makeSample(int count, SampleOrigin origin)
{
    auto pool = std::make_unique<OKTDbPool>();
    fillWithParameters(*pool, count);
    if (origin == SampleOrigin::Built)
        return pool;
    CByteArray const image = imageOf(*pool);
    pool = std::make_unique<OKTDbPool>();
    demand(pool->loadFiler(image), "loading a sample");
    return pool;
}

OKTDbParameter *makeParameter(int i, OKTDbObjectId const &owner, OKTDbObjectId const &category)
{
    auto parameter = std::make_unique<OKTDbParameter>(kTypes[i % 8], owner);
    parameter->setValue(12.5 * (i % 97), 1 + i % 40);
    parameter->setUserName(parameter->getTypeName(), true);
    parameter->setCategory(category);
    CString text;
    text.Format(u"2 * D%d + 40", i % 50);
    parameter->setExpression(text);
    text.Format(u"Position %d, see drawing", i % 1000);
    parameter->setDescription(text);
    return parameter.release();
}
} // namespace

void fillWithParameters(OKTDbPool &pool, int count)
{
    pool.setMetricsFactor(1000.0);
    OKTDbObjectId const owner = OKTDbObjectId::createObjectId(&pool);
    OKTDbObjectId category;
    for (int i = 0; i < count; ++i)
    {
        if (i % kParametersOfCategory == 0)
            category = OKTDbObjectId::createObjectId(&pool);
        demand(pool.appendObject(makeParameter(i, owner, category)), "building a sample");
    }
}

void fillWithTemplate(OKTDbPool &pool, int count)
{
    pool.setMetricsFactor(1000.0);
    CByteArray image;
    image.SetSize(kPictureBytes);
    for (int i = 0; i < kPictureBytes; ++i)
        image[i] = static_cast<BYTE>(i * i / 7);
    OKTDbCategory *category = nullptr;
    for (int i = 0, parameters = 0; i < count; ++i)
    {
        if (i % kObjectsOfPicture == kObjectsOfPicture - 1)
        {
            auto picture = std::make_unique<OKTDbPicture>();
            picture->setPictureData(image);
            picture->setCameraData(OKTGeXYZ(1.0, 2.0, 3.0), OKTGeXYZ(0.5, 0.5, 0.0), OKTGeXYZ(0.0, 0.0, 1.0));
            demand(pool.appendObject(picture.release()), "building a sample");
        }
        else if (category == nullptr || category->parameterCount() == kParametersOfCategory)
        {
            category = new OKTDbCategory;
            category->setCategoryName(u"Bars of the mesh");
            demand(pool.appendObject(category), "building a sample");
        }
        else
        {
            OKTDbParameter *const parameter = makeParameter(parameters++, pool.objectId(), category->objectId());
            demand(pool.appendObject(parameter), "building a sample");
            category->appendParameter(parameter->objectId());
        }
    }
}

OKTDbPool const &parameterSample(int count, SampleOrigin origin)
{
    static std::unique_ptr<OKTDbPool> kept;
    static int keptCount = -1;
    static SampleOrigin keptOrigin = SampleOrigin::Built;
    if (keptCount != count || keptOrigin != origin)
    {
        kept.reset();
        kept = makeSample(count, origin);
        keptCount = count;
        keptOrigin = origin;
    }
    return *kept;
}

void fillWithCategories(OKTDbPool &pool, int count, int idsEach)
{
    // Appending looks for the id in the list each time, so one long list is made and copied.
    OKTDbCategory pattern;
    pattern.setCategoryName(u"Bars of the mesh");
    for (int i = 0; i < idsEach; ++i)
        pattern.appendParameter(OKTDbObjectId::createObjectId(&pool));
    for (int i = 0; i < count; ++i)
        demand(pool.appendObject(new OKTDbCategory(pattern)), "building a sample");
}

CByteArray imageOf(OKTDbPool const &pool)
{
    CByteArray image;
    IdMap translated;
    demand(pool.saveFiler(image, translated), "saving a sample");
    return image;
}
