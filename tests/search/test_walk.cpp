// The ordered walk driven through the run object with more threads than
// the machine has CPUs, so that files finish out of turn and every path of
// the ordered output runs: whatever the thread count, the whole output and
// the counts must be those of one thread; and at an open-file limit of 64
// every file must still be found.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "capture.h"
#include "fyndle.h"
#include "pattern.h"
#include "run.h"
#include "walk.h"

namespace {

namespace fs = std::filesystem;

// A folder tree in memory where it can be, removed with everything in it.
class Tree {
public:
    Tree()
    {
        std::string pattern = (fs::exists("/dev/shm") ? std::string("/dev/shm") : fs::temp_directory_path().string()) +
                              "/fyndle-walk-XXXXXX";
        root_ = mkdtemp(pattern.data()) ? pattern : "";
        fd_ = open(root_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    ~Tree()
    {
        close(fd_);
        std::error_code ignored;
        fs::remove_all(root_, ignored);
        if (fs::exists(root_, ignored)) // paths beyond the system's limit
            (void)!std::system(("rm -rf '" + root_ + "'").c_str());
    }
    const std::string &root() const { return root_; }
    int fd() const { return fd_; }

private:
    std::string root_;
    int fd_;
};

// Writes name (and its missing folders) below the folder open as dirFd.
void put(int dirFd, const std::string &name, const std::string &content)
{
    const size_t slash = name.rfind('/');
    if (slash != std::string::npos) {
        std::string folders;
        for (size_t at = 0; at <= slash;) {
            const size_t next = name.find('/', at);
            folders = name.substr(0, next);
            mkdirat(dirFd, folders.c_str(), 0755);
            at = next + 1;
        }
    }
    const int fd = openat(dirFd, name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0) << name << ": " << std::strerror(errno);
    ASSERT_EQ(write(fd, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(fd);
}

// Lowers the open-file limit of this process for a while.
struct ScopedFileLimit {
    rlimit saved{};
    explicit ScopedFileLimit(rlim_t soft)
    {
        getrlimit(RLIMIT_NOFILE, &saved);
        const rlimit lowered{std::min(saved.rlim_max, soft), saved.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~ScopedFileLimit() { setrlimit(RLIMIT_NOFILE, &saved); }
};

struct Outcome {
    std::string out;
    RunCounters counts;
};

// Searches folder under -s with the option letters (b, c, f, l, r, v, w)
// on `threads` threads, as the command line would set them up.
Outcome search(int threads, const std::string &options, std::string pattern, const std::string &folder,
               const char *masks = nullptr)
{
    auto has = [&](char letter) { return options.find(letter) != std::string::npos; };
    g_fBinary = has('b'), g_fMatchCase = has('c'), g_fFileNamesOnly = has('f'), g_fCountLines = has('l');
    g_fRegExp = has('r'), g_fVerbose = has('v'), g_fMatchWord = has('w'), g_fDoSubdirectories = 1;
    SearchRun run;
    if (!g_fCountLines) {
        EXPECT_TRUE(PreparePattern(pattern.data(), g_fRegExp, g_fMatchCase, &run.pattern));
    }
    run.threads = threads;
    std::string directory = folder;
    StdoutCapture capture;
    EXPECT_EQ(FRunMask(run, directory.data(), masks), 1);
    Outcome outcome{capture.take(), run.counters};
    g_fVerbose = g_fCountLines = g_fDoSubdirectories = 0;
    return outcome;
}

// The same search on 1, 8 and 16 threads: the same output and counts.
// Which files finish out of turn changes from run to run, so the threaded
// runs are made a few times. Returns the one-thread outcome.
Outcome allThreadCounts(const std::string &options, const std::string &pattern, const std::string &folder,
                        const char *masks = nullptr)
{
    const Outcome one = search(1, options, pattern, folder, masks);
    for (int threads : {8, 16, 8, 16, 8, 16}) {
        const Outcome many = search(threads, options, pattern, folder, masks);
        EXPECT_TRUE(many.out == one.out) << threads << " threads, options '" << options << "': output differs";
        EXPECT_EQ(many.counts.count, one.counts.count) << threads << " threads, options " << options;
        EXPECT_EQ(many.counts.files, one.counts.files) << threads << " threads, options " << options;
        EXPECT_EQ(many.counts.filesTried, one.counts.filesTried) << threads << " threads, options " << options;
    }
    return one;
}

// A huge file first (the starting folder's files come before any
// subfolder), then thousands of tiny ones with many matches each: every
// thread but the one on the huge file finishes out of turn, keeps its
// output and waits for room.
TEST(Walk, FilesFinishingOutOfTurnGiveTheOneThreadOutput)
{
    Tree tree;
    std::mt19937 random(20261126);
    std::string huge;
    int64_t matches = 0, files = 1;
    for (int line = 0; huge.size() < (6u << 20); ++line) {
        huge += line % 40 == 0 ? "a needle in the hay \n" : "only hay in this line\n";
        matches += line % 40 == 0;
    }
    put(tree.fd(), "huge.txt", huge);
    for (int i = 0; i < 3000; ++i) {
        std::string tiny;
        const int lines = static_cast<int>(random() % 30);
        for (int line = 0; line < lines; ++line)
            tiny.append(line % 3 ? "Needle " : "hay\n")
                .append(line % 3 ? std::to_string(i) : "")
                .append(line % 3 ? "\n" : "");
        matches += lines - (lines + 2) / 3, files += lines > 1;
        std::string name = "d";
        name.append(std::to_string(i % 40)).append("/e").append(std::to_string(i % 3)).append("/t");
        put(tree.fd(), name.append(std::to_string(i)), tiny);
    }
    const Outcome plain = allThreadCounts("", "needle", tree.root());
    EXPECT_EQ(plain.counts.count, matches);
    EXPECT_EQ(plain.counts.files, files);
    EXPECT_EQ(plain.counts.filesTried, 3001);
    allThreadCounts("v", "needle", tree.root());
    allThreadCounts("bw", "NEEDLE", tree.root(), "t1*;t2*;huge*");
    allThreadCounts("fc", "Needle", tree.root());
    allThreadCounts("r", "n[a-z]*e [0-9]*", tree.root());
    EXPECT_EQ(allThreadCounts("lv", "", tree.root()).counts.filesTried, 3001);
}

// A chain of `levels` folders "d" below dirFd, made by descriptor so that
// no long path is needed, with a file in each and, beside each next level,
// side/side.txt: every level waits for its side folder while the walk goes
// down the chain, more levels than the limit leaves descriptors for.
int chain(int dirFd, int levels)
{
    int fd = dup(dirFd), made = 0;
    for (int level = 0; level < levels && fd >= 0; ++level) {
        mkdirat(fd, "d", 0755);
        mkdirat(fd, "side", 0755);
        put(fd, "side/side.txt", "needle\n");
        put(fd, "level.txt", "needle\n");
        made += 2;
        const int next = openat(fd, "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(fd);
        fd = next;
    }
    put(fd, "bottom.txt", "needle\n");
    close(fd);
    return made + 1;
}

// Under an open-file limit of 64, on one thread and on many: 500 files in
// one folder; a chain 2,000 levels deep with a side folder and a file at
// every level; levels closed for the budget that are opened again, with
// many subfolders of their own below them, whose folders hold more files
// than one claim takes.
TEST(Walk, EveryFileIsFoundUnderAnOpenFileLimitOf64)
{
    Tree wide, deep, reopened;
    for (int i = 0; i < 500; ++i)
        put(wide.fd(), std::string("f").append(std::to_string(i)).append(".txt"), "needle\n");
    const int deepFiles = chain(deep.fd(), 2000);
    int reopenedFiles = 0;
    for (int i = 0; i < 12; ++i) {
        const std::string top = std::string("s").append(std::to_string(i));
        mkdirat(reopened.fd(), top.c_str(), 0755);
        const int topFd = openat(reopened.fd(), top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        reopenedFiles += chain(topFd, 80);
        for (int j = 0; j < 60; ++j, ++reopenedFiles)
            put(topFd, std::string("w").append(std::to_string(j % 6)).append("/x/y/f").append(std::to_string(j)),
                "needle\n");
        close(topFd);
    }
    const struct {
        const Tree &tree;
        int files;
    } cases[] = {{wide, 500}, {deep, deepFiles}, {reopened, reopenedFiles}};
    for (const auto &c : cases) {
        const Outcome unlimited = search(1, "", "needle", c.tree.root());
        ASSERT_EQ(unlimited.counts.files, c.files);
        ScopedFileLimit limit(64);
        for (int threads : {1, 2, 16}) {
            const Outcome limited = search(threads, "", "needle", c.tree.root());
            EXPECT_TRUE(limited.out == unlimited.out) << c.files << " files, " << threads << " threads";
            EXPECT_EQ(limited.counts.files, c.files) << threads << " threads";
        }
    }
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true; // their shadow memory cannot live under an address-space limit
#else
constexpr bool kSanitized = false;
#endif

// The process's mapped size now, in bytes.
size_t mappedBytes()
{
    FILE *status = fopen("/proc/self/status", "r");
    char line[256];
    size_t kib = 0;
    while (status != nullptr && fgets(line, sizeof line, status) != nullptr)
        if (std::sscanf(line, "VmSize: %zu kB", &kib) == 1)
            break;
    if (status != nullptr)
        fclose(status);
    return kib * 1024;
}

// Threads whose stacks or buffers cannot be had are done without: under an
// address-space limit that leaves room for only a few, a run on 15 threads
// still gives the whole one-thread output.
TEST(Walk, ThreadsThatCannotBeHadAreDoneWithout)
{
    if (kSanitized)
        GTEST_SKIP() << "skipped: a sanitized build cannot run under an address-space limit";
    Tree tree;
    for (int i = 0; i < 300; ++i)
        put(tree.fd(), std::string("d").append(std::to_string(i % 7)).append("/f").append(std::to_string(i)),
            "a needle\n");
    const Outcome one = search(1, "", "needle", tree.root());
    rlimit saved{};
    getrlimit(RLIMIT_AS, &saved);
    const rlimit lowered{mappedBytes() + (16 << 20), saved.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &lowered), 0);
    const Outcome many = search(15, "", "needle", tree.root());
    setrlimit(RLIMIT_AS, &saved);
    EXPECT_TRUE(many.out == one.out);
    EXPECT_EQ(many.counts.files, 300);
}

} // namespace
