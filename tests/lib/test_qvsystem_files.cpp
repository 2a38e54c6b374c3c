#include "qvsystem.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

TEST(QvSystemPaths, CleanUpTrims)
{
    const struct {
        const char *in, *out;
    } cleaned[] = {
        {"dir\\sub\\file.txt \t", "dir/sub/file.txt"}, {"   ", ""}, {" lead\\", " lead/"}, {"a!", "a!"}, // 33 is kept
        {"\xC3\xA9/x\xC3\xA9 ", "\xC3\xA9/x"}, // signed bytes: a UTF-8 ending is cut
    };
    for (const auto &c : cleaned)
        EXPECT_STREQ(FixPathSeparatorA(std::string(c.in).data()), c.out) << c.in;
    wchar_t accented[] = L"d\\f\u00e9 \t", negative[] = {L'a', static_cast<wchar_t>(0x80000041), 0};
    EXPECT_STREQ(FixPathSeparator(accented), L"d/f\u00e9");
    EXPECT_STREQ(FixPathSeparator(negative), L"a"); // signed: a blank
    EXPECT_TRUE(!FixPathSeparatorA(nullptr) && !FixPathSeparator(nullptr));
    char blanks[] = "  \t "; // a path of blanks inside a longer text: the trim stops at the path's start
    EXPECT_STREQ(FixPathSeparatorA(blanks + 1), "");
    EXPECT_EQ(blanks[0], ' ');
}

class QvSystemFiles : public SampleFolder {};

TEST_F(QvSystemFiles, OpenForWritingCreatesMissingFolders)
{
    const std::string messy = root_ + "\\b\\\\c//d.txt  ";
    for (FILE *file : {FileOpenA(at("out/new/x.txt").c_str(), "w"), FileOpenA(messy.c_str(), "wb"),
                       FileOpen(wideAt(L"w/\u00e9t\u00e9/x.txt").c_str(), L"w+")})
        EXPECT_EQ(file ? fclose(file) : -1, 0);
    EXPECT_TRUE(exists("out/new/x.txt") && exists("b/c/d.txt") && exists("w/\xC3\xA9t\xC3\xA9/x.txt"));
    for (const char *mode : {"a", "r+", static_cast<const char *>(nullptr), ""})
        EXPECT_EQ(FileOpenA(at("none/x.txt").c_str(), mode), nullptr) << (mode ? mode : "(null)");
    EXPECT_EQ(FileOpen(wideAt(L"none/x.txt").c_str(), L"a"), nullptr);
    EXPECT_EQ(FileOpenA(at("d:/x.txt").c_str(), "w"), nullptr); // a part ending in ':' is a drive: never made
    std::filesystem::current_path(root_);
    EXPECT_EQ(FileOpenA("n/", "w"), nullptr); // a folder, not a file, though "n" is made on the way
    EXPECT_TRUE(exists("n") && !exists("none") && !exists("d:"));
    EXPECT_EQ(FileOpenA(at("abc/sub/x.txt").c_str(), "w"), nullptr); // a file in the way
    EXPECT_TRUE(!FileOpenA(nullptr, "w") && !FileOpen(nullptr, L"w"));
}

TEST_F(QvSystemFiles, RenameRemoveAndExistence)
{
    EXPECT_EQ(IFileRenameA(at("abc").c_str(), (at("b") + " ").c_str()), 0);
    EXPECT_EQ(IFileRename(wideAt(L"b").c_str(), wideAt(L"\u00e9").c_str()), 0);
    EXPECT_TRUE(exists("\xC3\xA9") && !exists("abc") && !exists("b"));
    EXPECT_EQ(IFileRenameA(at("missing").c_str(), at("c").c_str()) + IFileRename(wideAt(L"\u00e9").c_str(), nullptr),
              -2);
    EXPECT_EQ(IFileRemove(wideAt(L"\u00e9").c_str()), 0);
    EXPECT_EQ(IFileRemoveA(at("ac\xC3\xA9").c_str()), 0);     // the narrow clean-up names "ac"
    EXPECT_EQ(IFileRemoveA((at("sub.d") + "\t").c_str()), 0); // an empty folder
    EXPECT_FALSE(exists("\xC3\xA9") || exists("ac") || exists("sub.d"));
    EXPECT_EQ(IFileRemoveA(at("missing").c_str()) + IFileRemoveA(nullptr), -2);
    const struct { // "sub ": only the file test cleans
        std::string path;
        int file, folder;
    } cases[] = {{at("noext"), 1, 0}, {at("sub"), 1, 1}, {at("missing"), 0, 0}, {at("sub") + " ", 1, 0}};
    for (const auto &c : cases)
        EXPECT_EQ((std::vector{IFileExistsA(c.path.c_str()), IFileExists(widen(c.path).c_str()),
                               IFolderExistsA(c.path.c_str()), IFolderExists(widen(c.path).c_str())}),
                  (std::vector{c.file, c.file, c.folder, c.folder}))
            << c.path;
    EXPECT_EQ(IFileExists(nullptr) + IFolderExistsA(nullptr), 0);
}

TEST_F(QvSystemFiles, CopyAndStreamQueries)
{
    const std::string copied = std::string(10, 'N') + std::string(90, 'o');
    write("from", std::string(10, 'N'));
    write("to", std::string(100, 'o'));
    EXPECT_EQ(IFileCopyA(at("to").c_str(), at("from").c_str()), 0); // over a longer file
    EXPECT_EQ(read("to"), copied);
    std::string big; // more than one 16384-byte chunk
    for (int i = 0; i < 5000; ++i)
        big += std::to_string(i);
    write("big", big);
    EXPECT_EQ(IFileCopy(wideAt(L"copy").c_str(), wideAt(L"big").c_str()), 0);
    struct stat status;
    ASSERT_EQ(stat(at("copy").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0200u);
    ASSERT_EQ(chmod(at("copy").c_str(), 0600), 0); // write-only: only root could read it back
    EXPECT_EQ(read("copy"), big);
    EXPECT_EQ(IFileCopyA(at("to").c_str(), at("missing").c_str()), ENOENT);
    EXPECT_EQ(IFileCopyA(at("sub").c_str(), at("to").c_str()), EISDIR);
    EXPECT_EQ(IFileCopyA("/dev/full", at("from").c_str()), ENOSPC); // a write that fails ends the copy
    EXPECT_EQ(IFileCopy(wideAt(L"x").c_str(), nullptr), EINVAL);
    EXPECT_EQ(read("to"), copied);

    struct timeval times[2] = {{1000000000, 0}, {1234567890, 0}};
    ASSERT_EQ(utimes(at("to").c_str(), times), 0);
    FILE *file = FileOpenA(at("to").c_str(), nullptr);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fputc('x', file), EOF); // read only by default
    EXPECT_TRUE(LFileLength(file) == 100 && LFileTime1970(file) == 1234567890);
    close(fileno(file)); // the stream outlives its descriptor
    EXPECT_EQ(LFileLength(file) + LFileTime1970(file) + LFileLength(nullptr), -3);
    fclose(file);
    EXPECT_EQ(LFileLength(stdin), fstat(0, &status) == 0 ? status.st_size : -1); // descriptor 0 too
    const int input = dup(0); // with standard input closed, the file opened first takes descriptor 0
    close(0);
    EXPECT_EQ(IFileCopyA(at("again").c_str(), at("from").c_str()) + IFileExistsA(at("from").c_str()), 1);
    dup2(input, 0), close(input);
    ASSERT_EQ(chmod(at("again").c_str(), 0600), 0);
    EXPECT_EQ(read("again"), std::string(10, 'N'));
}
