// System services: name parts and path clean-up; files in a folder the
// fixture makes and removes; the process, put back as it was by each test.
#include "qvstdlib.h"
#include "qvsystem.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

using Names = std::vector<std::wstring>;
std::wstring widen(const std::string &ascii)
{
    return std::wstring(ascii.begin(), ascii.end());
}
std::wstring take(wchar_t *text)
{
    std::wstring kept = text ? text : L"(null)";
    free(text);
    return kept;
}

TEST(QvSystemPaths, BaseAndExtensionPointIntoThePathAndCleanUpTrims)
{
    const struct {
        const char *path, *base, *ext;
    } cases[] = {
        {"dir/sub\\name.txt", "name.txt", ".txt"}, {"c:name", "name", ""}, {"dir/", "", ""},
        {"a/b.tar.gz", "b.tar.gz", ".gz"},         {"a.b/c", "c", ""},     {".profile", ".profile", ".profile"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(SFileBaseA(c.path), c.path + strlen(c.path) - strlen(c.base)) << c.path;
        EXPECT_EQ(SFileExtA(c.path), c.path + strlen(c.path) - strlen(c.ext)) << c.path;
    }
    const wchar_t *wide = L"c:d\\x:y.tar.gz";
    EXPECT_TRUE(SFileBase(wide) == wide + 4 && SFileExt(wide) == wide + 11);
    EXPECT_TRUE(!SFileBaseA(nullptr) && !SFileExt(nullptr));
    const struct {
        const char *in, *out;
    } cleaned[] = {
        {"dir\\sub\\file.txt \t", "dir/sub/file.txt"}, {"   ", ""}, {" lead\\", " lead/"}, {"a!", "a!"}, // 33 is kept
        {"\xC3\xA9/x\xC3\xA9 ", "\xC3\xA9/x"}, // signed bytes: a UTF-8 ending is cut
    };
    for (const auto &c : cleaned)
        EXPECT_STREQ(FixPathSeparatorA(std::string(c.in).data()), c.out) << c.in;
    wchar_t accented[] = L"d\\f\u00e9 \t", negative[] = {L'a', static_cast<wchar_t>(0x80000041), 0};
    EXPECT_STREQ(FixPathSeparator(accented), L"d/f\u00e9");
    EXPECT_STREQ(FixPathSeparator(negative), L"a"); // signed: a blank
    EXPECT_TRUE(!FixPathSeparatorA(nullptr) && !FixPathSeparator(nullptr));
}

class QvSystemFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/qvsystem_files_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
        for (const std::string name :
             {"abc", "ac", "abcd", "a.b.txt", "x.txt", "noext", "name.", ".hidden", "sub/", "sub.d/", ".hiddendir/"})
            name.back() == '/' ? (void)mkdir(at(name).c_str(), 0755) : write(name, "");
    }
    void TearDown() override { std::filesystem::remove_all(root_); }
    std::string at(const std::string &name) const { return root_ + "/" + name; }
    std::wstring wideAt(const std::wstring &name) const { return widen(root_) + L"/" + name; }
    void write(const std::string &name, const std::string &text) const
    {
        std::ofstream(at(name), std::ios::binary) << text;
    }
    std::string read(const std::string &name) const
    {
        std::ifstream in(at(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    bool exists(const std::string &name) const { return std::filesystem::exists(at(name)); }
    std::string root_;
};

// The folder gives its names in no set order: they come back sorted.
template <typename Char> std::vector<std::basic_string<Char>> sorted(Char **table, const int *count)
{
    EXPECT_EQ(table != nullptr, *count > 0);
    std::vector<std::basic_string<Char>> names(table, table + (table ? *count : 0));
    TabFreePlain(table, static_cast<uint64_t>(*count), 1);
    std::sort(names.begin(), names.end());
    return names;
}
Names listed(const wchar_t *folder, const wchar_t *mask, int files = 1, bool byExt = false)
{
    int count = 7;
    return sorted(byExt ? FileListByExt(folder, mask, &count, files) : FileListByMask(folder, mask, &count, files),
                  &count);
}

TEST_F(QvSystemFiles, ListByMask)
{
    const struct {
        const wchar_t *mask;
        int files;
        Names expected;
    } cases[] = {
        {L"*", 1, {L"a.b.txt", L"abc", L"abcd", L"ac", L"name.", L"noext", L"x.txt"}}, // no hidden ones
        {L"*.txt", 1, {L"x.txt"}}, // the star stops at the first dot
        {L"*.", 1, {L"name."}},
        {L"a?c", 1, {L"abc"}},
        {L"abc*", 1, {L"abcd"}}, // 'abc' is used up before the star
        {L"", 1, {}},
        {L"*", 0, {L"sub", L"sub.d"}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(listed(widen(root_).c_str(), c.mask, c.files), c.expected) << c.mask << " files=" << c.files;
    EXPECT_EQ(FFileMaskMatch(nullptr, L"*") + FFileMaskMatch(L"", L"*") + FFileMaskMatch(L"abc", nullptr), 0);
    EXPECT_EQ(listed(widen(root_ + "/*.txt").c_str(), nullptr), Names{L"x.txt"});
    EXPECT_EQ(listed(widen(root_ + "\\a?c").c_str(), nullptr), Names{L"abc"});
    EXPECT_EQ(listed(L"/tmp", nullptr), Names{}); // empty folder part
    for (const wchar_t *folder : {static_cast<const wchar_t *>(nullptr), L"", L"/no/such/folder"})
        EXPECT_EQ(listed(folder, L"*"), Names{});
    // By descriptor: the same listing twice from one descriptor, none from -1; with the folders, the files that
    // fit and every visible subfolder, the latter by their stored names, even where those are not UTF-8.
    ASSERT_EQ(mkdir(at("\xff\xfe").c_str(), 0755), 0);
    const int fd = open(root_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int dirFd : {fd, fd, -1}) {
        int count = 7;
        EXPECT_EQ(sorted(FileListByMaskAt(dirFd, L"*.*", &count, 1), &count),
                  dirFd < 0 ? Names{} : Names({L"a.b.txt", L"x.txt"}));
    }
    using Raw = std::vector<std::string>;
    const Raw allFolders{"sub", "sub.d", "\xff\xfe"};
    const struct {
        int dirFd;
        const wchar_t *mask;
        bool wantFolders;
        Names files;
        Raw folders;
    } withFolders[] = {
        {fd, L"*.txt", true, {L"x.txt"}, allFolders},
        {fd, nullptr, true, {}, allFolders},
        {fd, L"", true, {}, allFolders},
        {fd, L"a*", false, {L"a.b.txt", L"abc", L"abcd", L"ac"}, {}},
        {-1, L"*", true, {}, {}},
    };
    for (const auto &c : withFolders) {
        int count = 7, folderCount = 7;
        char **folders = reinterpret_cast<char **>(&count); // must be replaced
        wchar_t **files =
            FileListWithFoldersAt(c.dirFd, c.mask, &count, c.wantFolders ? &folders : nullptr, &folderCount);
        EXPECT_EQ(sorted(files, &count), c.files);
        EXPECT_EQ(c.wantFolders ? sorted(folders, &folderCount) : Raw{}, c.folders);
        EXPECT_TRUE(c.wantFolders || folderCount == 0);
    }
    close(fd);
}

TEST_F(QvSystemFiles, ListGrowsAndKeepsWholeNames)
{
    for (int i = 0; i < 120; ++i)
        write(std::to_string(i) + ".dat", "");
    const Names names = listed(widen(root_).c_str(), L"*.dat");
    EXPECT_TRUE(names.size() == 120 && std::adjacent_find(names.begin(), names.end()) == names.end());
    const std::wstring longExt(253, L'e'); // the longest a name allows
    for (const std::string &name :
         {std::string(255, 'n'), std::string("\xC3\xA9t\xC3\xA9.txt"), "x." + std::string(253, 'e')})
        write(name, "");
    EXPECT_EQ(listed(widen(root_).c_str(), L"nn*"), Names{std::wstring(255, L'n')});
    EXPECT_EQ(listed(widen(root_).c_str(), L"?t?.*"), Names{L"\u00e9t\u00e9.txt"});
    EXPECT_EQ(listed(widen(root_).c_str(), L"d", 0, true), Names{L"sub.d"});
    EXPECT_EQ(listed(widen(root_).c_str(), L".d", 0, true), Names{L"sub.d"});
    EXPECT_EQ(listed(widen(root_).c_str(), nullptr, 1, true), Names{L"name."});
    EXPECT_EQ(listed(widen(root_).c_str(), (L"." + longExt).c_str(), 1, true), Names{L"x." + longExt});
    EXPECT_EQ(listed(widen(root_).c_str(), std::wstring(258, L'e').c_str(), 1, true), Names{}); // past the mask buffer
}

TEST_F(QvSystemFiles, WorkingFolderChangedAndRestored)
{
    const std::string saved = std::filesystem::current_path().string();
    std::string child = root_ + "\\sub\t";
    wchar_t parent[] = L"..\\", empty[] = L"", missing[] = L"/no/such/folder";
    EXPECT_EQ(IChDirA(child.data()), 1);
    EXPECT_EQ(child.c_str(), at("sub")); // cleaned in place
    EXPECT_EQ(take(SGetCwd()), widen(at("sub")));
    EXPECT_EQ(IChDir(parent), 1);
    EXPECT_STREQ(parent, L"../");
    EXPECT_EQ(listed(L"*.txt", nullptr), Names{L"x.txt"}); // no folder part: the working folder
    EXPECT_EQ(IChDir(nullptr) + IChDir(empty) + IChDirA(nullptr) + IChDir(missing), 0);
    char *narrow = SGetCwdA();
    EXPECT_STREQ(narrow, root_.c_str());
    free(narrow);
    ASSERT_EQ(chdir(saved.c_str()), 0);
}

TEST_F(QvSystemFiles, OpenForWritingCreatesMissingFolders)
{
    const std::string messy = root_ + "\\b\\\\c//d.txt  ";
    for (FILE *file : {FileOpenA(at("out/new/x.txt").c_str(), "w"), FileOpenA(messy.c_str(), "wb"),
                       FileOpen(wideAt(L"w/\u00e9t\u00e9/x.txt").c_str(), L"w+")})
        EXPECT_EQ(file ? fclose(file) : -1, 0);
    EXPECT_TRUE(exists("out/new/x.txt") && exists("b/c/d.txt") && exists("w/\xC3\xA9t\xC3\xA9/x.txt"));
    for (const char *mode : {"a", "r+", static_cast<const char *>(nullptr), ""})
        EXPECT_EQ(FileOpenA(at("none/x.txt").c_str(), mode), nullptr) << (mode ? mode : "(null)");
    EXPECT_EQ(FileOpen(wideAt(L"none/x.txt").c_str(), L"a"), nullptr);
    EXPECT_FALSE(exists("none"));
    EXPECT_EQ(FileOpenA(at("abc/sub/x.txt").c_str(), "w"), nullptr); // a file in the way
    EXPECT_TRUE(!FileOpenA(nullptr, "w") && !FileOpen(nullptr, L"w"));
}

TEST_F(QvSystemFiles, RenameRemoveAndExistence)
{
    EXPECT_EQ(IFileRenameA(at("abc").c_str(), (at("b") + " ").c_str()), 0);
    EXPECT_EQ(IFileRename(wideAt(L"b").c_str(), wideAt(L"\u00e9").c_str()), 0);
    EXPECT_TRUE(exists("\xC3\xA9") && !exists("abc") && !exists("b"));
    EXPECT_EQ(IFileRenameA(at("missing").c_str(), at("c").c_str()) + IFileRename(wideAt(L"\u00e9").c_str(), nullptr),
              -2);
    EXPECT_EQ(IFileRemove(wideAt(L"\u00e9").c_str()), 0);
    EXPECT_EQ(IFileRemoveA(at("ac\xC3\xA9").c_str()), 0);     // the narrow clean-up names "ac"
    EXPECT_EQ(IFileRemoveA((at("sub.d") + "\t").c_str()), 0); // an empty folder
    EXPECT_FALSE(exists("\xC3\xA9") || exists("ac") || exists("sub.d"));
    EXPECT_EQ(IFileRemoveA(at("missing").c_str()) + IFileRemoveA(nullptr), -2);
    const struct {
        std::string path;
        int file, folder;
    } cases[] = {
        {at("noext"), 1, 0},
        {at("sub"), 1, 1},
        {at("missing"), 0, 0},
        {at("sub") + " ", 1, 0}, // only the file test cleans
    };
    for (const auto &c : cases)
        EXPECT_EQ((std::vector{IFileExistsA(c.path.c_str()), IFileExists(widen(c.path).c_str()),
                               IFolderExistsA(c.path.c_str()), IFolderExists(widen(c.path).c_str())}),
                  (std::vector{c.file, c.file, c.folder, c.folder}))
            << c.path;
    EXPECT_EQ(IFileExists(nullptr) + IFolderExistsA(nullptr), 0);
}

TEST_F(QvSystemFiles, CopyAndStreamQueries)
{
    const std::string copied = std::string(10, 'N') + std::string(90, 'o');
    write("from", std::string(10, 'N'));
    write("to", std::string(100, 'o'));
    EXPECT_EQ(IFileCopyA(at("to").c_str(), at("from").c_str()), 0); // over a longer file
    EXPECT_EQ(read("to"), copied);
    std::string big; // more than one 16384-byte chunk
    for (int i = 0; i < 5000; ++i)
        big += std::to_string(i);
    write("big", big);
    EXPECT_EQ(IFileCopy(wideAt(L"copy").c_str(), wideAt(L"big").c_str()), 0);
    struct stat status;
    ASSERT_EQ(stat(at("copy").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0200u);
    ASSERT_EQ(chmod(at("copy").c_str(), 0600), 0); // write-only: only root could read it back
    EXPECT_EQ(read("copy"), big);
    EXPECT_EQ(IFileCopyA(at("to").c_str(), at("missing").c_str()), ENOENT);
    EXPECT_EQ(IFileCopyA(at("sub").c_str(), at("to").c_str()), EISDIR);
    EXPECT_EQ(IFileCopy(wideAt(L"x").c_str(), nullptr), EINVAL);
    EXPECT_EQ(read("to"), copied);

    struct timeval times[2] = {{1000000000, 0}, {1234567890, 0}};
    ASSERT_EQ(utimes(at("to").c_str(), times), 0);
    FILE *file = FileOpenA(at("to").c_str(), nullptr);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fputc('x', file), EOF); // read only by default
    EXPECT_EQ(LFileLength(file), 100);
    EXPECT_EQ(LFileTime1970(file), 1234567890);
    close(fileno(file)); // the stream outlives its descriptor
    EXPECT_EQ(LFileLength(file) + LFileTime1970(file) + LFileLength(nullptr), -3);
    fclose(file);
}

TEST(QvSystemProcess, ShellModulesLibrariesAndEnvironment)
{
    EXPECT_EQ(ISystemCallA("exit 3"), 3 << 8); // the wait status as it comes
    const std::string exe = std::filesystem::canonical("/proc/self/exe").string();
    EXPECT_EQ(take(SGetExeFullPath()), widen(exe));
    EXPECT_EQ(take(SGetModuleFolder(nullptr)), widen(exe.substr(0, exe.rfind('/') + 1))); // keeps the '/'
    EXPECT_EQ(SGetModuleFolder(L"x"), nullptr);
    int32_t code[6] = {-1, -1, -1, -1, -1, -1};
    char libm[] = "libm.so.6 \t", missing[] = "nosuch.so";
    void *cosine = GetDynamicLink(libm, "cos", &code[0]);
    ASSERT_NE(cosine, nullptr);
    EXPECT_STREQ(libm, "libm.so.6"); // cleaned in place
    EXPECT_EQ(reinterpret_cast<double (*)(double)>(cosine)(0.0), 1.0);
    EXPECT_EQ(GetDynamicLink(missing, "cos", &code[1]), nullptr);
    EXPECT_EQ(GetDynamicLink(libm, "no_such_symbol_qv", &code[2]), nullptr);
    EXPECT_EQ(GetDynamicLink(libm, nullptr, &code[3]), nullptr);
    EXPECT_EQ(GetDynamicLinkSymbol(GetDynamicLinkHandle(libm, &code[4]), "cos", &code[4]), cosine);
    EXPECT_EQ(GetDynamicLinkSymbol(nullptr, "cos", &code[5]), nullptr);
    EXPECT_EQ(std::vector(code, code + 6), (std::vector{0, 1, 2, 0, 0, 2}));
    Dl_info info;
    ASSERT_NE(dladdr(cosine, &info), 0);
    const std::string file = info.dli_fname, folder = file.substr(0, file.rfind('/'));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, 0)), widen(file));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, 1)), widen(folder)); // drops the '/'
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, INT32_MAX)), L"");
    EXPECT_EQ(SGetModuleFolderOf(nullptr, 1), nullptr);
    // The environment: set here and put back as it was.
    const char *home = getenv("HOME");
    const std::string savedHome = home ? home : "";
    ASSERT_EQ(setenv("QVSYSTEM_TEST_VARIABLE", "caf\xC3\xA9", 1) + setenv("HOME", "/home/qv", 1), 0);
    EXPECT_EQ(take(SGetEnv(L"QVSYSTEM_TEST_VARIABLE")), L"caf\u00e9");
    EXPECT_EQ(take(SGetUserFolder()), L"/home/qv");
    ASSERT_EQ(unsetenv("QVSYSTEM_TEST_VARIABLE") + unsetenv("HOME"), 0);
    EXPECT_TRUE(!SGetEnv(L"QVSYSTEM_TEST_VARIABLE") && !SGetEnvA("QVSYSTEM_TEST_VARIABLE") && !SGetUserFolder() &&
                !SGetEnv(nullptr));
    if (home)
        setenv("HOME", savedHome.c_str(), 1);
}

TEST(QvSystemProcess, WideTextToNumbers)
{
    const std::wstring blanks = std::wstring(30, L' ') + L"123", accents = std::wstring(16, L'\u00e9') + L"5";
    const struct {
        const wchar_t *text;
        int64_t integer;
        double real;
    } cases[] = {
        {L"42abc", 42, 42.0},      {L"  2.5e3", 2, 2500.0},
        {nullptr, 0, 0.0},         {L"9223372036854775807", INT64_MAX, 9223372036854775807.0},
        {blanks.c_str(), 1, 1.0},  // only 31 bytes are read
        {accents.c_str(), 0, 0.0}, // 32 bytes of accents first
    };
    for (const auto &c : cases)
        EXPECT_TRUE(TAtoI(c.text) == c.integer && TAtoF(c.text) == c.real) << (c.text ? c.text : L"(null)");
}

} // namespace
