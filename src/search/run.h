// The run: everything one run of the tool keeps while it goes, built by
// RunFyndle and passed down to the pieces that need it. The option flags
// are not here: they are set once before the search and only read after
// (fyndle.h).
#pragma once

#include <cstdint>

#include "output.h"
#include "pattern.h"

// The run's counts, summed over the files searched.
struct RunCounters {
    int64_t filesTried = 0; // files looked at
    int64_t files = 0;      // files with an occurrence (or a line, under -l)
    int64_t count = 0;      // occurrences (or lines, under -l)

    // Adds one file's number: occurrences, or lines under -l.
    void Add(int64_t number)
    {
        ++filesTried;
        files += number > 0;
        count += number;
    }
};

struct SearchRun {
    SearchRun() : out(output) {}
    SearchRun(const SearchRun &) = delete;
    SearchRun &operator=(const SearchRun &) = delete;

    CompiledPattern pattern{}; // prepared before the search, only read during it (unused under -l)
    int threads = 1;           // threads that search, the calling one among them: 1 starts none
    OrderedOutput output;      // standard output, in the order of a one-thread run
    OutputSink out;            // the calling thread's way to it before and after the search
    RunCounters counters;      // of the search, complete once it has ended
};

// CPUs the process may run on (its affinity mask); at least 1.
int AllowedCpus();

// The threads a run starts with: its CPUs, at most 16; at least 1.
int SearchThreadCount();
