// Skip finders: vector scans that pass over attempts known to fail. Each
// takes the window as window indices and the compiled pattern, reads only
// [0, len) of the text and keeps no state.
#pragma once

#include <cstdint>

#include "pattern.h"

// For a pattern of one-byte elements (pattern.plan.literal): moves *pos to the next
// start from which the whole pattern matches and returns true; or, when no
// such start lies far enough from the window's end to be decided here,
// moves *pos to the first start that the ordinary search must try and
// returns false. Attempts at the starts passed over would fail without
// running off the window.
bool FindLiteral(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t *pos);

// For a star-tail pattern (pattern.plan.starTail): the first start at or after pos
// from which an attempt may run off the window; starts before it only
// match or fail.
int64_t StarTailUndecided(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t pos);

// The run of the star last found by FindStarHead in this window: a star
// that begins anywhere in [from, end] ends at end. Start a window with
// from > end.
struct StarRun {
    int64_t from; // where the run began
    int64_t end;  // the first byte the star refuses, or the window's length
};

// A star-tail search through one window.
struct StarScan {
    int64_t pos;       // the next start to try
    int64_t undecided; // starts from here on may run off the window (StarTailUndecided, or len for heads)
    StarRun run;       // FindStarHead's last run
    // FindStarTail's last tail that ends a run and matches: bytes from
    // tailRunFrom up to tailAt are all ones the star takes.
    int64_t tailAt, tailRunFrom, tailEnd; // its first byte, where its run began at the latest, its match end
};

// For a star-tail pattern: moves scan->pos to the next start from which the
// pattern matches, sets *end past the match and returns true; or, when no
// such start lies before scan->undecided, moves scan->pos to the first
// start the ordinary search must try and returns false. Every start passed
// over would fail without running off the window.
bool FindStarTail(const CompiledPattern &pattern, const unsigned char *text, int64_t len, StarScan *scan, int64_t *end);

// For a star-tail pattern whose head is the rarer (plan.headFirst): moves
// scan->pos to the next start from which the pattern matches, sets *end
// past the match and returns true; or, when it comes to a start from which
// an attempt may run off the window, moves scan->pos and scan->undecided
// there and returns false. Every start passed over would fail without
// running off the window.
bool FindStarHead(const CompiledPattern &pattern, const unsigned char *text, int64_t len, StarScan *scan, int64_t *end);

// For a pattern with a scan for its head (plan.skipHeads): the first start at or
// after pos whose head matches, or the first whose head reaches the
// window's last byte. The starts passed over fail without running off the
// window, whatever earlier windows left behind.
int64_t SkipFailingHeads(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t pos);

// The first position in [from, len) whose byte element k (one that takes
// runs) refuses, or len: where a run of it that reaches from ends.
int64_t RunEnd(const CompiledPattern &pattern, int element, const unsigned char *text, int64_t from, int64_t len);

// The first position in [from, to) at which an attempt may not fail at once
// (plan.skipStarts: one of the leading elements takes its byte), or to.
int64_t NextStart(const CompiledPattern &pattern, const unsigned char *text, int64_t from, int64_t to);

// For a pattern whose leading elements are stars and optionals before a
// one-byte element (plan.skipStarts, plan.startSingle above 0): when the
// attempt at start fails at that element, without running off the window,
// the next start that may not fail the same way (every start up to the end
// of element 0's run fails there too); else -1 (the attempt must be made).
int64_t PassFailingStart(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t start);

// For a pattern with an end scan (plan.endScan): the first start at or
// after pos that may not fail. Every start before it stops short of the
// next end value, where the last element refuses the byte, and fails
// without running off the window. *walked: the bytes walked back over.
int64_t PassStartsBeforeEnd(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t pos,
                            int64_t *walked);
