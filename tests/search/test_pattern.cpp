#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "fyndle.h"
#include "pattern.h"

namespace {

struct Compiled {
    Compiled(const std::string &pattern, bool regExp)
        : count(ParsePattern(table, 255, flags, pattern.c_str(), &first, regExp ? 1 : 0))
    {}
    uint32_t table[256] = {}, flags[kMaxElements + 1] = {};
    unsigned char first = 0xFF;
    int count;
};

// The bytes lo to hi; given a table, those of them element 0 accepts (before any negation).
std::string byteRange(int lo, int hi, const uint32_t *table = nullptr)
{
    std::string bytes;
    for (int b = lo; b <= hi; ++b)
        if (!table || (table[b] & 1u) != 0)
            bytes += static_cast<char>(b);
    return bytes;
}

// Under -r or not, a pattern: the elements made (0: a syntax error), the first byte, element 0's bytes and flags.
const std::tuple<bool, std::string, int, unsigned char, std::string, uint32_t> kCases[] = {
    {false, "a.b", 3, 'a', "a", kFlagSingle},
    {false, std::string(40, 'x'), 32, 'x', "x", kFlagSingle},
    {false, "", 0, 0, "", 0},
    {true, "a*", 1, 'a', "a", kFlagStar},
    {true, ".*", 2, 0, byteRange(32, 254), kFlagSingle}, // '*' after '.' is a literal; 255 lies beyond the table
    {true, "^x", 2, '\n', "\n", kFlagSingle},
    {true, "$", 2, 0, "\r", kFlagOptional},
    // '$' makes a CR and a LF element, but not a 33rd: the sixteenth here keeps only its CR.
    {true, std::string("a").append(16, '$'), 32, 'a', "a", kFlagSingle},
    {true, "[a-c-e]", 1, 0, "abcde", kFlagSingle}, // a range's end starts the next item
    {true, "[z-a]", 1, 0, "a", kFlagSingle},       // descending: only its end byte
    {true, "[^0-9]", 1, 0, "0123456789", kFlagSingle | kFlagNegated},
    {true, "[ab]+", 1, 0, "ab", kFlagPlus},
    {true, "[\\]]", 1, 0, "]", kFlagSingle},
    {true, "[\\-a]", 1, 0, "-a", kFlagSingle},
    {true, "[\\a]", 1, 0, "\\a", kFlagSingle}, // the backslash stays, the next byte is an item
    {true, "[a-]", 1, 0, "-a", kFlagSingle},   // a '-' before the ']' is an item
    {true, "[\xf0-\xff]", 1, 0, byteRange(0xF0, 0xFF), kFlagSingle},
    {true, "\\**", 1, '*', "*", kFlagStar},
    {true, "\\~a*", 1, 0, "a", kFlagStar | kFlagNegated},
    {true, "\\:*", 2, 0, "", kFlagSingle}, // takes no suffix
    {true, "x\\(y", 2, 'x', "x", kFlagSingle},
    {true, "?|(){}]", 7, '?', "?", kFlagSingle},
    {true, std::string(31, '.') + "ab", 32, 0, byteRange(32, 254), kFlagSingle},
    {true, "\\{\\}\\!", 0, 0, "", 0},
    {true, "\\~", 0, 0, "", 0},
};

TEST(Pattern, CompilesElementZeroAndCount)
{
    for (const auto &[regExp, pattern, count, first, element0, flags0] : kCases) {
        const Compiled c(pattern, regExp);
        ASSERT_EQ(c.count, count) << pattern;
        if (count == 0)
            continue;
        EXPECT_EQ(c.first, first) << pattern;
        EXPECT_EQ(byteRange(0, 255, c.table), element0) << pattern;
        EXPECT_EQ(c.flags[0], flags0) << pattern;
        EXPECT_EQ(c.flags[count], kFlagEnd) << pattern;
    }
    // Widening for case copies the letter rows only.
    Compiled c("z[{]", true);
    WidenPatternForCase(c.table);
    EXPECT_TRUE(c.table['Z'] == 1u && c.table['['] == 0u);
}

} // namespace
