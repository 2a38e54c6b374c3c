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
// window's first byte, runs off the window's end) move on by one byte. When
// element 0 takes runs and the carried path went through (0, s), the next
// window's first attempt, from (0, s), is that path from there on, and so is
// that of every later window starting on the path's stretch of element 0.
// Such a window is stuck exactly when the path is not decided within it:
// it is once the window holds the byte examined last (for a one-byte
// element refusing it, the byte after that too). So the path is run on over
// the bytes at hand beyond the window, and whoever searches the windows
// learns at once, from where it ends, which of them stay stuck.
#include "matcher_attempt.h"

#include "bytescan.h"
#include "matcher_plan.h"

namespace {

// Per element of one attempt: its first and last window index there.
struct Stretch {
    int64_t first[kMaxElements + 1];
    int64_t last[kMaxElements + 1];
};

// The carried path went on from its frontier up to element lastRow: its
// stretches there grow by what this attempt worked.
void extendCarried(MatchState &state, const Stretch &stretch, int64_t base, int lastRow)
{
    for (int k = state.pendElement; k >= 0 && k <= lastRow && k < kMaxElements; ++k) {
        if (k > state.pendElement)
            state.pendLo[k] = base + stretch.first[k];
        state.pendHi[k] = base + stretch.last[k];
    }
    if (lastRow + 1 > state.pendRows)
        state.pendRows = lastRow + 1;
}

// Records an attempt that ended in `result` (match end or kPathFails):
// its own elements firstRow..ownEnd-1 become the last path of this window
// there; when it had joined the carried path, that path gets the same
// outcome and what it worked from the frontier up to element lastRow.
void record(MatchState &state, const Stretch &stretch, int64_t base, int firstRow, int ownEnd, bool joined, int lastRow,
            int64_t result)
{
    for (int k = firstRow; k < ownEnd; ++k) {
        if (!(g_aiPatCount[k] & kRunFlags))
            continue;
        state.memoLo[k] = base + stretch.first[k];
        state.memoHi[k] = base + stretch.last[k];
        state.memoEnd[k] = result;
    }
    if (ownEnd > state.memoRows)
        state.memoRows = ownEnd;
    if (joined) {
        extendCarried(state, stretch, base, lastRow);
        state.pendEnd = result;
    }
}

// Records an attempt that ran off the window at the frontier (element,
// pos): it becomes the carried path (joined to the old one when it went on
// from there).
void carry(MatchState &state, Stretch &stretch, int64_t base, int firstRow, int ownEnd, bool joined, int element,
           int64_t pos)
{
    stretch.last[element] = pos;
    if (joined) {
        extendCarried(state, stretch, base, element);
    } else {
        ownEnd = element + 1;
        state.pendRows = ownEnd;
    }
    // Its own elements before the joint: later attempts meet it there, not
    // the older path, which lies before it.
    for (int k = firstRow; k < ownEnd; ++k) {
        state.pendLo[k] = base + stretch.first[k];
        state.pendHi[k] = base + stretch.last[k];
    }
    if (!joined || firstRow < state.pendFirst)
        state.pendFirst = firstRow;
    state.pendElement = element;
    state.pendPos = base + pos;
    state.pendEnd = kPathPending;
    state.pendValid = true;
}

} // namespace

AttemptEnd RunAttempt(MatchState &state, const unsigned char *text, int64_t base, int64_t len, int64_t pos, int element,
                      int64_t *end)
{
    const int count = g_cPattern;
    const bool memo = state.useMemo;
    // Without a plan for this pattern the byte scans are not used.
    static const SearchPlan kNoPlan{};
    const SearchPlan &plan = g_plan.count == count ? g_plan : kNoPlan;
    Stretch stretch;
    const int firstRow = element;
    int ownEnd = kMaxElements + 1; // where this attempt joined the carried path
    bool joined = false;
    if (pos >= len) {
        if (memo) {
            stretch.first[element] = pos;
            carry(state, stretch, base, firstRow, firstRow, false, element, pos);
        }
        return AttemptEnd::RanOut;
    }
    int64_t steps = 0;
    g_aiMatchCount[element] = 0;
    stretch.first[element] = pos;
    bool entering = memo;
    for (;;) {
        if (entering && (g_aiPatCount[element] & kRunFlags)) {
            const int64_t at = base + pos;
            if (element < state.memoRows && state.memoLo[element] <= at && at <= state.memoHi[element]) {
                const int64_t result = state.memoEnd[element];
                state.steps += steps;
                record(state, stretch, base, firstRow, joined ? ownEnd : element, joined, element - 1, result);
                *end = 0;
                if (result == kPathFails)
                    return AttemptEnd::Fail;
                *end = result - base;
                return AttemptEnd::Success;
            }
            if (!joined && state.pendValid && element >= state.pendFirst && element < state.pendRows &&
                state.pendLo[element] <= at && at <= state.pendHi[element]) {
                ownEnd = element;
                if (state.pendEnd != kPathPending) {
                    const int64_t result = state.pendEnd;
                    state.steps += steps;
                    record(state, stretch, base, firstRow, element, false, -1, result);
                    *end = 0;
                    if (result == kPathFails)
                        return AttemptEnd::Fail;
                    *end = result - base;
                    return AttemptEnd::Success;
                }
                joined = true;
                element = state.pendElement;
                pos = state.pendPos - base;
                stretch.first[element] = state.pendLo[element] - base;
                if (pos >= len) {
                    state.steps += steps;
                    carry(state, stretch, base, firstRow, ownEnd, true, element, pos);
                    return AttemptEnd::RanOut;
                }
            }
        }
        entering = false;
        ++steps;
        const int previous = element;
        const uint32_t flags = g_aiPatCount[element];
        const uint32_t bit = 1u << element;
        const uint32_t flip = (flags & kFlagNegated) ? bit : 0u;
        const bool accepted = ((g_aiPattern[text[pos]] ^ flip) & bit) != 0;
        int32_t &matched = g_aiMatchCount[element];
        matched = accepted ? matched + 1 : -matched;

        bool consumed = accepted;
        if (flags & (kFlagStar | kFlagPlus)) {
            if (accepted) {
                // Take the whole run of accepted bytes at once.
                int64_t run = pos + 1;
                if (plan.runStops[element] > 0)
                    run += static_cast<int64_t>(FindEitherByte(text + run, static_cast<size_t>(len - run),
                                                               plan.runStopA[element], plan.runStopB[element]));
                else
                    while (run < len && ((g_aiPattern[text[run]] ^ flip) & bit))
                        ++run;
                steps += run - pos - 1;
                if (run >= len) {
                    state.steps += steps;
                    if (memo)
                        carry(state, stretch, base, firstRow, ownEnd, joined, element, len);
                    return AttemptEnd::RanOut;
                }
                matched += static_cast<int32_t>(run - pos - 1);
                pos = run;
                continue;
            }
            // Going on after a '+' needs the next element to have accepted
            // bytes in this attempt already, which it cannot have, not
            // being reached yet: the attempt fails.
            if (flags & kFlagPlus) {
                stretch.last[element] = pos;
                *end = pos + 1;
                state.steps += steps;
                if (memo)
                    record(state, stretch, base, firstRow, joined ? ownEnd : element + 1, joined, element, kPathFails);
                return AttemptEnd::Fail;
            }
            ++element;
        } else if (flags & kFlagOptional) {
            ++element;
        } else {
            ++element;
            if (!accepted) {
                state.steps += steps;
                if (pos + 1 >= len) {
                    if (memo)
                        carry(state, stretch, base, firstRow, ownEnd, joined, previous, pos);
                    return AttemptEnd::RanOut;
                }
                stretch.last[previous] = pos;
                *end = pos + 2; // a window ending right after the byte would have been run off
                if (memo)
                    record(state, stretch, base, firstRow, joined ? ownEnd : previous + 1, joined, previous,
                           kPathFails);
                return AttemptEnd::Fail;
            }
        }
        stretch.last[previous] = pos;
        if (element >= count) {
            *end = pos + 1;
            state.steps += steps;
            if (memo)
                record(state, stretch, base, firstRow, joined ? ownEnd : previous + 1, joined, previous, base + *end);
            return AttemptEnd::Success;
        }
        g_aiMatchCount[element] = 0;
        if (consumed && ++pos >= len) {
            state.steps += steps;
            if (memo) {
                stretch.first[element] = pos;
                carry(state, stretch, base, firstRow, ownEnd, joined, element, pos);
            }
            return AttemptEnd::RanOut;
        }
        stretch.first[element] = pos;
        entering = memo;
    }
}

bool StuckWindows(MatchState &state, const unsigned char *text, int64_t nextStart, int64_t len, int64_t *lastStart,
                  int64_t *stuckBefore)
{
    if (len < 1 || g_chFirst != 0 || !(g_aiPatCount[0] & kRunFlags) || !state.pendValid ||
        state.pendEnd != kPathPending || state.pendFirst != 0 || state.pendRows < 1 || nextStart < state.pendLo[0] ||
        nextStart > state.pendHi[0])
        return false;
    // The attempt from (0, nextStart) joins the carried path at once (no path
    // of this window is remembered) and goes on from its frontier.
    state.memoRows = 0;
    int64_t end = 0;
    const AttemptEnd outcome = RunAttempt(state, text, nextStart, len, 0, 0, &end);
    *lastStart = state.pendHi[0];
    if (outcome == AttemptEnd::RanOut) {
        *stuckBefore = nextStart + len + 1;
        return true;
    }
    *stuckBefore = nextStart + end;
    return end > 0;
}
