// File scanner.
//
// A file is searched in windows of kWindowSize bytes. A window is cut after
// its last newline at or beyond kCutFrom; the matcher searches the part up
// to the cut, and what it did not consume, plus the tail after the cut, is
// carried to the start of the next window. The windows are exactly those of
// 5120-byte reads into one buffer, but the file is read in large chunks:
// the searching thread's buffer holds the file bytes [bufferStart,
// bufferStart + bufferUsed)
// and every window lies inside it. A file whose first read comes back
// shorter than a window before its end (kernel files that give a page per
// read) is read once per window instead, because there a window ends where
// its read did.
//
// A window in which nothing was consumed moves on by one byte, and on a
// long line whose first attempt runs on and on, so do millions after it
// (or they move on from one byte that the first element takes to the next).
// The matcher can tell how those coming windows fare, since its carried
// path decides them: each consumes so many bytes and reports nothing. The
// scanner then passes over the run at once, with the offset, the line
// count, the window, the carry and the folded bytes where searching them
// one by one would have left them. It does so only over full windows whose
// bytes are already read, so that no read is skipped, and never for files
// read once per window.
//
// A case-insensitive search matches through widened pattern tables and
// never rewrites the text. The one place where folding shows is a window's
// leading bytes that the previous window had searched and carried: a
// folding scanner would have folded them in place, so the matcher prints
// them folded (and only when it prints them: windows that move on by one
// byte would otherwise copy almost a whole window each time).
#include "scanner.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bytescan.h"
#include "fyndle.h"
#include "matcher.h"
#include "output.h"
#include "pattern.h"
#include "report.h"

namespace {

struct ChunkReader {
    char *buffer;                  // kChunkSize bytes
    const std::atomic<bool> &stop; // the run is ending: read no more
    int fd;
    int64_t size;        // size of the file when opened
    int64_t bufferStart; // file position of buffer[0]
    int64_t bufferUsed;  // bytes of the file held in buffer
    int64_t totalRead;   // bytes read from the file so far
    bool atEnd;          // nothing more will be read
    bool perWindow;      // reads come back short: one read per window, each window ends where its read did

    // Makes [position, position + want) resident, or as much of it as the
    // file has. position must lie within the resident bytes or at their end.
    // In per-window mode it reads once, whatever is resident.
    void ensure(int64_t position, int64_t want);
};

void ChunkReader::ensure(int64_t position, int64_t want)
{
    if (atEnd || (!perWindow && position + want <= bufferStart + bufferUsed))
        return;
    if (stop.load(std::memory_order_relaxed)) {
        atEnd = true;
        return;
    }
    int64_t keep = bufferStart + bufferUsed - position;
    std::memmove(buffer, buffer + (position - bufferStart), static_cast<size_t>(keep));
    bufferStart = position;
    bufferUsed = keep;
    // A file whose reads come back short is known by its first read, before
    // any window depends on it: a read that gives less than a window where
    // more was asked and the file has more is what a one-read-per-window
    // search would have got too. A read that gives a window or more leaves
    // every such read whole, and the windows as those of full reads.
    bool first = totalRead == 0;
    while (bufferUsed < static_cast<int64_t>(kChunkSize)) {
        const int64_t ask = perWindow ? want - bufferUsed : static_cast<int64_t>(kChunkSize) - bufferUsed;
        ssize_t got = read(fd, buffer + bufferUsed, static_cast<size_t>(ask));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) { // a read error ends the file like its end does
            atEnd = true;
            return;
        }
        bufferUsed += got;
        totalRead += got;
        if (totalRead >= size) { // the file as it was when opened is all in
            atEnd = true;
            return;
        }
        if (first && got < ask && got < want)
            perWindow = true;
        if (perWindow)
            return;
        first = false;
    }
}

int64_t countLines(FileSearcher &searcher, int fd)
{
    int64_t lines = 0;
    while (!searcher.stop.load(std::memory_order_relaxed)) {
        ssize_t got = read(fd, searcher.buffer.get(), kChunkSize);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        lines +=
            CountNewlines(reinterpret_cast<const unsigned char *>(searcher.buffer.get()), static_cast<size_t>(got));
    }
    return lines;
}

// Bytes of the window window[0..filled) that are searched: up to and
// including its last newline at or after kCutFrom, or all of them.
int cutLength(const char *window, int filled)
{
    if (filled > kCutFrom) {
        const void *newline = memrchr(window + kCutFrom, '\n', static_cast<size_t>(filled - kCutFrom));
        if (newline != nullptr)
            return static_cast<int>(static_cast<const char *>(newline) - window) + 1;
    }
    return filled;
}

// Cut ends of full windows met in the order of their starts, each newline
// of the held bytes looked for once: a window is cut after the last newline
// before its end, when that one lies at or after its cut point.
struct CutFinder {
    const ChunkReader &reader;
    int64_t last; // file position of the last newline before the last window's end, or -1
    int64_t next; // the first one after it, or the end of the held bytes

    int64_t heldEnd() const { return reader.bufferStart + reader.bufferUsed; }

    // The first newline at or after file position from, or the held end.
    // Lines are short: the first blocks are looked at without a call.
    int64_t newlineFrom(int64_t from) const
    {
        const int64_t heldEnd = this->heldEnd();
        if (from >= heldEnd)
            return heldEnd;
        const auto *held = reinterpret_cast<const unsigned char *>(reader.buffer + (from - reader.bufferStart));
        return from + static_cast<int64_t>(FindNearByte(held, static_cast<size_t>(heldEnd - from), '\n'));
    }

    // One past the searched part of the full window at file position start.
    // The last newline before the window's end is looked for from there
    // backwards: a pass over stuck windows may jump over many lines.
    int64_t windowEnd(int64_t start)
    {
        const int64_t to = start + kWindowSize;
        const int64_t end = to < heldEnd() ? to : heldEnd();
        if (next < end) { // next is a newline: the search finds one
            const char *from = reader.buffer + (next - reader.bufferStart);
            last = next + (static_cast<const char *>(memrchr(from, '\n', static_cast<size_t>(end - next))) - from);
            next = newlineFrom(last + 1);
        }
        return last >= start + kCutFrom ? last + 1 : to;
    }
};

// Called when the full window before windowStart consumed nothing (or, with
// a first byte, ran off its end with the carried path pending): passes
// over the run of windows from windowStart on that the matcher can tell
// (StuckWindows, WindowStop), as if each had been searched, adding what
// each consumed to the offset and moving the window, the carry and the
// folded bytes on as it would have. Only full windows whose bytes are all
// at hand are passed over, so that each one's cut is found here as its
// search would find it. Where every such window consumes nothing (element 0
// takes runs), the run is found by a binary search: cut ends never go down
// from one window to the next (the newline that ends one stays in the next
// one's tail or drops out of it, leaving that window uncut), so the stuck
// ones are a run.
void passStuckWindows(const CompiledPattern &pattern, const ChunkReader &reader, MatchState &state,
                      int64_t &windowStart, int &carried, int &folded, int64_t &offset)
{
    const int64_t heldEnd = reader.bufferStart + reader.bufferUsed;
    auto held = [&](int64_t position) {
        return reinterpret_cast<const unsigned char *>(reader.buffer) + (position - reader.bufferStart);
    };
    StuckRun run{};
    if (windowStart + kWindowSize > heldEnd ||
        !StuckWindows(pattern, state, Window{held(windowStart), windowStart, heldEnd - windowStart}, &run))
        return;
    int64_t foldedTo = windowStart + folded; // file position up to which the next window's bytes count as folded
    int64_t lastEnd = -1;                    // one past the searched part of the last window passed over
    if (run.entry == 0) {
        auto stuck = [&](int64_t start) {
            return WindowStop(pattern, run,
                              Window{held(start), start,
                                     cutLength(reader.buffer + (start - reader.bufferStart), kWindowSize)}) == 0;
        };
        int64_t low = windowStart;
        int64_t high = heldEnd - kWindowSize;
        if (!stuck(low))
            return;
        while (low < high) { // the last start whose window is stuck
            const int64_t middle = low + (high - low + 1) / 2;
            if (stuck(middle))
                low = middle;
            else
                high = middle - 1;
        }
        lastEnd = low + cutLength(reader.buffer + (low - reader.bufferStart), kWindowSize);
        windowStart = low + 1;
        carried = kWindowSize - 1;
    } else {
        CutFinder cuts{reader, -1, 0};
        cuts.next = cuts.newlineFrom(windowStart);
        for (int64_t start = windowStart; start + kWindowSize <= heldEnd;) {
            // As many as the matcher tells at once, then one by one.
            const StuckPass pass =
                PassStuckWindows(pattern, run, Window{held(start), start, heldEnd - start}, kWindowSize);
            if (pass.last >= 0) {
                offset += pass.consumed;
                lastEnd = cuts.windowEnd(pass.last);
                carried = kWindowSize - static_cast<int>(pass.next - pass.last);
                windowStart = start = pass.next;
                if (start + kWindowSize > heldEnd)
                    break;
            }
            const int64_t end = cuts.windowEnd(start);
            const int64_t stop = WindowStop(pattern, run, Window{held(start), start, end - start});
            if (stop < 0)
                break;
            offset += stop;
            const int advance = stop > 0 ? static_cast<int>(stop) : 1;
            lastEnd = end;
            start += advance;
            windowStart = start;
            carried = kWindowSize - advance;
        }
        if (lastEnd < 0)
            return;
    }
    if (lastEnd > foldedTo)
        foldedTo = lastEnd;
    if (!g_fMatchCase) // the bytes each of them searched count as folded
        folded = static_cast<int>(foldedTo - windowStart);
    state.lastWindowEnd = lastEnd;
}

int64_t searchFile(FileSearcher &searcher, int fd, int64_t size, const char *path)
{
    const CompiledPattern &pattern = *searcher.pattern;
    ChunkReader reader{searcher.buffer.get(), searcher.stop, fd, size, 0, 0, 0, false, false};
    const char *name = g_fFileNamesOnly ? nullptr : path;
    int64_t offset = 0; // running byte offset handed to the matcher
    int64_t line = 0;   // running line counter
    int64_t total = 0;
    int64_t windowStart = 0; // file position of the window's first byte
    int carried = 0;         // bytes the window keeps from the last one
    int folded = 0;          // leading bytes of the window a folding scanner would have folded
    MatchState state{};      // what the matcher carries from window to window
    state.reports = &searcher.reports;
    state.holdReports = true; // a file's reports go out together, at its end
    while (offset < size) {
        reader.ensure(windowStart, kWindowSize);
        int64_t fresh = reader.bufferStart + reader.bufferUsed - (windowStart + carried);
        if (fresh <= 0)
            break;
        const int filled = carried + static_cast<int>(fresh < kWindowSize - carried ? fresh : kWindowSize - carried);
        char *window = reader.buffer + (windowStart - reader.bufferStart);

        const int searched = cutLength(window, filled);

        // The matcher prints these leading bytes folded, when it prints them.
        state.printFolded = folded < searched ? folded : searched;
        // Once the file is all read, its bytes stay where they are: the
        // matcher may leave the newlines it passes uncounted until it needs
        // a line number.
        state.lazyLines = reader.atEnd && !reader.perWindow;

        const int64_t before = offset;
        total += SearchWindow(pattern, state, MatchWindow{name, window, window, searched, windowStart, g_fMatchWord},
                              &offset, &line);
        const int64_t consumed = offset - before;
        // A window in which nothing was consumed still moves on by one byte.
        int64_t leftover = searched - consumed - (consumed == 0 ? 1 : 0);
        if (leftover < 0)
            leftover = 0;
        const int advance = searched - static_cast<int>(leftover);
        const int foldedEnd = g_fMatchCase ? 0 : (searched > folded ? searched : folded);
        folded = foldedEnd > advance ? foldedEnd - advance : 0;
        windowStart += advance;
        carried = filled - advance;
        if ((consumed == 0 || (pattern.first != 0 && state.carried.valid)) && filled == kWindowSize &&
            !reader.perWindow)
            passStuckWindows(pattern, reader, state, windowStart, carried, folded, offset);
    }
    ReportFlush(searcher.reports);
    return total;
}

} // namespace

FileSearcher::FileSearcher(const CompiledPattern *searched, OutputSink &sink, const std::atomic<bool> &stopFlag)
    : pattern(searched), out(sink), stop(stopFlag), buffer(new (std::nothrow) char[kChunkSize])
{
    reports.out = &sink;
    reports.used = 0;
}

int OpenFileAt(int dirFd, const char *name, CacheProbe *probe)
{
    // O_NOFOLLOW: a name swapped for a link since it was listed must not
    // lead out of the tree; O_NONBLOCK: nor may one that turned into a FIFO
    // hang the run.
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    if (probe != nullptr && !probe->unsupported) {
        open_how how{};
        how.flags = kFlags;
        how.resolve = RESOLVE_CACHED;
        const int fd = static_cast<int>(syscall(SYS_openat2, dirFd, name, &how, sizeof how));
        probe->cached = fd >= 0 || errno != EAGAIN;
        if (fd >= 0 || (errno != EAGAIN && errno != ENOSYS && errno != EINVAL))
            return fd;
        probe->unsupported = errno != EAGAIN;
    }
    return openat(dirFd, name, kFlags);
}

int64_t ScanOpenFile(FileSearcher &searcher, int fd, const char *path)
{
    struct stat status;
    if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
        close(fd);
        fd = -1;
    }
    if (g_fCountLines) {
        if (fd < 0)
            return 0;
        int64_t lines = countLines(searcher, fd);
        close(fd);
        return lines;
    }
    if (fd < 0) {
        ReportUnopenable(searcher.out, path);
        return 0;
    }
    int64_t total = 0;
    // A pattern that can never match finds nothing in any file: its bytes
    // need not be read.
    if (status.st_size > 0 && !searcher.pattern->plan.neverMatches)
        total = searchFile(searcher, fd, status.st_size, path);
    close(fd);
    if (g_fFileNamesOnly && total > 0)
        ReportFileCount(searcher.out, path, total);
    return total;
}
