// SPDX-License-Identifier: MIT
// Opens a pool file in inches: lengths are converted while they are read, other values are not.
//   inches FILE

#include <oktdatabase/oktdatabase.h>

#include <cstdio>

int main(int count, char **arguments)
{
    if (count != 2)
        return 2;
    OKTDbPool pool;
    pool.setMetricsFactor(39.37007874015748);
    if (!pool.readFile(CString::FromUtf8(arguments[1])))
    {
        std::fprintf(stderr, "%s cannot be read\n", arguments[1]);
        return 1;
    }
    for (int type = 3; type <= 82; ++type) // by type, since ids are random
        for (int i = 0; i < pool.objectCount(); ++i)
        {
            OKTDbParameter const *const parameter = OKTDbParameter::cast(pool.objectAt(i));
            if (parameter == nullptr || parameter->Type() != type || parameter->Value().vt != VT_R8)
                continue;
            std::printf("%s: %.3f%s\n", parameter->UserName().ToUtf8().c_str(), parameter->Value().dblVal,
                        parameter->isInDrawingUnits() ? " in" : "");
        }
}
