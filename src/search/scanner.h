// File scanner: searches one file (or counts its lines, under -l) and
// prints its per-file messages.
#pragma once

#include <cstdint>

// Size of an open file, or -1 when it cannot be read.
int64_t getFileSize(int fd);

// Searches the file `name` of the folder open as dirFd; path is its full
// path as printed. Under -l counts its newlines instead. Prints "unable to
// open file ..." when it cannot be opened for a search, and the -f line.
// Returns the file's number: occurrences, or lines under -l.
int64_t ScanFile(int dirFd, const char *name, const char *path);
