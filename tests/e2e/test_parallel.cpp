// fyndle on every CPU against fyndle pinned to one, over thousands of generated files and a deep chain of folders.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <cstdio>
#include <random>

#include "e2e_support.h"

namespace {

TEST(Parallel, GeneratedTreeGivesTheOneCpuOutput)
{
    TempTree tree("/dev/shm"); // thousands of files: in memory where there is room
    std::mt19937 random(20261123);
    int matches = 0, matchingFiles = 0, lines = 0;
    constexpr int kFiles = 3000;
    for (int i = 0; i < kFiles; ++i) {
        // Most files small, some beyond a read chunk, a few empty.
        const int lineCount = i % 97 == 0 ? 0 : i % 211 == 0 ? 20000 : static_cast<int>(random() % 200);
        const int every = 1 + static_cast<int>(random() % 40);
        std::string content;
        for (int line = 0; line < lineCount; ++line) {
            const bool hit = random() % static_cast<unsigned>(every) == 0;
            content.append(hit ? "some needle text " : "plain text line ").append(std::to_string(line)) += '\n';
            matches += hit;
        }
        matchingFiles += content.find("needle") != std::string::npos, lines += lineCount;
        char name[64];
        std::snprintf(name, sizeof name, "d%d/s%d/f%d.txt", i % 7, i % 5, i);
        tree.file(name, content);
    }
    // Under -v the walk's lines for 300 empty folders fill the output's slots behind one file handed over while the
    // threads sleep (it lies 400 folders down, so that they are asleep by then): they must still take it.
    std::string deep = "z/";
    for (int i = 0; i < 400; ++i)
        deep += "d/";
    tree.file(deep + "f.txt", "needle\n");
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(mkdir(tree.path(deep + "e" + std::to_string(i)).c_str(), 0755), 0);
    const RunResult plain = bothWays({"-s", "needle", tree.root()});
    EXPECT_NE(plain.out.find(summary(matches + 1, matchingFiles + 1, kFiles + 1)), std::string::npos);
    bothWays({"-s", "-v", "-f", "needle", tree.root()});
    bothWays({"-s", "-b", "-w", "NEEDLE", tree.root(), "*1.txt;*3.txt"});
    const RunResult counted = bothWays({"-s", "-l", tree.root()});
    EXPECT_NE(counted.out.find(std::to_string(lines + 1) + " lines counted"), std::string::npos);
}

} // namespace
