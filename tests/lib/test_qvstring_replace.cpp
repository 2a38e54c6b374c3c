// Search and replace: the in-place pair, the copying pair and their agreement.
#include "qvstring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr char kSentinel = '\x7E';

struct InPlaceCase {
    const char *text;
    const char *rep;
    const char *pat;
    size_t maxCount;
    size_t maxLen;
    const char *expected;
    size_t count;
};

TEST(StrRep, ReplacesWithinBudgetAndGreatestLength)
{
    const InPlaceCase cases[] = {
        {"aXbXc", "YY", "X", 10, 7, "aYYbYYc", 2},
        {"aXbXc", "YY", "X", 10, 6, "aYYbXc", 1},
        {"aXb", "YY", "X", 10, 4, "aYYb", 1},   // grows exactly to maxLen
        {"aXb", "YY", "X", 10, 3, "aXb", 0},    // one past it
        {"aaaa", "a", "aa", 10, 10, "aa", 2},   // no overlap, no rescan
        {"aXa", "XX", "X", 10, 20, "aXXa", 1},  // replacement never searched
        {"a-b-c", nullptr, "-", 10, 10, "abc", 2},
        {"a-b-c", "+", "-", 1, 10, "a+b-c", 1},
        {"aXXXb", "Y", "XXX", 5, 0, "aYb", 1},  // shrinking ignores maxLen
        {"abc", "Q", "z", 5, 10, "abc", 0},
        {"abc", "", "", 5, 10, "abc", 5},
        {"ab", "x", "", 10, 5, "xxxab", 3},     // empty pattern stopped by maxLen
        {"ab", "x", "", 2, 10, "xxab", 2},      // ... and by maxCount
        {"", "x", "", 3, 10, "xxx", 3},
        {"", "x", "a", 3, 10, "", 0},
        {"XX", "ab", "X", 10, 4, "abab", 2},
    };
    for (const auto &c : cases) {
        char buf[32];
        std::strcpy(buf, c.text);
        EXPECT_EQ(StrRep(buf, c.rep, c.pat, c.maxCount, c.maxLen), c.count) << c.text << " / " << c.pat;
        EXPECT_STREQ(buf, c.expected) << c.text << " / " << c.pat;
    }
}

TEST(StrRep, InvalidArgumentsChangeNothing)
{
    char buf[8] = "abc";
    EXPECT_EQ(StrRep(nullptr, "x", "a", 5, 7), 0u);
    EXPECT_EQ(StrRep(buf, "x", nullptr, 5, 7), 0u);
    EXPECT_EQ(StrRep(buf, "x", "a", 0, 7), 0u);
    EXPECT_STREQ(buf, "abc");
    // Nothing for nothing returns the budget without looping through it.
    EXPECT_EQ(StrRep(buf, nullptr, "", SIZE_MAX, 7), SIZE_MAX);
    EXPECT_STREQ(buf, "abc");
}

TEST(StrRep, GrowthStaysInsideMaxLenPlusOne)
{
    for (size_t maxLen = 3; maxLen < 12; ++maxLen) {
        std::vector<char> buf(maxLen + 1 + 8, kSentinel);
        std::strcpy(buf.data(), "a.b");
        StrRep(buf.data(), "...", ".", 100, maxLen);
        EXPECT_LE(std::strlen(buf.data()), maxLen);
        for (size_t at = maxLen + 1; at < buf.size(); ++at)
            EXPECT_EQ(buf[at], kSentinel) << "maxLen " << maxLen;
    }
}

TEST(TcsRep, WideTextBehavesAlike)
{
    wchar_t buf[16] = L"aXbXc";
    EXPECT_EQ(TcsRep(buf, L"YY", L"X", 10, 6), 1u);
    EXPECT_STREQ(buf, L"aYYbXc");
    wcscpy(buf, L"a\u00e9b\u00e9");
    EXPECT_EQ(TcsRep(buf, nullptr, L"\u00e9", 10, 15), 2u);
    EXPECT_STREQ(buf, L"ab");
    wcscpy(buf, L"ab");
    EXPECT_EQ(TcsRep(buf, L"-", L"", 10, 4), 2u);
    EXPECT_STREQ(buf, L"--ab");
    EXPECT_EQ(TcsRep(buf, L"", L"", 7, 4), 7u);
    EXPECT_EQ(TcsRep(nullptr, L"x", L"a", 1, 4), 0u);
}

TEST(StrRepMatchesPosition, LineRules)
{
    const struct {
        int prev, next, lineMode, expected;
    } cases[] = {
        {0, 13, 3, 1},   {32, 10, 3, 0},  {32, 65, 0, 1},  {10, 0, 3, 1},
        {13, 10, 2, 0},  // CR before is no line start
        {10, 65, 2, 1},  {0, 65, 2, 1},   {65, 13, 1, 1},  {65, 10, 1, 1},
        {65, 0, 1, 1},   {65, 32, 1, 0},  {10, 32, 3, 0},  {65, 65, 2, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(StrRepMatchesPosition(c.prev, c.next, c.lineMode), c.expected)
            << c.prev << ' ' << c.next << ' ' << c.lineMode;
}

struct CopyResult {
    size_t sizeCount;
    size_t newLen;
    size_t copyCount;
    std::string text;
};

// Runs both halves of the copying family with dst sized as the size call
// says, and checks that nothing lands past that size.
CopyResult sizeAndCopy(const std::string &src, const char *rep, const char *pat, int maxCount,
                       int caseSensitive, unsigned lineMode)
{
    CopyResult result{};
    result.sizeCount = StrCpyRepSize(src.c_str(), src.size(), rep, pat, maxCount, &result.newLen,
                                     caseSensitive, lineMode);
    std::vector<char> dst(result.newLen + 1 + 16, kSentinel);
    std::string source = src;
    result.copyCount = StrCpyRep(dst.data(), result.newLen + 1, source.data(), source.size(), rep,
                                 pat, maxCount, caseSensitive, lineMode);
    for (size_t at = result.newLen + 1; at < dst.size(); ++at)
        EXPECT_EQ(dst[at], kSentinel) << "write past the reported size for " << src;
    const char *end = static_cast<const char *>(std::memchr(dst.data(), '\0', result.newLen + 1));
    if (end)
        result.text.assign(dst.data(), static_cast<size_t>(end - dst.data()));
    else
        result.text = "<unterminated>";
    return result;
}

struct CopyCase {
    const char *src;
    const char *rep;
    const char *pat;
    int maxCount;
    int caseSensitive;
    unsigned lineMode;
    size_t sizeCount;
    size_t newLen;
    size_t copyCount;
    const char *expected;
};

TEST(StrCpyRep, AgreesWithSizeOnCountAndLength)
{
    const CopyCase cases[] = {
        {"foo\nfoo", "bar", "foo", -1, 1, 1, 2, 7, 2, "bar\nbar"},
        {"foo\r\nfoo", "b", "foo", -1, 1, 1, 2, 4, 2, "b\r\nb"},
        {"foo foo", "b", "foo", -1, 1, 1, 1, 5, 1, "foo b"},
        {"xfoo\nfoo", "bar", "foo", -1, 1, 2, 1, 8, 1, "xfoo\nbar"},
        // Refused candidates spend the budget: twice for the same 'foo'.
        {"xfoo\nfoo", "bar", "foo", 2, 1, 2, 0, 8, 0, "xfoo\nfoo"},
        {"xfoo\nfoo", "bar", "foo", 3, 1, 2, 1, 8, 1, "xfoo\nbar"},
        {"aXbXcX", "--", "X", 2, 1, 0, 2, 8, 2, "a--b--cX"},
        {"aXbXcX", "", "X", -1, 1, 0, 3, 3, 3, "abc"},
        {"aXbXcX", nullptr, "X", INT_MIN, 1, 0, 3, 3, 3, "abc"},
        {"xxabcxx", "!", "ABC", -1, 0, 0, 1, 5, 1, "xx!xx"},
        {"xxabcxx", "!", "ABC", -1, 1, 0, 0, 7, 0, "xxabcxx"},
        {"ABC\nabc", "z", "aBc", -1, 0, 2, 2, 3, 2, "z\nz"},
        {"abc", "z", "abcd", -1, 0, 0, 0, 3, 0, "abc"},
        {"", "z", "a", -1, 1, 0, 0, 0, 0, ""},
        {"abc", "zz", "b", 0, 1, 0, 0, 3, 0, "abc"},
        // Empty pattern: one place per line, the byte of the place is lost
        // and the size is an upper bound.
        {"a\nb", "> ", "", -1, 1, 2, 2, 7, 2, "> \n> "},
        {"a\nb\nc", "> ", "", 1, 1, 2, 1, 7, 1, "> \nb\nc"},
        {"ab\r\ncd", "!", "", -1, 1, 1, 2, 8, 2, "ab!\nc!"},
        {"ab\n", "#", "", -1, 1, 2, 2, 5, 1, "#b\n"},
        {"ab\n", "#", "", -1, 1, 1, 2, 5, 2, "a##"},
        {"\n\n", "#", "", -1, 1, 2, 3, 5, 2, "##"},
    };
    for (const auto &c : cases) {
        const CopyResult got = sizeAndCopy(c.src, c.rep, c.pat, c.maxCount, c.caseSensitive, c.lineMode);
        SCOPED_TRACE(std::string(c.src) + " / " + c.pat);
        EXPECT_EQ(got.sizeCount, c.sizeCount);
        EXPECT_EQ(got.newLen, c.newLen);
        EXPECT_EQ(got.copyCount, c.copyCount);
        EXPECT_EQ(got.text, c.expected);
        if (*c.pat != '\0')
            EXPECT_EQ(got.text.size(), got.newLen);
        else
            EXPECT_LE(got.text.size(), got.newLen);
    }
}

// With dst far larger than needed, the copy still stays within the size
// that the size call reports plus one.
TEST(StrCpyRep, AgreesWithSizeOverManyCombinations)
{
    const char *texts[] = {"", "a", "aa\n", "\nAa\r\na", "a a\na", "Aaa\n\naA", "\n\n"};
    const char *pats[] = {"", "a", "A", "aa", "a\n", "\n"};
    const char *reps[] = {nullptr, "b", "bbb"};
    for (const char *text : texts)
        for (const char *pat : pats)
            for (const char *rep : reps)
                for (unsigned lineMode = 0; lineMode < 4; ++lineMode)
                    for (int maxCount : {-1, 1, 2, 5})
                        for (int caseSensitive : {0, 1}) {
                            const size_t textLen = std::strlen(text);
                            size_t newLen = 0;
                            const size_t sized = StrCpyRepSize(text, textLen, rep, pat, maxCount, &newLen,
                                                               caseSensitive, lineMode);
                            std::vector<char> dst(newLen + 64, kSentinel);
                            std::string src = text;
                            const size_t copied = StrCpyRep(dst.data(), dst.size(), src.data(), textLen, rep,
                                                            pat, maxCount, caseSensitive, lineMode);
                            SCOPED_TRACE(std::string(text) + " / " + pat);
                            for (size_t at = newLen + 1; at < dst.size(); ++at)
                                ASSERT_EQ(dst[at], kSentinel);
                            if (*pat != '\0') {
                                EXPECT_EQ(copied, sized);
                                EXPECT_EQ(std::strlen(dst.data()), newLen);
                            } else {
                                EXPECT_LE(copied, sized);
                            }
                        }
}

TEST(StrCpyRep, EmptyPatternNeedsLineModeRepAndText)
{
    size_t newLen = 99;
    EXPECT_EQ(StrCpyRepSize("", 0, "ab", "", -1, &newLen, 1, 1), 1u);
    EXPECT_EQ(newLen, 2u);
    char dst[8];
    std::memset(dst, kSentinel, sizeof dst);
    char empty[] = "";
    EXPECT_EQ(StrCpyRep(dst, sizeof dst, empty, 0, "ab", "", -1, 1, 1), 0u);
    EXPECT_EQ(dst[0], kSentinel); // not even a terminator

    char text[] = "a\nb";
    for (unsigned lineMode : {0u, 3u, 4u}) {
        EXPECT_EQ(StrCpyRepSize(text, 3, "x", "", -1, &newLen, 1, lineMode), 0u) << lineMode;
        EXPECT_EQ(newLen, 3u);
        EXPECT_EQ(StrCpyRep(dst, sizeof dst, text, 3, "x", "", -1, 1, lineMode), 0u) << lineMode;
        EXPECT_EQ(dst[0], kSentinel);
    }
    EXPECT_EQ(StrCpyRepSize(text, 3, nullptr, "", -1, &newLen, 1, 2), 0u);
    EXPECT_EQ(StrCpyRep(dst, sizeof dst, text, 3, "", "", -1, 1, 2), 0u);
    EXPECT_EQ(StrCpyRepSize(text, 3, "x", "", 0, &newLen, 1, 2), 0u);
}

TEST(StrCpyRep, StopsWhenReplacementDoesNotFit)
{
    char src[] = "aXbXc";
    char dst[16];
    std::memset(dst, kSentinel, sizeof dst);
    // "a" + "YYY" fits in 4, the next "b" + "YYY" does not.
    EXPECT_EQ(StrCpyRep(dst, 4, src, 5, "YYY", "X", -1, 1, 0), 1u);
    EXPECT_EQ(std::string(dst, 4), "aYYY");
    EXPECT_EQ(dst[4], kSentinel);

    std::memset(dst, kSentinel, sizeof dst);
    EXPECT_EQ(StrCpyRep(dst, 0, src, 5, "YYY", "X", -1, 1, 0), 0u);
    EXPECT_EQ(dst[0], kSentinel);

    // Room for both replacements but not for the rest: the rest is cut.
    std::memset(dst, kSentinel, sizeof dst);
    EXPECT_EQ(StrCpyRep(dst, 8, src, 5, "YY", "X", -1, 1, 0), 2u);
    EXPECT_STREQ(dst, "aYYbYYc");
    std::memset(dst, kSentinel, sizeof dst);
    EXPECT_EQ(StrCpyRep(dst, 7, src, 5, "YY", "X", -1, 1, 0), 2u);
    EXPECT_STREQ(dst, "aYYbYY");
    EXPECT_EQ(dst[7], kSentinel);
}

TEST(StrCpyRep, MaxCountZeroCopiesWithinSize)
{
    char src[] = "hello";
    char dst[8];
    std::memset(dst, kSentinel, sizeof dst);
    EXPECT_EQ(StrCpyRep(dst, sizeof dst, src, 5, "x", "l", 0, 1, 0), 0u);
    EXPECT_STREQ(dst, "hello");
    std::memset(dst, kSentinel, sizeof dst);
    EXPECT_EQ(StrCpyRep(dst, 3, src, 5, "x", "l", 0, 1, 0), 0u);
    EXPECT_STREQ(dst, "he");
    EXPECT_EQ(dst[3], kSentinel);
}

TEST(StrCpyRep, NullArgumentsAndMatchesPastTheLength)
{
    size_t newLen = 0;
    char dst[16];
    char src[] = "abcfoo";
    EXPECT_EQ(StrCpyRepSize(nullptr, 0, "x", "a", -1, &newLen, 1, 0), 0u);
    EXPECT_EQ(StrCpyRepSize(src, 6, "x", nullptr, -1, &newLen, 1, 0), 0u);
    EXPECT_EQ(StrCpyRepSize(src, 6, "x", "foo", -1, nullptr, 1, 0), 1u);
    EXPECT_EQ(StrCpyRep(nullptr, 16, src, 6, "x", "a", -1, 1, 0), 0u);
    EXPECT_EQ(StrCpyRep(dst, 16, nullptr, 6, "x", "a", -1, 1, 0), 0u);
    EXPECT_EQ(StrCpyRep(dst, 16, src, 6, "x", nullptr, -1, 1, 0), 0u);
    // A length short of the terminator: a match beyond it is not taken.
    EXPECT_EQ(StrCpyRepSize(src, 3, "x", "foo", -1, &newLen, 1, 0), 0u);
    EXPECT_EQ(newLen, 3u);
    EXPECT_EQ(StrCpyRep(dst, 4, src, 3, "x", "foo", -1, 1, 0), 0u);
    EXPECT_STREQ(dst, "abc");
}

TEST(StrRepCh, ReplacesEveryOccurrence)
{
    char text[] = "a.b.c";
    EXPECT_EQ(StrRepCh(text, '_', '.'), 2u);
    EXPECT_STREQ(text, "a_b_c");
    EXPECT_EQ(StrRepCh(text, '.', '#'), 0u);
    char empty[] = "";
    EXPECT_EQ(StrRepCh(empty, 'x', 0), 0u);
    EXPECT_EQ(StrRepCh(nullptr, 'x', 'y'), 0u);
    // Bytes above 0x7F compare as signed char.
    char high[] = "\xE9t\xE9";
    EXPECT_EQ(StrRepCh(high, 'e', 0xE9), 0u);
    EXPECT_EQ(StrRepCh(high, 'e', -23), 2u);
    EXPECT_STREQ(high, "ete");

    wchar_t wide[] = L"x\u00e9x";
    EXPECT_EQ(TcsRepCh(wide, L'e', L'\u00e9'), 1u);
    EXPECT_STREQ(wide, L"xex");
    EXPECT_EQ(TcsRepCh(wide, L'e', 0), 0u);
    EXPECT_EQ(TcsRepCh(nullptr, L'e', L'x'), 0u);
}

} // namespace
