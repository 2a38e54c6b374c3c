// Matcher: the search of one window and its reports.
//
// An attempt runs the elements over the text from one start position.
// With a first byte the start is found by a bulk scan, element 0
// counts as matched there, and the scan counts the newlines it passes; the
// line counter otherwise moves only over the bytes of successful matches.
// An attempt that runs into the end of the window stops the search of the
// window: the caller carries the rest into the next one, where the attempt
// is made again with more text (the attempt engine goes on from where it
// stopped when the caller keeps a MatchState for the file).
//
// The attempts themselves are the attempt engine's (matcher_attempt.cpp),
// which works every state at most once. On top of it, the skip finders
// (matcher_skip.cpp) pass over starts whose attempts fail: a pattern whose
// elements all take one byte is looked for by its two rarest bytes; a head
// of one-byte elements, a star and a tail of singles by its head or its
// tail, whichever is rarer; any head of two or more one-byte elements by
// its two rarest; without a first byte, the leading elements up to the
// first one-byte element skip the bytes none of them takes (and, when that
// element is the last, the starts before the run that reaches its next
// value, a match's only possible end); a pattern
// whose first element can never get past its second only looks for where
// an attempt first runs off the window (one that can never match for any
// reason is not searched at all by the scanner). A pattern of a one-byte
// start, a star that refuses one or two values and a last element that
// takes them (a "stop star") makes no attempts at all but for the one that
// runs off the window: every start before the next stop value matches up
// to it, so each stop is looked for once and the lines before it are
// reported in one walk (in a window searched from its start, over its
// bytes classified beforehand into sets of bits: each step of the walk
// is then a few operations on words, not a scan that waits on the last).
// Those scans go over the window from its start, so they are not used in a
// window that mostly repeats the last one (as windows that move on by one
// byte do): there the carried path decides the starts at once. Only the
// scan for heads that fail is used in every window, as the first-byte scan
// is: it passes over starts without looking at what follows them.
#include "matcher.h"

#include <cctype>
#include <cstring>

#include "bytescan.h"
#include "matcher_skip.h"
#include "report.h"

namespace {

bool isWordByte(unsigned char byte)
{
    return byte == '_' || std::isalnum(byte);
}

// How many of the bytes from `from` on are printed folded: those before
// `folded`.
size_t foldedFrom(int64_t from, int64_t folded)
{
    return from < folded ? static_cast<size_t>(folded - from) : 0;
}

// What a walk from one start of runStopStarLines to the next passed.
struct LineGap {
    int64_t lineStart = -1; // one past the last line delimiter passed, or -1: none
    int64_t newlines = 0;   // newlines passed
};

// One step of that walk from a start: the end of its line, then the gap
// to the next start.
struct LineStep {
    int64_t lineEnd; // the first line delimiter after the start, or the window's length
    LineGap gap;     // from the line's end up to the next start (pos)
};

// A window whose first newline comes within this many bytes is classified
// for the stop-star line walk.
constexpr int64_t kLineWithin = 512;

// The next attempt's start and how it ended.
struct Candidate {
    int64_t start;
    AttemptResult result;
};

// The search of one window in progress: where it stands, and which of the
// shortcuts it may take.
struct WindowSearch {
    const CompiledPattern &pattern;
    MatchState &state;
    const MatchWindow &in;
    ReportBatch &batch;
    int64_t offset; // running byte offset at the window's start
    int64_t *line;  // running line counter
    Window window;  // in.text as the engine reads it

    bool skipping = false;    // the skip finders scan this window (it does not mostly repeat the last one)
    bool literal = false;     // look for a pattern of one-byte elements by its rarest bytes
    bool starTail = false;    // look for a star-tail pattern by its head or tail
    bool skipHeads = false;   // pass over starts whose head fails
    bool skipStarts = false;  // pass over starts whose attempt fails at its first byte
    bool endScan = false;     // pass over starts that stop short of the next end value
    bool newlineFree = false; // no match holds a newline
    bool stopStar = false;    // a match ends at the first stop value after its start
    StarScan star{};          // the star-tail finders' place

    int reports = 0;
    int64_t pos = 0;                     // where the next attempt (or first-byte scan) begins
    int64_t counted = 0;                 // with a first byte: newlines before this are in *line
    int64_t stop = 0;                    // bytes consumed when the search of the window ends
    bool ranOut = false;                 // the search stopped at an attempt that ran off the window
    const ByteClassBits *bits = nullptr; // the window's bytes by class, when worked out (runStopStarLines)

    void begin();
    bool neverMatches();
    void run();
    void runStopStar();
    void runStopStarLines();
    void runStopStarClassified();
    LineGap walkToStart();
    LineStep nextLine();
    int64_t stopAfter(int64_t from);
    bool nextCandidate(Candidate *candidate);
    bool nextAtFirstByte(Candidate *candidate);
    bool nextAtStart(Candidate *candidate);
    void skipAfterFailure(int64_t start);
    void stopAt(int64_t start);
    void report(int64_t start, int64_t end);
    int64_t newlinesInMatch(int64_t from, int64_t to);
    void countLater(int64_t from, int64_t to);
    void countPassed();
    void finish();

    // The last match's newlines: a match over several lines is met again
    // from each of its lines (one report per line), with the same end.
    int64_t lastFrom = -1, lastTo = -1, lastNewlines = 0;
};

// Readies the state and the shortcuts for this window: forgets the last
// window's paths and keeps the carried one only if this window holds all
// of the text it went through.
void WindowSearch::begin()
{
    const bool shortcuts = !state.plain;
    const SearchPlan &plan = pattern.plan;
    const int64_t len = window.len;
    state.useMemo = shortcuts;
    state.memoRows = 0;
    CarriedPath &carried = state.carried;
    if (carried.valid)
        carried.valid = shortcuts && window.base <= carried.pos && window.base + len >= carried.windowEnd &&
                        carried.end == kPathPending;
    // The finders scan the window from its start: not worth it, and no
    // longer linear, when it mostly repeats the last one, as windows that
    // move on by one byte do.
    skipping = shortcuts && state.lastWindowEnd - window.base <= len / 2;
    literal = skipping && plan.literal;
    starTail = skipping && plan.starTail;
    skipStarts = shortcuts && plan.skipStarts;
    endScan = skipping && plan.endScan;
    newlineFree = shortcuts && plan.newlineFree;
    stopStar = shortcuts && plan.stopStar;
    // Starts whose head of one-byte elements fails before the window's last
    // byte fail at once, in every window: a scan as cheap as the first-byte
    // one passes over them.
    skipHeads = shortcuts && plan.skipHeads;
    star = StarScan{0, 0, StarRun{0, -1}, -1, 0, 0};
    if (starTail)
        star.undecided = plan.headFirst ? len : StarTailUndecided(pattern, window.text, len, 0);
    if (in.name != nullptr)
        ReportName(batch, in.name, std::strlen(in.name), in.print + in.len);
}

// A pattern no attempt can match: the search stops at the first attempt
// that runs off the window, the first start from which every byte up to
// the window's last (for a star: but one) is one element 0 takes.
bool WindowSearch::neverMatches()
{
    const SearchPlan &plan = pattern.plan;
    if (!skipping || !(plan.neverStar || plan.neverPlus))
        return false;
    const int64_t len = window.len;
    int64_t from = plan.neverStar ? len - 1 : len;
    while (from > 0 && plan.firstAccepts[window.text[from - 1]])
        --from;
    state.steps += len - from;
    stop = from;
    return true;
}

void WindowSearch::run()
{
    if (stopStar) {
        if (pattern.plan.stopStarLines && !g_fBinary && !in.matchWord)
            runStopStarLines();
        else
            runStopStar();
        return;
    }
    for (;;) {
        Candidate candidate;
        if (!nextCandidate(&candidate))
            return;
        switch (candidate.result.outcome) {
        case AttemptEnd::Fail:
            skipAfterFailure(candidate.start);
            break;
        case AttemptEnd::RanOut:
            stopAt(candidate.start);
            return;
        case AttemptEnd::Success:
            report(candidate.start, candidate.result.end);
            break;
        }
    }
}

// A stop-star pattern: every start before the next stop value matches up
// to it, so one search for the stop decides them all and no attempt is
// made for them. Only a start with no stop after it in the window is an
// attempt of the engine's: it runs off the window, and the engine carries
// its path into the next one.
void WindowSearch::runStopStar()
{
    const int64_t len = window.len;
    int64_t stopValue = -1; // the first stop value after the last start looked at
    for (;;) {
        if (pos < len - 1)
            pos = NextStart(pattern, window.text, pos, len - 1);
        if (pos >= len) {
            stop = len;
            return;
        }
        if (stopValue <= pos && pos < len - 1)
            stopValue = stopAfter(pos + 1);
        if (pos == len - 1 || stopValue >= len) {
            RunAttempt(pattern, state, window, 0, pos);
            stopAt(pos);
            return;
        }
        report(pos, stopValue + 1);
    }
}

// runStopStar's search reporting lines (text mode, no word check, element
// 0 taking no line delimiter): after a report the search goes on at the
// delimiter ending the line, so one walk over the bytes up to the next
// start finds where its line begins and the newlines passed, which the
// matches up to the same stop no longer hold.
void WindowSearch::runStopStarLines()
{
    countPassed();
    const int64_t len = window.len;
    // Classifying the window pays where it holds many lines, as text
    // files do: not in one long line.
    const bool classifiable =
        !state.plain && pattern.plan.startsInRanges && static_cast<size_t>(len) <= 64 * kClassWords &&
        std::memchr(window.text, '\n', static_cast<size_t>(len < kLineWithin ? len : kLineWithin)) != nullptr;
    if (classifiable && skipping) {
        runStopStarClassified();
        return;
    }
    int64_t stopValue = -1; // the first stop value after the last start looked at
    int64_t newlines = 0;   // newlines in [pos, stopValue + 1) when pos < stopValue
    LineGap gap = walkToStart();
    // So is a window that repeats most of the last one when a stop follows
    // its first start: it reports the lines up to the stop, and the window
    // after it consumes at least the bytes from there to this one's end.
    if (classifiable && pos < len - 1 && (stopValue = stopAfter(pos + 1)) < len) {
        runStopStarClassified();
        return;
    }
    for (;;) {
        if (stopValue > pos) {
            newlines -= gap.newlines;
        } else if (pos < len - 1) {
            stopValue = stopAfter(pos + 1);
            if (stopValue < len)
                newlines = CountNewlinesIn(window.text, static_cast<size_t>(len), static_cast<size_t>(pos),
                                           static_cast<size_t>(stopValue + 1));
        }
        if (pos == len - 1 || stopValue >= len) {
            RunAttempt(pattern, state, window, 0, pos);
            stopAt(pos);
            return;
        }
        const int64_t lineStart = gap.lineStart >= 0 ? gap.lineStart
                                  : pos == 0 || IsLineDelimiter(window.text[pos - 1])
                                      ? pos
                                      : static_cast<int64_t>(FindLineStart(window.text, static_cast<size_t>(pos)));
        const LineStep step = nextLine();
        ++reports;
        if (in.name != nullptr)
            ReportLine(batch, *line + 1, in.print + lineStart, static_cast<size_t>(step.lineEnd - lineStart),
                       foldedFrom(lineStart, state.printFolded));
        *line += newlines;
        if (step.lineEnd >= len) {
            stop = len;
            return;
        }
        gap = step.gap;
    }
}

// runStopStarLines over the window's bytes classified beforehand into
// sets of bits. The lines it reports are those that hold a start, each
// from its first start on: with those starts marked at once, each report
// works on words around its own start, not on where the last one ended.
void WindowSearch::runStopStarClassified()
{
    const auto len = static_cast<size_t>(window.len), last = len - 1;
    ByteClassBits classes;
    ClassifyWindow(window.text, len,
                   ClassesAsked{pattern.plan.startRanges, pattern.plan.runStopA[1], pattern.plan.runStopB[1]},
                   &classes);
    bits = &classes;
    const uint64_t *firsts = classes.firsts;
    const size_t words = (len + 63) / 64;
    const auto newlinesTo = [&](size_t at) { // newlines in [0, at)
        return classes.newlinesBefore[at / 64] +
               (at % 64 != 0 ? CountBits64Here(classes.newlines[at / 64] & ~(~uint64_t{0} << (at % 64))) : 0);
    };
    size_t word = 0;              // the word of the next start
    uint64_t pending = firsts[0]; // its starts not reached yet
    int64_t stopValue = -1;       // the first stop value after the last start looked at
    int64_t toStop = 0;           // newlines in [0, stopValue + 1)
    for (;;) {
        while (pending == 0 && ++word < words)
            pending = firsts[word];
        size_t start = pending != 0 ? 64 * word + static_cast<size_t>(__builtin_ctzll(pending)) : last;
        start = start < last ? start : last;
        pending &= pending - 1;
        pos = static_cast<int64_t>(start);
        if (stopValue <= pos && start < last) {
            stopValue = stopAfter(pos + 1);
            if (stopValue < window.len)
                toStop = newlinesTo(static_cast<size_t>(stopValue + 1));
        }
        if (start == last || stopValue >= window.len) {
            RunAttempt(pattern, state, window, 0, pos);
            stopAt(pos);
            return;
        }
        // The line's ends, mostly in the start's own word.
        const size_t word64 = start & ~size_t{63};
        const uint64_t around = classes.delimiters[start / 64];
        const uint64_t before = around & ((uint64_t{1} << (start % 64)) - 1),
                       after = around & (~uint64_t{1} << (start % 64));
        const size_t lineStart = before != 0 ? word64 + 64 - static_cast<size_t>(__builtin_clzll(before))
                                             : PastLastBit(classes.delimiters, word64);
        const size_t lineEnd = after != 0 ? word64 + static_cast<size_t>(__builtin_ctzll(after))
                                          : NextBit(classes.delimiters, word64 + 64, len);
        ++reports;
        if (in.name != nullptr)
            ReportLine(batch, *line + 1, in.print + lineStart, lineEnd - lineStart,
                       foldedFrom(static_cast<int64_t>(lineStart), state.printFolded));
        *line += toStop - newlinesTo(start);
        if (lineEnd >= len) {
            stop = window.len;
            return;
        }
    }
}

// From pos, the bytes up to the next start (or up to the window's last
// byte, where the attempt runs off): pos moves there.
LineGap WindowSearch::walkToStart()
{
    const unsigned char *text = window.text;
    const int64_t len = window.len;
    LineGap gap;
#if defined(__SSE2__)
    // The gap is mostly a line's end and the next one's indent: 16 bytes
    // at a time.
    while (pattern.plan.startsInRanges && pos + 16 <= len) {
        const unsigned limit = len - 1 - pos >= 16 ? 0xFFFFu : (1u << (len - 1 - pos)) - 1;
        const unsigned starts = InRangesMask(text + pos, pattern.plan.startRanges) & limit;
        const unsigned before = starts != 0 ? (starts & (0u - starts)) - 1 : limit;
        if (const unsigned delimiters = LineDelimiterMask(text + pos) & before) {
            gap.lineStart = pos + 32 - __builtin_clz(delimiters);
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + pos));
            gap.newlines += CountBits64Here(
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8('\n')))) & before);
        }
        if (starts != 0 || limit != 0xFFFFu) {
            pos += starts != 0 ? __builtin_ctz(starts) : len - 1 - pos;
            return gap;
        }
        pos += 16;
    }
#endif
    const unsigned char *byteClass = pattern.plan.byteClass;
    for (unsigned char kind = 0; pos < len - 1 && (kind = byteClass[text[pos]]) != kClassStart; ++pos)
        if (kind != 0) {
            gap.lineStart = pos + 1;
            gap.newlines += kind == kClassNewline;
        }
    return gap;
}

// From a start at pos (below the window's last byte): the end of its line
// and, unless that is the window's end, the walk on to the next start.
LineStep WindowSearch::nextLine()
{
    pos = static_cast<int64_t>(
        FindLineDelimiterIn(window.text, static_cast<size_t>(window.len), static_cast<size_t>(pos + 1)));
    const int64_t lineEnd = pos;
    return {lineEnd, lineEnd < window.len ? walkToStart() : LineGap{}};
}

// The first stop value of the star at or after window index from, or the
// window's length; bytes known to hold none are not looked at again.
// Inlined: a frequent pattern looks for hundreds of thousands of stops.
__attribute__((always_inline)) inline int64_t WindowSearch::stopAfter(int64_t from)
{
    const SearchPlan &plan = pattern.plan;
    const int64_t len = window.len;
    const int64_t freeFrom = state.stopFreeFrom - window.base;
    const int64_t freeTo = state.stopFreeTo - window.base;
    int64_t at = freeFrom <= from && from < freeTo ? (freeTo < len ? freeTo : len) : from;
    const int64_t scanned = at;
    at = bits != nullptr ? static_cast<int64_t>(NextBit(bits->stops, static_cast<size_t>(at), static_cast<size_t>(len)))
                         : at + static_cast<int64_t>(FindEitherByte(window.text + at, static_cast<size_t>(len - at),
                                                                    plan.runStopA[1], plan.runStopB[1]));
    state.steps += at - scanned;
    if (at >= len) {
        if (freeFrom <= from && from <= freeTo) {
            if (freeTo < len)
                state.stopFreeTo = window.base + len;
        } else {
            state.stopFreeFrom = window.base + from;
            state.stopFreeTo = window.base + len;
        }
    }
    return at;
}

// The next start worth an attempt, and the attempt's outcome; false when
// the window holds no more (stop set).
bool WindowSearch::nextCandidate(Candidate *candidate)
{
    const int64_t len = window.len;
    if (literal && FindLiteral(pattern, window.text, len, &pos)) {
        *candidate = {pos, {AttemptEnd::Success, pos + pattern.count}};
        return true;
    }
    if (starTail && pos < star.undecided) {
        star.pos = pos;
        int64_t end = 0;
        const bool found = pattern.plan.headFirst ? FindStarHead(pattern, window.text, len, &star, &end)
                                                  : FindStarTail(pattern, window.text, len, &star, &end);
        pos = star.pos;
        if (found) {
            *candidate = {pos, {AttemptEnd::Success, end}};
            return true;
        }
    }
    if (skipHeads)
        pos = SkipFailingHeads(pattern, window.text, len, pos);
    return pattern.first != 0 ? nextAtFirstByte(candidate) : nextAtStart(candidate);
}

// With a first byte: the next one in either case starts an attempt at
// element 1 after it; the scan counts the newlines it passes.
bool WindowSearch::nextAtFirstByte(Candidate *candidate)
{
    const auto ulen = static_cast<size_t>(window.len);
    const int64_t start = pos + static_cast<int64_t>(FindEitherByte(window.text + pos, ulen - static_cast<size_t>(pos),
                                                                    pattern.first, pattern.firstOther));
    if (start >= window.len) {
        countLater(counted, window.len);
        stop = window.len;
        return false;
    }
    candidate->start = start;
    candidate->result = pattern.count == 1 ? AttemptResult{AttemptEnd::Success, start + 1}
                                           : RunAttempt(pattern, state, window, 1, start + 1);
    return true;
}

// Without a first byte: an attempt from element 0 at the next start.
bool WindowSearch::nextAtStart(Candidate *candidate)
{
    const int64_t len = window.len;
    // Attempts at bytes no leading element takes fail at once; only one at
    // the window's last byte would run off, so that one is made.
    if (skipStarts && pos < len - 1) {
        if (endScan) {
            int64_t walked = 0;
            pos = PassStartsBeforeEnd(pattern, window.text, len, pos, &walked);
            state.steps += walked;
        }
        pos = NextStart(pattern, window.text, pos, len - 1);
        // Starts whose leading runs end at a byte the one-byte element
        // after them refuses fail there: no attempt is made for them.
        for (int64_t next = 0; pattern.plan.startSingle > 0 && pos < len - 1 &&
                               (next = PassFailingStart(pattern, window.text, len, pos)) >= 0;)
            pos = NextStart(pattern, window.text, next, len - 1);
    }
    if (pos >= len) {
        stop = len;
        return false;
    }
    *candidate = {pos, RunAttempt(pattern, state, window, 0, pos)};
    return true;
}

// After a failed attempt at start: the next start, past those known to
// fail too. Later starts whose first state lies on the failed path's
// stretch of the same element fail as it did. A start's first state is
// (0, start), or (1, start + 1) past a first byte or a one-byte element 0
// that takes it.
void WindowSearch::skipAfterFailure(int64_t start)
{
    pos = start + 1;
    const bool second = pattern.first != 0 || pattern.TakesOneByte(0);
    const int row = second ? 1 : 0;
    if (state.useMemo && row < state.memoRows && (pattern.flags[row] & kRunFlags) && state.memoEnd[row] == kPathFails) {
        const int64_t past = state.memoHi[row] - window.base + (second ? 0 : 1);
        if (past > pos)
            pos = past;
    }
}

// The attempt at start ran off the window: the search of the window stops
// there, the rest is carried.
void WindowSearch::stopAt(int64_t start)
{
    ranOut = true;
    if (pattern.first != 0) {
        *line += CountNewlinesIn(window.text, static_cast<size_t>(window.len), static_cast<size_t>(counted),
                                 static_cast<size_t>(start + 1));
        stop = start + 1;
    } else {
        stop = start;
    }
}

// A match at [start, end): the line counter at its start, then over the
// match (which holds no newline when no element takes one); the word
// check; the report; and where the search goes on.
// Inlined into both searches: a call per report shows in frequent patterns.
__attribute__((always_inline)) inline void WindowSearch::report(int64_t start, int64_t end)
{
    countPassed();
    const unsigned char *text = window.text;
    const auto ulen = static_cast<size_t>(window.len);
    const int64_t from = pattern.first != 0 ? counted : start;
    const int64_t lineAtStart = *line + (pattern.first != 0 ? CountNewlinesIn(text, ulen, static_cast<size_t>(from),
                                                                              static_cast<size_t>(start + 1))
                                                            : 0);
    const int64_t matchFrom = pattern.first != 0 ? start + 1 : start;
    *line = lineAtStart + (newlineFree ? 0 : newlinesInMatch(matchFrom, end));
    if (in.matchWord && ((start > 0 && isWordByte(text[start - 1])) || (end < window.len && isWordByte(text[end])))) {
        pos = counted = end;
        return;
    }
    ++reports;
    const int64_t folded = state.printFolded;
    if (g_fBinary) {
        if (in.name != nullptr)
            ReportMatch(batch, offset + start, in.print + start, static_cast<size_t>(end - start),
                        foldedFrom(start, folded));
        pos = counted = end;
        return;
    }
    const int64_t lineStart = IsLineDelimiter(text[start]) ? start + 1
                              : start == 0 || IsLineDelimiter(text[start - 1])
                                  ? start
                                  : static_cast<int64_t>(FindLineStart(text, static_cast<size_t>(start)));
    // No delimiter lies in [lineStart, start + 1) but at start itself.
    const auto lineEnd = static_cast<int64_t>(FindLineDelimiterIn(text, ulen, static_cast<size_t>(start + 1)));
    if (in.name != nullptr)
        ReportLine(batch, lineAtStart + 1, in.print + lineStart, static_cast<size_t>(lineEnd - lineStart),
                   foldedFrom(lineStart, folded));
    // One report per line: go on at the delimiter that ends it. Newlines
    // that the match took beyond that point are counted once more.
    pos = counted = lineEnd;
}

// Newlines in text[from, to), the part of a match after its start.
int64_t WindowSearch::newlinesInMatch(int64_t from, int64_t to)
{
    const auto ulen = static_cast<size_t>(window.len);
    if (to == lastTo && from >= lastFrom && lastFrom >= 0)
        lastNewlines -= CountNewlinesIn(window.text, ulen, static_cast<size_t>(lastFrom), static_cast<size_t>(from));
    else
        lastNewlines = CountNewlinesIn(window.text, ulen, static_cast<size_t>(from), static_cast<size_t>(to));
    lastFrom = from;
    lastTo = to;
    return lastNewlines;
}

// Newlines of window[from, to) that the scan passed: counted now, or,
// where the caller keeps the bytes, once a line number is needed.
void WindowSearch::countLater(int64_t from, int64_t to)
{
    if (!state.lazyLines) {
        *line += CountNewlinesIn(window.text, static_cast<size_t>(window.len), static_cast<size_t>(from),
                                 static_cast<size_t>(to));
        return;
    }
    if (state.uncountedTo != window.base + from)
        countPassed();
    if (state.uncountedFrom == state.uncountedTo)
        state.uncountedFrom = window.base + from;
    state.uncountedTo = window.base + to;
}

// Brings *line up to date before it is read.
void WindowSearch::countPassed()
{
    if (state.uncountedFrom == state.uncountedTo)
        return;
    *line += CountNewlines(window.text + (state.uncountedFrom - window.base),
                           static_cast<size_t>(state.uncountedTo - state.uncountedFrom));
    state.uncountedFrom = state.uncountedTo = 0;
}

// What the next window needs to know about this one.
void WindowSearch::finish()
{
    state.lastWindowEnd = window.base + window.len;
    if (ranOut && state.carried.valid)
        state.carried.windowEnd = window.base + window.len;
    else
        state.carried.valid = false;
}

} // namespace

int SearchWindow(const CompiledPattern &pattern, MatchState &state, const MatchWindow &in, int64_t *offset,
                 int64_t *line)
{
    if (in.len < 1 || pattern.count < 1)
        return 0;
    ReportBatch own;
    own.out = nullptr; // straight to standard output
    own.used = 0;
    ReportBatch &batch = state.reports != nullptr ? *state.reports : own;
    WindowSearch search{pattern,
                        state,
                        in,
                        batch,
                        *offset,
                        line,
                        Window{reinterpret_cast<const unsigned char *>(in.text), in.start, in.len}};
    search.begin();
    if (!search.neverMatches())
        search.run();
    search.finish();
    *offset += search.stop;
    if (!state.holdReports || state.reports == nullptr)
        ReportFlush(batch);
    return search.reports;
}

int iGrepText(const CompiledPattern &pattern, const char *name, const char *text, int len, int64_t *offset,
              int64_t *line, const char *print, int matchWord)
{
    MatchState state{};
    return SearchWindow(pattern, state, MatchWindow{name, text, print, len, 0, matchWord}, offset, line);
}
