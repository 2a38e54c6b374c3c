// Process environment. Every test puts back what it changes: the working
// folder and the environment variables it sets.

#include "qvsystem.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

std::wstring widen(const std::string &ascii) { return std::wstring(ascii.begin(), ascii.end()); }

std::string workingFolder() { return std::filesystem::current_path().string(); }

// Returns a wide result as a std::wstring and frees it; null gives "(null)".
std::wstring take(wchar_t *text)
{
    std::wstring result = text ? text : L"(null)";
    free(text);
    return result;
}

TEST(QvSystemProcess, WorkingFolderChangedAndRestored)
{
    const std::string saved = workingFolder();
    char pattern[] = "/tmp/qvsystem_proc_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::string root = pattern;
    std::filesystem::create_directory(root + "/child");

    std::string child = root + "\\child\t";
    EXPECT_EQ(IChDirA(child.data()), 1);
    EXPECT_EQ(child.c_str(), root + "/child");  // cleaned in place
    EXPECT_EQ(workingFolder(), root + "/child");
    wchar_t parent[] = L"..\\";
    EXPECT_EQ(IChDir(parent), 1);
    EXPECT_STREQ(parent, L"../");
    EXPECT_EQ(take(SGetCwd()), widen(root));
    char *narrow = SGetCwdA();
    EXPECT_STREQ(narrow, root.c_str());
    free(narrow);

    wchar_t empty[] = L"";
    std::wstring missing = widen(root + "/missing");
    EXPECT_EQ(IChDir(nullptr), 0);
    EXPECT_EQ(IChDir(empty), 0);
    EXPECT_EQ(IChDirA(nullptr), 0);
    EXPECT_EQ(IChDir(missing.data()), 0);
    EXPECT_EQ(workingFolder(), root);

    EXPECT_EQ(chdir(saved.c_str()), 0);
    std::filesystem::remove_all(root);
}

TEST(QvSystemProcess, ShellStatusComesBackUnchanged)
{
    int status = ISystemCallA("exit 3");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_EQ(ISystemCall(L"true"), 0);
}

TEST(QvSystemProcess, ExecutablePathAndFolderKeepsSeparator)
{
    const std::string exe = std::filesystem::canonical("/proc/self/exe").string();
    EXPECT_EQ(take(SGetExeFullPath()), widen(exe));
    EXPECT_EQ(take(SGetModuleFolder(nullptr)), widen(exe.substr(0, exe.rfind('/') + 1)));
    EXPECT_EQ(take(SGetModuleFolder(L"")), widen(exe.substr(0, exe.rfind('/') + 1)));
    EXPECT_EQ(SGetModuleFolder(L"x"), nullptr);
}

TEST(QvSystemProcess, ModuleOfAddressDropsSeparator)
{
    void *libm = dlopen("libm.so.6", RTLD_NOW);
    ASSERT_NE(libm, nullptr);
    void *cosine = dlsym(libm, "cos");
    Dl_info info;
    ASSERT_NE(dladdr(cosine, &info), 0);
    const std::string file = info.dli_fname;
    ASSERT_EQ(file[0], '/');
    const std::string folder = file.substr(0, file.rfind('/'));

    EXPECT_EQ(take(SGetModuleFolderOf(cosine, 0)), widen(file));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, -5)), widen(file));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, 1)), widen(folder));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, 2)), widen(folder.substr(0, folder.rfind('/'))));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, INT32_MAX)), L"");
    EXPECT_EQ(SGetModuleFolderOf(nullptr, 1), nullptr);
    dlclose(libm);
}

TEST(QvSystemProcess, EnvironmentSetAndUnsetByTheTest)
{
    ASSERT_EQ(setenv("QVSYSTEM_TEST_VARIABLE", "caf\xC3\xA9", 1), 0);
    EXPECT_EQ(take(SGetEnv(L"QVSYSTEM_TEST_VARIABLE")), L"caf\u00e9");
    char *narrow = SGetEnvA("QVSYSTEM_TEST_VARIABLE");
    EXPECT_STREQ(narrow, "caf\xC3\xA9");
    free(narrow);
    ASSERT_EQ(unsetenv("QVSYSTEM_TEST_VARIABLE"), 0);
    EXPECT_EQ(SGetEnv(L"QVSYSTEM_TEST_VARIABLE"), nullptr);
    EXPECT_EQ(SGetEnvA("QVSYSTEM_TEST_VARIABLE"), nullptr);
    EXPECT_EQ(SGetEnv(nullptr), nullptr);

    const char *home = getenv("HOME");
    const std::string savedHome = home ? home : "";
    ASSERT_EQ(setenv("HOME", "/home/qv", 1), 0);
    EXPECT_EQ(take(SGetUserFolder()), L"/home/qv");
    ASSERT_EQ(unsetenv("HOME"), 0);
    EXPECT_EQ(SGetUserFolder(), nullptr);
    if (home)
        setenv("HOME", savedHome.c_str(), 1);
}

TEST(QvSystemProcess, DynamicLoadingAndItsThreeCodes)
{
    int32_t error = -1;
    char libm[] = "libm.so.6 \t";
    void *cosine = GetDynamicLink(libm, "cos", &error);
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_STREQ(libm, "libm.so.6");
    EXPECT_DOUBLE_EQ(reinterpret_cast<double (*)(double)>(cosine)(0.0), 1.0);

    char missing[] = "nosuch.so";
    const struct {
        char *file;
        const char *symbol;
        int32_t code;
    } failures[] = {{missing, "cos", 1}, {libm, "no_such_symbol_qv", 2}, {libm, nullptr, 0}};
    for (const auto &test : failures) {
        error = -1;
        EXPECT_EQ(GetDynamicLink(test.file, test.symbol, &error), nullptr);
        EXPECT_EQ(error, test.code) << test.file;
    }

    void *handle = GetDynamicLinkHandle(libm, &error);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_NE(GetDynamicLinkSymbol(handle, "sin", &error), nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(GetDynamicLinkSymbol(handle, "no_such_symbol_qv", &error), nullptr);
    EXPECT_EQ(error, 2);
    error = -1;
    EXPECT_EQ(GetDynamicLinkSymbol(nullptr, "cos", &error), nullptr);
    EXPECT_EQ(error, 2);
    EXPECT_EQ(GetDynamicLinkHandle(missing, &error), nullptr);
    EXPECT_EQ(error, 1);
}

TEST(QvSystemProcess, WideTextToNumbers)
{
    const std::wstring blanks = std::wstring(30, L' ') + L"123";
    const std::wstring accents = std::wstring(16, L'\u00e9') + L"5";
    const struct {
        const wchar_t *text;
        int64_t integer;
        double real;
    } cases[] = {
        {L"42abc", 42, 42.0},
        {L"  2.5e3", 2, 2500.0},
        {L"-17", -17, -17.0},
        {L"abc", 0, 0.0},
        {nullptr, 0, 0.0},
        {L"9223372036854775807", INT64_MAX, 9223372036854775807.0},
        {blanks.c_str(), 1, 1.0},   // only 31 bytes are read
        {accents.c_str(), 0, 0.0},  // 32 bytes of accents first
    };
    for (const auto &test : cases) {
        EXPECT_EQ(TAtoI(test.text), test.integer);
        EXPECT_DOUBLE_EQ(TAtoF(test.text), test.real);
    }
}

} // namespace
