// fyndle where the system fails it: unwritable output, too few descriptors, files swapped during the run, a killed
// run. Nothing may be lost without a word, nor read outside the tree (folders swapped while closed: test_walk.cpp).
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "e2e_support.h"

namespace {

const std::string kFullDevice = "fyndle: cannot write to standard output: No space left on device\n";

// On one CPU and on all, a closed pipe ends the run by its signal; /dev/full and a filled file system (where one can
// be mounted) with code 2 and a line on standard error, what reached the file being the start of the whole output.
TEST(Failures, OutputThatCannotBeWrittenEndsTheRun)
{
    TempTree tree, small;
    std::string content; // an output of a few hundred kilobytes
    for (int i = 0; i < 2000; ++i)
        content += "needle " + std::to_string(i) + "\n";
    for (int i = 0; i < 30; ++i)
        tree.file(std::string("d") + std::to_string(i % 3) + "/f" + std::to_string(i), content);
    // Detached at once, the small file system lives on in the descriptor alone: it goes with the test even if killed.
    const int filling = mount("fyndle-test", small.root().c_str(), "tmpfs", 0, "size=64k") == 0
                            ? open(small.path("out").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)
                            : -1;
    umount2(small.root().c_str(), MNT_DETACH);
    const RunResult whole = runFyndle({"-s", "needle", tree.root()});
    for (bool oneCpu : {true, false}) {
        EXPECT_EQ(runFyndle({"-s", "needle", tree.root()}, {.oneCpu = oneCpu, .readAtMost = 100}).signal, SIGPIPE);
        const RunResult full = runFyndle({"-s", "needle", tree.root()}, {.oneCpu = oneCpu, .stdoutTo = "/dev/full"});
        EXPECT_TRUE(full.exitCode == 2 && full.err == kFullDevice) << oneCpu << full.err;
        if (filling >= 0) {
            const std::string filled = "/proc/self/fd/" + std::to_string(filling);
            EXPECT_EQ(ftruncate(filling, 0), 0);
            const RunResult r = runFyndle({"-s", "needle", tree.root()}, {.oneCpu = oneCpu, .stdoutTo = filled});
            std::ifstream written(filled, std::ios::binary);
            const std::string out((std::istreambuf_iterator<char>(written)), std::istreambuf_iterator<char>());
            EXPECT_TRUE(r.exitCode == 2 && r.err == kFullDevice) << oneCpu << r.err;
            EXPECT_TRUE(out.size() >= 32768 && whole.out.compare(0, out.size(), out) == 0) << oneCpu;
        }
    }
    close(filling);
    if (filling < 0)
        GTEST_SKIP() << "no small tmpfs mountable here: the closed pipe and /dev/full ran, not the filled file system";
}

// The lowest open-file limit gives the whole output; one below, the run says so on standard error only, code 2.
TEST(Failures, OpenFileLimitLowestAndOneBelow)
{
    TempTree tree;
    for (int i = 0; i < 40; ++i)
        tree.file(std::string("a/b/c/d") + std::to_string(i % 4) + "/f" + std::to_string(i), "needle\n");
    // A name that changes in wide text takes two descriptors more to list: in d0, while its folder holds one, all of
    // the walk's share (its files come from "d0/x", which is not there); listed after "c", it needs its parent, whose
    // opening pieces it shares, opened again: that once waited for ever.
    for (const char *name : {"a/b/c/d0/x\xff/f", "a/b/x\xff/f", "a/b/y\xff/f", "a/b/z\xff/f"})
        tree.file(name, "needle\n");
    const RunResult whole = runFyndle({"-s", "needle", tree.root()});
    ASSERT_NE(whole.out.find(summary(40, 40, 40)), std::string::npos);
    EXPECT_EQ(bothWays({"-s", "needle", tree.root()}, {.limit = {RLIMIT_NOFILE, 9}, .timeoutSeconds = 20}).out,
              whole.out);
    const RunResult below = runFyndle({"-s", "needle", tree.root()}, {.oneCpu = true, .limit = {RLIMIT_NOFILE, 8}});
    EXPECT_TRUE(below.exitCode == 2 && below.out.empty()) << below.exitCode << below.out;
    EXPECT_EQ(below.err, "fyndle: the open-file limit leaves 5 descriptors free, and a search needs 6\n");
}

// Files swapped for links (out of the tree, to /dev/zero) or FIFOs after the listing are neither followed nor read:
// each is a file that cannot be opened, and the run ends. Meanwhile the unread output holds the run at its first file.
TEST(Failures, FilesSwappedForLinksDuringTheRunAreNotFollowed)
{
    TempTree tree("/dev/shm"), outside; // thousands of files made and made again: in memory where there is room
    outside.file("secret.txt", "needle from outside\n");
    std::string first;
    for (int i = 0; i < 40000; ++i)
        first += "needle in the first file\n";
    constexpr int kFiles = 4000;
    for (int i = 0; i < kFiles; ++i)
        tree.file(std::string("f").append(std::to_string(i)), "needle\n");
    for (int round = 0; round < 4; ++round) {
        const bool countLines = round > 1, oneCpu = round % 2 == 0;
        // Listed anew each round: where a folder lists its newest entries first, last round's come first.
        const std::vector<std::string> names = listed(tree.root());
        ASSERT_EQ(names.size(), static_cast<size_t>(kFiles));
        tree.file(names[0], first);
        std::string want;
        const auto swapFiles = [&] {
            for (size_t i = 3000; i < names.size(); ++i) { // past what the threads may have opened ahead
                const std::string path = tree.path(names[i]), secret = outside.path("secret.txt");
                std::remove(path.c_str());
                EXPECT_EQ(i % 3 == 2 ? mkfifo(path.c_str(), 0644)
                                     : symlink(i % 3 ? "/dev/zero" : secret.c_str(), path.c_str()),
                          0);
                want += "unable to open file " + path + "\n";
            }
        };
        const RunResult r = runFyndle(countLines ? std::vector<std::string>{"-v", "-l", tree.root()}
                                                 : std::vector<std::string>{"needle", tree.root()},
                                      {.oneCpu = oneCpu, .whileStalled = swapFiles});
        EXPECT_EQ(r.exitCode, 0) << round << r.err;
        EXPECT_EQ(r.out.find("outside"), std::string::npos) << round;
        EXPECT_NE(r.out.find(countLines ? "42999 lines counted in 3000 files." : want), std::string::npos) << round;
        EXPECT_TRUE(countLines || r.out.find(summary(42999, 3000, kFiles)) != std::string::npos);
        tree.file(names[0], "needle\n");
        for (size_t i = 3000; i < names.size(); ++i) {
            std::remove(tree.path(names[i]).c_str()); // the link, not what it names
            tree.file(names[i], "needle\n");
        }
    }
}

// On one CPU each file's lines are written when it is done: a run killed inside a later, huge file keeps them.
TEST(Failures, KilledRunKeepsTheLinesOfFilesBefore)
{
    rlimit sizes{};
    if (getrlimit(RLIMIT_FSIZE, &sizes) == 0 && sizes.rlim_cur != RLIM_INFINITY && sizes.rlim_cur <= (1ULL << 36))
        GTEST_SKIP() << "a limit on file sizes (the fault sweep sets one): making the 64 GiB file would end the test";
    TempTree tree("/dev/shm"); // the huge file is a hole: no memory, no disk
    tree.file("a.txt", "the needle\n");
    tree.file("z/huge", "");
    ASSERT_EQ(truncate(tree.path("z/huge").c_str(), 1LL << 36), 0);
    const RunResult r =
        runFyndle({"-s", "needle", tree.root()}, {.oneCpu = true, .timeoutSeconds = 1, .stdoutTo = tree.path("out")});
    std::ifstream written(tree.path("out"));
    const std::string out((std::istreambuf_iterator<char>(written)), std::istreambuf_iterator<char>());
    EXPECT_EQ(r.signal, SIGKILL) << "the huge file was searched before the kill: the test shows nothing";
    EXPECT_NE(out.find(tree.path("a.txt") + " (1): the needle\n"), std::string::npos);
}

} // namespace
