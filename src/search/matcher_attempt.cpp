// Attempt engine.
//
// An attempt walks through states (element k, position p): k never goes
// down and p never goes back. Which state comes next depends only on the
// state and the text byte there (a '+' that refuses a byte looks at the next
// element's count, which is always 0 at that moment, so it always fails),
// never on where the attempt began. Hence:
// - every state of a path that failed fails again, and every state of a
//   path that matched leads to the same match end;
// - two paths that share a state are one path from there on, and a path
//   that begins later never passes a path that began earlier without
//   sharing a state with it. So per element only the last path through it
//   needs keeping: a later attempt reaches that element at or after the
//   path's first position there, and is either inside the path's stretch
//   (and ends as it did) or past it, on states nobody has worked.
// - only elements that take runs ('*', '+') can be worked again and again:
//   every other step moves on to the next element, so an attempt makes at
//   most one such step per element. Paths are kept and looked up on those
//   elements only.
// - a path that ran into the window's end follows the same states in the
//   next window, which holds the same text up to at least the same end; it
//   is carried, and whoever joins it goes on from its frontier.
// So every state is worked at most once per file, and each attempt costs,
// besides new states, one check per element it reaches.
//
// Windows that consume nothing (their first attempt, from element 0 at the
// window's first byte, runs off the window's end) move on by one byte, and
// on a long line so may millions after them; the carried path tells how
// the coming ones fare. When element 0 takes runs and the path went
// through (0, s), the first attempt of a window starting at s is that path
// from there on. When element 0 takes one byte and element 1 runs, a
// window's attempts at the bytes element 0 refuses fail at once (but for
// the window's last byte, where the attempt runs off), and the first at a
// byte x it takes goes on at (1, x + 1): the path from there on, when it
// went through that state. Either way the path, not decided within the
// window, runs off it, and the window's search stops there, having
// consumed the bytes before x (or none). It is decided within a window
// once the window holds the byte the path examined last (for a one-byte
// element refusing it, the byte after that too). So the path is run on over
// the bytes at hand beyond the window, and whoever searches the windows
// learns at once, from where it ends, which of them it decides.
#include "matcher_attempt.h"

#include <cstring>

#include "bytescan.h"
#include "matcher_skip.h"

namespace {

// Per element of one attempt: its first and last window index there.
struct Stretch {
    int64_t first[kMaxElements + 1];
    int64_t last[kMaxElements + 1];
};

// One attempt in progress. Every way it ends goes through decided() or
// ranOff(), which add its steps and record its path.
struct Attempt {
    Attempt(const CompiledPattern &pattern_, MatchState &state_, const Window &window_, int element_, int64_t pos_)
        : pattern(pattern_), state(state_), window(window_), memo(state_.useMemo), firstRow(element_),
          element(element_), pos(pos_)
    {}

    const CompiledPattern &pattern;
    MatchState &state;
    const Window &window;
    const bool memo;               // remember paths, meet remembered ones
    const int firstRow;            // the element it started at
    int element;                   // current state: element...
    int64_t pos;                   // ...and window index
    int ownEnd = kMaxElements + 1; // where it joined the carried path
    bool joined = false;           // it goes on as the carried path
    int64_t steps = 0;             // states worked
    Stretch stretch;               // set as the attempt goes: only what it worked is read

    AttemptResult run();
    bool meetEarlierPath(AttemptResult *result);
    bool takeRun();
    AttemptResult decided(int lastRow, int64_t result, int64_t failEnd);
    AttemptResult ranOff(int frontier, int64_t at);
    void extendCarried(int lastRow);
    void record(int lastRow, int64_t result);
    void carry(int frontier, int64_t at);
};

AttemptResult Attempt::run()
{
    const unsigned char *text = window.text;
    stretch.first[element] = pos;
    if (pos >= window.len)
        return ranOff(element, pos);
    bool entering = memo;
    for (;;) {
        AttemptResult result;
        if (entering && (pattern.flags[element] & kRunFlags) && meetEarlierPath(&result))
            return result;
        entering = false;
        ++steps;
        const int previous = element;
        const uint32_t flags = pattern.flags[element];
        const bool accepted = pattern.Accepts(element, text[pos]);
        if (flags & kRunFlags) {
            if (accepted) {
                if (!takeRun())
                    return ranOff(element, window.len);
                continue;
            }
            // Going on after a '+' needs the next element to have accepted
            // bytes in this attempt already, which it cannot have, not
            // being reached yet: the attempt fails.
            if (flags & kFlagPlus) {
                stretch.last[element] = pos;
                return decided(element, kPathFails, pos + 1);
            }
        } else if (!(flags & kFlagOptional) && !accepted) {
            if (pos + 1 >= window.len)
                return ranOff(element, pos);
            stretch.last[element] = pos;
            return decided(element, kPathFails, pos + 2); // a window ending after the byte would run off
        }
        ++element;
        stretch.last[previous] = pos;
        if (element >= pattern.count)
            return decided(previous, window.base + pos + 1, 0);
        if (accepted && ++pos >= window.len) {
            stretch.first[element] = pos;
            return ranOff(element, pos);
        }
        stretch.first[element] = pos;
        entering = memo;
    }
}

// On entering an element that takes runs: when an earlier path of this
// window, or the carried one, went through the state, the attempt ends as
// it did (*result, true), or goes on from the carried path's frontier.
bool Attempt::meetEarlierPath(AttemptResult *result)
{
    const int64_t at = window.base + pos;
    if (element < state.memoRows && state.memoLo[element] <= at && at <= state.memoHi[element]) {
        *result = decided(element - 1, state.memoEnd[element], 0);
        return true;
    }
    const CarriedPath &carried = state.carried;
    if (joined || !carried.valid || element < carried.first || element >= carried.rows || at < carried.lo[element] ||
        at > carried.hi[element])
        return false;
    ownEnd = element;
    if (carried.end != kPathPending) {
        *result = decided(element - 1, carried.end, 0);
        return true;
    }
    joined = true;
    element = carried.element;
    pos = carried.pos - window.base;
    stretch.first[element] = carried.lo[element] - window.base;
    if (pos < window.len)
        return false;
    *result = ranOff(element, pos);
    return true;
}

// Takes the whole run of bytes the current element accepts after pos at
// once; false when the run reaches the window's end.
bool Attempt::takeRun()
{
    // A stop-star's run whose bytes the search found free of the star's
    // stop values up to the window's end (it looked for the stop and ran
    // off): it reaches the end, and is not looked through again.
    const bool stopFree = !state.plain && element == 1 && pattern.plan.runStops[1] > 0 &&
                          state.stopFreeFrom <= window.base + pos + 1 && state.stopFreeTo >= window.base + window.len;
    const int64_t run = stopFree ? window.len : RunEnd(pattern, element, window.text, pos + 1, window.len);
    steps += run - pos - 1;
    if (run >= window.len)
        return false;
    pos = run;
    return true;
}

// The attempt ended within the window in `result` (match end or
// kPathFails; on failure the window length failEnd decides it), its last
// state on element lastRow.
AttemptResult Attempt::decided(int lastRow, int64_t result, int64_t failEnd)
{
    state.steps += steps;
    if (memo)
        record(lastRow, result);
    if (result == kPathFails)
        return {AttemptEnd::Fail, failEnd};
    return {AttemptEnd::Success, result - window.base};
}

// The attempt ran off the window at the frontier (frontier, at).
AttemptResult Attempt::ranOff(int frontier, int64_t at)
{
    state.steps += steps;
    if (memo)
        carry(frontier, at);
    return {AttemptEnd::RanOut, 0};
}

// The carried path went on from its frontier up to element lastRow: its
// stretches there grow by what this attempt worked.
void Attempt::extendCarried(int lastRow)
{
    CarriedPath &carried = state.carried;
    for (int k = carried.element; k >= 0 && k <= lastRow && k < kMaxElements; ++k) {
        if (k > carried.element)
            carried.lo[k] = window.base + stretch.first[k];
        carried.hi[k] = window.base + stretch.last[k];
    }
    if (lastRow + 1 > carried.rows)
        carried.rows = lastRow + 1;
}

// Records an attempt that ended in `result`: its own elements become the
// last path of this window there; when it had joined the carried path,
// that path gets the same outcome and what it worked from the frontier up
// to element lastRow.
void Attempt::record(int lastRow, int64_t result)
{
    const int own = joined ? ownEnd : lastRow + 1;
    for (int k = firstRow; k < own; ++k) {
        if (!(pattern.flags[k] & kRunFlags))
            continue;
        state.memoLo[k] = window.base + stretch.first[k];
        state.memoHi[k] = window.base + stretch.last[k];
        state.memoEnd[k] = result;
    }
    if (own > state.memoRows)
        state.memoRows = own;
    if (joined) {
        extendCarried(lastRow);
        state.carried.end = result;
    }
}

// Records an attempt that ran off the window at the frontier (frontier,
// at): it becomes the carried path (joined to the old one when it went on
// from there).
void Attempt::carry(int frontier, int64_t at)
{
    CarriedPath &carried = state.carried;
    stretch.last[frontier] = at;
    int own = ownEnd;
    if (joined) {
        extendCarried(frontier);
    } else {
        own = frontier + 1;
        carried.rows = own;
    }
    // Its own elements before the joint: later attempts meet it there, not
    // the older path, which lies before it.
    for (int k = firstRow; k < own; ++k) {
        carried.lo[k] = window.base + stretch.first[k];
        carried.hi[k] = window.base + stretch.last[k];
    }
    if (!joined || firstRow < carried.first)
        carried.first = firstRow;
    carried.element = frontier;
    carried.pos = window.base + at;
    carried.end = kPathPending;
    carried.valid = true;
}

} // namespace

AttemptResult RunAttempt(const CompiledPattern &pattern, MatchState &state, const Window &window, int element,
                         int64_t pos)
{
    Attempt attempt(pattern, state, window, element, pos);
    return attempt.run();
}

bool StuckWindows(const CompiledPattern &pattern, MatchState &state, const Window &held, StuckRun *run)
{
    // With a first byte, element 0 is that one byte.
    int entry = 0;
    if ((pattern.first != 0 || pattern.TakesOneByte(0)) && pattern.count >= 2 && (pattern.flags[1] & kRunFlags))
        entry = 1;
    else if (pattern.first != 0 || !(pattern.flags[0] & kRunFlags))
        return false;
    const CarriedPath &carried = state.carried;
    if (held.len < 1 || !carried.valid || carried.end != kPathPending || carried.first > entry || carried.rows <= entry)
        return false;
    const int64_t from = held.base > carried.lo[entry] ? held.base : carried.lo[entry];
    if (from > carried.hi[entry] || from >= held.base + held.len)
        return false;
    // An attempt from a state on the path joins it at once (no path of this
    // window is remembered) and goes on from its frontier.
    state.memoRows = 0;
    const AttemptResult result = RunAttempt(pattern, state, held, entry, from - held.base);
    run->entry = entry;
    run->lo = carried.lo[entry];
    run->hi = carried.hi[entry];
    if (result.outcome == AttemptEnd::RanOut) {
        run->stuckBefore = held.base + held.len + 1;
        return true;
    }
    run->stuckBefore = held.base + result.end;
    return result.end > 0;
}

int64_t WindowStop(const CompiledPattern &pattern, const StuckRun &run, const Window &window)
{
    const int64_t start = window.base, len = window.len;
    if (len < 1 || start + len >= run.stuckBefore)
        return -1;
    if (run.entry == 0)
        return run.lo <= start && start <= run.hi ? 0 : -1;
    if (pattern.first != 0) {
        // The scan for the first byte counts the newlines it passes: only
        // windows with none before it are told here. A window without the
        // byte ends the carried path: it is searched.
        const auto found = static_cast<int64_t>(
            FindEitherByte(window.text, static_cast<size_t>(len), pattern.first, pattern.firstOther));
        if (found >= len || std::memchr(window.text, '\n', static_cast<size_t>(found + 1)) != nullptr)
            return -1;
        return found + 1 >= len || (run.lo <= start + found + 1 && start + found + 1 <= run.hi) ? found + 1 : -1;
    }
    // The first byte element 0 (which takes one byte) accepts, or the
    // window's last byte, where an attempt runs off whatever it is.
    const int64_t first = NextStart(pattern, window.text, 0, len - 1);
    if (first == len - 1)
        return first;
    return run.lo <= start + first + 1 && start + first + 1 <= run.hi ? first : -1;
}

namespace {

// PassStuckWindows without a first byte, many windows at a time: over a
// stretch of at most `inside` bytes from *start that ends at a byte
// element 0 takes, at or before the path's last start and the last window
// start, every window stops at the next such byte. Each byte element 0
// refuses is consumed once, by the window that starts at the first byte
// of its gap; a window at a byte element 0 takes consumes nothing. Moves
// *start past the stretch's last taken byte, which is the last window
// passed over, and returns true; false when the stretch holds no such byte
// or the path does not reach back to its start (the caller goes one window
// at a time).
bool passLetterRuns(const CompiledPattern &pattern, const StuckRun &run, const Window &held, int64_t last,
                    int64_t inside, int64_t *start, StuckPass *pass)
{
    const int64_t from = *start;
    int64_t to = last < run.hi - 1 ? last : run.hi - 1;
    if (to > from + inside - 1)
        to = from + inside - 1;
    if (from + 1 < run.lo || from > to)
        return false;
    const bool *accepts = pattern.plan.startAccepts;
    const unsigned char *text = held.text + (from - held.base);
    int64_t taken = 0, lastTaken = -1, takenToLast = 0;
    int64_t at = 0;
#if defined(__SSE2__)
    if (pattern.plan.startTakenInRanges)
        for (; at + 16 <= to - from + 1; at += 16)
            if (const unsigned mask = InRangesMask(text + at, pattern.plan.startTaken)) {
                taken += CountBits64Here(mask);
                lastTaken = at + 31 - __builtin_clz(mask);
                takenToLast = taken;
            }
#endif
    for (; at <= to - from; ++at) {
        const bool accepted = accepts[text[at]];
        taken += accepted;
        lastTaken = accepted ? at : lastTaken;
        takenToLast = accepted ? taken : takenToLast;
    }
    if (lastTaken < 0)
        return false;
    pass->consumed += lastTaken + 1 - takenToLast;
    pass->last = from + lastTaken;
    *start = from + lastTaken + 1;
    return true;
}

} // namespace

StuckPass PassStuckWindows(const CompiledPattern &pattern, const StuckRun &run, const Window &held, int64_t windowLen)
{
    StuckPass pass{held.base, 0, -1};
    if (run.entry != 1)
        return pass;
    const int64_t heldEnd = held.base + held.len;
    // The last start whose window is held whole and ends before the path is
    // decided.
    int64_t last = heldEnd - windowLen;
    if (last > run.stuckBefore - windowLen - 1)
        last = run.stuckBefore - windowLen - 1;
    // A window is at least this long (cut after a newline at or after
    // kCutFrom), so a byte before it is not its last.
    const int64_t inside = windowLen - 1 < kCutFrom ? windowLen - 1 : kCutFrom;
    int64_t start = held.base;
    while (start <= last) {
        if (pattern.first == 0 && passLetterRuns(pattern, run, held, last, inside, &start, &pass))
            continue;
        // The window at start stops at the first byte x that element 0
        // takes, when x is not its last byte and (1, x + 1) is on the path;
        // with a first byte it consumes x too, and the newlines before x
        // would be counted: there must be none.
        const int64_t reach = start + inside < heldEnd ? start + inside : heldEnd;
        const unsigned char *text = held.text + (start - held.base);
        const int64_t x =
            start + (pattern.first != 0 ? static_cast<int64_t>(FindEitherByte(text, static_cast<size_t>(reach - start),
                                                                              pattern.first, pattern.firstOther))
                                        : NextStart(pattern, text, 0, reach - start));
        if (x >= reach || x + 1 < run.lo || x + 1 > run.hi)
            break;
        int64_t stop = x - start;
        if (pattern.first != 0) {
            if (std::memchr(text, '\n', static_cast<size_t>(stop + 1)) != nullptr)
                break;
            ++stop;
        }
        pass.consumed += stop;
        pass.last = start;
        if (pattern.first != 0) {
            start += stop;
            continue;
        }
        // The window at x (this one, when stop is 0) consumes nothing, and
        // so do those right after it, one byte on each, while element 0
        // takes their first byte.
        start = x;
        const int64_t end = last < run.hi - 1 ? last : run.hi - 1;
        if (start > end)
            start = pass.last + (stop > 0 ? stop : 1);
        while (start <= end && pattern.plan.startAccepts[held.text[start - held.base]])
            pass.last = start++;
    }
    pass.next = start;
    return pass;
}
