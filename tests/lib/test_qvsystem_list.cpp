// Listing a folder by mask, in a tree the fixture builds under /tmp and
// removes afterwards. The folder's order is unspecified: names are sorted.

#include "qvstdlib.h"
#include "qvsystem.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::wstring>;

std::wstring widen(const std::string &ascii) { return std::wstring(ascii.begin(), ascii.end()); }

// Checks that the count agrees with the table, frees it, sorts the names.
Names collect(wchar_t **table, int count)
{
    Names names;
    EXPECT_EQ(table != nullptr, count > 0);
    for (int i = 0; table && i < count; ++i)
        names.emplace_back(table[i]);
    TabFreePlain(table, static_cast<uint64_t>(count), 1);
    std::sort(names.begin(), names.end());
    return names;
}

Names list(const std::wstring &folder, const wchar_t *mask, int files = 1)
{
    int count = -1;
    wchar_t **table = FileListByMask(folder.c_str(), mask, &count, files);
    return collect(table, count);
}

Names listByExt(const std::wstring &folder, const wchar_t *ext, int files = 1)
{
    int count = -1;
    wchar_t **table = FileListByExt(folder.c_str(), ext, &count, files);
    return collect(table, count);
}

class QvSystemList : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/qvsystem_list_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
        for (const char *name : {"abc", "ac", "abcd", "a.b.txt", "x.txt", "noext", "name.", ".hidden"})
            touch(name);
        for (const char *name : {"sub", "sub.d", ".hiddendir"})
            ASSERT_EQ(mkdir((root_ + "/" + name).c_str(), 0755), 0);
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    void touch(const std::string &name) const
    {
        FILE *file = fopen((root_ + "/" + name).c_str(), "w");
        ASSERT_NE(file, nullptr) << name;
        fclose(file);
    }

    std::string root_;
};

TEST_F(QvSystemList, MaskCasesFilesAndFolders)
{
    const struct {
        const wchar_t *mask;
        int files;
        Names expected;
    } cases[] = {
        {L"*", 1, {L"a.b.txt", L"abc", L"abcd", L"ac", L"name.", L"noext", L"x.txt"}},
        {L"*.*", 1, {L"a.b.txt", L"x.txt"}},
        {L"*.txt", 1, {L"x.txt"}},
        {L"a?c", 1, {L"abc"}},
        {L"abc*", 1, {L"abcd"}},
        {L"*c", 1, {}},
        {L"", 1, {}},
        {L".hidden", 1, {}},
        {L"sub", 1, {}},
        {L"*", 0, {L"sub", L"sub.d"}},
        {L"*.*", 0, {L"sub.d"}},
    };
    for (const auto &test : cases)
        EXPECT_EQ(list(widen(root_), test.mask, test.files), test.expected)
            << std::string(test.mask, test.mask + wcslen(test.mask)) << " files=" << test.files;
}

TEST_F(QvSystemList, NullMaskTakesTheLastComponent)
{
    EXPECT_EQ(list(widen(root_ + "/*.txt"), nullptr), Names{L"x.txt"});
    EXPECT_EQ(list(widen(root_ + "\\a?c"), nullptr), Names{L"abc"});
    EXPECT_EQ(list(L"/tmp", nullptr), Names{});  // empty folder part

    char *saved = getcwd(nullptr, 0);
    ASSERT_EQ(chdir(root_.c_str()), 0);
    Names names = list(L"*.txt", nullptr);
    ASSERT_EQ(chdir(saved), 0);
    free(saved);
    EXPECT_EQ(names, Names{L"x.txt"});
}

TEST_F(QvSystemList, BadFoldersGiveNullAndZeroCount)
{
    for (const wchar_t *folder : {static_cast<const wchar_t *>(nullptr), L"", L"/no/such/folder"}) {
        int count = 7;
        EXPECT_EQ(FileListByMask(folder, L"*", &count, 1), nullptr);
        EXPECT_EQ(count, 0);
    }
    EXPECT_EQ(list(widen(root_ + "/abc"), L"*"), Names{});  // a file, not a folder
}

TEST_F(QvSystemList, TableGrowsPastTwoBlocks)
{
    for (int i = 0; i < 120; ++i)
        touch("f" + std::to_string(i) + ".dat");
    Names names = list(widen(root_), L"*.dat");
    ASSERT_EQ(names.size(), 120u);
    EXPECT_EQ(std::unique(names.begin(), names.end()), names.end());
}

TEST_F(QvSystemList, NonAsciiAndLongestNamesComeThroughWhole)
{
    std::string longest(255, 'n');
    touch(longest);
    touch("\xC3\xA9t\xC3\xA9.txt");
    EXPECT_EQ(list(widen(root_), L"nn*"), Names{widen(longest)});
    EXPECT_EQ(list(widen(root_), L"?t?.*"), Names{L"\u00e9t\u00e9.txt"});
}

TEST_F(QvSystemList, ByExtension)
{
    std::wstring folder = widen(root_);
    EXPECT_EQ(listByExt(folder, L"txt"), Names{L"x.txt"});
    EXPECT_EQ(listByExt(folder, L".txt"), Names{L"x.txt"});
    EXPECT_EQ(listByExt(folder, L"d", 0), Names{L"sub.d"});
    EXPECT_EQ(listByExt(folder, nullptr), Names{L"name."});

    // 253 characters still fit the mask buffer; past 257 nothing is listed.
    std::string longName = "x." + std::string(253, 'e');
    touch(longName);
    EXPECT_EQ(listByExt(folder, (L"." + std::wstring(253, L'e')).c_str()), Names{widen(longName)});
    EXPECT_EQ(listByExt(folder, std::wstring(258, L'e').c_str()), Names{});
    EXPECT_EQ(listByExt(folder, std::wstring(100000, L'e').c_str()), Names{});
}

} // namespace
