// SPDX-License-Identifier: MIT
#include "fuzzsupport.h"

#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktwarning.h>
#include <support/clientclasses.h>

#include <algorithm>

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
bool isLossy(OKTDbPool const &pool)
{
    IdArray ids;
    FUZZ_DEMAND(pool.collectEntities(OKTDbParameter::desc(), ids));
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbParameter const *const parameter = OKTDbParameter::cast(id);
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

bool load(OKTDbPool &pool, CByteArray const &image)
{
    ExpectedLeak const lostObject;
    return pool.loadFiler(image);
}

void demandRoundTrip(OKTDbPool const &pool)
{
    CByteArray const second = savedAgain(saved(pool), pool.objectCount());
    CByteArray const third = savedAgain(second, pool.objectCount());
    FUZZ_DEMAND(isLossy(pool) || isEqual(second, third));
}

void demandSameImage(OKTDbPool const &pool)
{
    // Of several constructs the pool names the one that was read last, and only an image is in the order of the ids.
    if (isLossy(pool) || countOf(pool, ClientConstruct::desc()) > 1 || countOf(pool, ClientIndexData::desc()) > 1)
        return;
    CByteArray const first = saved(pool);
    FUZZ_DEMAND(isEqual(first, savedAgain(first, pool.objectCount())));
}
