// Search plan: what the compiled pattern lets the matcher skip, worked out
// once when the pattern is prepared and read-only from then on, so that any
// number of searches may read it at the same time.
#pragma once

#include <cstdint>

#include "bytescan.h"
#include "fyndle.h"

// The one or two rarest elements of a run of one-byte elements, with the one
// or two values each accepts, for a vector scan that checks both at once.
struct ScanPair {
    int rare;                   // offset of the rarest element, or -1: none fit
    unsigned char rareA, rareB; // the values it accepts (equal when one)
    int pair;                   // offset of the second rarest, or -1
    unsigned char pairA, pairB; // the values that one accepts
    int rarity;                 // about how rare a hit is: higher is rarer
};

// Byte classes of SearchPlan::byteClass.
inline constexpr unsigned char kClassStart = 1;     // element 0 takes it
inline constexpr unsigned char kClassNewline = 2;   // a newline
inline constexpr unsigned char kClassDelimiter = 3; // another line delimiter (NUL, carriage return)

struct SearchPlan {
    // The head: the leading elements that take one byte each (element 0
    // also when it is the first byte).
    int headLength;    // their number
    ScanPair headScan; // offsets from the start, among the head's elements
    bool skipHeads;    // the head is two elements or more and headScan has a pair to look for

    bool literal;  // every element takes exactly one byte
    ScanPair scan; // literal: offsets from the match start

    // Star tail: the head (or, with no first byte, no head); one starred
    // element, then a tail of single or optional elements of which at least
    // the first is single.
    bool starTail;   // the pattern has that shape and its head or tail a scan pair
    int starElement; // index of the starred element (headLength)
    int tailSingles; // the tail's leading singles are the elements before this
    // Up to 16 leading singles that each take one byte value, or two that
    // differ in one bit (a letter in either case): byte i of the tail fits
    // when (byte & tailMask[i]) == tailWant[i], the rest of the 16 always.
    bool tailBlock;
    unsigned char tailMask[16], tailWant[16];
    ScanPair tailScan; // offsets from the tail's first byte, among its leading singles
    bool headFirst;    // look for heads, not tails: the head's scan hits less often

    // Element 0 as an attempt takes it: the first byte in either case, or
    // the bytes its set accepts (negation applied).
    int firstValues;              // bytes element 0 accepts, when that is 1 or 2, else 0
    unsigned char firstA, firstB; // those bytes (equal when one)
    bool firstAccepts[256];       // element 0 accepts the byte

    // Starts: with no first byte, when the elements before one that takes
    // exactly one byte are all stars or optionals (which may take none), an
    // attempt at a byte none of them accepts fails right there.
    bool skipStarts;         // the pattern begins that way
    bool startScan;          // startChoice finds those bytes (else a loop over startAccepts)
    ByteChoice startChoice;  // up to three values, folded or not, that stand for them
    bool startInRanges;      // else: the bytes none of them takes form up to three ranges...
    ByteRanges startRefused; // ...these
    bool startAccepts[256];  // one of those elements accepts the byte
    bool startTakenInRanges; // the bytes startAccepts holds form up to three ranges...
    ByteRanges startTaken;   // ...these
    int startSingle;         // the first element that takes exactly one byte (0: element 0 itself)
    bool leadAccepts[256];   // one of the elements before it accepts the byte
    // And that one-byte element is the last and takes one or two values:
    // every match ends with one of them, right where the leading elements
    // stop, so a scan for those values (the rare end of `[ ]*$`) decides
    // the starts before them.
    bool endScan;
    unsigned char endA, endB; // the values (equal when one)
    // No match holds a newline: no element accepts one, and the last
    // element takes the byte a match ends with (a star or an optional one
    // ends it with the byte it refused).
    bool newlineFree;

    // No first byte, and no attempt can ever match: element 0 is a '+'
    // (which fails at the first byte it refuses), or a star followed by a
    // one-byte element that accepts only bytes the star takes (so it meets
    // a byte it refuses).
    bool neverPlus; // element 0 is a '+'
    bool neverStar; // element 0 is such a star
    // No attempt can ever match, for these or other reasons (a '+', an
    // element that accepts nothing, a star followed by a one-byte element
    // that accepts only what the star takes): a search finds nothing
    // whatever the text, and a file need not be read for it.
    bool neverMatches;

    // Stop star: no first byte, a one-byte element 0, a star that refuses
    // only the one or two values of runStop*[1], then a one-byte element
    // that takes both. The match from any start element 0 takes (but the
    // window's last byte) ends right after the first of those values that
    // follows the start, or the attempt runs off the window.
    bool stopStar;
    // And element 0 takes no line delimiter: the matching lines before a
    // stop are found by one walk over the bytes between starts, which
    // knows each byte by its class here.
    bool stopStarLines;
    unsigned char byteClass[256]; // kClassStart, kClassNewline, kClassDelimiter or 0 (none of those)
    bool startsInRanges;          // the bytes element 0 takes form up to three ranges...
    ByteRanges startRanges;       // ...these

    // Per starred or '+' element: when it refuses just one or two byte
    // values, they end its runs and a byte scan finds them.
    int runStops[kMaxElements];                                   // 1 or 2, else 0
    unsigned char runStopA[kMaxElements], runStopB[kMaxElements]; // the values (equal when one)
    // Else, when the bytes it accepts form at most three ranges, a vector
    // test of those finds them.
    bool runInRanges[kMaxElements];     // runRanges holds its set
    ByteRanges runRanges[kMaxElements]; // the ranges
};

struct CompiledPattern;

// Makes the plan of a compiled pattern whose table, flags, count, first
// bytes and case switch are set (its table already widened for case).
void PlanSearch(const CompiledPattern &pattern, SearchPlan *plan);
