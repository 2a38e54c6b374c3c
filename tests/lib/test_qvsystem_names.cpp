// File name parts and the wildcard mask rule: tables of (input, expected).

#include "qvsystem.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string narrow(const wchar_t *text) { return text ? std::string(text, text + wcslen(text)) : "(null)"; }

TEST(QvSystemNames, BaseAndExtensionPointIntoThePath)
{
    const struct {
        const char *path, *base, *ext;
    } cases[] = {
        {"dir/sub\\name.txt", "name.txt", ".txt"},
        {"c:name", "name", ""},
        {"dir/", "", ""},
        {"a/b.tar.gz", "b.tar.gz", ".gz"},
        {"a.b/c", "c", ""},
        {".profile", ".profile", ".profile"},
        {"name.", "name.", "."},
        {"", "", ""},
        {"c:dir/x:y.z", "x:y.z", ".z"},
        {"\\", "", ""},
    };
    for (const auto &test : cases) {
        const char *end = test.path + strlen(test.path);
        EXPECT_EQ(SFileBaseA(test.path), end - strlen(test.base)) << test.path;
        EXPECT_EQ(SFileExtA(test.path), end - strlen(test.ext)) << test.path;
        std::wstring wide(test.path, end);
        const wchar_t *wideEnd = wide.c_str() + wide.size();
        EXPECT_EQ(SFileBase(wide.c_str()), wideEnd - strlen(test.base)) << test.path;
        EXPECT_EQ(SFileExt(wide.c_str()), wideEnd - strlen(test.ext)) << test.path;
    }
    EXPECT_STREQ(SFileExt(L"d\u00e9/f\u00e9.\u00e9t\u00e9"), L".\u00e9t\u00e9");
    EXPECT_EQ(SFileBaseA(nullptr), nullptr);
    EXPECT_EQ(SFileExt(nullptr), nullptr);
}

TEST(QvSystemMask, MaskRuleTable)
{
    const struct {
        const wchar_t *name, *mask;
        int fits;
    } cases[] = {
        {L"a.b.txt", L"*", 1},
        {L"abc", L"*.*", 0},
        {L"a.b.txt", L"*.*", 1},
        {L"name.", L"*.*", 0},      // used up before the last star
        {L"x.txt", L"*.txt", 1},
        {L"a.b.txt", L"*.txt", 0},  // the star stops at the first dot
        {L"abc", L"*c", 0},
        {L"abc", L"a?c", 1},
        {L"ac", L"a?c", 0},
        {L"abcd", L"a?c", 0},
        {L"abc", L"abc*", 0},
        {L"abcd", L"abc*", 1},
        {L"abc", L"ABC", 0},
        {L"abc", L"", 0},
        {L"", L"", 0},
        {L"", L"*", 0},
        {L".txt", L"*.txt", 1},
        {L"x.", L"*.", 1},
        {L"\u00e9t\u00e9.txt", L"?t?.txt", 1},
        {L"abc", nullptr, 0},
        {nullptr, L"*", 0},
    };
    for (const auto &test : cases)
        EXPECT_EQ(FFileMaskMatch(test.name, test.mask), test.fits) << narrow(test.name) << " / " << narrow(test.mask);
}

} // namespace
