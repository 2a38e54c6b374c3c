// Matcher.
//
// An attempt runs the elements over the text from one start position.
// With a first byte (g_chFirst) the start is found by a bulk scan, element 0
// counts as matched there, and the scan counts the newlines it passes; the
// line counter otherwise moves only over the bytes of successful matches.
// An attempt that runs into the end of the window stops the search of the
// window: the caller carries the rest into the next one, where the attempt
// is made again with more text.
//
// Two shortcuts give the same results with less work. A pattern whose
// elements all take exactly one byte is looked for by its two rarest bytes:
// every attempt that starts far enough from the window's end either matches
// whole or fails, so the ones without those bytes in place are skipped (the
// newlines a first-byte scan would have passed are counted lazily all the
// same). A pattern made of a first byte, a starred element and a tail of
// one-byte elements is looked for by its tail: the star takes all it can
// and never gives back, so an attempt succeeds only where its star run ends
// right at an occurrence of the tail, and attempts whose star run ends far
// enough from the window's end only match or fail. Otherwise a pattern
// without a first byte whose first element takes one byte skips the bytes
// that element refuses, since an attempt there fails at once.
#include "matcher.h"

#include <cctype>
#include <cstring>

#include "bytescan.h"
#include "fyndle.h"
#include "report.h"

namespace {

enum class Outcome { Success, Fail, RanOut };

// The one or two rarest elements of a run of one-byte elements, with the one
// or two values each accepts, for a vector scan that checks both at once.
struct ScanPair {
    int rare;                 // offset of the rarest element, or -1: none fit
    unsigned char rareA, rareB;
    int pair;                 // offset of the second, or -1
    unsigned char pairA, pairB;
};

// How often a byte stands in typical source text and prose, most frequent
// first; bytes not listed count as the rarest.
constexpr const char kByteFrequency[] =
    " etnirsaoc_ldu\nphfm\t*;(),/bg=ykvx.-w01TE2S3#ANRIDLCOPMF4U8BGXH6K5\"{}<>79[]'&+:|!WVYQJZjqz%?\\^~@$`";

constexpr int byteRank(unsigned char byte)
{
    for (int i = 0; kByteFrequency[i] != 0; ++i)
        if (static_cast<unsigned char>(kByteFrequency[i]) == byte)
            return i;
    return 255;
}

// What the pattern allows the search to skip. Made again whenever the
// compiled pattern or the case switch changes.
struct Plan {
    // The pattern it was made for.
    uint32_t table[256];
    uint32_t flags[kMaxElements + 1];
    int count;
    unsigned char first;
    unsigned char matchCase;

    bool literal;             // every element takes exactly one byte
    uint32_t negated;         // bit k: element k accepts what its table bit refuses
    ScanPair scan;            // literal: offsets from the match start

    bool starTail;            // first byte, element 1 starred, the rest one byte each
    uint32_t starBit;         // element 1's table bit
    uint32_t starFlip;        // starBit when element 1 is negated, else 0
    ScanPair tailScan;        // starTail: offsets from the tail's first byte
    bool skipFirst;           // no first byte, element 0 takes exactly one byte
    int firstValues;          // bytes element 0 accepts, when that is 1 or 2
    unsigned char firstA, firstB;
    bool firstAccepts[256];   // element 0 accepts the byte (negation applied)
};

Plan s_plan;
bool s_planned;
bool s_shortcuts = true;

// The values element k accepts, up to three of them, and how many there are.
int acceptedValues(int element, unsigned char values[3])
{
    int found = 0;
    for (int byte = 0; byte < 256; ++byte)
        if ((g_aiPattern[byte] >> element) & 1u) {
            if (found < 3)
                values[found] = static_cast<unsigned char>(byte);
            ++found;
        }
    return found;
}

// Picks, among the one-byte elements from..to-1, the two rarest that accept
// one or two values (negated ones accept too many). Offsets count from
// element `from`.
ScanPair chooseScanPair(int from, int to)
{
    ScanPair scan{-1, 0, 0, -1, 0, 0};
    unsigned char values[3];
    int rarest = -1, secondRarest = -1;
    for (int k = from; k < to; ++k) {
        if (g_aiPatCount[k] & kFlagNegated)
            continue;
        int found = acceptedValues(k, values);
        if (found < 1 || found > 2)
            continue;
        unsigned char other = found == 2 ? values[1] : values[0];
        // A pair of values is as frequent as its more frequent member.
        int rank = byteRank(values[0]) < byteRank(other) ? byteRank(values[0]) : byteRank(other);
        if (rank > rarest) {
            secondRarest = rarest;
            scan.pair = scan.rare;
            scan.pairA = scan.rareA;
            scan.pairB = scan.rareB;
            rarest = rank;
            scan.rare = k - from;
            scan.rareA = values[0];
            scan.rareB = other;
        } else if (rank > secondRarest) {
            secondRarest = rank;
            scan.pair = k - from;
            scan.pairA = values[0];
            scan.pairB = other;
        }
    }
    return scan;
}

const Plan &currentPlan()
{
    Plan &plan = s_plan;
    if (s_planned && plan.count == g_cPattern && plan.first == g_chFirst && plan.matchCase == g_fMatchCase &&
        std::memcmp(plan.table, g_aiPattern, sizeof plan.table) == 0 &&
        std::memcmp(plan.flags, g_aiPatCount, sizeof plan.flags) == 0)
        return plan;
    std::memcpy(plan.table, g_aiPattern, sizeof plan.table);
    std::memcpy(plan.flags, g_aiPatCount, sizeof plan.flags);
    plan.count = g_cPattern;
    plan.first = g_chFirst;
    plan.matchCase = g_fMatchCase;
    s_planned = true;

    // Every element must take exactly one byte.
    plan.literal = g_cPattern > 0;
    plan.negated = 0;
    for (int k = 0; k < g_cPattern; ++k) {
        const uint32_t flags = g_aiPatCount[k];
        if ((flags & ~kFlagNegated) != kFlagSingle)
            plan.literal = false;
        if (flags & kFlagNegated)
            plan.negated |= 1u << k;
    }
    if (plan.literal) {
        plan.scan = chooseScanPair(0, g_cPattern);
        plan.literal = plan.scan.rare >= 0;
    }

    // A first byte, a star, then at least one element of exactly one byte.
    // The first byte alone decides element 0 (as in the ordinary scan).
    plan.starTail = g_chFirst != 0 && g_cPattern >= 3 && g_aiPatCount[0] == kFlagSingle &&
                    (g_aiPatCount[1] & ~kFlagNegated) == kFlagStar;
    for (int k = 2; k < g_cPattern && plan.starTail; ++k)
        plan.starTail = (g_aiPatCount[k] & ~kFlagNegated) == kFlagSingle;
    if (plan.starTail) {
        plan.starBit = 1u << 1;
        plan.starFlip = (g_aiPatCount[1] & kFlagNegated) ? plan.starBit : 0u;
        plan.tailScan = chooseScanPair(2, g_cPattern);
        plan.starTail = plan.tailScan.rare >= 0;
    }

    const uint32_t flags0 = g_aiPatCount[0];
    plan.skipFirst = g_chFirst == 0 && g_cPattern > 0 && (flags0 & (kFlagStar | kFlagPlus | kFlagOptional)) == 0;
    for (int byte = 0; byte < 256; ++byte)
        plan.firstAccepts[byte] = (((g_aiPattern[byte] & 1u) != 0) != ((flags0 & kFlagNegated) != 0));
    plan.firstValues = 0;
    if (plan.skipFirst) {
        int found = 0;
        for (int byte = 0; byte < 256; ++byte)
            if (plan.firstAccepts[byte]) {
                if (found < 2)
                    (found == 0 ? plan.firstA : plan.firstB) = static_cast<unsigned char>(byte);
                ++found;
            }
        if (found == 1)
            plan.firstB = plan.firstA;
        plan.firstValues = found <= 2 ? found : 0;
    }
    return plan;
}

// Runs elements from `element` on, from text[pos]. On success *end is one
// past the last byte examined. An element's count starts at 0 when the
// attempt reaches it: elements are reached in order, so that is the same as
// clearing them all at the start, without the work for those never reached.
Outcome attempt(const unsigned char *text, int64_t len, int64_t pos, int element, int64_t *end)
{
    const int count = g_cPattern;
    if (pos >= len)
        return Outcome::RanOut;
    g_aiMatchCount[element] = 0;
    for (;;) {
        const int previous = element;
        const uint32_t flags = g_aiPatCount[element];
        bool accepted = (g_aiPattern[text[pos]] >> element) & 1u;
        if (flags & kFlagNegated)
            accepted = !accepted;
        int32_t &matched = g_aiMatchCount[element];
        matched = accepted ? matched + 1 : -matched;

        bool consumed = accepted;
        if (flags & kFlagStar) {
            if (accepted) {
                // Take the whole run of accepted bytes at once.
                const uint32_t bit = 1u << element;
                const uint32_t flip = (flags & kFlagNegated) ? bit : 0u;
                int64_t run = pos + 1;
                while (run < len && ((g_aiPattern[text[run]] ^ flip) & bit))
                    ++run;
                if (run >= len)
                    return Outcome::RanOut;
                matched += static_cast<int32_t>(run - pos - 1);
                pos = run;
                continue;
            }
            ++element;
        } else if (flags & kFlagPlus) {
            // Going on needs the next element to have accepted bytes in this
            // attempt already, which it cannot have, not being reached yet:
            // the attempt fails.
            if (!accepted)
                return Outcome::Fail;
        } else if (flags & kFlagOptional) {
            ++element;
        } else {
            ++element;
            if (!accepted)
                return pos + 1 >= len ? Outcome::RanOut : Outcome::Fail;
        }
        if (element >= count) {
            *end = pos + 1;
            return Outcome::Success;
        }
        if (element != previous)
            g_aiMatchCount[element] = 0;
        if (consumed && ++pos >= len)
            return Outcome::RanOut;
    }
}

// First of `places` positions p at which the scanned elements accept
// text[p + offset], or `places`.
size_t findScanPair(const ScanPair &scan, const unsigned char *text, size_t places)
{
    if (scan.pair < 0)
        return FindEitherByte(text + scan.rare, places, scan.rareA, scan.rareB);
    return FindBytePair(text, places, static_cast<size_t>(scan.rare), scan.rareA, scan.rareB,
                        static_cast<size_t>(scan.pair), scan.pairA, scan.pairB);
}

// For a pattern of one-byte elements: moves *pos to the next start from which
// the whole pattern matches and returns true; or, when no such start lies
// far enough from the window's end to be decided here, moves *pos to the
// first start that the ordinary scan must try and returns false. Attempts
// at the starts passed over would fail without running off the window.
bool findLiteral(const Plan &plan, const unsigned char *text, int64_t len, int64_t *pos)
{
    const int64_t elements = plan.count;
    const int64_t decided = len - elements;  // attempts from before here cannot run off
    const ScanPair &scan = plan.scan;
    while (*pos < decided) {
        const size_t starts = static_cast<size_t>(decided - *pos);
        const size_t found = findScanPair(scan, text + *pos, starts);
        int64_t candidate = *pos + static_cast<int64_t>(found);
        if (candidate >= decided)
            break;
        int64_t k = 0;
        while (k < elements && (((plan.table[text[candidate + k]] ^ plan.negated) >> k) & 1u))
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

// The first start from which an attempt of a star-tail pattern may run off
// the window. An attempt from start s runs its star from s + 1 to the first
// byte the star refuses, run(s), and then checks the tail there; it can only
// run off when the tail would reach the window's last byte, i.e. when
// run(s) >= len - tail. Since run(s) never decreases with s, those starts
// are the ones from the returned position on.
int64_t starTailUndecided(const Plan &plan, const unsigned char *text, int64_t len)
{
    const int64_t tail = plan.count - 2;
    int64_t run = len - tail;  // starts s >= run - 1 have run(s) >= len - tail
    while (run > 0 && ((plan.table[text[run - 1]] ^ plan.starFlip) & plan.starBit))
        --run;
    return run > 0 ? run - 1 : 0;
}

// For a star-tail pattern: moves *pos to the next start from which the
// pattern matches, sets *end past the match and returns true; or, when no
// such start lies before `undecided`, moves *pos to the first start the
// ordinary scan must try and returns false. Every start passed over would
// fail without running off the window.
bool findStarTail(const Plan &plan, const unsigned char *text, int64_t len, int64_t undecided, unsigned char first,
                  unsigned char firstOther, int64_t *pos, int64_t *end)
{
    const int64_t tail = plan.count - 2;
    const uint32_t tailNegated = plan.negated >> 2;
    const ScanPair &scan = plan.tailScan;
    const auto inStar = [&plan](unsigned char byte) { return ((plan.table[byte] ^ plan.starFlip) & plan.starBit) != 0; };
    // A success from s < undecided has its tail at run(s) <= len - 1 - tail.
    const int64_t lastTail = len - 1 - tail;
    int64_t from = *pos + 1;  // where the next tail may begin: after a first byte
    while (*pos < undecided && from <= lastTail) {
        const size_t places = static_cast<size_t>(lastTail - from + 1);
        const size_t found = findScanPair(scan, text + from, places);
        const int64_t at = from + static_cast<int64_t>(found);
        if (at > lastTail)
            break;
        from = at + 1;
        int64_t k = 0;
        while (k < tail && ((((plan.table[text[at + k]] >> 2) ^ tailNegated) >> k) & 1u))
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
        const int64_t start = lowest + static_cast<int64_t>(FindEitherByte(text + lowest, static_cast<size_t>(at - lowest),
                                                                           first, firstOther));
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

bool isWordByte(unsigned char byte)
{
    return byte == '_' || std::isalnum(byte);
}



} // namespace

void SetMatcherShortcuts(bool on)
{
    s_shortcuts = on;
}

int iGrepText(const char *name, const char *textArg, int lenArg, int64_t *offset, int64_t *line,
              const char *print, int matchWord)
{
    if (lenArg < 1 || g_cPattern < 1)
        return 0;
    const auto *text = reinterpret_cast<const unsigned char *>(textArg);
    const int64_t len = lenArg;
    const unsigned char first = g_chFirst;
    // Unless the search is case-sensitive, the first byte may stand in the
    // text in either case (the tables are widened the same way).
    const unsigned char firstOther =
        (!g_fMatchCase && first >= 'a' && first <= 'z') ? static_cast<unsigned char>(first - 'a' + 'A') : first;

    const Plan &plan = currentPlan();
    const bool literal = s_shortcuts && plan.literal;
    const bool starTail = s_shortcuts && plan.starTail;
    const bool skipFirst = s_shortcuts && plan.skipFirst;
    const int64_t undecided = starTail ? starTailUndecided(plan, text, len) : 0;
    int reports = 0;
    int64_t pos = 0;      // where the next attempt (or first-byte scan) begins
    int64_t counted = 0;  // with a first byte: newlines before this are in *line
    int64_t stop = len;   // bytes consumed when the search of the window ends
    for (;;) {
        int64_t start;
        int64_t end = 0;
        Outcome outcome;
        if (literal && findLiteral(plan, text, len, &pos)) {
            start = pos;
            end = pos + g_cPattern;
            outcome = Outcome::Success;
        } else if (starTail && pos < undecided && findStarTail(plan, text, len, undecided, first, firstOther, &pos, &end)) {
            start = pos;
            outcome = Outcome::Success;
        } else if (first != 0) {
            start = pos + static_cast<int64_t>(FindEitherByte(text + pos, static_cast<size_t>(len - pos), first, firstOther));
            if (start >= len) {
                *line += CountNewlines(text + counted, static_cast<size_t>(len - counted));
                stop = len;
                break;
            }
            g_aiMatchCount[0] = 1;
            if (g_cPattern == 1) {
                end = start + 1;
                outcome = Outcome::Success;
            } else {
                outcome = attempt(text, len, start + 1, 1, &end);
            }
        } else {
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
            outcome = attempt(text, len, start, 0, &end);
        }

        if (outcome == Outcome::Fail) {
            pos = start + 1;
            continue;
        }
        if (outcome == Outcome::RanOut) {
            if (first != 0) {
                *line += CountNewlines(text + counted, static_cast<size_t>(start + 1 - counted));
                stop = start + 1;
            } else {
                stop = start;
            }
            break;
        }

        // Success: the line counter at the match start, then over the match.
        int64_t lineAtStart;
        if (first != 0) {
            lineAtStart = *line + CountNewlines(text + counted, static_cast<size_t>(start + 1 - counted));
            *line = lineAtStart + CountNewlines(text + start + 1, static_cast<size_t>(end - start - 1));
        } else {
            lineAtStart = *line;
            *line += CountNewlines(text + start, static_cast<size_t>(end - start));
        }

        bool dropped = matchWord && ((start > 0 && isWordByte(text[start - 1])) ||
                                     (end < len && isWordByte(text[end])));
        if (dropped) {
            pos = counted = end;
            continue;
        }
        ++reports;
        if (g_fBinary) {
            if (name != nullptr)
                ReportMatch(name, *offset + start, print + start, static_cast<size_t>(end - start));
            pos = counted = end;
            continue;
        }
        const int64_t lineStart =
            IsLineDelimiter(text[start]) ? start + 1 : static_cast<int64_t>(FindLineStart(text, static_cast<size_t>(start)));
        const int64_t lineEnd =
            lineStart + static_cast<int64_t>(FindLineDelimiter(text + lineStart, static_cast<size_t>(len - lineStart)));
        if (name != nullptr)
            ReportLine(name, lineAtStart + 1, print + lineStart, static_cast<size_t>(lineEnd - lineStart));
        // One report per line: go on at the delimiter that ends it. Newlines
        // that the match took beyond that point are counted once more.
        pos = counted = lineEnd;
    }
    *offset += stop;
    return reports;
}
