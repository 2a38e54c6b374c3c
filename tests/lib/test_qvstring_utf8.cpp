// Tests of the UTF-8 converters: decoding policy for bad input, the 31-bit
// encoder, buffer limits of every entry point and round trips.
#include "qvstring.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::wstring decodeAll(const char *src)
{
    wchar_t buf[64];
    A2T_cpy(buf, 64, src);
    return buf;
}

std::string bytesOf(const std::wstring &wide)
{
    char buf[128];
    const size_t len = T2A_len(wide.c_str());
    T2A_cpy(buf, sizeof buf, wide.c_str());
    return std::string(buf, len);
}

TEST(Utf8Decode, PolicyForEveryKindOfInput)
{
    struct Case { const char *bytes; std::wstring chars; int skipped; };
    const Case cases[] = {
        {"\xC3\xA9", L"\u00E9", 0},
        {"\xC3\x28", L"", 1},                   // bad continuation swallows the '('
        {"\xC0\xAF", L"", 1},                   // overlong
        {"\xC1\xBF", L"", 1},
        {"\xE0\x80\x80", L"", 1},
        {"\xF0\x8F\xBF\xBF", L"", 1},
        {"\xF4\x90\x80\x80", std::wstring(1, static_cast<wchar_t>(0x110000)), 0},
        {"\xF7\xBF\xBF\xBF", std::wstring(1, static_cast<wchar_t>(0x1FFFFF)), 0},
        {"\xF8\x88\x80\x80\x80", std::wstring(1, static_cast<wchar_t>(0x200000)), 0},
        {"\xF8\xBF\xBF\xBF\xBF", std::wstring(1, static_cast<wchar_t>(0xFFFFFF)), 0},
        {"\xF8\x87\xBF\xBF\xBF", L"", 1},       // overlong 5-byte form
        {"\x80", L"\u0080", 0},
        {"\xA9", L"\u00A9", 0},
        {"\xBF", L"\u00BF", 0},
        {"\xED\xA0\x80", std::wstring(1, static_cast<wchar_t>(0xD800)), 0},
        {"\xDF\xBF", L"\u07FF", 0},
        {"\xE0\xA0\x80", L"\u0800", 0},
        {"\xF0\x90\x80\x80", std::wstring(1, static_cast<wchar_t>(0x10000)), 0},
        {"\xF9" "a", L"a", 1},
        {"\xFF\xFE" "b", L"b", 1},
        {"\xF9\x80\x80\x80\x80", L"\u0080\u0080\u0080\u0080", 1},
        {"a\xE2\x82", L"a", 1},                 // cut off by the terminator
        {"\xEF\xBB", L"", 1},                     // 3-byte lead cut off by the NUL
        {"", L"", 0},
    };
    for (const auto &c : cases) {
        wchar_t buf[16];
        int skipped = -1;
        const size_t count = UTF8_mbstowcs_skip(buf, c.bytes, 16, &skipped);
        EXPECT_EQ(std::wstring(buf, count), c.chars) << "bytes " << ::testing::PrintToString(c.bytes);
        EXPECT_EQ(buf[count], L'\0');
        EXPECT_EQ(skipped, c.skipped) << ::testing::PrintToString(c.bytes);
        EXPECT_EQ(A2T_len(c.bytes), c.chars.size());
        EXPECT_EQ(decodeAll(c.bytes), c.chars);
    }
}

TEST(Utf8Decode, NeverReadsPastTheTerminator)
{
    // Bytes after the NUL would complete the sequences if they were read.
    const char cut2[] = {'x', '\xC3', '\0', '\xA9', '\0'};
    const char cut4[] = {'\xF0', '\x9F', '\x98', '\0', '\x80', '\0'};
    EXPECT_EQ(A2T_len(cut2), 1u);
    EXPECT_EQ(A2T_len(cut4), 0u);
    wchar_t buf[8];
    EXPECT_EQ(UTF8_mbstowcs(buf, cut2, 8), 1u);
    EXPECT_EQ(buf[0], L'x');
    EXPECT_EQ(buf[1], L'\0');
}

TEST(Utf8Decode, NullAndLimits)
{
    int skipped = 7;
    EXPECT_EQ(UTF8_mbstowcs_skip(nullptr, nullptr, 5, &skipped), 0u);
    EXPECT_EQ(skipped, 0);
    EXPECT_EQ(UTF8_mbstowcs(nullptr, nullptr, 5), 0u);
    EXPECT_EQ(A2T_len(nullptr), 0u);

    wchar_t buf[4] = {L'#', L'#', L'#', L'#'};
    EXPECT_EQ(UTF8_mbstowcs(buf, "abc", 3), 3u);
    EXPECT_EQ(std::wstring(buf, 4), L"abc#");       // full: no terminator
    EXPECT_EQ(UTF8_mbstowcs(nullptr, "abc", 0), 3u);
    EXPECT_EQ(UTF8_mbstowcs(nullptr, "abc", 1), 3u);
    EXPECT_EQ(UTF8_mbstowcs(buf, "abc", 0), 0u);
    EXPECT_EQ(buf[0], L'a');
}

TEST(Utf8Encode, ThirtyOneBitForm)
{
    struct Case { uint32_t value; std::string bytes; };
    const Case cases[] = {
        {0x41, "\x41"},
        {0x7F, "\x7F"},
        {0x80, "\xC2\x80"},
        {0x7FF, "\xDF\xBF"},
        {0x800, "\xE0\xA0\x80"},
        {0x20AC, "\xE2\x82\xAC"},
        {0xD800, "\xED\xA0\x80"},
        {0xFFFF, "\xEF\xBF\xBF"},
        {0x10000, "\xF0\x90\x80\x80"},
        {0x1FFFFF, "\xF7\xBF\xBF\xBF"},
        {0x200000, "\xF8\x88\x80\x80\x80"},
        {0x1000000, "\xF9\x80\x80\x80\x80"},
        {0x3FFFFFF, "\xFB\xBF\xBF\xBF\xBF"},
        {0x4000000, "\xFC\x84\x80\x80\x80\x80"},
        {0x7FFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"},
        {0x80000041, "\x41"},                   // bit 31 ignored
        {0xFFFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"},
    };
    for (const auto &c : cases) {
        const wchar_t wide[2] = {static_cast<wchar_t>(c.value), L'\0'};
        EXPECT_EQ(T2A_len(wide), c.bytes.size()) << std::hex << c.value;
        EXPECT_EQ(bytesOf(wide), c.bytes) << std::hex << c.value;
        char buf[16];
        const size_t count = UTF8_wcstombs(buf, wide, 16);
        EXPECT_EQ(std::string(buf, count), c.bytes);
        EXPECT_EQ(buf[count], '\0');
    }
    EXPECT_EQ(T2A_len(nullptr), 0u);
    EXPECT_EQ(UTF8_wcstombs(nullptr, nullptr, 4), 0u);

    // 0x80000000 encodes as a 0 byte, which the count still includes.
    const wchar_t zeroed[] = {static_cast<wchar_t>(0x80000000), L'a', L'\0'};
    EXPECT_EQ(T2A_len(zeroed), 2u);
}

TEST(Utf8Encode, WcstombsTestsLimitBeforeEachCharacterOnly)
{
    char buf[8];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(UTF8_wcstombs(buf, L"a\u20AC", 2), 4u);
    EXPECT_EQ(std::string(buf, 5), "a\xE2\x82\xAC#");
    EXPECT_EQ(UTF8_wcstombs(nullptr, L"a\u20AC", 1), 4u);
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(UTF8_wcstombs(buf, L"ab", 3), 2u);
    EXPECT_EQ(std::string(buf, 3), std::string("ab\0", 3));
}

TEST(A2TCpy, BomCutAndSizes)
{
    wchar_t buf[8];
    EXPECT_EQ(A2T_len("\xEF\xBB\xBF" "x"), 2u);
    EXPECT_EQ(A2T_cpy(buf, 8, "\xEF\xBB\xBF" "x"), buf);
    EXPECT_STREQ(buf, L"x");
    EXPECT_STREQ(A2T_cpy(buf, 8, "\xEF\xBB\xBF"), L"");
    EXPECT_STREQ(A2T_cpy(buf, 8, "\xEF\xBB" "xy"), L"y");      // not a BOM: a bad sequence
    EXPECT_STREQ(A2T_cpy(buf, 8, "\xEF\xBB\xBF\xEF\xBB\xBF"), L"\uFEFF");   // only one is skipped

    std::wmemset(buf, L'#', 8);
    A2T_cpy(buf, 3, "abcd");
    EXPECT_EQ(std::wstring(buf, 4), std::wstring(L"ab\0#", 4));
    A2T_cpy(buf, 5, "abcd");
    EXPECT_STREQ(buf, L"abcd");

    std::wmemset(buf, L'#', 8);
    EXPECT_EQ(A2T_cpy(buf, 0, "abcd"), buf);
    EXPECT_EQ(A2T_cpy(buf, 0, nullptr), buf);
    EXPECT_EQ(buf[0], L'#');
    EXPECT_STREQ(A2T_cpy(buf, 1, "abcd"), L"");
    buf[0] = L'#';
    EXPECT_STREQ(A2T_cpy(buf, 4, nullptr), L"");
}

TEST(T2ACpy, ByteExactCut)
{
    char buf[8];
    std::memset(buf, '#', sizeof buf);
    T2A_cpy(buf, 3, L"a\u20AC");
    EXPECT_EQ(std::string(buf, 4), std::string("a\xE2\0#", 4));
    std::memset(buf, '#', sizeof buf);
    T2A_cpy(buf, 4, L"a\u20AC");
    EXPECT_EQ(std::string(buf, 5), std::string("a\xE2\x82\0#", 5));
    T2A_cpy(buf, 5, L"a\u20AC");
    EXPECT_STREQ(buf, "a\xE2\x82\xAC");

    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(T2A_cpy(buf, 0, L"abc"), buf);
    EXPECT_EQ(T2A_cpy(buf, 0, nullptr), buf);
    EXPECT_EQ(buf[0], '#');
    EXPECT_STREQ(T2A_cpy(buf, 1, L"abc"), "");
    buf[0] = '#';
    EXPECT_STREQ(T2A_cpy(buf, 5, nullptr), "");
    buf[0] = '#';
    EXPECT_STREQ(T2A_cpy(buf, 5, L""), "");
}

// A text with 1- to 6-byte characters and invalid input in the narrow form.
const wchar_t kMixedWide[] = {L'a', 0xE9, 0x20AC, 0x1F600, L'z', 0x200000, 0x4000000, L'!', 0};
const char kMixedNarrow[] = "\xEF\xBB\xBF" "a\xC3\xA9\xC0\xAF\xE2\x82\xAC\xFF\xF0\x9F\x98\x80" "z"
                            "\xC3\x28\xF8\x88\x80\x80\x80" "!";

TEST(A2TCpy, TruncatesAtEverySizeWithoutOverrun)
{
    const std::wstring full = decodeAll(kMixedNarrow);
    ASSERT_EQ(full, std::wstring(L"a\u00E9\u20AC\U0001F600z") + static_cast<wchar_t>(0x200000) + L'!');
    for (size_t size = 1; size <= full.size() + 2; ++size) {
        std::vector<wchar_t> buf(size + 1, L'#');
        A2T_cpy(buf.data(), size, kMixedNarrow);
        const size_t kept = std::min(full.size(), size - 1);
        EXPECT_EQ(std::wstring(buf.data(), kept), full.substr(0, kept)) << "size " << size;
        EXPECT_EQ(buf[kept], L'\0') << "size " << size;
        EXPECT_EQ(buf[size], L'#') << "size " << size;
    }
}

TEST(T2ACpy, TruncatesAtEverySizeWithoutOverrun)
{
    const size_t len = T2A_len(kMixedWide);
    ASSERT_EQ(len, 1u + 2 + 3 + 4 + 1 + 5 + 6 + 1);
    std::string full(len + 1, '#');
    T2A_cpy(full.data(), len + 1, kMixedWide);
    ASSERT_EQ(full[len], '\0');
    full.resize(len);
    for (size_t size = 1; size <= len + 2; ++size) {
        std::vector<char> buf(size + 1, '#');
        T2A_cpy(buf.data(), size, kMixedWide);
        const size_t kept = std::min(len, size - 1);
        EXPECT_EQ(std::string(buf.data(), kept), full.substr(0, kept)) << "size " << size;
        EXPECT_EQ(buf[kept], '\0') << "size " << size;
        EXPECT_EQ(buf[size], '#') << "size " << size;
    }
}

TEST(Convert, LengthsAgreeWithCopies)
{
    const char *narrow[] = {"", "abc", kMixedNarrow, "\xC3\x28", "\x80\x81\xF9\xFA", "\xEF\xBB\xBF"};
    for (const char *text : narrow) {
        wchar_t *wide = A2T_dup(text);
        ASSERT_NE(wide, nullptr);
        const size_t len = A2T_len(text);
        const bool bom = std::strncmp(text, "\xEF\xBB\xBF", 3) == 0;
        EXPECT_EQ(std::wcslen(wide) + (bom ? 1 : 0), len) << ::testing::PrintToString(text);
        EXPECT_EQ(UTF8_mbstowcs(nullptr, text, 0), len);
        std::free(wide);
    }
    const wchar_t *wides[] = {L"", L"abc", kMixedWide};
    for (const wchar_t *text : wides) {
        char *bytes = T2A_dup(text);
        ASSERT_NE(bytes, nullptr);
        EXPECT_EQ(std::strlen(bytes), T2A_len(text));
        EXPECT_EQ(UTF8_wcstombs(nullptr, text, 0), T2A_len(text));
        std::free(bytes);
    }
    EXPECT_EQ(A2T_dup(nullptr), nullptr);
    EXPECT_EQ(T2A_dup(nullptr), nullptr);
}

TEST(Convert, RoundTripOfEveryValueTheDecoderAccepts)
{
    // Every value up to 0x1FFFFF (1 to 4 bytes), then samples of the 5-byte
    // range that the lead 0xF8 covers.
    std::vector<wchar_t> wide;
    for (uint32_t value = 1; value <= 0x1FFFFF; ++value)
        wide.push_back(static_cast<wchar_t>(value));
    for (uint32_t value = 0x200000; value <= 0xFFFFFF; value += 0x1357)
        wide.push_back(static_cast<wchar_t>(value));
    wide.push_back(static_cast<wchar_t>(0xFFFFFF));
    wide.push_back(L'\0');

    char *narrow = T2A_dup(wide.data());
    ASSERT_NE(narrow, nullptr);
    wchar_t *back = A2T_dup(narrow);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(std::wcslen(back), wide.size() - 1);
    EXPECT_EQ(std::wmemcmp(back, wide.data(), wide.size()), 0);
    std::free(back);
    std::free(narrow);
}

TEST(Utf8Chlen, LeadByteLengths)
{
    struct Case { int ch; int len; };
    const Case cases[] = {
        {0x00, 1}, {0x41, 1}, {0x80, 1}, {0xBF, 1}, {0xC0, 2}, {0xDF, 2}, {0xE0, 3}, {0xEF, 3},
        {0xF0, 4}, {0xF7, 4}, {0xF8, 5}, {0xFB, 5}, {0xFC, 6}, {0xFD, 6}, {0xFE, 0}, {0xFF, 0},
        {0x100, 0}, {-1, 0}, {-64, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(UTF8_chlen(c.ch), c.len) << std::hex << c.ch;
}

TEST(T2ACpyasc, LowBytes)
{
    char buf[8];
    T2A_cpyasc(buf, 8, L"A\u00E9\u20AC");
    EXPECT_STREQ(buf, "A\xE9\xAC");
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(T2A_cpyasc(buf, 3, L"abcd"), buf);
    EXPECT_EQ(std::string(buf, 4), std::string("ab\0#", 4));
    buf[0] = '#';
    T2A_cpyasc(buf, 1, L"abcd");
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(buf[1], 'b');
}

TEST(MapAsciiWideToNarrow, FullWidthRange)
{
    struct Case { wchar_t in, out; };
    const Case cases[] = {
        {0xFF00, 0xFF00}, {0xFF01, 0x21}, {0xFF21, 0x41}, {0xFF5E, 0x7E}, {0xFF5F, 0xFF5F},
        {0x3000, 0x3000}, {0x41, 0x41}, {0, 0}, {-1, -1},
    };
    for (const auto &c : cases)
        EXPECT_EQ(MapAsciiWideToNarrow(c.in), c.out) << std::hex << static_cast<uint32_t>(c.in);
}

} // namespace
