// File scanner: searches one file (or counts its lines, under -l) and
// prints its per-file messages.
#pragma once

#include <cstdint>

// Size of an open file, or -1 when it cannot be read.
int64_t getFileSize(int fd);

// Opens the file `name` of the folder open as dirFd for a search: a
// descriptor the caller hands to ScanOpenFile, or -1.
int OpenFileAt(int dirFd, const char *name);

// Searches (under -l counts the lines of) the file open as fd, -1 for one
// that could not be opened, and closes it; path is its full path as
// printed. Prints what ScanFile prints and returns what it returns.
int64_t ScanOpenFile(int fd, const char *path);

// Searches the file `name` of the folder open as dirFd; path is its full
// path as printed. Under -l counts its newlines instead. Prints "unable to
// open file ..." when it cannot be opened for a search, and the -f line.
// Returns the file's number: occurrences, or lines under -l.
int64_t ScanFile(int dirFd, const char *name, const char *path);
