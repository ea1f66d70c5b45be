// SPDX-License-Identifier: MIT
#include "fuzzsupport.h"

#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktwarning.h>
#include <support/clientclasses.h>

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr ParamType kQuantityExpression = 39;

// Reports are right for many inputs and nobody reads them here.
[[maybe_unused]] bool const g_silent = [] {
    OktSetWarningPresenter([](CString const &) {});
    return true;
}();

int countOf(OKTDbPool const &pool, OKTRuntimeClass *descriptor)
{
    IdArray ids;
    FUZZ_DEMAND(pool.collectEntities(descriptor, ids));
    return ids.getSize();
}

// True when what the pool saves need not be what a load of it saves again.
bool isLossy(OKTDbPool &pool)
{
    IdArray ids;
    FUZZ_DEMAND(pool.collectEntities(OKTDbParameter::desc(), ids));
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbObject *object = nullptr; // an object from a file may have the null id
        FUZZ_DEMAND(pool.findObject(id, object));
        OKTDbParameter const *const parameter = OKTDbParameter::cast(object);
        FUZZ_DEMAND(parameter != nullptr);
        bool const isConverted = parameter->isInDrawingUnits() || parameter->Type() == kQuantityExpression;
        if (parameter->Value().vt == VT_R4 || (isConverted && pool.metricsFactor() != 1.0))
            return true;
    }
    return false;
}

CByteArray saved(OKTDbPool const &pool)
{
    CByteArray image;
    IdMap translated;
    FUZZ_DEMAND(pool.saveFiler(image, translated));
    FUZZ_DEMAND(translated.isEmpty());
    return image;
}

CByteArray savedAgain(CByteArray const &image, int objects)
{
    OKTDbPool pool;
    FUZZ_DEMAND(pool.loadFiler(image));
    FUZZ_DEMAND(pool.objectCount() == objects);
    return saved(pool);
}
} // namespace

CByteArray bytesOfInput(std::uint8_t const *data, std::size_t size)
{
    CByteArray bytes;
    bytes.SetSize(static_cast<int>(size));
    std::copy_n(data, size, bytes.GetData());
    return bytes;
}

bool isEqual(CByteArray const &left, CByteArray const &right)
{
    return left.GetSize() == right.GetSize() && std::equal(left.GetData(), left.GetData() + left.GetSize(), right.GetData());
}

InputFile::InputFile(char const *name)
{
    std::filesystem::path const memory = "/dev/shm";
    std::filesystem::path const base = std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    std::string pattern = (base / "okt-fuzz-XXXXXX").string();
    FUZZ_DEMAND(mkdtemp(pattern.data()) != nullptr);
    m_folder = pattern;
    m_path = path(name);
    m_file = open((m_folder / name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    FUZZ_DEMAND(m_file >= 0);
}

InputFile::~InputFile()
{
    close(m_file);
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

void InputFile::write(std::uint8_t const *data, std::size_t size)
{
    FUZZ_DEMAND(ftruncate(m_file, static_cast<off_t>(size)) == 0);
    FUZZ_DEMAND(size == 0 || pwrite(m_file, data, size, 0) == static_cast<ssize_t>(size));
}

bool load(OKTDbPool &pool, CByteArray const &image)
{
    ExpectedLeak const lostObject;
    return pool.loadFiler(image);
}

void demandRoundTrip(OKTDbPool const &pool)
{
    CByteArray const second = savedAgain(saved(pool), pool.objectCount());
    CByteArray const third = savedAgain(second, pool.objectCount());
    FUZZ_DEMAND(isLossy(const_cast<OKTDbPool &>(pool)) || isEqual(second, third));
}

void demandSameImage(OKTDbPool const &pool)
{
    // Of several constructs the pool names the one that was read last, and only an image is in the order of the ids.
    if (isLossy(const_cast<OKTDbPool &>(pool)) || countOf(pool, ClientConstruct::desc()) > 1 ||
        countOf(pool, ClientIndexData::desc()) > 1)
        return;
    CByteArray const first = saved(pool);
    FUZZ_DEMAND(isEqual(first, savedAgain(first, pool.objectCount())));
}
