// The matcher over single buffers: what it reports, what it counts, how far it gets and where the line counter stands.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <unistd.h>

#include "capture.h"
#include "fyndle.h"
#include "matcher.h"
#include "pattern.h"
#include "report.h"

namespace {

struct Case {
    const char *options, *pattern;
    std::string text;
    const char *reports;            // what is printed for the file name "f"
    int found;                      // the matcher's result
    int64_t offset = -1, line = -1; // bytes consumed and newlines counted (-1: not checked)
};

struct Search {
    std::string out;
    int found = 0;
    int64_t offset = 0, line = 0, steps = 0; // bytes consumed, newlines counted, states worked (with a MatchState)
    auto result() const { return std::tie(out, found, offset, line); } // all but the work
};

CompiledPattern s_pattern;

// Prepares the pattern as the command line does (r regular expression, b binary, c case-sensitive); returns w, words.
int prepare(const std::string &options, std::string pattern)
{
    auto has = [&](char letter) { return options.find(letter) != std::string::npos; };
    g_fBinary = has('b');
    PreparePattern(pattern.data(), has('r'), has('c'), &s_pattern);
    return has('w');
}

// Searches text as the scanner does, in windows of up to `window` bytes (0: all of it, once) carrying what was not
// consumed; with one MatchState, passing over the windows it can tell, or one each; plain: without the shortcuts.
Search searchWindows(const std::string &text, int window, bool keepState, int matchWord, const char *name = "f",
                     bool plain = false)
{
    Search s;
    MatchState state{};
    state.plain = plain;
    StdoutCapture capture;
    const int64_t size = static_cast<int64_t>(text.size());
    const auto *bytes = reinterpret_cast<const unsigned char *>(text.data());
    for (int64_t at = 0; at < size && (window > 0 || at == 0);) {
        const int len = static_cast<int>(window > 0 ? std::min<int64_t>(window, size - at) : size);
        const int64_t before = s.offset;
        MatchState alone{};
        alone.plain = plain;
        s.found +=
            SearchWindow(s_pattern, keepState ? state : alone,
                         MatchWindow{name, text.data() + at, text.data() + at, len, keepState ? at : 0, matchWord},
                         &s.offset, &s.line);
        const int64_t consumed = s.offset - before;
        at += std::max<int64_t>(consumed, 1);
        StuckRun run{};
        if (keepState && len == window && (consumed == 0 || (s_pattern.first != 0 && state.carried.valid)) &&
            StuckWindows(s_pattern, state, Window{bytes + at, at, size - at}, &run))
            for (int64_t stop = 0; at + window <= size;) {
                const StuckPass pass = PassStuckWindows(s_pattern, run, Window{bytes + at, at, size - at}, window);
                s.offset += pass.consumed;
                at = pass.next;
                if (at + window > size || (stop = WindowStop(s_pattern, run, Window{bytes + at, at, window})) < 0)
                    break;
                s.offset += stop;
                at += std::max<int64_t>(stop, 1);
            }
    }
    s.out = capture.take();
    s.steps = state.steps;
    return s;
}

// Words, case, '^', '$', a leading '*' or '+', sets and "\\~" are left to the scanner model's random texts.
const Case kCases[] = {
    // One report per line, numbered from 1; lines end at LF, CR or NUL.
    {"", "ab", "xx ab ab\nno\nab\n", "f (1): xx ab ab\nf (3): ab\n", 2, 15, 3}, // everything consumed
    {"", "ab", std::string("q\0ab\0z\n", 7), "f (1): ab\n", 1},
    {"", "a", "a", "f (1): a\n", 1, 1, 0}, // a window of one byte
    {"", "abcdefghijklmnopqrstuvwxyz012345", "x\nabcdefghijklmnopqrstuvwxyz012345a\n",
     "f (2): abcdefghijklmnopqrstuvwxyz012345a\n", 1}, // the most elements a pattern has, then the first one's byte
    {"br", "a[^z]b", std::string("xa\0b\n", 5), "f (0x1): a\n", 1},     // hex offsets, bytes up to a NUL
    {"r", "ab+c", "abbc\nabc\n", "", 0},                                // '+' past the first element never matches
    {"r", "a\\:", "aa\nab\n", "", 0},                                   // "\\:" accepts no byte
    {"r", "[][^_]*_", std::string("a\0b_\nxx\n", 8), "", 0},            // "[]" accepts no byte either, not even NUL
    {"", "abc", "xx\nab", "", 0, 4, 1},                                 // running off: stops after the first byte
    {"r", "^abc", "xx\nab", "", 0, 3, 1},                               // counting it when it is the newline of '^'
    {"r", "[a]bc", "xx\nab", "", 0, 3, 0},                              // no first byte: stops at the attempt
    {"r", "[^q]*q", "abcdef", "", 0, 0, 0},                             // from the first byte: nothing consumed
    {"r", "s[a-z]*_t", "xx s_t\nyy sab", "f (1): xx s_t\n", 1, 11, 1},  // a star running off stops the window
    {"r", "s[a-z]*_t", "xx s_t\nyy sab_", "f (1): xx s_t\n", 1, 11, 1}, // so does a tail cut by its end
    {"r", "x[^]*", "ax\nb", "", 0, 2, 0}, // a star that takes every byte runs off every window
    // A match over three lines met again from the next two: an attempt failing before the star must not mark it failed.
    {"r", "[^_][sx][^_]*", "SS\nbs\nxs_\n", "f (1): SS\nf (3): bs\nf (4): xs_\n", 3},
    {"r", "[\xf0-\xff]", "\xff\n", "f (1): \xff\n", 1}, // 255 lies beyond the compiler's table length:
    {"r", "[bc]", "\xff\n", "", 0},                     // a pattern prepared after one that takes it must not
    {"r", "[a-z][^_]*_", "ab_\n", "f (1): ab_\n", 1},   // the last pattern: searched below in an empty window too
};

TEST(Matcher, ReportsCountsAndHowFarItGets)
{
    for (const Case &c : kCases) {
        SCOPED_TRACE(std::string(c.options) + " '" + c.pattern + "'");
        const int word = prepare(c.options, c.pattern);
        Search s = searchWindows(c.text, 0, true, word), quiet = searchWindows(c.text, 0, true, word, nullptr);
        EXPECT_EQ(s.out, c.reports);
        EXPECT_TRUE(s.found == c.found && quiet.found == c.found && quiet.out.empty());
        EXPECT_TRUE(c.offset < 0 || (s.offset == c.offset && s.line == c.line)) << s.offset << " " << s.line;
    }
    int64_t offset = 7, line = 3;
    EXPECT_EQ(iGrepText(s_pattern, "f", "", 0, &offset, &line, "", 0), 0);
    EXPECT_TRUE(offset == 7 && line == 3);
}

// The cases under memcheck where installed: a path remembered with a stretch never set reads unwritten memory.
TEST(Matcher, CasesReadNothingUnwritten)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "memcheck cannot run a sanitizer's build: the cases did not run under it";
#endif
    char self[4096] = {};
    if (readlink("/proc/self/exe", self, sizeof self - 1) <= 0 || std::system("valgrind --version >/dev/null 2>&1"))
        GTEST_SKIP() << "no valgrind: the cases did not run under memcheck";
    std::string command = "valgrind -q --error-exitcode=1 ";
    command.append(self).append(" --gtest_filter=Matcher.ReportsCountsAndHowFarItGets >/dev/null 2>&1");
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

// Numbers put from the last one's digits (steps under 100) or converted anew, every carry; from 10^8 on, out of line.
TEST(Matcher, LineNumbersReadAsTheyCount)
{
    const auto batch = std::make_unique<ReportBatch>(); // its line and digits at 0
    std::mt19937 rng(3);
    for (uint64_t number = 0, round = 0; round < 200000; ++round) {
        number = round % 5000 == 0 ? rng() % 100000000 : (number + rng() % (round % 7 ? 12 : 150)) % 100000000;
        char text[16];
        const char *end = PutLineNumber(*batch, text, number);
        ASSERT_EQ(std::string(text, static_cast<size_t>(end - text)), std::to_string(number));
    }
    const char line[64] = "x"; // all of it readable, as a copy of a short line may read
    StdoutCapture capture;
    ReportName(*batch, "f", 1, line + sizeof line);
    for (const int64_t number : {99999999, 100000000, 100000001})
        ReportLine(*batch, number, line, 1, 0);
    ReportFlush(*batch);
    EXPECT_EQ(capture.take(), "f (99999999): x\nf (100000000): x\nf (100000001): x\n");
}

// A random -r pattern of up to six elements, '*' or '+' after any that takes one, at times ending in '$'.
std::string randomPattern(std::mt19937 &rng)
{
    const char *elements[] = {"s",    "a",     "_",    "[ab]", "[sz]", "[a-z]", "[xyz]",
                              "[^s]", "[^_ ]", "\\~a", "\\.",  ".",    "[Z_]"};
    const char *suffixes[] = {"", "", "*", "+"};
    std::string pattern;
    const int count = 1 + static_cast<int>(rng() % 6);
    for (int k = 0; k < count; ++k) {
        if (k == count - 1 && rng() % 6 == 0)
            return pattern + '$';
        const char *element = elements[rng() % std::size(elements)];
        pattern += element;
        if (std::strcmp(element, ".") != 0)
            pattern += suffixes[rng() % std::size(suffixes)];
    }
    return pattern;
}

// Random text over a small alphabet, at times with long runs of one byte and without any newline.
std::string randomText(std::mt19937 &rng, size_t size)
{
    const std::string alphabet = rng() % 3 ? "sab_zZxS .\n\r" : "sabzx_";
    std::string text;
    while (text.size() < size) {
        const char ch = alphabet[rng() % alphabet.size()];
        text.append(rng() % 8 ? 1 : 1 + rng() % 300, ch);
    }
    text.resize(size);
    return text;
}

// The shortcuts (skip scans, remembered and carried paths) must give what the plain search gives, in one window and
// window by window; skip scans decide only starts that cannot run off, so texts of a pattern's pieces are cut everywhere.
TEST(Matcher, ShortcutsChangeNothing)
{
    auto expectSame = [](const std::string &options, const std::string &pattern, const std::string &text,
                         bool windows) {
        const std::string context = options + " '" + pattern + "' over '" + text + "'";
        const int word = prepare(options, pattern);
        Search plain = searchWindows(text, 0, true, word, "f", true);
        Search plainWindows = windows ? searchWindows(text, 61, false, word, "f", true) : plain;
        Search fast = searchWindows(text, 0, true, word);
        Search fastWindows = windows ? searchWindows(text, 61, true, word) : fast;
        ASSERT_TRUE(fast.result() == plain.result() && fastWindows.result() == plainWindows.result()) << context;
        // The scanner reads no file for a pattern planned never to match: the plain search must find nothing either.
        ASSERT_TRUE(!s_pattern.plan.neverMatches || (plain.found == 0 && plainWindows.found == 0)) << context;
    };
    const char *fixed[] = {"s[a-z]*_t", "s[^_]*_t", "s[a-z]*\\~_b", "^[ ]*s", "s[ab]*st", "ab_", "[ab]_s", "sa",
                           "sa[a-z]*_$", "[sz][a-z]*_s", "\\~ [a-z]*_$", "[xyz]a[^_]*_b", "sa_[^s]*s$", "[^s]a*\\~_z$",
                           ".s[ab]*_", "_[ab]*_", "_s[a]*_s",
                           // A frequent first element before rarer bytes, runs ending a line, bracketed runs, no match.
                           "[sa]ab_[ ]*[a-z]*", "[sx]_z[ ]*s", "[ ]*$", "[ ]*_$", "s*[ ]*_", "[a-z][^ ]*_", "_[^_]*_",
                           "[a-z][^ ]*[a-z]", "sa[ ]+b", "s[^ ]*\\~ ", "[sa]*\\:",
                           // A start, a star refusing one or two values, one of them: each start matches up to it.
                           "[a-z][^_]*_", "[ab][^s]*s", "[sa][^ ]*[ _]", "[a-z][^\n]*\n", "[^ab][^_]*_", "[a-z][^_ ]*_",
                           "[a-z][^_ ]* "};
    std::mt19937 rng(7);
    for (int round = 0; round < 3000; ++round) {
        const std::string pattern = round % 4 ? randomPattern(rng) : fixed[rng() % std::size(fixed)];
        const std::string text = randomText(rng, 1 + rng() % (round % 10 ? 200 : 2000));
        expectSame(std::string("r") + (round % 2 ? "b" : "") + (round % 3 ? "" : "c") + (round % 5 ? "" : "w"), pattern,
                   text, true);
    }
    const std::pair<const char *, const char *> pieces[] = {
        {"zs[ab]*_s", "zsab_s zsab_x zs_s zsba_ zs"},
        {"sa[a-z]*_$", "sab_\r\nsa_\rx sab_\nsab_\r"},
        {"[sS][a-z]*_t", "xs_t sab_x Sa_t s__t s_"},
        {"\\~ [a-z]*_b$", "a_b\nxab_b\r\n ab_bz a_b\r"},
        {"str[^;]*;", "str a; str\nb;x strstr ;str"},
        {"#[ ]*def", "#  def #de # #def#"},
        {"[sa]ab_[ ]*[a-z]*", "sab_ ab aab_  x sab_"},
        {"[ ]*$", "a  \nb\r\n  \r\n\n x"},
        {"[ ]*_$", "a _\n __\r\n_ _\n"},
        {"s[ ]+a", "s  a sa s a"},
        {"[a-z][^;]*;", "ab;\ncd\n;x y;\r\nz\n\n q;;a"},
        {"[^\r][^;]*;", "ab;\n\nc;\nx;"},                // a start that takes a newline
        {"[\r][^_]*_", "ab\rcd_\nxy\r_ q\nzz"},          // a start that is a carriage return
        {"[ ]*[a-z]*[,;]", "ab;\ncd,x y;"},              // two end values, the greater one first
        {"x[a-z]*[,;]", "xab(\nxcd; xy,\n(x) and more"}, // tail values apart in more than one bit
        {"[ab][^b]*b", "xbyy\nb\nbxb\n"},                // starts that are stops
        {"[^a][^\n]*\n", "x\ny\nz\n"},                   // so is every line end
    };
    for (const auto &[pattern, text] : pieces)
        for (size_t end = 1; end <= std::strlen(text); ++end)
            for (const char *options : {"r", "rb", "rc"})
                expectSame(options, pattern, std::string(text, end), false);
    // Lines over many windows that consume nothing or stop at the next first byte: the carried path may leave its run.
    std::string letters;
    for (int i = 0; i < 400; ++i)
        letters += "abbazbaxab"[i * 7 % 10];
    const std::pair<const char *, std::string> longLines[] = {
        {"[a-z]s*_[a-z]*q", "xss_" + letters},
        {"[a-z]s*_[a-z]*q", letters + "ss_" + letters},
        {"x[a-z]*_q", letters},
        {"x[a-z]*_q", letters + "\n" + letters},
        {"[ab]b*z[a-z]*q", letters},
        {"[a-z][^_]*_", letters + "_" + letters},
        {"[a-z][^_]*_", letters + "\n" + letters + "_\n" + letters},
        {"[ab][^_]*_", "  " + letters + "\n_ \n" + letters},
        {"a[b]*x[a-z]*_", "abbbx" + letters},
        {"[a-z_]s*_[a-z]*q", "xss_" + letters},
        // The window after the stuck one starts where the path left its run: it is searched, the next match found.
        {"x[a-w]*x[a-z]*_q", "xaaaaaaaaaxaaaay" + std::string(54, 'b') + "xaaaaaaaaaxbbbbbbbbb_q"},
        // No byte element 0 takes within reach, but a NUL: the window after the stuck one stops at its last byte.
        {"[a-z][^_]*_", std::string("a").append(20, '-').append(1, '\0').append(100, '-').append("b_")},
    };
    for (const auto &[pattern, text] : longLines)
        for (const char *options : {"r", "rc"})
            expectSame(options, pattern, text, true);
}

// Doubling a window where every start makes a long attempt at most doubles the work, also in windows moving by one.
TEST(Matcher, WorkGrowsLinearly)
{
    // A pattern over `fill` bytes then `last`, in windows of `window` bytes (0: one). "[0-9]*" rows fail just before
    // the end, where only the failed paths kept stop the runs; then rarest-byte heads, passed starts, a newline start.
    const std::tuple<const char *, char, const char *, int> shapes[] = {
        {"[a-z]*_q", 'a', " ", 0},         {"[^\"]*\"q", 'a', "\"", 0},      {"x[a-z]*_q", 'x', " ", 0},
        {"[a-z]+_", 'a', " ", 0},          {"a[a-z]*[a-z]*_", 'a', " ", 0},  {"[^ ]*_t ", 'q', " ", 0},
        {"[a-z]*_q", 'a', "a", 512},       {"x[a-z]*_q", 'x', "x", 512},     {"[^\"]*\"q", 'a', "\"", 512},
        {"[a-z]+x", 'a', "a", 512},        {"a[a-z]*[0-9]*q", 'a', "  ", 0}, {"[a-z]*[0-9]*q", 'a', "  ", 0},
        {"[ab]aa[a-z]*[ ]*", 'a', " ", 0}, {"[ ]*$", ' ', "x", 0},           {"[ ]*[a-z]*$", ' ', "a", 512},
        {"[a-z][^_]*_", 'a', "_", 512},    {"[a-z][^_]*_", 'a', " ", 512},   {"[^_][^_]*_", '\n', "_", 0},
    };
    for (const auto &[shape, fill, last, window] : shapes) {
        prepare("r", shape);
        auto stepsOver = [&](int size) {
            const std::string text = std::string(static_cast<size_t>(size) - std::strlen(last), fill) + last;
            const int64_t steps = searchWindows(text, window > 0 ? window : size, true, 0, nullptr).steps;
            EXPECT_LE(steps, 4 * s_pattern.count * size) << shape << " over " << size;
            return steps;
        };
        EXPECT_LE(stepsOver(4096), 2 * stepsOver(2048) + 64) << shape;
    }
}

} // namespace
