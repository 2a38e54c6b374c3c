// Runs the built binary (its path comes from the build) and captures what it
// writes, with a time limit so that a hang fails the test instead of CI.
#include "e2e_support.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

void drain(int fd, std::string &into, bool *open)
{
    char chunk[65536];
    ssize_t got = read(fd, chunk, sizeof chunk);
    if (got > 0)
        into.append(chunk, static_cast<size_t>(got));
    else if (got == 0 || errno != EINTR)
        *open = false;
}

} // namespace

RunResult runFyndle(const std::vector<std::string> &args, const std::string &cwd, int timeoutSeconds)
{
    int outPipe[2], errPipe[2];
    if (pipe(outPipe) != 0 || pipe(errPipe) != 0)
        throw std::runtime_error("pipe failed");
    pid_t child = fork();
    if (child == 0) {
        dup2(outPipe[1], 1);
        dup2(errPipe[1], 2);
        close(outPipe[0]);
        close(errPipe[0]);
        int devNull = open("/dev/null", O_RDONLY);
        dup2(devNull, 0);
        if (!cwd.empty() && chdir(cwd.c_str()) != 0)
            _exit(126);
        std::vector<char *> argv;
        argv.push_back(const_cast<char *>(FYNDLE_BINARY));
        for (const std::string &arg : args)
            argv.push_back(const_cast<char *>(arg.c_str()));
        argv.push_back(nullptr);
        execv(FYNDLE_BINARY, argv.data());
        _exit(127);
    }
    close(outPipe[1]);
    close(errPipe[1]);
    RunResult result;
    bool outOpen = true, errOpen = true;
    timespec startTime;
    clock_gettime(CLOCK_MONOTONIC, &startTime);
    while (outOpen || errOpen) {
        pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
        int ready = poll(fds, 2, 200);
        if (ready > 0) {
            if (outOpen && (fds[0].revents & (POLLIN | POLLHUP)))
                drain(outPipe[0], result.out, &outOpen);
            if (errOpen && (fds[1].revents & (POLLIN | POLLHUP)))
                drain(errPipe[0], result.err, &errOpen);
        }
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (now.tv_sec - startTime.tv_sec > timeoutSeconds) {
            kill(child, SIGKILL);
            result.err += "[killed: time limit]";
            break;
        }
    }
    close(outPipe[0]);
    close(errPipe[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

TempTree::TempTree()
{
    std::string pattern = (fs::temp_directory_path() / "fyndle-e2e-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    // Resolve links (a linked /tmp) so that paths compare with what fyndle prints.
    root_ = fs::canonical(pattern).string();
}

TempTree::~TempTree()
{
    std::error_code ignored;
    // Give back any permissions a test took away, then remove everything.
    for (auto it = fs::recursive_directory_iterator(root_, fs::directory_options::skip_permission_denied, ignored);
         it != fs::recursive_directory_iterator(); it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored))
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(root_, ignored);
}

void TempTree::file(const std::string &rel, const std::string &content) const
{
    fs::path full = path(rel);
    fs::create_directories(full.parent_path());
    std::ofstream out(full, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out)
        throw std::runtime_error("cannot write " + full.string());
}

void TempTree::folder(const std::string &rel) const
{
    fs::create_directories(path(rel));
}
