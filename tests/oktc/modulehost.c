// SPDX-License-Identifier: MIT
// A host in C that loads a client module and uses a class of it.
//   modulehost MODULE FILE

#include <oktc/oktc.h>

#include <stdio.h>

static int s_failed = 0;

static void expect(OktcStatus status, OktcStatus expected, char const *what)
{
    if (status == expected)
        return;
    printf("%s: %s, %s\n", what, oktcStatusName(status), oktcLastMessage());
    s_failed = 1;
}

int main(int count, char **arguments)
{
    OktcPool pool = 0;
    OktcPool read = 0;
    OktcObject construct = 0;
    OktcObject found = 0;
    char *name = NULL;
    uint64_t length = 0;
    uint8_t id[16];

    if (count != 3)
        return 2;
    expect(oktcPoolCreate(&pool), OKTC_OK, "create");
    expect(oktcObjectCreate(pool, "OKTDbConstruct", &construct), OKTC_UNKNOWN_CLASS, "a class that is not there");
    expect(oktcLoadModule(arguments[1]), OKTC_OK, "load");
    expect(oktcLoadModule(arguments[1]), OKTC_OK, "load again");
    expect(oktcObjectCreate(pool, "OKTDbConstruct", &construct), OKTC_OK, "object");
    expect(oktcPoolSave(pool, arguments[2]), OKTC_OK, "save");
    expect(oktcPoolOpen(arguments[2], 1.0, &read), OKTC_OK, "open");
    expect(oktcReference(read, OKTC_CONSTRUCT, id), OKTC_OK, "role");
    expect(oktcPoolFind(read, id, &found), OKTC_OK, "find");
    expect(oktcObjectClass(found, &name, &length), OKTC_OK, "class");
    printf("%s of %d letters\n", name == NULL ? "none" : name, (int)length);
    oktcFree(name);
    expect(oktcObjectErase(found), OKTC_OK, "erase");
    expect(oktcObjectClass(found, &name, &length), OKTC_GONE, "class of what is gone");
    expect(oktcPoolClose(pool), OKTC_OK, "close");
    expect(oktcObjectErase(construct), OKTC_CLOSED, "erase in a closed pool");
    // The other pool stays open: a process may end so.
    return s_failed;
}
