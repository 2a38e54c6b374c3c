// A missed release shows as a leak under the sanitizer; test_qvstdlib_tables.cpp lets its allocator return null.
#include "qvstdlib.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

TEST(PlainTable, AllocRowsNullEntriesRefusalsAndRelease)
{
    EXPECT_EQ(TabAllocPlain(0, 4, 8), nullptr);
    EXPECT_EQ(TabAllocPlain(UINT64_MAX / 4, 1, 1), nullptr);                    // no pointer array
    EXPECT_EQ(TabAllocPlain(2, uint64_t{1} << 31, uint64_t{1} << 31), nullptr); // first row fails
    EXPECT_EQ(TabAllocPlain(2, uint64_t{1} << 33, uint64_t{1} << 31), nullptr); // 2^64 wraps to 0
    void **none = TabAllocPlain(3, 0, 8), **table = TabAllocPlain(4, 3, 8);
    EXPECT_TRUE(none && !none[0] && !none[1] && !none[2]);
    for (int i = 0; i < 4; i++)
        memset(table[i], i, 24); // the full c * size bytes of each row
    none[0] = strdup("kept"), none[2] = strdup("kept");
    void *rows[3] = {none[0], none[1], none[2]};
    TabFreePlain(none, 3, 0);                                           // only the array goes
    TabFreePlain(memcpy(malloc(sizeof rows), rows, sizeof rows), 3, 1); // every row and the array
    TabFreePlain(table, 4, 3), TabFreePlain(nullptr, 5, 1);
}
