// File scanner: searches one file (or counts its lines, under -l) and
// prints its per-file messages.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "report.h"

class OutputSink;
struct CompiledPattern;

// One thread's means to search files: the pattern it shares with the
// others, its read buffer, its report batch and its way to the output.
// Never shared between threads.
struct FileSearcher {
    // Null buffer when its memory cannot be had: the thread then searches
    // nothing.
    FileSearcher(const CompiledPattern *searched, OutputSink &sink, const std::atomic<bool> &stopFlag);
    FileSearcher(const FileSearcher &) = delete;
    FileSearcher &operator=(const FileSearcher &) = delete;

    const CompiledPattern *pattern; // what it searches for; null under -l
    OutputSink &out;                // where its messages and reports go
    const std::atomic<bool> &stop;  // set when the run must end: a file is left at its next read
    std::unique_ptr<char[]> buffer; // kChunkSize bytes: the file's bytes as read
    ReportBatch reports;            // its match reports, on their way to out
};

// Whether the names a thread opens are in the kernel's caches, which an
// open can tell at no extra cost where the kernel knows how.
struct CacheProbe {
    bool cached = true;       // the last name opened was found in the caches (or cannot be told)
    bool unsupported = false; // the kernel cannot tell: not asked again
};

// Opens the file `name` of the folder open as dirFd for a search, without
// following a link and without waiting on a FIFO: a descriptor the caller
// hands to ScanOpenFile, or -1. With probe not null, probe->cached tells
// whether the name was found in the kernel's caches: a hint that its bytes
// are there too.
int OpenFileAt(int dirFd, const char *name, CacheProbe *probe = nullptr);

// Searches (under -l counts the lines of) the file open as fd and closes
// it; path is its full path as printed. Only a regular file is searched:
// -1, or a descriptor of anything else (a link, FIFO or device swapped in
// since the folder was listed), is a file that cannot be opened and prints
// "unable to open file" (under -l it counts no line, quietly). Prints the
// matches and, under -f, the file's count line. Returns the file's number:
// occurrences, or lines under -l.
int64_t ScanOpenFile(FileSearcher &searcher, int fd, const char *path);
