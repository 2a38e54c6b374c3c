// ClassifyWindow in 64-byte blocks, for processors with AVX-512BW: one
// load and one compare per class give a chunk's bits at once, where the
// 32-byte form needs two of each and a gather of the halves' masks. It
// gives the same bits as the other forms.
#include "bytescan.h"

#if defined(FYNDLE_BYTESCAN_AVX2)

#include <array>
#include <immintrin.h>

const bool g_fAvx512Classify = (__builtin_cpu_init(), __builtin_cpu_supports("avx512bw"));

namespace {

// The 16-byte delimiter table of the 32-byte form, once for each lane.
constexpr std::array<unsigned char, 64> delimiterLanes()
{
    std::array<unsigned char, 64> table{};
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = i % 16 == 0 ? 0 : i % 16 == 10 ? 10 : i % 16 == 13 ? 13 : 255;
    return table;
}
alignas(64) constexpr std::array<unsigned char, 64> kDelimiters = delimiterLanes();

// classifyWindowWithRanges of the 32-byte form, 64 bytes a step.
template <int Ranges, bool TwoStops, bool Folded = false>
[[gnu::target("avx512bw")]] void classifyInBlocksOf64(const unsigned char *text, size_t len, const ClassesAsked &asked,
                                                      ByteClassBits *bits)
{
    const ByteRanges &ranges = asked.ranges;
    // A line delimiter is a byte that the table, looked up by its low four
    // bits in each 16-byte lane, gives back (as in the 32-byte form).
    const __m512i delimiterTable = _mm512_load_si512(kDelimiters.data());
    __m512i lo[Ranges], span[Ranges];
    for (int r = 0; r < Ranges; ++r) {
        lo[r] = _mm512_set1_epi8(static_cast<char>(ranges.lo[r]));
        span[r] = _mm512_set1_epi8(static_cast<char>(ranges.span[r]));
    }
    const __m512i stopAs = _mm512_set1_epi8(static_cast<char>(asked.stopA)),
                  stopBs = _mm512_set1_epi8(static_cast<char>(asked.stopB)), newline = _mm512_set1_epi8('\n'),
                  caseBit = _mm512_set1_epi8(0x20);
    const auto classify = [&](const unsigned char *chunk) __attribute__((target("avx512bw")))
    {
        const __m512i block = _mm512_loadu_si512(chunk);
        const __m512i tested = Folded ? _mm512_or_si512(block, caseBit) : block;
        __mmask64 inside = 0;
        for (int r = 0; r < Ranges; ++r)
            inside |= _mm512_cmple_epu8_mask(_mm512_sub_epi8(tested, lo[r]), span[r]);
        __mmask64 stops = _mm512_cmpeq_epi8_mask(block, stopAs);
        if (TwoStops)
            stops |= _mm512_cmpeq_epi8_mask(block, stopBs);
        return ChunkClasses{_mm512_cmpeq_epi8_mask(_mm512_shuffle_epi8(delimiterTable, block), block),
                            _mm512_cmpeq_epi8_mask(block, newline), inside, stops};
    };
    ClassifyWindowWith(text, len, bits, classify);
}

} // namespace

void ClassifyWindowAvx512(const unsigned char *text, size_t len, const ClassesAsked &asked, ByteClassBits *bits)
{
    ClassesAsked chosen = asked;
    const ClassifyForm form = ChooseClassifyForm(&chosen);
    using Classify = void (*)(const unsigned char *, size_t, const ClassesAsked &, ByteClassBits *);
    constexpr Classify kForms[2][4] = {{classifyInBlocksOf64<1, false>, classifyInBlocksOf64<2, false>,
                                        classifyInBlocksOf64<3, false>, classifyInBlocksOf64<1, false, true>},
                                       {classifyInBlocksOf64<1, true>, classifyInBlocksOf64<2, true>,
                                        classifyInBlocksOf64<3, true>, classifyInBlocksOf64<1, true, true>}};
    kForms[form.twoStops][form.folded ? 3 : form.ranges - 1](text, len, chosen, bits);
}

#endif
