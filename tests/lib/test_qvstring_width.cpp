// Tests of the character width table and the wide-text comparisons.
#include "qvstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>

namespace {

struct Range { int first, last, width; };

// The width ranges as the table must hold them.
const Range kRanges[] = {
    {0x02C6, 0x02DD, 0}, {0x0300, 0x036F, 0}, {0x0483, 0x0486, 0}, {0x0591, 0x05BD, 0},
    {0x05BF, 0x05BF, 0}, {0x05C1, 0x05C4, 0}, {0x0610, 0x0615, 0}, {0x064B, 0x0658, 0},
    {0x0670, 0x0670, 0}, {0x06D6, 0x06E4, 0}, {0x06E7, 0x06E8, 0}, {0x06EA, 0x06ED, 0},
    {0x0711, 0x0711, 0}, {0x0730, 0x074A, 0}, {0x093C, 0x093C, 0}, {0x094D, 0x094D, 0},
    {0x0951, 0x0954, 0}, {0x09BC, 0x09BC, 0}, {0x09CD, 0x09CD, 0}, {0x0A3C, 0x0A3C, 0},
    {0x0A4D, 0x0A4D, 0}, {0x0ABC, 0x0ABC, 0}, {0x0ACD, 0x0ACD, 0}, {0x0B3C, 0x0B3C, 0},
    {0x0B4D, 0x0B4D, 0}, {0x0BCD, 0x0BCD, 0}, {0x0C4D, 0x0C4D, 0}, {0x0C55, 0x0C56, 0},
    {0x0CBC, 0x0CBC, 0}, {0x0CCD, 0x0CCD, 0}, {0x0D4D, 0x0D4D, 0}, {0x0DCA, 0x0DCA, 0},
    {0x0E38, 0x0E3A, 0}, {0x0E48, 0x0E4B, 0}, {0x0EB8, 0x0EB9, 0}, {0x0EC8, 0x0ECB, 0},
    {0x0F18, 0x0F19, 0}, {0x0F35, 0x0F35, 0}, {0x0F37, 0x0F37, 0}, {0x0F39, 0x0F39, 0},
    {0x0F71, 0x0F84, 0}, {0x0F86, 0x0F87, 0}, {0x0F90, 0x0FBC, 0}, {0x1037, 0x1037, 0},
    {0x1039, 0x1039, 0}, {0x1100, 0x115F, 2}, {0x1714, 0x1714, 0}, {0x1734, 0x1734, 0},
    {0x17D2, 0x17D2, 0}, {0x17DD, 0x17DD, 0}, {0x18A9, 0x18A9, 0}, {0x1939, 0x193B, 0},
    {0x20D0, 0x20FF, 0}, {0x2329, 0x232A, 2}, {0x2E80, 0x301F, 2}, {0x3020, 0x302F, 0},
    {0x3030, 0x303E, 2}, {0x3040, 0x3098, 2}, {0x3099, 0x309A, 0}, {0x309B, 0x4DBF, 2},
    {0x4E00, 0xD7FF, 2}, {0xE7C8, 0xE87F, 2}, {0xF900, 0xFA6A, 2}, {0xFB1E, 0xFB1E, 0},
    {0xFE20, 0xFE23, 0}, {0xFE30, 0xFE6B, 2}, {0xFF01, 0xFF60, 2}, {0xFFE0, 0xFFE6, 2},
    {0x20000, 0x3FFFF, 2},
};

int expectedWidth(int ch)
{
    for (const auto &r : kRanges)
        if (ch >= r.first && ch <= r.last)
            return r.width;
    return 1;
}

// Every value around and inside the table, so both sides of each range edge.
TEST(GetUnicodeWidth, AgreesWithTheRangeListEverywhere)
{
    for (int ch = -300; ch <= 0x40100; ++ch)
        ASSERT_EQ(GetUnicodeWidth(ch), expectedWidth(ch)) << std::hex << ch;
}

TEST(GetUnicodeWidth, NamedValues)
{
    struct Case { int ch; int width; };
    const Case cases[] = {
        {0x41, 1}, {0, 1}, {0xAD, 1}, {-5, 1}, {0x0301, 0}, {0x05BF, 0}, {0x05BE, 1},
        {0x05C0, 1}, {0x0F85, 1}, {0x0F84, 0}, {0x0F86, 0}, {0x1100, 2}, {0x1160, 1},
        {0x2329, 2}, {0x232A, 2}, {0x3000, 2}, {0x302A, 0}, {0x303F, 1}, {0x4DC0, 1},
        {0x4DFF, 1}, {0xAC00, 2}, {0xD800, 1}, {0xDFFF, 1}, {0xFF01, 2}, {0xFF61, 1},
        {0xFFE6, 2}, {0x1F600, 1}, {0x20000, 2}, {0x40000, 1}, {0x10FFFF, 1},
        {INT_MAX, 1}, {INT_MIN, 1}, {0xFF, 1}, {0x100, 1},
    };
    for (const auto &c : cases)
        EXPECT_EQ(GetUnicodeWidth(c.ch), c.width) << std::hex << c.ch;
}

int sign(int v)
{
    return (v > 0) - (v < 0);
}

TEST(WcsCaseCmp, OrdersIgnoringCase)
{
    struct Case { const wchar_t *a, *b; int sign; };
    const Case cases[] = {
        {L"ABC", L"abd", -1}, {L"abc", L"ABC", 0}, {L"ab", L"abc", -1}, {L"abc", L"ab", 1},
        {L"", L"", 0}, {L"", L"a", -1}, {L"Z", L"a", 1}, {L"a1", L"A1", 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(sign(WcsCaseCmp(c.a, c.b)), c.sign) << c.a << " / " << c.b;
        const wchar_t *pa = c.a, *pb = c.b;
        EXPECT_EQ(sign(ILexiCmp(&pa, &pb)), c.sign);
    }
    EXPECT_EQ(WcsCaseCmp(L"ab", L"abc"), -L'c');
    EXPECT_EQ(WcsCaseCmp(L"aC", L"Ab"), L'c' - L'b');
}

TEST(WcsCaseCmp, DifferenceWrapsInThirtyTwoBits)
{
    const wchar_t big[] = {static_cast<wchar_t>(0x7FFFFFFF), L'\0'};
    const wchar_t negative[] = {static_cast<wchar_t>(-2), L'\0'};
    EXPECT_EQ(WcsCaseCmp(big, negative), static_cast<int>(0x80000001u));
}

TEST(WcsNCaseCmp, StopsAfterNCharacters)
{
    EXPECT_EQ(WcsNCaseCmp(L"abc", L"abd", 2), 0);
    EXPECT_LT(WcsNCaseCmp(L"abc", L"abd", 3), 0);
    EXPECT_LT(WcsNCaseCmp(L"abc", L"ABD", 99), 0);
    EXPECT_EQ(WcsNCaseCmp(L"ABC", L"abc", 99), 0);
    EXPECT_EQ(WcsNCaseCmp(L"ab", L"abc", 2), 0);
    EXPECT_LT(WcsNCaseCmp(L"ab", L"abc", 3), 0);
    EXPECT_GT(WcsNCaseCmp(L"b", L"A", 1), 0);
    EXPECT_EQ(WcsNCaseCmp(nullptr, nullptr, 0), 0);
    EXPECT_EQ(WcsNCaseCmp(L"a", L"b", 0), 0);
}

TEST(ILexCmp, SortsAnArrayOfTexts)
{
    const wchar_t *names[] = {L"beta", L"Alpha", L"alpha", L"Beta"};
    std::qsort(names, std::size(names), sizeof names[0], [](const void *a, const void *b) {
        return ILexCmp(static_cast<const wchar_t **>(const_cast<void *>(a)),
                       static_cast<const wchar_t **>(const_cast<void *>(b)));
    });
    EXPECT_STREQ(names[0], L"Alpha");
    EXPECT_STREQ(names[1], L"Beta");
    EXPECT_STREQ(names[2], L"alpha");
    EXPECT_STREQ(names[3], L"beta");

    const wchar_t *a = L"same", *b = L"same";
    EXPECT_EQ(ILexCmp(&a, &b), 0);
    const wchar_t *upper = L"SAME";
    EXPECT_NE(ILexCmp(&a, &upper), 0);
    EXPECT_EQ(ILexiCmp(&a, &upper), 0);
}

} // namespace
