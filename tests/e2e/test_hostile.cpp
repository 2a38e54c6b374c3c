// fyndle end to end over hostile folder trees: every run must end, exit
// with 0 and print exactly the expected whole output.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

#include "e2e_support.h"

namespace {

TEST(Hostile, FolderPathLongerThan4096Bytes)
{
    TempTree tree;
    const std::string component(200, 'd');
    std::string full = tree.root();
    int fd = open(full.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    while (fd >= 0 && full.size() <= 4200) {
        ASSERT_EQ(mkdirat(fd, component.c_str(), 0755), 0) << std::strerror(errno);
        const int next = openat(fd, component.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(fd);
        fd = next;
        full += "/" + component;
    }
    ASSERT_GE(fd, 0);
    const int file = openat(fd, "bottom.txt", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const std::string content = "nothing here\nthe needle is here\n";
    ASSERT_EQ(write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(file);
    close(fd);
    ASSERT_GT(full.size(), 4096u);
    check(tree, {"-s", "needle", "@"}, searching("needle") + full + "/bottom.txt (2): the needle is here\n" + summary(1, 1, 1));
    check(tree, {"-l", "-s", "@"}, "2 lines counted in 1 file.\n");
}

TEST(Hostile, SparseFileAbove2GiB)
{
    TempTree tree;
    const int fd = open(tree.path("big.bin").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, 0x80000010 + 4096), 0) << std::strerror(errno);
    ASSERT_EQ(pwrite(fd, "first line\n", 11, 0), 11);
    ASSERT_EQ(pwrite(fd, "needle\n", 7, 0x80000010), 7);
    close(fd);
    check(tree, {"-b", "needle", "@"}, searching("needle") + "@/big.bin (0x80000010): needle\n" + summary(1, 1, 1), 0, 600);
    check(tree, {"-l", "@"}, "2 lines counted in 1 file.\n", 0, 600);
}

TEST(Hostile, UnreadableFileIsReportedAndUnreadableFolderSkipped)
{
    // Root reads whatever the permissions: it runs fyndle as nobody instead.
    TempTree tree;
    struct AsUser {
        AsUser() { g_runAsUser = geteuid() == 0 ? 65534 : -1; }
        ~AsUser() { g_runAsUser = -1; }
    } asUser;
    if (runFyndle({}).exitCode == 125)
        GTEST_SKIP() << "running as root, and unable to run fyndle as another user";
    ASSERT_EQ(chmod(tree.root().c_str(), 0755), 0);
    for (const char *name : {"open.txt", "secret.txt", "locked/inside.txt"})
        tree.file(name, "needle\n");
    ASSERT_EQ(chmod(tree.path("secret.txt").c_str(), 0), 0);
    ASSERT_EQ(chmod(tree.path("locked").c_str(), 0), 0);
    std::string want = searching("needle");
    for (const std::string &name : listed(tree.root()))
        if (name != "locked")
            want += name == "open.txt" ? "@/open.txt (1): needle\n" : "unable to open file @/secret.txt\n";
    check(tree, {"-s", "needle", "@"}, want + summary(1, 1, 2));
    check(tree, {"-l", "-s", "@"}, "1 lines counted in 1 file.\n");  // without a word on what it cannot open
}

TEST(Hostile, FifosAndDevicesAreNeitherListedNorOpened)
{
    TempTree tree;
    tree.file("a.txt", "needle\n");
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0644), 0) << std::strerror(errno);
    ASSERT_EQ(symlink("/dev/null", tree.path("null.txt").c_str()), 0);
    ASSERT_EQ(symlink("/dev/zero", tree.path("zero.txt").c_str()), 0);
    // A device node of our own where the system allows it (a container may not).
    const bool haveNode = mknod(tree.path("node.txt").c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0;
    check(tree, {"-s", "needle", "@"}, searching("needle") + "@/a.txt (1): needle\n" + summary(1, 1, 1));
    check(tree, {"-l", "@", "*.txt"}, "1 lines counted in 1 file.\n");
    check(tree, {"-l", "@/pipe"}, "0 lines counted in 0 files.\n");
    // Given as the folder, each becomes a mask in its folder, which no regular file fits.
    for (const char *name : {"@/pipe", "@/null.txt", "@/node.txt"})
        if (haveNode || std::string(name) != "@/node.txt")
            check(tree, {"needle", name}, searching("needle") + summary(0, 0, 0));
}

TEST(Hostile, LinkLoopsDanglingLinksAndRemovedFiles)
{
    TempTree tree;
    tree.file("a.txt", "needle\n");
    tree.file("sub/c.txt", "a needle\n");
    tree.file("removed.txt", "needle\n");
    const std::vector<std::pair<const char *, const char *>> links = {
        {"loop", "loop"}, {"l1", "l2"}, {"l2", "l1"}, {"sub/up", ".."}, {"sub/here", "."}, {"dangling.txt", "removed.txt"}};
    for (const auto &[name, target] : links)
        ASSERT_EQ(symlink(target, tree.path(name).c_str()), 0);
    ASSERT_EQ(unlink(tree.path("removed.txt").c_str()), 0);
    check(tree, {"-s", "needle", "@"},
          searching("needle") + "@/a.txt (1): needle\n@/sub/c.txt (1): a needle\n" + summary(2, 2, 2));
    check(tree, {"-l", "@/l1"}, "\"@/l1\" not found\n");
    for (const char *name : {"@/loop", "@/dangling.txt", "@/removed.txt"})
        check(tree, {"-s", "needle", name}, searching("needle") + "\"" + name + "\" not found\n");
}

TEST(Hostile, FileRemovedBetweenListingAndOpeningIsReported)
{
    // The first file's reports exceed what the pipe and fyndle's buffer hold,
    // and fyndle lists a folder before it searches any of it: once reports
    // beyond the first lines wait unread, the listing is done and the first
    // file is not, whatever the timing. Then the second file goes. On more
    // than one CPU the walk opens the second file while the first is still
    // searched, before it goes: this runs on one CPU.
    TempTree tree;
    tree.file("one.txt", "");
    tree.file("two.txt", "");
    const std::vector<std::string> order = listed(tree.root());
    ASSERT_EQ(order.size(), 2u);
    constexpr int kLines = 40000;
    const std::string head = kBanner + searching("needle");
    std::string content, want = head;
    for (int i = 1; i <= kLines; ++i)
        content += "needle\n", want += tree.path(order[0]) + " (" + std::to_string(i) + "): needle\n";
    tree.file(order[0], content);
    tree.file(order[1], "needle\n");
    g_runOnOneCpu = true;
    const RunResult r = runFyndle({"needle", tree.root()}, "", 120, [&] { unlink(tree.path(order[1]).c_str()); },
                                  head.size());
    g_runOnOneCpu = false;
    EXPECT_EQ(r.exitCode, 0);
    want += "unable to open file " + tree.path(order[1]) + "\n" + summary(kLines, 1, 2);
    EXPECT_TRUE(r.out == want) << "output differs; its last 300 bytes:\n"
                               << r.out.substr(r.out.size() > 300 ? r.out.size() - 300 : 0);
}

TEST(Hostile, NamesThatAreNotValidUtf8ComeBackChangedAndNewlinesPass)
{
    // On their way through wide text: 0xFF is dropped; the lead byte 0xE9
    // swallows the two bytes after it and the whole is dropped; a stray 0x80
    // comes back as C2 80. A folder whose name changes lists no files.
    TempTree tree;
    const std::vector<std::pair<std::string, std::string>> names = {
        {"bad\xff.txt", "bad.txt"}, {"caf\xe9.txt", "cafxt"}, {"x\x80y", "x\xc2\x80y"}, {"new\nline.txt", "new\nline.txt"}};
    for (const auto &name : names)
        tree.file(name.first, "needle\n");
    tree.file("dir\xff/inside.txt", "needle\n");
    std::string want = searching("needle");
    int found = 0, tried = 0;
    for (const std::string &entry : listed(tree.root()))
        for (const auto &[onDisk, changed] : names)
            if (entry == onDisk) {
                ++tried;
                found += changed == onDisk;
                want += changed == onDisk ? "@/" + onDisk + " (1): needle\n" : "unable to open file @/" + changed + "\n";
            }
    check(tree, {"-s", "needle", "@"}, want + summary(found, found, tried));
}

} // namespace
