// SPDX-License-Identifier: MIT
// Makes a template in memory and saves it.
//   make FILE

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktdurablesave.h>

#include <cstdio>

namespace
{
// The pool owns what it takes over; a parameter counts in the unit of the pool that its owner names.
OKTDbParameter *addParameter(OKTDbPool &pool, OKTDbCategory *category, int type, double value)
{
    auto *const parameter = new OKTDbParameter(type, pool.objectId());
    parameter->setValue(value, 0);
    pool.appendObject(parameter);
    parameter->setCategory(category->objectId());
    category->appendParameter(parameter->objectId());
    return parameter;
}
} // namespace

int main(int count, char **arguments)
{
    if (count != 2)
        return 2;
    OKTDbPool pool;
    pool.setPoolName(u"Straight bar");
    pool.setMetricsFactor(1000.0); // millimetres; a file holds metres

    auto *const group = new OKTDbGroupCategory;
    pool.appendObject(group);
    auto *const bar = new OKTDbCategory;
    pool.appendObject(bar);
    bar->setCategoryName(u"Bar");
    bar->setGroupCategory(group->objectId());
    group->appendCategory(bar->objectId());

    OKTDbParameter const *const diameter = addParameter(pool, bar, 5, 12.0);
    OKTDbParameter const *const cover = addParameter(pool, bar, 6, 35.0);
    auto *const together = new OKTDbParamRelation;
    pool.appendObject(together);
    together->appendParameter(diameter->objectId());
    together->appendParameter(cover->objectId());

    OktSaveRefusal why;
    if (OktSaveDurably(pool, CString::FromUtf8(arguments[1]), &why) != OktSaveStatus::Saved)
    {
        std::fprintf(stderr, "not saved: %d, error of the system %d\n", static_cast<int>(why.status), why.systemError);
        return 1;
    }
    std::printf("%d objects saved\n", pool.objectCount());
}
