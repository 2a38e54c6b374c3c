// Search plan.
//
// Chooses, from the compiled pattern alone, the scans that let the matcher
// pass over starts whose attempts are known to fail: the two rarest
// one-byte elements of an all-single pattern, or of a star-tail pattern's
// head or tail (by a fixed table of byte frequencies in source text and
// prose; the side whose hits are rarer is the one looked for), and the
// bytes a first element of one byte accepts. A star-tail pattern is a head
// of one-byte elements, one star, and a tail of singles and optionals (so
// '$' may end it). Invariant: the plan only
// names elements and values; whether a skip is safe is the finders' matter
// (matcher_skip.cpp), which never skip an attempt that could run off the
// window or succeed.
#include "matcher_plan.h"

SearchPlan g_plan;

namespace {

// How often a byte stands in typical source text and prose, most frequent
// first; bytes not listed count as the rarest.
constexpr const char kByteFrequency[] =
    " etnirsaoc_ldu\nphfm\t*;(),/bg=ykvx.-w01TE2S3#ANRIDLCOPMF4U8BGXH6K5\"{}<>79[]'&+:|!WVYQJZjqz%?\\^~@$`";

// The first byte in its other case when the search ignores case.
unsigned char firstOther()
{
    const unsigned char first = g_chFirst;
    return (!g_fMatchCase && first >= 'a' && first <= 'z') ? static_cast<unsigned char>(first - 'a' + 'A') : first;
}

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
int acceptedValues(int element, unsigned char values[3])
{
    if (element == 0 && g_chFirst != 0) {
        values[0] = g_chFirst;
        values[1] = firstOther();
        return values[0] == values[1] ? 1 : 2;
    }
    int found = 0;
    for (int byte = 0; byte < 256; ++byte)
        if ((g_aiPattern[byte] >> element) & 1u) {
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
ScanPair chooseScanPair(int from, int to)
{
    ScanPair scan{-1, 0, 0, -1, 0, 0, 0};
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
    scan.rarity = (rarest >= 0 ? rarityOf(rarest) : 0) + (secondRarest >= 0 ? rarityOf(secondRarest) : 0);
    return scan;
}

} // namespace

void PlanSearch()
{
    SearchPlan &plan = g_plan;
    plan = SearchPlan{};
    plan.count = g_cPattern;
    const unsigned char first = g_chFirst;
    plan.firstOther = firstOther();

    // Every element must take exactly one byte.
    plan.literal = g_cPattern > 0;
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

    // A head of one-byte elements (element 0 also when it is the first
    // byte, which alone decides it, as in the ordinary scan) or no head,
    // one starred element, then singles and optionals, the first a single.
    int star = 0;
    if (g_cPattern > 0 && (first != 0 || (g_aiPatCount[0] & ~kFlagNegated) == kFlagSingle)) {
        star = 1;
        while (star < g_cPattern && (g_aiPatCount[star] & ~kFlagNegated) == kFlagSingle)
            ++star;
    }
    plan.starTail = star + 1 < g_cPattern && (g_aiPatCount[star] & ~kFlagNegated) == kFlagStar;
    int fixedTail = star + 1; // the tail's leading singles end here
    while (plan.starTail && fixedTail < g_cPattern && (g_aiPatCount[fixedTail] & ~kFlagNegated) == kFlagSingle)
        ++fixedTail;
    for (int k = fixedTail; k < g_cPattern && plan.starTail; ++k)
        plan.starTail = (g_aiPatCount[k] & ~kFlagNegated) == kFlagSingle || g_aiPatCount[k] == kFlagOptional;
    if (plan.starTail) {
        plan.starElement = star;
        plan.tailSingles = fixedTail;
        plan.tailBlock = fixedTail - star - 1 <= 16;
        for (int k = star + 1; k < fixedTail && plan.tailBlock; ++k) {
            unsigned char values[3] = {};
            const int found = (g_aiPatCount[k] & kFlagNegated) ? 0 : acceptedValues(k, values);
            const auto differ = static_cast<unsigned char>(found == 2 ? values[0] ^ values[1] : 0);
            plan.tailBlock = found == 1 || (found == 2 && (differ & (differ - 1)) == 0);
            plan.tailMask[k - star - 1] = static_cast<unsigned char>(~differ);
            plan.tailWant[k - star - 1] = static_cast<unsigned char>(values[0] & ~differ);
        }
        plan.starBit = 1u << star;
        plan.starFlip = (g_aiPatCount[star] & kFlagNegated) ? plan.starBit : 0u;
        plan.tailScan = chooseScanPair(star + 1, fixedTail);
        plan.headScan = chooseScanPair(0, star);
        // A head hit costs less than a tail hit (one run forward against a
        // walk back and a search for the head), so the head wins near-ties.
        plan.headFirst = star > 0 && plan.headScan.rarity + 2 > plan.tailScan.rarity;
        plan.starTail = plan.tailScan.rare >= 0 || (star > 0 && plan.headScan.rare >= 0);
    }

    for (int k = 0; k < g_cPattern; ++k) {
        if (!(g_aiPatCount[k] & (kFlagStar | kFlagPlus)))
            continue;
        const bool negated = g_aiPatCount[k] & kFlagNegated;
        int refused = 0;
        for (int byte = 0; byte < 256 && refused <= 2; ++byte)
            if ((((g_aiPattern[byte] >> k) & 1u) != 0) == negated) {
                if (refused < 2)
                    (refused == 0 ? plan.runStopA[k] : plan.runStopB[k]) = static_cast<unsigned char>(byte);
                ++refused;
            }
        if (refused == 1)
            plan.runStopB[k] = plan.runStopA[k];
        plan.runStops[k] = refused <= 2 ? refused : 0;
    }

    const uint32_t flags0 = g_aiPatCount[0];
    plan.skipFirst = first == 0 && g_cPattern > 0 && (flags0 & (kFlagStar | kFlagPlus | kFlagOptional)) == 0;
    for (int byte = 0; byte < 256; ++byte)
        plan.firstAccepts[byte] = first != 0 ? (byte == first || byte == plan.firstOther)
                                             : (((g_aiPattern[byte] & 1u) != 0) != ((flags0 & kFlagNegated) != 0));
    if (first == 0 && g_cPattern >= 1) {
        plan.neverPlus = (flags0 & kFlagPlus) != 0;
        if ((flags0 & kFlagStar) && g_cPattern >= 2 && (g_aiPatCount[1] & ~kFlagNegated) == kFlagSingle) {
            const bool negated1 = g_aiPatCount[1] & kFlagNegated;
            plan.neverStar = true;
            for (int byte = 0; byte < 256; ++byte)
                if ((((g_aiPattern[byte] >> 1) & 1u) != 0) != negated1 && !plan.firstAccepts[byte])
                    plan.neverStar = false;
        }
    }
    plan.newlineFree =
        !plan.firstAccepts['\n'] && g_cPattern > 0 && (g_aiPatCount[g_cPattern - 1] & (kFlagStar | kFlagOptional)) == 0;
    for (int k = 1; k < g_cPattern; ++k)
        if ((((g_aiPattern['\n'] ^ plan.negated) >> k) & 1u) != 0)
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
