// Pattern compiler: turns the pattern text into per-byte element masks.
#pragma once

#include <cstdint>

// Compiles pattern into table (per byte value: bit k set when element k
// accepts that byte; entries 0..tableLen-1 are cleared first) and flags (one
// word per element, then kFlagEnd; all kMaxElements + 1 words are cleared).
// *chFirst becomes the byte element 0 must be when element 0 is a literal
// (or '^' under the regular-expression syntax), else 0. Returns the number
// of elements; 0 means nothing was made and is a syntax error (empty
// pattern, only ignored escapes, a trailing lone backslash or "\~").
int ParsePattern(uint32_t *table, int tableLen, uint32_t *flags, const char *pattern, unsigned char *chFirst,
                 int regExp);

// For a case-insensitive search: lets every upper-case letter of the table
// accept what its lower-case letter accepts, so that unfolded text matches
// exactly as folded text would.
void WidenPatternForCase(uint32_t *table);

// Prepares the pattern for a run, the one way every search gets its pattern:
// unless matchCase, lowers pattern in place (as the command line folds it);
// compiles it into g_aiPattern, g_aiPatCount, g_cPattern and g_chFirst with
// the given syntax; unless matchCase, widens the table for case; then sets
// g_fMatchCase and makes the search plan. Returns g_cPattern (0: syntax
// error, and no search may run). Call it while no search runs; afterwards
// the pattern and its plan are only read.
int PreparePattern(char *pattern, int regExp, int matchCase);
