// SPDX-License-Identifier: MIT
// okt_memory FOLDER: the memory that saving and loading a pool takes beside pool and image, and what a parameter takes, by an
// allocator that counts. Writes memory.md and memory-targets.md into the folder.

#include "../report.h"
#include "../samplefile.h"
#include "../samplepool.h"

#include <oktdatabase/oktdbparameter.h>

#include <support/alloccount.h>
#include <support/spareblock.h>

#include <malloc.h>

#include <algorithm>
#include <iostream>
#include <memory>

namespace
{
constexpr int kCounts[] = {1'000, 100'000, 1'000'000};

/// Times the bytes of the image.
struct Figures
{
    double save = 0.0;      ///< peak of saveFiler, the image included
    double writeFile = 0.0; ///< peak of writeFile
    double readFile = 0.0;  ///< peak of readFile less the pool that came of it
    double load = 0.0;      ///< peak of loadFiler less the pool that came of it, the image not included
    double bytes = 0.0;     ///< of the image, per object
    double pool = 0.0;      ///< bytes of the pool, per object
    double parameter = 0.0; ///< bytes of a parameter with nothing but a name, its place in the pool included
};

/// What `call` leaves behind, and what it holds at its worst beside that.
struct Held
{
    double left;
    double beside;
};

template <typename F> Held heldBy(F call)
{
    PeakMemory const peak;
    call();
    auto const most = static_cast<double>(peak.bytes());
    PeakMemory const fromHere; // sets the peak to what is held now
    auto const left = static_cast<double>(peak.bytes());
    return {left, most - left};
}

/// Bytes in use by the allocator's own books, its heads and roundings included.
double bytesInUse()
{
    struct mallinfo2 const books = mallinfo2();
    return static_cast<double>(books.uordblks + books.hblkhd);
}

/// The library keeps the region of the last load for the next one. A load that needs a smaller one makes it give that up.
void giveUpSpareRegion()
{
    constexpr int kObjects = 700; // which are just enough for a region
    static CByteArray const image = [] {
        OKTDbPool pool;
        fillWithTemplate(pool, kObjects);
        return imageOf(pool);
    }();
    OKTDbPool pool;
    demand(pool.loadFiler(image), "loading a small pool");
}

double bytesOfBareParameter(int count)
{
    CByteArray image;
    {
        OKTDbPool pool;
        for (int i = 0; i < count; ++i)
        {
            auto parameter = std::make_unique<OKTDbParameter>(6, pool.objectId());
            parameter->setValue(35.0, 0);
            demand(pool.appendObject(parameter.release()), "building a pool");
        }
        image = imageOf(pool);
    }
    giveUpSpareRegion();
    OKTDbPool pool;
    double const before = bytesInUse();
    demand(pool.loadFiler(image), "loading a pool");
    return (bytesInUse() - before) / count;
}

Figures measure(int count)
{
    Figures figures;
    SampleFile const file;
    CByteArray image;
    {
        OKTDbPool pool;
        fillWithTemplate(pool, count);
        image = imageOf(pool);
        demand(pool.writeFile(file.path()), "writing a pool file");
    }
    double const size = image.GetSize();
    figures.bytes = size / count;
    giveUpSpareRegion();
    {
        OKTDbPool pool;
        figures.load = heldBy([&] { demand(pool.loadFiler(image), "loading a pool"); }).beside / size;
    }
    image = CByteArray();
    giveUpSpareRegion();
    OKTDbPool pool;
    Held const read = heldBy([&] { demand(pool.readFile(file.path()), "reading a pool file"); });
    figures.readFile = read.beside / size;
    figures.pool = read.left / count;
    giveUpSpareBlock();
    Held const saved = heldBy([&] {
        IdMap translated;
        demand(pool.saveFiler(image, translated), "saving a pool");
    });
    figures.save = (saved.left + saved.beside) / size;
    image = CByteArray();
    giveUpSpareBlock();
    Held const written = heldBy([&] { demand(pool.writeFile(file.path()), "writing a pool file"); });
    figures.writeFile = (written.left + written.beside) / size;
    figures.parameter = bytesOfBareParameter(count);
    return figures;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: okt_memory FOLDER\n";
        return 2;
    }
    std::string const folder = argv[1];
    std::ofstream table(folder + "/memory.md");
    table << "| Objects | `saveFiler`, image included | `writeFile` | `readFile`, beside the pool | `loadFiler`, beside pool "
             "and image "
             "| Image, bytes per object | Pool, bytes per object | Bare parameter, bytes |\n"
             "|--:|--:|--:|--:|--:|--:|--:|--:|\n";
    char line[256];
    Figures worst;
    for (int const count : kCounts)
    {
        Figures const figures = measure(count);
        std::snprintf(line, sizeof line, "| %s | %.2f | %.2f | %.2f | %.2f | %.0f | %.0f | %.0f |\n", grouped(count).c_str(),
                      figures.save, figures.writeFile, figures.readFile, figures.load, figures.bytes, figures.pool,
                      figures.parameter);
        table << line;
        worst.save = std::max({worst.save, figures.save, figures.writeFile});
        worst.readFile = std::max(worst.readFile, figures.readFile);
        worst.parameter = std::max(worst.parameter, figures.parameter);
    }
    Targets targets(folder + "/memory-targets.md");
    targets.atMost("Memory for saving beyond the pool, at any size", " images", 1.15, worst.save);
    targets.atMost("Memory for loading a file beside the pool, at any size", " images", 1.1, worst.readFile);
    targets.atMost("A parameter with no text but its name, in all", " bytes", 400, worst.parameter);
    table.close();
    demand(!table.fail(), "writing the figures");
    return 0;
}
