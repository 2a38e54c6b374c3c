// Plain tables: row allocation, null entries for zero columns, release rules.
#include "qvstdlib.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

// Failure tests of this program ask for absurd sizes; under the address
// sanitizer the allocator must then return null as the real one does.
extern "C" const char *__asan_default_options()
{
    return "allocator_may_return_null=1";
}

TEST(PlainTable, NoRowsGivesNull)
{
    EXPECT_EQ(TabAllocPlain(0, 4, 8), nullptr);
    EXPECT_EQ(TabAllocPlain(0, 0, 0), nullptr);
}

TEST(PlainTable, ZeroColumnsGivesNullEntries)
{
    void **table = TabAllocPlain(3, 0, 8);
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(table[i], nullptr) << i;
    TabFreePlain(table, 3, 0);
}

TEST(PlainTable, RowsAreSeparateAndWritable)
{
    void **table = TabAllocPlain(4, 3, 8);
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < 4; i++) {
        ASSERT_NE(table[i], nullptr) << i;
        memset(table[i], i, 24); // the full c * size bytes must be usable
    }
    for (int i = 0; i < 4; i++)
        for (int j = i + 1; j < 4; j++)
            EXPECT_NE(table[i], table[j]);
    for (int i = 0; i < 4; i++)
        EXPECT_EQ(static_cast<unsigned char *>(table[i])[23], i);
    TabFreePlain(table, 4, 3);
}

TEST(PlainTable, HugeRequestFailsCleanly)
{
    // The pointer array alone cannot be obtained.
    EXPECT_EQ(TabAllocPlain(UINT64_MAX / 4, 1, 1), nullptr);
    // Rows of 2^62 bytes fail at the first row: the array is released again.
    EXPECT_EQ(TabAllocPlain(2, uint64_t(1) << 31, uint64_t(1) << 31), nullptr);
    // 2^33 * 2^31 wraps to 0 in 64 bits: refused, not made of empty rows.
    EXPECT_EQ(TabAllocPlain(2, uint64_t(1) << 33, uint64_t(1) << 31), nullptr);
}

TEST(PlainTable, FreeWithZeroColumnsKeepsEntries)
{
    char *names[5];
    for (int i = 0; i < 5; i++)
        names[i] = static_cast<char *>(malloc(4));
    char **list = static_cast<char **>(malloc(sizeof names));
    memcpy(list, names, sizeof names);
    TabFreePlain(list, 5, 0); // only the array goes
    for (int i = 0; i < 5; i++) {
        names[i][0] = 'x'; // still ours: the sanitizer would flag a freed row
        free(names[i]);
    }
}

TEST(PlainTable, FreeReleasesStringListAndSkipsNulls)
{
    char **list = static_cast<char **>(malloc(5 * sizeof(char *)));
    for (int i = 0; i < 5; i++)
        list[i] = i == 2 ? nullptr : strdup("name");
    TabFreePlain(list, 5, 1); // leak-free run proves all four strings went
    TabFreePlain(nullptr, 5, 1);
}
