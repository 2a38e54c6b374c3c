// fyndle end to end: the built binary over folder trees made by the test,
// comparing its whole output and exit code.
#include <gtest/gtest.h>

#include <dirent.h>
#include <string>
#include <vector>

#include "e2e_support.h"

namespace {

const std::string kUsage =
    "Searches files for text patterns\n\nUsage:\tfyndle [-options] pattern directory filetypes\n\n"
    "options:\n  -s  also search subdirectories\n  -f  list file names only\n"
    "  -b  binary search (default is text line search)\n"
    "  -c  case sensitive search (default is case insensitive)\n"
    "  -l  just count number of lines in files (no pattern search)\n"
    "  -r  regular expression search\n  -v  verbose\n  -w  match word\n\n";

std::string searching(const std::string &pattern)
{
    return kBanner + "Searching for \"" + pattern + "\"\n";
}

// The visible entries of a folder in the order the folder lists them.
std::vector<std::string> listed(const std::string &folder, unsigned char type)
{
    std::vector<std::string> names;
    DIR *dir = opendir(folder.c_str());
    while (dirent *entry = dir ? readdir(dir) : nullptr)
        if (entry->d_name[0] != '.' && entry->d_type == type)
            names.emplace_back(entry->d_name);
    if (dir)
        closedir(dir);
    return names;
}

TEST(CommandLine, NoArgumentPrintsBannerAndUsage)
{
    RunResult r = runFyndle({});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + kUsage);
    EXPECT_EQ(r.err, "");
}

TEST(CommandLine, MissingPatternIsAnError)
{
    for (const std::vector<std::string> &args :
         {std::vector<std::string>{"-s"}, {"-s", "", "-v"}, {"", ""}}) {
        RunResult r = runFyndle(args);
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_EQ(r.out, kBanner + "No search pattern specified");
    }
}

TEST(CommandLine, PatternThatMakesNoElementIsASyntaxError)
{
    TempTree tree;
    for (const char *pattern : {"\\(", "ab\\", "\\{\\}"}) {
        RunResult r = runFyndle({"-r", pattern, tree.root()});
        EXPECT_EQ(r.exitCode, 1) << pattern;
        EXPECT_EQ(r.out, searching(pattern) + "Syntax error in search pattern") << pattern;
    }
}

TEST(CommandLine, UnknownOptionsAreIgnoredAndLongDashArgumentsArePlain)
{
    TempTree tree;
    tree.file("a.txt", "-bc here\nnothing\n");
    RunResult r = runFyndle({"-x", "-bc", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, searching("-bc") + tree.path("a.txt") + " (1): -bc here\n" +
                         "1 occurrence found in 1 file (1 file searched).\n");
}

TEST(CommandLine, LongPatternIsCutAndSwitchesWordMatchingOff)
{
    TempTree tree;
    const std::string pattern = "abcdefghijklmnopqrstuvwxyz0123456789ABCD";  // 40 bytes
    const std::string cut = pattern.substr(0, 31);
    tree.file("a.txt", "xx" + cut + "yy\n");
    RunResult r = runFyndle({"-w", pattern, tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, searching(pattern) + "Warning: pattern is too long, truncated to: \"" + cut + "\"\n" +
                         "Warning: word matching switched off\n" + tree.path("a.txt") + " (1): xx" + cut +
                         "yy\n1 occurrence found in 1 file (1 file searched).\n");
    // 31 bytes are kept whole and -w stays on.
    RunResult kept = runFyndle({"-w", cut, tree.root()});
    EXPECT_EQ(kept.out, searching(cut) + "0 occurrences found in 0 files (1 file searched).\n");
}

TEST(CommandLine, VerboseLineShowsMissingTextsAsNull)
{
    RunResult r = runFyndle({"-v", "abc"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + "Searching for \"abc\" from \"(null)\" in files \"(null)\"\n\"(null)\" not found\n");
}

TEST(CommandLine, MaskArgumentSeparatorsBecomeSemicolons)
{
    TempTree tree;
    tree.file("a.c", "key\n");
    tree.file("b.c", "key\n");
    tree.file("d.c", "key\n");
    tree.file("e.c", "key\n");
    RunResult r = runFyndle({"-v", "-f", "key", tree.root(), "a.c,b.c d.c"});
    EXPECT_EQ(r.out, kBanner + "Searching for \"key\" from \"" + tree.root() + "\" in files \"a.c;b.c;d.c\"\n" +
                         "Trying: " + tree.root() + ": 0 files found\n" +
                         "0 occurrences found in 0 files (0 files searched).\n");
    // Only the last mask argument counts; with a wildcard the list splits.
    RunResult split = runFyndle({"-f", "key", tree.root(), "x", "a.*,d.*"});
    EXPECT_EQ(split.out, searching("key") + tree.path("a.c") + " : 1 occurrence.\n" + tree.path("d.c") +
                             " : 1 occurrence.\n" + "2 occurrences found in 2 files (2 files searched).\n");
}

TEST(Reports, TextLinesWithNumbersAndCaseFolding)
{
    TempTree tree;
    tree.file("a.txt", "first Line\nsecond\r\nLINE and line\nno\n");
    RunResult r = runFyndle({"line", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, searching("line") + tree.path("a.txt") + " (1): first Line\n" + tree.path("a.txt") +
                         " (3): LINE and line\n2 occurrences found in 1 file (1 file searched).\n");
}

TEST(Reports, CaseSensitiveBinaryWordAndNamesOnly)
{
    TempTree tree;
    tree.file("a.txt", "Foo foo food foo_x\r\nfoo-bar\n");
    const std::string a = tree.path("a.txt");
    EXPECT_EQ(runFyndle({"-c", "Foo", tree.root()}).out,
              searching("Foo") + a + " (1): Foo foo food foo_x\n1 occurrence found in 1 file (1 file searched).\n");
    EXPECT_EQ(runFyndle({"-b", "foo", tree.root()}).out,
              searching("foo") + a + " (0): Foo\n" + a + " (0x4): foo\n" + a + " (0x8): foo\n" + a + " (0xd): foo\n" +
                  a + " (0x14): foo\n5 occurrences found in 1 file (1 file searched).\n");
    EXPECT_EQ(runFyndle({"-b", "-w", "foo", tree.root()}).out,
              searching("foo") + a + " (0): Foo\n" + a + " (0x4): foo\n" + a +
                  " (0x14): foo\n3 occurrences found in 1 file (1 file searched).\n");
    EXPECT_EQ(runFyndle({"-f", "foo", tree.root()}).out,
              searching("foo") + a + " : 2 occurrences.\n2 occurrences found in 1 file (1 file searched).\n");
}

TEST(Reports, RegularExpressions)
{
    TempTree tree;
    tree.file("a.txt", "int x;\nstruct s;\nstrict t;\n  str\n");
    const std::string a = tree.path("a.txt");
    EXPECT_EQ(runFyndle({"-r", "str[^;]*;", tree.root()}).out,
              searching("str[^;]*;") + a + " (2): struct s;\n" + a +
                  " (3): strict t;\n2 occurrences found in 1 file (1 file searched).\n");
    // A star takes all it can and never gives back.
    EXPECT_EQ(runFyndle({"-r", "str[a-z]*t", tree.root()}).out,
              searching("str[a-z]*t") + "0 occurrences found in 0 files (1 file searched).\n");
    EXPECT_EQ(runFyndle({"-r", "-b", "^s", tree.root()}).out,
              searching("^s") + a + " (0x6): \ns\n" + a + " (0x10): \ns\n2 occurrences found in 1 file (1 file searched).\n");
    EXPECT_EQ(runFyndle({"-r", "t;$", tree.root()}).out,
              searching("t;$") + a + " (3): strict t;\n1 occurrence found in 1 file (1 file searched).\n");
}

TEST(Summary, PluralsAndCounts)
{
    TempTree tree;
    tree.file("a.txt", "zz\n");
    tree.file("b.txt", "nothing\n");
    EXPECT_EQ(runFyndle({"qq", tree.root()}).out, searching("qq") + "0 occurrences found in 0 files (2 files searched).\n");
    EXPECT_EQ(runFyndle({"zz", tree.root(), "a.txt"}).out,
              searching("zz") + tree.path("a.txt") + " (1): zz\n1 occurrence found in 1 file (1 file searched).\n");
}

TEST(LineCounting, CountsNewlinesOfTheSelectedFiles)
{
    TempTree tree;
    tree.file("a.txt", "1\n2\n3");    // no final newline: 2 lines
    tree.file("b.txt", "1\n2\n3\n");  // 3 lines
    tree.file("c.md", "1\n");
    tree.file("e.txt", "");
    RunResult r = runFyndle({"-l", tree.root(), "*.txt"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + "5 lines counted in 2 files.\n");
    // With -l a pattern written first is taken as the folder; -v prints no
    // "Searching for" line in this mode.
    RunResult one = runFyndle({"-l", "-v", tree.root(), "c.md", "ignored"});
    EXPECT_EQ(one.out, kBanner + "Trying: " + tree.root() + ": 1 files found\nFile  : " + tree.path("c.md") +
                           "\n1 lines counted in 1 file.\n");
}

TEST(Folders, FileGivenInPlaceOfAFolder)
{
    TempTree tree;
    tree.file("dir/file.txt", "hit\n");
    tree.file("dir/other.c", "hit\n");
    EXPECT_EQ(runFyndle({"hit", tree.path("dir/file.txt")}).out,
              searching("hit") + tree.path("dir/file.txt") + " (1): hit\n1 occurrence found in 1 file (1 file searched).\n");
    EXPECT_EQ(runFyndle({"hit", tree.path("dir/file.txt"), "*.c"}).out,
              searching("hit") + "Warning: using specified mask instead of filename\n" + tree.path("dir/other.c") +
                  " (1): hit\n1 occurrence found in 1 file (1 file searched).\n");
}

TEST(Folders, NotFoundMessages)
{
    TempTree tree;
    RunResult r = runFyndle({"x", tree.path("missing") + "  "});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, searching("x") + "\"" + tree.path("missing") + "\" not found\n");
    RunResult none = runFyndle({"-l"});
    EXPECT_EQ(none.out, kBanner + "\"(null)\" not found\n");
}

TEST(Folders, MasksWithoutWildcardAreOneNameAndEmptyMasksEndTheList)
{
    TempTree tree;
    tree.file("read;me", "k\n");
    tree.file("a.c", "k\n");
    tree.file("a.h", "k\n");
    EXPECT_EQ(runFyndle({"-f", "k", tree.root(), "read;me"}).out,
              searching("k") + tree.path("read;me") + " : 1 occurrence.\n1 occurrence found in 1 file (1 file searched).\n");
    EXPECT_EQ(runFyndle({"-f", "k", tree.root(), "*.c;;*.h"}).out,
              searching("k") + tree.path("a.c") + " : 1 occurrence.\n1 occurrence found in 1 file (1 file searched).\n");
    // '*' never runs past a dot; hidden files are never listed.
    tree.file("x.b.c", "k\n");
    tree.file(".hidden.c", "k\n");
    EXPECT_EQ(runFyndle({"-f", "k", tree.root(), "*.c"}).out,
              searching("k") + tree.path("a.c") + " : 1 occurrence.\n1 occurrence found in 1 file (1 file searched).\n");
}

TEST(Folders, SubfoldersDepthFirstInListingOrder)
{
    TempTree tree;
    tree.file("top.txt", "k\n");
    tree.file("one/a.txt", "k\n");
    tree.file("one/deep/b.txt", "k\n");
    tree.file("two/c.txt", "k\n");
    tree.file("three/d.txt", "k\n");
    tree.file(".hid/e.txt", "k\n");
    std::string want = searching("k") + "Trying: " + tree.root() + ": 1 files found\nFile  : " +
                       tree.path("top.txt") + "\n" + tree.path("top.txt") + " (1): k\n";
    int files = 1;
    for (const std::string &sub : listed(tree.root(), DT_DIR)) {
        std::string folder = tree.path(sub);
        std::string name = listed(folder, DT_REG).at(0);
        want += "Trying: " + folder + ": 1 files found\nFile  : " + folder + "/" + name + "\n" + folder + "/" +
                name + " (1): k\n";
        ++files;
        for (const std::string &deeper : listed(folder, DT_DIR)) {
            want += "Trying: " + folder + "/" + deeper + ": 1 files found\nFile  : " + folder + "/" + deeper +
                    "/b.txt\n" + folder + "/" + deeper + "/b.txt (1): k\n";
            ++files;
        }
    }
    ASSERT_EQ(files, 5);
    want += "5 occurrences found in 5 files (5 files searched).\n";
    RunResult r = runFyndle({"-s", "k", tree.root()});
    std::string verbose = runFyndle({"-s", "-v", "k", tree.root()}).out;
    EXPECT_EQ(verbose.substr(verbose.find("Trying")), want.substr(want.find("Trying")));
    EXPECT_EQ(r.exitCode, 0);
}

TEST(Windows, MatchesAcrossReadsAndLongLines)
{
    TempTree tree;
    // Several windows of short CR LF lines, one match near each window cut.
    std::string text;
    int line = 0;
    std::string want;
    while (text.size() < 30000) {
        ++line;
        std::string body = (line % 97 == 0) ? "needle here" : "filler text of a line";
        text += body + "\r\n";
        if (line % 97 == 0)
            want += tree.path("a.txt") + " (" + std::to_string(line) + "): needle here\n";
    }
    tree.file("a.txt", text);
    EXPECT_EQ(runFyndle({"needle", tree.root()}).out,
              searching("needle") + want + std::to_string(line / 97) + " occurrences found in 1 file (1 file searched).\n");

    // One 10000-byte line is searched in whole windows. A pattern with a
    // first byte loses a match across the 5120-byte boundary (the window
    // keeps only what follows that byte); one without a first byte carries
    // the attempt over whole, and the carried bytes print as the first
    // window folded them.
    std::string longLine(10000, 'x');
    longLine.replace(5117, 6, "NEEDLE");
    longLine.replace(8000, 6, "Needle");
    tree.file("b.txt", longLine);
    EXPECT_EQ(runFyndle({"-b", "needle", tree.root(), "b.txt"}).out,
              searching("needle") + tree.path("b.txt") + " (0x1f40): Needle\n" +
                  "1 occurrence found in 1 file (1 file searched).\n");
    EXPECT_EQ(runFyndle({"-b", "-r", "[n]eedle", tree.root(), "b.txt"}).out,
              searching("[n]eedle") + tree.path("b.txt") + " (0x13fd): neeDLE\n" + tree.path("b.txt") +
                  " (0x1f40): Needle\n2 occurrences found in 1 file (1 file searched).\n");
}

TEST(Windows, EmptyFilesAreTriedButNotRead)
{
    TempTree tree;
    tree.file("empty.txt", "");
    EXPECT_EQ(runFyndle({"x", tree.root()}).out, searching("x") + "0 occurrences found in 0 files (1 file searched).\n");
}

} // namespace
