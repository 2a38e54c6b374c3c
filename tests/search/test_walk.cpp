// The ordered walk, driven through the run object on more threads than CPUs so that files finish out of turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <tuple>
#include <unistd.h>

#include "capture.h"
#include "fyndle.h"
#include "pattern.h"
#include "syscall_seam.h"
#include "walk.h"
#include "walk_queue.h"

namespace {

namespace fs = std::filesystem;

// A folder tree in memory where it can be, removed by rm, which goes beyond the system's path limit.
struct Tree {
    ~Tree()
    {
        close(fd);
        (void)!std::system(("rm -rf '" + root + "'").c_str());
    }
    std::string root = mkdtemp(
        ((fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path().string()) + "/fyndle-walk-XXXXXX").data());
    int fd = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
};

// Writes name (and its missing folders) below the folder open as dirFd.
void put(int dirFd, const std::string &name, const std::string &content)
{
    const fs::path path = "/proc/self/fd/" + std::to_string(dirFd) + "/" + name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

struct Outcome {
    std::string out;
    RunCounters counts;
    auto numbers() const { return std::tuple(counts.count, counts.files, counts.filesTried); }
};

// Searches folder under -s on `threads` threads with the option letters (b, c, f, l, r, v, w), as the tool would.
Outcome search(int threads, const std::string &options, std::string pattern, std::string folder,
               const char *masks = nullptr)
{
    auto has = [&](char letter) { return options.find(letter) != std::string::npos; };
    g_fBinary = has('b'), g_fMatchCase = has('c'), g_fFileNamesOnly = has('f'), g_fCountLines = has('l');
    g_fRegExp = has('r'), g_fVerbose = has('v'), g_fMatchWord = has('w'), g_fDoSubdirectories = 1;
    SearchRun run;
    EXPECT_TRUE(g_fCountLines || PreparePattern(pattern.data(), g_fRegExp, g_fMatchCase, &run.pattern));
    run.threads = threads;
    StdoutCapture capture;
    EXPECT_EQ(FRunMask(run, folder.data(), masks), 1);
    Outcome outcome{capture.take(), run.counters};
    g_fVerbose = g_fCountLines = g_fDoSubdirectories = 0;
    return outcome;
}

// The same search on 1, 8 and 16 threads (a few times: which files finish out of turn varies) gives the same outcome.
Outcome allThreadCounts(const std::string &options, const std::string &pattern, const std::string &folder,
                        const char *masks = nullptr)
{
    const Outcome one = search(1, options, pattern, folder, masks);
    for (int threads : {8, 16, 8, 16, 8, 16}) {
        const Outcome many = search(threads, options, pattern, folder, masks);
        EXPECT_TRUE(many.out == one.out) << threads << " threads, options '" << options << "': output differs";
        EXPECT_EQ(many.numbers(), one.numbers()) << threads << " threads, options " << options;
    }
    return one;
}

// A huge file first, then thousands of tiny ones full of matches: threads past the huge one finish out of turn.
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
    put(tree.fd, "huge.txt", huge);
    for (int i = 0; i < 3000; ++i) {
        std::string tiny;
        const int lines = static_cast<int>(random() % 30);
        for (int line = 0; line < lines; ++line)
            tiny += line % 3 ? "Needle " + std::to_string(i) + "\n" : "hay\n";
        matches += lines - (lines + 2) / 3, files += lines > 1;
        put(tree.fd,
            "d" + std::to_string(i % 40).append("/e").append(std::to_string(i % 3)).append("/t") + std::to_string(i),
            tiny);
    }
    EXPECT_EQ(allThreadCounts("", "needle", tree.root).numbers(), std::tuple(matches, files, int64_t{3001}));
    allThreadCounts("v", "needle", tree.root);
    allThreadCounts("bw", "NEEDLE", tree.root, "t1*;t2*;huge*");
    allThreadCounts("fc", "Needle", tree.root);
    allThreadCounts("r", "n[a-z]*e [0-9]*", tree.root);
    EXPECT_EQ(allThreadCounts("lv", "", tree.root).counts.filesTried, 3001);
}

// A chain of `levels` folders "d" below dirFd, each with a file and side/side.txt: a level waits for its side folder.
int chain(int dirFd, int levels)
{
    int fd = dup(dirFd);
    for (int level = 0; level < levels && fd >= 0; ++level) {
        mkdirat(fd, "d", 0755);
        put(fd, "side/side.txt", "needle\n");
        put(fd, "level.txt", "needle\n");
        const int next = openat(fd, "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(fd);
        fd = next;
    }
    put(fd, "bottom.txt", "needle\n");
    close(fd);
    return 2 * levels + 1;
}

// Lowers a resource's soft limit (never above its hard one) until the end of the scope.
struct Lowered {
    Lowered(int resource, rlim_t soft) : resource(resource)
    {
        getrlimit(resource, &saved);
        const rlimit lowered{std::min(soft, saved.rlim_max), saved.rlim_max};
        EXPECT_EQ(setrlimit(resource, &lowered), 0);
    }
    ~Lowered() { setrlimit(resource, &saved); }
    int resource;
    rlimit saved{};
};

// 500 files in one folder; a chain 2,000 levels deep; levels reopened, with subfolders holding more than a claim takes.
TEST(Walk, EveryFileIsFoundUnderAnOpenFileLimitOf64)
{
    Tree wide, deep, reopened;
    for (int i = 0; i < 500; ++i)
        put(wide.fd, std::string("f").append(std::to_string(i)).append(".txt"), "needle\n");
    const int deepFiles = chain(deep.fd, 2000);
    int reopenedFiles = 0;
    for (int i = 0; i < 12; ++i) {
        const std::string top = std::string("s") + std::to_string(i);
        mkdirat(reopened.fd, top.c_str(), 0755);
        const int topFd = openat(reopened.fd, top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        reopenedFiles += chain(topFd, 80);
        for (int j = 0; j < 60; ++j, ++reopenedFiles)
            put(topFd, std::string("w") + std::to_string(j % 6) + "/x/y/f" + std::to_string(j), "needle\n");
        close(topFd);
    }
    const std::pair<const Tree *, int> cases[] = {{&wide, 500}, {&deep, deepFiles}, {&reopened, reopenedFiles}};
    for (const auto &[tree, files] : cases) {
        const Outcome unlimited = search(1, "", "needle", tree->root);
        ASSERT_EQ(unlimited.counts.files, files);
        const Lowered limit(RLIMIT_NOFILE, 64);
        for (int threads : {1, 2, 16}) {
            const Outcome limited = search(threads, "", "needle", tree->root);
            EXPECT_TRUE(limited.out == unlimited.out) << files << " files, " << threads << " threads";
            EXPECT_EQ(limited.counts.files, files) << threads << " threads";
        }
    }
}

// Makes n folders prefix0, prefix1... in parent; returns its folders' names in the order it lists them, the walk's.
std::vector<std::string> folders(const std::string &parent, const std::string &prefix, int n)
{
    for (int i = 0; i < n; ++i)
        fs::create_directories(fs::path(parent) / (prefix + std::to_string(i)));
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(parent))
        names.push_back(entry.path().filename());
    return names;
}

// Two threads, 20 descriptors free: r holds a first and s last, 64 places apart; a holds w, then f; f holds 62 folders
// g, the 30th and 61st with a folder h each. The thread opening w waits while the other lists 64 places ahead (to the
// second h): w's listing keeps a open, the other closes r for the budget, then f at the first h, opens f again from a
// for the 31st g, closes it at the second h and leaves the budget full. Once w is listed, a's ".." (its spare
// descriptor) brings r back for s. Reopening f: a fresh tmpfs mounted on it has its inode (f is one's root too) but
// another device, and the 31st g is passed over. Or r is moved away: f is still found from a, r through ".."; where f
// cannot be reopened for its files, its folders not listed yet are passed over. Or a moves into a new r holding a
// stranger s: r is found neither through ".." nor by path, and s is passed over.
TEST(Walk, FolderClosedForTheBudgetIsOpenedAgainOnlyAsItWas)
{
    Tree tree;
    const std::string r = tree.root + "/r";
    const std::vector<std::string> rs = folders(r, "a", 66);
    const std::string a = r + "/" + rs[0];
    const std::vector<std::string> as = folders(a, "b", 2);
    const std::string f = a + "/" + as[1];
    const bool mounted = mount("fyndle-test", f.c_str(), "tmpfs", 0, nullptr) == 0;
    const std::vector<std::string> gs = folders(f, "g", 62);
    fs::create_directories(f + "/" + gs[29] + "/h1"), fs::create_directories(f + "/" + gs[60] + "/h2");
    const std::string files[] = {f + "/f.txt", f + "/" + gs[30] + "/x.txt", f + "/" + gs[61] + "/x.txt",
                                 r + "/" + rs.back() + "/x.txt"};
    for (const std::string &file : files)
        std::ofstream(file) << "needle\n";
    auto found = [&](int file) { return files[file] + " (1): needle\n"; };
    // No descriptor above the limit (it would give the walk room it does not count); all but 20 below it taken.
    int highest = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator("/proc/self/fd"))
        highest = std::max(highest, std::stoi(entry.path().filename()));
    const Lowered limit(RLIMIT_NOFILE, static_cast<rlim_t>(highest) + 21);
    std::vector<int> taken;
    for (int i = FreeDescriptors() - 20; i > 0; --i)
        taken.push_back(dup(tree.fd));
    const std::pair<std::string, std::string> rows[] = {
        {"stranger", found(0) + found(2) + found(3) + "3 occurrences found in 3 files (3 files searched).\n"},
        {"moved", "unable to open file " + files[0] + "\n" + found(1) + found(3) +
                      "2 occurrences found in 2 files (3 files searched).\n"},
        {"swapped", found(0) + found(1) + found(2) + "3 occurrences found in 3 files (3 files searched).\n"},
    };
    for (const auto &row : rows) {
        const std::string &change = row.first;
        if (change == "stranger" && !mounted)
            continue;
        std::atomic<int> opensOfF = 0;
        std::atomic<bool> listedAhead = false;
        seam::Hooked opening(seam::openat, [&](int dirFd, const char *path, int flags) -> std::optional<int> {
            const std::string name = fs::path(path).filename();
            const int nth = name == as[1] ? ++opensOfF : 0;
            for (int i = 0; i < 5000 && name == as[0] && !listedAhead; ++i)
                usleep(1000);
            if (change != "stranger" && nth == 2)
                rename(r.c_str(), (r + "2").c_str());
            if (change == "swapped" && nth == 2) // into a new r, where a stranger s waits
                put(tree.fd, files[3].substr(tree.root.size() + 1), "needle of a stranger\n"),
                    rename((r + "2/" + rs[0]).c_str(), a.c_str());
            if (change == "moved" && nth == 3)
                return errno = ENOENT, -1;
            const bool swap =
                change == "stranger" && nth == 2 && mount("fyndle-test", f.c_str(), "tmpfs", 0, nullptr) == 0;
            if (swap)
                put(tree.fd, files[1].substr(tree.root.size() + 1), "needle of a stranger\n");
            const int fd = seam::realOpenat(dirFd, path, flags);
            if (swap)
                umount2(f.c_str(), MNT_DETACH);
            listedAhead = listedAhead || name == "h2";
            return fd;
        });
        const Outcome run = search(2, "", "needle", tree.root);
        rename((r + "2").c_str(), r.c_str());
        EXPECT_EQ(run.out, row.second) << change;
    }
    for (const int fd : taken)
        close(fd);
    umount2(f.c_str(), MNT_DETACH);
    if (!mounted)
        GTEST_SKIP() << "the stranger row was skipped: cannot mount a tmpfs here; the moved and swapped rows ran";
}

// Each fails once, so that a retry shows: a failed folder read (a disk error, the folder removed) ends its listing, an
// interrupted one is made again; a failed write (a non-blocking output full for now) ends the output there.
TEST(Walk, ReadsAndWritesThatFail)
{
    Tree tree;
    for (const char *name : {"a/f", "b/f", "c/f"})
        put(tree.fd, name, "needle\n");
    for (const int error : {EIO, EINTR}) {
        std::atomic<bool> failed = false;
        seam::Hooked failing(seam::getdents64, [&](int fd, void *, size_t) {
            const bool fails = fs::read_symlink("/proc/self/fd/" + std::to_string(fd)).filename() == "b";
            return fails && !failed.exchange(true) ? (errno = error, std::optional<ssize_t>(-1)) : std::nullopt;
        });
        EXPECT_EQ(search(1, "", "needle", tree.root).counts.files, error == EIO ? 2 : 3) << error;
    }
    std::string lines; // reports written in many blocks
    for (int i = 0; i < 20000; ++i)
        lines.append("needle ").append(std::to_string(i)).append("\n");
    put(tree.fd, "d/f", lines);
    const std::string whole = search(1, "", "needle", tree.root).out;
    std::atomic<int> writes = 0;
    seam::Hooked failing(seam::write, [&](int fd, const void *, size_t) -> std::optional<ssize_t> {
        return fd == 1 && ++writes == 2 ? (errno = EAGAIN, std::optional<ssize_t>(-1)) : std::nullopt;
    });
    const std::string cut = search(1, "", "needle", tree.root).out;
    EXPECT_TRUE(cut.size() < whole.size() && whole.compare(0, cut.size(), cut) == 0) << cut.size();
}

// A folder closed for the budget and needed again waits while the other threads hold all but the reopen's room. Budget
// 16, two threads and two more started for names missing the kernel's caches: the first folder listed waits until the
// second is, its three claims (7, 7 and 1 files, the second folder closed for the last) until the fourth thread has
// tried the second folder and sleeps, or 1 s after the last claim came (the fourth may sleep before the third comes).
TEST(Walk, FolderReopenedWaitsWhileTheBudgetIsHeld)
{
    Tree tree;
    for (int i = 0; i < 44; ++i)
        put(tree.fd, (i < 14 ? "f" : i < 29 ? "p/f" : "q/f") + std::to_string(i), "needle\n");
    const Outcome unlimited = search(1, "", "needle", tree.root);
    const auto name = [](long fd) {
        return fs::read_symlink("/proc/self/fd/" + std::to_string(fd)).filename().string();
    };
    std::atomic<char> first = 0;
    std::atomic<int> secondReads = 0, started = 0, held = 0;
    std::atomic<bool> tried = false;
    seam::Hooked listing(seam::getdents64, [&](int fd, void *, size_t) -> std::optional<ssize_t> {
        const std::string folder = name(fd);
        char none = 0;
        if (folder.size() == 1 && !first.compare_exchange_strong(none, folder[0]) && first != folder[0])
            ++secondReads;
        for (int waited = 0; first == folder[0] && (secondReads < 2 || started < 3) && waited < 5000; ++waited)
            usleep(1000); // bounded: a smaller budget starts fewer threads
        return std::nullopt;
    });
    seam::Hooked opening(seam::syscall, [&](long number, const long *arguments) -> std::optional<long> {
        if (number != SYS_openat2)
            return std::nullopt;
        if (name(arguments[0]) == std::string(1, first) && !tried)
            for (int quiet = 0, seen = ++held; !tried && held < 4 && quiet < 1000; quiet = held == seen ? quiet + 1 : 0)
                seen = held, usleep(1000);
        errno = EAGAIN;
        return -1;
    });
    seam::Hooked starting(seam::pthread_create, [&](auto...) { return ++started, std::optional<int>(); });
    seam::Hooked sleeping(seam::pthread_cond_wait,
                          [&](auto...) { return tried = tried || held == 3, std::optional<int>(); });
    // What is open now but the listing's own descriptor, the capture's and the start folder's, a spare, the budget.
    const Lowered limit(RLIMIT_NOFILE, std::distance(fs::directory_iterator("/proc/self/fd"), {}) - 1 + 2 + 1 + 16ul);
    EXPECT_TRUE(search(2, "", "needle", tree.root).out == unlimited.out);
}

// Threads whose stacks or buffers cannot be had are done without; every thread started ends with the walk. Names miss
// the caches, so ending claims start threads, which none may once the calling thread joins the others. Its first file
// waits for another's open (if one started), theirs for the join: bufferless threads get work, claims outlive the walk.
TEST(Walk, ThreadsThatCannotBeHadAreDoneWithout)
{
    Tree few, tree;
    for (int i = 0; i < 9; ++i) // two claims on two threads
        put(few.fd, std::string("f").append(std::to_string(i)), "a needle\n");
    const Outcome fewOne = search(1, "", "needle", few.root);
    const pid_t calling = gettid();
    std::atomic<bool> otherOpened, joining;
    std::atomic<int> buffers, started, joined, callingOpens;
    seam::Hooked uncached(seam::syscall, [&](long number, const long *) -> std::optional<long> {
        if (number != SYS_openat2)
            return std::nullopt;
        const bool isCalling = gettid() == calling;
        otherOpened = otherOpened || !isCalling;
        while (isCalling ? callingOpens == 0 && started > 0 && !otherOpened : !joining)
            usleep(1000);
        callingOpens += isCalling;
        errno = EAGAIN;
        return -1;
    });
    seam::Hooked starting(seam::pthread_create, [&](auto...) { return ++started, std::optional<int>(); });
    seam::Hooked ending(seam::pthread_join, [&](auto...) { return joining = true, ++joined, std::optional<int>(); });
    for (const bool bufferFails : {true, false}) { // the second thread's buffer
        otherOpened = joining = false, buffers = started = joined = callingOpens = 0;
        seam::Hooked failing(seam::newArray, [&](size_t size) {
            return bufferFails && size == kChunkSize && ++buffers == 2 ? std::optional<void *>(nullptr) : std::nullopt;
        });
        EXPECT_TRUE(search(2, "", "needle", few.root).out == fewOne.out) << bufferFails;
        EXPECT_EQ(started.load(), joined.load()) << bufferFails;
    }
    // Under an address-space limit that leaves room for only a few, 15 threads still give the one-thread output.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the address-space limit was skipped: a sanitizer's shadow memory cannot live under one";
#endif
    for (int i = 0; i < 300; ++i)
        put(tree.fd, "d" + std::to_string(i % 7).append("/f").append(std::to_string(i)), "a needle\n");
    const Outcome one = search(1, "", "needle", tree.root);
    size_t pages = 0; // mapped now
    std::ifstream("/proc/self/statm") >> pages;
    const Lowered limit(RLIMIT_AS, pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) + (16 << 20));
    const Outcome many = search(15, "", "needle", tree.root);
    EXPECT_TRUE(many.out == one.out);
    EXPECT_EQ(many.counts.files, 300);
}

} // namespace
