// Matcher and match report: runs the compiled pattern over one window of
// text and prints a report per matching line (or per match, binary mode).
#pragma once

#include <cstdint>

// Searches text[0..len) with the compiled pattern (g_aiPattern, g_aiPatCount,
// g_cPattern, g_chFirst) and returns the number of matches counted.
//   name      the path printed in reports, or null to count without printing
//   text      the window to search (for a case-insensitive search the pattern
//             tables are widened instead of folding the text)
//   *offset   the file offset of text[0]; grows by the bytes consumed, i.e.
//             up to where the search got (at most len): the caller carries
//             the rest into the next window
//   *line     running count of newlines before the current position
//   print     the bytes printed, at the same positions as text
//   matchWord drop matches that touch a letter, digit or '_'
// A len below 1 returns 0 and changes nothing.
int iGrepText(const char *name, const char *text, int len, int64_t *offset, int64_t *line,
              const char *print, int matchWord);

// Turns the matcher's shortcuts (the skipping scans) off or on; they are on
// at start. Off, every attempt is made in order the plain way: tests and the
// fuzzer compare the two, which must agree in everything.
void SetMatcherShortcuts(bool on);
