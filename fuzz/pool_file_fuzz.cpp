// SPDX-License-Identifier: MIT
// A pool file of any bytes: the header alone, the partial readers, and reading and writing of whole files, which keep the
// factor of the pool.

#include "fuzzsupport.h"

#include <oktdatabase/oktmemoryfiler.h>
#include <support/clientclasses.h>

#include <filesystem>
#include <fstream>

namespace
{
/// The input as a file in a folder of this process, in memory where the system has such a place.
class InputFile
{
public:
    InputFile()
    {
        std::filesystem::path const memory = "/dev/shm";
        std::filesystem::path const base =
            std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
        std::string pattern = (base / "okt-fuzz-XXXXXX").string();
        FUZZ_DEMAND(mkdtemp(pattern.data()) != nullptr);
        m_folder = pattern;
    }
    InputFile(InputFile const &) = delete;
    InputFile &operator=(InputFile const &) = delete;
    ~InputFile()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    CString path(char const *name) const { return CString::FromUtf8((m_folder / name).string()); }
    void write(std::uint8_t const *data, std::size_t size) const
    {
        std::ofstream file(m_folder / "input.okt", std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<char const *>(data), static_cast<std::streamsize>(size));
        FUZZ_DEMAND(file.good());
    }

private:
    std::filesystem::path m_folder;
};

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

void readPartially(CString const &path, int size)
{
    OKTDbPool pool;
    OKTDbPool::InfoMap info;
    bool const hasHeader = pool.readFileHeader(path, info);
    FUZZ_DEMAND(!hasHeader || size >= 1024);
    FUZZ_DEMAND(pool.objectCount() == 0);
    {
        ExpectedLeak const lostObject;
        OKTDbPool index;
        bool const hasIndex = index.readIndex(path);
        FUZZ_DEMAND(hasIndex ? hasHeader && index.objectCount() == 1 : index.objectCount() == 0);
        demandRoundTrip(index);

        OKTDbPool pictures;
        bool const hasPictures = pictures.readFilePicture(path);
        FUZZ_DEMAND(!hasPictures || hasHeader);
        demandRoundTrip(pictures);
    }
}

// A file says factor 1, the pool keeps its own: what is written again must be readable with as many objects.
void readWhole(CString const &path, CString const &copyPath, double factor)
{
    OKTDbPool pool;
    pool.setMetricsFactor(factor);
    {
        ExpectedLeak const lostObject;
        pool.readFile(path);
    }
    FUZZ_DEMAND(pool.metricsFactor() == factor);
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
    static InputFile const file;
    CByteArray const bytes = bytesOfInput(data, size);

    readHeaderBlock(bytes);
    constexpr std::size_t kLengthRecord = 5;
    if (size > kLengthRecord)
        readHeaderBlock(bytesOfInput(data + kLengthRecord, size - kLengthRecord));

    file.write(data, size);
    CString const path = file.path("input.okt");
    readPartially(path, bytes.GetSize());
    readWhole(path, file.path("copy.okt"), 1.0);
    readWhole(path, file.path("copy.okt"), 1000.0);
    return 0;
}
