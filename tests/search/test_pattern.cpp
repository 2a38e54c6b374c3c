// The pattern compiler: element tables and flags for both syntaxes.
#include <gtest/gtest.h>

#include <string>

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

std::string byteRange(int lo, int hi)
{
    std::string bytes;
    for (int b = lo; b <= hi; ++b)
        bytes += static_cast<char>(b);
    return bytes;
}

// The bytes element k accepts, before any negation.
std::string acceptedBy(const Compiled &c, int k)
{
    std::string bytes = byteRange(0, 255);
    std::erase_if(bytes, [&](char b) { return (c.table[static_cast<unsigned char>(b)] & (1u << k)) == 0; });
    return bytes;
}

struct Case {
    bool regExp;
    std::string pattern;
    int count;            // elements made (0: syntax error)
    unsigned char first;  // expected first byte
    std::string element0; // bytes element 0 accepts (before negation)
    uint32_t flags0;      // flags of element 0
};

const Case kCases[] = {
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
    for (const Case &want : kCases) {
        const Compiled c(want.pattern, want.regExp);
        ASSERT_EQ(c.count, want.count) << want.pattern;
        if (want.count == 0)
            continue;
        EXPECT_EQ(c.first, want.first) << want.pattern;
        EXPECT_EQ(acceptedBy(c, 0), want.element0) << want.pattern;
        EXPECT_EQ(c.flags[0], want.flags0) << want.pattern;
        EXPECT_EQ(c.flags[want.count], kFlagEnd) << want.pattern;
    }
}

TEST(Pattern, WideningCopiesTheLetterRowsOnly)
{
    Compiled c("z[{]", true);
    WidenPatternForCase(c.table);
    EXPECT_TRUE(c.table['Z'] == 1u && c.table['['] == 0u);
}

} // namespace
