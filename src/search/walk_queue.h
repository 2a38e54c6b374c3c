// The ordered walk: the folders of a search in the walk's order (depth
// first, each folder's files before its subfolders, both in listing order)
// and the work they hold, handed out in small claims to every searching
// thread, so that no thread is the walk: whoever is free lists the next
// folders, opens the next files and searches them.
#pragma once

#include <string>
#include <vector>

#include "run.h"

// The starting folder of a walk.
struct WalkStart {
    std::string path; // as printed
    int fd;           // open for reading, or -1 (it lists nothing); the walk reads it, the caller closes it
    bool roundTrips;  // the path survives the trip through wide text
    bool subfolders;  // walk into the subfolders too
    std::vector<std::string> masks; // the file masks, each searched in turn
};

// Searches everything below start on run.threads threads (the calling one
// among them; fewer when threads or their memory cannot be had, or when the
// open-file limit leaves too few descriptors) and adds every file's number
// to run.counters. Prints, through run.output, exactly what a one-thread
// walk prints. Stops handing out work once standard output has failed.
void RunWalk(SearchRun &run, const WalkStart &start);

// Descriptors one claim of the walk may need at once beyond the starting
// folder's: below this many free, a walk cannot run.
inline constexpr int kWalkDescriptors = 4;

// Descriptors this process may still open under its open-file limit.
int FreeDescriptors();
