/*
** A C program that uses the installed qv library, built with the flags of
** its pkg-config module: one call into each unit, so that each must link.
** Exit status 0 when every result is right, else the number of wrong ones.
*/
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "qvstdlib.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "qvsystim.h"

int main(void)
{
    char **table = (char **)malloc(sizeof(char *));
    char number[16];
    int month = 0, day = 0, wrong = 0;
    wchar_t *wide = A2T_dup("gr\xC3\xBC\xC3\x9F"
                            "e"); /* "grüße" in UTF-8 */
    wrong += wide == NULL || wcslen(wide) != 5 || wide[2] != 0xFC;
    free(wide);
    if (table != NULL) {
        table[0] = StrDup("second");
        wrong += table[0] == NULL || strcmp(StrUpper(table[0]) - 6, "SECOND") != 0;
        TabFreePlain(table, 1, 1);
    }
    wrong += strcmp(StrPrintDouble(number, sizeof number, 8, 6, 0, 0, DNaN()), ".NaN") != 0;
    wrong += strcmp(SFileBaseA("/usr/share/doc/readme.txt"), "readme.txt") != 0;
    GetDateOfEaster(2024, &month, &day);
    wrong += month != 3 || day != 31;
    printf("qv consumer (C): %d wrong results\n", wrong);
    return wrong;
}
