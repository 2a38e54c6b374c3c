/* Compiled as C with -pedantic -Werror: the public headers must stay C. */
#include "qvstdlib.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "qvsystim.h"

int main(void)
{
    wchar_t wide[8];
    char narrow[8];
    A2T_cpy(wide, 8, "abc");
    T2A_cpy(narrow, 8, wide);
    return narrow[0] == 'a' && narrow[3] == '\0' ? 0 : 1;
}
