// SPDX-License-Identifier: MIT
// Reads the categories of a file, and drops everything else while it is read.
//   classfilter FILE

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <set>
#include <string>

int main(int count, char **arguments)
{
    if (count != 2)
        return 2;
    OKTDbPool pool;
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbCategory::desc()); // objects of this class, and of those derived from it
    pool.setReadFilter(filter);
    if (!pool.readFile(CString::FromUtf8(arguments[1])))
    {
        std::fprintf(stderr, "%s cannot be read\n", arguments[1]);
        return 1;
    }
    std::set<std::string> lines;
    for (int i = 0; i < pool.objectCount(); ++i)
    {
        OKTDbCategory const *const category = OKTDbCategory::cast(pool.objectAt(i));
        // Its parameters are not in the pool; their ids are still told.
        lines.insert(category->CategoryName().ToUtf8() + ": " + std::to_string(category->parameterCount()) + " parameters");
    }
    std::printf("%d objects kept\n", pool.objectCount());
    for (std::string const &line : lines)
        std::printf("%s\n", line.c_str());
}
