#include "qvstring.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

TEST(Text, TrimDelAndEndsWithAgreeOnNarrowAndWide)
{
    const struct {
        const char *in, *out;
    } trims[] = {
        {" a\vb \t\n", " a\vb"}, {"   ", ""}, {"", ""}, {"x \xA0", "x \xA0"}, // bytes above 0x7F are never blank
    };
    for (const auto &c : trims) {
        EXPECT_STREQ(StrTrim(std::string(c.in).data()), c.out);
        EXPECT_EQ(TcsTrim(widen(c.in).data()), widen(c.out)) << c.in;
    }
    const struct {
        size_t pos, count;
        const char *out;
    } dels[] = {{2, 100, "ab"}, {6, 1, "abcdef"}, {99, 1, "abcdef"}, {0, SIZE_MAX, ""}};
    for (const auto &c : dels) {
        char buf[] = "abcdef";
        std::wstring w = L"abcdef";
        EXPECT_EQ(StrDel(buf, c.pos, c.count), std::strlen(c.out)) << c.pos << " " << c.count;
        EXPECT_EQ(TcsDel(w.data(), c.pos, c.count), std::strlen(c.out)) << c.pos << " " << c.count;
        EXPECT_TRUE(std::string(buf) == c.out && w.c_str() == widen(c.out)) << c.pos << " " << c.count;
    }
    const struct {
        const char *text, *suffix;
        int caseSensitive, expected;
    } ends[] = {
        {nullptr, "a", 1, 0},   {"", "", 1, 0},     {"report.TXT", ".txt", 0, 1},
        {"abc", nullptr, 1, 0}, {"abc", "c", 1, 1}, {"report.TXT", "REPORT.txt", 0, 1}, // the whole text
    };
    for (const auto &c : ends) {
        const std::wstring text = c.text ? widen(c.text) : L"", suffix = c.suffix ? widen(c.suffix) : L"";
        SCOPED_TRACE(std::string(c.text ? c.text : "(null)") + "/" + (c.suffix ? c.suffix : "(null)"));
        EXPECT_EQ(StrEndsWith(c.text, c.suffix, c.caseSensitive), c.expected);
        EXPECT_EQ(TcsEndsWith(c.text ? text.c_str() : nullptr, c.suffix ? suffix.c_str() : nullptr, c.caseSensitive),
                  c.expected);
    }
}

TEST(Text, DupAndCaseReturnTheTerminator)
{
    char text[] = "aB1_z\xC3\x89", *copy = StrDup(text), *empty = StrDupPlain("");
    wchar_t wide[] = L"Ab9", *wcopy = TcsDup(L"a\u20ACb");
    EXPECT_TRUE(!StrDup(nullptr) && !StrDupPlain(nullptr) && !TcsDup(nullptr) && copy != text);
    EXPECT_EQ(std::string(copy) + "|" + empty, std::string(text) + "|");
    EXPECT_STREQ(wcopy, L"a\u20ACb");
    EXPECT_TRUE(StrUpper(text) == text + 7 && std::string(text) == "AB1_Z\xC3\x89");
    EXPECT_TRUE(StrLower(text) == text + 7 && std::string(text) == "ab1_z\xC3\x89");
    EXPECT_TRUE(TcsUpper(wide) == wide + 3 && std::wstring(wide) == L"AB9");
    EXPECT_TRUE(TcsLower(wide) == wide + 3 && std::wstring(wide) == L"ab9");
    EXPECT_TRUE(StrLower(empty) == empty && !StrUpper(nullptr) && !StrLower(nullptr) && !TcsUpper(nullptr) &&
                !TcsLower(nullptr));
    free(copy), free(empty), free(wcopy);
}

TEST(Text, InsertsWithinGreatestLength)
{
    const struct {
        const char *in;
        size_t pos;
        const char *ins;
        size_t maxLen, len;
        const char *out;
    } cases[] = {
        {"ac", 1, "b", 10, 3, "abc"}, {"ac", 3, "b", 10, 0, "ac"},       {"ac", 2, "xxx", 4, 4, "acxx"},
        {"", 0, "--", 2, 2, "--"},    {"abcd", 1, "XX", 2, 6, "aXXbcd"}, // already past maxLen: the room wraps
    };
    for (const auto &c : cases) {
        wchar_t buf[16] = {L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#'};
        char nbuf[16] = "##########";
        const size_t outLen = std::strlen(c.out);
        EXPECT_EQ(TcsIns(std::wcscpy(buf, widen(c.in).c_str()), c.pos, widen(c.ins).c_str(), c.maxLen), c.len) << c.in;
        EXPECT_EQ(StrCIns(std::strcpy(nbuf, c.in), c.pos, c.ins[0], std::strlen(c.ins), c.maxLen), c.len) << c.in;
        EXPECT_EQ(std::wstring(buf, outLen + 2), widen(c.out) + L'\0' + L'#') << c.in;
        EXPECT_EQ(std::string(nbuf, outLen + 2), std::string(c.out) + '\0' + '#') << c.in;
    }
    wchar_t wide[8] = {L'x', L'y', 0, L'#', L'#', L'#', L'#', L'#'}, filled = static_cast<wchar_t>(0xACACACAC);
    EXPECT_EQ(TcsCIns(wide, 1, static_cast<wchar_t>(0x20AC), 2, 5), 4u); // the low byte in all four bytes
    EXPECT_EQ(std::wstring(wide, 6), std::wstring({L'x', filled, filled, L'y', 0, L'#'}));
    EXPECT_EQ(TcsCIns(wide, 5, L' ', 1, 9), 0u);
    EXPECT_STREQ(TcsjRight(std::wcscpy(wide, L"axyc"), 4), L"axyc");
    EXPECT_EQ(TcsjRight(std::wcscpy(wide, L"ab"), 5), wide);
    EXPECT_EQ(std::wstring(wide, 7), std::wstring(L"   ab\0#", 7));
    EXPECT_TRUE(TcsjLeft(wide) == wide && std::wstring(wide) == L"ab");
    EXPECT_STREQ(TcsjLeft(std::wcscpy(wide, L" \t ")), L"");
    EXPECT_STREQ(TcsjLeft(std::wcscpy(wide, L"a b ")), L"a b ");
}

// Both sides of the first, last, adjoining (both widths) and one-character ranges and of the wide plane; 1 elsewhere.
TEST(GetUnicodeWidth, BothSidesOfRangeEdges)
{
    const int widths[][2] = {{0x2C5, 1},   {0x2C6, 0},  {0x2DD, 0},  {0x2DE, 1},   {0x301F, 2},  {0x3020, 0},
                             {0x302F, 0},  {0x3030, 2}, {0x3098, 2}, {0x3099, 0},  {0x309A, 0},  {0x309B, 2},
                             {0x5BE, 1},   {0x5BF, 0},  {0x5C0, 1},  {0x1FFFF, 1}, {0x20000, 2}, {0x3FFFF, 2},
                             {0x40000, 1}, {-300, 1},   {0xFF, 1},   {INT_MAX, 1}, {INT_MIN, 1}};
    for (const auto &[ch, width] : widths)
        EXPECT_EQ(GetUnicodeWidth(ch), width) << std::hex << ch;
}

TEST(WcsCaseCmp, DifferenceOfTheFirstLoweredPair)
{
    const wchar_t big[] = {0x7FFFFFFF, 0}, negative[] = {-2, 0};
    const int wrapped = static_cast<int>(0x80000001u);
    const struct {
        const wchar_t *a, *b;
        size_t n;
        int expected;
    } cases[] = {
        {L"ABC", L"abd", 99, L'c' - L'd'}, {L"", L"", 99, 0},          {L"abc", L"abd", 2, 0}, {L"ab", L"abc", 2, 0},
        {big, negative, 99, wrapped},      {L"ab", L"abc", 99, -L'c'},
    };
    for (auto c : cases) {
        EXPECT_EQ(WcsNCaseCmp(c.a, c.b, c.n), c.expected) << c.a << "/" << c.b << " " << c.n;
        EXPECT_TRUE(c.n != 99 ||
                    (WcsCaseCmp(c.a, c.b) == c.expected && (ILexiCmp(&c.a, &c.b) < 0) == (c.expected < 0)));
    }
    const wchar_t *same = L"same", *upper = L"SAME";
    EXPECT_EQ(WcsNCaseCmp(nullptr, nullptr, 0), 0);
    EXPECT_TRUE(ILexCmp(&same, &same) == 0 && ILexCmp(&upper, &same) < 0 && ILexiCmp(&upper, &same) == 0);
}

TEST(StrRep, ReplacesWithinBudgetAndGreatestLength)
{
    const struct {
        const char *text, *rep, *pat;
        size_t maxCount, maxLen;
        const char *out;
        size_t count;
    } cases[] = {{"aXbXc", "YY", "X", 10, 6, "aYYbXc", 1},  {"aXa", "XX", "X", 10, 20, "aXXa", 1},
                 {"a-b-c", nullptr, "-", 10, 10, "abc", 2}, {"abc", "", "", 5, 10, "abc", 5},
                 {"abc", "x", nullptr, 5, 10, "abc", 0},    {"ab", "x", "", 10, 5, "xxxab", 3},
                 {"aXbXc", "YY", "X", 10, 2, "aXbXc", 0}}; // already longer than maxLen: no room at all
    // The header's promises only: the rest, and the wide form, are the fast-path tests' part.
    for (const auto &c : cases) {
        char buf[32];
        EXPECT_EQ(StrRep(std::strcpy(buf, c.text), c.rep, c.pat, c.maxCount, c.maxLen), c.count)
            << c.text << "/" << c.pat;
        EXPECT_STREQ(buf, c.out);
    }
    char abc[] = "abc";
    EXPECT_EQ(StrRep(nullptr, "x", "a", 5, 7) + TcsRep(nullptr, L"x", L"a", 5, 7), 0u);
    EXPECT_EQ(StrRep(abc, nullptr, "", SIZE_MAX, 7), SIZE_MAX); // without looping through the budget
}

TEST(StrRep, CharactersAndLinePositions)
{
    const struct {
        int prev, next, lineMode, expected;
    } cases[] = {{0, 13, 3, 1},  {32, 10, 3, 0}, {32, 65, 0, 1}, {10, 0, 3, 1},  {13, 10, 2, 0},
                 {10, 65, 2, 1}, {0, 65, 2, 1},  {65, 13, 1, 1}, {65, 10, 1, 1}, {65, 0, 1, 1},
                 {65, 32, 1, 0}, {10, 32, 3, 0}, {65, 65, 2, 0}};
    for (const auto &c : cases)
        EXPECT_EQ(StrRepMatchesPosition(c.prev, c.next, c.lineMode), c.expected) << c.prev << c.next;
    char text[] = "a.b.c", empty[] = "", high[] = "\xE9t\xE9";
    wchar_t wide[] = L"x\u00e9x";
    EXPECT_TRUE(StrRepCh(text, '_', '.') == 2 && std::string(text) == "a_b_c");
    EXPECT_EQ(StrRepCh(text, '.', '#') + StrRepCh(empty, 'x', 0) + StrRepCh(nullptr, 'x', 'y'), 0u);
    EXPECT_EQ(StrRepCh(high, 'e', 0xE9), 0u); // bytes compare as signed char
    EXPECT_TRUE(StrRepCh(high, 'e', -23) == 2 && std::string(high) == "ete");
    EXPECT_TRUE(TcsRepCh(wide, L'e', L'\u00e9') == 1 && std::wstring(wide) == L"xex");
    EXPECT_EQ(TcsRepCh(wide, L'e', 0) + TcsRepCh(nullptr, L'e', L'x'), 0u);
}

// Each dst size from newLen + 1 to 0: replacement k (ends at ends[k], segment from starts[k]) is made if it fits; the
// first that does not ends the call after the bytes before its segment, plus a NUL right after a replacement. All fit:
// the rest and NUL go unchecked. The empty pattern takes each line's first (last) byte, newLen a bound; null out: none.
TEST(StrCpyRep, EverySizeFollowsTheCapacityRules)
{
    const struct {
        const char *src, *rep, *pat;
        int maxCount;
        unsigned lineMode;
        size_t sizeCount, newLen;
        const char *out;
        std::vector<size_t> ends, starts;
    } cases[] = {{"aXbXc", "YY", "X", -1, 0, 2, 7, "aYYbYYc", {3, 6}, {0, 3}},
                 {"aXXb", "", "X", -1, 0, 2, 2, "ab", {1, 1}, {0, 1}}, // an empty one fits a size used up
                 {"aX\nX", "ZZ", "X", -1, 2, 1, 5, "aX\nZZ", {5}, {2}},
                 {"aXbXc", "YY", "X", 0, 0, 0, 5, "aXbXc", {}, {}},
                 {"a\nb", "> ", "", -1, 2, 2, 7, "> \n> ", {2, 5}, {0, 2}},
                 {"a\nb", "> ", "", 5, 2, 2, 7, "> \n> ", {2, 5}, {0, 2}}, // a budget above the lines
                 {"ab\r\ncd", "!", "", -1, 1, 2, 8, "ab!\nc!", {3, 6}, {0, 3}},
                 {"ab\n", "#", "", -1, 2, 2, 5, "#b\n", {1}, {0}},
                 {"", "ab", "", -1, 1, 1, 2, nullptr, {}, {}},
                 {"a\nb", "", "", -1, 2, 0, 3, nullptr, {}, {}}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.src) + "/" + c.pat);
        std::string src = c.src;
        size_t newLen = 0;
        const size_t count = c.ends.size();
        EXPECT_EQ(StrCpyRepSize(c.src, src.size(), c.rep, c.pat, c.maxCount, &newLen, 1, c.lineMode), c.sizeCount);
        ASSERT_EQ(newLen, c.newLen);
        for (size_t size = newLen + 1; size + 1 > 0; --size) {
            std::string dst(newLen + 8, '~');
            const size_t made =
                StrCpyRep(dst.data(), size, src.data(), src.size(), c.rep, c.pat, c.maxCount, 1, c.lineMode);
            size_t fit = 0;
            while (fit < count && c.ends[fit] <= size)
                ++fit;
            std::string expected = c.out ? std::string(c.out) + '\0' : "";
            if (fit < count) {
                expected = std::string(c.out, c.starts[fit]);
                if (fit > 0 && c.starts[fit] == c.ends[fit - 1])
                    expected += '\0';
            }
            EXPECT_EQ(made, fit) << "size " << size;
            EXPECT_EQ(dst, expected + std::string(dst.size() - expected.size(), '~')) << "size " << size;
        }
    }
}

TEST(StrCpyRep, NullsAndLengths)
{
    size_t newLen = 99;
    char dst[16] = "~~~~~~~~~~~~~~~", abc[] = "abcfoo";
    EXPECT_EQ(StrCpyRepSize(nullptr, 0, "x", "a", -1, &newLen, 1, 0) +
                  StrCpyRepSize(abc, 6, "x", nullptr, -1, &newLen, 1, 0),
              0u);
    EXPECT_EQ(StrCpyRepSize(abc, 6, "x", "foo", -1, nullptr, 1, 0), 1u);
    EXPECT_EQ(StrCpyRep(nullptr, 16, abc, 6, "x", "a", -1, 1, 0) + StrCpyRep(dst, 16, nullptr, 6, "x", "a", -1, 1, 0) +
                  StrCpyRep(dst, 16, abc, 6, "x", nullptr, -1, 1, 0),
              0u);
    EXPECT_TRUE(StrCpyRepSize(abc, 3, "x", "foo", -1, &newLen, 1, 0) == 0 && newLen == 3); // none past the length
    EXPECT_TRUE(StrCpyRep(dst, 4, abc, 3, "x", "foo", -1, 1, 0) == 0 && std::string(dst) == "abc");
}

} // namespace
