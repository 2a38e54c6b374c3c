// fyndle end to end over hostile folder trees: paths longer than the
// system's path limit, files above 2 GiB, unreadable entries, FIFOs, device
// files, link loops, files that vanish, and names that are not valid UTF-8
// or hold a newline. Every run must end (runFyndle has a time limit), exit
// with 0 and print exactly the expected whole output.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

#include "e2e_support.h"

namespace {

std::string searching(const std::string &pattern)
{
    return "Searching for \"" + pattern + "\"\n";
}

std::string summary(int count, int files, int tried)
{
    auto plural = [](int n) { return n == 1 ? "" : "s"; };
    return std::to_string(count) + " occurrence" + plural(count) + " found in " + std::to_string(files) + " file" +
           plural(files) + " (" + std::to_string(tried) + " file" + plural(tried) + " searched).\n";
}

// The visible entries of a folder in the order the folder gives them, which
// is the order fyndle walks them in.
std::vector<std::string> folderOrder(const std::string &folder)
{
    std::vector<std::string> names;
    DIR *dir = opendir(folder.c_str());
    if (dir == nullptr)
        return names;
    while (const dirent *entry = readdir(dir))
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    closedir(dir);
    return names;
}

// Removes the entry name of the folder open as dirFd and everything below
// it, working through descriptors so that depth does not matter.
void removeBelow(int dirFd, const char *name)
{
    int fd = openat(dirFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd >= 0) {
        std::vector<std::string> entries;
        int listFd = dup(fd);
        if (DIR *dir = listFd >= 0 ? fdopendir(listFd) : nullptr) {
            while (const dirent *entry = readdir(dir))
                if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                    entries.emplace_back(entry->d_name);
            closedir(dir);
        } else if (listFd >= 0) {
            close(listFd);
        }
        for (const std::string &entry : entries)
            removeBelow(fd, entry.c_str());
        close(fd);
        unlinkat(dirFd, name, AT_REMOVEDIR);
    } else {
        unlinkat(dirFd, name, 0);
    }
}

// Removes a folder tree below the root of a TempTree when it goes out of
// scope, also when a test stops early: the standard library's removal,
// which TempTree uses, gives up on paths longer than the system's limit.
struct DeepRemover {
    std::string root;
    std::string name;
    ~DeepRemover()
    {
        int rootFd = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (rootFd >= 0) {
            removeBelow(rootFd, name.c_str());
            close(rootFd);
        }
    }
};

bool runningAsRoot()
{
    return geteuid() == 0;
}

// ---- Paths longer than the system's limit -------------------------------

TEST(Hostile, FolderPathLongerThan4096BytesIsSearchedAndPrintedWhole)
{
    TempTree tree;
    tree.folder("deep");
    const DeepRemover remover{tree.root(), "deep"};
    const std::string component(200, 'd');
    int fd = open(tree.path("deep").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    std::string full = tree.path("deep");
    while (full.size() <= 4200) {
        ASSERT_EQ(mkdirat(fd, component.c_str(), 0755), 0) << std::strerror(errno);
        int next = openat(fd, component.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(fd);
        ASSERT_GE(next, 0);
        fd = next;
        full += "/" + component;
    }
    int file = openat(fd, "bottom.txt", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(file, 0);
    const std::string content = "nothing here\nthe needle is here\n";
    ASSERT_EQ(write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(file);
    close(fd);
    full += "/bottom.txt";
    ASSERT_GT(full.size(), 4096u);

    RunResult r = runFyndle({"-s", "needle", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + searching("needle") + full + " (2): the needle is here\n" + summary(1, 1, 1));

    RunResult counted = runFyndle({"-l", "-s", tree.root()});
    EXPECT_EQ(counted.exitCode, 0);
    EXPECT_EQ(counted.out, kBanner + "2 lines counted in 1 file.\n");
}

// ---- Files above 2 GiB ----------------------------------------------------

TEST(Hostile, SparseFileAbove2GiBReportsOffsetsAndCountsLinesBeyondIt)
{
    TempTree tree;
    const std::string path = tree.path("big.bin");
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0);
    const off_t matchAt = 0x80000010;  // past 2 GiB
    const std::string head = "first line\n";
    const std::string match = "needle\n";
    ASSERT_EQ(ftruncate(fd, matchAt + static_cast<off_t>(match.size()) + 4096), 0) << std::strerror(errno);
    ASSERT_EQ(pwrite(fd, head.data(), head.size(), 0), static_cast<ssize_t>(head.size()));
    ASSERT_EQ(pwrite(fd, match.data(), match.size(), matchAt), static_cast<ssize_t>(match.size()));
    close(fd);

    RunResult binary = runFyndle({"-b", "needle", tree.root()}, "", 600);
    EXPECT_EQ(binary.exitCode, 0);
    EXPECT_EQ(binary.out, kBanner + searching("needle") + path + " (0x80000010): needle\n" + summary(1, 1, 1));

    RunResult counted = runFyndle({"-l", tree.root()}, "", 600);
    EXPECT_EQ(counted.exitCode, 0);
    EXPECT_EQ(counted.out, kBanner + "2 lines counted in 1 file.\n");
}

// ---- Unreadable files and folders ------------------------------------------

TEST(Hostile, UnreadableFileIsReportedAndUnreadableFolderSkipped)
{
    if (runningAsRoot())
        GTEST_SKIP() << "running as root, which reads files and folders whatever their permissions";
    TempTree tree;
    tree.file("open.txt", "needle\n");
    tree.file("secret.txt", "needle\n");
    tree.file("locked/inside.txt", "needle\n");
    ASSERT_EQ(chmod(tree.path("secret.txt").c_str(), 0), 0);
    ASSERT_EQ(chmod(tree.path("locked").c_str(), 0), 0);

    std::string expected = kBanner + searching("needle");
    for (const std::string &name : folderOrder(tree.root())) {
        if (name == "open.txt")
            expected += tree.path(name) + " (1): needle\n";
        else if (name == "secret.txt")
            expected += "unable to open file " + tree.path(name) + "\n";
    }
    expected += summary(1, 1, 2);
    RunResult r = runFyndle({"-s", "needle", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, expected);

    // Counting lines skips what it cannot open without a word.
    RunResult counted = runFyndle({"-l", "-s", tree.root()});
    EXPECT_EQ(counted.exitCode, 0);
    EXPECT_EQ(counted.out, kBanner + "1 lines counted in 1 file.\n");
}

// ---- FIFOs and devices -------------------------------------------------------

TEST(Hostile, FifoIsNeitherListedNorOpened)
{
    TempTree tree;
    tree.file("a.txt", "needle\n");
    const std::string fifo = tree.path("pipe");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0) << std::strerror(errno);

    RunResult r = runFyndle({"-s", "needle", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + searching("needle") + tree.path("a.txt") + " (1): needle\n" + summary(1, 1, 1));

    // Given as the folder, the FIFO becomes the mask of its own folder, which
    // lists only regular files: nothing fits.
    RunResult named = runFyndle({"needle", fifo});
    EXPECT_EQ(named.exitCode, 0);
    EXPECT_EQ(named.out, kBanner + searching("needle") + summary(0, 0, 0));

    RunResult counted = runFyndle({"-l", fifo});
    EXPECT_EQ(counted.exitCode, 0);
    EXPECT_EQ(counted.out, kBanner + "0 lines counted in 0 files.\n");
}

TEST(Hostile, DeviceFilesAndLinksToThemAreNotSearched)
{
    TempTree tree;
    tree.file("a.txt", "needle\n");
    ASSERT_EQ(symlink("/dev/null", tree.path("null.txt").c_str()), 0);
    ASSERT_EQ(symlink("/dev/zero", tree.path("zero.txt").c_str()), 0);
    // A device node of our own where the system allows it (it may not, in a
    // container); the links above are there in any case.
    const bool haveNode = mknod(tree.path("node.txt").c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0;

    RunResult r = runFyndle({"-s", "needle", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + searching("needle") + tree.path("a.txt") + " (1): needle\n" + summary(1, 1, 1));

    RunResult counted = runFyndle({"-l", tree.root(), "*.txt"});
    EXPECT_EQ(counted.exitCode, 0);
    EXPECT_EQ(counted.out, kBanner + "1 lines counted in 1 file.\n");

    // Given as the folder, the link resolves to /dev/null: the mask "null"
    // in /dev, where no regular file fits it.
    RunResult named = runFyndle({"needle", tree.path("null.txt")});
    EXPECT_EQ(named.exitCode, 0);
    EXPECT_EQ(named.out, kBanner + searching("needle") + summary(0, 0, 0));

    if (haveNode) {
        RunResult node = runFyndle({"needle", tree.path("node.txt")});
        EXPECT_EQ(node.exitCode, 0);
        EXPECT_EQ(node.out, kBanner + searching("needle") + summary(0, 0, 0));
    }
}

// ---- Link loops and vanished files ------------------------------------------

TEST(Hostile, SymbolicLinkLoopsAreNotFollowed)
{
    TempTree tree;
    tree.file("a.txt", "needle\n");
    tree.file("sub/c.txt", "a needle\n");
    ASSERT_EQ(symlink("loop", tree.path("loop").c_str()), 0);
    ASSERT_EQ(symlink("l2", tree.path("l1").c_str()), 0);
    ASSERT_EQ(symlink("l1", tree.path("l2").c_str()), 0);
    ASSERT_EQ(symlink("..", tree.path("sub/up").c_str()), 0);
    ASSERT_EQ(symlink(".", tree.path("sub/here").c_str()), 0);

    RunResult r = runFyndle({"-s", "needle", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + searching("needle") + tree.path("a.txt") + " (1): needle\n" + tree.path("sub/c.txt") +
                         " (1): a needle\n" + summary(2, 2, 2));

    // A loop given as the folder cannot be resolved.
    RunResult loop = runFyndle({"-s", "needle", tree.path("loop")});
    EXPECT_EQ(loop.exitCode, 0);
    EXPECT_EQ(loop.out, kBanner + searching("needle") + "\"" + tree.path("loop") + "\" not found\n");

    RunResult pair = runFyndle({"-l", tree.path("l1")});
    EXPECT_EQ(pair.exitCode, 0);
    EXPECT_EQ(pair.out, kBanner + "\"" + tree.path("l1") + "\" not found\n");
}

TEST(Hostile, DanglingLinkAndFileRemovedBeforeTheRunAreNotThere)
{
    TempTree tree;
    tree.file("a.txt", "needle\n");
    tree.file("removed.txt", "needle\n");
    ASSERT_EQ(symlink("removed.txt", tree.path("dangling.txt").c_str()), 0);
    ASSERT_EQ(unlink(tree.path("removed.txt").c_str()), 0);

    RunResult r = runFyndle({"needle", tree.root(), "*.txt"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, kBanner + searching("needle") + tree.path("a.txt") + " (1): needle\n" + summary(1, 1, 1));

    RunResult named = runFyndle({"needle", tree.path("dangling.txt")});
    EXPECT_EQ(named.exitCode, 0);
    EXPECT_EQ(named.out, kBanner + searching("needle") + "\"" + tree.path("dangling.txt") + "\" not found\n");

    RunResult gone = runFyndle({"needle", tree.path("removed.txt")});
    EXPECT_EQ(gone.exitCode, 0);
    EXPECT_EQ(gone.out, kBanner + searching("needle") + "\"" + tree.path("removed.txt") + "\" not found\n");
}

// Runs fyndle with its standard output on a pipe that is not read until
// afterListing has run. fyndle lists a folder before it searches any of its
// files, and it cannot get through a first file whose reports exceed what
// the pipe and its own output buffer hold: so once reports (beyond the
// first lines, which are flushed before the search) arrive, the listing is
// done and the first file is not, whatever the timing.
std::string runHeldBack(const std::vector<std::string> &args, size_t headLength, void (*afterListing)(const std::string &),
                        const std::string &argument, int *exitCode)
{
    int out[2];
    if (pipe(out) != 0)
        return "pipe failed";
    pid_t child = fork();
    if (child == 0) {
        dup2(out[1], 1);
        close(out[0]);
        close(out[1]);
        int devNull = open("/dev/null", O_RDWR);
        dup2(devNull, 0);
        dup2(devNull, 2);
        std::vector<char *> argv{const_cast<char *>(FYNDLE_BINARY)};
        for (const std::string &arg : args)
            argv.push_back(const_cast<char *>(arg.c_str()));
        argv.push_back(nullptr);
        execv(FYNDLE_BINARY, argv.data());
        _exit(127);
    }
    close(out[1]);
    std::string text;
    bool released = false;
    timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (;;) {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (now.tv_sec - start.tv_sec > 120) {
            kill(child, SIGKILL);
            text += "[killed: time limit]";
            break;
        }
        pollfd ready{out[0], POLLIN, 0};
        if (poll(&ready, 1, 200) <= 0)
            continue;
        if (!released) {
            int waiting = 0;
            if (ioctl(out[0], FIONREAD, &waiting) != 0)
                break;
            if (static_cast<size_t>(waiting) <= headLength && !(ready.revents & POLLHUP)) {
                // Only the first lines so far: leave them in the pipe and look again soon.
                const timespec pause{0, 10 * 1000 * 1000};
                nanosleep(&pause, nullptr);
                continue;
            }
            afterListing(argument);
            released = true;
        }
        char chunk[65536];
        ssize_t got = read(out[0], chunk, sizeof chunk);
        if (got > 0)
            text.append(chunk, static_cast<size_t>(got));
        else if (got == 0 || errno != EINTR)
            break;
    }
    close(out[0]);
    int status = 0;
    waitpid(child, &status, 0);
    *exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return text;
}

void removeFile(const std::string &path)
{
    unlink(path.c_str());
}

TEST(Hostile, FileRemovedBetweenListingAndOpeningIsReported)
{
    TempTree tree;
    tree.file("one.txt", "");
    tree.file("two.txt", "");
    const std::vector<std::string> order = folderOrder(tree.root());
    ASSERT_EQ(order.size(), 2u);
    const std::string &first = order[0];
    const std::string &second = order[1];
    // The first file prints far more than a pipe and fyndle's buffer hold.
    constexpr int kLines = 40000;
    std::string content;
    for (int i = 0; i < kLines; ++i)
        content += "needle\n";
    tree.file(first, content);
    tree.file(second, "needle\n");

    const std::string head = kBanner + searching("needle");
    int exitCode = -1;
    const std::string out = runHeldBack({"needle", tree.root()}, head.size(), removeFile, tree.path(second), &exitCode);

    std::string expected = head;
    for (int i = 1; i <= kLines; ++i)
        expected += tree.path(first) + " (" + std::to_string(i) + "): needle\n";
    expected += "unable to open file " + tree.path(second) + "\n";
    expected += summary(kLines, 1, 2);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(out.size(), expected.size());
    EXPECT_TRUE(out == expected) << "output differs; its last 300 bytes:\n"
                                 << out.substr(out.size() > 300 ? out.size() - 300 : 0);
}

// ---- Names that are not valid UTF-8, or hold a newline -----------------------

TEST(Hostile, NamesThatAreNotValidUtf8ComeBackChangedAndNewlinesPass)
{
    TempTree tree;
    // Each name and what it becomes on its way through wide text: a byte
    // 0xFF is dropped; the lead byte 0xE9 swallows the two bytes after it
    // into an invalid sequence that is dropped whole; a stray 0x80 stands
    // for U+0080, which comes back as the two bytes C2 80. A newline is an
    // ordinary character of a name.
    struct Name {
        std::string onDisk;
        std::string changed;
    };
    const std::vector<Name> names = {
        {"bad\xff.txt", "bad.txt"},
        {"caf\xe9.txt", "cafxt"},
        {"x\x80y", "x\xc2\x80y"},
        {"new\nline.txt", "new\nline.txt"},
    };
    for (const Name &name : names)
        tree.file(name.onDisk, "needle\n");
    // A folder whose own name does not survive the trip lists no files.
    tree.file("dir\xff/inside.txt", "needle\n");

    std::string expected = kBanner + searching("needle");
    int found = 0, tried = 0;
    for (const std::string &entry : folderOrder(tree.root())) {
        for (const Name &name : names) {
            if (entry != name.onDisk)
                continue;
            ++tried;
            if (name.changed == name.onDisk) {
                expected += tree.path(name.onDisk) + " (1): needle\n";
                ++found;
            } else {
                expected += "unable to open file " + tree.path(name.changed) + "\n";
            }
        }
    }
    expected += summary(found, found, tried);
    RunResult r = runFyndle({"-s", "needle", tree.root()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, expected);
}

} // namespace
