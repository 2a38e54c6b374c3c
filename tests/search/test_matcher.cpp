// The matcher over single buffers: what it reports, what it counts, how far
// it gets and where the line counter stands.
#include <gtest/gtest.h>

#include <cctype>
#include <iterator>
#include <random>
#include <string>

#include "capture.h"
#include "fyndle.h"
#include "matcher.h"
#include "pattern.h"

namespace {

// Option letters: r regular expression, b binary, c case-sensitive, w word.
struct Case {
    const char *options;
    const char *pattern;
    std::string text;
    const char *reports;  // what is printed for the file name "f"
    int found;            // the matcher's result
};

struct Search {
    std::string out;
    int found = 0;
    int64_t offset = 0;  // bytes consumed (the offset starts at 0)
    int64_t line = 0;    // newlines counted
};

// Prepares the pattern as the command line does and searches text once.
Search runSearch(const std::string &options, std::string pattern, const std::string &text, const char *name = "f")
{
    auto has = [&](char letter) { return options.find(letter) != std::string::npos; };
    g_fBinary = has('b');
    g_fMatchCase = has('c');
    if (!g_fMatchCase)
        for (char &ch : pattern)
            ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    g_cPattern = ParsePattern(g_aiPattern, 255, g_aiPatCount, pattern.c_str(), &g_chFirst, has('r'));
    if (!g_fMatchCase)
        WidenPatternForCase(g_aiPattern);
    Search s;
    StdoutCapture capture;
    s.found = iGrepText(name, text.data(), static_cast<int>(text.size()), &s.offset, &s.line, text.data(), has('w'));
    s.out = capture.take();
    return s;
}

const Case kCases[] = {
    // One report per line, numbered from 1; lines end at LF, CR or NUL.
    {"", "ab", "xx ab ab\nno\nab\n", "f (1): xx ab ab\nf (3): ab\n", 2},
    {"", "ab", "ab\r\nxab\r\n", "f (1): ab\nf (2): xab\n", 2},
    {"", "ab", std::string("q\0ab\0z\n", 7), "f (1): ab\n", 1},
    {"", "HeLLo", "say HELLO\n", "f (1): say HELLO\n", 1},
    {"c", "hello", "say HELLO\nhello\n", "f (2): hello\n", 1},
    // Binary mode: every match, offsets in the alternate hex form, bytes up to a NUL.
    {"b", "ab", "ab ab\n" + std::string(20, '.') + "AB\n", "f (0): ab\nf (0x3): ab\nf (0x1a): AB\n", 3},
    {"br", "a[^z]b", std::string("xa\0b\n", 5), "f (0x1): a\n", 1},
    // Whole words: '_', letters and digits join; the window's edges do not.
    {"w", "foo", "foo_bar\nfood\nfoo-bar\n", "f (3): foo-bar\n", 1},
    {"w", "foo", "xfoo\n", "", 0},
    {"w", "foo", "foo", "f (1): foo\n", 1},
    // A star takes all it can; the match ends one past the byte that ended it.
    {"br", "ab*", "abbc\n", "f (0): abbc\n", 1},
    {"br", "a.*", "ab*\nab\n", "f (0): ab*\n", 1},
    {"r", "str[a-z]*t", "strict\n", "", 0},
    // '$' is an optional CR and a LF; its newline is counted twice.
    {"r", "abc$", "abc\nabcd\nabc\r\n", "f (1): abc\nf (4): abc\n", 2},
    {"r", "abc$", "abc", "", 0},
    {"r", "b$", "ab\nb\nxb\n", "f (1): ab\nf (3): b\nf (5): xb\n", 3},
    // '^' is the newline before a line: never the first line.
    {"r", "^ab", "ab\nab\nxab\nab\n", "f (2): ab\nf (4): ab\n", 2},
    {"br", "^s", "x\nsy\n", "f (0x1): \ns\n", 1},
    // '+' past the first element never matches; as the first it is one byte.
    {"r", "ab+c", "abbc\nabc\n", "", 0},
    {"r", "a+b", "aab\n", "f (1): aab\n", 1},
    // Without a first byte, newlines skipped by failed attempts are not counted.
    {"r", "[x]y", "a\nb\nxy\n", "f (1): xy\n", 1},
    {"r", "a\\~bc", "abc\naxc\n", "f (2): axc\n", 1},
    {"r", "a\\:", "aa\nab\n", "", 0},
    // A first byte, a starred set, a tail: the star never gives back.
    {"r", "s[a-z]*_t", "size_t ssize_t\nsys_t sizeof\nS_T\n", "f (1): size_t ssize_t\nf (2): sys_t sizeof\nf (3): S_T\n", 3},
    {"r", "s[a-z]*t", "st sat\n", "", 0},
    {"br", "s[a-z]*_t", "ab_t sab_t", "f (0x5): sab_t\n", 1},
    {"r", "\"[^\"]*\"", "say \"hi\" \"\"\n", "f (1): say \"hi\" \"\"\n", 1},
};

TEST(Matcher, ReportsAndCounts)
{
    for (const Case &c : kCases) {
        Search s = runSearch(c.options, c.pattern, c.text);
        EXPECT_EQ(s.out, c.reports) << c.options << " '" << c.pattern << "'";
        EXPECT_EQ(s.found, c.found) << c.options << " '" << c.pattern << "'";
        Search quiet = runSearch(c.options, c.pattern, c.text, nullptr);
        EXPECT_EQ(quiet.out, "");
        EXPECT_EQ(quiet.found, c.found);
    }
}

TEST(Matcher, HowFarTheSearchGetsAndTheLineCount)
{
    struct Stop {
        const char *options, *pattern, *text;
        int64_t offset, line;
    };
    const Stop stops[] = {
        {"", "ab", "xx ab ab\nno\nab\n", 15, 3},  // everything consumed
        {"", "abc", "xx\nab", 4, 1},              // ran off: stops after the first byte
        {"r", "[a]bc", "xx\nab", 3, 0},           // no first byte: stops at the attempt
        {"r", "[^q]*q", "abcdef", 0, 0},          // from the first byte: nothing consumed
        {"", "q", "a\nb\n", 4, 2},
        {"r", "s[a-z]*_t", "xx s_t\nyy sab", 11, 1},  // a star running off stops the window
        {"r", "s[a-z]*_t", "xx s_t\nyy sab_", 11, 1}, // so does a tail cut by its end
    };
    for (const Stop &stop : stops) {
        Search s = runSearch(stop.options, stop.pattern, stop.text);
        EXPECT_EQ(s.offset, stop.offset) << stop.pattern;
        EXPECT_EQ(s.line, stop.line) << stop.pattern;
    }
    int64_t offset = 7, line = 3;
    EXPECT_EQ(iGrepText("f", "", 0, &offset, &line, "", 0), 0);
    EXPECT_EQ(offset, 7);
    EXPECT_EQ(line, 3);
}

// The skipping scans must give exactly what the plain attempt-by-attempt
// search gives: reports, count, bytes consumed and lines counted, also for
// attempts that run off the window's end.
TEST(Matcher, ShortcutsChangeNothing)
{
    const char *patterns[] = {"s[a-z]*_t", "s[ab]*_", "s[^_]*_t", "s[a-z]*\\~_b", "^[ ]*s", "s[ab]*st",
                              "s[^s]*s_", "ab_", "a\\~b_", "[ab]_s", "s.*t", "sa"};
    const std::string alphabet = "sab_tST \n\r";
    std::mt19937 rng(7);
    for (int round = 0; round < 4000; ++round) {
        std::string text(1 + rng() % 200, ' ');
        for (char &ch : text)
            ch = alphabet[rng() % alphabet.size()];
        const std::string options = std::string("r") + (round % 2 ? "b" : "") + (round % 3 ? "" : "c") + (round % 5 ? "" : "w");
        const char *pattern = patterns[rng() % std::size(patterns)];
        SetMatcherShortcuts(false);
        Search plain = runSearch(options, pattern, text);
        SetMatcherShortcuts(true);
        Search fast = runSearch(options, pattern, text);
        ASSERT_EQ(fast.out, plain.out) << options << " '" << pattern << "' over '" << text << "'";
        ASSERT_EQ(fast.found, plain.found) << pattern;
        ASSERT_EQ(fast.offset, plain.offset) << options << " '" << pattern << "' over '" << text << "'";
        ASSERT_EQ(fast.line, plain.line) << options << " '" << pattern << "' over '" << text << "'";
    }
}

} // namespace
