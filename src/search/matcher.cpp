// Matcher: the search of one window and its reports.
//
// An attempt runs the elements over the text from one start position.
// With a first byte (g_chFirst) the start is found by a bulk scan, element 0
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
// tail, whichever is rarer; without a first byte a first element of one
// byte skips the bytes it refuses; a pattern that can never match only
// looks for where an attempt first runs off the window.
// Those scans go over the window from its start, so they are not used in a
// window that mostly repeats the last one (as windows that move on by one
// byte do): there the carried path decides the starts at once. Only the
// scan for heads that fail is used in every window, as the first-byte scan
// is: it passes over starts without looking at what follows them.
#include "matcher.h"

#include <atomic>
#include <cctype>
#include <cstring>
#include <string>

#include "bytescan.h"
#include "fyndle.h"
#include "matcher_plan.h"
#include "matcher_skip.h"
#include "report.h"

namespace {

std::atomic<bool> s_shortcuts{true};

bool isWordByte(unsigned char byte)
{
    return byte == '_' || std::isalnum(byte);
}

// print[from, from + count) as it is printed: the bytes before `folded` in
// lower case (in scratch, when there are any to fold).
const char *shown(const char *print, int64_t from, int64_t count, int64_t folded, std::string &scratch)
{
    if (from >= folded)
        return print + from;
    scratch.assign(print + from, static_cast<size_t>(count));
    FoldCapitals(reinterpret_cast<unsigned char *>(scratch.data()),
                 static_cast<size_t>(folded - from < count ? folded - from : count));
    return scratch.data();
}

// Readies state for the window [windowStart, windowStart + len): forgets
// the last window's paths and keeps the carried one only if this window
// holds all of the text it went through.
void beginWindow(MatchState &state, int64_t windowStart, int64_t len, bool shortcuts)
{
    state.useMemo = shortcuts;
    state.memoRows = 0;
    if (state.pendValid)
        state.pendValid = shortcuts && windowStart <= state.pendPos && windowStart + len >= state.pendWindowEnd &&
                          state.pendEnd == kPathPending;
}

} // namespace

void SetMatcherShortcuts(bool on)
{
    s_shortcuts.store(on, std::memory_order_relaxed);
}

int iGrepText(const char *name, const char *text, int len, int64_t *offset, int64_t *line, const char *print,
              int matchWord)
{
    // Alone, reports go straight to standard output.
    ReportBatch batch;
    batch.out = nullptr;
    batch.used = 0;
    MatchState state{};
    state.reports = &batch;
    return SearchWindow(&state, 0, name, text, len, offset, line, print, matchWord);
}

namespace {

int searchWindow(MatchState *statePtr, int64_t windowStart, const char *name, const char *textArg, int lenArg,
                 int64_t *offset, int64_t *line, const char *print, int matchWord)
{
    if (lenArg < 1 || g_cPattern < 1)
        return 0;
    MatchState &state = *statePtr;
    const auto *text = reinterpret_cast<const unsigned char *>(textArg);
    const int64_t len = lenArg;
    const auto ulen = static_cast<size_t>(len);
    const int64_t base = windowStart;
    const unsigned char first = g_chFirst;
    const SearchPlan &plan = g_plan;
    const unsigned char firstOther = plan.count == g_cPattern ? plan.firstOther : first;

    const bool shortcuts = s_shortcuts.load(std::memory_order_relaxed);
    beginWindow(state, windowStart, len, shortcuts);
    // The finders scan the window from its start: not worth it, and no
    // longer linear, when it mostly repeats the last one, as windows that
    // move on by one byte do.
    const bool planned = shortcuts && plan.count == g_cPattern;
    const bool skipping = planned && state.lastWindowEnd - windowStart <= len / 2;
    const bool literal = skipping && plan.literal;
    const bool starTail = skipping && plan.starTail;
    const bool skipFirst = planned && plan.skipFirst;
    const bool newlineFree = planned && plan.newlineFree;
    // Starts whose head of one-byte elements fails before the window's last
    // byte fail at once, in every window: a scan as cheap as the first-byte
    // one passes over them.
    const bool skipHeads = planned && plan.starTail && plan.starElement >= 2 && plan.headScan.rare >= 0;
    if (skipping && (plan.neverStar || plan.neverPlus)) {
        // No attempt matches: the search stops at the first that runs off
        // the window, the first start from which every byte up to the
        // window's last (for a star: but one) is one element 0 takes.
        int64_t from = plan.neverStar ? len - 1 : len;
        while (from > 0 && plan.firstAccepts[text[from - 1]])
            --from;
        state.steps += len - from;
        state.pendValid = false;
        state.lastWindowEnd = base + len;
        *offset += from;
        return 0;
    }
    int64_t undecided = !starTail ? 0 : plan.headFirst ? len : StarTailUndecided(plan, text, len, 0);
    StarRun run{0, -1};
    const int64_t folded = state.printFolded;
    std::string scratch;
    const size_t nameLen = name != nullptr ? std::strlen(name) : 0;
    int reports = 0;
    int64_t pos = 0;     // where the next attempt (or first-byte scan) begins
    int64_t counted = 0; // with a first byte: newlines before this are in *line
    int64_t stop = len;  // bytes consumed when the search of the window ends
    bool ranOut = false;
    for (;;) {
        int64_t start;
        int64_t end = 0;
        AttemptEnd outcome;
        if (literal && FindLiteral(plan, text, len, &pos)) {
            start = pos;
            end = pos + g_cPattern;
            outcome = AttemptEnd::Success;
        } else if (starTail && pos < undecided &&
                   (plan.headFirst ? FindStarHead(plan, text, len, &run, &undecided, &pos, &end)
                                   : FindStarTail(plan, text, len, undecided, &pos, &end))) {
            start = pos;
            outcome = AttemptEnd::Success;
        } else if (first != 0) {
            if (skipHeads)
                pos = SkipFailingHeads(plan, text, len, pos);
            start = pos +
                    static_cast<int64_t>(FindEitherByte(text + pos, static_cast<size_t>(len - pos), first, firstOther));
            if (start >= len) {
                *line += CountNewlinesIn(text, ulen, static_cast<size_t>(counted), ulen);
                stop = len;
                break;
            }
            g_aiMatchCount[0] = 1;
            if (g_cPattern == 1) {
                end = start + 1;
                outcome = AttemptEnd::Success;
            } else {
                outcome = RunAttempt(state, text, base, len, start + 1, 1, &end);
            }
        } else {
            if (skipHeads)
                pos = SkipFailingHeads(plan, text, len, pos);
            if (skipFirst && pos < len - 1) {
                // Attempts at refused bytes fail at once; only one at the
                // window's last byte would run off, so that one is made.
                if (plan.firstValues > 0)
                    pos += static_cast<int64_t>(
                        FindEitherByte(text + pos, static_cast<size_t>(len - 1 - pos), plan.firstA, plan.firstB));
                else
                    while (pos < len - 1 && !plan.firstAccepts[text[pos]])
                        ++pos;
            }
            if (pos >= len) {
                stop = len;
                break;
            }
            start = pos;
            outcome = RunAttempt(state, text, base, len, start, 0, &end);
        }

        if (outcome == AttemptEnd::Fail) {
            pos = start + 1;
            // Later starts whose first state lies on the failed path's
            // stretch of the same element fail too.
            // A start's first state is (0, start), or (1, start + 1) past a
            // first byte or a one-byte element 0 that takes it.
            const bool second = first != 0 || (g_aiPatCount[0] & ~kFlagNegated) == kFlagSingle;
            const int row = second ? 1 : 0;
            if (state.useMemo && row < state.memoRows && (g_aiPatCount[row] & kRunFlags) &&
                state.memoEnd[row] == kPathFails) {
                const int64_t past = state.memoHi[row] - base + (second ? 0 : 1);
                if (past > pos)
                    pos = past;
            }
            continue;
        }
        if (outcome == AttemptEnd::RanOut) {
            ranOut = true;
            if (first != 0) {
                *line += CountNewlinesIn(text, ulen, static_cast<size_t>(counted), static_cast<size_t>(start + 1));
                stop = start + 1;
            } else {
                stop = start;
            }
            break;
        }

        // Success: the line counter at the match start, then over the match
        // (which holds no newline when no element takes one).
        int64_t lineAtStart;
        if (first != 0) {
            lineAtStart =
                *line + CountNewlinesIn(text, ulen, static_cast<size_t>(counted), static_cast<size_t>(start + 1));
            *line = lineAtStart + (newlineFree ? 0
                                               : CountNewlinesIn(text, ulen, static_cast<size_t>(start + 1),
                                                                 static_cast<size_t>(end)));
        } else {
            lineAtStart = *line;
            if (!newlineFree)
                *line += CountNewlinesIn(text, ulen, static_cast<size_t>(start), static_cast<size_t>(end));
        }

        bool dropped =
            matchWord && ((start > 0 && isWordByte(text[start - 1])) || (end < len && isWordByte(text[end])));
        if (dropped) {
            pos = counted = end;
            continue;
        }
        ++reports;
        if (g_fBinary) {
            if (name != nullptr)
                ReportMatch(*state.reports, name, nameLen, *offset + start,
                            shown(print, start, end - start, folded, scratch), static_cast<size_t>(end - start));
            pos = counted = end;
            continue;
        }
        const int64_t lineStart = IsLineDelimiter(text[start]) ? start + 1
                                  : start == 0 || IsLineDelimiter(text[start - 1])
                                      ? start
                                      : static_cast<int64_t>(FindLineStart(text, static_cast<size_t>(start)));
        // No delimiter lies in [lineStart, start + 1) but at start itself.
        const auto lineEnd = static_cast<int64_t>(FindLineDelimiterIn(text, ulen, static_cast<size_t>(start + 1)));
        if (name != nullptr)
            ReportLine(*state.reports, name, nameLen, lineAtStart + 1,
                       shown(print, lineStart, lineEnd - lineStart, folded, scratch),
                       static_cast<size_t>(lineEnd - lineStart));
        // One report per line: go on at the delimiter that ends it. Newlines
        // that the match took beyond that point are counted once more.
        pos = counted = lineEnd;
    }
    state.lastWindowEnd = base + len;
    if (ranOut && state.pendValid)
        state.pendWindowEnd = base + len;
    else
        state.pendValid = false;
    *offset += stop;
    return reports;
}

} // namespace

int SearchWindow(MatchState *statePtr, int64_t windowStart, const char *name, const char *textArg, int lenArg,
                 int64_t *offset, int64_t *line, const char *print, int matchWord)
{
    const int reports = searchWindow(statePtr, windowStart, name, textArg, lenArg, offset, line, print, matchWord);
    ReportFlush(*statePtr->reports);
    return reports;
}
