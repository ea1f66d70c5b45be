#include "samplepool.h"

#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbparameter.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace
{
constexpr int kParametersOfCategory = 20;

// Cover, steel grade, spacing, two hook lengths, number, bending radius, shape code: four are lengths, four are not.
constexpr ParamType kTypes[] = {6, 3, 10, 7, 14, 36, 16, 27};

// A benchmark of what failed would tell a wrong figure.
void demand(bool done, char const *what)
{
    if (done)
        return;
    std::fprintf(stderr, "okt_bench: %s failed\n", what);
    std::exit(1);
}

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
        auto parameter = std::make_unique<OKTDbParameter>(kTypes[i % 8], owner);
        parameter->setValue(12.5 * (i % 97), 1 + i % 40);
        parameter->setUserName(parameter->getTypeName(), true);
        parameter->setCategory(category);
        CString text;
        text.Format(u"2 * D%d + 40", i % 50);
        parameter->setExpression(text);
        text.Format(u"Position %d, see drawing", i % 1000);
        parameter->setDescription(text);
        demand(pool.appendObject(parameter.release()), "building a sample");
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
