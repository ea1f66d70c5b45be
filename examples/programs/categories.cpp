// SPDX-License-Identifier: MIT
// Walks from the groups of a pool to their categories, and from these to their parameters. References are ids, resolved at each step.
//   categories FILE

#include <oktdatabase/oktdatabase.h>

#include <cstdio>

namespace
{
void show(OKTDbParameter const &parameter)
{
    tagVARIANT const value = parameter.Value();
    std::printf("    %s = ", parameter.UserName().ToUtf8().c_str());
    switch (value.vt)
    {
    case VT_R8: std::printf("%g\n", value.dblVal); break;
    case VT_I4: std::printf("%d\n", static_cast<int>(value.lVal)); break;
    case VT_BOOL: std::printf("%s\n", value.boolVal != 0 ? "yes" : "no"); break;
    case VT_BSTR: std::printf("\"%s\"\n", CString(value.bstrVal).ToUtf8().c_str()); break;
    default: std::printf("(kind %d)\n", value.vt);
    }
}
} // namespace

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
    std::printf("%s\n", pool.poolName().ToUtf8().c_str());
    IdArray groups;
    pool.collectEntities(OKTDbGroupCategory::desc(), groups);
    for (OKTDbObjectId const &groupId : groups)
    {
        OKTDbGroupCategory const *const group = OKTDbGroupCategory::cast(groupId);
        for (int i = 0; i < group->categoryCount(); ++i)
        {
            OKTDbCategory const *const category = OKTDbCategory::cast(group->categoryAt(i));
            if (category == nullptr)
                continue; // an id without an object is no fault of the pool
            std::printf("  %s\n", category->CategoryName().ToUtf8().c_str());
            for (int k = 0; k < category->parameterCount(); ++k)
                if (OKTDbParameter const *const parameter = OKTDbParameter::cast(category->parameterAt(k)))
                    show(*parameter);
        }
    }
}
