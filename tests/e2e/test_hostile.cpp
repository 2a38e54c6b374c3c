// fyndle over hostile folder trees: every run must end, exit with 0 and print exactly the expected whole output.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "e2e_support.h"

namespace {

// A chain of `levels` folders `name` made by descriptor (no long path needed), bottom.txt at its foot; every sideEvery
// levels, `sides` folders side (or side0, side1, ...) with side.txt, made before or after the next level by turns (met
// on the way down or back up). Sets *want to the hits of "-s needle @"; returns the foot's fd.
int buildChain(const TempTree &tree, int levels, const std::string &name, int sideEvery, int sides, std::string *want)
{
    std::string path = "@", down, up;
    int fd = open(tree.root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::vector<std::string> sideNames;
    for (int side = 0; side < sides; ++side)
        sideNames.push_back(sides == 1 ? "side" : "side" + std::to_string(side));
    for (int level = 0; level < levels && fd >= 0; ++level) {
        const std::string here = "/proc/self/fd/" + std::to_string(fd);
        const bool side = level > 0 && level % sideEvery == 0, sideFirst = level / sideEvery % 2 == 0;
        for (const std::string &sideName : sideNames)
            if (side && sideFirst)
                mkdirat(fd, sideName.c_str(), 0755);
        EXPECT_EQ(mkdirat(fd, name.c_str(), 0755), 0) << std::strerror(errno);
        if (side) {
            for (const std::string &sideName : sideNames) {
                mkdirat(fd, sideName.c_str(), 0755);
                std::ofstream(here + "/" + sideName + "/side.txt") << "needle\n";
            }
            bool chainMet = false; // the sides listed after the chain are walked on the way back up
            std::string upHere;
            for (const std::string &entry : listed(here)) {
                chainMet = chainMet || entry == name;
                if (entry != name) // a side: the levels hold nothing else
                    (chainMet ? upHere : down) += path + "/" + entry + "/side.txt (1): needle\n";
            }
            up = upHere + up;
        }
        const int next = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(fd), fd = next;
        path += "/" + name;
    }
    std::ofstream("/proc/self/fd/" + std::to_string(fd) + "/bottom.txt") << "nothing here\nthe needle is here\n";
    *want = down + path + "/bottom.txt (2): the needle is here\n" + up;
    return fd;
}

TEST(Hostile, DeepTreesUnderFewDescriptorsAndTheDefaultStack)
{
    const struct {
        int levels, sideEvery, sides, resource, limit;
        std::string name;
    } cases[] = {
        {1500, 100, 1, RLIMIT_NOFILE, 64, "ddd"}, // paths past 4096 bytes; searched from the foot too
        {40, 1, 8, RLIMIT_NOFILE, 64, "d"}, // many sides walked after their level, closed on the way down, reopened
        {50000, 5000, 1, RLIMIT_STACK, 8 << 20, "d"}}; // under the default 8 MB stack
    for (const auto &deep : cases) {
        SCOPED_TRACE(deep.levels);
        TempTree tree("/dev/shm"); // a memory file system makes and removes deep trees many times faster
        std::string want;
        const int bottom = buildChain(tree, deep.levels, deep.name, deep.sideEvery, deep.sides, &want);
        const int found = 1 + deep.sides * ((deep.levels - 1) / deep.sideEvery);
        ASSERT_GE(bottom, 0);
        const RunOptions limited{.limit = {deep.resource, deep.limit}};
        const std::string whole = searching("needle") + want + summary(found, found, found);
        check(tree, {"-s", "needle", "@"}, whole, 0, {.limit = limited.limit, .timeoutSeconds = 300});
        if (deep.sides > 1) // descriptor 0 is a folder's like any other
            check(tree, {"-s", "needle", "@"}, whole, 0, {.stdinClosed = true, .limit = limited.limit});
        if (deep.levels == 1500) {
            // Under "w\xff", with "w" a link to it, every folder is listed through its changed path, a piece at a time.
            ASSERT_EQ(mkdir(tree.path("w\xff").c_str(), 0755) + symlink("w\xff", tree.path("w").c_str()), 0);
            ASSERT_EQ(rename(tree.path("ddd").c_str(), tree.path("w\xff/ddd").c_str()), 0);
            check(tree, {"-s", "needle", "@/w\xff"}, expand(whole, "@/w\xff"), 0, limited);
            ASSERT_EQ(rename(tree.path("w\xff/ddd").c_str(), tree.path("ddd").c_str()), 0);
            // Beside it, a folder whose path is exactly 4096 bytes: one more than a system call takes.
            const size_t level = (4096 - 6 - tree.root().size()) / 4;
            std::string ups, exact = tree.root();
            for (size_t i = 0; i < static_cast<size_t>(deep.levels); ++i)
                (i < level ? exact : ups) += i < level ? "/ddd" : "../";
            const std::string name(4096 - 1 - exact.size(), 'n');
            const std::string made = "/proc/self/fd/" + std::to_string(bottom) + "/" + ups + name;
            ASSERT_EQ(mkdir(made.c_str(), 0755), 0) << std::strerror(errno);
            std::ofstream(made + "/f.txt") << "needle\n";
            const std::filesystem::path here = std::filesystem::current_path();
            ASSERT_EQ(fchdir(bottom), 0);
            const RunResult r = runFyndle({"needle", "./../ddd"}, limited),
                            missing = runFyndle({"needle", "../missing"}, limited),
                            longest = runFyndle({"needle", ups + name}, {.stdinClosed = true, .limit = limited.limit});
            std::filesystem::current_path(here);
            const size_t at = want.find("/bottom.txt"), begin = want.rfind('\n', at) + 1;
            const std::string head = kBanner + searching("needle");
            EXPECT_EQ(r.out, head + expand(want.substr(begin, want.find('\n', at) + 1 - begin), tree.root()) +
                                 summary(1, 1, 1));
            const std::string above = want.substr(begin, want.rfind('/', at - 1) - begin);
            EXPECT_EQ(missing.out, head + expand(above + "/missing not found\n", tree.root()));
            EXPECT_EQ(longest.out, head + exact + "/" + name + "/f.txt (1): needle\n" + summary(1, 1, 1));
        }
        close(bottom); // the tree's own removal reaches past the path limit
    }
}

TEST(Hostile, SparseFileAbove2GiB)
{
    TempTree tree("/dev/shm"); // zeros of a hole in memory read fastest
    tree.file("big.bin", "first line\n");
    ASSERT_EQ(truncate(tree.path("big.bin").c_str(), 0x80000010 + 4096), 0) << std::strerror(errno);
    ASSERT_TRUE(std::fstream(tree.path("big.bin"), std::ios::in | std::ios::out).seekp(0x80000010) << "needle\n");
    // One file, so one run each (rather than also one pinned): each reads 2 GiB.
    const RunResult binary = runFyndle({"-b", "needle", tree.root()}, {.timeoutSeconds = 600}),
                    lines = runFyndle({"-l", tree.root()}, {.timeoutSeconds = 600});
    EXPECT_EQ(binary.out, expand(kBanner + searching("needle") + "@/big.bin (0x80000010): needle\n" + summary(1, 1, 1),
                                 tree.root()));
    EXPECT_EQ(lines.out, kBanner + "2 lines counted in 1 file.\n");
    EXPECT_TRUE(binary.exitCode == 0 && lines.exitCode == 0 && binary.err.empty() && lines.err.empty());
}

TEST(Hostile, UnreadableFileIsReportedAndUnreadableFolderSkipped)
{
    // Root reads whatever the permissions: it runs fyndle as nobody instead, from a copy in a folder of its own
    // that nobody can reach wherever the build lies. Both lie in /tmp, not under TMPDIR, which may keep others out.
    TempTree tree("/tmp"), binary("/tmp");
    const std::string copy = binary.path("fyndle");
    const RunOptions asNobody{.asUser = geteuid() == 0 ? 65534 : -1, .binary = copy};
    std::filesystem::copy_file(FYNDLE_BINARY, copy);
    ASSERT_EQ(chmod(binary.root().c_str(), 0755) + chmod(copy.c_str(), 0755) + chmod(tree.root().c_str(), 0755), 0);
    // 125: the user could not be switched to; 127: the copy could not be run (noexec, or out of the user's reach).
    const int started = runFyndle({}, asNobody).exitCode;
    if (started == 125 || started == 127)
        GTEST_SKIP() << "cannot run " << copy << (asNobody.asUser >= 0 ? " as user 65534" : "") << ": " << started;
    // "locked\xff" turns in wide text into "locked", which it may read: still none of its files are.
    const mode_t savedMask = umask(022); // unreadable to nobody only where made so, whatever root's umask
    for (const char *name : {"open.txt", "secret.txt", "locked\xff/inside.txt", "locked/other.txt"})
        tree.file(name, name[0] == 'l' ? "hay\n" : "needle\n");
    umask(savedMask);
    ASSERT_EQ(chmod(tree.path("secret.txt").c_str(), 0) + chmod(tree.path("locked\xff").c_str(), 0), 0);
    std::string want = searching("needle");
    for (const std::string &name : listed(tree.root()))
        if (name.rfind("locked", 0) != 0)
            want += name == "open.txt" ? "@/open.txt (1): needle\n" : "unable to open file @/secret.txt\n";
    check(tree, {"-s", "needle", "@"}, want + summary(1, 1, 3), 0, asNobody);
    // Counting lines, it says nothing of what it cannot open.
    check(tree, {"-l", "-s", "@"}, "2 lines counted in 2 files.\n", 0, asNobody);
}

TEST(Hostile, SpecialFilesLinksAndNamesThatAreNotValidUtf8)
{
    TempTree tree;
    for (const char *name : {"sub/c.txt", "removed.txt", "dir\xff/inside.txt"})
        tree.file(name, name[0] == 's' ? "a needle\n" : "needle\n");
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0644), 0) << std::strerror(errno);
    const std::vector<std::pair<const char *, const char *>> links = {
        {"loop", "loop"}, {"null.txt", "/dev/null"},       {"l1", "l2"},     {"zero.txt", "/dev/zero"},
        {"l2", "l1"},     {"dangling.txt", "removed.txt"}, {"sub/up", ".."}, {"sub/here", "."},
    };
    for (const auto &[name, target] : links)
        ASSERT_EQ(symlink(target, tree.path(name).c_str()), 0);
    ASSERT_EQ(unlink(tree.path("removed.txt").c_str()), 0);
    // A device node of our own where the system allows it (a container may not).
    const bool haveNode = mknod(tree.path("node.txt").c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0;
    // Through wide text 0xFF goes, lead byte 0xE9 swallows the two bytes after it and all go, 0x80 comes back as C2 80.
    // A folder whose name changes lists no files; a name that no longer opens is reported as a file that vanished.
    const std::vector<std::pair<std::string, std::string>> names = {{"a.txt", "a.txt"},
                                                                    {"bad\xff.txt", "bad.txt"},
                                                                    {"caf\xe9.txt", "cafxt"},
                                                                    {"x\x80y", "x\xc2\x80y"},
                                                                    {"new\nline.txt", "new\nline.txt"}};
    for (const auto &name : names)
        tree.file(name.first, "needle\n");
    std::string want = searching("needle");
    for (const std::string &entry : listed(tree.root()))
        for (const auto &[onDisk, changed] : names)
            if (entry == onDisk)
                want +=
                    changed == onDisk ? "@/" + onDisk + " (1): needle\n" : "unable to open file @/" + changed + "\n";
    check(tree, {"-s", "needle", "@"}, want + "@/sub/c.txt (1): a needle\n" + summary(3, 3, 6));
    // Given as the folder, each becomes a mask in its folder, which no regular file fits.
    for (const char *name : {"@/pipe", "@/null.txt", "@/node.txt"})
        if (haveNode || std::string(name) != "@/node.txt")
            check(tree, {"needle", name}, searching("needle") + summary(0, 0, 0));
    for (const char *name : {"@/loop", "@/dangling.txt", "@/removed.txt"})
        check(tree, {"-s", "needle", name}, searching("needle") + "\"" + name + "\" not found\n");
    // The start folder, whose name changes, holds descriptor 0.
    check(tree, {"needle", "@/dir\xff"}, searching("needle") + summary(0, 0, 0), 0, {.stdinClosed = true});
}

} // namespace
