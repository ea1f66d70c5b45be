// SPDX-License-Identifier: MIT
// A pool image of any bytes: loadFiler with and without a read filter, and everything that makes an image of what came of it.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbparameter.h>
#include <support/clientclasses.h>

#include <memory>

namespace
{
void demandObjects(OKTDbPool &pool)
{
    IdArray ids;
    pool.getAllObjects(ids);
    FUZZ_DEMAND(ids.getSize() == pool.objectCount());
    for (int i = 0; i < ids.getSize(); ++i)
    {
        OKTDbObject *object = nullptr;
        FUZZ_DEMAND(pool.findObject(ids.at(i), object) && object != nullptr);
        FUZZ_DEMAND(object->objectId() == ids.at(i) && object->objectId().getPool() == &pool);
        FUZZ_DEMAND(pool.objectAt(i) == ids.at(i));
        FUZZ_DEMAND(i == 0 || ids.at(i - 1) < ids.at(i));
    }
}

void demandCopies(OKTDbPool &pool)
{
    OKTDbPool copy;
    FUZZ_DEMAND(copy.copyFrom(&pool));
    FUZZ_DEMAND(copy.objectCount() == pool.objectCount());
    FUZZ_DEMAND(copy.objectId() == pool.objectId());

    pool.setBoolTranslatedIds(true);
    std::unique_ptr<OKTDbPool> const renumbered(pool.clone());
    pool.setBoolTranslatedIds(false);
    FUZZ_DEMAND(renumbered != nullptr);
    FUZZ_DEMAND(renumbered->objectCount() == pool.objectCount());
    IdArray ids;
    renumbered->getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbObject *object = nullptr;
        FUZZ_DEMAND(id.isNull() || !pool.findObject(id, object));
    }
}

void demandFilter(CByteArray const &image, OKTDbPool const &whole, bool wholeLoaded)
{
    OKTDbPool pool;
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbParameter::desc());
    filter.append(nullptr);
    pool.setReadFilter(filter);
    bool const loaded = load(pool, image);
    FUZZ_DEMAND(loaded || !wholeLoaded);
    IdArray ids;
    FUZZ_DEMAND(whole.collectEntities(OKTDbParameter::desc(), ids));
    // A load that ends early, ends at the same object or later: a class that is dropped cannot stand in the pool twice.
    FUZZ_DEMAND(pool.objectCount() >= ids.getSize());
    FUZZ_DEMAND(!wholeLoaded || pool.objectCount() == ids.getSize());
}

void demandReset(OKTDbPool &pool)
{
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        ExpectedLeak const lostObject; // quirk 22
        FUZZ_DEMAND(pool.resetObject(id));
    }
    demandObjects(pool);
    demandRoundTrip(pool);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    CByteArray const image = bytesOfInput(data, size);

    OKTDbPool pool;
    pool.setMetricsFactor(1000.0); // stays where the image has none
    bool const loaded = load(pool, image);
    demandObjects(pool);
    demandSameImage(pool);
    demandCopies(pool);
    demandFilter(image, pool, loaded);
    // What is there already is not read again.
    if (loaded && pool.objectCount() > 0)
        FUZZ_DEMAND(!load(pool, image));
    demandReset(pool);
    FUZZ_DEMAND(pool.eraseAllObjects() && pool.objectCount() == 0);
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
