// SPDX-License-Identifier: MIT
// A pool file of any bytes: the header alone, and reading and writing of whole files, which keep the factor of the pool.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktdatabase/oktmemoryfiler.h>
#include <support/clientclasses.h>

namespace
{
void readHeaderBlock(CByteArray const &bytes)
{
    OKTDbPool pool;
    OKTMemoryFiler filer(&pool);
    filer.readInPlace(bytes);
    InfoMap info;
    pool.xmlIn(&filer, info);
    FUZZ_DEMAND(filer.GetFilerPosition() >= 0 && filer.GetFilerPosition() <= bytes.GetSize());
    demandRoundTrip(pool);
}

// A file is read as the bytes in it are, but for the factor: the pool keeps its own.
void readWhole(CString const &path, CByteArray const &bytes, double factor, bool isCompared)
{
    ExpectedLeak const lostObject;
    OKTDbPool pool;
    pool.setMetricsFactor(factor);
    bool const isRead = pool.readFile(path);
    FUZZ_DEMAND(pool.metricsFactor() == factor);
    if (!isCompared)
        return;
    OKTDbPool image;
    image.setMetricsFactor(factor);
    FUZZ_DEMAND(image.loadFiler(bytes) == isRead);
    FUZZ_DEMAND(image.objectCount() == pool.objectCount());
}

// What is written again must be readable with as many objects.
void writeWhole(CString const &path, CString const &copyPath, double factor)
{
    OKTDbPool pool;
    pool.setMetricsFactor(factor);
    {
        ExpectedLeak const lostObject;
        pool.readFile(path);
    }
    FUZZ_DEMAND(pool.writeFile(copyPath));
    OKTDbPool again;
    again.setMetricsFactor(factor);
    FUZZ_DEMAND(again.readFile(copyPath));
    FUZZ_DEMAND(again.metricsFactor() == factor);
    FUZZ_DEMAND(again.objectCount() == pool.objectCount());
    demandRoundTrip(again);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    static InputFile file("input.okt");
    CByteArray const bytes = bytesOfInput(data, size);

    file.write(data, size);
    readWhole(file.path(), bytes, 1000.0, isOneIn(4, data, size));
    if (!isOneIn(16, data, size))
        return 0;
    readHeaderBlock(bytes);
    constexpr std::size_t kLengthRecord = 5;
    if (size > kLengthRecord)
        readHeaderBlock(bytesOfInput(data + kLengthRecord, size - kLengthRecord));
    writeWhole(file.path(), file.path("copy.okt"), 1.0);
    writeWhole(file.path(), file.path("copy.okt"), 1000.0);
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
