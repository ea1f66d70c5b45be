// SPDX-License-Identifier: MIT
// static FILE: every class of the library is registered in this program, and reads its objects. The program names no class but the base and the
// pool, so that the registry comes with that alone.

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktdatabase/oktversion.h>

#include <cstdio>
#include <map>
#include <string>

int main(int count, char **arguments)
{
    if (count != 2)
        return 2;
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    if (!pool.readFile(CString::FromUtf8(arguments[1])))
    {
        std::fprintf(stderr, "%s cannot be read\n", arguments[1]);
        return 1;
    }
    std::map<std::string, int> counts;
    for (int i = 0; i < pool.objectCount(); ++i)
        ++counts[OKTDbObject::cast(pool.objectAt(i))->isA()->ClassName().ToUtf8()];
    std::printf("release %s\n", oktVersion());
    for (auto const &[name, objects] : counts)
        std::printf("%s %d\n", name.c_str(), objects);
    for (char16_t const *name : {u"OKTDbObject", u"OKTDbParameter", u"OKTDbGroupParameter", u"OKTDbCategory",
                                 u"OKTDbGroupCategory", u"OKTDbRelation", u"OKTDbParamRelation", u"OKTDbPicture"})
        if (g_RuntimeClass.find(CString(name)) == nullptr)
            std::printf("%s is not registered\n", CString(name).ToUtf8().c_str());
}
