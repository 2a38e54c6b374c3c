// Listing a folder by mask, against a folder tree the fixture builds under
// /tmp and removes afterwards.

#include "qvstdlib.h"
#include "qvsystem.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

std::wstring widen(const std::string &ascii) { return std::wstring(ascii.begin(), ascii.end()); }

class QvSystemList : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/qvsystem_list_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
        for (const char *name : {"abc", "ac", "abcd", "a.b.txt", "x.txt", "noext", "name.", ".hidden"})
            touch(root_ + "/" + name);
        for (const char *name : {"sub", "sub.d", ".hiddendir"})
            ASSERT_EQ(mkdir((root_ + "/" + name).c_str(), 0755), 0);
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    static void touch(const std::string &path)
    {
        FILE *file = fopen(path.c_str(), "w");
        ASSERT_NE(file, nullptr) << path;
        fclose(file);
    }

    // Lists, checks the count agrees with the table, frees the table and
    // returns the names sorted (the folder's own order is unspecified).
    static std::vector<std::wstring> list(const std::wstring &folder, const wchar_t *mask, int files = 1)
    {
        int count = -1;
        wchar_t **table = FileListByMask(folder.c_str(), mask, &count, files);
        return collect(table, count);
    }

    static std::vector<std::wstring> listByExt(const std::wstring &folder, const wchar_t *ext, int files = 1)
    {
        int count = -1;
        wchar_t **table = FileListByExt(folder.c_str(), ext, &count, files);
        return collect(table, count);
    }

    static std::vector<std::wstring> collect(wchar_t **table, int count)
    {
        std::vector<std::wstring> names;
        if (!table) {
            EXPECT_EQ(count, 0);
            return names;
        }
        EXPECT_GT(count, 0);
        for (int i = 0; i < count; ++i)
            names.emplace_back(table[i]);
        TabFreePlain(table, static_cast<uint64_t>(count), 1);
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string root_;
};

using Names = std::vector<std::wstring>;

TEST_F(QvSystemList, MaskCasesOverRealFolder)
{
    const struct {
        const wchar_t *mask;
        Names expected;
    } cases[] = {
        {L"*", {L"a.b.txt", L"abc", L"abcd", L"ac", L"name.", L"noext", L"x.txt"}},
        {L"*.*", {L"a.b.txt", L"x.txt"}},
        {L"*.txt", {L"x.txt"}},
        {L"a?c", {L"abc"}},
        {L"abc*", {L"abcd"}},
        {L"*c", {}},
        {L"ABC", {}},
        {L"", {}},
        {L".hidden", {}},
        {L"sub", {}},
    };
    for (const auto &test : cases)
        EXPECT_EQ(list(widen(root_), test.mask), test.expected)
            << std::string(test.mask, test.mask + wcslen(test.mask));
}

TEST_F(QvSystemList, FoldersSwitchListsVisibleFoldersOnly)
{
    EXPECT_EQ(list(widen(root_), L"*", 0), (Names{L"sub", L"sub.d"}));
    EXPECT_EQ(list(widen(root_), L"*.*", 0), (Names{L"sub.d"}));
}

TEST_F(QvSystemList, NullMaskTakesTheLastComponent)
{
    EXPECT_EQ(list(widen(root_ + "/*.txt"), nullptr), (Names{L"x.txt"}));
    EXPECT_EQ(list(widen(root_ + "\\a?c"), nullptr), (Names{L"abc"}));
    // A separator in the first position leaves an empty folder.
    EXPECT_EQ(list(L"/tmp", nullptr), Names{});
}

TEST_F(QvSystemList, NullMaskWithoutSeparatorListsWorkingFolder)
{
    char *saved = getcwd(nullptr, 0);
    ASSERT_NE(saved, nullptr);
    ASSERT_EQ(chdir(root_.c_str()), 0);
    Names names = list(L"*.txt", nullptr);
    ASSERT_EQ(chdir(saved), 0);
    free(saved);
    EXPECT_EQ(names, (Names{L"x.txt"}));
}

TEST_F(QvSystemList, BadFoldersGiveNullAndZeroCount)
{
    int count = 7;
    EXPECT_EQ(FileListByMask(nullptr, L"*", &count, 1), nullptr);
    EXPECT_EQ(count, 0);
    count = 7;
    EXPECT_EQ(FileListByMask(L"", L"*", &count, 1), nullptr);
    EXPECT_EQ(count, 0);
    count = 7;
    EXPECT_EQ(FileListByMask(widen(root_ + "/missing").c_str(), L"*", &count, 1), nullptr);
    EXPECT_EQ(count, 0);
    count = 7;
    EXPECT_EQ(FileListByMask(widen(root_ + "/abc").c_str(), L"*", &count, 1), nullptr);
    EXPECT_EQ(count, 0);
}

TEST_F(QvSystemList, TableGrowsPastTwoBlocks)
{
    std::string folder = root_ + "/many";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    for (int i = 0; i < 120; ++i)
        touch(folder + "/f" + std::to_string(i) + ".dat");
    touch(folder + "/other.txt");
    Names names = list(widen(folder), L"*.dat");
    ASSERT_EQ(names.size(), 120u);
    EXPECT_EQ(std::set<std::wstring>(names.begin(), names.end()).size(), 120u);
    EXPECT_EQ(std::count(names.begin(), names.end(), L"f119.dat"), 1);
}

TEST_F(QvSystemList, NonAsciiAndLongestNamesComeThroughWhole)
{
    std::string longest(255, 'n');
    touch(root_ + "/" + longest);
    touch(root_ + "/\xC3\xA9t\xC3\xA9.txt");
    EXPECT_EQ(list(widen(root_), L"nn*"), Names{widen(longest)});
    EXPECT_EQ(list(widen(root_), L"?t?.*"), Names{L"\u00e9t\u00e9.txt"});
}

TEST_F(QvSystemList, ByExtensionWithAndWithoutDot)
{
    std::wstring folder = widen(root_);
    EXPECT_EQ(listByExt(folder, L"txt"), Names{L"x.txt"});
    EXPECT_EQ(listByExt(folder, L".txt"), Names{L"x.txt"});
    EXPECT_EQ(listByExt(folder, L"d", 0), Names{L"sub.d"});
    EXPECT_EQ(listByExt(folder, L""), Names{L"name."});
    EXPECT_EQ(listByExt(folder, nullptr), Names{L"name."});
}

TEST_F(QvSystemList, ByExtensionBoundsTheExtension)
{
    std::wstring folder = widen(root_);
    std::string longName = "x." + std::string(253, 'e');
    touch(root_ + "/" + longName);
    std::wstring longExt = L"." + std::wstring(253, L'e');
    EXPECT_EQ(listByExt(folder, longExt.c_str()), Names{widen(longName)});
    std::wstring tooLong(258, L'e');
    int count = 7;
    EXPECT_EQ(FileListByExt(folder.c_str(), tooLong.c_str(), &count, 1), nullptr);
    EXPECT_EQ(count, 0);
    std::wstring huge(100000, L'e');
    EXPECT_EQ(FileListByExt(folder.c_str(), huge.c_str(), &count, 1), nullptr);
    EXPECT_EQ(count, 0);
}

} // namespace
