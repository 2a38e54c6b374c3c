// Attempt engine: runs the compiled pattern's elements over a window from
// one start, remembering what earlier attempts found so that no state is
// worked twice.
#pragma once

#include <cstdint>

#include "fyndle.h"
#include "report.h"

// The elements whose states the engine remembers: those that take runs.
inline constexpr uint32_t kRunFlags = kFlagStar | kFlagPlus;

enum class AttemptEnd { Success, Fail, RanOut };

// What a path of states is known to end in: the file position where its
// match ends (0 or more), or one of these.
inline constexpr int64_t kPathFails = -1;
inline constexpr int64_t kPathPending = -2; // ran into a window's end; goes on in the next

// All the mutable state of one file's search (or one window's, for a caller
// that keeps none): what the attempts have learnt about the states
// (element, file position) they went through. One per search in progress;
// never shared between threads. Zero-initialised is a valid start.
struct MatchState {
    ReportBatch *reports;  // set by the caller: where the reports of this search go
    int printFolded;       // set by the caller: leading bytes of the window that print in lower case
    bool useMemo;          // remember and reuse paths (off: every attempt runs in full)
    int64_t steps;         // states worked so far, all windows (for tests)
    int64_t lastWindowEnd; // file position one past the last window searched

    // This window: per element that takes runs, the states of the last
    // path that went through it, and what that path ended in.
    int memoRows;                  // elements 0..memoRows-1 may hold a path
    int64_t memoLo[kMaxElements];  // first file position of the path on the element
    int64_t memoHi[kMaxElements];  // last one (none when memoHi < memoLo)
    int64_t memoEnd[kMaxElements]; // its match end or kPathFails

    // The path that ran into the end of the last window searched: the next
    // window, which overlaps it, goes on from where it stopped.
    bool pendValid;               // a path is carried
    int pendFirst, pendRows;      // it holds elements pendFirst..pendRows-1
    int64_t pendLo[kMaxElements]; // per element: its first file position there
    int64_t pendHi[kMaxElements]; // and its last (the frontier included)
    int pendElement;              // frontier: the state it goes on from...
    int64_t pendPos;              // ...at this file position (maybe one past the window)
    int64_t pendEnd;              // kPathPending, or its outcome once found
    int64_t pendWindowEnd;        // file position one past the window it ran into
};

// Runs the elements from `element` on, starting at text[pos] of the window
// text[0..len) that begins at file position base. On success *end is one
// past the last byte examined (a window index). On failure it is the
// shortest window length in which the attempt fails (one past the byte
// refused, two past it for a one-byte element, which runs off a window
// that ends right after it), or 0 when the outcome was taken over from an
// earlier path and where it was decided is not known. With state.useMemo, a state
// that an earlier attempt of this window (or the carried path) went through
// ends the attempt at once with that path's outcome, or goes on from the
// carried path's frontier; an attempt that runs off the window becomes the
// carried path. The counts of g_aiMatchCount are kept for the states this
// attempt works itself.
AttemptEnd RunAttempt(MatchState &state, const unsigned char *text, int64_t base, int64_t len, int64_t pos, int element,
                      int64_t *end);

// The windows after one that consumed nothing, as far as the carried path
// decides them (StuckWindows).
struct StuckRun {
    int entry;           // element at which a window's search meets the carried path: 0 or 1
    int64_t lo, hi;      // the path's first and last file position on that element
    int64_t stuckBefore; // a window ending (one past its last byte) before this leaves the path undecided
};

// Call after a window of a file searched window by window in which nothing
// was consumed; text[0..len) are the file's bytes from nextStart (that
// window's start + 1) on, as far as the caller holds them. Returns false
// when the coming windows cannot be told from the carried path; else fills
// *run for WindowStop. The carried path goes on over text on the way (it
// may then reach past the next window's end), and the state stays right for
// whichever window at or after nextStart is searched next.
bool StuckWindows(MatchState &state, const unsigned char *text, int64_t nextStart, int64_t len, StuckRun *run);

// For the window text[0..len) at file position start, one of those after
// the window StuckWindows was called for: how many bytes its search
// consumes, reporting nothing and counting no line, or -1 when run does
// not tell (the caller then searches it).
int64_t WindowStop(const StuckRun &run, const unsigned char *text, int64_t start, int64_t len);
