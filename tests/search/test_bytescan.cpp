// Bulk byte primitives against plain loops, at every length up to a few blocks and every alignment: main loops and tails.
#include "bytescan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Classify = void (*)(const unsigned char *, size_t, const ClassesAsked &, ByteClassBits *);

TEST(ByteScan, AgreesWithPlainLoops)
{
    // ClassifyWindow's forms that this processor can run: each must give the same bits.
    std::vector<Classify> forms{ClassifyWindowPortable};
#if defined(FYNDLE_BYTESCAN_AVX2)
    if (g_fAvx2Scan)
        forms.push_back(ClassifyWindowAvx2);
    if (g_fAvx512Classify)
        forms.push_back(ClassifyWindowAvx512);
#endif
    std::mt19937 random(7);
    std::vector<unsigned char> text(400);
    for (int round = 0; round < 3000; ++round) {
        const int spread = 2 + round % 40; // few values, sparse hits: spans with none, one and many
        constexpr unsigned char kBytes[] = {'a', 'b', '\n', '\r', 0, 'c'}; // 'c' fills
        for (unsigned char &byte : text)
            byte = kBytes[random() % spread < 5 ? random() % 5 : 5];
        const size_t at = random() % 40, len = random() % 300, offset = random() % 20;
        const size_t from = len ? random() % len : 0, to = from + random() % (std::min<size_t>(len - from, 24) + 1);
        const unsigned char *span = text.data() + at;
        size_t either = len, near = len, three = len, folded = len, outside = len, pair = len;
        size_t past = 0, pastAll = 0, ranged = len, stopped = len;
        for (size_t i = len; i-- > 0;) {
            either = span[i] == 'a' || span[i] == '\n' ? i : either;
            near = span[i] == '\n' ? i : near;
            three = span[i] == 'b' || span[i] == '\r' || span[i] == 0 ? i : three;
            folded = span[i] == 'b' || span[i] == 'c' || span[i] == '\n' || span[i] == '*' ? i : folded;
            outside = span[i] != 'a' && span[i] != 'b' && span[i] != 'c' && span[i] != 0 ? i : outside;
            pair =
                (span[i] == 'b' || span[i] == 'a') && (span[i + offset] == '\n' || span[i + offset] == 'b') ? i : pair;
            ranged = i >= from && (span[i] == 'a' || span[i] == 'b') ? i : ranged;
            stopped = span[i] == 'b' || span[i] == '\r' ? i : stopped;
            past = !past && i < to && IsLineDelimiter(span[i]) ? i + 1 : past;
            pastAll = !pastAll && IsLineDelimiter(span[i]) ? i + 1 : pastAll;
        }
        ASSERT_EQ(FindEitherByte(span, len, 'a', '\n'), either) << round;
        ASSERT_EQ(FindNearByte(span, len, '\n'), near) << round;
        ASSERT_EQ(FindAnyOf(span, len, ByteChoice{0, '\r', 0, 'b'}), three) << round;
        ASSERT_EQ(FindAnyOf(span, len, ByteChoice{0x20, 'b', 'c', '*'}), folded) << round; // '\n' | 0x20 is '*'
        ASSERT_EQ(FindOutsideRanges(span, len, ByteRanges{{'a', 0, 'a'}, {2, 0, 2}}), outside) << round;
        ASSERT_EQ(FindBytePair(span, len, 0, 'b', 'a', offset, '\n', 'b'), pair) << round;
        ASSERT_EQ(FindBytePair(span, len, offset, '\n', 'b', 0, 'b', 'a'), pair) << round;
        ASSERT_EQ(CountNewlines(span, len), std::count(span, span + len, '\n')) << round;
        // A heap block of the window's own size: the window-bounded forms may read all of it and nothing past it.
        const std::vector<unsigned char> window(span, span + len);
        const auto delimiter =
            std::find_if(span + from, span + len, [](int b) { return b == '\n' || b == '\r' || b == 0; });
        ASSERT_EQ(CountNewlinesIn(window.data(), len, from, to), std::count(span + from, span + to, '\n')) << round;
        ASSERT_EQ(FindLineDelimiterIn(window.data(), len, from), static_cast<size_t>(delimiter - span)) << round;
        for (const Classify classify : forms) {
            // Two ranges, the third repeating the first; or three, two of them alike.
            const auto third = static_cast<unsigned char>(round % 2 ? 'a' : 'b');
            ByteClassBits bits;
            classify(window.data(), len, ClassesAsked{ByteRanges{{'a', 'b', third}, {0, 0, 0}}, 'b', '\r'}, &bits);
            ASSERT_EQ(NextBit(bits.inRanges, from, len), ranged) << round;
            ASSERT_EQ(NextBit(bits.delimiters, from, len), static_cast<size_t>(delimiter - span)) << round;
            ASSERT_EQ(NextBit(bits.stops, 0, len), stopped) << round;
            ASSERT_EQ(PastLastBit(bits.delimiters, to), past) << round;
            ASSERT_EQ(PastLastBit(bits.delimiters, len), pastAll) << round;
            for (size_t i = 0, lineHas = 0; i < len; ++i) {
                const bool ranges = span[i] == 'a' || span[i] == 'b';
                ASSERT_EQ((bits.firsts[i / 64] >> (i % 64)) & 1, ranges && !lineHas ? 1u : 0u) << round << ' ' << i;
                lineHas = IsLineDelimiter(span[i]) ? 0 : lineHas || ranges;
            }
            for (size_t word = 0; word <= (len + 63) / 64; ++word)
                ASSERT_EQ(bits.newlinesBefore[word], std::count(span, span + std::min(len, 64 * word), '\n')) << round;
            // Letters in both cases, as a case-blind search asks for them, and one stop value.
            std::vector<unsigned char> capitals(window);
            for (unsigned char &byte : capitals)
                byte = byte == 'b' && random() % 2 ? 'B' : byte;
            classify(capitals.data(), len, ClassesAsked{ByteRanges{{'a', 'A', 'a'}, {1, 1, 1}}, '\r', '\r'}, &bits);
            for (size_t i = 0; i < len; ++i) {
                ASSERT_EQ((bits.inRanges[i / 64] >> (i % 64)) & 1,
                          (capitals[i] | 0x20) == 'a' || (capitals[i] | 0x20) == 'b')
                    << round << ' ' << i;
                ASSERT_EQ((bits.stops[i / 64] >> (i % 64)) & 1, capitals[i] == '\r') << round << ' ' << i;
            }
        }
    }
    // Byte-wide counters must be summed before they wrap.
    EXPECT_EQ(CountNewlines(std::vector<unsigned char>(20001, '\n').data(), 20001), 20001);
    // Folding changes only A to Z in the span, in both forms; the one in blocks may rewrite 15 bytes after the span.
    for (const bool inBlocks : {false, true})
        for (const size_t at : {0, 1, 17, 70}) // at 70, the 'Z' lies in the last bytes after the blocks
            for (const size_t len : {0, 5, 16, 31, 300}) {
                for (size_t i = 0; i < text.size(); ++i)
                    text[i] = static_cast<unsigned char>(i * 7); // every byte value
                const std::vector<unsigned char> before = text;
                (inBlocks ? FoldCapitalsInBlocks : FoldCapitals)(text.data() + at, len);
                for (size_t i = 0; i < text.size(); ++i) {
                    const bool folds = i >= at && i < at + len && before[i] >= 'A' && before[i] <= 'Z';
                    ASSERT_EQ(text[i], folds ? before[i] + 32 : before[i]) << at << ' ' << len << ' ' << i;
                }
            }
}

} // namespace
