// SPDX-License-Identifier: MIT
// Clones with and without new ids. Both are taken in each turn, so that their ratio is of the same moment.

#include "measure.h"

#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpool.h>

#include <memory>

namespace
{
constexpr int kParametersOfCategory = 20;

/// `count` objects: categories of 20 parameters, each of which names its category and the parameter before it.
std::unique_ptr<OKTDbPool> poolOf(int count)
{
    auto pool = std::make_unique<OKTDbPool>();
    pool->setMetricsFactor(1000.0);
    OKTDbCategory *category = nullptr;
    OKTDbObjectId before;
    while (pool->objectCount() < count)
    {
        int const place = pool->objectCount() % (kParametersOfCategory + 1);
        if (place == 0)
        {
            category = new OKTDbCategory;
            pool->appendObject(category);
            category->setCategoryName(u"Bars of the mesh");
            continue;
        }
        auto *const parameter = new OKTDbParameter(6, category->objectId());
        pool->appendObject(parameter);
        parameter->setValue(12.5 * place, 1 + place);
        parameter->setUserName(parameter->getTypeName(), true);
        parameter->setCategory(category->objectId());
        IdArray used;
        used.append(before);
        parameter->setTabParams(used);
        category->appendParameter(parameter->objectId());
        before = parameter->objectId();
    }
    return pool;
}

std::unique_ptr<OKTDbPool> timedClone(OKTDbPool &pool, bool translated, Stopwatch &watch)
{
    std::unique_ptr<OKTDbPool> clone;
    pool.setBoolTranslatedIds(translated);
    watch.time([&] { clone.reset(pool.clone()); });
    pool.setBoolTranslatedIds(false);
    return clone;
}

void clonePool(benchmark::State &state)
{
    auto const count = static_cast<int>(state.range(0));
    // As a load makes it: in the order of ids, so that the pool of either clone lies in memory like the source.
    std::unique_ptr<OKTDbPool> const built = poolOf(count);
    std::unique_ptr<OKTDbPool> const pool(built->clone());
    Stopwatch plain;
    Stopwatch translated;
    for ([[maybe_unused]] auto const turn : state)
    {
        std::unique_ptr<OKTDbPool> const same = timedClone(*pool, false, plain);
        double const before = secondsNow();
        std::unique_ptr<OKTDbPool> const fresh = timedClone(*pool, true, translated);
        state.SetIterationTime(secondsNow() - before);
        if (same == nullptr || fresh == nullptr || fresh->MapTranslatedIds().getSize() != count)
            state.SkipWithError("the pool was not cloned");
    }
    state.counters["clone_plain_ns"] = plain.median() * 1e9 / count;
    state.counters["clone_translated_ns"] = translated.median() * 1e9 / count;
    state.counters["clone_ratio"] = translated.median() / plain.median();
}

BENCHMARK(clonePool)->Name("clone")->Arg(2'000)->Arg(20'000)->Arg(200'000)->Arg(800'000)->UseManualTime()->Unit(
    benchmark::kMillisecond);
} // namespace
