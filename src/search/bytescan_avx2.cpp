// The bulk byte primitives of bytescan.h in 32-byte blocks, for processors
// that have AVX2; bytescan.h calls them only where the processor has it and
// the span is at least one block long. Each gives the same answer as its
// portable form. The last block of a span is read overlapping the one
// before it: for a first-hit search the bytes read twice are known not to
// match, and the newline count masks them off.
#include "bytescan.h"

#if defined(FYNDLE_BYTESCAN_AVX2)

#include <immintrin.h>

const bool g_fAvx2Scan = (__builtin_cpu_init(), __builtin_cpu_supports("avx2"));
const bool g_fPopcount = (__builtin_cpu_init(), __builtin_cpu_supports("popcnt"));

namespace {

[[gnu::target("avx2")]] inline __m256i load32(const unsigned char *at)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(at));
}

[[gnu::target("avx2")]] inline unsigned eitherMask(const unsigned char *at, __m256i a, __m256i b)
{
    const __m256i block = load32(at);
    return static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_or_si256(_mm256_cmpeq_epi8(block, a), _mm256_cmpeq_epi8(block, b))));
}

[[gnu::target("avx2")]] inline __m256i eitherOf(__m256i block, __m256i a, __m256i b)
{
    return _mm256_or_si256(_mm256_cmpeq_epi8(block, a), _mm256_cmpeq_epi8(block, b));
}

} // namespace

[[gnu::target("avx2")]] size_t FindEitherByteAvx2(const unsigned char *text, size_t len, unsigned char a,
                                                  unsigned char b)
{
    const __m256i va = _mm256_set1_epi8(static_cast<char>(a));
    const __m256i vb = _mm256_set1_epi8(static_cast<char>(b));
    size_t i = 0;
    for (; i + 64 <= len; i += 64) {
        const uint64_t mask = eitherMask(text + i, va, vb) | uint64_t{eitherMask(text + i + 32, va, vb)} << 32;
        if (mask != 0)
            return i + static_cast<size_t>(__builtin_ctzll(mask));
    }
    for (; i + 32 <= len; i += 32)
        if (const unsigned mask = eitherMask(text + i, va, vb))
            return i + static_cast<size_t>(__builtin_ctz(mask));
    if (i < len)
        if (const unsigned mask = eitherMask(text + len - 32, va, vb))
            return len - 32 + static_cast<size_t>(__builtin_ctz(mask));
    return len;
}

[[gnu::target("avx2")]] size_t FindBytePairAvx2(const unsigned char *text, size_t count, size_t offsetA,
                                                unsigned char a1, unsigned char a2, size_t offsetB, unsigned char b1,
                                                unsigned char b2)
{
    const __m256i va1 = _mm256_set1_epi8(static_cast<char>(a1));
    const __m256i va2 = _mm256_set1_epi8(static_cast<char>(a2));
    const __m256i vb1 = _mm256_set1_epi8(static_cast<char>(b1));
    const __m256i vb2 = _mm256_set1_epi8(static_cast<char>(b2));
    const auto hits = [&](size_t start) __attribute__((target("avx2")))
    {
        const __m256i blockA = load32(text + start + offsetA);
        const __m256i blockB = load32(text + start + offsetB);
        const __m256i hitA = _mm256_or_si256(_mm256_cmpeq_epi8(blockA, va1), _mm256_cmpeq_epi8(blockA, va2));
        const __m256i hitB = _mm256_or_si256(_mm256_cmpeq_epi8(blockB, vb1), _mm256_cmpeq_epi8(blockB, vb2));
        return static_cast<unsigned>(_mm256_movemask_epi8(_mm256_and_si256(hitA, hitB)));
    };
    size_t s = 0;
    for (; s + 64 <= count; s += 64) {
        const uint64_t mask = hits(s) | uint64_t{hits(s + 32)} << 32;
        if (mask != 0)
            return s + static_cast<size_t>(__builtin_ctzll(mask));
    }
    for (; s + 32 <= count; s += 32)
        if (const unsigned mask = hits(s))
            return s + static_cast<size_t>(__builtin_ctz(mask));
    if (s < count)
        if (const unsigned mask = hits(count - 32))
            return count - 32 + static_cast<size_t>(__builtin_ctz(mask));
    return count;
}

[[gnu::target("avx2")]] int64_t CountNewlinesAvx2(const unsigned char *text, size_t len)
{
    const __m256i newline = _mm256_set1_epi8('\n');
    int64_t count = 0;
    size_t i = 0;
    while (i + 32 <= len) {
        // Byte counters may run 255 rounds before they must be summed; two
        // of them, so that the additions do not wait on each other.
        size_t rounds = (len - i) / 64;
        if (rounds > 255)
            rounds = 255;
        __m256i sums = _mm256_setzero_si256(), more = _mm256_setzero_si256();
        for (size_t k = 0; k < rounds; ++k, i += 64) {
            sums = _mm256_sub_epi8(sums, _mm256_cmpeq_epi8(load32(text + i), newline));
            more = _mm256_sub_epi8(more, _mm256_cmpeq_epi8(load32(text + i + 32), newline));
        }
        if (rounds == 0) {
            sums = _mm256_sub_epi8(sums, _mm256_cmpeq_epi8(load32(text + i), newline));
            i += 32;
        }
        const __m256i zero = _mm256_setzero_si256();
        const __m256i wide = _mm256_add_epi64(_mm256_sad_epu8(sums, zero), _mm256_sad_epu8(more, zero));
        count += _mm256_extract_epi64(wide, 0) + _mm256_extract_epi64(wide, 1) + _mm256_extract_epi64(wide, 2) +
                 _mm256_extract_epi64(wide, 3);
    }
    if (i < len) {
        const unsigned mask =
            static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(load32(text + len - 32), newline)));
        count += __builtin_popcount(mask >> (32 - (len - i)));
    }
    return count;
}

namespace {

// ClassifyWindowAvx2 with the ranges' first `Ranges` ones (the others
// repeat them), and with one stop value or two. Folded: the one range is
// of small letters and stands for them in both cases, each byte tested
// with the case bit set.
template <int Ranges, bool TwoStops, bool Folded = false>
[[gnu::target("avx2")]] void classifyWindowWithRanges(const unsigned char *text, size_t len, const ClassesAsked &asked,
                                                      ByteClassBits *bits)
{
    const ByteRanges &ranges = asked.ranges;
    // A line delimiter is a byte that the table, looked up by its low
    // four bits, gives back: 0, 10 and 13 are there, the other entries
    // are above 15, and a byte from 128 up looks up 0.
    const __m256i delimiterTable = _mm256_setr_epi8(0, -1, -1, -1, -1, -1, -1, -1, -1, -1, 10, -1, -1, 13, -1, -1, 0,
                                                    -1, -1, -1, -1, -1, -1, -1, -1, -1, 10, -1, -1, 13, -1, -1);
    __m256i lo[Ranges], span[Ranges];
    for (int r = 0; r < Ranges; ++r) {
        lo[r] = _mm256_set1_epi8(static_cast<char>(ranges.lo[r]));
        span[r] = _mm256_set1_epi8(static_cast<char>(ranges.span[r]));
    }
    const __m256i stopAs = _mm256_set1_epi8(static_cast<char>(asked.stopA)),
                  stopBs = _mm256_set1_epi8(static_cast<char>(asked.stopB));
    const auto classify = [&](const unsigned char *chunk) __attribute__((target("avx2")))
    {
        const __m256i zero = _mm256_setzero_si256();
        ChunkClasses classes{0, 0, 0, 0};
        for (int half = 0; half < 2; ++half) {
            const __m256i block = load32(chunk + 32 * half);
            const __m256i newlines = _mm256_cmpeq_epi8(block, _mm256_set1_epi8('\n'));
            const __m256i delimiters = _mm256_cmpeq_epi8(_mm256_shuffle_epi8(delimiterTable, block), block);
            const __m256i tested = Folded ? _mm256_or_si256(block, _mm256_set1_epi8(0x20)) : block;
            __m256i inside = zero;
            for (int r = 0; r < Ranges; ++r)
                inside = _mm256_or_si256(
                    inside, _mm256_cmpeq_epi8(_mm256_subs_epu8(_mm256_sub_epi8(tested, lo[r]), span[r]), zero));
            const int shift = 32 * half;
            const auto mask = [shift](__m256i hits) __attribute__((target("avx2")))
            {
                return uint64_t{static_cast<uint32_t>(_mm256_movemask_epi8(hits))} << shift;
            };
            classes.delimiters |= mask(delimiters);
            classes.newlines |= mask(newlines);
            classes.inRanges |= mask(inside);
            classes.stops |= mask(TwoStops ? eitherOf(block, stopAs, stopBs) : _mm256_cmpeq_epi8(block, stopAs));
        }
        return classes;
    };
    ClassifyWindowWith(text, len, bits, classify);
}

} // namespace

ClassifyForm ChooseClassifyForm(ClassesAsked *asked)
{
    const ByteRanges &ranges = asked->ranges;
    const auto repeats = [&ranges](int r) { return ranges.lo[r] == ranges.lo[0] && ranges.span[r] == ranges.span[0]; };
    const int count = repeats(1) && repeats(2) ? 1 : repeats(2) ? 2 : 3;
    const bool twoStops = asked->stopA != asked->stopB;
    // Two ranges of the same letters, small and capital, are one.
    const int small = ranges.lo[0] > ranges.lo[1] ? 0 : 1;
    if (count == 2 && ranges.lo[1 - small] == (ranges.lo[small] ^ 0x20) && ranges.span[0] == ranges.span[1] &&
        ranges.lo[small] >= 'a' && ranges.lo[small] + ranges.span[small] <= 'z') {
        const unsigned char lo = ranges.lo[small], span = ranges.span[small];
        asked->ranges = ByteRanges{{lo, lo, lo}, {span, span, span}};
        return {1, twoStops, true};
    }
    return {count, twoStops, false};
}

void ClassifyWindowAvx2(const unsigned char *text, size_t len, const ClassesAsked &asked, ByteClassBits *bits)
{
    ClassesAsked chosen = asked;
    const ClassifyForm form = ChooseClassifyForm(&chosen);
    using Classify = void (*)(const unsigned char *, size_t, const ClassesAsked &, ByteClassBits *);
    constexpr Classify kForms[2][4] = {{classifyWindowWithRanges<1, false>, classifyWindowWithRanges<2, false>,
                                        classifyWindowWithRanges<3, false>, classifyWindowWithRanges<1, false, true>},
                                       {classifyWindowWithRanges<1, true>, classifyWindowWithRanges<2, true>,
                                        classifyWindowWithRanges<3, true>, classifyWindowWithRanges<1, true, true>}};
    kForms[form.twoStops][form.folded ? 3 : form.ranges - 1](text, len, chosen, bits);
}

#endif
