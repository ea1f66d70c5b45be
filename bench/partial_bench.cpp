// SPDX-License-Identifier: MIT
// The index and the pictures of pool files of 10 MB to 1 GB, read alone: time, and what the system says was read.

#include "measure.h"

#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktdbrelation.h>

#include <support/iocount.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace
{
constexpr int kBallastUnits = 60'000; // a text of so many units, two bytes each, makes up most of an object
constexpr int kPictureBytes = 45'000;

/// A file of `megabytes` million bytes that holds an index and a picture somewhere among other objects. Removed at the end. Any
/// object can have the role of the index.
class LargeFile
{
public:
    explicit LargeFile(int megabytes)
    {
        m_path = std::filesystem::temp_directory_path() / ("okt-bench-" + std::to_string(std::random_device()()) + ".okt");
        OKTDbPool pool;
        auto *const index = new OKTDbRelation;
        pool.appendObject(index);
        pool.setIndexId(index->objectId());
        auto *const picture = new OKTDbPicture;
        CByteArray image;
        image.SetSize(kPictureBytes);
        pool.appendObject(picture);
        picture->setPictureData(image);
        CString const ballast = CString::FromUtf8(std::string(kBallastUnits, 'x')); // one text, which all objects share
        for (long long bytes = 0; bytes < megabytes * 1'000'000LL; bytes += 2 * kBallastUnits)
        {
            auto *const parameter = new OKTDbParameter;
            pool.appendObject(parameter);
            parameter->setDescription(ballast);
        }
        if (!pool.writeFile(path()))
        {
            std::fprintf(stderr, "okt_bench: %s cannot be written\n", m_path.c_str());
            std::exit(1);
        }
    }
    LargeFile(LargeFile const &) = delete;
    LargeFile &operator=(LargeFile const &) = delete;
    ~LargeFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    CString path() const { return CString::FromUtf8(m_path.string()); }
    std::uintmax_t size() const { return std::filesystem::file_size(m_path); }

    /// The last file asked for stays until another size is.
    static LargeFile const &of(int megabytes)
    {
        static std::unique_ptr<LargeFile> kept;
        static int keptMegabytes = -1;
        if (keptMegabytes != megabytes)
        {
            kept.reset();
            kept = std::make_unique<LargeFile>(megabytes);
            keptMegabytes = megabytes;
        }
        return *kept;
    }

private:
    std::filesystem::path m_path;
};

template <typename R> void measurePart(benchmark::State &state, R read)
{
    LargeFile const &file = LargeFile::of(static_cast<int>(state.range(0)));
    CString const path = file.path();
    Stopwatch watch;
    ReadCount::Reads reads;
    for ([[maybe_unused]] auto const turn : state)
    {
        OKTDbPool pool;
        bool done = false;
        ReadCount const count;
        state.SetIterationTime(watch.time([&] { done = read(pool, path); }));
        reads = count.reads();
        if (!done || pool.objectCount() != 1)
            state.SkipWithError("the object was not read");
    }
    state.counters["part_file_bytes"] = static_cast<double>(file.size());
    state.counters["part_bytes_read"] = static_cast<double>(reads.bytes);
    state.counters["part_read_calls"] = static_cast<double>(reads.calls);
    state.counters["part_ns"] = watch.median() * 1e9;
}

void readIndex(benchmark::State &state)
{
    measurePart(state, [](OKTDbPool &pool, CString const &path) { return pool.readIndex(path); });
}

void readPicture(benchmark::State &state)
{
    measurePart(state, [](OKTDbPool &pool, CString const &path) { return pool.readFilePicture(path); });
}

constexpr int kSizes[] = {10, 100, 1000};

// Sizes outside and objects inside, so that each file is written once.
[[maybe_unused]] bool const g_registered = [] {
    for (int const megabytes : kSizes)
    {
        benchmark::RegisterBenchmark("index alone", readIndex)->Arg(megabytes)->UseManualTime()->MinTime(0.1);
        benchmark::RegisterBenchmark("picture alone", readPicture)->Arg(megabytes)->UseManualTime()->MinTime(0.1);
    }
    return true;
}();
} // namespace
