#include "qvstdlib.h"
#include "qvsystem.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::wstring>;

class QvSystemList : public SampleFolder {};

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
    return sorted((byExt ? FileListByExt : FileListByMask)(folder, mask, &count, files), &count);
}

TEST_F(QvSystemList, ListByMask)
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
    ASSERT_EQ(chdir(root_.c_str()), 0);
    EXPECT_EQ(listed(L"*.txt", nullptr), Names{L"x.txt"}); // no folder part: the working folder
    for (const wchar_t *folder : {static_cast<const wchar_t *>(nullptr), L"", L"/no/such/folder"})
        EXPECT_EQ(listed(folder, L"*"), Names{});
    // By descriptor, twice from one; with the visible subfolders by their stored names, even those not UTF-8.
    ASSERT_EQ(mkdir(at("\xff\xfe").c_str(), 0755), 0);
    const int fd = open(root_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int dirFd : {fd, fd, -1}) {
        int count = 7;
        EXPECT_EQ(sorted(FileListByMaskAt(dirFd, L"*.*", &count, 1), &count),
                  dirFd < 0 ? Names{} : Names({L"a.b.txt", L"x.txt"}));
    }
    for (const wchar_t *mask : {static_cast<const wchar_t *>(nullptr), L""}) {
        int count = 7;
        EXPECT_TRUE(FileListByMaskAt(fd, mask, &count, 1) == nullptr && count == 0);
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
    // With standard input closed, descriptor 0 is a folder's: one opened by name, read through, or the caller's.
    const int input = dup(0);
    close(0);
    EXPECT_EQ(listed(widen(root_).c_str(), L"*.txt"), Names{L"x.txt"});
    int count = 7, folderCount = 7;
    EXPECT_EQ(sorted(FileListByMaskAt(fd, L"*.txt", &count, 1), &count), Names{L"x.txt"});
    const int zero = open(root_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(sorted(FileListByMaskAt(zero, L"*.txt", &count, 1), &count), Names{L"x.txt"});
    EXPECT_EQ(sorted(FileListWithFoldersAt(zero, L"*.txt", &count, nullptr, &folderCount), &count), Names{L"x.txt"});
    close(zero), dup2(input, 0), close(input);
    close(fd);
}

TEST_F(QvSystemList, ListGrowsAndKeepsWholeNames)
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

} // namespace
