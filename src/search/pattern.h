// Pattern compiler: turns the pattern text into per-byte element masks, and
// prepares the one compiled pattern every search of a run reads.
#pragma once

#include <cstdint>

#include "fyndle.h"
#include "matcher_plan.h"

// A compiled pattern, immutable once prepared: any number of searching
// threads read it at the same time. Element k owns bit 1 << k of the table.
struct CompiledPattern {
    uint32_t table[256];              // per byte value: bit k set when element k accepts it (widened for case)
    uint32_t flags[kMaxElements + 1]; // per element: its flags; then kFlagEnd
    int count;                        // elements; 0: syntax error, nothing may be searched
    unsigned char first;              // byte element 0 must be, or 0
    unsigned char firstOther;         // `first` in its other case when case is ignored, else `first`
    bool matchCase;                   // compiled for a case-sensitive search
    SearchPlan plan;                  // what the matcher may skip

    // Element k accepts byte b: its table bit, inverted when it is negated.
    bool Accepts(int element, unsigned char byte) const
    {
        return (((table[byte] >> element) & 1u) != 0) != ((flags[element] & kFlagNegated) != 0);
    }
    // Element k takes exactly one byte (a single, negated or not).
    bool TakesOneByte(int element) const { return (flags[element] & ~kFlagNegated) == kFlagSingle; }
};

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
// compiles it with the given syntax into *compiled from a cleared table;
// unless matchCase, widens the table for case; then makes the search plan.
// Writes no option. Returns false on a syntax error (compiled->count == 0:
// no search may run with it).
bool PreparePattern(char *pattern, int regExp, int matchCase, CompiledPattern *compiled);
