// SPDX-License-Identifier: MIT
#include "../report.h"
#include "../samplepool.h"
#include "hostcase.h"
#include "process.h"

#include <oktdatabase/oktdatabase.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace
{
HostFigures saveOf(OKTDbPool const &pool, int count)
{
    CByteArray image;
    IdMap translated;
    HostFigures figures = measureFirstAndLater(hostTurns(count), [&] {
        image = CByteArray();
        demand(pool.saveFiler(image, translated), "saving a pool");
    });
    figures.bytes = image.GetSize();
    return figures;
}

HostFigures saveBuilt(int count, std::string const &)
{
    OKTDbPool pool;
    fillWithTemplate(pool, count);
    return saveOf(pool, count);
}

HostFigures saveLoaded(int count, std::string const &path)
{
    OKTDbPool pool;
    demand(pool.readFile(CString::FromUtf8(path)), "reading a file");
    return saveOf(pool, count);
}

CByteArray imageIn(std::string const &path)
{
    CByteArray image;
    demand(OKTMemoryFiler::loadFiler(CString::FromUtf8(path), image, -1, -1), "reading an image");
    return image;
}

/// The end of a pool does not count.
HostFigures load(int count, std::string const &path)
{
    CByteArray const image = imageIn(path);
    std::unique_ptr<OKTDbPool> pool;
    auto const loadOnce = [&] { demand(pool->loadFiler(image), "loading an image"); };
    pool = std::make_unique<OKTDbPool>();
    HostFigures figures = measureFirst(loadOnce);
    Stopwatch watch;
    for (int i = 0; i < hostTurns(count); ++i)
    {
        pool = std::make_unique<OKTDbPool>();
        watch.time(loadOnce);
    }
    figures.later = watch.median();
    figures.bytes = image.GetSize();
    return figures;
}

HostFigures readFileOnce(int, std::string const &path)
{
    auto *const pool = new OKTDbPool; // and left to the end of the process, as the pools of the peers are
    CString const name = CString::FromUtf8(path);
    HostFigures figures = measureFirst([&] { demand(pool->readFile(name), "reading a file"); });
    figures.bytes = static_cast<double>(std::filesystem::file_size(path));
    return figures;
}

std::string besideOf(std::string const &path) { return path + ".written"; }

HostFigures writeFile(int count, std::string const &path)
{
    OKTDbPool pool;
    demand(pool.readFile(CString::FromUtf8(path)), "reading a file");
    CString const name = CString::FromUtf8(besideOf(path));
    HostFigures const figures = measureFirstAndLater(hostTurns(count), [&] { demand(pool.writeFile(name), "writing a file"); });
    unlink(besideOf(path).c_str());
    return figures;
}

void writeBytes(std::string const &path, CByteArray const &image)
{
    int const file = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0666);
    demand(file >= 0 && write(file, image.GetData(), static_cast<std::size_t>(image.GetSize())) == image.GetSize() &&
               close(file) == 0,
           "writing bytes");
}

/// What writeFile cannot do without: the image, and one call of the system.
HostFigures saveAndWrite(int count, std::string const &path)
{
    OKTDbPool pool;
    demand(pool.readFile(CString::FromUtf8(path)), "reading a file");
    HostFigures const figures = measureFirstAndLater(hostTurns(count), [&] {
        CByteArray image;
        IdMap translated;
        demand(pool.saveFiler(image, translated), "saving a pool");
        writeBytes(besideOf(path), image);
    });
    unlink(besideOf(path).c_str());
    return figures;
}

HostFigures writeOnly(int count, std::string const &path)
{
    CByteArray const image = imageIn(path);
    HostFigures const figures = measureFirstAndLater(hostTurns(count), [&] { writeBytes(besideOf(path), image); });
    unlink(besideOf(path).c_str());
    return figures;
}

HostFigures openAndClose(int count, std::string const &path)
{
    CString const name = CString::FromUtf8(path);
    return measureFirstAndLater(hostTurns(count), [&] {
        OKTDbPool pool;
        demand(pool.readFile(name), "reading a file");
    });
}

HostFigures headerAlone(int count, std::string const &path)
{
    constexpr std::uintmax_t kLeast = 1024; // bytes: a smaller file has no header by this way (quirk 23)
    if (std::filesystem::file_size(path) < kLeast)
        return {};
    CString const name = CString::FromUtf8(path);
    return measureFirstAndLater(hostTurns(count), [&] {
        OKTDbPool pool;
        InfoMap info;
        demand(pool.readFileHeader(name, info), "reading a header");
    });
}
} // namespace

std::vector<HostCase> ourHostCases()
{
    return {
        {"save-built", saveBuilt},   {"save-loaded", saveLoaded},  {"load", load},
        {"read-file", readFileOnce}, {"write-file", writeFile},    {"save-and-write", saveAndWrite},
        {"write", writeOnly},        {"open-close", openAndClose}, {"header-alone", headerAlone},
    };
}
