// Matcher and match report: runs the prepared pattern over one window of
// text and prints a report per matching line (or per match, binary mode).
#pragma once

#include <cstdint>

#include "matcher_attempt.h"

// Searches text[0..len) with the prepared pattern (PreparePattern, in
// pattern.h) and returns the number of matches counted.
//   name      the path printed in reports, or null to count without printing
//   text      the window to search (for a case-insensitive search the pattern
//             tables are widened instead of folding the text)
//   *offset   grows by the bytes consumed, i.e. up to where the search got
//             (at most len): the caller carries the rest into the next window
//   *line     running count of newlines before the current position
//   print     the bytes printed, at the same positions as text
//   matchWord drop matches that touch a letter, digit or '_'
// A len below 1 returns 0 and changes nothing. The window is searched alone:
// nothing is known from earlier windows.
int iGrepText(const char *name, const char *text, int len, int64_t *offset, int64_t *line, const char *print,
              int matchWord);

// The same for one window of a file searched window by window: state (one
// per file, zero-initialised before the first window, owned by the caller)
// keeps what the search learnt, and windowStart is the file position of
// text[0]. Windows must come in the file's order, each starting at or after
// the one before and ending at or after it, with the same bytes where they
// overlap; an attempt that ran into the end of one window then goes on in
// the next from where it stopped instead of starting over.
int SearchWindow(MatchState *state, int64_t windowStart, const char *name, const char *text, int len, int64_t *offset,
                 int64_t *line, const char *print, int matchWord);

// Turns the matcher's shortcuts (skipping scans, remembered and carried
// paths) off or on; they are on at start. Off, every attempt is made in
// order and in full, the plain way: tests and the fuzzer compare the two,
// which must agree in everything. Set it only while no search runs.
void SetMatcherShortcuts(bool on);
