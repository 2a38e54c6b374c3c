// The pattern compiler: element tables and flags for both syntaxes.
#include <gtest/gtest.h>

#include "fyndle.h"
#include "pattern.h"

namespace {

struct Compiled {
    uint32_t table[256] = {};
    uint32_t flags[kMaxElements + 1] = {};
    unsigned char first = 0xFF;
    int count = 0;
};

Compiled compile(const char *pattern, bool regExp)
{
    Compiled c;
    c.count = ParsePattern(c.table, 255, c.flags, pattern, &c.first, regExp ? 1 : 0);
    return c;
}

// Bytes accepted by element k, as a string of byte values.
std::string acceptedBy(const Compiled &c, int k)
{
    std::string bytes;
    for (int b = 0; b < 256; ++b)
        if (c.table[b] & (1u << k))
            bytes += static_cast<char>(b);
    return bytes;
}

TEST(PatternPlain, EveryByteIsALiteral)
{
    Compiled c = compile("a.b", false);
    ASSERT_EQ(c.count, 3);
    EXPECT_EQ(acceptedBy(c, 0), "a");
    EXPECT_EQ(acceptedBy(c, 1), ".");
    EXPECT_EQ(acceptedBy(c, 2), "b");
    EXPECT_EQ(c.flags[0], kFlagSingle);
    EXPECT_EQ(c.flags[3], kFlagEnd);
    EXPECT_EQ(c.first, 'a');
}

TEST(PatternPlain, EmptyPatternMakesNothing)
{
    Compiled c = compile("", false);
    EXPECT_EQ(c.count, 0);
    EXPECT_EQ(c.flags[0], kFlagEnd);
    EXPECT_EQ(c.first, 0);
}

} // namespace
