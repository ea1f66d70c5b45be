// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdatabase.h>

int main()
{
    OKTDbPool pool;
    pool.appendObject(new OKTDbParameter);
    return pool.objectCount() == 1 ? 0 : 1;
}
