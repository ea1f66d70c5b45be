/* SPDX-License-Identifier: MIT */
/* A pool made, saved, opened in another unit and checked by a program in C.
 *   chost FILE
 */
#include <oktc/oktc.h>

#include <stdio.h>
#include <stdlib.h>

/* Ends the program where a call fails, with the library's reason. */
static void must(OktcStatus status)
{
    if (status == OKTC_OK)
        return;
    fprintf(stderr, "%s: %s\n", oktcStatusName(status), oktcLastMessage());
    exit(1);
}

int main(int count, char **arguments)
{
    OktcPool pool, inches;
    OktcObject cover, found;
    OktcReport report;
    int64_t errors;
    uint64_t length;
    double value;
    char *name;

    if (count != 2)
        return 2;
    must(oktcPoolCreate(&pool));
    must(oktcPoolSetFactor(pool, 1000.0)); /* this drawing counts in millimetres, a file holds metres */
    must(oktcParameterCreate(pool, 6, &cover));
    must(oktcParameterSetDouble(cover, 35.0));
    must(oktcPoolSave(pool, arguments[1]));

    must(oktcPoolOpen(arguments[1], 39.37007874015748, &inches));
    must(oktcPoolAt(inches, 0, &found));
    must(oktcParameterDouble(found, &value));
    must(oktcText(found, OKTC_NAME, &name, &length));
    printf("%s: %.3f in\n", name, value);
    oktcFree(name);

    must(oktcObjectErase(found));
    printf("erased: %s\n", oktcStatusName(oktcParameterDouble(found, &value)));
    must(oktcPoolClose(inches));
    must(oktcPoolClose(pool));
    printf("closed: %s\n", oktcStatusName(oktcParameterSetDouble(cover, 40.0)));

    must(oktcVerify(arguments[1], NULL, NULL, &report));
    must(oktcReportSum(report, OKTC_ERRORS, &errors));
    printf("%d errors\n", (int)errors);
    must(oktcReportClose(report));
    return 0;
}
