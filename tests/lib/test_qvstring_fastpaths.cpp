// The block and one-pass paths of replace, case-insensitive search and UTF-8 conversion against the references.
#include "qvstring.h"
#include "qvstring_reference.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// Lengths that put a piece on each side of every block edge (16, 32, 64) and of the converters' window (2048).
std::vector<size_t> edgeLengths()
{
    std::vector<size_t> lengths = {95, 96, 97, 127, 128, 129, 2046, 2047, 2048, 2049, 2050, 4100};
    for (size_t len = 0; len <= 70; ++len)
        lengths.push_back(len);
    return lengths;
}

std::vector<size_t> edgeOffsets(size_t len)
{
    std::vector<size_t> offsets;
    for (size_t at = 0; at <= len; ++at)
        if (at <= 40 || len - at <= 6 || (at < 140 && (at % 16 <= 1 || at % 16 == 15)) || (at >= 2042 && at <= 2050))
            offsets.push_back(at);
    return offsets;
}

template <class Ch> std::basic_string<Ch> asciiText(size_t len)
{
    std::basic_string<Ch> text;
    for (size_t k = 0; k < len; ++k)
        text += static_cast<Ch>('!' + k % 90);
    return text;
}

// Every destination size in short texts, in long ones those around the converted length.
std::vector<size_t> sizesAround(size_t count, size_t len)
{
    std::vector<size_t> sizes = {0, 1, 2, count / 2, count + 2};
    for (size_t size = len <= 70 ? 0 : count - 1; size <= count + 1; ++size)
        sizes.push_back(size);
    return sizes;
}

// Runs of matches of every length between plain bytes, and near misses (the last byte changed).
std::string matchRuns(const std::string &pat, size_t len)
{
    std::string text;
    for (size_t run = 1; text.size() < len; ++run) {
        for (size_t k = 0; k < run % 5; ++k)
            text += pat;
        text += "a-b"[run % 3];
        if (pat.size() > 1 && run % 2 == 1)
            text += pat.substr(0, pat.size() - 1) + '#';
    }
    text.resize(len);
    return text;
}

template <class Ch>
void expectReplaceLikeReference(const std::basic_string<Ch> &text, const Ch *rep, const Ch *pat, size_t maxCount,
                                size_t maxLen)
{
    using Str = std::basic_string<Ch>;
    // Room for maxLen + 1, then a border that must stay untouched.
    const size_t room = std::max(maxLen, text.size()) + 1;
    Str fast = text + Ch(0) + Str(room - text.size() - 1 + 8, Ch('~')), slow = fast;
    size_t made = 0;
    if constexpr (sizeof(Ch) == 1)
        made = StrRep(fast.data(), rep, pat, maxCount, maxLen);
    else
        made = TcsRep(fast.data(), rep, pat, maxCount, maxLen);
    EXPECT_EQ(made, reference::repInPlace(slow.data(), rep, pat, maxCount, maxLen))
        << "maxCount " << maxCount << " maxLen " << maxLen;
    EXPECT_TRUE(fast == slow) << "maxCount " << maxCount << " maxLen " << maxLen;
}

// Patterns that overlap themselves and reps that hold the pattern; every budget and greatest length around the text's.
TEST(FastReplace, InPlaceAsStepByStep)
{
    const struct {
        const char *pat, *rep;
    } pairs[] = {{"X", "YY"}, {"ab", "abab"}, {"", "z"},    {"aa", "aaa"},    {"XX", "Y"},        {"X", ""},
                 {"aa", "a"}, {"X", "Y"},     {"aXa", "-"}, {"<tag>", "<t>"}, {"<b>", "<strong>"}};
    for (const auto &pair : pairs) {
        const std::wstring wideRep = widen(pair.rep), widePat = widen(pair.pat);
        const size_t growth = wideRep.size() > widePat.size() ? wideRep.size() - widePat.size() : 0;
        for (size_t len : {0, 1, 2, 3, 5, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100}) {
            const std::string text = matchRuns(*pair.pat ? pair.pat : "X", len);
            SCOPED_TRACE(std::string(pair.pat) + "->" + pair.rep + " in " + text);
            for (size_t maxCount : {size_t{0}, size_t{1}, size_t{2}, size_t{3}, size_t{7}, SIZE_MAX}) {
                std::vector<size_t> maxLens = {0, len / 2, len + 1, len + 100};
                for (size_t k = 0; k <= 6; ++k)
                    maxLens.push_back(len + k * growth - (len > 0 && k == 0 ? 1 : 0));
                for (size_t maxLen : maxLens) {
                    expectReplaceLikeReference<char>(text, pair.rep, pair.pat, maxCount, maxLen);
                    expectReplaceLikeReference<wchar_t>(widen(text), wideRep.c_str(), widePat.c_str(), maxCount,
                                                        maxLen);
                }
            }
        }
    }
}

// The offset list outgrows its local entries and first heap block; a new text each time, so stale offsets cannot pass.
TEST(FastReplace, ManyMatches)
{
    for (size_t maxCount : {size_t{63}, size_t{64}, size_t{65}, size_t{5000}, SIZE_MAX}) {
        const std::string text = std::string(maxCount % 7, '-') + matchRuns("X", 20000);
        expectReplaceLikeReference<char>(text, "<X>", "X", maxCount, 60000);
        expectReplaceLikeReference<char>(text, "<X>", "X", maxCount, 20000 + 2 * 129);
        expectReplaceLikeReference<char>(text, "", "X", maxCount, 0);
        expectReplaceLikeReference<wchar_t>(widen(text), L"<X>", L"X", maxCount, 60000);
    }
}

// Needles in both cases at every offset, through the size call and the copy, with each line mode and budget.
TEST(FastReplace, CaseInsensitiveAsByteByByte)
{
    const char *const needles[] = {"a", "Ab", "sTrUcT", "x\xC9y", "\xE9", "aa", "A\nb", "b\n"};
    const std::string filler = "the quick brown fox jumps over the lazy dog\nAND THE STRUCT Ab AA\r\n";
    for (const char *locale : {"C", "C.UTF-8"}) {
        if (std::setlocale(LC_ALL, locale) == nullptr)
            continue; // not installed here
        for (const char *needle : needles) {
            std::string upper = needle;
            for (char &ch : upper)
                ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
            for (size_t len : {0, 1, 5, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 66, 80, 129}) {
                for (size_t at = 0; at <= len; at += at < 20 || len - at < 20 ? 1 : 7) {
                    std::string text = (filler + filler).substr(0, len);
                    text.replace(at, 0, at % 2 ? upper : needle);
                    for (int caseSensitive = 0; caseSensitive < 2; ++caseSensitive) {
                        for (unsigned lineMode = 0; lineMode < 4; ++lineMode) {
                            for (int maxCount : {-1, 1, 2, 5}) {
                                const reference::Copied expected = reference::copyReplace(
                                    text.c_str(), text.size(), "<>", needle, maxCount, caseSensitive, lineMode);
                                size_t newLen = 0;
                                const size_t counted = StrCpyRepSize(text.c_str(), text.size(), "<>", needle, maxCount,
                                                                     &newLen, caseSensitive, lineMode);
                                std::string dst(newLen + 1, '~');
                                const size_t made = StrCpyRep(dst.data(), dst.size(), text.data(), text.size(), "<>",
                                                              needle, maxCount, caseSensitive, lineMode);
                                ASSERT_TRUE(counted == expected.count && made == expected.count &&
                                            newLen == expected.out.size() && dst == expected.out + '\0')
                                    << locale << " " << needle << " in " << text << " case " << caseSensitive
                                    << " line " << lineMode << " budget " << maxCount;
                            }
                        }
                    }
                }
            }
        }
    }
    std::setlocale(LC_ALL, "C");
}

// A valid, bad or cut sequence at each offset: overlong forms at the greatest value of a shorter length, leads past
// 0xF8, a stray continuation, the mark and the starts of it, and ASCII grouped by eight between two wider characters.
TEST(FastUtf8, DecodeAsByteByByte)
{
    for (size_t len : edgeLengths()) {
        const std::string base = asciiText<char>(len);
        for (const char *piece : {"\xC3\xA9", "\xE2\x82", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF0\x9F\x98", "\xFF",
                                  "\x80", "\xBF", "\xC0\xAF", "\xF0\x8F\xBF\xBF", "\xF8\x88\x80\x80\x80",
                                  "\xF9\x80\x80\x80\x80", "\xC3\x28", "\xEF\xBB\xBF", "\xEF\xBB", "\xEF\xBC\x81",
                                  "\xE3\xBB\xBF", "\xE0\x80\x80\xC2", "\xC3\xA9xyz\xE2\x82\xAC"}) {
            for (size_t at : edgeOffsets(len)) {
                const std::string text = base.substr(0, at) + piece + base.substr(at);
                const char *src = text.c_str(), *body = text.starts_with("\xEF\xBB\xBF") ? src + 3 : src;
                SCOPED_TRACE(::testing::PrintToString(text.substr(at > 8 ? at - 8 : 0, 16)) + " at " +
                             std::to_string(at) + " of " + std::to_string(text.size()));
                int skipped = 0, expectedSkipped = 0;
                const size_t count = reference::decode(nullptr, src, 0, &expectedSkipped);
                ASSERT_EQ(UTF8_mbstowcs_skip(nullptr, src, 0, &skipped), count);
                ASSERT_TRUE(skipped == expectedSkipped && A2T_len(src) == count);
                for (size_t size : sizesAround(count, len)) {
                    std::wstring fast(size + 4, L'#'), slow = fast;
                    ASSERT_EQ(UTF8_mbstowcs(fast.data(), src, size),
                              reference::decode(slow.data(), src, size, nullptr));
                    ASSERT_TRUE(fast == slow) << "size " << size;
                    if (size == 0)
                        continue;
                    slow = fast.assign(size + 4, L'#');
                    A2T_cpy(fast.data(), size, src);
                    slow[reference::decode(slow.data(), body, size - 1, nullptr)] = L'\0';
                    ASSERT_TRUE(fast == slow) << "A2T_cpy size " << size;
                }
                std::wstring all(count + 1, L'#');
                all.resize(reference::decode(all.data(), body, count + 1, nullptr));
                ASSERT_EQ(take(A2T_dup(src)), all);
            }
        }
    }
}

// The greatest and least value of every length (some with bit 31 set) at each offset: the soft limit and the hard cut.
TEST(FastUtf8, EncodeAsCharacterByCharacter)
{
    for (size_t len : edgeLengths()) {
        const std::wstring base = asciiText<wchar_t>(len);
        for (wchar_t piece : std::initializer_list<wchar_t>{
                 0x7F, 0x80, 0x7FF, 0x800, 0xE9, 0xFFFF, 0x10000, 0x20AC, 0x1F600, 0x1FFFFF, 0x200000, 0x3FFFFFF,
                 0x4000000, 0x7FFFFFFF, static_cast<wchar_t>(0x80000041), static_cast<wchar_t>(0x80000000),
                 static_cast<wchar_t>(0xFFFFFFFF)}) {
            for (size_t at : edgeOffsets(len)) {
                const std::wstring text = base.substr(0, at) + piece + base.substr(at);
                const wchar_t *src = text.c_str();
                SCOPED_TRACE("piece " + std::to_string(static_cast<uint32_t>(piece)) + " at " + std::to_string(at) +
                             " of " + std::to_string(text.size()));
                const size_t bytes = reference::encode(nullptr, src, 0);
                ASSERT_TRUE(UTF8_wcstombs(nullptr, src, 0) == bytes && T2A_len(src) == bytes);
                for (size_t size : sizesAround(bytes, len)) {
                    std::string fast(size + 8, '#'), slow = fast;
                    ASSERT_EQ(UTF8_wcstombs(fast.data(), src, size), reference::encode(slow.data(), src, size));
                    ASSERT_EQ(fast, slow) << "size " << size;
                    if (size == 0)
                        continue;
                    slow = fast.assign(size + 8, '#');
                    T2A_cpy(fast.data(), size, src);
                    reference::encodeCut(slow.data(), size, src);
                    ASSERT_EQ(fast, slow) << "T2A_cpy size " << size;
                }
                char *dup = T2A_dup(src);
                std::string all(bytes + 1, '#');
                reference::encode(all.data(), src, bytes + 1);
                ASSERT_TRUE(dup != nullptr && std::string(dup, bytes + 1) == all);
                std::free(dup);
            }
        }
    }
}

} // namespace
