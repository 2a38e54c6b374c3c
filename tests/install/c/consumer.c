/*
** A C program that uses the installed qv library, built with the flags of
** its pkg-config module: one call into each unit, so that each must link.
** Exit status 0 when every result is right, else the number of wrong ones.
*/
#include <stdio.h>
#include <string.h>

#include "qvstdlib.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "qvsystim.h"

int main(void)
{
    char number[16];
    int month = 0, day = 0, wrong = 0;
    double **m = MatAllocBlock(1, 1);
    wrong += m == NULL;
    MatFreeBlock(m);
    wrong += strcmp(StrPrintDouble(number, sizeof number, 8, 6, 0, 0, DNaN()), ".NaN") != 0;
    wrong += strcmp(SFileBaseA("/usr/share/doc/readme.txt"), "readme.txt") != 0;
    GetDateOfEaster(2024, &month, &day);
    wrong += month != 3 || day != 31;
    printf("qv consumer (C): %d wrong results\n", wrong);
    return wrong;
}
