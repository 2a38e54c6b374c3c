#include "e2e_support.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdexcept>
#include <grp.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

RunResult runFyndle(const std::vector<std::string> &args, const RunOptions &options)
{
    int pipes[2][2];
    if (pipe(pipes[0]) != 0 || pipe(pipes[1]) != 0)
        throw std::runtime_error("pipe failed");
    pid_t child = fork();
    if (child == 0) {
        signal(SIGPIPE, SIG_DFL);
        dup2(options.stdoutTo.empty() ? pipes[0][1] : open(options.stdoutTo.c_str(), O_WRONLY | O_CREAT, 0644), 1);
        dup2(pipes[1][1], 2);
        close(pipes[0][0]), close(pipes[1][0]);
        options.stdinClosed ? close(0) : dup2(open("/dev/null", O_RDONLY), 0);
        close_range(3, ~0U, 0); // only the standard three, as from a shell
        rlimit limit{};
        if (const auto [resource, value] = options.limit; resource >= 0 && getrlimit(resource, &limit) == 0)
            limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, value), setrlimit(resource, &limit);
        const int user = options.asUser;
        if (user >= 0 && (setgroups(0, nullptr) != 0 || setgid(user) != 0 || setuid(user) != 0))
            _exit(125);
        cpu_set_t cpus; // the one it runs on, which it is allowed
        CPU_ZERO(&cpus);
        CPU_SET(sched_getcpu(), &cpus);
        if (options.oneCpu && sched_setaffinity(0, sizeof cpus, &cpus) != 0)
            _exit(124);
        std::vector<char *> argv{const_cast<char *>(options.binary.c_str())};
        for (const std::string &arg : args)
            argv.push_back(const_cast<char *>(arg.c_str()));
        argv.push_back(nullptr);
        execv(options.binary.c_str(), argv.data());
        _exit(127);
    }
    close(pipes[0][1]), close(pipes[1][1]);
    if (options.whileStalled) { // a full pipe holds the run where it is meanwhile
        usleep(500000);
        options.whileStalled();
    }
    RunResult result;
    std::string *into[2] = {&result.out, &result.err};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(options.timeoutSeconds);
    while (pipes[0][0] >= 0 || pipes[1][0] >= 0) { // a closed end is -1, which poll skips
        pollfd fds[2] = {{pipes[0][0], POLLIN, 0}, {pipes[1][0], POLLIN, 0}};
        poll(fds, 2, 200); // no event on either end leaves both revents 0
        for (int i = 0; i < 2; ++i) {
            if (pipes[i][0] < 0 || !(fds[i].revents & (POLLIN | POLLHUP)))
                continue;
            char chunk[65536];
            ssize_t got = read(pipes[i][0], chunk, sizeof chunk);
            if (got > 0)
                into[i]->append(chunk, static_cast<size_t>(got));
            if ((got <= 0 && (got == 0 || errno != EINTR)) || (i == 0 && result.out.size() >= options.readAtMost))
                close(pipes[i][0]), pipes[i][0] = -1;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            kill(child, SIGKILL);
            result.err += "[killed: time limit]";
            break;
        }
    }
    close(pipes[0][0]), close(pipes[1][0]); // -1 where already closed
    int status = 0;
    waitpid(child, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return result;
}

TempTree::TempTree(const std::string &base)
{
    const bool useBase = !base.empty() && access(base.c_str(), W_OK | X_OK) == 0;
    std::string pattern = ((useBase ? fs::path(base) : fs::temp_directory_path()) / "fyndle-e2e-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    root_ = fs::canonical(pattern).string(); // as fyndle prints it, through a linked /tmp
}

TempTree::~TempTree()
{
    // chmod opens what a test made unreadable; rm reaches beyond the path limit.
    const std::string quoted = "'" + root_ + "'";
    (void)!std::system(("chmod -R u+rwx " + quoted + " 2>/dev/null; rm -rf " + quoted).c_str());
}

void TempTree::file(const std::string &rel, const std::string &content) const
{
    const fs::path full = path(rel);
    fs::create_directories(full.parent_path());
    if (!(std::ofstream(full, std::ios::binary) << content))
        throw std::runtime_error("cannot write " + full.string());
}

std::vector<std::string> listed(const std::string &folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder))
        if (const std::string name = entry.path().filename(); name[0] != '.')
            names.push_back(name);
    return names;
}

std::string expand(std::string text, const std::string &root)
{
    for (size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at + root.size()))
        text.replace(at, 1, root);
    return text;
}

RunResult bothWays(const std::vector<std::string> &args, RunOptions options)
{
    SCOPED_TRACE(testing::PrintToString(args));
    const RunResult all = runFyndle(args, options);
    options.oneCpu = true;
    const RunResult one = runFyndle(args, options);
    EXPECT_EQ(all.exitCode, one.exitCode);
    EXPECT_TRUE(all.out == one.out) << "outputs differ: " << all.out.size() << " and " << one.out.size() << " bytes";
    EXPECT_EQ(all.err + one.err, "");
    return one;
}

void check(const TempTree &tree, const std::vector<std::string> &args, const std::string &want, int exitCode,
           const RunOptions &options)
{
    std::vector<std::string> expanded; // bothWays names them in its trace
    for (const std::string &arg : args)
        expanded.push_back(expand(arg, tree.root()));
    const RunResult r = bothWays(expanded, options);
    EXPECT_EQ(r.exitCode, exitCode);
    EXPECT_EQ(r.out, kBanner + expand(want, tree.root()));
}
