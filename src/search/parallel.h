// Parallel search: the folder walk hands each file to a pool of searching
// threads, one per CPU the process may run on besides the walk's own, while
// the output keeps the order of a one-thread run (output.h). On one CPU no thread is started and
// every file is searched by the walk itself, as it comes.
#pragma once

#include <cstdint>

// CPUs the process may run on (its affinity mask), at most kMaxSearchThreads;
// at least 1.
int SearchThreadCount();

// Starts SearchThreadCount() - 1 searching threads when more than one CPU
// is allowed.
void BeginSearch();

// The walk's call for one listed file `name` of the folder open as dirFd,
// whose full path is path: prints "File  :" under -v, opens the file at once
// and searches it (now, or on a searching thread), then adds its number to
// the run counters and flushes standard output, in the order of the calls.
void SearchFile(int dirFd, const char *name, const char *path);

// Waits for every file handed out, ends the searching threads and their
// ordered output. The run counters are complete after it.
void EndSearch();
