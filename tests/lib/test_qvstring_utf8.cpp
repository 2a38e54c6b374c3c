#include "qvstring.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// Policy, limits, nulls, zero sizes, a round trip to 0xFFFFFF; every input against the references is the fast paths'.
TEST(Utf8, PolicyLimitsNullsAndRoundTrip)
{
    // 0xF9 leads nothing, stray continuations stand for themselves, an overlong form is dropped.
    wchar_t wide[16];
    int skipped = 0;
    EXPECT_EQ(UTF8_mbstowcs_skip(wide, "\xF9\x80\xBF\xC0\xAF\xC3\xA9", 16, &skipped), 3u);
    EXPECT_TRUE(std::wstring(wide) == L"\x80\xBF\xE9" && skipped == 1);
    const wchar_t widest[] = {0x7FFFFFFF, 0x4000000, static_cast<wchar_t>(0xFFFFFFFF), 0};
    char buf[8] = "#######", wider[24];
    EXPECT_EQ(std::string(wider, UTF8_wcstombs(wider, widest, 24)),
              "\xFD\xBF\xBF\xBF\xBF\xBF\xFC\x84\x80\x80\x80\x80\xFD\xBF\xBF\xBF\xBF\xBF");
    const wchar_t zeroed[] = {static_cast<wchar_t>(0x80000000), L'a', 0}; // a 0 byte, still counted
    EXPECT_EQ(T2A_len(zeroed), 2u);
    EXPECT_EQ(T2A_len(nullptr) + UTF8_wcstombs(nullptr, nullptr, 4), 0u);
    EXPECT_EQ(UTF8_wcstombs(buf, L"a\u20AC", 2), 4u); // the limit is tested before each character only
    EXPECT_EQ(std::string(buf, 5), "a\xE2\x82\xAC#");
    std::wstring all;
    for (uint32_t value = 1; value <= 0xFFFFFF; value += value < 0x200000 ? 1 : 0x1357)
        all += static_cast<wchar_t>(value);
    all += static_cast<wchar_t>(0xFFFFFF); // the greatest the decoder accepts
    const std::string narrow = take(T2A_dup(all.c_str()));
    EXPECT_TRUE(take(A2T_dup(narrow.c_str())) == all && narrow.size() == T2A_len(all.c_str()));
    const char cut2[] = {'x', '\xC3', '\0', '\xA9', '\0'}, cut4[] = {'\xF0', '\x9F', '\x98', '\0', '\x80', '\0'};
    EXPECT_EQ(A2T_len(cut2) * 10 + A2T_len(cut4), 10u); // bytes after the NUL would complete the sequences
    skipped = 7;
    EXPECT_TRUE(UTF8_mbstowcs_skip(nullptr, nullptr, 5, &skipped) == 0 && skipped == 0);
    EXPECT_EQ(UTF8_mbstowcs(nullptr, nullptr, 5) + A2T_len(nullptr), 0u);
    EXPECT_EQ(UTF8_mbstowcs(nullptr, "abc", 1), 3u);
    wide[0] = L'#', buf[0] = '#';
    EXPECT_TRUE(A2T_cpy(wide, 0, "abcd") == wide && A2T_cpy(wide, 0, nullptr) == wide && wide[0] == L'#');
    EXPECT_TRUE(T2A_cpy(buf, 0, L"abcd") == buf && T2A_cpy(buf, 0, nullptr) == buf && buf[0] == '#');
    EXPECT_TRUE(*A2T_cpy(wide, 4, nullptr) == 0 && *T2A_cpy(buf, 4, nullptr) == 0);
    EXPECT_STREQ(A2T_cpy(wide, 8, "\xEF\xBB\xBF\xEF\xBB\xBF"), L"\uFEFF"); // only one mark is skipped
    EXPECT_TRUE(!A2T_dup(nullptr) && !T2A_dup(nullptr));
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
    EXPECT_TRUE(T2A_cpyasc(buf, 1, L"abcd") == buf && buf[0] == '\0' && buf[1] == 'b');
}

} // namespace
