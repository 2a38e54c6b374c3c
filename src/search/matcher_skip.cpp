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

bool FindLiteral(const SearchPlan &plan, const unsigned char *text, int64_t len, int64_t *pos)
{
    const int64_t elements = plan.count;
    const int64_t decided = len - elements; // attempts from before here cannot run off
    const ScanPair &scan = plan.scan;
    while (*pos < decided) {
        const size_t starts = static_cast<size_t>(decided - *pos);
        const size_t found = findScanPair(scan, text + *pos, starts);
        int64_t candidate = *pos + static_cast<int64_t>(found);
        if (candidate >= decided)
            break;
        int64_t k = 0;
        while (k < elements && (((g_aiPattern[text[candidate + k]] ^ plan.negated) >> k) & 1u))
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

// An attempt from start s runs its star from s + 1 to the first byte the
// star refuses, run(s), and then checks the tail there; it can only run off
// when the tail would reach the window's last byte, i.e. when
// run(s) >= len - tail. Since run(s) never decreases with s, those starts
// are the ones from the returned position on. The walk back stops at pos,
// so that it never costs more than the part of the window still ahead.
int64_t StarTailUndecided(const SearchPlan &plan, const unsigned char *text, int64_t len, int64_t pos)
{
    const int64_t tail = plan.count - 2;
    int64_t run = len - tail; // starts s >= run - 1 have run(s) >= len - tail
    while (run > pos + 1 && ((g_aiPattern[text[run - 1]] ^ plan.starFlip) & plan.starBit))
        --run;
    return run > pos + 1 ? run - 1 : pos;
}

bool FindStarTail(const SearchPlan &plan, const unsigned char *text, int64_t len, int64_t undecided,
                  unsigned char first, int64_t *pos, int64_t *end)
{
    const int64_t tail = plan.count - 2;
    const uint32_t tailNegated = plan.negated >> 2;
    const ScanPair &scan = plan.tailScan;
    const auto inStar = [&plan](unsigned char byte) {
        return ((g_aiPattern[byte] ^ plan.starFlip) & plan.starBit) != 0;
    };
    // A success from s < undecided has its tail at run(s) <= len - 1 - tail.
    const int64_t lastTail = len - 1 - tail;
    int64_t from = *pos + 1; // where the next tail may begin: after a first byte
    while (*pos < undecided && from <= lastTail) {
        const size_t places = static_cast<size_t>(lastTail - from + 1);
        const size_t found = findScanPair(scan, text + from, places);
        const int64_t at = from + static_cast<int64_t>(found);
        if (at > lastTail)
            break;
        from = at + 1;
        int64_t k = 0;
        while (k < tail && ((((g_aiPattern[text[at + k]] >> 2) ^ tailNegated) >> k) & 1u))
            ++k;
        // The tail counts only where a star run ends, i.e. its first byte
        // is one the star refuses; elsewhere a run may go on past it.
        if (k < tail || inStar(text[at]))
            continue;
        // The starts whose run ends here: a first byte at or after the byte
        // before the run; the lowest of them matches.
        int64_t runStart = at;
        while (runStart - 1 > *pos && inStar(text[runStart - 1]))
            --runStart;
        const int64_t lowest = runStart - 1 > *pos ? runStart - 1 : *pos;
        const int64_t start = lowest + static_cast<int64_t>(FindEitherByte(
                                           text + lowest, static_cast<size_t>(at - lowest), first, plan.firstOther));
        if (start < at) {
            *pos = start;
            *end = at + tail;
            return true;
        }
        // Every start before here has its run end here or at an earlier
        // place, where no tail matched: none of them matches.
        *pos = at;
    }
    if (*pos < undecided)
        *pos = undecided;
    return false;
}
