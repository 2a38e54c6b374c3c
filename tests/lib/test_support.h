// Helpers of the library tests: wide text, taken strings, leaks the design keeps, a sample folder.
#ifndef TEST_SUPPORT_H
#define TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
using KeptLeak = __lsan::ScopedDisabler;
#else
struct KeptLeak {};
#endif

inline const auto widen = [](const std::string &ascii) { return std::wstring(ascii.begin(), ascii.end()); };

// The text of a new string, which is released; "(null)" for null.
template <typename Char> std::basic_string<Char> take(Char *text)
{
    const std::string null = "(null)";
    std::basic_string<Char> kept = text ? text : std::basic_string<Char>(null.begin(), null.end());
    free(text);
    return kept;
}

// A folder of empty sample files and folders, removed afterwards; the working folder is put back too.
class SampleFolder : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/qvsystem_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
        for (const std::string name :
             {"abc", "ac", "abcd", "a.b.txt", "x.txt", "noext", "name.", ".hidden", "sub/", "sub.d/", ".hiddendir/"})
            name.back() == '/' ? (void)mkdir(at(name).c_str(), 0755) : write(name, "");
    }
    void TearDown() override { std::filesystem::current_path(cwd_), std::filesystem::remove_all(root_); }
    std::string at(const std::string &name) const { return root_ + "/" + name; }
    std::wstring wideAt(const std::wstring &name) const { return widen(root_) + L"/" + name; }
    void write(const std::string &name, const std::string &text) const { std::ofstream(at(name)) << text; }
    std::string read(const std::string &name) const
    {
        std::ifstream in(at(name));
        return {std::istreambuf_iterator<char>(in), {}};
    }
    bool exists(const std::string &name) const { return std::filesystem::exists(at(name)); }
    const std::filesystem::path cwd_ = std::filesystem::current_path();
    std::string root_;
};

#endif // TEST_SUPPORT_H
