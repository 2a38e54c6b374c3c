// fyndle on every CPU against fyndle pinned to one: a generated tree of a
// few thousand files of random sizes and match counts must give the same
// whole output and exit code both ways, and the expected counts; a closed
// pipe and a full device must end the run the same way.
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "e2e_support.h"

namespace {

// Both ways, the same result; returns the pinned one.
RunResult sameBothWays(const std::vector<std::string> &args)
{
    SCOPED_TRACE(testing::PrintToString(args));
    RunResult all = runFyndle(args, "", 120);
    g_runOnOneCpu = true;
    RunResult one = runFyndle(args, "", 120);
    g_runOnOneCpu = false;
    EXPECT_EQ(all.exitCode, one.exitCode);
    EXPECT_TRUE(all.out == one.out) << "outputs differ: " << all.out.size() << " and " << one.out.size() << " bytes";
    EXPECT_EQ(all.err, "");
    EXPECT_EQ(one.err, "");
    return one;
}

TEST(Parallel, GeneratedTreeGivesTheOneCpuOutput)
{
    TempTree tree;
    std::mt19937 random(20261123);
    int64_t matches = 0, matchingFiles = 0, lines = 0;
    constexpr int kFiles = 3000;
    for (int i = 0; i < kFiles; ++i) {
        // Most files small, some beyond a read chunk, a few empty.
        const int lineCount = i % 97 == 0 ? 0 : i % 211 == 0 ? 20000 : static_cast<int>(random() % 200);
        const int every = 1 + static_cast<int>(random() % 40);
        std::string content;
        int found = 0;
        for (int line = 0; line < lineCount; ++line) {
            const bool hit = random() % static_cast<unsigned>(every) == 0;
            content += hit ? "some needle text " : "plain text line ";
            content += std::to_string(line);
            content += '\n';
            found += hit;
        }
        matches += found;
        matchingFiles += found > 0;
        lines += lineCount;
        std::string name = "d";
        name += std::to_string(i % 7), name += "/s", name += std::to_string(i % 5);
        name += "/f", name += std::to_string(i), name += ".txt";
        tree.file(name, content);
    }
    const RunResult plain = sameBothWays({"-s", "needle", tree.root()});
    EXPECT_NE(plain.out.find(summary(static_cast<int>(matches), static_cast<int>(matchingFiles), kFiles)),
              std::string::npos);
    sameBothWays({"-s", "-v", "-f", "needle", tree.root()});
    sameBothWays({"-s", "-b", "-w", "NEEDLE", tree.root(), "*1.txt;*3.txt"});
    const RunResult counted = sameBothWays({"-s", "-l", tree.root()});
    EXPECT_NE(counted.out.find(std::to_string(lines) + " lines counted"), std::string::npos);
}

// How fyndle ends with standard output a pipe closed after its first bytes
// ("pipe") or the full device ("full"): "exit N" or "signal N".
std::string fate(const std::vector<std::string> &args, const std::string &into, bool oneCpu)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        if (oneCpu && !pinToOneCpu())
            _exit(124);
        signal(SIGPIPE, SIG_DFL);
        const int out = into == "pipe" ? pipeFds[1] : open("/dev/full", O_WRONLY);
        dup2(out, 1);
        close(pipeFds[0]);
        std::vector<char *> argv{const_cast<char *>(FYNDLE_BINARY)};
        for (const std::string &arg : args)
            argv.push_back(const_cast<char *>(arg.c_str()));
        argv.push_back(nullptr);
        execv(FYNDLE_BINARY, argv.data());
        _exit(127);
    }
    close(pipeFds[1]);
    char first[100];
    (void)!read(pipeFds[0], first, sizeof first);
    close(pipeFds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit " + std::to_string(WEXITSTATUS(status));
}

TEST(Parallel, ClosedPipeAndFullDeviceEndTheRunAsOnOneCpu)
{
    TempTree tree;
    std::string content;
    for (int i = 0; i < 5000; ++i)
        content += "needle ", content += std::to_string(i), content += '\n';
    for (int i = 0; i < 40; ++i)
        tree.file(std::string("f").append(std::to_string(i)), content);
    const std::vector<std::string> args{"needle", tree.root()};
    for (bool oneCpu : {true, false}) {
        EXPECT_EQ(fate(args, "pipe", oneCpu), "signal 13");
        EXPECT_EQ(fate(args, "full", oneCpu), "exit 0");
    }
}

} // namespace
