// Files and paths: clean-up tables, then real files in a temporary folder
// that the fixture makes and removes.

#include "qvsystem.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

TEST(QvSystemPaths, CleanUpNarrowAndWide)
{
    const struct {
        const char *in, *out;
    } cases[] = {
        {"dir\\sub\\file.txt \t", "dir/sub/file.txt"},
        {"   ", ""},
        {"", ""},
        {" lead\\", " lead/"},
        {"a/\xC3\xA9", "a/"},  // signed bytes: a UTF-8 ending is cut
        {"\xC3\xA9/x\xC3\xA9 ", "\xC3\xA9/x"},
    };
    for (const auto &test : cases) {
        std::string text = test.in;
        EXPECT_EQ(FixPathSeparatorA(text.data()), text.data());
        EXPECT_STREQ(text.c_str(), test.out) << test.in;
    }
    wchar_t accented[] = L"d\\f\u00e9 \t";
    EXPECT_STREQ(FixPathSeparator(accented), L"d/f\u00e9");
    wchar_t negative[] = {L'a', static_cast<wchar_t>(0x80000041), 0};  // signed: a blank
    EXPECT_STREQ(FixPathSeparator(negative), L"a");
    EXPECT_EQ(FixPathSeparatorA(nullptr), nullptr);
    EXPECT_EQ(FixPathSeparator(nullptr), nullptr);
}

class QvSystemFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/qvsystem_files_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    std::string at(const std::string &name) const { return root_ + "/" + name; }
    std::wstring wideAt(const std::wstring &name) const { return std::wstring(root_.begin(), root_.end()) + L"/" + name; }
    void write(const std::string &name, const std::string &contents) const
    {
        std::ofstream(at(name), std::ios::binary) << contents;
    }
    std::string read(const std::string &name) const
    {
        std::ifstream in(at(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    bool exists(const std::string &name) const { return std::filesystem::exists(at(name)); }

    std::string root_;
};

TEST_F(QvSystemFiles, OpenForWritingCreatesMissingFolders)
{
    FILE *file = FileOpenA(at("out/new/x.txt").c_str(), "w");
    ASSERT_NE(file, nullptr);
    fclose(file);
    EXPECT_TRUE(std::filesystem::is_directory(at("out/new")));

    std::string messy = root_ + "\\b\\\\c//d.txt  ";
    file = FileOpenA(messy.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    fclose(file);
    EXPECT_TRUE(exists("b/c/d.txt"));
    EXPECT_EQ(messy, root_ + "\\b\\\\c//d.txt  ");  // the caller's string is left alone

    file = FileOpen(wideAt(L"w/\u00e9t\u00e9/x.txt").c_str(), L"w+");
    ASSERT_NE(file, nullptr);
    fclose(file);
    EXPECT_TRUE(exists("w/\xC3\xA9t\xC3\xA9/x.txt"));
}

TEST_F(QvSystemFiles, OtherModesCreateNothing)
{
    for (const char *mode : {"a", "r+", static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(FileOpenA(at("none/x.txt").c_str(), mode), nullptr) << (mode ? mode : "(null)");
        EXPECT_FALSE(exists("none"));
    }
    EXPECT_EQ(FileOpen(wideAt(L"none/x.txt").c_str(), L"a"), nullptr);
    EXPECT_FALSE(exists("none"));

    write("data", "hello");
    for (const char *mode : {static_cast<const char *>(nullptr), ""}) {
        FILE *file = FileOpenA(at("data").c_str(), mode);
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(fgetc(file), 'h');
        EXPECT_EQ(fputc('x', file), EOF);  // read only
        fclose(file);
    }
}

TEST_F(QvSystemFiles, OpenFailuresGiveNull)
{
    write("plain", "x");
    EXPECT_EQ(FileOpenA(at("plain/sub/x.txt").c_str(), "w"), nullptr);
    EXPECT_EQ(FileOpen(wideAt(L"plain/sub/x.txt").c_str(), L"w"), nullptr);
    EXPECT_EQ(FileOpenA(nullptr, "w"), nullptr);
    EXPECT_EQ(FileOpen(nullptr, L"w"), nullptr);

    std::string deep = root_;
    while (deep.size() < 5000)
        deep += "/dddddddddddddddddddd";
    EXPECT_EQ(FileOpenA((deep + "/x").c_str(), "w"), nullptr);
    std::string longName = at(std::string(5000, 'n'));
    EXPECT_EQ(FileOpenA(longName.c_str(), "w"), nullptr);
    EXPECT_EQ(IFileExistsA(longName.c_str()), 0);
}

TEST_F(QvSystemFiles, RemoveAndRename)
{
    write("a", "A");
    EXPECT_EQ(IFileRenameA(at("a").c_str(), (at("b") + " ").c_str()), 0);
    EXPECT_EQ(read("b"), "A");
    EXPECT_EQ(IFileRename(wideAt(L"b").c_str(), wideAt(L"\u00e9").c_str()), 0);
    EXPECT_EQ(read("\xC3\xA9"), "A");
    EXPECT_EQ(IFileRenameA(at("missing").c_str(), at("c").c_str()), -1);
    EXPECT_EQ(IFileRename(wideAt(L"\u00e9").c_str(), nullptr), -1);

    EXPECT_EQ(IFileRemove(wideAt(L"\u00e9").c_str()), 0);
    EXPECT_FALSE(exists("\xC3\xA9"));
    EXPECT_EQ(IFileRemoveA(at("missing").c_str()), -1);
    EXPECT_EQ(IFileRemoveA(nullptr), -1);
    // The narrow clean-up drops a trailing UTF-8 character: "dé" names "d".
    write("d", "D");
    EXPECT_EQ(IFileRemoveA(at("d\xC3\xA9").c_str()), 0);
    EXPECT_FALSE(exists("d"));
    ASSERT_EQ(mkdir(at("empty").c_str(), 0755), 0);
    EXPECT_EQ(IFileRemoveA((at("empty") + "\t").c_str()), 0);
    EXPECT_FALSE(exists("empty"));
}

TEST_F(QvSystemFiles, ExistenceTests)
{
    write("file", "x");
    ASSERT_EQ(mkdir(at("folder").c_str(), 0755), 0);
    const struct {
        std::string path;
        int file, folder;
    } cases[] = {
        {at("file"), 1, 0},
        {at("folder"), 1, 1},
        {at("missing"), 0, 0},
        {at("file") + "  ", 1, 0},
        {at("folder") + " ", 1, 0},  // only the file test cleans
        {root_ + "\\file", 1, 0},
        {"", 0, 0},
    };
    for (const auto &test : cases) {
        std::wstring wide(test.path.begin(), test.path.end());
        EXPECT_EQ(IFileExistsA(test.path.c_str()), test.file) << test.path;
        EXPECT_EQ(IFileExists(wide.c_str()), test.file) << test.path;
        EXPECT_EQ(IFolderExistsA(test.path.c_str()), test.folder) << test.path;
        EXPECT_EQ(IFolderExists(wide.c_str()), test.folder) << test.path;
    }
    EXPECT_EQ(IFileExists(nullptr), 0);
    EXPECT_EQ(IFolderExistsA(nullptr), 0);
}

TEST_F(QvSystemFiles, CopyOverLongerFileKeepsItsTail)
{
    write("from", std::string(10, 'N'));
    write("to", std::string(100, 'o'));
    EXPECT_EQ(IFileCopyA(at("to").c_str(), at("from").c_str()), 0);
    EXPECT_EQ(read("to"), std::string(10, 'N') + std::string(90, 'o'));

    std::string big;
    for (int i = 0; i < 50000; ++i)
        big.push_back(static_cast<char>(i * 7));
    write("big", big);
    EXPECT_EQ(IFileCopy(wideAt(L"copy").c_str(), wideAt(L"big").c_str()), 0);
    EXPECT_EQ(read("copy"), big);
    struct stat status;
    ASSERT_EQ(stat(at("copy").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0200u);
}

TEST_F(QvSystemFiles, CopyFailuresReturnErrorNumbers)
{
    write("to", "keep");
    EXPECT_EQ(IFileCopyA(at("to").c_str(), at("missing").c_str()), ENOENT);
    EXPECT_EQ(read("to"), "keep");
    EXPECT_EQ(IFileCopyA(at("new").c_str(), at("missing").c_str()), ENOENT);
    EXPECT_FALSE(exists("new"));
    EXPECT_EQ(IFileCopyA(at("nofolder/x").c_str(), at("to").c_str()), ENOENT);
    ASSERT_EQ(mkdir(at("folder").c_str(), 0755), 0);
    EXPECT_EQ(IFileCopyA(at("folder").c_str(), at("to").c_str()), EISDIR);
    EXPECT_EQ(IFileCopy(wideAt(L"x").c_str(), nullptr), EINVAL);
}

TEST_F(QvSystemFiles, StreamLengthAndTime)
{
    write("sized", std::string(1234, 'z'));
    struct timeval times[2] = {{1000000000, 0}, {1234567890, 0}};
    ASSERT_EQ(utimes(at("sized").c_str(), times), 0);
    FILE *file = fopen(at("sized").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(LFileLength(file), 1234);
    EXPECT_EQ(LFileTime1970(file), 1234567890);
    close(fileno(file));  // the stream outlives its descriptor
    EXPECT_EQ(LFileLength(file), -1);
    EXPECT_EQ(LFileTime1970(file), -1);
    fclose(file);
    EXPECT_EQ(LFileLength(nullptr), -1);
}

} // namespace
