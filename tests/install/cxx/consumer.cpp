// A C++ program that uses the installed qv library through its CMake
// package (find_package(qv CONFIG)); built once against qv::qv and once
// against qv::qv_shared. One call into each unit, so that each must link.
// Exit status 0 when every result is right, else the number of wrong ones.
#include <cstdio>
#include <string>

#include "qvstdlib.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "qvsystim.h"

int main()
{
    char text[40];
    double **m = MatAllocBlock(2, 2);
    int wrong = m == nullptr;
    MatFreeBlock(m);
    Dbl2DateStrA(text, sizeof text, 1, 0, 1, 0, 2451545 + GetJulianTime(12, 30, 0, 0));
    wrong += std::string(text) != "2000-01-01 Sat 12:30";
    wrong += std::string(SFileExtA("dir/name.tar.gz")) != ".gz";
    std::printf("qv consumer (C++, %s): %d wrong results\n", QV_CONSUMER_KIND, wrong);
    return wrong;
}
