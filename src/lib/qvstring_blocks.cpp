// qvstring_blocks: the SSE2, AVX2 and plain forms of the block primitives,
// and the choice between them. The AVX2 forms are compiled for that
// instruction set alone and called only when the processor reports it; a
// span left over after the 32-byte rounds goes on in the SSE2 form.
#include "qvstring_blocks.h"

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#if defined(__x86_64__) && defined(__GNUC__)
#define QV_BLOCKS_AVX2 1
#include <immintrin.h>
#endif

namespace {

#if defined(QV_BLOCKS_AVX2)
// Set once at load time. Read before that (by another library's static
// constructor) it is false, which only means the SSE2 forms.
const bool s_hasAvx2 = (__builtin_cpu_init(), __builtin_cpu_supports("avx2"));

// Shorter spans stay with the SSE2 forms.
constexpr size_t kAvx2From = 64;

[[gnu::target("avx2")]] inline __m256i load32(const void *at)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(at));
}

[[gnu::target("avx2")]] size_t widenAsciiAvx2(wchar_t *dst, const unsigned char *src, size_t len)
{
    size_t done = 0;
    for (; done + 32 <= len; done += 32) {
        if (_mm256_movemask_epi8(load32(src + done)) != 0)
            break;
        if (dst == nullptr)
            continue;
        for (size_t part = 0; part < 32; part += 8) {
            const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(src + done + part));
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(dst + done + part), _mm256_cvtepu8_epi32(eight));
        }
    }
    return done;
}

[[gnu::target("avx2")]] size_t narrowAsciiAvx2(unsigned char *dst, const wchar_t *src, size_t len)
{
    const __m256i high = _mm256_set1_epi32(0x7FFFFF80);
    const __m256i low = _mm256_set1_epi32(0x7F);
    // The packs work within 128-bit lanes; this puts the quarters in order.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    size_t done = 0;
    for (; done + 32 <= len; done += 32) {
        const __m256i q0 = load32(src + done), q1 = load32(src + done + 8);
        const __m256i q2 = load32(src + done + 16), q3 = load32(src + done + 24);
        const __m256i any = _mm256_or_si256(_mm256_or_si256(q0, q1), _mm256_or_si256(q2, q3));
        if (!_mm256_testz_si256(any, high))
            break;
        if (dst == nullptr)
            continue;
        const __m256i half0 = _mm256_packs_epi32(_mm256_and_si256(q0, low), _mm256_and_si256(q1, low));
        const __m256i half1 = _mm256_packs_epi32(_mm256_and_si256(q2, low), _mm256_and_si256(q3, low));
        const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(half0, half1), order);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dst + done), bytes);
    }
    return done;
}

[[gnu::target("avx2")]] size_t findEitherPairAvx2(const unsigned char *text, size_t count, size_t offset,
                                                  unsigned char a1, unsigned char a2, unsigned char b1,
                                                  unsigned char b2)
{
    const __m256i va1 = _mm256_set1_epi8(static_cast<char>(a1)), va2 = _mm256_set1_epi8(static_cast<char>(a2));
    const __m256i vb1 = _mm256_set1_epi8(static_cast<char>(b1)), vb2 = _mm256_set1_epi8(static_cast<char>(b2));
    const auto hits = [&](size_t start) __attribute__((target("avx2")))
    {
        const __m256i blockA = load32(text + start), blockB = load32(text + start + offset);
        const __m256i hitA = _mm256_or_si256(_mm256_cmpeq_epi8(blockA, va1), _mm256_cmpeq_epi8(blockA, va2));
        const __m256i hitB = _mm256_or_si256(_mm256_cmpeq_epi8(blockB, vb1), _mm256_cmpeq_epi8(blockB, vb2));
        return static_cast<unsigned>(_mm256_movemask_epi8(_mm256_and_si256(hitA, hitB)));
    };
    size_t start = 0;
    for (; start + 32 <= count; start += 32)
        if (const unsigned mask = hits(start))
            return start + static_cast<size_t>(__builtin_ctz(mask));
    // The last block overlaps the one before; its first bytes are known not
    // to match.
    if (start < count)
        if (const unsigned mask = hits(count - 32))
            return count - 32 + static_cast<size_t>(__builtin_ctz(mask));
    return count;
}
#endif

} // namespace

namespace qvstring {

size_t widenAscii(wchar_t *dst, const unsigned char *src, size_t len)
{
    size_t done = 0;
#if defined(QV_BLOCKS_AVX2)
    if (len >= kAvx2From && s_hasAvx2)
        done = widenAsciiAvx2(dst, src, len);
#endif
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    for (; done + 16 <= len; done += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + done));
        if (_mm_movemask_epi8(block) != 0)
            break;
        if (dst == nullptr)
            continue;
        const __m128i lo = _mm_unpacklo_epi8(block, zero), hi = _mm_unpackhi_epi8(block, zero);
        auto *out = reinterpret_cast<__m128i *>(dst + done);
        _mm_storeu_si128(out, _mm_unpacklo_epi16(lo, zero));
        _mm_storeu_si128(out + 1, _mm_unpackhi_epi16(lo, zero));
        _mm_storeu_si128(out + 2, _mm_unpacklo_epi16(hi, zero));
        _mm_storeu_si128(out + 3, _mm_unpackhi_epi16(hi, zero));
    }
#endif
    for (; done < len && src[done] < 0x80; ++done)
        if (dst != nullptr)
            dst[done] = static_cast<wchar_t>(src[done]);
    return done;
}

size_t narrowAscii(unsigned char *dst, const wchar_t *src, size_t len)
{
    size_t done = 0;
#if defined(QV_BLOCKS_AVX2)
    if (len >= kAvx2From && s_hasAvx2)
        done = narrowAsciiAvx2(dst, src, len);
#endif
#if defined(__SSE2__)
    const __m128i high = _mm_set1_epi32(0x7FFFFF80), low = _mm_set1_epi32(0x7F), zero = _mm_setzero_si128();
    for (; done + 16 <= len; done += 16) {
        const auto *in = reinterpret_cast<const __m128i *>(src + done);
        const __m128i q0 = _mm_loadu_si128(in), q1 = _mm_loadu_si128(in + 1);
        const __m128i q2 = _mm_loadu_si128(in + 2), q3 = _mm_loadu_si128(in + 3);
        const __m128i any = _mm_or_si128(_mm_or_si128(q0, q1), _mm_or_si128(q2, q3));
        if (_mm_movemask_epi8(_mm_cmpeq_epi32(_mm_and_si128(any, high), zero)) != 0xFFFF)
            break;
        if (dst == nullptr)
            continue;
        const __m128i half0 = _mm_packs_epi32(_mm_and_si128(q0, low), _mm_and_si128(q1, low));
        const __m128i half1 = _mm_packs_epi32(_mm_and_si128(q2, low), _mm_and_si128(q3, low));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + done), _mm_packus_epi16(half0, half1));
    }
#endif
    for (; done < len && (static_cast<uint32_t>(src[done]) & 0x7FFFFF80u) == 0; ++done)
        if (dst != nullptr)
            dst[done] = static_cast<unsigned char>(src[done]);
    return done;
}

size_t findEitherPair(const unsigned char *text, size_t count, size_t offset, unsigned char a1, unsigned char a2,
                      unsigned char b1, unsigned char b2)
{
#if defined(QV_BLOCKS_AVX2)
    if (count >= kAvx2From && s_hasAvx2)
        return findEitherPairAvx2(text, count, offset, a1, a2, b1, b2);
#endif
    size_t start = 0;
#if defined(__SSE2__)
    const __m128i va1 = _mm_set1_epi8(static_cast<char>(a1)), va2 = _mm_set1_epi8(static_cast<char>(a2));
    const __m128i vb1 = _mm_set1_epi8(static_cast<char>(b1)), vb2 = _mm_set1_epi8(static_cast<char>(b2));
    for (; start + 16 <= count; start += 16) {
        const __m128i blockA = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + start));
        const __m128i blockB = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + start + offset));
        const __m128i hitA = _mm_or_si128(_mm_cmpeq_epi8(blockA, va1), _mm_cmpeq_epi8(blockA, va2));
        const __m128i hitB = _mm_or_si128(_mm_cmpeq_epi8(blockB, vb1), _mm_cmpeq_epi8(blockB, vb2));
        if (const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(hitA, hitB))))
            return start + static_cast<size_t>(__builtin_ctz(mask));
    }
#endif
    for (; start < count; ++start) {
        const unsigned char atA = text[start], atB = text[start + offset];
        if ((atA == a1 || atA == a2) && (atB == b1 || atB == b2))
            return start;
    }
    return count;
}

void findEqual256(const int32_t *row, int32_t value, uint64_t bits[4])
{
    for (int word = 0; word < 4; ++word) {
        const int32_t *at = row + 64 * word;
        uint64_t found = 0;
#if defined(__SSE2__)
        const __m128i want = _mm_set1_epi32(value);
        for (int k = 0; k < 64; k += 4) {
            const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at + k));
            const int hits = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(four, want)));
            found |= static_cast<uint64_t>(hits) << k;
        }
#else
        for (int k = 0; k < 64; ++k)
            found |= static_cast<uint64_t>(at[k] == value) << k;
#endif
        bits[word] = found;
    }
}

} // namespace qvstring
