// Bulk byte primitives for the matcher and the line counter: find the first
// or last of two byte values, the first of up to three or outside up to
// three ranges or the first of a pair at two offsets, find a line's ends,
// count newlines; classify a window's bytes into sets of bits and walk
// those. SSE2 (part of every x86-64) where the compiler has it, plain loops
// elsewhere; the hottest also in AVX2 (bytescan_avx2.cpp), taken for spans
// of kAvx2From bytes or more (a whole window, for the classes) where the
// processor has it. All forms give the same answers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#if defined(__x86_64__) && defined(__GNUC__)
#define FYNDLE_BYTESCAN_AVX2 1
// Set before main runs: the processor has AVX2; it has the popcount
// instruction.
extern const bool g_fAvx2Scan;
extern const bool g_fPopcount;
// Shorter spans stay with the inline forms, which need no call.
constexpr size_t kAvx2From = 64;
size_t FindEitherByteAvx2(const unsigned char *text, size_t len, unsigned char a, unsigned char b);
size_t FindBytePairAvx2(const unsigned char *text, size_t count, size_t offsetA, unsigned char a1, unsigned char a2,
                        size_t offsetB, unsigned char b1, unsigned char b2);
int64_t CountNewlinesAvx2(const unsigned char *text, size_t len);
#endif

// Position of the first byte equal to a in [text, text + len), or len,
// for a byte that is usually near (the next line's end): the first 64
// bytes are looked at inline, a block at a time, before the library scan.
inline size_t FindNearByte(const unsigned char *text, size_t len, unsigned char a)
{
    size_t at = 0;
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(static_cast<char>(a));
    for (; at + 16 <= len && at < 64; at += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + at));
        if (const int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(block, va)))
            return at + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
    }
#endif
    const void *hit = std::memchr(text + at, a, len - at);
    return hit ? static_cast<size_t>(static_cast<const unsigned char *>(hit) - text) : len;
}

// Position of the first byte equal to a or b in [text, text + len), or len.
inline size_t FindEitherByte(const unsigned char *text, size_t len, unsigned char a, unsigned char b)
{
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(static_cast<char>(a));
    const __m128i vb = _mm_set1_epi8(static_cast<char>(b));
#endif
    if (a == b) {
        size_t skipped = 0;
#if defined(__SSE2__)
        // A frequent byte is often in the first block: no call for it.
        if (len >= 16) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text));
            if (const int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(block, va)))
                return static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
            skipped = 16;
        }
#endif
        const void *hit = std::memchr(text + skipped, a, len - skipped);
        return hit ? static_cast<size_t>(static_cast<const unsigned char *>(hit) - text) : len;
    }
#if defined(FYNDLE_BYTESCAN_AVX2)
    if (len >= kAvx2From && g_fAvx2Scan)
        return FindEitherByteAvx2(text, len, a, b);
#endif
    size_t i = 0;
#if defined(__SSE2__)
    for (; i + 16 <= len; i += 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + i));
        int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(block, va), _mm_cmpeq_epi8(block, vb)));
        if (mask != 0)
            return i + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
    }
#endif
    for (; i < len; ++i)
        if (text[i] == a || text[i] == b)
            return i;
    return len;
}

// Up to three byte values looked for at once, each byte of the text taken
// with `fold` OR-ed into it first (0x20: a letter in either case; 0: as it
// stands).
struct ByteChoice {
    unsigned char fold;    // OR-ed into each text byte before comparing
    unsigned char a, b, c; // the values (repeated when fewer)
};

// Position of the first byte in [text, text + len) that, folded, equals one
// of the choice's values, or len.
inline size_t FindAnyOf(const unsigned char *text, size_t len, const ByteChoice &choice)
{
    size_t i = 0;
#if defined(__SSE2__)
    const __m128i fold = _mm_set1_epi8(static_cast<char>(choice.fold));
    const __m128i va = _mm_set1_epi8(static_cast<char>(choice.a));
    const __m128i vb = _mm_set1_epi8(static_cast<char>(choice.b));
    const __m128i vc = _mm_set1_epi8(static_cast<char>(choice.c));
    for (; i + 16 <= len; i += 16) {
        const __m128i block = _mm_or_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(text + i)), fold);
        const int mask = _mm_movemask_epi8(_mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(block, va), _mm_cmpeq_epi8(block, vb)), _mm_cmpeq_epi8(block, vc)));
        if (mask != 0)
            return i + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
    }
#endif
    for (; i < len; ++i) {
        const unsigned char byte = text[i] | choice.fold;
        if (byte == choice.a || byte == choice.b || byte == choice.c)
            return i;
    }
    return len;
}

// A set of byte values as up to three ranges lo[r] .. lo[r] + span[r]
// (unused ranges repeat the first), for a vector test.
struct ByteRanges {
    unsigned char lo[3];   // first value of each range
    unsigned char span[3]; // its last value minus its first
};

// Position of the first byte in [text, text + len) that lies in none of
// the ranges, or len.
inline size_t FindOutsideRanges(const unsigned char *text, size_t len, const ByteRanges &ranges)
{
    size_t i = 0;
#if defined(__SSE2__)
    // In a range when the distance from its first value, wrapping below it,
    // is at most its span: the saturated difference is then zero.
    const __m128i zero = _mm_setzero_si128();
    const auto inRange = [&](__m128i block, int r) {
        const __m128i distance = _mm_sub_epi8(block, _mm_set1_epi8(static_cast<char>(ranges.lo[r])));
        return _mm_cmpeq_epi8(_mm_subs_epu8(distance, _mm_set1_epi8(static_cast<char>(ranges.span[r]))), zero);
    };
    for (; i + 16 <= len; i += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + i));
        const __m128i inside = _mm_or_si128(_mm_or_si128(inRange(block, 0), inRange(block, 1)), inRange(block, 2));
        const unsigned outside = ~static_cast<unsigned>(_mm_movemask_epi8(inside)) & 0xFFFFu;
        if (outside != 0)
            return i + static_cast<size_t>(__builtin_ctz(outside));
    }
#endif
    for (; i < len; ++i) {
        bool inside = false;
        for (int r = 0; r < 3; ++r)
            inside = inside || static_cast<unsigned char>(text[i] - ranges.lo[r]) <= ranges.span[r];
        if (!inside)
            return i;
    }
    return len;
}

// Position of the last byte equal to a or b in [text, text + len), or len
// when there is none.
inline size_t FindLastEitherByte(const unsigned char *text, size_t len, unsigned char a, unsigned char b)
{
    if (a == b) {
        const void *hit = memrchr(text, a, len);
        return hit ? static_cast<size_t>(static_cast<const unsigned char *>(hit) - text) : len;
    }
    size_t i = len;
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(static_cast<char>(a));
    const __m128i vb = _mm_set1_epi8(static_cast<char>(b));
    for (; i >= 16; i -= 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + i - 16));
        int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(block, va), _mm_cmpeq_epi8(block, vb)));
        if (mask != 0)
            return i - 16 + static_cast<size_t>(31 - __builtin_clz(static_cast<unsigned>(mask)));
    }
#endif
    for (; i > 0; --i)
        if (text[i - 1] == a || text[i - 1] == b)
            return i - 1;
    return len;
}

// First position s in [0, count) with text[s + offsetA] equal to a1 or a2
// and text[s + offsetB] equal to b1 or b2, or count. Reads no further than
// text[count - 1 + max(offsetA, offsetB)].
inline size_t FindBytePair(const unsigned char *text, size_t count, size_t offsetA, unsigned char a1, unsigned char a2,
                           size_t offsetB, unsigned char b1, unsigned char b2)
{
#if defined(FYNDLE_BYTESCAN_AVX2)
    if (count >= kAvx2From && g_fAvx2Scan)
        return FindBytePairAvx2(text, count, offsetA, a1, a2, offsetB, b1, b2);
#endif
    size_t s = 0;
#if defined(__SSE2__)
    const __m128i va1 = _mm_set1_epi8(static_cast<char>(a1));
    const __m128i va2 = _mm_set1_epi8(static_cast<char>(a2));
    const __m128i vb1 = _mm_set1_epi8(static_cast<char>(b1));
    const __m128i vb2 = _mm_set1_epi8(static_cast<char>(b2));
    const auto hits = [&](size_t start) {
        __m128i blockA = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + start + offsetA));
        __m128i blockB = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + start + offsetB));
        __m128i hitA = _mm_or_si128(_mm_cmpeq_epi8(blockA, va1), _mm_cmpeq_epi8(blockA, va2));
        __m128i hitB = _mm_or_si128(_mm_cmpeq_epi8(blockB, vb1), _mm_cmpeq_epi8(blockB, vb2));
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(hitA, hitB)));
    };
    // Two blocks a round, one branch for both.
    for (; s + 32 <= count; s += 32) {
        unsigned mask = hits(s) | (hits(s + 16) << 16);
        if (mask != 0)
            return s + static_cast<size_t>(__builtin_ctz(mask));
    }
    for (; s + 16 <= count; s += 16) {
        unsigned mask = hits(s);
        if (mask != 0)
            return s + static_cast<size_t>(__builtin_ctz(mask));
    }
#endif
    for (; s < count; ++s) {
        unsigned char atA = text[s + offsetA], atB = text[s + offsetB];
        if ((atA == a1 || atA == a2) && (atB == b1 || atB == b2))
            return s;
    }
    return count;
}

// Whether each of the 16 bytes at text, masked by mask[i], equals want[i].
inline bool BlockFits(const unsigned char *text, const unsigned char *mask, const unsigned char *want)
{
#if defined(__SSE2__)
    const auto load = [](const unsigned char *at) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(at)); };
    return _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(load(text), load(mask)), load(want))) == 0xFFFF;
#else
    for (int i = 0; i < 16; ++i)
        if ((text[i] & mask[i]) != want[i])
            return false;
    return true;
#endif
}

// Turns the capitals A to Z of text[0, len) into small letters.
inline void FoldCapitals(unsigned char *text, size_t len)
{
    size_t i = 0;
#if defined(__SSE2__)
    // Signed compares: bytes from 0x80 up count as below 'A'.
    const __m128i belowA = _mm_set1_epi8('A' - 1), aboveZ = _mm_set1_epi8('Z' + 1), caseBit = _mm_set1_epi8(0x20);
    for (; i + 16 <= len; i += 16) {
        auto *at = reinterpret_cast<__m128i *>(text + i);
        const __m128i block = _mm_loadu_si128(at);
        const __m128i capital = _mm_and_si128(_mm_cmpgt_epi8(block, belowA), _mm_cmplt_epi8(block, aboveZ));
        _mm_storeu_si128(at, _mm_or_si128(block, _mm_and_si128(capital, caseBit)));
    }
#endif
    for (; i < len; ++i)
        if (text[i] >= 'A' && text[i] <= 'Z')
            text[i] = static_cast<unsigned char>(text[i] - 'A' + 'a');
}

// FoldCapitals in whole 16-byte blocks, the last one masked: the up to 15
// bytes after text[len) are read and written back unchanged, so they must
// be the caller's.
inline void FoldCapitalsInBlocks(unsigned char *text, size_t len)
{
#if defined(__SSE2__)
    const __m128i belowA = _mm_set1_epi8('A' - 1), aboveZ = _mm_set1_epi8('Z' + 1), caseBit = _mm_set1_epi8(0x20);
    const __m128i lanes = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    for (size_t i = 0; i < len; i += 16) {
        auto *at = reinterpret_cast<__m128i *>(text + i);
        const __m128i block = _mm_loadu_si128(at);
        const __m128i inSpan = _mm_cmplt_epi8(lanes, _mm_set1_epi8(static_cast<char>(len - i < 16 ? len - i : 16)));
        const __m128i capital =
            _mm_and_si128(inSpan, _mm_and_si128(_mm_cmpgt_epi8(block, belowA), _mm_cmplt_epi8(block, aboveZ)));
        _mm_storeu_si128(at, _mm_or_si128(block, _mm_and_si128(capital, caseBit)));
    }
#else
    FoldCapitals(text, len);
#endif
}

// A line ends at a NUL, a newline or a carriage return.
inline bool IsLineDelimiter(unsigned char byte)
{
    return byte == 0 || byte == '\n' || byte == '\r';
}

#if defined(__SSE2__)
// Bit i set when byte i of the 16 at text is a line delimiter.
inline unsigned LineDelimiterMask(const unsigned char *text)
{
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text));
    const __m128i hits = _mm_or_si128(
        _mm_cmpeq_epi8(block, _mm_setzero_si128()),
        _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('\n')), _mm_cmpeq_epi8(block, _mm_set1_epi8('\r'))));
    return static_cast<unsigned>(_mm_movemask_epi8(hits));
}
#endif

// Position of the first line delimiter in [text, text + len), or len.
inline size_t FindLineDelimiter(const unsigned char *text, size_t len)
{
    size_t i = 0;
#if defined(__SSE2__)
    for (; i + 16 <= len; i += 16)
        if (unsigned mask = LineDelimiterMask(text + i))
            return i + static_cast<size_t>(__builtin_ctz(mask));
#endif
    for (; i < len; ++i)
        if (IsLineDelimiter(text[i]))
            return i;
    return len;
}

// One past the last line delimiter in [text, text + len), or 0: where the
// line holding text[len] begins.
inline size_t FindLineStart(const unsigned char *text, size_t len)
{
    size_t i = len;
#if defined(__SSE2__)
    for (; i >= 16; i -= 16)
        if (unsigned mask = LineDelimiterMask(text + i - 16))
            return i - 16 + static_cast<size_t>(32 - __builtin_clz(mask));
#endif
    for (; i > 0; --i)
        if (IsLineDelimiter(text[i - 1]))
            return i;
    return 0;
}

#if defined(__SSE2__)
// Bit i set when byte i of the 16 at text lies in one of the ranges.
inline unsigned InRangesMask(const unsigned char *text, const ByteRanges &ranges)
{
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text));
    const __m128i zero = _mm_setzero_si128();
    __m128i inside = zero;
    for (int r = 0; r < 3; ++r) {
        const __m128i distance = _mm_sub_epi8(block, _mm_set1_epi8(static_cast<char>(ranges.lo[r])));
        inside = _mm_or_si128(
            inside, _mm_cmpeq_epi8(_mm_subs_epu8(distance, _mm_set1_epi8(static_cast<char>(ranges.span[r]))), zero));
    }
    return static_cast<unsigned>(_mm_movemask_epi8(inside));
}
#endif

// Number of newline bytes in [text, text + len).
inline int64_t CountNewlines(const unsigned char *text, size_t len)
{
#if defined(FYNDLE_BYTESCAN_AVX2)
    if (len >= kAvx2From && g_fAvx2Scan)
        return CountNewlinesAvx2(text, len);
#endif
    int64_t count = 0;
    size_t i = 0;
#if defined(__SSE2__)
    const __m128i newline = _mm_set1_epi8('\n');
    const auto at = [text](size_t offset) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + offset)); };
    while (i + 16 <= len) {
        // Byte counters may run 255 rounds before they must be summed; two
        // of them, so that the additions do not wait on each other.
        size_t rounds = (len - i) / 32;
        if (rounds > 255)
            rounds = 255;
        __m128i sums = _mm_setzero_si128(), more = _mm_setzero_si128();
        for (size_t k = 0; k < rounds; ++k, i += 32) {
            sums = _mm_sub_epi8(sums, _mm_cmpeq_epi8(at(i), newline));
            more = _mm_sub_epi8(more, _mm_cmpeq_epi8(at(i + 16), newline));
        }
        if (rounds == 0) {
            sums = _mm_sub_epi8(sums, _mm_cmpeq_epi8(at(i), newline));
            i += 16;
        }
        __m128i wide = _mm_add_epi64(_mm_sad_epu8(sums, _mm_setzero_si128()), _mm_sad_epu8(more, _mm_setzero_si128()));
        count += _mm_cvtsi128_si32(wide) + _mm_cvtsi128_si32(_mm_unpackhi_epi64(wide, wide));
    }
#endif
    for (; i < len; ++i)
        count += text[i] == '\n';
    return count;
}

// The forms below take a span [from, to) of a window of windowLen bytes, all
// of them readable. A span shorter than a block, which the forms above would
// go through a byte at a time, is read as the one block of the window that
// holds it, the bytes around it masked off: most spans between the matches
// of a frequent pattern are that short.
#if defined(__SSE2__)
// Where the block read for a short span from `from` begins: there, or
// at the window's last block when the span lies in it.
inline size_t BlockFor(size_t windowLen, size_t from)
{
    return from + 16 <= windowLen ? from : windowLen - 16;
}
// The bits of [from, to) in the mask of the block read at `at`.
inline unsigned SpanBits(size_t at, size_t from, size_t to)
{
    return ((1u << (to - from)) - 1) << (from - at);
}
#endif

// Number of bits set in a 16-bit mask, without the popcount instruction,
// which not every x86-64 processor has.
constexpr int CountBits16(unsigned mask)
{
    mask = mask - ((mask >> 1) & 0x5555u);
    mask = (mask & 0x3333u) + ((mask >> 2) & 0x3333u);
    mask = (mask + (mask >> 4)) & 0x0F0Fu;
    return static_cast<int>((mask + (mask >> 8)) & 0x1Fu);
}

// Number of newline bytes in window[from, to).
inline int64_t CountNewlinesIn(const unsigned char *window, size_t windowLen, size_t from, size_t to)
{
#if defined(__SSE2__)
    if (to - from < 16 && windowLen >= 16) {
        const size_t at = BlockFor(windowLen, from);
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(window + at));
        const unsigned hits = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8('\n'))));
        return CountBits16(hits & SpanBits(at, from, to));
    }
#endif
    return CountNewlines(window + from, to - from);
}

// Position of the first line delimiter in window[from, windowLen), or
// windowLen.
inline size_t FindLineDelimiterIn(const unsigned char *window, size_t windowLen, size_t from)
{
#if defined(__SSE2__)
    if (windowLen >= 16) {
        size_t i = from;
        for (; i + 16 <= windowLen; i += 16)
            if (unsigned mask = LineDelimiterMask(window + i))
                return i + static_cast<size_t>(__builtin_ctz(mask));
        if (i < windowLen) {
            const size_t at = windowLen - 16;
            if (unsigned mask = LineDelimiterMask(window + at) & SpanBits(at, i, windowLen))
                return at + static_cast<size_t>(__builtin_ctz(mask));
        }
        return windowLen;
    }
#endif
    return from + FindLineDelimiter(window + from, windowLen - from);
}

// Number of bits set in a 64-bit mask, without the popcount instruction.
constexpr int CountBits64(uint64_t mask)
{
    mask = mask - ((mask >> 1) & 0x5555555555555555ull);
    mask = (mask & 0x3333333333333333ull) + ((mask >> 2) & 0x3333333333333333ull);
    mask = (mask + (mask >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return static_cast<int>((mask * 0x0101010101010101ull) >> 56);
}

// A window's bytes by class, bit i % 64 of word i / 64 for byte i, the
// bits past the window's end clear. A walk over a window's lines that
// looks for each line's end and the next start one after the other waits
// on every step; with the classes worked out in one pass beforehand, a
// step is a few operations on words.
inline constexpr size_t kClassWords = 80; // windows of up to 5120 bytes
struct ByteClassBits {
    uint64_t delimiters[kClassWords]; // NUL, newline or carriage return
    uint64_t newlines[kClassWords];   // newline
    uint64_t inRanges[kClassWords];   // in one of the ranges given
    uint64_t stops[kClassWords];      // one of the two values given
    // Worked out from those on the way:
    uint64_t firsts[kClassWords];            // the first byte in the ranges of each line (see below)
    int64_t newlinesBefore[kClassWords + 1]; // newlines in the words before each
};

// What ClassifyWindow marks besides the line ends.
struct ClassesAsked {
    ByteRanges ranges;          // the bytes of inRanges
    unsigned char stopA, stopB; // the values of stops (equal when one)
};

// The four classes of the 64 bytes at text, as the words of ByteClassBits.
struct ChunkClasses {
    uint64_t delimiters, newlines, inRanges, stops;
};

// Fills bits for text[0, len) (len at most 64 * kClassWords) with
// classify(at), which gives the classes of the 64 bytes at `at`.
template <class Classify>
[[gnu::always_inline]] inline void ClassifyWindowWith(const unsigned char *text, size_t len, ByteClassBits *bits,
                                                      const Classify &classify)
{
    size_t word = 0;
    // The first byte in the ranges of each line (lines end at each line
    // delimiter; the first one begins at 0): subtracting each line's first
    // bit from its ranges and delimiters bits borrows up to, and clears,
    // the first of them in the line, its first byte in the ranges or its end.
    uint64_t borrow = 0, carried = 1; // a borrow into the word; whether its bit 0 begins a line
    bits->newlinesBefore[0] = 0;
    const auto put = [bits, &borrow, &carried](size_t at, const ChunkClasses &classes, uint64_t keep) {
        const uint64_t delimiters = classes.delimiters & keep, inRanges = classes.inRanges & keep;
        bits->delimiters[at] = delimiters;
        bits->newlines[at] = classes.newlines & keep;
        bits->inRanges[at] = inRanges;
        bits->stops[at] = classes.stops & keep;
        uint64_t left = 0;
        const bool under = __builtin_sub_overflow(inRanges | delimiters, delimiters << 1 | carried, &left);
        const bool underAgain = __builtin_sub_overflow(left, borrow, &left);
        borrow = under || underAgain ? 1 : 0;
        carried = delimiters >> 63;
        bits->firsts[at] = inRanges & ~left;
        bits->newlinesBefore[at + 1] = bits->newlinesBefore[at] + CountBits64(classes.newlines & keep);
    };
    for (; 64 * word + 64 <= len; ++word)
        put(word, classify(text + 64 * word), ~uint64_t{0});
    if (64 * word < len) {
        // The last bytes, in a block of zeros.
        alignas(64) unsigned char tail[64] = {};
        std::memcpy(tail, text + 64 * word, len - 64 * word);
        put(word, classify(tail), (uint64_t{1} << (len - 64 * word)) - 1);
    }
}

#if defined(FYNDLE_BYTESCAN_AVX2)
// The vector forms of ClassifyWindow, and the form of their inner step
// that fits what is asked: how many ranges differ (1 to 3), one stop value
// or two, and whether the ranges are one range of small letters in both
// cases, as which *asked is rewritten.
struct ClassifyForm {
    int ranges;    // distinct ranges, 1 to 3
    bool twoStops; // the stop values differ
    bool folded;   // one range of small letters, each byte tested with the case bit set
};
ClassifyForm ChooseClassifyForm(ClassesAsked *asked);
extern const bool g_fAvx512Classify; // set before main runs: the processor has AVX-512BW
void ClassifyWindowAvx2(const unsigned char *text, size_t len, const ClassesAsked &asked, ByteClassBits *bits);
void ClassifyWindowAvx512(const unsigned char *text, size_t len, const ClassesAsked &asked, ByteClassBits *bits);
#endif

// ClassifyWindow in SSE2 blocks, or plain loops: the form for processors
// without the wider ones.
inline void ClassifyWindowPortable(const unsigned char *text, size_t len, const ClassesAsked &asked,
                                   ByteClassBits *bits)
{
    const ByteRanges &ranges = asked.ranges;
    const unsigned char stopA = asked.stopA, stopB = asked.stopB;
    ClassifyWindowWith(text, len, bits, [&](const unsigned char *chunk) {
        ChunkClasses classes{0, 0, 0, 0};
        for (int block = 0; block < 4; ++block) {
            const int shift = 16 * block;
#if defined(__SSE2__)
            const unsigned char *at = chunk + shift;
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
            const auto equal = [bytes](unsigned char value) {
                return static_cast<unsigned>(
                    _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(static_cast<char>(value)))));
            };
            classes.delimiters |= uint64_t{LineDelimiterMask(at)} << shift;
            classes.newlines |= uint64_t{equal('\n')} << shift;
            classes.inRanges |= uint64_t{InRangesMask(at, ranges)} << shift;
            classes.stops |= uint64_t{equal(stopA) | equal(stopB)} << shift;
#else
            for (int i = shift; i < shift + 16; ++i) {
                bool inside = false;
                for (int r = 0; r < 3; ++r)
                    inside = inside || static_cast<unsigned char>(chunk[i] - ranges.lo[r]) <= ranges.span[r];
                classes.delimiters |= uint64_t{IsLineDelimiter(chunk[i])} << i;
                classes.newlines |= uint64_t{chunk[i] == '\n'} << i;
                classes.inRanges |= uint64_t{inside} << i;
                classes.stops |= uint64_t{chunk[i] == stopA || chunk[i] == stopB} << i;
            }
#endif
        }
        return classes;
    });
}

// Fills bits for text[0, len) (len at most 64 * kClassWords): the line
// delimiters, the newlines, the bytes in the ranges asked for and the
// bytes equal to one of the stop values asked for.
inline void ClassifyWindow(const unsigned char *text, size_t len, const ClassesAsked &asked, ByteClassBits *bits)
{
#if defined(FYNDLE_BYTESCAN_AVX2)
    if (g_fAvx512Classify)
        return ClassifyWindowAvx512(text, len, asked, bits);
    if (g_fAvx2Scan)
        return ClassifyWindowAvx2(text, len, asked, bits);
#endif
    ClassifyWindowPortable(text, len, asked, bits);
}

// The first position in [from, limit) whose bit is set in words, or limit
// (limit at most 64 * kClassWords).
inline size_t NextBit(const uint64_t *words, size_t from, size_t limit)
{
    if (from >= limit)
        return limit;
    size_t word = from / 64;
    uint64_t bits = words[word] & (~uint64_t{0} << (from % 64));
    while (bits == 0) {
        if (++word >= (limit + 63) / 64)
            return limit;
        bits = words[word];
    }
    const size_t at = 64 * word + static_cast<size_t>(__builtin_ctzll(bits));
    return at < limit ? at : limit;
}

// One past the last position below `to` whose bit is set in words, or 0
// when there is none.
inline size_t PastLastBit(const uint64_t *words, size_t to)
{
    while (to > 0) {
        const size_t word = (to - 1) / 64;
        if (const uint64_t bits = words[word] & (~uint64_t{0} >> (63 - (to - 1) % 64)))
            return 64 * word + 64 - static_cast<size_t>(__builtin_clzll(bits));
        to = 64 * word;
    }
    return 0;
}

// CountBits64 by the processor's own instruction where it has one: one
// instruction instead of a chain of twelve, and a branch always taken the
// same way.
inline int CountBits64Here(uint64_t mask)
{
#if defined(FYNDLE_BYTESCAN_AVX2)
    if (g_fPopcount) {
        uint64_t count = 0;
        asm("popcnt %1, %0" : "=r"(count) : "r"(mask) : "cc");
        return static_cast<int>(count);
    }
#endif
    return CountBits64(mask);
}
