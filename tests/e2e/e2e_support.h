// Helpers for the end-to-end tests: run the built fyndle, make folder trees.
#pragma once

#include <string>
#include <vector>

struct RunResult {
    int exitCode = -1;  // the exit code, or -1 when the process did not exit normally
    std::string out;    // everything written to standard output
    std::string err;    // everything written to standard error
};

// Runs the fyndle binary with args (argv[1..]) in the folder cwd (empty: the
// test's own), standard input closed. Gives up after timeoutSeconds.
RunResult runFyndle(const std::vector<std::string> &args, const std::string &cwd = "", int timeoutSeconds = 60);

// A temporary folder that removes itself with everything in it.
class TempTree {
public:
    TempTree();
    ~TempTree();
    TempTree(const TempTree &) = delete;
    TempTree &operator=(const TempTree &) = delete;

    const std::string &root() const { return root_; }
    // Path of rel below the root.
    std::string path(const std::string &rel) const { return rel.empty() ? root_ : root_ + "/" + rel; }
    // Writes a file (and its missing folders) with the given bytes.
    void file(const std::string &rel, const std::string &content) const;
    // Makes a folder (and its missing parents).
    void folder(const std::string &rel) const;

private:
    std::string root_;
};

// The banner line every run prints first.
inline const std::string kBanner = "\nfyndle version 1.20 Copyright (c) 2026 the fyndle developers\n";
