// A C++ program that uses the installed qv library through its CMake
// package (find_package(qv CONFIG)); built once against qv::qv and once
// against qv::qv_shared. Exit status 0 when every result is right.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

#include "qvstdlib.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "qvsystim.h"

namespace {

int g_cFailures = 0;

void check(bool ok, const char *what)
{
    if (!ok) {
        std::printf("wrong: %s\n", what);
        ++g_cFailures;
    }
}

} // namespace

int main()
{
    // qvstring
    char *upper = StrDup("MiXeD CaSe");
    check(upper != nullptr, "StrDup");
    StrLower(upper);
    check(std::string(upper) == "mixed case", "StrLower");
    std::free(upper);

    wchar_t *wide = A2T_dup("\xE2\x82\xAC"
                            "5"); // "€5"
    check(wide != nullptr && std::wcscmp(wide, L"\u20AC5") == 0, "A2T_dup");
    char narrow[4];
    T2A_cpy(narrow, sizeof narrow, wide); // room for the euro sign only
    check(std::string(narrow) == "\xE2\x82\xAC", "T2A_cpy cuts at the size");
    std::free(wide);

    // qvstdlib: plain table with three allocated rows
    void **rows = TabAllocPlain(3, 4, sizeof(double));
    check(rows != nullptr && rows[0] != nullptr && rows[2] != nullptr, "TabAllocPlain");
    TabFreePlain(rows, 3, 4);

    // qvstdlib: a matrix in one block, duplicated
    double **m = MatAllocBlock(2, 2);
    check(m != nullptr, "MatAllocBlock");
    MatI(m, 2);
    m[0][1] = -3.0;
    double **copy = MatDup(m, 2, 2);
    check(copy != nullptr && copy[0][0] == 1.0 && copy[0][1] == -3.0 && copy[1][1] == 1.0, "MatDup of an identity");
    MatFreeBlock(copy);
    MatFreeBlock(m);

    // qvstring: a date stamp and a double in a fixed width
    char text[40];
    Dbl2DateStrA(text, sizeof text, 1, 0, 1, 0, 2451545 + GetJulianTime(12, 30, 0, 0));
    check(std::string(text) == "2000-01-01 Sat 12:30", "Dbl2DateStrA");
    StrPrintDouble(text, sizeof text, 8, 6, 0, 0, 3.14159265);
    check(std::string(text) == "3.14159", "StrPrintDouble");

    // qvsystem
    check(std::string(SFileBaseA("dir/sub\\name.ext")) == "name.ext", "SFileBaseA");
    check(std::string(SFileExtA("dir/name.tar.gz")) == ".gz", "SFileExtA");

    // qvsystim
    check(FIsNaN(DNaN()) == 1, "FIsNaN(DNaN())");
    check(DoubleIsEqual(DNaN(), DNaN()) == 1, "DoubleIsEqual of two NaNs");
    check(GetJulianDay(2000, 1, 1) == 2451545, "GetJulianDay(2000, 1, 1)");
    check(GetDayOfWeek(2000, 1, 1) == 7, "GetDayOfWeek(2000, 1, 1) is a Saturday");

    if (g_cFailures == 0)
        std::printf("qv consumer (C++, %s): all results right\n", QV_CONSUMER_KIND);
    return g_cFailures;
}
