// String tables: a missed release shows as a leak under the sanitizer.
#include "qvstdlib.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>

// Some requests are absurdly large: the sanitizer's allocator must return null.
extern "C" const char *__asan_default_options()
{
    return "allocator_may_return_null=1";
}

TEST(StringTable, ReallocMovesTheHeadReleasesTheTailAndDupKeepsNulls)
{
    for (uint64_t n : {uint64_t{0}, uint64_t{1}, uint64_t{2}, uint64_t{4}, uint64_t{6}, UINT64_MAX / 4}) {
        char *old[4] = {strdup("zero"), strdup("one"), strdup("two"), strdup("three")};
        char **table = static_cast<char **>(memcpy(StrTabAlloc(4), old, sizeof old));
        char **fresh = StrTabRealloc(n, table, 4);
        EXPECT_EQ(fresh == nullptr, n == 0 || n > 6) << n;
        for (uint64_t i = 0; fresh != nullptr && i < n; i++)
            EXPECT_EQ(fresh[i], i < 4 ? old[i] : nullptr) << n << ' ' << i; // moved, not copied
        StrTabFree(fresh ? fresh : n ? table : nullptr, fresh ? n : 4);     // a failed realloc keeps the old table
    }
    char **fresh = StrTabRealloc(3, nullptr, 5), **moved = StrTabRealloc(2, fresh, 0); // nothing to move
    EXPECT_TRUE(moved && !moved[0] && !moved[1] && !StrTabRealloc(0, nullptr, 0));
    wchar_t **wide = TcsTabAlloc(3), *kept = wide[0] = wcsdup(L"w");
    wide[2] = wcsdup(L"tail");
    wchar_t **smaller = TcsTabRealloc(1, wide, 3);
    EXPECT_EQ(smaller[0], kept);
    StrTabFree(moved, 2), TcsTabFree(smaller, 1);
    EXPECT_TRUE(!StrTabAlloc(0) && !TcsTabAlloc(0) && !StrTabDup(nullptr, 0) && !TcsTabDup(nullptr, 0));
    char **src = StrTabAlloc(4);
    src[0] = strdup("a"), src[2] = strdup("ccc");
    char **copy = StrTabDup(src, 4);
    EXPECT_TRUE(copy[0] != src[0] && !copy[1] && !copy[3] && !strcmp(copy[0], "a") && !strcmp(copy[2], "ccc"));
    wchar_t **wsrc = TcsTabAlloc(2);
    wsrc[1] = wcsdup(L"\u00e9t\u00e9");
    wchar_t **wcopy = TcsTabDup(wsrc, 2);
    EXPECT_TRUE(!wcopy[0] && wcopy[1] != wsrc[1] && wcscmp(wcopy[1], L"\u00e9t\u00e9") == 0);
    StrTabFree(copy, 4), StrTabFree(src, 4), StrTabFree(nullptr, 3);
    TcsTabFree(wcopy, 2), TcsTabFree(wsrc, 2), TcsTabFree(nullptr, 3);
}
