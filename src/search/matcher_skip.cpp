// Skip finders.
//
// An attempt that fails without running off the window changes nothing but
// where the next attempt starts, so a finder may pass over any run of
// starts whose attempts it can show to fail that way. Invariants: a finder
// returns a start only after checking, element by element, that the
// pattern matches there; it never passes over a start whose attempt could
// reach the window's end (those are left to the attempt engine, which
// decides what is carried); and it reads nothing outside [0, len).
#include "matcher_skip.h"

#include "bytescan.h"

namespace {

// First of `places` positions p at which the scanned elements accept
// text[p + offset], or `places`.
size_t findScanPair(const ScanPair &scan, const unsigned char *text, size_t places)
{
    if (scan.pair < 0)
        return FindEitherByte(text + scan.rare, places, scan.rareA, scan.rareB);
    return FindBytePair(text, places, static_cast<size_t>(scan.rare), scan.rareA, scan.rareB,
                        static_cast<size_t>(scan.pair), scan.pairA, scan.pairB);
}

} // namespace

bool FindLiteral(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t *pos)
{
    const int64_t elements = pattern.count;
    const int64_t decided = len - elements; // attempts from before here cannot run off
    const ScanPair &scan = pattern.plan.scan;
    while (*pos < decided) {
        const size_t starts = static_cast<size_t>(decided - *pos);
        const size_t found = findScanPair(scan, text + *pos, starts);
        int64_t candidate = *pos + static_cast<int64_t>(found);
        if (candidate >= decided)
            break;
        int64_t k = 0;
        while (k < elements && pattern.Accepts(static_cast<int>(k), text[candidate + k]))
            ++k;
        *pos = candidate;
        if (k == elements)
            return true;
        ++*pos;
    }
    if (*pos < decided)
        *pos = decided;
    return false;
}

// The star-tail shape: an attempt from start s takes its head of j
// one-byte elements at s..s+j-1, runs its star from s + j to the first byte
// the star refuses, run(s), and then checks the tail from there. The tail
// examines at most `tail` bytes, so the attempt can only run off when
// run(s) >= len - tail. Since run(s) never decreases with s, those starts
// are the ones from the returned position on. The walk back stops at
// pos + j, so that it never costs more than the part of the window still
// ahead.
namespace {

bool inStar(const CompiledPattern &pattern, unsigned char byte)
{
    return pattern.Accepts(pattern.plan.starElement, byte);
}

// The lowest q in [bound, at] with every byte of text[q, at) in the star.
int64_t runStartBefore(const CompiledPattern &pattern, const unsigned char *text, int64_t bound, int64_t at)
{
    const SearchPlan &plan = pattern.plan;
    const int star = plan.starElement;
    if (plan.runStops[star] > 0) {
        const size_t span = static_cast<size_t>(at - bound);
        const size_t last = FindLastEitherByte(text + bound, span, plan.runStopA[star], plan.runStopB[star]);
        return last == span ? bound : bound + static_cast<int64_t>(last) + 1;
    }
    while (at > bound && inStar(pattern, text[at - 1]))
        --at;
    return at;
}

// Where the tail's match from text[at] ends (one past the last byte it
// examines), or -1 when it fails. Reads text[at, at + tail), or 16 bytes
// from at when they lie before len.
int64_t tailEnd(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t at)
{
    const SearchPlan &plan = pattern.plan;
    // The leading singles first, in one block or a loop of their own: most
    // tails fail among them.
    int k = plan.starElement + 1;
    if (plan.tailBlock && at + 16 <= len) {
        if (!BlockFits(text + at, plan.tailMask, plan.tailWant))
            return -1;
        at += plan.tailSingles - k;
        k = plan.tailSingles;
    }
    for (; k < plan.tailSingles; ++k, ++at)
        if (!pattern.Accepts(k, text[at]))
            return -1;
    int64_t examined = at - 1;
    for (; k < pattern.count; ++k) {
        examined = at;
        const bool accepted = pattern.Accepts(k, text[at]);
        if (pattern.flags[k] == kFlagOptional) {
            at += accepted ? 1 : 0;
        } else {
            if (!accepted)
                return -1;
            ++at;
        }
    }
    return examined + 1;
}

// Whether the head matches at text[s, s + j).
bool headMatches(const CompiledPattern &pattern, const unsigned char *text, int64_t s)
{
    const SearchPlan &plan = pattern.plan;
    if (!plan.firstAccepts[text[s]])
        return false;
    for (int k = 1; k < plan.headLength; ++k)
        if (!pattern.Accepts(k, text[s + k]))
            return false;
    return true;
}

} // namespace

int64_t StarTailUndecided(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t pos)
{
    const SearchPlan &plan = pattern.plan;
    const int64_t head = plan.starElement;
    const int64_t tail = pattern.count - head - 1;
    const int64_t limit = len - tail; // a run reaching here may run off
    if (limit <= pos + head)
        return pos;
    const int64_t run = runStartBefore(pattern, text, pos + head, limit);
    return run > pos + head ? run - head : pos;
}

namespace {

// The first start in [from, to] whose head matches, or to + 1.
int64_t firstHead(const CompiledPattern &pattern, const unsigned char *text, int64_t from, int64_t to)
{
    const SearchPlan &plan = pattern.plan;
    for (int64_t start = from; start <= to; ++start) {
        // Element 0's bytes first: a first byte in either case, or the
        // bytes a one-byte element 0 takes.
        if (plan.firstValues > 0)
            start += static_cast<int64_t>(
                FindEitherByte(text + start, static_cast<size_t>(to + 1 - start), plan.firstA, plan.firstB));
        else if (pattern.first == 0 && plan.skipStarts)
            start = NextStart(pattern, text, start, to + 1);
        if (start > to)
            break;
        if (headMatches(pattern, text, start))
            return start;
    }
    return to + 1;
}

} // namespace

bool FindStarTail(const CompiledPattern &pattern, const unsigned char *text, int64_t len, StarScan *scan, int64_t *end)
{
    int64_t *pos = &scan->pos;
    const int64_t head = pattern.plan.starElement;
    const int64_t tail = pattern.count - head - 1;
    // A success from s < undecided has its tail at run(s) <= len - 1 - tail.
    const int64_t lastTail = len - 1 - tail;
    int64_t from = *pos + head; // where the next tail may begin: after a head
    while (*pos < scan->undecided && from <= lastTail) {
        int64_t at = 0, runFrom = 0, matchEnd = scan->tailEnd;
        if (scan->tailRunFrom <= *pos + head && from <= scan->tailAt) {
            // The last tail found still ends the run from here: a match
            // that took several lines is met again for each of them.
            at = scan->tailAt;
            runFrom = *pos + head;
        } else {
            at = from + static_cast<int64_t>(
                            findScanPair(pattern.plan.tailScan, text + from, static_cast<size_t>(lastTail - from + 1)));
            if (at > lastTail)
                break;
            // The tail counts only where a star run ends, i.e. its first
            // byte is one the star refuses; elsewhere a run may go on past it.
            from = at + 1;
            if (inStar(pattern, text[at]) || (matchEnd = tailEnd(pattern, text, len, at)) < 0)
                continue;
            runFrom = runStartBefore(pattern, text, *pos + head, at);
            *scan = StarScan{*pos, scan->undecided, scan->run, at, runFrom, matchEnd};
        }
        from = at + 1;
        // The starts whose run ends here: a head that ends at or after the
        // run's first byte; the lowest of them whose head matches matches
        // (with no head, the start that began the run).
        const int64_t start = head == 0 ? runFrom : firstHead(pattern, text, runFrom - head, at - head);
        if (start <= at - head) {
            *pos = start;
            *end = matchEnd;
            return true;
        }
        // Every start before here has its run end here or at an earlier
        // place, where no tail matched: none of them matches.
        *pos = at - head + 1;
    }
    if (*pos < scan->undecided)
        *pos = scan->undecided;
    return false;
}

bool FindStarHead(const CompiledPattern &pattern, const unsigned char *text, int64_t len, StarScan *scan, int64_t *end)
{
    int64_t *pos = &scan->pos;
    int64_t *undecided = &scan->undecided;
    StarRun *run = &scan->run;
    const SearchPlan &plan = pattern.plan;
    const int64_t head = plan.starElement;
    const int64_t tail = pattern.count - head - 1;
    const int star = plan.starElement;
    // Starts after lastStart are the engine's: their head, or their tail
    // even after an empty run, may reach the window's last byte.
    const int64_t lastTail = len - 1 - tail;
    const int64_t lastStart = lastTail - head;
    while (*pos <= lastStart) {
        const int64_t start = *pos + static_cast<int64_t>(findScanPair(plan.headScan, text + *pos,
                                                                       static_cast<size_t>(lastStart - *pos + 1)));
        if (start > lastStart)
            break;
        if (!headMatches(pattern, text, start)) {
            *pos = start + 1;
            continue;
        }
        // Starts whose star begins inside the last run share its end.
        const int64_t from = start + head;
        if (from < run->from || from > run->end) {
            run->from = from;
            run->end = RunEnd(pattern, star, text, from, len);
        }
        if (run->end > lastTail) {
            // This start's run, and so every later one's, may reach the end.
            *pos = *undecided = start;
            return false;
        }
        const int64_t matchEnd = tailEnd(pattern, text, len, run->end);
        if (matchEnd >= 0) {
            *pos = start;
            *end = matchEnd;
            return true;
        }
        // The starts up to here all run to this end and fail there.
        *pos = run->end - head + 1;
    }
    if (*pos <= lastStart)
        *pos = lastStart + 1;
    *undecided = *pos;
    return false;
}

int64_t SkipFailingHeads(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t pos)
{
    const SearchPlan &plan = pattern.plan;
    // Heads of starts up to here end before the window's last byte.
    const int64_t lastStart = len - 1 - plan.headLength;
    while (pos <= lastStart) {
        const int64_t start = pos + static_cast<int64_t>(findScanPair(plan.headScan, text + pos,
                                                                      static_cast<size_t>(lastStart - pos + 1)));
        if (start > lastStart)
            return start;
        if (headMatches(pattern, text, start))
            return start;
        pos = start + 1;
    }
    return pos;
}

int64_t RunEnd(const CompiledPattern &pattern, int element, const unsigned char *text, int64_t from, int64_t len)
{
    const SearchPlan &plan = pattern.plan;
    // Most runs are short: their first bytes alone decide them.
    for (int i = 0; i < 4; ++i, ++from)
        if (from >= len || !pattern.Accepts(element, text[from]))
            return from;
    const auto span = static_cast<size_t>(len - from);
    if (plan.runStops[element] > 0)
        return from +
               static_cast<int64_t>(FindEitherByte(text + from, span, plan.runStopA[element], plan.runStopB[element]));
    if (plan.runInRanges[element])
        return from + static_cast<int64_t>(FindOutsideRanges(text + from, span, plan.runRanges[element]));
    while (from < len && pattern.Accepts(element, text[from]))
        ++from;
    return from;
}

int64_t NextStart(const CompiledPattern &pattern, const unsigned char *text, int64_t from, int64_t to)
{
    const SearchPlan &plan = pattern.plan;
    if (plan.startScan)
        return from + static_cast<int64_t>(FindAnyOf(text + from, static_cast<size_t>(to - from), plan.startChoice));
    if (plan.startInRanges && from < to && !plan.startAccepts[text[from]])
        return from +
               static_cast<int64_t>(FindOutsideRanges(text + from, static_cast<size_t>(to - from), plan.startRefused));
    while (from < to && !plan.startAccepts[text[from]])
        ++from;
    return from;
}

int64_t PassFailingStart(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t start)
{
    const int single = pattern.plan.startSingle;
    // A byte none of the leading elements takes reaches the one-byte
    // element at once, which takes it: it was found for that.
    if (!pattern.plan.leadAccepts[text[start]])
        return -1;
    int64_t at = start;
    int64_t past = start + 1; // an attempt from any start before here fails as this one does
    for (int k = 0; k < single; ++k) {
        if (pattern.flags[k] & kRunFlags) {
            at = RunEnd(pattern, k, text, at, len);
            if (k == 0)
                past = at + 1;
        } else if (at < len && pattern.Accepts(k, text[at])) {
            ++at; // an optional that takes the byte
        }
        if (at >= len)
            return -1;
    }
    if (at + 1 >= len || pattern.Accepts(single, text[at]))
        return -1;
    return past;
}

int64_t PassStartsBeforeEnd(const CompiledPattern &pattern, const unsigned char *text, int64_t len, int64_t pos,
                            int64_t *walked)
{
    const SearchPlan &plan = pattern.plan;
    int64_t end =
        pos + static_cast<int64_t>(FindEitherByte(text + pos, static_cast<size_t>(len - pos), plan.endA, plan.endB));
    // A one-byte element that refuses the window's last byte runs off it:
    // the starts that reach it are the ordinary search's.
    if (end > len - 1)
        end = len - 1;
    // No leading element takes the byte before the run of bytes they take
    // that reaches the end: an attempt from a start before it stops there
    // at the latest, at a byte the last element refuses.
    int64_t from = end;
    while (from > pos && plan.leadAccepts[text[from - 1]])
        --from;
    *walked = end - from;
    return from;
}
