// UTF-8 and wide text converters.
//
// Input: a mode byte and a size byte, then either narrow text (UTF-8 or
// not) or, for odd modes, wide text as four bytes per character. Every
// destination is a block of exactly the size the call is given.
//
// Properties:
// - counted lengths agree with what the copies store (A2T_len and
//   UTF8_mbstowcs with a null destination; T2A_len, UTF8_wcstombs and the
//   bytes that T2A_cpy and T2A_dup store);
// - A2T_cpy and T2A_cpy always terminate within their size and keep the
//   longest prefix that fits (whole characters for A2T_cpy, bytes for
//   T2A_cpy);
// - UTF8_mbstowcs stores min(count, size) characters and UTF8_wcstombs at
//   most five bytes past its size, both terminated only when there is room;
// - wide to narrow to wide gives the text back for values that the decoder
//   accepts (1 to 0xFFFFFF), except that a leading U+FEFF is taken for a
//   byte order mark and dropped;
// - every count, character, byte and skip flag, and every element written
//   at each size, is what the byte-by-byte references give.
#include <cwchar>
#include <string>

#include "../tests/lib/qvstring_reference.h"
#include "fuzz_input.h"
#include "qvstring.h"

namespace {

constexpr wchar_t kByteOrderMark = 0xFEFF;

// Wide text in a block of exactly length + 1 characters.
std::unique_ptr<wchar_t[]> exactWide(const std::wstring &text)
{
    std::unique_ptr<wchar_t[]> block(new wchar_t[text.size() + 1]);
    std::wmemcpy(block.get(), text.c_str(), text.size() + 1);
    return block;
}

bool startsWithMark(const char *text)
{
    return static_cast<unsigned char>(text[0]) == 0xEF && static_cast<unsigned char>(text[1]) == 0xBB &&
           static_cast<unsigned char>(text[2]) == 0xBF;
}

// Narrow side: decode, then encode what came out and decode it again.
void checkNarrow(const std::vector<uint8_t> &bytes, size_t sizeHint)
{
    size_t length = 0;
    std::unique_ptr<char[]> narrow = exactText(bytes, &length);
    const char *src = narrow.get();

    const size_t counted = A2T_len(src);
    FUZZ_CHECK(UTF8_mbstowcs(nullptr, src, 0) == counted);
    int skipped = -1;
    FUZZ_CHECK(UTF8_mbstowcs_skip(nullptr, src, 12345, &skipped) == counted);
    FUZZ_CHECK(skipped == 0 || skipped == 1);
    FUZZ_CHECK(counted <= length);

    // The full decoding, then every cut of it that the size allows.
    std::unique_ptr<wchar_t[]> all(new wchar_t[counted + 1]);
    FUZZ_CHECK(UTF8_mbstowcs(all.get(), src, counted + 1) == counted);
    FUZZ_CHECK(all[counted] == 0);
    for (size_t i = 0; i < counted; ++i)
        FUZZ_CHECK(all[i] != 0);

    int expectedSkipped = 0;
    FUZZ_CHECK(reference::decode(nullptr, src, 0, &expectedSkipped) == counted);
    FUZZ_CHECK(skipped == expectedSkipped);
    {
        std::unique_ptr<wchar_t[]> slow(new wchar_t[counted + 1]);
        reference::decode(slow.get(), src, counted + 1, nullptr);
        FUZZ_CHECK(std::wmemcmp(all.get(), slow.get(), counted + 1) == 0);
    }

    const size_t size = 1 + sizeHint % (counted + 2);
    {
        // Every element of an exact block, as the reference leaves it.
        std::unique_ptr<wchar_t[]> fast(new wchar_t[size]), slow(new wchar_t[size]);
        std::wmemset(fast.get(), L'#', size);
        std::wmemset(slow.get(), L'#', size);
        FUZZ_CHECK(UTF8_mbstowcs(fast.get(), src, size) == reference::decode(slow.get(), src, size, nullptr));
        FUZZ_CHECK(std::wmemcmp(fast.get(), slow.get(), size) == 0);
    }
    {
        std::unique_ptr<wchar_t[]> dst(new wchar_t[size]);
        const size_t stored = UTF8_mbstowcs(dst.get(), src, size);
        FUZZ_CHECK(stored == (counted < size ? counted : size));
        FUZZ_CHECK(std::wmemcmp(dst.get(), all.get(), stored) == 0);
        if (stored < size)
            FUZZ_CHECK(dst[stored] == 0);
    }

    // A2T_cpy reads past a leading byte order mark.
    const char *body = startsWithMark(src) ? src + 3 : src;
    const size_t bodyCount = A2T_len(body);
    FUZZ_CHECK(bodyCount == (body == src ? counted : counted - 1));
    const wchar_t *bodyChars = all.get() + (counted - bodyCount);
    {
        std::unique_ptr<wchar_t[]> dst(new wchar_t[size]);
        A2T_cpy(dst.get(), size, src);
        const size_t kept = bodyCount < size ? bodyCount : size - 1;
        FUZZ_CHECK(dst[kept] == 0);
        FUZZ_CHECK(std::wmemcmp(dst.get(), bodyChars, kept) == 0);
    }
    std::unique_ptr<wchar_t, decltype(&std::free)> dup(A2T_dup(src), &std::free);
    FUZZ_CHECK(dup != nullptr);
    FUZZ_CHECK(std::wcslen(dup.get()) == bodyCount);
    FUZZ_CHECK(std::wmemcmp(dup.get(), bodyChars, bodyCount) == 0);

    // What the decoder gives back always encodes and decodes to itself.
    std::unique_ptr<char, decltype(&std::free)> again(T2A_dup(dup.get()), &std::free);
    FUZZ_CHECK(again != nullptr);
    FUZZ_CHECK(std::strlen(again.get()) == T2A_len(dup.get()));
    std::unique_ptr<wchar_t, decltype(&std::free)> back(A2T_dup(again.get()), &std::free);
    FUZZ_CHECK(back != nullptr);
    const wchar_t *expected = dup.get();
    if (expected[0] == kByteOrderMark)
        ++expected;
    FUZZ_CHECK(std::wcscmp(back.get(), expected) == 0);
}

// Wide side: any 32-bit values, then the ones the decoder accepts.
void checkWide(const std::vector<uint8_t> &bytes, size_t sizeHint)
{
    std::wstring text;
    for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
        uint32_t value = bytes[i] | bytes[i + 1] << 8 | bytes[i + 2] << 16 | static_cast<uint32_t>(bytes[i + 3]) << 24;
        if (value != 0)
            text.push_back(static_cast<wchar_t>(value));
    }
    std::unique_ptr<wchar_t[]> wide = exactWide(text);

    const size_t length = T2A_len(wide.get());
    FUZZ_CHECK(UTF8_wcstombs(nullptr, wide.get(), 0) == length);
    FUZZ_CHECK(length >= text.size() && length <= 6 * text.size());

    std::unique_ptr<char[]> all(new char[length + 1]);
    FUZZ_CHECK(UTF8_wcstombs(all.get(), wide.get(), length + 1) == length);
    FUZZ_CHECK(all[length] == 0);

    FUZZ_CHECK(reference::encode(nullptr, wide.get(), 0) == length);
    const size_t size = 1 + sizeHint % (length + 2);
    {
        std::unique_ptr<char[]> fast(new char[size + 5]), slow(new char[size + 5]);
        std::memset(fast.get(), '#', size + 5);
        std::memset(slow.get(), '#', size + 5);
        FUZZ_CHECK(UTF8_wcstombs(fast.get(), wide.get(), size) == reference::encode(slow.get(), wide.get(), size));
        FUZZ_CHECK(std::memcmp(fast.get(), slow.get(), size + 5) == 0);
        std::memset(fast.get(), '#', size + 5);
        std::memset(slow.get(), '#', size + 5);
        T2A_cpy(fast.get(), size, wide.get());
        reference::encodeCut(slow.get(), size, wide.get());
        FUZZ_CHECK(std::memcmp(fast.get(), slow.get(), size + 5) == 0);
    }
    {
        // The limit is tested before each character: up to five bytes more.
        std::unique_ptr<char[]> dst(new char[size + 5]);
        const size_t stored = UTF8_wcstombs(dst.get(), wide.get(), size);
        FUZZ_CHECK(stored <= length && stored < size + 6);
        FUZZ_CHECK(stored >= (length < size ? length : size));
        FUZZ_CHECK(std::memcmp(dst.get(), all.get(), stored) == 0);
        if (stored < size)
            FUZZ_CHECK(dst[stored] == 0);
    }
    {
        std::unique_ptr<char[]> dst(new char[size]);
        T2A_cpy(dst.get(), size, wide.get());
        const size_t kept = length < size ? length : size - 1;
        FUZZ_CHECK(dst[kept] == 0);
        FUZZ_CHECK(std::memcmp(dst.get(), all.get(), kept) == 0);
    }
    std::unique_ptr<char, decltype(&std::free)> dup(T2A_dup(wide.get()), &std::free);
    FUZZ_CHECK(dup != nullptr);
    FUZZ_CHECK(std::memcmp(dup.get(), all.get(), length + 1) == 0);

    // Values from 1 to 0xFFFFFF make the round trip.
    std::wstring accepted;
    for (wchar_t ch : text) {
        wchar_t value = static_cast<wchar_t>(static_cast<uint32_t>(ch) % 0xFFFFFF + 1);
        accepted.push_back(value);
    }
    std::unique_ptr<wchar_t[]> good = exactWide(accepted);
    std::unique_ptr<char, decltype(&std::free)> narrow(T2A_dup(good.get()), &std::free);
    FUZZ_CHECK(narrow != nullptr);
    FUZZ_CHECK(std::strlen(narrow.get()) == T2A_len(good.get()));
    FUZZ_CHECK(A2T_len(narrow.get()) == accepted.size());
    int skipped = -1;
    FUZZ_CHECK(UTF8_mbstowcs_skip(nullptr, narrow.get(), 0, &skipped) == accepted.size());
    FUZZ_CHECK(skipped == 0);
    std::unique_ptr<wchar_t, decltype(&std::free)> back(A2T_dup(narrow.get()), &std::free);
    FUZZ_CHECK(back != nullptr);
    const wchar_t *expected = good.get();
    if (expected[0] == kByteOrderMark)
        ++expected;
    FUZZ_CHECK(std::wcscmp(back.get(), expected) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t mode = input.byte();
    const size_t sizeHint = input.bits(2);
    const std::vector<uint8_t> rest = input.rest();
    if (mode & 1)
        checkWide(rest, sizeHint);
    else
        checkNarrow(rest, sizeHint);
    return 0;
}
