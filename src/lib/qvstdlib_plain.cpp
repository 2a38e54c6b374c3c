// qvstdlib_plain: plain tables.
//
// A plain table is a bare array of r pointers with no header; each entry
// owns its own malloc'd row of c * size bytes, or is null when c is 0. The
// caller keeps r and c and hands them back on release. Row sizes whose
// c * size product overflows 64 bits are refused.
#include "qvstdlib.h"

#include <cstdlib>

extern "C" {

void **TabAllocPlain(uint64_t r, uint64_t c, uint64_t size)
{
    if (r == 0)
        return nullptr;
    if (r > SIZE_MAX / sizeof(void *))
        return nullptr;
    if (c == 0)
        return static_cast<void **>(calloc(r, sizeof(void *)));

    // A row size beyond 64 bits could never be met; refusing it keeps a
    // wrapped, too small row from being handed out.
    if (size > UINT64_MAX / c)
        return nullptr;
    const uint64_t rowBytes = c * size;
    void **table = static_cast<void **>(malloc(r * sizeof(void *)));
    if (table == nullptr)
        return nullptr;
    for (uint64_t row = 0; row < r; row++) {
        table[row] = malloc(rowBytes);
        if (table[row] == nullptr) {
            for (uint64_t done = 0; done < row; done++)
                free(table[done]);
            free(table);
            return nullptr;
        }
    }
    return table;
}

void TabFreePlain(void *table, uint64_t r, uint64_t c)
{
    if (table == nullptr)
        return;
    if (c == 0)
        r = 0;
    void **rows = static_cast<void **>(table);
    for (uint64_t row = 0; row < r; row++)
        free(rows[row]);
    free(table);
}

} // extern "C"
