// Process environment: working folder, shell, own location, environment
// variables, dynamic loading and the wide number readers. Every test puts
// back what it changes (working folder, variables).

#include "qvsystem.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

std::wstring widen(const std::string &ascii) { return std::wstring(ascii.begin(), ascii.end()); }

std::string workingFolder()
{
    char *path = getcwd(nullptr, 0);
    std::string result = path ? path : "";
    free(path);
    return result;
}

class QvSystemProcess : public ::testing::Test {
protected:
    void SetUp() override
    {
        saved_ = workingFolder();
        char pattern[] = "/tmp/qvsystem_proc_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
        std::filesystem::create_directory(root_ + "/child");
    }
    void TearDown() override
    {
        EXPECT_EQ(chdir(saved_.c_str()), 0);
        std::filesystem::remove_all(root_);
    }
    std::string saved_;
    std::string root_;
};

TEST_F(QvSystemProcess, ChangeFolderCleansTheCallersString)
{
    std::string child = root_ + "\\child\t";
    ASSERT_EQ(IChDirA(child.data()), 1);
    EXPECT_STREQ(child.c_str(), (root_ + "/child").c_str());
    EXPECT_EQ(workingFolder(), root_ + "/child");

    wchar_t parent[] = L"..\\";
    EXPECT_EQ(IChDir(parent), 1);
    EXPECT_STREQ(parent, L"../");
    EXPECT_EQ(workingFolder(), root_);

    wchar_t *wide = SGetCwd();
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(std::wstring(wide), widen(root_));
    free(wide);
    char *narrow = SGetCwdA();
    ASSERT_NE(narrow, nullptr);
    EXPECT_EQ(std::string(narrow), root_);
    free(narrow);
}

TEST_F(QvSystemProcess, ChangeFolderFailures)
{
    wchar_t empty[] = L"";
    char emptyNarrow[] = "";
    std::string missing = root_ + "/missing";
    EXPECT_EQ(IChDir(nullptr), 0);
    EXPECT_EQ(IChDir(empty), 0);
    EXPECT_EQ(IChDirA(nullptr), 0);
    EXPECT_EQ(IChDirA(emptyNarrow), 0);
    EXPECT_EQ(IChDirA(missing.data()), 0);
    std::wstring wideMissing = widen(missing);
    EXPECT_EQ(IChDir(wideMissing.data()), 0);
    EXPECT_EQ(workingFolder(), saved_);
}

TEST(QvSystemShell, StatusComesBackUnchanged)
{
    int status = ISystemCallA("exit 3");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_EQ(ISystemCall(L"true"), 0);
    EXPECT_NE(ISystemCall(L"exit 1"), 0);
}

TEST(QvSystemSelf, ExecutablePathAndFolder)
{
    std::string expected = std::filesystem::canonical("/proc/self/exe").string();
    wchar_t *path = SGetExeFullPath();
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(std::wstring(path), widen(expected));

    wchar_t *folder = SGetModuleFolder(nullptr);
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(std::wstring(folder), widen(expected.substr(0, expected.rfind('/') + 1)));
    free(folder);
    folder = SGetModuleFolder(L"");
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(folder[wcslen(folder) - 1], L'/');
    free(folder);
    EXPECT_EQ(SGetModuleFolder(L"x"), nullptr);
    free(path);
}

TEST(QvSystemSelf, ModuleOfACodeAddressCutByLevels)
{
    void *libm = dlopen("libm.so.6", RTLD_NOW);
    ASSERT_NE(libm, nullptr);
    void *cosine = dlsym(libm, "cos");
    ASSERT_NE(cosine, nullptr);
    Dl_info info;
    ASSERT_NE(dladdr(cosine, &info), 0);
    std::string file = info.dli_fname;
    ASSERT_EQ(file[0], '/');

    wchar_t *whole = SGetModuleFolderOf(cosine, 0);
    ASSERT_NE(whole, nullptr);
    EXPECT_EQ(std::wstring(whole), widen(file));
    free(whole);

    std::string oneUp = file.substr(0, file.rfind('/'));
    wchar_t *folder = SGetModuleFolderOf(cosine, 1);
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(std::wstring(folder), widen(oneUp));
    free(folder);
    folder = SGetModuleFolderOf(cosine, 2);
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(std::wstring(folder), widen(oneUp.substr(0, oneUp.rfind('/'))));
    free(folder);
    folder = SGetModuleFolderOf(cosine, INT32_MAX);
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(std::wstring(folder), L"");
    free(folder);
    EXPECT_EQ(SGetModuleFolderOf(nullptr, 1), nullptr);
    dlclose(libm);
}

TEST(QvSystemEnvironment, VariablesSetAndUnsetByTheTest)
{
    const char *name = "QVSYSTEM_TEST_VARIABLE";
    ASSERT_EQ(setenv(name, "caf\xC3\xA9", 1), 0);
    wchar_t *wide = SGetEnv(L"QVSYSTEM_TEST_VARIABLE");
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(std::wstring(wide), L"caf\u00e9");
    free(wide);
    char *narrow = SGetEnvA(name);
    ASSERT_NE(narrow, nullptr);
    EXPECT_STREQ(narrow, "caf\xC3\xA9");
    free(narrow);

    ASSERT_EQ(unsetenv(name), 0);
    EXPECT_EQ(SGetEnv(L"QVSYSTEM_TEST_VARIABLE"), nullptr);
    EXPECT_EQ(SGetEnvA(name), nullptr);
    EXPECT_EQ(SGetEnv(nullptr), nullptr);
    EXPECT_EQ(SGetEnvA(nullptr), nullptr);
}

TEST(QvSystemEnvironment, UserFolderFollowsHome)
{
    const char *home = getenv("HOME");
    std::string saved = home ? home : "";
    ASSERT_EQ(setenv("HOME", "/home/qv", 1), 0);
    wchar_t *folder = SGetUserFolder();
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(std::wstring(folder), L"/home/qv");
    free(folder);
    ASSERT_EQ(unsetenv("HOME"), 0);
    EXPECT_EQ(SGetUserFolder(), nullptr);
    if (home)
        setenv("HOME", saved.c_str(), 1);
}

TEST(QvSystemDynamic, LoadsARealLibraryAndReportsTheThreeCodes)
{
    int32_t error = -1;
    char libm[] = "libm.so.6 \t";
    void *cosine = GetDynamicLink(libm, "cos", &error);
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_STREQ(libm, "libm.so.6");
    EXPECT_DOUBLE_EQ(reinterpret_cast<double (*)(double)>(cosine)(0.0), 1.0);

    char missing[] = "nosuch.so";
    error = -1;
    EXPECT_EQ(GetDynamicLink(missing, "cos", &error), nullptr);
    EXPECT_EQ(error, 1);
    error = -1;
    EXPECT_EQ(GetDynamicLink(libm, "no_such_symbol_qv", &error), nullptr);
    EXPECT_EQ(error, 2);
    error = -1;
    EXPECT_EQ(GetDynamicLink(libm, nullptr, &error), nullptr);
    EXPECT_EQ(error, 0);
}

TEST(QvSystemDynamic, HandleAndSymbolSeparately)
{
    int32_t error = -1;
    char libm[] = "libm.so.6";
    void *handle = GetDynamicLinkHandle(libm, &error);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(error, 0);
    error = -1;
    EXPECT_NE(GetDynamicLinkSymbol(handle, "sin", &error), nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(GetDynamicLinkSymbol(handle, "no_such_symbol_qv", &error), nullptr);
    EXPECT_EQ(error, 2);
    error = -1;
    EXPECT_EQ(GetDynamicLinkSymbol(nullptr, "cos", &error), nullptr);
    EXPECT_EQ(error, 2);
    error = -1;
    EXPECT_EQ(GetDynamicLinkSymbol(handle, nullptr, &error), nullptr);
    EXPECT_EQ(error, 2);

    char missing[] = "/no/such/lib.so";
    error = -1;
    EXPECT_EQ(GetDynamicLinkHandle(missing, &error), nullptr);
    EXPECT_EQ(error, 1);
    // A null file is the running program itself.
    EXPECT_NE(GetDynamicLinkHandle(nullptr, &error), nullptr);
    EXPECT_EQ(error, 0);
}

TEST(QvSystemNumbers, WideTextToNumbers)
{
    const struct {
        const wchar_t *text;
        int64_t integer;
        double real;
    } cases[] = {
        {L"42abc", 42, 42.0},
        {L"  2.5e3", 2, 2500.0},
        {L"-17", -17, -17.0},
        {L"", 0, 0.0},
        {L"abc", 0, 0.0},
        {nullptr, 0, 0.0},
        {L"9223372036854775807", INT64_MAX, 9223372036854775807.0},
        // Only the first 31 bytes reach the reader.
        {L"                              123", 1, 1.0},
        {L"\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e95", 0, 0.0},
    };
    for (const auto &test : cases) {
        EXPECT_EQ(TAtoI(test.text), test.integer);
        EXPECT_DOUBLE_EQ(TAtoF(test.text), test.real);
    }
}

} // namespace
