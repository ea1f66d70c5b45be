// SPDX-License-Identifier: MIT
// Whole pools to an image in memory and back. In each iteration the same bytes are also copied by memcpy into memory that is
// in use already, which is the least that could be done, and into a fresh array, which is what a caller gets from a save.

#include "measure.h"
#include "samplepool.h"

#include <cstring>

namespace
{
constexpr int kSmall = 10'000;
constexpr int kLarge = 1'000'000;
constexpr int kListLength = 10'000;
constexpr int kLists = 20;

/// Copies the image in the two ways, in the same rhythm as the operation under test.
class CopyReference
{
public:
    explicit CopyReference(CByteArray const &image) : m_image(image), m_target(image) {}

    void run()
    {
        m_memcpy.time([this] {
            std::memcpy(m_target.GetData(), m_image.GetData(), static_cast<std::size_t>(m_image.GetSize()));
            benchmark::DoNotOptimize(m_target.GetData());
            benchmark::ClobberMemory();
        });
        m_copy.time([this] {
            CByteArray const copy(m_image);
            benchmark::DoNotOptimize(copy.GetData());
            benchmark::ClobberMemory();
        });
    }

    void tell(benchmark::State &state, double seconds) const
    {
        state.counters[kMemcpyRatio] = seconds / m_memcpy.median();
        state.counters[kCopyRatio] = seconds / m_copy.median();
    }

private:
    CByteArray const &m_image;
    CByteArray m_target;
    Stopwatch m_memcpy;
    Stopwatch m_copy;
};

void tell(benchmark::State &state, CByteArray const &image, int objects, Stopwatch const &watch, CopyReference const &reference,
          std::size_t allocations)
{
    state.SetItemsProcessed(state.iterations() * objects);
    state.SetBytesProcessed(state.iterations() * image.GetSize());
    state.counters[kNanoseconds] = watch.median() * 1e9 / objects;
    state.counters[kBytes] = static_cast<double>(image.GetSize()) / objects;
    state.counters[kAllocations] = static_cast<double>(allocations) / objects;
    reference.tell(state, watch.median());
}

void measureSave(benchmark::State &state, OKTDbPool const &pool, int objects)
{
    CByteArray const expected = imageOf(pool);
    CopyReference reference(expected);
    Stopwatch watch;
    std::size_t allocations = 0;
    for ([[maybe_unused]] auto const turn : state)
    {
        CByteArray image;
        IdMap translated;
        bool saved = false;
        AllocationCount const counter;
        state.SetIterationTime(watch.time([&] { saved = pool.saveFiler(image, translated); }));
        allocations = counter.count();
        if (!saved || image.GetSize() != expected.GetSize())
            state.SkipWithError("the pool was not saved");
        reference.run();
    }
    tell(state, expected, objects, watch, reference, allocations);
}

void measureLoad(benchmark::State &state, OKTDbPool const &source, int objects)
{
    CByteArray const image = imageOf(source);
    CopyReference reference(image);
    Stopwatch watch;
    std::size_t allocations = 0;
    for ([[maybe_unused]] auto const turn : state)
    {
        OKTDbPool pool;
        bool loaded = false;
        AllocationCount const counter;
        state.SetIterationTime(watch.time([&] { loaded = pool.loadFiler(image); }));
        allocations = counter.count();
        if (!loaded || pool.objectCount() != source.objectCount())
            state.SkipWithError("the pool was not loaded");
        reference.run();
    }
    tell(state, image, objects, watch, reference, allocations);
}

void saveBuilt(benchmark::State &state)
{
    auto const count = static_cast<int>(state.range(0));
    measureSave(state, parameterSample(count, SampleOrigin::Built), count);
}

void saveLoaded(benchmark::State &state)
{
    auto const count = static_cast<int>(state.range(0));
    measureSave(state, parameterSample(count, SampleOrigin::Loaded), count);
}

void load(benchmark::State &state)
{
    auto const count = static_cast<int>(state.range(0));
    measureLoad(state, parameterSample(count, SampleOrigin::Loaded), count);
}

// Here an object is an id of a list: the frames of the categories themselves hardly count.
void saveLists(benchmark::State &state)
{
    OKTDbPool pool;
    fillWithCategories(pool, kLists, kListLength);
    measureSave(state, pool, kLists * kListLength);
}

void loadLists(benchmark::State &state)
{
    OKTDbPool pool;
    fillWithCategories(pool, kLists, kListLength);
    measureLoad(state, pool, kLists * kListLength);
}

// Sizes outside and origins inside, so that each sample is made once.
BENCHMARK(saveBuilt)->Name("save, pool as built")->Arg(kSmall)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(saveLoaded)->Name("save, pool as loaded")->Arg(kSmall)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(load)->Name("load")->Arg(kSmall)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(saveBuilt)->Name("save, pool as built")->Arg(kLarge)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(saveLoaded)->Name("save, pool as loaded")->Arg(kLarge)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(load)->Name("load")->Arg(kLarge)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(saveLists)->Name("save, lists of 10,000 ids")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(loadLists)->Name("load, lists of 10,000 ids")->UseManualTime()->Unit(benchmark::kMillisecond);
} // namespace
