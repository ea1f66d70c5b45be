// SPDX-License-Identifier: MIT
// A program of its own for each release of the class in docs/client-modules.md: writes a file, reads one, or reads one and saves
// it again.

#include "barmark.h"

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <cstring>

namespace
{
bool write(CString const &path)
{
    OKTDbPool pool;
    auto *const diameter = new OKTDbParameter(5, OKTDbObjectId());
    pool.appendObject(diameter);
    diameter->setValue(12.0, 0);
    auto *const mark = new BarMark;
    pool.appendObject(mark);
    mark->setMark(u"A1");
    mark->setBarCount(7);
    mark->setDiameter(diameter->objectId());
#if BARMARK_VERSION >= 2
    mark->setZone(u"East");
    mark->setSurcharge(4.0);
#endif
    // What stands behind the objects of the class is read too.
    pool.appendObject(new OKTDbCategory);
    return pool.writeFile(path);
}

void print(BarMark const &mark)
{
    auto const *const diameter = OKTDbParameter::cast(mark.Diameter());
    std::printf("mark %s, %d bars, diameter %g", mark.Mark().ToUtf8().c_str(), mark.BarCount(),
                diameter == nullptr ? 0.0 : diameter->Value().dblVal);
#if BARMARK_VERSION >= 2
    std::printf(", zone '%s', surcharge %g", mark.Zone().ToUtf8().c_str(), mark.Surcharge());
#endif
    std::printf("\n");
}

bool read(OKTDbPool &pool, CString const &path)
{
    if (!pool.readFile(path))
        return false;
    IdArray ids;
    pool.collectEntities(BarMark::desc(), ids);
    for (OKTDbObjectId const &id : ids)
        print(*BarMark::cast(id));
    std::printf("%d objects\n", pool.objectCount());
    return true;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    OKTDbPool pool;
    CString const path = CString::FromUtf8(argv[2]);
    if (std::strcmp(argv[1], "write") == 0)
        return write(path) ? 0 : 1;
    if (std::strcmp(argv[1], "read") == 0)
        return read(pool, path) ? 0 : 1;
    if (std::strcmp(argv[1], "copy") == 0 && argc == 4)
        return read(pool, path) && pool.writeFile(CString::FromUtf8(argv[3])) ? 0 : 1;
    return 2;
}
