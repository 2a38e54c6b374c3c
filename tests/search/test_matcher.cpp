// The matcher over single buffers: what it reports, what it counts, how far
// it gets and where the line counter stands.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "capture.h"
#include "fyndle.h"
#include "matcher.h"
#include "pattern.h"

namespace {

struct Options {
    bool regExp = false;
    bool binary = false;
    bool matchCase = false;
    bool word = false;
};

struct Search {
    std::string out;     // reports printed
    int found = 0;       // the matcher's result
    int64_t offset = 0;  // bytes consumed (the offset started at 0)
    int64_t line = 0;    // newlines counted
};

// Prepares the pattern as the command line does and searches text once.
Search search(std::string pattern, const std::string &text, Options options = {}, const char *name = "f")
{
    g_fBinary = options.binary;
    g_fMatchCase = options.matchCase;
    g_fRegExp = options.regExp;
    if (!options.matchCase)
        for (char &ch : pattern)
            ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    g_cPattern = ParsePattern(g_aiPattern, 255, g_aiPatCount, pattern.c_str(), &g_chFirst, options.regExp);
    EXPECT_GT(g_cPattern, 0);
    if (!options.matchCase)
        WidenPatternForCase(g_aiPattern);
    Search result;
    StdoutCapture capture;
    result.found = iGrepText(name, text.data(), static_cast<int>(text.size()), &result.offset, &result.line,
                             text.data(), options.word);
    result.out = capture.take();
    return result;
}

TEST(MatcherText, OneReportPerLine)
{
    Search s = search("ab", "xx ab ab\nno\nab\n");
    EXPECT_EQ(s.out, "f (1): xx ab ab\nf (3): ab\n");
    EXPECT_EQ(s.found, 2);
    EXPECT_EQ(s.line, 3);
    EXPECT_EQ(s.offset, 15);
}

TEST(MatcherText, LineEndsAtCarriageReturnOrNul)
{
    EXPECT_EQ(search("ab", "ab\r\nxab\r\n").out, "f (1): ab\nf (2): xab\n");
    EXPECT_EQ(search("ab", std::string("q\0ab\0z\n", 7)).out, "f (1): ab\n");
}

TEST(MatcherText, CaseFoldsUnlessAsked)
{
    EXPECT_EQ(search("HeLLo", "say HELLO\n").out, "f (1): say HELLO\n");
    Options exact;
    exact.matchCase = true;
    EXPECT_EQ(search("hello", "say HELLO\nhello\n", exact).out, "f (2): hello\n");
}

TEST(MatcherText, CountsWithoutPrintingWhenNameIsNull)
{
    Search s = search("a", "a\nba\nc\n", {}, nullptr);
    EXPECT_EQ(s.out, "");
    EXPECT_EQ(s.found, 2);
}

TEST(MatcherBinary, EveryMatchWithItsOffset)
{
    Options binary;
    binary.binary = true;
    Search s = search("ab", "ab ab\n" + std::string(20, '.') + "AB\n", binary);
    EXPECT_EQ(s.out, "f (0): ab\nf (0x3): ab\nf (0x1a): AB\n");
    EXPECT_EQ(s.found, 3);
}

TEST(MatcherBinary, MatchedBytesStopAtNul)
{
    Options binary;
    binary.binary = true;
    binary.regExp = true;
    Search s = search("a[^z]b", std::string("xa\0b\n", 5), binary);
    EXPECT_EQ(s.out, "f (0x1): a\n");
    EXPECT_EQ(s.found, 1);
}

TEST(MatcherWord, WholeWordsOnly)
{
    Options word;
    word.word = true;
    EXPECT_EQ(search("foo", "foo_bar\nfood\nfoo-bar\n", word).out, "f (3): foo-bar\n");
    EXPECT_EQ(search("foo", "xfoo\n", word).out, "");
    // The window's first byte has nothing before it; the byte after a match
    // at the window's end counts as a boundary.
    EXPECT_EQ(search("foo", "foo", word).out, "f (1): foo\n");
}

TEST(MatcherRegExp, StarCoversTheByteThatEndsIt)
{
    Options binary;
    binary.binary = true;
    binary.regExp = true;
    EXPECT_EQ(search("ab*", "abbc\n", binary).out, "f (0): abbc\n");
    EXPECT_EQ(search("a.*", "ab*\nab\n", binary).out, "f (0): ab*\n");
}

TEST(MatcherRegExp, DollarEndsALine)
{
    Options regExp;
    regExp.regExp = true;
    // (The newline '$' took is counted twice, so the third line reads 4.)
    EXPECT_EQ(search("abc$", "abc\nabcd\nabc\r\n", regExp).out, "f (1): abc\nf (4): abc\n");
    // The text after the last newline does not end a line.
    EXPECT_EQ(search("abc$", "abc", regExp).out, "");
}

TEST(MatcherRegExp, CaretNeedsTheNewlineBefore)
{
    Options regExp;
    regExp.regExp = true;
    EXPECT_EQ(search("^ab", "ab\nab\nxab\nab\n", regExp).out, "f (2): ab\nf (4): ab\n");
}

TEST(MatcherRegExp, PlusAfterTheFirstElementNeverMatches)
{
    Options regExp;
    regExp.regExp = true;
    EXPECT_EQ(search("ab+c", "abbc\nabc\n", regExp).out, "");
    // As the first element it is one byte, found by the first-byte scan.
    EXPECT_EQ(search("a+b", "aab\n", regExp).out, "f (1): aab\n");
}

TEST(MatcherRegExp, WithoutFirstByteSkippedLinesAreNotCounted)
{
    Options regExp;
    regExp.regExp = true;
    // Failed attempts do not count newlines: the report says line 1.
    EXPECT_EQ(search("[x]y", "a\nb\nxy\n", regExp).out, "f (1): xy\n");
}

TEST(MatcherRegExp, NegatedElementsAndUnmatchable)
{
    Options regExp;
    regExp.regExp = true;
    EXPECT_EQ(search("a\\~bc", "abc\naxc\n", regExp).out, "f (2): axc\n");
    EXPECT_EQ(search("a\\:", "aa\nab\n", regExp).out, "");
}

TEST(MatcherWindow, AttemptRunningOffTheEndStopsAfterItsFirstByte)
{
    Search s = search("abc", "xx\nab");
    EXPECT_EQ(s.found, 0);
    EXPECT_EQ(s.offset, 4);  // consumed up to and including the 'a'
    EXPECT_EQ(s.line, 1);
}

TEST(MatcherWindow, WithoutFirstByteStopsAtTheAttempt)
{
    Options regExp;
    regExp.regExp = true;
    Search s = search("[a]bc", "xx\nab", regExp);
    EXPECT_EQ(s.offset, 3);
    // An attempt from the first byte that runs off consumes nothing.
    Search stuck = search("[^q]*q", "abcdef", regExp);
    EXPECT_EQ(stuck.offset, 0);
}

TEST(MatcherWindow, EmptyBufferChangesNothing)
{
    g_cPattern = ParsePattern(g_aiPattern, 255, g_aiPatCount, "a", &g_chFirst, 0);
    int64_t offset = 7, line = 3;
    EXPECT_EQ(iGrepText("f", "", 0, &offset, &line, "", 0), 0);
    EXPECT_EQ(offset, 7);
    EXPECT_EQ(line, 3);
}

TEST(MatcherLines, DollarNewlineIsCountedAgain)
{
    Options regExp;
    regExp.regExp = true;
    // The newline taken by '$' is counted by the match and again by the next
    // scan, so later line numbers run one ahead per such match.
    EXPECT_EQ(search("b$", "ab\nb\nxb\n", regExp).out, "f (1): ab\nf (3): b\nf (5): xb\n");
}

} // namespace
