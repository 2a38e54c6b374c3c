// fyndle end to end: the built binary over folder trees made by the test,
// comparing its whole output and exit code. '@' stands for the tree's root.
#include <gtest/gtest.h>

#include <dirent.h>
#include <functional>
#include <string>
#include <vector>

#include "e2e_support.h"

namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

struct Case {
    std::vector<std::string> args;
    Files files;
    std::string want; // after the banner
    int exitCode = 0;
};

const std::string kUsage =
    "Searches files for text patterns\n\nUsage:\tfyndle [-options] pattern directory filetypes\n\n"
    "options:\n  -s  also search subdirectories\n  -f  list file names only\n"
    "  -b  binary search (default is text line search)\n"
    "  -c  case sensitive search (default is case insensitive)\n"
    "  -l  just count number of lines in files (no pattern search)\n"
    "  -r  regular expression search\n  -v  verbose\n  -w  match word\n\n";

TEST(Fyndle, WholeOutputsAndExitCodes)
{
    const std::string p40 = "abcdefghijklmnopqrstuvwxyz0123456789ABCD", p31 = p40.substr(0, 31);
    const Files cut{{"a.txt", "xx" + p31 + "yy\n"}};
    const Files four{{"a.c", "key\n"}, {"b.c", "key\n"}, {"d.c", "key\n"}, {"e.c", "key\n"}};
    const Files foo{{"a.txt", "Foo foo food foo_x\r\nfoo-bar\n"}};
    const Files regex{{"a.txt", "int x;\nstruct s;\nstrict t;\n  str\n"}};
    const Files counted{{"a.txt", "1\n2\n3"}, {"b.txt", "1\n2\n3\n"}, {"c.md", "1\n"}, {"e.txt", ""}};
    const Files dir{{"dir/file.txt", "hit\n"}, {"dir/other.c", "hit\n"}};
    const Files masks{{"read;me", "k\n"}, {"a.c", "k\n"}, {"a.h", "k\n"}, {"x.b.c", "k\n"}, {".c", "k\n"}};
    // One 10000-byte line whose match across offset 5120 only a pattern
    // without a first byte keeps (line counts across windows: the model test).
    std::string longLine(10000, 'x');
    longLine.replace(5117, 6, "NEEDLE").replace(8000, 6, "Needle");
    const std::string syntax = "Syntax error in search pattern", noPattern = "No search pattern specified";

    const std::vector<Case> cases = {
        {{}, {}, kUsage},
        {{"-s"}, {}, noPattern, 1},
        {{"-s", "", "-v"}, {}, noPattern, 1},
        {{"-r", "\\(", "@"}, {}, searching("\\(") + syntax, 1},
        {{"-r", "ab\\", "@"}, {}, searching("ab\\") + syntax, 1},
        {{"-r", "\\{\\}", "@"}, {}, searching("\\{\\}") + syntax, 1},
        {{"-x", "-bc", "@"},
         {{"a.txt", "-bc here\nnothing\n"}},
         searching("-bc") + "@/a.txt (1): -bc here\n" + summary(1, 1, 1)},
        {{"-w", p40, "@"},
         cut,
         searching(p40) + "Warning: pattern is too long, truncated to: \"" + p31 +
             "\"\nWarning: word matching switched off\n@/a.txt (1): xx" + p31 + "yy\n" + summary(1, 1, 1)},
        {{"-w", p31, "@"}, cut, searching(p31) + summary(0, 0, 1)},
        {{"-v", "abc"}, {}, "Searching for \"abc\" from \"(null)\" in files \"(null)\"\n\"(null)\" not found\n"},
        {{"-v", "-f", "key", "@", "a.c,b.c d.c"},
         four,
         "Searching for \"key\" from \"@\" in files \"a.c;b.c;d.c\"\nTrying: @: 0 files found\n" + summary(0, 0, 0)},
        {{"-f", "key", "@", "x", "a.*,d.*"},
         four,
         searching("key") + "@/a.c : 1 occurrence.\n@/d.c : 1 occurrence.\n" + summary(2, 2, 2)},
        {{"line", "@"},
         {{"a.txt", "first Line\nsecond\r\nLINE and line\nno\n"}},
         searching("line") + "@/a.txt (1): first Line\n@/a.txt (3): LINE and line\n" + summary(2, 1, 1)},
        {{"-c", "Foo", "@"}, foo, searching("Foo") + "@/a.txt (1): Foo foo food foo_x\n" + summary(1, 1, 1)},
        {{"-b", "foo", "@"},
         foo,
         searching("foo") + "@/a.txt (0): Foo\n@/a.txt (0x4): foo\n@/a.txt (0x8): foo\n" +
             "@/a.txt (0xd): foo\n@/a.txt (0x14): foo\n" + summary(5, 1, 1)},
        {{"-b", "-w", "foo", "@"},
         foo,
         searching("foo") + "@/a.txt (0): Foo\n@/a.txt (0x4): foo\n@/a.txt (0x14): foo\n" + summary(3, 1, 1)},
        {{"-f", "foo", "@"}, foo, searching("foo") + "@/a.txt : 2 occurrences.\n" + summary(2, 1, 1)},
        {{"-r", "str[^;]*;", "@"},
         regex,
         searching("str[^;]*;") + "@/a.txt (2): struct s;\n@/a.txt (3): strict t;\n" + summary(2, 1, 1)},
        {{"-r", "str[a-z]*t", "@"}, regex, searching("str[a-z]*t") + summary(0, 0, 1)}, // a star never gives back
        {{"-r", "-b", "^s", "@"},
         regex,
         searching("^s") + "@/a.txt (0x6): \ns\n@/a.txt (0x10): \ns\n" + summary(2, 1, 1)},
        {{"-r", "t;$", "@"}, regex, searching("t;$") + "@/a.txt (3): strict t;\n" + summary(1, 1, 1)},
        {{"qq", "@"}, {{"a.txt", "zz\n"}, {"b.txt", "no\n"}}, searching("qq") + summary(0, 0, 2)},
        // 'z' at either end of the alphabet's folding, as a first byte, in a
        // star and in the plain text; a three-value first element.
        {{"fizz", "@"}, {{"a.txt", "the FIZZ\n"}}, searching("fizz") + "@/a.txt (1): the FIZZ\n" + summary(1, 1, 1)},
        {{"-r", "zip*", "@"}, {{"a.txt", "a ZIP\n"}}, searching("zip*") + "@/a.txt (1): a ZIP\n" + summary(1, 1, 1)},
        {{"-r", "[1-3]$", "@"}, {{"a.txt", "v3\nv4\n"}}, searching("[1-3]$") + "@/a.txt (1): v3\n" + summary(1, 1, 1)},
        {{"-f", "k", "@", "a?.txt,b?.txt"},
         {{"a1.txt", "k\n"}, {"b2.txt", "k\n"}, {"c3.txt", "k\n"}},
         searching("k") + "@/a1.txt : 1 occurrence.\n@/b2.txt : 1 occurrence.\n" + summary(2, 2, 2)},
        {{"-l", "@", "*.txt"}, counted, "5 lines counted in 2 files.\n"},
        {{"-l", "-v", "@", "c.md", "ignored"},
         counted,
         "Trying: @: 1 files found\nFile  : @/c.md\n1 lines counted in 1 file.\n"},
        {{"hit", "@/dir/file.txt"}, dir, searching("hit") + "@/dir/file.txt (1): hit\n" + summary(1, 1, 1)},
        {{"hit", "@/dir/file.txt", "*.c"},
         dir,
         searching("hit") + "Warning: using specified mask instead of filename\n@/dir/other.c (1): hit\n" +
             summary(1, 1, 1)},
        {{"x", "@/missing  "}, {}, searching("x") + "\"@/missing\" not found\n"},
        {{"-l"}, {}, "\"(null)\" not found\n"},
        {{"-f", "k", "@", "read;me"}, masks, searching("k") + "@/read;me : 1 occurrence.\n" + summary(1, 1, 1)},
        {{"-f", "k", "@", "*.c;;*.h"}, masks, searching("k") + "@/a.c : 1 occurrence.\n" + summary(1, 1, 1)},
        {{"x", "@"}, {{"empty.txt", ""}}, searching("x") + summary(0, 0, 1)},
        {{"-b", "needle", "@", "b.txt"},
         {{"b.txt", longLine}},
         searching("needle") + "@/b.txt (0x1f40): Needle\n" + summary(1, 1, 1)},
        {{"-b", "needle", "@"},
         {{"c.txt", std::string(4800, 'x') + "\n" + std::string(316, 'x') + "needle"}},
         searching("needle") + summary(0, 0, 1)}, // a newline before byte 4801 does not cut
        {{"-b", "-r", "[n]eedle", "@", "b.txt"},
         {{"b.txt", longLine}},
         searching("[n]eedle") + "@/b.txt (0x13fd): neeDLE\n@/b.txt (0x1f40): Needle\n" + summary(2, 1, 1)},
        // A star run into the window's end: that first byte is not tried again.
        {{"-b", "-r", "s[a-z]*_t", "@"},
         {{"a.txt", "sab_t " + std::string(5106, '-') + "sabcdefg_t s_T"}},
         searching("s[a-z]*_t") + "@/a.txt (0): sab_t\n@/a.txt (0x1403): s_T\n" + summary(2, 1, 1)},
    };
    for (const Case &c : cases) {
        TempTree tree;
        for (const auto &[name, content] : c.files)
            tree.file(name, content);
        check(tree, c.args, c.want, c.exitCode);
    }
}

TEST(Fyndle, SubfoldersDepthFirstFilesFirstInListingOrder)
{
    TempTree tree;
    for (const char *name :
         {"top.txt", "one/a.txt", "one/a2.txt", "one/deep/b.txt", "two/c.txt", "three/d.txt", ".hid/e.txt"})
        tree.file(name, "k\n");
    std::string want = "Searching for \"k\" from \"@\" in files \"(null)\"\n";
    int files = 0;
    std::function<void(const std::string &)> visit = [&](const std::string &folder) {
        const std::vector<std::string> names = listed(folder, DT_REG);
        want += "Trying: " + folder + ": " + std::to_string(names.size()) + " files found\n";
        for (const std::string &name : names)
            want += "File  : " + folder + "/" + name + "\n" + folder + "/" + name + " (1): k\n", ++files;
        for (const std::string &sub : listed(folder, DT_DIR))
            visit(folder + "/" + sub);
    };
    visit(tree.root());
    ASSERT_EQ(files, 6);
    check(tree, {"-s", "-v", "k", "@"}, want + summary(6, 6, 6));
}

} // namespace
