// Copying search and replace: StrCpyRepSize sizes, StrCpyRep writes.
//
// Input: a settings byte (bit 0 case-sensitive, bits 1-2 line mode, bit 3
// a null replacement), a byte for the replacement budget (-2 to 9), two
// bytes that choose a short destination size, then the pattern, the
// replacement and the text, separated by zero bytes. Texts and
// destinations are blocks of exactly their size.
//
// Properties:
// - with the size that StrCpyRepSize reports plus one, StrCpyRep writes
//   nothing beyond it (AddressSanitizer), leaves its source alone and
//   makes the same number of replacements; for a non-empty pattern the
//   result is exactly the reported length, terminated;
// - a budget of 0 copies the text unchanged;
// - with an empty pattern the reported length is an upper bound;
// - a dstSize below that makes no more replacements and writes nothing
//   past the room of the full result;
// - a null replacement sizes as an empty one;
// - for a non-empty pattern the count and the result are those of the
//   byte-by-byte reference walk (case-insensitive through tolower);
// - StrRep and TcsRep, with the same texts and a greatest length taken from
//   the size bytes, make the replacements and leave every element of their
//   buffer (past the terminator too) as the step-by-step reference does.
#include <string>

#include "../tests/lib/qvstring_reference.h"
#include "fuzz_input.h"
#include "qvstring.h"

namespace {

template <class Ch>
void checkInPlace(const std::basic_string<Ch> &text, const Ch *rep, const Ch *pat, size_t maxCount, size_t maxLen)
{
    // A block of exactly the room the call is given.
    const size_t room = (maxLen > text.size() ? maxLen : text.size()) + 1;
    std::unique_ptr<Ch[]> fast(new Ch[room]), slow(new Ch[room]);
    for (size_t k = 0; k < room; ++k)
        fast[k] = slow[k] = k < text.size() ? text[k] : Ch(k == text.size() ? 0 : '~');
    size_t made = 0;
    if constexpr (sizeof(Ch) == 1)
        made = StrRep(fast.get(), rep, pat, maxCount, maxLen);
    else
        made = TcsRep(fast.get(), rep, pat, maxCount, maxLen);
    FUZZ_CHECK(made == reference::repInPlace(slow.get(), rep, pat, maxCount, maxLen));
    FUZZ_CHECK(std::char_traits<Ch>::compare(fast.get(), slow.get(), room) == 0);
}

std::wstring widen(const char *text)
{
    std::wstring wide;
    for (; *text; ++text)
        wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*text)));
    return wide;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t settings = input.byte();
    const int caseSensitive = settings & 1;
    const unsigned lineMode = (settings >> 1) & 3;
    const bool nullRep = (settings >> 3) & 1;
    const int maxCount = static_cast<int>(input.byte() % 12) - 2;
    const size_t shortHint = input.bits(2);

    size_t patLen = 0, repLen = 0, textLen = 0;
    std::unique_ptr<char[]> pat = exactText(input.until(0), &patLen);
    std::unique_ptr<char[]> repBlock = exactText(input.until(0), &repLen);
    std::unique_ptr<char[]> text = exactText(input.until(0), &textLen);
    const char *rep = nullRep ? nullptr : repBlock.get();
    const std::string original(text.get(), textLen);

    size_t newLen = 0;
    const size_t counted =
        StrCpyRepSize(text.get(), textLen, rep, pat.get(), maxCount, &newLen, caseSensitive, lineMode);
    if (nullRep) {
        size_t emptyLen = 0;
        static const char kEmpty[] = "";
        FUZZ_CHECK(StrCpyRepSize(text.get(), textLen, kEmpty, pat.get(), maxCount, &emptyLen, caseSensitive,
                                 lineMode) == counted);
        FUZZ_CHECK(emptyLen == newLen);
    }
    if (maxCount == 0)
        FUZZ_CHECK(counted == 0 && newLen == textLen);
    if (maxCount > 0)
        FUZZ_CHECK(counted <= static_cast<size_t>(maxCount));
    // Sizes stay sane: a result cannot be longer than every byte replaced.
    FUZZ_CHECK(newLen <= textLen + (counted + 1) * (repLen + 1));

    const size_t dstSize = newLen + 1;
    std::unique_ptr<char[]> dst(new char[dstSize]);
    std::memset(dst.get(), 0x55, dstSize);
    const size_t made =
        StrCpyRep(dst.get(), dstSize, text.get(), textLen, rep, pat.get(), maxCount, caseSensitive, lineMode);
    FUZZ_CHECK(std::string(text.get(), textLen) == original);
    FUZZ_CHECK(text[textLen] == 0);
    if (maxCount == 0) {
        FUZZ_CHECK(made == 0);
        FUZZ_CHECK(std::memchr(dst.get(), 0, dstSize) != nullptr);
        FUZZ_CHECK(original == dst.get());
    } else if (patLen > 0) {
        FUZZ_CHECK(made == counted);
        if (textLen > 0 || made > 0) {
            const void *end = std::memchr(dst.get(), 0, dstSize);
            FUZZ_CHECK(end == dst.get() + newLen);
        }
    } else {
        FUZZ_CHECK(made <= counted);
        if (made > 0)
            FUZZ_CHECK(std::memchr(dst.get(), 0, dstSize) != nullptr);
    }

    // A size below the result's: fewer replacements, and writes that stay
    // within the room the full result takes (the rest and NULs go unchecked).
    const size_t shortSize = shortHint % dstSize;
    std::unique_ptr<char[]> shortDst(new char[dstSize]);
    const size_t shortMade =
        StrCpyRep(shortDst.get(), shortSize, text.get(), textLen, rep, pat.get(), maxCount, caseSensitive, lineMode);
    FUZZ_CHECK(shortMade <= made);
    FUZZ_CHECK(std::string(text.get(), textLen) == original);

    if (patLen > 0 && maxCount != 0) {
        const reference::Copied expected =
            reference::copyReplace(text.get(), textLen, rep, pat.get(), maxCount, caseSensitive, lineMode);
        FUZZ_CHECK(counted == expected.count && newLen == expected.out.size());
        FUZZ_CHECK(std::string(dst.get()) == expected.out);
    }

    // In place: maxCount -2..9 as a size_t (the negative ones near its top),
    // the greatest length anywhere from 0 to twice the text and more.
    const size_t inPlaceCount = static_cast<size_t>(static_cast<ptrdiff_t>(maxCount));
    const size_t maxLen = shortHint % (2 * textLen + 40);
    checkInPlace<char>(original, rep, pat.get(), inPlaceCount, maxLen);
    const std::wstring wideRep = widen(rep ? rep : ""), widePat = widen(pat.get());
    checkInPlace<wchar_t>(widen(original.c_str()), rep ? wideRep.c_str() : nullptr, widePat.c_str(), inPlaceCount,
                          maxLen);
    return 0;
}
