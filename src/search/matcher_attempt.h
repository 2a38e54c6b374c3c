// Attempt engine: runs the compiled pattern's elements over a window from
// one start, remembering what earlier attempts found so that no state is
// worked twice.
//
// The engine's words:
//   state         a pair (element k, file position p): the attempt is at
//                 element k and about to examine the byte at p
//   path          the states one attempt goes through, in order
//   row           one element, as an index into the per-element tables a
//                 path is kept in (memo*, CarriedPath::lo and hi)
//   stretch       per element, the first and last position a path spent on
//                 it; a later attempt that reaches the element inside the
//                 stretch is on that path from there on
//   frontier      the state a path stopped at when it ran into the
//                 window's end: where it goes on once more text is there
//   carried path  the path that ran into the end of the last window,
//                 kept for the next one, which overlaps it
//   stuck window  a window whose search consumed nothing (its first
//                 attempt ran off its end): the next window starts one
//                 byte later
#pragma once

#include <cstdint>

#include "pattern.h"

struct ReportBatch;

enum class AttemptEnd { Success, Fail, RanOut };

// What a path of states is known to end in: the file position where its
// match ends (0 or more), or one of these.
inline constexpr int64_t kPathFails = -1;
inline constexpr int64_t kPathPending = -2; // ran into a window's end; goes on in the next

// One window of text as the engine sees it.
struct Window {
    const unsigned char *text; // its bytes, text[0..len)
    int64_t base;              // file position of text[0]
    int64_t len;               // its length
};

// The path that ran into the end of the last window searched: the next
// window, which overlaps it, goes on from its frontier.
struct CarriedPath {
    bool valid;               // a path is carried
    int first, rows;          // it holds elements first..rows-1
    int64_t lo[kMaxElements]; // per element: its first file position there
    int64_t hi[kMaxElements]; // and its last (the frontier included)
    int element;              // frontier: the state it goes on from...
    int64_t pos;              // ...at this file position (maybe one past the window)
    int64_t end;              // kPathPending, or its outcome once found
    int64_t windowEnd;        // file position one past the window it ran into
};

// All the mutable state of one file's search (or one window's, for a caller
// that keeps none): what the attempts have learnt about the states
// (element, file position) they went through, and where reports go. One
// per search in progress; never shared between threads. Zero-initialised
// (with reports set) is a valid start.
struct MatchState {
    ReportBatch *reports;  // set by the caller: where this file's match reports go (null: a batch of the call's own)
    bool plain;            // set by the caller: no shortcuts, every attempt in order and in full (the reference)
    bool holdReports;      // set by the caller: reports may stay in *reports after a window; the caller flushes them
    int printFolded;       // set by the caller: leading bytes of the window that print in lower case
    bool useMemo;          // remember and reuse paths (off: every attempt runs in full)
    int64_t steps;         // states worked so far, all windows (for tests)
    int64_t lastWindowEnd; // file position one past the last window searched

    // This window: per element that takes runs, the stretch of the last
    // path that went through it, and what that path ended in.
    int memoRows;                  // elements 0..memoRows-1 may hold a path
    int64_t memoLo[kMaxElements];  // first file position of the path on the element
    int64_t memoHi[kMaxElements];  // last one (none when memoHi < memoLo)
    int64_t memoEnd[kMaxElements]; // its match end or kPathFails

    CarriedPath carried; // the path carried from the last window

    // A stop-star pattern: file positions [stopFreeFrom, stopFreeTo) were
    // found to hold none of the star's stop values.
    int64_t stopFreeFrom, stopFreeTo;

    // The newlines a first-byte scan passed are counted when a line number
    // is next needed, not as it passes them: most files of a rare pattern
    // need none.
    bool lazyLines;                     // set by the caller: the file's bytes stay where they are from this window on
    int64_t uncountedFrom, uncountedTo; // file positions whose newlines *line lacks (none when equal)
};

// How an attempt ended. On success `end` is one past the last byte
// examined (a window index). On failure it is the shortest window length in
// which the attempt fails (one past the byte refused, two past it for a
// one-byte element, which runs off a window that ends right after it), or 0
// when the outcome was taken over from an earlier path and where it was
// decided is not known.
struct AttemptResult {
    AttemptEnd outcome;
    int64_t end;
};

// Runs the elements from `element` on, starting at window.text[pos]. With
// state.useMemo, a state that an earlier attempt of this window (or the
// carried path) went through ends the attempt at once with that path's
// outcome, or goes on from the carried path's frontier; an attempt that
// runs off the window becomes the carried path.
AttemptResult RunAttempt(const CompiledPattern &pattern, MatchState &state, const Window &window, int element,
                         int64_t pos);

// The windows after one that consumed nothing, as far as the carried path
// decides them (StuckWindows).
struct StuckRun {
    int entry;           // element at which a window's search meets the carried path: 0 or 1
    int64_t lo, hi;      // the path's first and last file position on that element
    int64_t stuckBefore; // a window ending (one past its last byte) before this leaves the path undecided
};

// Call after a window of a file searched window by window in which nothing
// was consumed, or (with a first byte) whose search ran off its end (the
// state's carried path is then valid); held is the file's bytes from
// held.base (where the next window starts) on, as far as the caller holds
// them. Returns false when the coming
// windows cannot be told from the carried path; else fills *run for
// WindowStop. The carried path goes on over the held bytes on the way (it
// may then reach past the next window's end), and the state stays right for
// whichever window at or after held.base is searched next.
bool StuckWindows(const CompiledPattern &pattern, MatchState &state, const Window &held, StuckRun *run);

// For the window (one of those after the window StuckWindows was called
// for): how many bytes its search consumes, reporting nothing and counting
// no line, or -1 when run does not tell (the caller then searches it).
int64_t WindowStop(const CompiledPattern &pattern, const StuckRun &run, const Window &window);

// Windows passed over at once (PassStuckWindows).
struct StuckPass {
    int64_t next;     // file position where the first window not passed over starts
    int64_t consumed; // bytes the searches of those passed over consumed, together
    int64_t last;     // where the last of them starts, or -1 when none was passed over
};

// For the windows from held.base on, one after another as a window-by-window
// search would make them, each of windowLen bytes unless cut earlier, that
// the run tells (those after the window StuckWindows was called for): when
// element 1 runs after a one-byte element 0 (or a first byte), passes over
// as many of them as it can tell at once, each stopping at the next byte
// element 0 takes, reporting nothing and counting no line. The caller then
// goes on with WindowStop from pass.next.
StuckPass PassStuckWindows(const CompiledPattern &pattern, const StuckRun &run, const Window &held, int64_t windowLen);
