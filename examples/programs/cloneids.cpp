// SPDX-License-Identifier: MIT
// Clones a template under new ids, so that both can be in one drawing. References between its objects follow.
//   cloneids FILE NEWFILE

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <memory>

int main(int count, char **arguments)
{
    if (count != 3)
        return 2;
    OKTDbPool pool;
    if (!pool.readFile(CString::FromUtf8(arguments[1])))
        return 1;
    pool.setBoolTranslatedIds(true);
    std::unique_ptr<OKTDbPool> const clone(pool.clone());
    pool.setBoolTranslatedIds(false);
    if (clone == nullptr || !clone->writeFile(CString::FromUtf8(arguments[2])))
        return 1;

    IdMap const newIds = clone->MapTranslatedIds();
    int renewed = 0;
    int followed = 0;
    for (int i = 0; i < pool.objectCount(); ++i)
    {
        OKTDbObjectId const *const id = newIds.find(pool.objectAt(i));
        OKTDbObject *object = nullptr;
        if (id == nullptr || !clone->findObject(*id, object))
            continue;
        renewed += pool.objectAt(i) == *id ? 0 : 1;
        OKTDbParameter const *const before = OKTDbParameter::cast(pool.objectAt(i));
        OKTDbParameter const *const after = OKTDbParameter::cast(object);
        if (before == nullptr || before->Category().isNull())
            continue;
        OKTDbObjectId const *const category = newIds.find(before->Category());
        followed += category != nullptr && after->Category() == *category ? 1 : 0;
    }
    std::printf("%d of %d objects have a new id\n", renewed, pool.objectCount());
    std::printf("%d parameters name the new id of their category\n", followed);
}
