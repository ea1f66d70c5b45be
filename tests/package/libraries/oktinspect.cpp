// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>
#include <oktinspect/verifier.h>

int main()
{
    OKTDbPool pool;
    return pool.writeFile(u"sound.okt") && okt::verify("sound.okt").findings.empty() ? 0 : 1;
}
