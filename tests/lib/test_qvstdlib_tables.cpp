// Table blocks and string tables: block sizes, duplication, and growing or
// shrinking a string table releasing exactly the strings beyond its length
// (a missed release shows as a leak, a wrong one as a double free under the
// address sanitizer).
#include "qvstdlib.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

uintptr_t word(const void *handle, int index)
{
    uintptr_t value;
    memcpy(&value, static_cast<const char *>(handle) + index * 8, sizeof value);
    return value;
}

char **fourStrings()
{
    char **table = StrTabAlloc(4);
    const char *names[4] = {"zero", "one", "two", "three"};
    for (int i = 0; i < 4; i++)
        table[i] = strdup(names[i]);
    return table;
}

} // namespace

struct TabSizeCase {
    int32_t r, c, size;
    uint64_t payload;
    int64_t stride;
};

TEST(TableBlock, ExactSizesAndStride)
{
    const TabSizeCase cases[] = {
        {2, 3, 4, 40, 12},   // 16 + 16 + 24 = 56 bytes in all
        {2, 3, 8, 64, 24},
        {1, 1, 1, 9, 1},     // no rounding, no minimum
        {3, 0, 16, 24, 0},   // no columns: null rows
        {3, -2, 16, 24, 0},  // negative columns sized as none
        {2, 5, 0, 16, 0},    // zero-size elements: all rows at the end
    };
    for (const auto &tc : cases) {
        void **t = TabAllocBlock(tc.r, tc.c, tc.size);
        ASSERT_NE(t, nullptr) << tc.r << "x" << tc.c << "x" << tc.size;
        EXPECT_EQ(word(t, -2), reinterpret_cast<uintptr_t>(t) - 16);
        EXPECT_EQ(word(t, -1), tc.payload) << tc.r << "x" << tc.c << "x" << tc.size;
        const auto first = reinterpret_cast<uintptr_t>(t + tc.r);
        for (int32_t i = 0; i < tc.r; i++) {
            if (tc.c < 1)
                EXPECT_EQ(t[i], nullptr);
            else
                EXPECT_EQ(reinterpret_cast<uintptr_t>(t[i]), first + i * tc.stride) << i;
        }
        if (tc.c >= 1 && tc.size >= 1)
            memset(t[tc.r - 1], 0xAB, static_cast<size_t>(tc.stride)); // last row inside
        TabFreeBlock(t);
    }
    TabFreeBlock(nullptr);
}

TEST(TableBlock, RefusedSizes)
{
    EXPECT_EQ(TabAllocBlock(0, 3, 4), nullptr);
    EXPECT_EQ(TabAllocBlock(-1, 3, 4), nullptr);
    EXPECT_EQ(TabAllocBlock(2, 3, -4), nullptr);
    EXPECT_EQ(TabAllocBlock(2, 1 << 30, 4), nullptr);    // stride beyond 32 bits
    EXPECT_EQ(TabAllocBlock(65536, 65536, 1), nullptr);  // value bytes beyond 32 bits
}

TEST(StringTable, AllocAndFree)
{
    EXPECT_EQ(StrTabAlloc(0), nullptr);
    EXPECT_EQ(TcsTabAlloc(0), nullptr);
    char **table = StrTabAlloc(3);
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(table[i], nullptr);
    table[1] = strdup("middle");
    StrTabFree(table, 3);
    StrTabFree(nullptr, 3);
    TcsTabFree(nullptr, 3);
}

TEST(StringTable, DupKeepsNullPositions)
{
    char *src[4] = {strdup("a"), nullptr, strdup("ccc"), nullptr};
    char **copy = StrTabDup(src, 4);
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy[0], "a");
    EXPECT_NE(copy[0], src[0]);
    EXPECT_EQ(copy[1], nullptr);
    EXPECT_STREQ(copy[2], "ccc");
    EXPECT_EQ(copy[3], nullptr);
    StrTabFree(copy, 4);
    free(src[0]);
    free(src[2]);
    EXPECT_EQ(StrTabDup(src, 0), nullptr);
    EXPECT_EQ(StrTabDup(nullptr, 2), nullptr);
}

TEST(StringTable, WideDup)
{
    wchar_t *src[2] = {wcsdup(L"\u00e9t\u00e9"), nullptr};
    wchar_t **copy = TcsTabDup(src, 2);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(wcscmp(copy[0], L"\u00e9t\u00e9"), 0);
    EXPECT_NE(copy[0], src[0]);
    EXPECT_EQ(copy[1], nullptr);
    TcsTabFree(copy, 2);
    free(src[0]);
    EXPECT_EQ(TcsTabDup(nullptr, 2), nullptr);
}

TEST(StringTable, ShrinkReleasesTheTail)
{
    char **table = fourStrings();
    char *first = table[0];
    char *second = table[1];
    char **smaller = StrTabRealloc(2, table, 4);
    ASSERT_NE(smaller, nullptr);
    EXPECT_EQ(smaller[0], first); // moved, not copied
    EXPECT_EQ(smaller[1], second);
    StrTabFree(smaller, 2); // entries 2 and 3 must already be gone
}

TEST(StringTable, GrowAddsNullEntries)
{
    char **table = fourStrings();
    char *last = table[3];
    char **bigger = StrTabRealloc(6, table, 4);
    ASSERT_NE(bigger, nullptr);
    EXPECT_EQ(bigger[3], last);
    EXPECT_STREQ(bigger[0], "zero");
    EXPECT_EQ(bigger[4], nullptr);
    EXPECT_EQ(bigger[5], nullptr);
    StrTabFree(bigger, 6);
}

TEST(StringTable, ReallocEdges)
{
    EXPECT_EQ(StrTabRealloc(0, fourStrings(), 4), nullptr); // all released
    EXPECT_EQ(StrTabRealloc(0, nullptr, 0), nullptr);

    char **fresh = StrTabRealloc(3, nullptr, 5); // no old table: just a new one
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh[2], nullptr);

    // Old count 0: nothing moves, the old array alone is released.
    char **moved = StrTabRealloc(2, fresh, 0);
    ASSERT_NE(moved, nullptr);
    EXPECT_EQ(moved[0], nullptr);
    StrTabFree(moved, 2);

    // A new array that cannot be had leaves the old table as it was.
    char **table = fourStrings();
    EXPECT_EQ(StrTabRealloc(UINT64_MAX / 4, table, 4), nullptr);
    EXPECT_STREQ(table[3], "three");
    StrTabFree(table, 4);
}

TEST(StringTable, WideRealloc)
{
    wchar_t **table = TcsTabAlloc(3);
    for (int i = 0; i < 3; i++)
        table[i] = wcsdup(L"w");
    wchar_t *kept = table[0];
    wchar_t **smaller = TcsTabRealloc(1, table, 3);
    ASSERT_NE(smaller, nullptr);
    EXPECT_EQ(smaller[0], kept);
    TcsTabFree(smaller, 1);
}
