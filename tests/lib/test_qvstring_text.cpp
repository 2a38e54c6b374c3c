// Tests of the in-place string utilities: trimming, duplicates, case,
// deletion, insertion, justification and suffix tests.
#include "qvstring.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

TEST(StrTrim, CutsTrailingWhiteSpaceOnly)
{
    struct Case { const char *in; const char *out; };
    const Case cases[] = {
        {"ab \t\n", "ab"},
        {"   ", ""},
        {" ab", " ab"},
        {" ab  ", " ab"},
        {"", ""},
        {"ab", "ab"},
        {"a\vb\f\r", "a\vb"},
        {"\xA0\xC3", "\xA0\xC3"},       // bytes above 0x7F are never blank
        {"x \xA0", "x \xA0"},
    };
    for (const auto &c : cases) {
        char buf[32];
        std::strcpy(buf, c.in);
        EXPECT_EQ(StrTrim(buf), buf);
        EXPECT_STREQ(buf, c.out) << "input '" << c.in << "'";
    }
}

TEST(TcsTrim, CutsTrailingWideWhiteSpace)
{
    wchar_t buf[16];
    std::wcscpy(buf, L" ab \t");
    EXPECT_EQ(TcsTrim(buf), buf);
    EXPECT_STREQ(buf, L" ab");
    std::wcscpy(buf, L"\n\n");
    EXPECT_STREQ(TcsTrim(buf), L"");
    std::wcscpy(buf, L"");
    EXPECT_STREQ(TcsTrim(buf), L"");
}

TEST(Dup, CopiesOrGivesNullForNull)
{
    EXPECT_EQ(StrDup(nullptr), nullptr);
    EXPECT_EQ(StrDupPlain(nullptr), nullptr);
    EXPECT_EQ(TcsDup(nullptr), nullptr);

    const char text[] = "h\xC3\xA9llo";
    char *copy = StrDup(text);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, text);
    EXPECT_STREQ(copy, text);
    std::free(copy);

    char *empty = StrDupPlain("");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty[0], '\0');
    std::free(empty);

    wchar_t *wide = TcsDup(L"a\u20ACb");
    ASSERT_NE(wide, nullptr);
    EXPECT_STREQ(wide, L"a\u20ACb");
    std::free(wide);
}

TEST(Case, ReturnsTerminatorPosition)
{
    char buf[16] = "ABC";
    EXPECT_EQ(StrLower(buf), buf + 3);
    EXPECT_STREQ(buf, "abc");

    char empty[1] = "";
    EXPECT_EQ(StrLower(empty), empty);
    EXPECT_EQ(StrUpper(empty), empty);
    EXPECT_EQ(StrLower(nullptr), nullptr);
    EXPECT_EQ(StrUpper(nullptr), nullptr);
    EXPECT_EQ(TcsLower(nullptr), nullptr);
    EXPECT_EQ(TcsUpper(nullptr), nullptr);

    char mixed[16] = "aB1_z\xC3\x89";
    EXPECT_EQ(StrUpper(mixed), mixed + 7);
    EXPECT_STREQ(mixed, "AB1_Z\xC3\x89");   // UTF-8 bytes untouched
    EXPECT_EQ(StrLower(mixed), mixed + 7);
    EXPECT_STREQ(mixed, "ab1_z\xC3\x89");

    wchar_t wide[8] = L"Ab9";
    EXPECT_EQ(TcsUpper(wide), wide + 3);
    EXPECT_STREQ(wide, L"AB9");
    EXPECT_EQ(TcsLower(wide), wide + 3);
    EXPECT_STREQ(wide, L"ab9");
}

TEST(Del, RemovesWithinTheText)
{
    struct Case { const char *in; size_t pos, count; const char *out; size_t len; };
    const Case cases[] = {
        {"abcdef", 2, 100, "ab", 2},
        {"abcdef", 6, 1, "abcdef", 6},
        {"abcdef", 99, 1, "abcdef", 6},
        {"abcdef", 0, 1, "bcdef", 5},
        {"abcdef", 1, 2, "adef", 4},
        {"abcdef", 5, 1, "abcde", 5},
        {"abcdef", 1, 0, "abcdef", 6},
        {"abcdef", 0, static_cast<size_t>(-1), "", 0},
        {"", 0, 3, "", 0},
    };
    for (const auto &c : cases) {
        char buf[16];
        std::strcpy(buf, c.in);
        EXPECT_EQ(StrDel(buf, c.pos, c.count), c.len) << c.in << " " << c.pos;
        EXPECT_STREQ(buf, c.out);

        wchar_t wide[16];
        std::mbstowcs(wide, c.in, 16);
        wchar_t expected[16];
        std::mbstowcs(expected, c.out, 16);
        EXPECT_EQ(TcsDel(wide, c.pos, c.count), c.len);
        EXPECT_STREQ(wide, expected);
    }
}

TEST(TcsIns, InsertsWithinGreatestLength)
{
    wchar_t buf[16] = L"ac";
    EXPECT_EQ(TcsIns(buf, 1, L"b", 10), 3u);
    EXPECT_STREQ(buf, L"abc");

    std::wcscpy(buf, L"ac");
    EXPECT_EQ(TcsIns(buf, 1, L"b", 2), 2u);
    EXPECT_STREQ(buf, L"ac");

    std::wcscpy(buf, L"ac");
    EXPECT_EQ(TcsIns(buf, 3, L"b", 10), 0u);
    EXPECT_STREQ(buf, L"ac");

    std::wcscpy(buf, L"ac");
    EXPECT_EQ(TcsIns(buf, 2, L"xyz", 4), 4u);       // append, cut to room
    EXPECT_STREQ(buf, L"acxy");

    std::wcscpy(buf, L"ac");
    EXPECT_EQ(TcsIns(buf, 0, L"", 10), 2u);
    EXPECT_STREQ(buf, L"ac");

    // Text already past maxLen: the room wraps and the whole insert goes in.
    std::wcscpy(buf, L"abcd");
    EXPECT_EQ(TcsIns(buf, 1, L"XY", 2), 6u);
    EXPECT_STREQ(buf, L"aXYbcd");
}

TEST(CIns, FillsRepeatedCharacter)
{
    char buf[16] = "ad";
    EXPECT_EQ(StrCIns(buf, 1, '-', 2, 10), 4u);
    EXPECT_STREQ(buf, "a--d");
    EXPECT_EQ(StrCIns(buf, 4, '!', 9, 6), 6u);
    EXPECT_STREQ(buf, "a--d!!");
    EXPECT_EQ(StrCIns(buf, 7, '!', 1, 10), 0u);
    EXPECT_EQ(StrCIns(buf, 0, '!', 1, 6), 6u);
    EXPECT_STREQ(buf, "a--d!!");

    wchar_t wide[8];
    std::wmemset(wide, L'#', 8);
    wide[0] = L'\0';
    EXPECT_EQ(TcsCIns(wide, 0, L'A', 2, 5), 2u);
    EXPECT_EQ(static_cast<uint32_t>(wide[0]), 0x41414141u);
    EXPECT_EQ(static_cast<uint32_t>(wide[1]), 0x41414141u);
    EXPECT_EQ(wide[2], L'\0');
    EXPECT_EQ(wide[3], L'#');

    std::wcscpy(wide, L"xy");
    EXPECT_EQ(TcsCIns(wide, 1, static_cast<wchar_t>(0x20AC), 1, 5), 3u);   // low byte 0xAC
    EXPECT_EQ(static_cast<uint32_t>(wide[1]), 0xACACACACu);
    EXPECT_EQ(wide[2], L'y');
    EXPECT_EQ(TcsCIns(wide, 4, L' ', 1, 5), 0u);
}

TEST(Justify, MovesAndPads)
{
    wchar_t buf[8];
    std::wmemset(buf, L'#', 8);
    std::wcscpy(buf, L"ab");
    EXPECT_EQ(TcsjRight(buf, 5), buf);
    EXPECT_STREQ(buf, L"   ab");
    EXPECT_EQ(buf[6], L'#');
    std::wcscpy(buf, L"ab");
    EXPECT_STREQ(TcsjRight(buf, 2), L"ab");
    EXPECT_STREQ(TcsjRight(buf, 1), L"ab");
    EXPECT_STREQ(TcsjRight(buf, 0), L"ab");

    std::wcscpy(buf, L"  ab");
    EXPECT_EQ(TcsjLeft(buf), buf);
    EXPECT_STREQ(buf, L"ab");
    std::wcscpy(buf, L" \t ");
    EXPECT_STREQ(TcsjLeft(buf), L"");
    std::wcscpy(buf, L"a b ");
    EXPECT_STREQ(TcsjLeft(buf), L"a b ");
}

TEST(EndsWith, SuffixRules)
{
    struct Case { const char *text; const char *suffix; int caseSensitive; int expected; };
    const Case cases[] = {
        {"report.TXT", ".txt", 1, 0},
        {"report.TXT", ".txt", 0, 1},
        {"report.TXT", ".TXT", 1, 1},
        {"report.TXT", "", 1, 0},
        {"report.TXT", "", 0, 0},
        {"report.TXT", "report.TXT", 1, 1},
        {"report.TXT", "xreport.TXT", 0, 0},
        {"", "", 1, 0},
        {"", "a", 1, 0},
        {nullptr, "a", 1, 0},
        {nullptr, "", 1, 0},
        {"abc", nullptr, 1, 0},
        {"abc", "c", 1, 1},
        {"abc", "b", 1, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(StrEndsWith(c.text, c.suffix, c.caseSensitive), c.expected)
            << (c.text ? c.text : "(null)") << " / " << (c.suffix ? c.suffix : "(null)");
        wchar_t text[32], suffix[32];
        if (c.text)
            std::mbstowcs(text, c.text, 32);
        if (c.suffix)
            std::mbstowcs(suffix, c.suffix, 32);
        EXPECT_EQ(TcsEndsWith(c.text ? text : nullptr, c.suffix ? suffix : nullptr, c.caseSensitive),
                  c.expected);
    }
}

} // namespace
