// fyndle end to end: the built binary over trees made by the test, its whole output and exit code ('@': the root).
#include <gtest/gtest.h>

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
    const std::string truncated =
        "Warning: pattern is too long, truncated to: \"" + p31 + "\"\nWarning: word matching switched off\n";
    const Files four{{"a.c", "key\n"}, {"b.c", "key\n"}, {"d.c", "key\n"}, {"e.c", "key\n"}};
    const Files foo{{"a.txt", "Foo foo food foo_x\r\nfoo-bar\n"}};
    const Files regex{{"a.txt", "int x;\nstruct s;\nstrict t;\n  str\n"}};
    const Files counted{{"a.txt", "1\n2\n3"}, {"b.txt", "1\n2\n3\n"}, {"c.md", "1\n"}, {"e.txt", ""}};
    const Files dir{{"dir/file.txt", "hit\n"}, {"dir/other.c", "hit\n"}};
    const Files masks{{"read;me", "k\n"}, {"a.c", "k\n"}, {"a.h", "k\n"}, {"x.b.c", "k\n"}, {".c", "k\n"}};
    auto hits = [](const std::string &pattern, const std::string &reports, int count, int files = 1, int tried = 1) {
        return searching(pattern) + reports + summary(count, files, tried);
    };

    std::vector<Case> cases = {
        {{}, {}, kUsage},
        {{"-s", "", "-v"}, {}, "No search pattern specified", 1},
        {{"-r", "\\(", "@"}, {}, searching("\\(") + "Syntax error in search pattern", 1},
        {{"-x", "-bc", "@"}, {{"a.txt", "-bc here\nnothing\n"}}, hits("-bc", "@/a.txt (1): -bc here\n", 1)},
        {{"-w", p40, "@"}, cut, hits(p40, truncated + "@/a.txt (1): xx" + p31 + "yy\n", 1)},
        {{"-w", p31, "@"}, cut, searching(p31) + summary(0, 0, 1)},
        {{"-v", "abc"}, {}, "Searching for \"abc\" from \"(null)\" in files \"(null)\"\n\"(null)\" not found\n"},
        {{"abc"}, {}, "Searching for \"abc\"\n\"(null)\" not found\n"},
        {{"-v", "-f", "key", "@", "a.c,b.c d.c"},
         four,
         "Searching for \"key\" from \"@\" in files \"a.c;b.c;d.c\"\nTrying: @: 0 files found\n" + summary(0, 0, 0)},
        {{"-f", "key", "@", "x", "a.*,d.*"},
         four,
         hits("key", "@/a.c : 1 occurrence.\n@/d.c : 1 occurrence.\n", 2, 2, 2)},
        {{"-c", "Foo", "@"}, foo, hits("Foo", "@/a.txt (1): Foo foo food foo_x\n", 1)},
        {{"-b", "foo", "@"},
         foo,
         hits("foo",
              "@/a.txt (0): Foo\n@/a.txt (0x4): foo\n@/a.txt (0x8): foo\n@/a.txt (0xd): foo\n@/a.txt (0x14): foo\n",
              5)},
        {{"-f", "foo", "@"}, foo, hits("foo", "@/a.txt : 2 occurrences.\n", 2)},
        {{"-r", "str[^;]*;", "@"}, regex, hits("str[^;]*;", "@/a.txt (2): struct s;\n@/a.txt (3): strict t;\n", 2)},
        // A first 'z' is looked for as 'Z' too; a first element of three values.
        {{"-r", "zip*", "@"}, {{"a.txt", "a ZIP\n"}}, hits("zip*", "@/a.txt (1): a ZIP\n", 1)},
        {{"-r", "[1-3]$", "@"}, {{"a.txt", "v3\nv4\n"}}, hits("[1-3]$", "@/a.txt (1): v3\n", 1)},
        // A set cut short after a '-': no range, the byte before it and the '-' are items.
        {{"-r", "x[a-", "@"}, {{"a.txt", "xa\nx-\nxb\n"}}, hits("x[a-", "@/a.txt (1): xa\n@/a.txt (2): x-\n", 2)},
        {{"-f", "k", "@", "a?.txt,b?.txt"},
         {{"a1.txt", "k\n"}, {"b2.txt", "k\n"}, {"c3.txt", "k\n"}},
         hits("k", "@/a1.txt : 1 occurrence.\n@/b2.txt : 1 occurrence.\n", 2, 2, 2)},
        {{"-l", "@", "*.txt"}, counted, "5 lines counted in 2 files.\n"},
        {{"-l", "-v", "@", "c.md", "ignored"},
         counted,
         "Trying: @: 1 files found\nFile  : @/c.md\n1 lines counted in 1 file.\n"},
        {{"hit", "@/dir/file.txt"}, dir, hits("hit", "@/dir/file.txt (1): hit\n", 1)},
        {{"hit", "@/dir/file.txt", "*.c"},
         dir,
         hits("hit", "Warning: using specified mask instead of filename\n@/dir/other.c (1): hit\n", 1)},
        {{"x", "@/missing  "}, {}, searching("x") + "\"@/missing\" not found\n"},
        {{"-f", "k", "@", "read;me"}, masks, hits("k", "@/read;me : 1 occurrence.\n", 1)},
        {{"-f", "k", "@", "*.c;;*.h"}, masks, hits("k", "@/a.c : 1 occurrence.\n", 1)},
        {{"x", "@"}, {{"empty.txt", ""}, {"sub/x.txt", "x\n"}}, searching("x") + summary(0, 0, 1)}, // sub/ needs -s
        // Depth first, a folder's files before its subfolders; hidden names skipped.
        {{"-s", "-v", "k", "@"},
         {{"top.txt", "k\n"},
          {".h.txt", "k\n"},
          {"one/a.txt", "k\n"},
          {"one/deep/b.txt", "k\n"},
          {".hid/e.txt", "k\n"}},
         "Searching for \"k\" from \"@\" in files \"(null)\"\nTrying: @: 1 files found\nFile  : @/top.txt\n"
         "@/top.txt (1): k\nTrying: @/one: 1 files found\nFile  : @/one/a.txt\n@/one/a.txt (1): k\n"
         "Trying: @/one/deep: 1 files found\nFile  : @/one/deep/b.txt\n@/one/deep/b.txt (1): k\n" +
             summary(3, 3, 3)},
    };
    // Message lines of 511 to 513 bytes, about the size of the buffer lines are first formatted in: none loses its end.
    const size_t rootSize = TempTree().root().size();
    for (const auto &[aroundPath, length] :
         {std::pair<size_t, size_t>{17, 511}, {17, 512}, {17, 513}, {9, 511}, {9, 512}, {9, 513}}) {
        std::string name;
        for (const size_t wanted = length - aroundPath - rootSize - 1; wanted - name.size() > 201;)
            name.append(200, 'd').append(1, '/');
        name.append(length - aroundPath - rootSize - 1 - name.size(), 'f');
        std::string want = "Searching for \"k\" from \"@\" in files \"(null)\"\nTrying: @: 0 files found\n";
        for (size_t slash = name.find('/'); slash != std::string::npos; slash = name.find('/', slash + 1))
            want += "Trying: @/" + name.substr(0, slash) +
                    (name.find('/', slash + 1) == std::string::npos ? ": 1" : ": 0") + " files found\n";
        want += "File  : @/" + name + "\n@/" + name + " : 1 occurrence.\n" + summary(1, 1, 1);
        cases.push_back({{"-s", "-v", "-f", "k", "@"}, {{name, "k\n"}}, want});
    }
    for (const Case &c : cases) {
        TempTree tree;
        for (const auto &[name, content] : c.files)
            tree.file(name, content);
        check(tree, c.args, c.want, c.exitCode);
    }
}

} // namespace
