// qvstdlib_tables: table blocks and string tables.
//
// Table block, one malloc'd allocation:
//   [start word][payload bytes][r row pointers][r * c elements, row-major]
// with rows size * c bytes apart and the allocation exactly payload + 16
// (no minimum, no rounding). Element counts and byte products beyond the
// 32-bit range are refused.
// String table: a bare array of n pointers, each null or an own malloc'd
// zero-terminated string; the caller keeps n. Narrow and wide variants
// share one template over the character type.
#include "qvstdlib.h"
#include "qvstdlib_block.h"
#include "qvstring.h"

#include <algorithm>
#include <cstdlib>

using namespace qvblock;

namespace {

char *dupString(const char *s)
{
    return StrDup(s);
}
wchar_t *dupString(const wchar_t *s)
{
    return TcsDup(s);
}

template <typename Ch> Ch **tabAlloc(uint64_t n)
{
    if (n == 0)
        return nullptr;
    return static_cast<Ch **>(calloc(n, sizeof(Ch *)));
}

template <typename Ch> void tabFree(Ch **table, uint64_t n)
{
    if (table == nullptr)
        return;
    for (uint64_t i = 0; i < n; i++)
        free(table[i]);
    free(table);
}

template <typename Ch> Ch **tabDup(Ch *const *table, uint64_t n)
{
    Ch **copy = tabAlloc<Ch>(n);
    if (copy == nullptr)
        return nullptr;
    if (table == nullptr) {
        free(copy);
        return nullptr;
    }
    for (uint64_t i = 0; i < n; i++)
        if (table[i] != nullptr)
            copy[i] = dupString(table[i]); // a failed copy stays null
    return copy;
}

template <typename Ch> Ch **tabRealloc(uint64_t newCount, Ch **table, uint64_t oldCount)
{
    Ch **fresh = nullptr;
    if (newCount != 0) {
        fresh = tabAlloc<Ch>(newCount);
        if (fresh == nullptr)
            return nullptr;
    }
    if (table == nullptr)
        return fresh;
    const uint64_t kept = std::min(oldCount, newCount);
    for (uint64_t i = 0; i < kept; i++) {
        fresh[i] = table[i];
        table[i] = nullptr;
    }
    tabFree(table, oldCount);
    return fresh;
}

} // namespace

extern "C" {

void **TabAllocBlock(int32_t r, int32_t c, int32_t size)
{
    if (r < 1 || size < 0)
        return nullptr;
    // Each product is checked before it feeds the next: both factors of
    // stride * r then lie below 2^31, so neither can overflow 64 bits.
    const int64_t stride = int64_t{size} * (c < 0 ? 0 : c);
    if (stride > INT32_MAX)
        return nullptr;
    const int64_t valueBytes = stride * r;
    if (valueBytes > INT32_MAX)
        return nullptr;
    const int64_t payload = valueBytes + int64_t{r} * int64_t{sizeof(void *)};
    void *start = malloc(static_cast<size_t>(payload + kHeaderBytes));
    if (start == nullptr)
        return nullptr;
    writeHeader(start, static_cast<uint64_t>(payload));
    void **handle = handleOf<void>(start);
    layoutRows(handle, r, c, stride);
    return handle;
}

void TabFreeBlock(void *handle)
{
    if (handle != nullptr)
        free(reinterpret_cast<void *>(headerWord(handle, 0)));
}

char **StrTabAlloc(uint64_t n)
{
    return tabAlloc<char>(n);
}
void StrTabFree(char **table, uint64_t n)
{
    tabFree(table, n);
}
char **StrTabDup(char *const *table, uint64_t n)
{
    return tabDup(table, n);
}
char **StrTabRealloc(uint64_t newCount, char **table, uint64_t oldCount)
{
    return tabRealloc(newCount, table, oldCount);
}

wchar_t **TcsTabAlloc(uint64_t n)
{
    return tabAlloc<wchar_t>(n);
}
void TcsTabFree(wchar_t **table, uint64_t n)
{
    tabFree(table, n);
}
wchar_t **TcsTabDup(wchar_t *const *table, uint64_t n)
{
    return tabDup(table, n);
}
wchar_t **TcsTabRealloc(uint64_t newCount, wchar_t **table, uint64_t oldCount)
{
    return tabRealloc(newCount, table, oldCount);
}

} // extern "C"
