// File name parts and the wildcard mask rule: pure string functions, so the
// cases are tables of (input, expected).

#include "qvsystem.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

struct PartCase {
    const char *path;
    const char *base;
    const char *ext;
};

const PartCase kPartCases[] = {
    {"dir/sub\\name.txt", "name.txt", ".txt"},
    {"c:name", "name", ""},
    {"dir/", "", ""},
    {"a/b.tar.gz", "b.tar.gz", ".gz"},
    {"a.b/c", "c", ""},
    {".profile", ".profile", ".profile"},
    {"name.", "name.", "."},
    {"", "", ""},
    {"plain", "plain", ""},
    {"c:dir/x:y.z", "x:y.z", ".z"},
    {"c:", "", ""},
    {"\\", "", ""},
    {"/usr/lib/libm.so.6", "libm.so.6", ".6"},
};

std::wstring widen(const char *ascii) { return std::wstring(ascii, ascii + strlen(ascii)); }

TEST(QvSystemNames, NarrowBaseAndExtensionPointIntoThePath)
{
    for (const PartCase &test : kPartCases) {
        const char *base = SFileBaseA(test.path);
        const char *ext = SFileExtA(test.path);
        ASSERT_GE(base, test.path) << test.path;
        ASSERT_LE(base, test.path + strlen(test.path)) << test.path;
        EXPECT_STREQ(base, test.base) << test.path;
        ASSERT_LE(ext, test.path + strlen(test.path)) << test.path;
        EXPECT_GE(ext, base) << test.path;
        EXPECT_STREQ(ext, test.ext) << test.path;
    }
}

TEST(QvSystemNames, WideFormsAgreeWithNarrow)
{
    for (const PartCase &test : kPartCases) {
        std::wstring path = widen(test.path);
        EXPECT_EQ(std::wstring(SFileBase(path.c_str())), widen(test.base)) << test.path;
        EXPECT_EQ(std::wstring(SFileExt(path.c_str())), widen(test.ext)) << test.path;
    }
}

TEST(QvSystemNames, EmptyExtensionIsThePathTerminator)
{
    const char path[] = "a.b/c";
    EXPECT_EQ(SFileExtA(path), path + 5);
    const wchar_t widePath[] = L"dir/";
    EXPECT_EQ(SFileBase(widePath), widePath + 4);
}

TEST(QvSystemNames, NonAsciiNamesAndNullPaths)
{
    EXPECT_EQ(std::wstring(SFileExt(L"d\u00e9/f\u00e9.\u00e9t\u00e9")), L".\u00e9t\u00e9");
    EXPECT_EQ(SFileBaseA(nullptr), nullptr);
    EXPECT_EQ(SFileExtA(nullptr), nullptr);
    EXPECT_EQ(SFileBase(nullptr), nullptr);
    EXPECT_EQ(SFileExt(nullptr), nullptr);
}

struct MaskCase {
    const wchar_t *name;
    const wchar_t *mask;
    int fits;
};

const MaskCase kMaskCases[] = {
    {L"abc", L"*", 1},
    {L"a.b.txt", L"*", 1},
    {L"abc", L"*.*", 0},
    {L"x.txt", L"*.*", 1},
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
    {L"abc", L"abc", 1},
    {L"abc", L"", 0},
    {L"", L"", 0},
    {L"", L"*", 0},
    {L"", L"?", 0},
    {L"a", L"??", 0},
    {L".txt", L"*.txt", 1},
    {L"x.txt", L"*.t*", 1},
    {L"x.", L"*.", 1},
    {L"\u00e9t\u00e9.txt", L"?t?.txt", 1},
    {L"abc", nullptr, 0},
    {nullptr, L"*", 0},
};

TEST(QvSystemMask, MaskRuleTable)
{
    for (const MaskCase &test : kMaskCases)
        EXPECT_EQ(FFileMaskMatch(test.name, test.mask), test.fits)
            << (test.name ? std::string(test.name, test.name + wcslen(test.name)) : "(null)") << " / "
            << (test.mask ? std::string(test.mask, test.mask + wcslen(test.mask)) : "(null)");
}

} // namespace
