// Search plan.
//
// Chooses, from the compiled pattern alone, the scans that let the matcher
// pass over starts whose attempts are known to fail: the two rarest
// one-byte elements of the pattern's head (its leading one-byte elements),
// of an all-single pattern, or of a star-tail pattern's head or tail (by a
// fixed table of byte frequencies in source text and prose; the side whose
// hits are rarer is the one looked for); the bytes that the leading
// elements up to the first one-byte element accept (and that element's
// values, when it is the last); the bytes that end a
// starred element's runs; and whether the pattern can match at all. A
// star-tail pattern is a head, one star, and a tail of singles and
// optionals (so '$' may end it). Invariant: the plan only names elements
// and values; whether a skip is safe is the finders' matter
// (matcher_skip.cpp), which never skip an attempt that could run off the
// window or succeed.
#include "matcher_plan.h"

#include "pattern.h"

namespace {

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

// The values element k accepts as an attempt takes it, up to three of
// them, and how many there are. Element 0 with a first byte takes that byte
// in either case.
int acceptedValues(const CompiledPattern &pattern, int element, unsigned char values[3])
{
    if (element == 0 && pattern.first != 0) {
        values[0] = pattern.first;
        values[1] = pattern.firstOther;
        return values[0] == values[1] ? 1 : 2;
    }
    int found = 0;
    for (int byte = 0; byte < 256; ++byte)
        if (pattern.Accepts(element, static_cast<unsigned char>(byte))) {
            if (found < 3)
                values[found] = static_cast<unsigned char>(byte);
            ++found;
        }
    return found;
}

// How rare a hit of a scan is, from the ranks of its elements' values: about
// the number of tenths by which each element divides the hits.
int rarityOf(int rank)
{
    return 8 + rank * 4 / 10;
}

// Picks, among the one-byte elements from..to-1, the two rarest that accept
// one or two values (negated ones accept too many). Offsets count from
// element `from`.
ScanPair chooseScanPair(const CompiledPattern &pattern, int from, int to)
{
    ScanPair scan{-1, 0, 0, -1, 0, 0, 0};
    unsigned char values[3];
    int rarest = -1, secondRarest = -1;
    for (int k = from; k < to; ++k) {
        if (pattern.flags[k] & kFlagNegated)
            continue;
        int found = acceptedValues(pattern, k, values);
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
    scan.rarity = (rarest >= 0 ? rarityOf(rarest) : 0) + (secondRarest >= 0 ? rarityOf(secondRarest) : 0);
    return scan;
}

// Whether the set `accepts` is the bytes that, with `fold` OR-ed in, are
// one of at most three values; *choice gets them.
bool chooseBytes(const bool accepts[256], unsigned char fold, ByteChoice *choice)
{
    unsigned char values[3] = {};
    int found = 0;
    for (int byte = 0; byte < 256; ++byte) {
        if (!accepts[byte])
            continue;
        const auto folded = static_cast<unsigned char>(byte | fold);
        bool known = false;
        for (int i = 0; i < found && i < 3; ++i)
            known = known || values[i] == folded;
        if (!known && found++ < 3)
            values[found - 1] = folded;
    }
    if (found < 1 || found > 3)
        return false;
    *choice = ByteChoice{fold, values[0], found >= 2 ? values[1] : values[0], found >= 3 ? values[2] : values[0]};
    for (int byte = 0; byte < 256; ++byte) {
        const auto folded = static_cast<unsigned char>(byte | fold);
        if (accepts[byte] != (folded == choice->a || folded == choice->b || folded == choice->c))
            return false;
    }
    return true;
}

// Whether the bytes of `set` form at most three ranges; *ranges gets them.
bool chooseRanges(const bool set[256], ByteRanges *ranges)
{
    int found = 0;
    for (int byte = 0; byte < 256;) {
        if (!set[byte]) {
            ++byte;
            continue;
        }
        int last = byte;
        while (last + 1 < 256 && set[last + 1])
            ++last;
        if (found == 3)
            return false;
        ranges->lo[found] = static_cast<unsigned char>(byte);
        ranges->span[found] = static_cast<unsigned char>(last - byte);
        ++found;
        byte = last + 1;
    }
    if (found == 0)
        return false;
    for (int r = found; r < 3; ++r) {
        ranges->lo[r] = ranges->lo[0];
        ranges->span[r] = ranges->span[0];
    }
    return true;
}

// The leading elements that take one byte each (element 0 also when it is
// the first byte, which alone decides it, as in the ordinary scan), and the
// scan for them.
void planHead(const CompiledPattern &pattern, SearchPlan &plan)
{
    int head = 0;
    if (pattern.count > 0 && (pattern.first != 0 || pattern.TakesOneByte(0))) {
        head = 1;
        while (head < pattern.count && pattern.TakesOneByte(head))
            ++head;
    }
    plan.headLength = head;
    plan.headScan = chooseScanPair(pattern, 0, head);
    // A scan for one byte value that is the first element's is the
    // first-byte scan already.
    plan.skipHeads = head >= 2 && plan.headScan.rare >= 0;
}

// Every element takes exactly one byte.
void planLiteral(const CompiledPattern &pattern, SearchPlan &plan)
{
    plan.literal = pattern.count > 0 && plan.headLength == pattern.count;
    if (plan.literal) {
        plan.scan = chooseScanPair(pattern, 0, pattern.count);
        plan.literal = plan.scan.rare >= 0;
    }
}

// The head, one starred element, then singles and optionals, the first a
// single.
void planStarTail(const CompiledPattern &pattern, SearchPlan &plan)
{
    const int count = pattern.count;
    const uint32_t *flags = pattern.flags;
    const int star = plan.headLength;
    plan.starTail = star + 1 < count && (flags[star] & ~kFlagNegated) == kFlagStar;
    int fixedTail = star + 1; // the tail's leading singles end here
    while (plan.starTail && fixedTail < count && pattern.TakesOneByte(fixedTail))
        ++fixedTail;
    for (int k = fixedTail; k < count && plan.starTail; ++k)
        plan.starTail = pattern.TakesOneByte(k) || flags[k] == kFlagOptional;
    if (!plan.starTail)
        return;
    plan.starElement = star;
    plan.tailSingles = fixedTail;
    plan.tailBlock = fixedTail - star - 1 <= 16;
    for (int k = star + 1; k < fixedTail && plan.tailBlock; ++k) {
        unsigned char values[3] = {};
        const int found = (flags[k] & kFlagNegated) ? 0 : acceptedValues(pattern, k, values);
        const auto differ = static_cast<unsigned char>(found == 2 ? values[0] ^ values[1] : 0);
        plan.tailBlock = found == 1 || (found == 2 && (differ & (differ - 1)) == 0);
        plan.tailMask[k - star - 1] = static_cast<unsigned char>(~differ);
        plan.tailWant[k - star - 1] = static_cast<unsigned char>(values[0] & ~differ);
    }
    plan.tailScan = chooseScanPair(pattern, star + 1, fixedTail);
    // A head hit costs less than a tail hit (one run forward against a
    // walk back and a search for the head), so the head wins near-ties.
    plan.headFirst = star > 0 && plan.headScan.rarity + 2 > plan.tailScan.rarity;
    plan.starTail = plan.tailScan.rare >= 0 || (star > 0 && plan.headScan.rare >= 0);
}

// Per starred or '+' element, the one or two bytes it refuses.
void planRunStops(const CompiledPattern &pattern, SearchPlan &plan)
{
    for (int k = 0; k < pattern.count; ++k) {
        if (!(pattern.flags[k] & kRunFlags))
            continue;
        int refused = 0;
        for (int byte = 0; byte < 256 && refused <= 2; ++byte)
            if (!pattern.Accepts(k, static_cast<unsigned char>(byte))) {
                if (refused < 2)
                    (refused == 0 ? plan.runStopA[k] : plan.runStopB[k]) = static_cast<unsigned char>(byte);
                ++refused;
            }
        if (refused == 1)
            plan.runStopB[k] = plan.runStopA[k];
        plan.runStops[k] = refused <= 2 ? refused : 0;
        bool accepted[256];
        for (int byte = 0; byte < 256; ++byte)
            accepted[byte] = pattern.Accepts(k, static_cast<unsigned char>(byte));
        plan.runInRanges[k] = plan.runStops[k] == 0 && chooseRanges(accepted, &plan.runRanges[k]);
    }
}

// Element 0 takes one byte, element 1 is a star that refuses one or two
// values, and element 2, the last, takes one byte and accepts them.
void planStopStar(const CompiledPattern &pattern, SearchPlan &plan)
{
    plan.stopStar = pattern.first == 0 && pattern.count == 3 && pattern.TakesOneByte(0) &&
                    (pattern.flags[1] & ~kFlagNegated) == kFlagStar && plan.runStops[1] > 0 &&
                    pattern.TakesOneByte(2) && pattern.Accepts(2, plan.runStopA[1]) &&
                    pattern.Accepts(2, plan.runStopB[1]);
    plan.stopStarLines = plan.stopStar;
    bool starts[256];
    for (int byte = 0; byte < 256; ++byte)
        starts[byte] = pattern.Accepts(0, static_cast<unsigned char>(byte));
    plan.startsInRanges = chooseRanges(starts, &plan.startRanges);
    for (int byte = 0; byte < 256; ++byte) {
        const auto value = static_cast<unsigned char>(byte);
        const bool delimiter = value == 0 || value == '\n' || value == '\r';
        if (delimiter && pattern.Accepts(0, value))
            plan.stopStarLines = false;
        plan.byteClass[byte] = pattern.Accepts(0, value) ? kClassStart
                               : value == '\n'           ? kClassNewline
                               : delimiter               ? kClassDelimiter
                                                         : 0;
    }
}

// Element k accepts only bytes element `wider` accepts too.
bool acceptsOnlyWhat(const CompiledPattern &pattern, int element, int wider)
{
    for (int byte = 0; byte < 256; ++byte)
        if (pattern.Accepts(element, static_cast<unsigned char>(byte)) &&
            !pattern.Accepts(wider, static_cast<unsigned char>(byte)))
            return false;
    return true;
}

// Whether no attempt can ever match. Every element is passed through on
// the way to a match; an attempt fails at an element that is a '+' (it
// fails at the first byte it refuses), a one-byte element that accepts no
// byte, or a one-byte element after a star that accepts only bytes the star
// takes (the byte the star stopped at is one it refuses). Element 0 behind
// a first byte is taken as that one byte.
void planNever(const CompiledPattern &pattern, SearchPlan &plan)
{
    const int count = pattern.count;
    const uint32_t *flags = pattern.flags;
    if (pattern.first == 0 && count >= 1) {
        plan.neverPlus = (flags[0] & kFlagPlus) != 0;
        plan.neverStar =
            (flags[0] & kFlagStar) && count >= 2 && pattern.TakesOneByte(1) && acceptsOnlyWhat(pattern, 1, 0);
    }
    for (int k = pattern.first != 0 ? 1 : 0; k < count; ++k) {
        bool acceptsAny = false;
        for (int byte = 0; byte < 256 && !acceptsAny; ++byte)
            acceptsAny = pattern.Accepts(k, static_cast<unsigned char>(byte));
        if ((flags[k] & kFlagPlus) || (pattern.TakesOneByte(k) && !acceptsAny) ||
            ((flags[k] & ~kFlagNegated) == kFlagStar && k + 1 < count && pattern.TakesOneByte(k + 1) &&
             acceptsOnlyWhat(pattern, k + 1, k)))
            plan.neverMatches = true;
    }
}

// Element 0 as an attempt takes it, and whether a match can hold a newline.
void planFirst(const CompiledPattern &pattern, SearchPlan &plan)
{
    const int count = pattern.count;
    const unsigned char first = pattern.first;
    for (int byte = 0; byte < 256; ++byte)
        plan.firstAccepts[byte] = first != 0 ? (byte == first || byte == pattern.firstOther)
                                             : pattern.Accepts(0, static_cast<unsigned char>(byte));
    plan.newlineFree = !plan.firstAccepts[static_cast<unsigned char>('\n')] && count > 0 &&
                       (pattern.flags[count - 1] & (kFlagStar | kFlagOptional)) == 0;
    for (int k = 1; k < count; ++k)
        if (pattern.Accepts(k, '\n'))
            plan.newlineFree = false;
    int found = 0;
    for (int byte = 0; byte < 256; ++byte)
        if (plan.firstAccepts[byte]) {
            if (found < 2)
                (found == 0 ? plan.firstA : plan.firstB) = static_cast<unsigned char>(byte);
            ++found;
        }
    if (found == 1)
        plan.firstB = plan.firstA;
    plan.firstValues = found >= 1 && found <= 2 ? found : 0;
}

// The elements an attempt may pass without taking a byte, up to the first
// that takes exactly one, and the bytes any of them accepts.
void planStarts(const CompiledPattern &pattern, SearchPlan &plan)
{
    int single = 0;
    while (single < pattern.count && (pattern.flags[single] & ~kFlagNegated) != kFlagSingle &&
           ((pattern.flags[single] & ~kFlagNegated) == kFlagStar || pattern.flags[single] == kFlagOptional))
        ++single;
    plan.skipStarts = pattern.first == 0 && single < pattern.count && pattern.TakesOneByte(single);
    if (!plan.skipStarts)
        return;
    plan.startSingle = single;
    for (int byte = 0; byte < 256; ++byte)
        for (int k = 0; k <= single; ++k) {
            const bool accepts = pattern.Accepts(k, static_cast<unsigned char>(byte));
            plan.startAccepts[byte] = plan.startAccepts[byte] || accepts;
            plan.leadAccepts[byte] = plan.leadAccepts[byte] || (k < single && accepts);
        }
    plan.startScan =
        chooseBytes(plan.startAccepts, 0, &plan.startChoice) || chooseBytes(plan.startAccepts, 0x20, &plan.startChoice);
    plan.startTakenInRanges = chooseRanges(plan.startAccepts, &plan.startTaken);
    unsigned char ends[3] = {0, 0, 0};
    const int endValues = single == pattern.count - 1 ? acceptedValues(pattern, single, ends) : 0;
    plan.endScan = endValues >= 1 && endValues <= 2;
    plan.endA = ends[0];
    plan.endB = ends[endValues >= 1 && endValues <= 2 ? endValues - 1 : 0];
}

} // namespace

void PlanSearch(const CompiledPattern &pattern, SearchPlan *plan)
{
    *plan = SearchPlan{};
    planHead(pattern, *plan);
    planLiteral(pattern, *plan);
    planStarTail(pattern, *plan);
    planRunStops(pattern, *plan);
    planStopStar(pattern, *plan);
    planNever(pattern, *plan);
    planFirst(pattern, *plan);
    planStarts(pattern, *plan);
}
