// SPDX-License-Identifier: MIT
// Single members through the memory filer: into a buffer that has room, so that nothing is to be allocated, and back.

#include "measure.h"

#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktgexyz.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktplatform/oktarrays.h>

namespace
{
constexpr int kFilled = 4 * 1024 * 1024; // bytes in the filer before a round; it then grows by an eighth
constexpr int kMembers = 5'000;          // of a round: fewer bytes than that eighth

/// A filer with room for half a megabyte: its buffer has just grown.
OKTMemoryFiler filerWithRoom(CByteArray const &filling)
{
    OKTMemoryFiler filer;
    filer.writeByteArray(u"m_member", filling);
    for (AllocationCount const counter; counter.count() == 0;)
        filer.writeInt(u"m_member", 0);
    return filer;
}

template <typename W> void measureWrite(benchmark::State &state, W write)
{
    CByteArray filling;
    filling.SetSize(kFilled);
    Stopwatch watch;
    std::size_t allocations = 0;
    std::int64_t bytes = 0;
    for ([[maybe_unused]] auto const turn : state)
    {
        OKTMemoryFiler filer = filerWithRoom(filling);
        long const before = filer.GetFilerLength();
        bool written = true;
        AllocationCount const counter;
        state.SetIterationTime(watch.time([&] {
            for (int i = 0; i < kMembers; ++i)
                written = write(filer) && written;
        }));
        allocations = counter.count();
        bytes = filer.GetFilerLength() - before;
        if (!written)
            state.SkipWithError("a member was not written");
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters[kNanoseconds] = watch.median() * 1e9 / kMembers;
    state.counters[kBytes] = static_cast<double>(bytes) / kMembers;
    state.counters[kAllocations] = static_cast<double>(allocations) / kMembers;
}

template <typename W, typename R> void measureRead(benchmark::State &state, W write, R read)
{
    OKTMemoryFiler written;
    for (int i = 0; i < kMembers; ++i)
        write(written);
    written.endWriteClass(); // a value cannot be read from the very end of a buffer
    CByteArray const bytes = written.takeBytes();
    Stopwatch watch;
    std::size_t allocations = 0;
    for ([[maybe_unused]] auto const turn : state)
    {
        OKTMemoryFiler filer;
        filer.readInPlace(bytes);
        bool done = true;
        AllocationCount const counter;
        state.SetIterationTime(watch.time([&] {
            for (int i = 0; i < kMembers; ++i)
                done = read(filer) && done;
        }));
        allocations = counter.count();
        if (!done)
            state.SkipWithError("a member was not read");
    }
    state.SetBytesProcessed(state.iterations() * bytes.GetSize());
    state.counters[kNanoseconds] = watch.median() * 1e9 / kMembers;
    state.counters[kBytes] = static_cast<double>(bytes.GetSize() - 1) / kMembers;
    state.counters[kAllocations] = static_cast<double>(allocations) / kMembers;
}

bool writeInt(OKTMemoryFiler &filer) { return filer.writeInt(u"m_member", 4711); }

bool writePoint(OKTMemoryFiler &filer)
{
    static OKTGeXYZ const point(1.0, 2.0, 3.0);
    return filer.writePoint3d(u"m_member", point);
}

bool writeId(OKTMemoryFiler &filer)
{
    static OKTDbObjectId const id = OKTDbObjectId::createObjectId(nullptr);
    return filer.writeObjectId(u"m_member", id);
}

bool writeText(OKTMemoryFiler &filer)
{
    static CString const text(u"Position 12, see drawing", 24); // a copy: not the wrapped literal
    return filer.writeString(u"m_member", text);
}

bool readInt(OKTMemoryFiler &filer)
{
    int value;
    bool const done = filer.readInt(u"m_member", value);
    benchmark::DoNotOptimize(value);
    return done;
}

bool readPoint(OKTMemoryFiler &filer)
{
    OKTGeXYZ point;
    bool const done = filer.readPoint3d(u"m_member", point);
    benchmark::DoNotOptimize(point);
    return done;
}

bool readId(OKTMemoryFiler &filer)
{
    OKTDbObjectId id;
    bool const done = filer.readObjectId(u"m_member", id);
    benchmark::DoNotOptimize(id);
    return done;
}

bool readText(OKTMemoryFiler &filer)
{
    CString text;
    bool const done = filer.readString(u"m_member", text);
    benchmark::DoNotOptimize(text);
    return done;
}

BENCHMARK_CAPTURE(measureWrite, int, writeInt)->Name("write, integer")->UseManualTime();
BENCHMARK_CAPTURE(measureWrite, text, writeText)->Name("write, text of 24 characters")->UseManualTime();
BENCHMARK_CAPTURE(measureWrite, id, writeId)->Name("write, id")->UseManualTime();
BENCHMARK_CAPTURE(measureWrite, point, writePoint)->Name("write, point")->UseManualTime();
BENCHMARK_CAPTURE(measureRead, int, writeInt, readInt)->Name("read, integer")->UseManualTime();
BENCHMARK_CAPTURE(measureRead, text, writeText, readText)->Name("read, text of 24 characters")->UseManualTime();
BENCHMARK_CAPTURE(measureRead, id, writeId, readId)->Name("read, id")->UseManualTime();
BENCHMARK_CAPTURE(measureRead, point, writePoint, readPoint)->Name("read, point")->UseManualTime();
} // namespace
