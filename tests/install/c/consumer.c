/*
** A C program that uses the installed qv library, built with the flags of
** its pkg-config module. One call or more per unit; exit status 0 when every
** result is right, else the number of wrong results.
*/
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "qvstdlib.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "qvsystim.h"

static int s_cFailures = 0;

static void check(int ok, const char *what)
{
    if (!ok) {
        printf("wrong: %s\n", what);
        s_cFailures++;
    }
}

int main(void)
{
    /* qvstring: duplicate, fold, convert there and back. */
    char *copy = StrDup("Hello, World");
    char narrow[32];
    wchar_t *wide;
    check(copy != NULL && strcmp(copy, "Hello, World") == 0, "StrDup");
    if (copy != NULL) {
        char *end = StrLower(copy);
        check(strcmp(copy, "hello, world") == 0, "StrLower folds");
        check(end == copy + strlen(copy), "StrLower returns the end");
    }
    wide = A2T_dup("gr\xC3\xBC\xC3\x9F"
                   "e"); /* "grüße" in UTF-8 */
    check(wide != NULL && wcslen(wide) == 5 && wide[2] == 0xFC && wide[3] == 0xDF, "A2T_dup decodes UTF-8");
    T2A_cpy(narrow, sizeof narrow, wide);
    check(strcmp(narrow, "gr\xC3\xBC\xC3\x9F"
                         "e") == 0,
          "T2A_cpy encodes UTF-8");

    /* qvstdlib: a plain table of strings, released with TabFreePlain. */
    {
        char **table = (char **)malloc(2 * sizeof(char *));
        check(table != NULL, "table");
        if (table != NULL) {
            table[0] = copy;
            table[1] = StrDup("second");
            check(table[1] != NULL && strcmp(table[1], "second") == 0, "StrDup into a table");
            TabFreePlain(table, 2, 1); /* frees copy too */
            copy = NULL;
        }
    }
    free(copy);
    free(wide);

    /* qvstdlib: a matrix in one block. */
    {
        double **m = MatAllocBlock(3, 4);
        check(m != NULL, "MatAllocBlock");
        if (m != NULL) {
            MatZero(m, 3, 4);
            MatI(m, 3);
            m[2][3] = 7.5;
            check(m[0][0] == 1.0 && m[1][1] == 1.0 && m[0][1] == 0.0 && m[2][3] == 7.5,
                  "MatZero, MatI and element access");
            MatFreeBlock(m);
        }
    }

    /* qvstring: a double in a fixed width. */
    {
        char number[16];
        StrPrintDouble(number, sizeof number, 8, 6, 0, 0, 3.14159265);
        check(strcmp(number, "3.14159") == 0, "StrPrintDouble");
        StrPrintDouble(number, sizeof number, 8, 6, 0, 0, DNaN());
        check(strcmp(number, ".NaN") == 0, "StrPrintDouble of NaN");
    }

    /* qvsystem: file-name parts point into their argument. */
    {
        const char *path = "/usr/share/doc/readme.txt";
        check(strcmp(SFileBaseA(path), "readme.txt") == 0, "SFileBaseA");
        check(SFileBaseA(path) == path + 15, "SFileBaseA points into the path");
    }

    /* qvsystim: the library's NaN and the calendar. */
    check(FIsNaN(DNaN()) == 1, "FIsNaN(DNaN())");
    check(FIsNaN(1.0) == 0, "FIsNaN(1.0)");
    check(GetJulianDay(2000, 1, 1) == 2451545, "GetJulianDay(2000, 1, 1)");
    {
        int month = 0, day = 0;
        GetDateOfEaster(2024, &month, &day);
        check(month == 3 && day == 31, "GetDateOfEaster(2024)");
    }

    if (s_cFailures == 0)
        printf("qv consumer (C): all results right\n");
    return s_cFailures;
}
