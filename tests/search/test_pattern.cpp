// The pattern compiler: element tables and flags for both syntaxes.
#include <gtest/gtest.h>

#include <string>

#include "fyndle.h"
#include "pattern.h"

namespace {

struct Compiled {
    uint32_t table[256] = {};
    uint32_t flags[kMaxElements + 1] = {};
    unsigned char first = 0xFF;
    int count = 0;
};

Compiled compile(const std::string &pattern, bool regExp)
{
    Compiled c;
    c.count = ParsePattern(c.table, 255, c.flags, pattern.c_str(), &c.first, regExp ? 1 : 0);
    return c;
}

// The bytes element k accepts, before any negation, as a string.
std::string acceptedBy(const Compiled &c, int k)
{
    std::string bytes;
    for (int b = 0; b < 256; ++b)
        if (c.table[b] & (1u << k))
            bytes += static_cast<char>(b);
    return bytes;
}

std::string byteRange(int lo, int hi)
{
    std::string bytes;
    for (int b = lo; b <= hi; ++b)
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

TEST(PatternPlain, StopsAfterThirtyTwoElements)
{
    Compiled c = compile(std::string(40, 'x'), false);
    EXPECT_EQ(c.count, 32);
    EXPECT_EQ(c.table['x'], 0xFFFFFFFFu);
    EXPECT_EQ(c.flags[32], kFlagEnd);
}

TEST(PatternPlain, HighBytesAreLiteralsToo)
{
    Compiled c = compile("\xff\xe9", false);
    ASSERT_EQ(c.count, 2);
    EXPECT_EQ(c.table[0xFF], 1u);
    EXPECT_EQ(c.table[0xE9], 2u);
    EXPECT_EQ(c.first, 0xFF);
}

struct RegExpCase {
    const char *pattern;
    int count;               // elements made (0: syntax error)
    unsigned char first;     // expected first byte
    std::string element0;    // bytes element 0 accepts (before negation)
    uint32_t flags0;         // flags of element 0
};

class PatternRegExp : public testing::TestWithParam<RegExpCase> {};

TEST_P(PatternRegExp, CompilesElementZero)
{
    const RegExpCase &want = GetParam();
    Compiled c = compile(want.pattern, true);
    ASSERT_EQ(c.count, want.count) << want.pattern;
    if (want.count > 0) {
        EXPECT_EQ(c.first, want.first) << want.pattern;
        EXPECT_EQ(acceptedBy(c, 0), want.element0) << want.pattern;
        EXPECT_EQ(c.flags[0], want.flags0) << want.pattern;
        EXPECT_EQ(c.flags[want.count], kFlagEnd) << want.pattern;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, PatternRegExp,
    testing::Values(
        RegExpCase{"a", 1, 'a', "a", kFlagSingle},
        RegExpCase{"a*", 1, 'a', "a", kFlagStar},
        RegExpCase{"a+", 1, 'a', "a", kFlagPlus},
        RegExpCase{".", 1, 0, byteRange(32, 254), kFlagSingle},
        RegExpCase{".*", 2, 0, byteRange(32, 254), kFlagSingle},       // '*' after '.' is a literal
        RegExpCase{"*a", 2, '*', "*", kFlagSingle},                    // a leading '*' is a literal
        RegExpCase{"^x", 2, '\n', "\n", kFlagSingle},
        RegExpCase{"$", 2, 0, "\r", kFlagOptional},
        RegExpCase{"[a-c]", 1, 0, "abc", kFlagSingle},
        RegExpCase{"[a-c-e]", 1, 0, "abcde", kFlagSingle},             // a range's end starts the next item
        RegExpCase{"[z-a]", 1, 0, "a", kFlagSingle},                   // descending: only its end byte
        RegExpCase{"[^0-9]", 1, 0, "0123456789", kFlagSingle | kFlagNegated},
        RegExpCase{"[ab]+", 1, 0, "ab", kFlagPlus},
        RegExpCase{"[a-]", 1, 0, "-a", kFlagSingle},                   // '-' before ']' is a literal
        RegExpCase{"[\\]]", 1, 0, "]", kFlagSingle},
        RegExpCase{"[\\-a]", 1, 0, "-a", kFlagSingle},
        RegExpCase{"[\\a]", 1, 0, "\\a", kFlagSingle},                 // backslash stays, next is an item
        RegExpCase{"[abc", 1, 0, "abc", kFlagSingle},                  // set ends with the pattern
        RegExpCase{"[\xf0-\xff]", 1, 0, byteRange(0xF0, 0xFF), kFlagSingle},
        RegExpCase{"\\.", 1, '.', ".", kFlagSingle},
        RegExpCase{"\\**", 1, '*', "*", kFlagStar},
        RegExpCase{"\\~a", 1, 0, "a", kFlagSingle | kFlagNegated},
        RegExpCase{"\\~a*", 1, 0, "a", kFlagStar | kFlagNegated},
        RegExpCase{"\\:", 1, 0, "", kFlagSingle},
        RegExpCase{"\\:*", 2, 0, "", kFlagSingle},                     // takes no suffix
        RegExpCase{"\\(", 0, 0, "", 0},                                // only ignored escapes
        RegExpCase{"\\{\\}\\!", 0, 0, "", 0},
        RegExpCase{"x\\(y", 2, 'x', "x", kFlagSingle},
        RegExpCase{"\\", 0, 0, "", 0},                                 // lone trailing backslash
        RegExpCase{"ab\\", 0, 0, "", 0},
        RegExpCase{"\\~", 0, 0, "", 0},
        RegExpCase{"?|(){}]", 7, '?', "?", kFlagSingle}));

TEST(PatternRegExp, DollarMakesOptionalCarriageReturnAndNewline)
{
    Compiled c = compile("abc$", true);
    ASSERT_EQ(c.count, 5);
    EXPECT_EQ(acceptedBy(c, 3), "\r");
    EXPECT_EQ(c.flags[3], kFlagOptional);
    EXPECT_EQ(acceptedBy(c, 4), "\n");
    EXPECT_EQ(c.flags[4], kFlagSingle);
}

TEST(PatternRegExp, DollarAtTheLastElementIsCapped)
{
    // 'a' and fifteen '$' make 31 elements; the next '$' has room for its
    // carriage return only.
    Compiled c = compile("a" + std::string(16, '$'), true);
    ASSERT_EQ(c.count, 32);
    EXPECT_EQ(c.flags[31], kFlagOptional);
    EXPECT_EQ(acceptedBy(c, 31), "\r");
    EXPECT_EQ(c.flags[32], kFlagEnd);
}

TEST(PatternRegExp, StopsAtThirtyTwoElements)
{
    Compiled c = compile(std::string(31, '.') + "ab", true);
    EXPECT_EQ(c.count, 32);
    EXPECT_EQ(acceptedBy(c, 31), "a");
}

TEST(PatternRegExp, DotLeavesByte255ToTheTableLength)
{
    Compiled c = compile(".", true);
    EXPECT_EQ(c.table[254], 1u);
    EXPECT_EQ(c.table[255], 0u);
    EXPECT_EQ(c.table[31], 0u);
}

TEST(PatternCase, WideningCopiesLowerCaseRows)
{
    Compiled c = compile("ab[x-z]", true);
    WidenPatternForCase(c.table);
    EXPECT_EQ(c.table['A'], c.table['a']);
    EXPECT_EQ(c.table['B'], 2u);
    EXPECT_EQ(c.table['Y'], 4u);
    EXPECT_EQ(c.table['['], 0u);
}

} // namespace
