// Helpers for the end-to-end tests: run the built fyndle, make folder trees.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <string>
#include <vector>

struct RunResult {
    int exitCode = -1; // -1 when the process did not exit normally
    int signal = 0;    // the signal that ended it, if one did
    std::string out, err;
};

// How a run differs from the plain one: standard input on /dev/null, killed after 60 s.
struct RunOptions {
    bool oneCpu = false;                   // pinned to the CPU it starts on, so that it searches without threads
    bool stdinClosed = false;              // standard input closed: the run's first descriptor is 0
    std::pair<int, uint64_t> limit{-1, 0}; // a resource (RLIMIT_...) whose soft limit is lowered, and to what
    int timeoutSeconds = 60;
    std::string stdoutTo{};               // when not empty, standard output goes to this file
    size_t readAtMost = SIZE_MAX;         // the output pipe is closed once it holds this many bytes
    std::function<void()> whileStalled{}; // when set, called once the output has gone unread for 0.5 s
    int asUser = -1;                      // when not negative, as this user and group
    std::string binary = FYNDLE_BINARY;   // the binary it runs
};
RunResult runFyndle(const std::vector<std::string> &args, const RunOptions &options = {});

// A temporary folder, in base when we can write there, that removes itself with everything in it.
class TempTree {
public:
    explicit TempTree(const std::string &base = "");
    ~TempTree();
    TempTree(const TempTree &) = delete;
    TempTree &operator=(const TempTree &) = delete;
    const std::string &root() const { return root_; }
    std::string path(const std::string &rel) const { return rel.empty() ? root_ : root_ + "/" + rel; }
    void file(const std::string &rel, const std::string &content) const;

private:
    std::string root_;
};

// The visible entries of a folder in the order it lists them.
std::vector<std::string> listed(const std::string &folder);

std::string expand(std::string text, const std::string &root); // every '@' replaced with root

// Runs fyndle as options say, then pinned to one CPU: both end alike, print the same and nothing on standard error.
RunResult bothWays(const std::vector<std::string> &args, RunOptions options = {}); // returns the pinned run

// Runs args ('@': the root) both ways and expects exitCode and the whole output: the banner, then want ('@' too).
void check(const TempTree &tree, const std::vector<std::string> &args, const std::string &want, int exitCode = 0,
           const RunOptions &options = {});

inline const std::string kBanner = "\nfyndle version 1.20 Copyright (c) 2026 the fyndle developers\n";

inline std::string searching(const std::string &pattern)
{
    return "Searching for \"" + pattern + "\"\n";
}

inline std::string summary(int count, int files, int tried)
{
    auto n = [](int v, const char *word) { return std::to_string(v) + word + (v == 1 ? "" : "s"); };
    return n(count, " occurrence") + " found in " + n(files, " file") + " (" + n(tried, " file") + " searched).\n";
}
