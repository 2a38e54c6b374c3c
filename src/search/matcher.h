// Matcher and match report: runs the prepared pattern over one window of
// text and reports each matching line (or each match, binary mode).
#pragma once

#include <cstdint>

#include "matcher_attempt.h"

// One window handed to the matcher, and how its matches are reported.
struct MatchWindow {
    const char *name;  // the path printed in reports, or null to count without printing
    const char *text;  // the window to search (for a case-insensitive search the pattern is widened instead)
    const char *print; // the bytes printed, at the same positions as text
    int len;           // bytes of text
    int64_t start;     // file position of text[0]
    int matchWord;     // drop matches that touch a letter, digit or '_'
};

// Searches window.text[0..len) with the prepared pattern and returns the
// number of matches counted.
//   *offset  grows by the bytes consumed, i.e. up to where the search got
//            (at most len): the caller carries the rest into the next window
//   *line    running count of newlines before the current position
// The reports go to *state.reports (a batch of the call's own when null) and
// are flushed before it returns, unless state.holdReports leaves that to
// the caller. A len below 1 returns 0 and changes
// nothing. state (one per file, zero-initialised before the first window,
// owned by the caller) keeps what the search learnt: windows must come in
// the file's order, each starting at or after the one before and ending at
// or after it, with the same bytes where they overlap; an attempt that ran
// into the end of one window then goes on in the next from where it
// stopped instead of starting over.
int SearchWindow(const CompiledPattern &pattern, MatchState &state, const MatchWindow &window, int64_t *offset,
                 int64_t *line);

// The same for a window searched alone (nothing is known from earlier
// windows), with the arguments of the designed matcher: the path (or null),
// the window, its length, the running offset and line counter, the printed
// bytes and the word switch.
int iGrepText(const CompiledPattern &pattern, const char *name, const char *text, int len, int64_t *offset,
              int64_t *line, const char *print, int matchWord);
