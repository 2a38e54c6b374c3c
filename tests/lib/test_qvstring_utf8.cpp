// UTF-8 converters: bad input, the 31-bit encoder, buffer limits, round trips.
#include "qvstring.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(Utf8Decode, PolicyForEveryKindOfInput)
{
    // Bad input; valid sequences of every length are the round trip's below.
    const struct {
        const char *bytes;
        const wchar_t *chars;
        int skipped;
    } cases[] = {
        {"\xC3\x28", L"", 1},     {"\xE0\x80\x80", L"", 1},     {"\xF8\x87\xBF\xBF\xBF", L"", 1},
        {"\xC0\xAF", L"", 1},     {"\xF0\x8F\xBF\xBF", L"", 1}, {"\xF9\x80\x80\x80\x80", L"\x80\x80\x80\x80", 1},
        {"\xC3\xA9", L"\xE9", 0}, {"a\xE2\x82", L"a", 1},       {"", L"", 0},
        {"\xBF", L"\xBF", 0},
    };
    for (const auto &c : cases) {
        wchar_t buf[16], copy[16];
        int skipped = -1;
        const size_t count = UTF8_mbstowcs_skip(buf, c.bytes, 16, &skipped), len = std::wcslen(c.chars);
        SCOPED_TRACE(::testing::PrintToString(c.bytes));
        EXPECT_EQ(std::wstring(buf, count + 1), std::wstring(c.chars, len + 1));
        EXPECT_EQ(skipped, c.skipped);
        EXPECT_EQ(A2T_len(c.bytes), len);
        EXPECT_EQ(UTF8_mbstowcs(nullptr, c.bytes, 0), len);
        EXPECT_EQ(A2T_cpy(copy, 16, c.bytes), copy);
        EXPECT_STREQ(copy, c.chars);
    }
}

// Every value up to 0xFFFFFF (past 0x200000 in steps) comes back from the
// decoder as it went in.
TEST(Utf8Encode, ThirtyOneBitFormAndRoundTrip)
{
    const struct {
        uint32_t value;
        std::string bytes;
    } cases[] = {
        {0x7F, "\x7F"},          {0x10000, "\xF0\x90\x80\x80"},      {0x3FFFFFF, "\xFB\xBF\xBF\xBF\xBF"},
        {0x80, "\xC2\x80"},      {0x1FFFFF, "\xF7\xBF\xBF\xBF"},     {0x4000000, "\xFC\x84\x80\x80\x80\x80"},
        {0x7FF, "\xDF\xBF"},     {0x200000, "\xF8\x88\x80\x80\x80"}, {0x7FFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"},
        {0x800, "\xE0\xA0\x80"}, {0xFFFF, "\xEF\xBF\xBF"},           {0xFFFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"},
        {0x80000041, "\x41"},
    };
    for (const auto &c : cases) {
        const std::wstring wide(1, static_cast<wchar_t>(c.value));
        char buf[16], copy[16];
        const size_t count = UTF8_wcstombs(buf, wide.c_str(), 16);
        EXPECT_EQ(std::string(buf, count + 1), c.bytes + '\0') << c.value;
        EXPECT_EQ(T2A_len(wide.c_str()), c.bytes.size());
        EXPECT_EQ(UTF8_wcstombs(nullptr, wide.c_str(), 0), c.bytes.size());
        EXPECT_EQ(T2A_cpy(copy, 16, wide.c_str()), copy);
        EXPECT_EQ(copy, c.bytes);
    }
    const wchar_t zeroed[] = {static_cast<wchar_t>(0x80000000), L'a', 0}; // a 0 byte, still counted
    EXPECT_EQ(T2A_len(zeroed), 2u);
    EXPECT_EQ(T2A_len(nullptr) + UTF8_wcstombs(nullptr, nullptr, 4), 0u);
    char buf[8] = "#######";
    EXPECT_EQ(UTF8_wcstombs(buf, L"a\u20AC", 2), 4u); // the limit is tested before each character only
    EXPECT_EQ(std::string(buf, 5), "a\xE2\x82\xAC#");
    EXPECT_EQ(UTF8_wcstombs(buf, L"ab", 3), 2u);
    EXPECT_EQ(std::string(buf, 3), std::string("ab\0", 3));
    std::wstring all;
    for (uint32_t value = 1; value <= 0xFFFFFF; value += value < 0x200000 ? 1 : 0x1357)
        all += static_cast<wchar_t>(value);
    all += static_cast<wchar_t>(0xFFFFFF); // the greatest the decoder accepts
    char *narrow = T2A_dup(all.c_str());
    wchar_t *back = A2T_dup(narrow);
    EXPECT_TRUE(back && std::wstring(back) == all && std::strlen(narrow) == T2A_len(all.c_str()));
    free(back), free(narrow);
}

TEST(Copy, BomNullsLimitsAndZeroSizes)
{
    const char cut2[] = {'x', '\xC3', '\0', '\xA9', '\0'}, cut4[] = {'\xF0', '\x9F', '\x98', '\0', '\x80', '\0'};
    EXPECT_EQ(A2T_len(cut2) * 10 + A2T_len(cut4), 10u); // bytes after the NUL would complete the sequences
    int skipped = 7;
    EXPECT_TRUE(UTF8_mbstowcs_skip(nullptr, nullptr, 5, &skipped) == 0 && skipped == 0);
    EXPECT_EQ(UTF8_mbstowcs(nullptr, nullptr, 5) + A2T_len(nullptr), 0u);
    EXPECT_EQ(UTF8_mbstowcs(nullptr, "abc", 1), 3u);
    wchar_t wbuf[8] = {L'#', L'#', L'#', L'#'};
    char buf[8] = "#";
    EXPECT_TRUE(UTF8_mbstowcs(wbuf, "abc", 0) == 0 && wbuf[0] == L'#');
    EXPECT_EQ(UTF8_mbstowcs(wbuf, "abc", 3), 3u);
    EXPECT_EQ(std::wstring(wbuf, 4), L"abc#"); // full: no terminator
    EXPECT_EQ(A2T_len("\xEF\xBB\xBFx"), 2u);
    EXPECT_STREQ(A2T_cpy(wbuf, 8, "\xEF\xBB\xBFx"), L"x");
    EXPECT_STREQ(A2T_cpy(wbuf, 8, "\xEF\xBBxy"), L"y");                    // no BOM
    EXPECT_STREQ(A2T_cpy(wbuf, 8, "\xEF\xBB\xBF\xEF\xBB\xBF"), L"\uFEFF"); // only one skipped
    EXPECT_STREQ(A2T_cpy(wbuf, 8, "\xEF\xBC\x81"), L"\uFF01");             // a mark in part only, at either end
    EXPECT_STREQ(A2T_cpy(wbuf, 8, "\xE3\xBB\xBF"), L"\u3EFF");
    wbuf[0] = L'#';
    EXPECT_TRUE(A2T_cpy(wbuf, 0, "abcd") == wbuf && A2T_cpy(wbuf, 0, nullptr) == wbuf && wbuf[0] == L'#');
    EXPECT_TRUE(T2A_cpy(buf, 0, L"abcd") == buf && T2A_cpy(buf, 0, nullptr) == buf && buf[0] == '#');
    EXPECT_TRUE(*A2T_cpy(wbuf, 4, nullptr) == 0 && *T2A_cpy(buf, 4, nullptr) == 0);
    EXPECT_TRUE(!A2T_dup(nullptr) && !T2A_dup(nullptr));
}

TEST(Copy, TruncatesAtEverySizeWithoutOverrun)
{
    // 1- to 6-byte characters; the narrow form adds a BOM and invalid input.
    const wchar_t kWide[] = {L'a', 0xE9, 0x20AC, 0x1F600, L'z', 0x200000, 0x4000000, L'!', 0};
    const char kNarrow[] = "\xEF\xBB\xBF"
                           "a\xC3\xA9\xC0\xAF\xE2\x82\xAC\xFF\xF0\x9F\x98\x80z\xC3\x28\xF8\x88\x80\x80\x80!";
    const std::wstring wide = L"a\xE9\x20AC\x1F600z\x200000!";
    const std::string narrow = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z\xF8\x88\x80\x80\x80\xFC\x84\x80\x80\x80\x80!";
    ASSERT_EQ(A2T_len(kNarrow), wide.size() + 1);
    ASSERT_EQ(T2A_len(kWide), narrow.size()); // the BOM counts
    for (size_t size = 1; size <= narrow.size() + 2; ++size) {
        std::wstring wbuf(size + 1, L'#');
        std::string buf(size + 1, '#');
        const size_t wkept = std::min(wide.size(), size - 1), kept = std::min(narrow.size(), size - 1);
        A2T_cpy(wbuf.data(), size, kNarrow), T2A_cpy(buf.data(), size, kWide);
        EXPECT_EQ(wbuf, wide.substr(0, wkept) + L'\0' + std::wstring(size - wkept, L'#')) << size;
        EXPECT_EQ(buf, narrow.substr(0, kept) + '\0' + std::string(size - kept, '#')) << size;
    }
}

TEST(Utf8, SmallHelpers)
{
    const struct {
        int ch, len;
    } lens[] = {{0x00, 1}, {0x80, 1}, {0xBF, 1}, {0xC0, 2}, {0xDF, 2}, {0xE0, 3}, {0xEF, 3},  {0xF0, 4}, {0xF7, 4},
                {0xF8, 5}, {0xFB, 5}, {0xFC, 6}, {0xFD, 6}, {0xFE, 0}, {0xFF, 0}, {0x100, 0}, {-1, 0},   {-64, 0}};
    for (const auto &c : lens)
        EXPECT_EQ(UTF8_chlen(c.ch), c.len) << c.ch;
    const struct {
        wchar_t in, out;
    } maps[] = {{0xFF00, 0xFF00}, {0xFF01, 0x21}, {0xFF21, 0x41}, {0xFF5E, 0x7E},
                {0xFF5F, 0xFF5F}, {0x41, 0x41},   {-1, -1}};
    for (const auto &c : maps)
        EXPECT_EQ(MapAsciiWideToNarrow(c.in), c.out) << static_cast<int>(c.in);
    char buf[8] = "#######";
    EXPECT_STREQ(T2A_cpyasc(buf, 8, L"A\u00E9\u20AC"), "A\xE9\xAC");
    EXPECT_EQ(std::string(T2A_cpyasc(std::strcpy(buf, "####"), 3, L"abcd"), 4), std::string("ab\0#", 4));
    EXPECT_STREQ(T2A_cpyasc(buf, 1, L"abcd"), "");
    EXPECT_EQ(buf[1], 'b');
}

} // namespace
