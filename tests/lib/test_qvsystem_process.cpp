#include "qvsystem.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

class QvSystemProcess : public SampleFolder {};

TEST_F(QvSystemProcess, WorkingFolderChangedAndReadUpToItsLimit)
{
    std::string child = root_ + "\\sub\t";
    wchar_t parent[] = L"..\\", empty[] = L"", missing[] = L"/no/such/folder";
    EXPECT_EQ(IChDirA(child.data()), 1);
    EXPECT_EQ(child.c_str(), at("sub")); // cleaned in place
    EXPECT_EQ(take(SGetCwd()), widen(at("sub")));
    EXPECT_EQ(IChDir(parent), 1);
    EXPECT_STREQ(parent, L"../");
    EXPECT_EQ(IChDir(nullptr) + IChDir(empty) + IChDirA(nullptr) + IChDir(missing), 0);
    EXPECT_EQ(take(SGetCwdA()), root_);
    // The name is read into 512 bytes, terminator included: one byte more and it is not read at all.
    const struct {
        size_t length;
        bool fits;
    } cases[] = {{511, true}, {512, false}, {513, false}, {1023, false}, {1024, false}};
    for (const auto &c : cases) {
        std::string folder = root_ + "/" + std::to_string(c.length);
        ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
        while (folder.size() < c.length) { // nested folders up to exactly c.length bytes
            size_t part = std::min<size_t>(200, c.length - folder.size() - 1);
            if (c.length - folder.size() - part - 1 == 1) // a lone '/' cannot follow
                --part;
            folder.append(1, '/').append(part, 'd');
            ASSERT_EQ(mkdir(folder.c_str(), 0755), 0) << folder.size();
        }
        ASSERT_EQ(chdir(folder.c_str()), 0) << c.length;
        [[maybe_unused]] KeptLeak kept; // a failure leaves the result block allocated
        const std::wstring expected = c.fits ? widen(folder) : L"(null)";
        free(memset(malloc(2048), 0xAB, 2048)); // the result's block comes back dirty: a lost terminator shows
        EXPECT_EQ(take(SGetCwd()), expected) << c.length;
        EXPECT_EQ(take(SGetCwdA()), c.fits ? folder : "(null)") << c.length;
    }
}

TEST_F(QvSystemProcess, ShellModulesLibrariesAndEnvironment)
{
    EXPECT_EQ(ISystemCallA("exit 3"), 3 << 8); // the wait status as it comes
    const std::string exe = std::filesystem::canonical("/proc/self/exe").string();
    EXPECT_EQ(take(SGetExeFullPath()), widen(exe));
    EXPECT_EQ(take(SGetModuleFolder(nullptr)), widen(exe.substr(0, exe.rfind('/') + 1))); // keeps the '/'
    int32_t code[6] = {-1, -1, -1, -1, -1, -1};
    char libm[] = "libm.so.6 \t", missing[] = "nosuch.so";
    void *cosine = GetDynamicLink(libm, "cos", &code[0]);
    ASSERT_NE(cosine, nullptr);
    EXPECT_STREQ(libm, "libm.so.6"); // cleaned in place
    EXPECT_EQ(reinterpret_cast<double (*)(double)>(cosine)(0.0), 1.0);
    EXPECT_TRUE(!GetDynamicLink(missing, "cos", &code[1]) && !GetDynamicLink(libm, "no_such_symbol_qv", &code[2]) &&
                !GetDynamicLink(libm, nullptr, &code[3]));
    EXPECT_EQ(GetDynamicLinkSymbol(GetDynamicLinkHandle(libm, &code[4]), "cos", &code[4]), cosine);
    EXPECT_EQ(GetDynamicLinkSymbol(nullptr, "cos", &code[5]), nullptr);
    EXPECT_EQ(std::vector(code, code + 6), (std::vector{0, 1, 2, 0, 0, 2}));
    Dl_info info;
    ASSERT_NE(dladdr(cosine, &info), 0);
    const std::string file = info.dli_fname, folder = file.substr(0, file.rfind('/'));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, 0)), widen(file));
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, 1)), widen(folder)); // drops the '/'
    EXPECT_EQ(take(SGetModuleFolderOf(cosine, INT32_MAX)), L"");
    EXPECT_TRUE(!SGetModuleFolderOf(nullptr, 1) && !SGetModuleFolder(L"x"));
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

TEST_F(QvSystemProcess, WideTextToNumbers)
{
    const std::wstring blanks = std::wstring(30, L' ') + L"123", accents = std::wstring(16, L'\u00e9') + L"5";
    // Only 31 bytes are read: the blanks leave "1", the accents nothing.
    const wchar_t *const texts[] = {L"42abc",       L"  2.5e3",     nullptr, L"9223372036854775807",
                                    blanks.c_str(), accents.c_str()};
    std::vector<int64_t> integers;
    std::vector<double> reals;
    for (const wchar_t *text : texts)
        integers.push_back(TAtoI(text)), reals.push_back(TAtoF(text));
    EXPECT_EQ(integers, (std::vector<int64_t>{42, 2, 0, INT64_MAX, 1, 0}));
    EXPECT_EQ(reals, (std::vector{42.0, 2500.0, 0.0, 9223372036854775807.0, 1.0, 0.0}));
}
