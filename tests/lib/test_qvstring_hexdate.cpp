#include "qvstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

namespace {

const double kDay = 2451545.0; // 2000-01-01, a Saturday

TEST(DHexToDouble, PatternsMostSignificantFirst)
{
    const char unterminated[16] = {'4', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0'};
    const struct {
        const char *text;
        uint64_t bits;
    } cases[] = {
        {"3FF0000000000000", 0x3FF0000000000000},
        {nullptr, 0},
        {"C000000000000000", 0xC000000000000000},
        {"0123456789abcdef", 0x0123456789ABCDEF},
        {"3FF00000000000001", 0x3FF0000000000000},
        {unterminated, 0x4000000000000000}, // 16 characters count
        {"0!", 0xCA},                       // no validation: 'g' is 16, '!' is -54
    };
    for (const auto &c : cases)
        EXPECT_EQ(std::bit_cast<uint64_t>(DHexToDouble(c.text)), c.bits) << (c.text ? c.text : "");
}

TEST(Dbl2DateStrA, EveryFlagCombination)
{
    const double halfPast = kDay + 4500050 / 8640000.0; // 12:30:00.50 in hundredths of a day
    char small[8], midnight[16];
    // The last four rows: the greatest day number an int holds and the next, the least (no day name) and the one below.
    const struct {
        int dayName, midnight, space, seconds;
        double x;
        const char *out;
    } cases[] = {
        {0, 1, 1, 1, kDay, "2000-01-01 00:00:00"},         {0, 0, 0, 0, kDay + 0.999999999, "2000-01-01T24:00"},
        {0, 1, 0, 0, -1.0, "-4714-12-31T00:00"},           {0, 0, 0, 0, 0.0, "00:00"},
        {0, 0, 0, -1, halfPast, "2000-01-01T12:30"},       {1, 1, 1, 1, std::nan(""), "."},
        {0, 0, 0, 2, halfPast, "2000-01-01T12:30.50"},     {1, 1, 1, 0, -0.25, ""},
        {1, 0, 0, 0, kDay + 1, "2000-01-02 Sun"},          {1, 0, 0, 0, 1.0, "-4713-01-02 Tue"},
        {1, 0, 0, 0, 2147483647.0, "5874898-06-03 Tue"},   {1, 0, 0, 0, 2147483648.0, "."},
        {1, 0, 0, 0, -2147483648.0, "-5884203-03-16 ???"}, {0, 0, 0, 0, -2147483649.0, "."},
    };
    for (const auto &c : cases) {
        char buf[64] = "@";
        EXPECT_EQ(Dbl2DateStrA(buf, sizeof buf, c.dayName, c.midnight, c.space, c.seconds, c.x), buf);
        EXPECT_STREQ(buf, c.out) << c.dayName << c.midnight << c.space << c.seconds << " " << c.x;
    }
    const std::string full = "2000-01-01 Sat 12:30:00.50";
    for (size_t size = 0; size <= full.size() + 1; ++size) { // cut to size
        std::string buf(40, '@');
        Dbl2DateStrA(buf.data(), size, 1, 1, 1, 0, halfPast);
        const size_t kept = size == 0 ? 0 : std::min(size - 1, full.size());
        EXPECT_EQ(buf, (size ? full.substr(0, kept) + '\0' : "") + std::string(40 - kept - (size > 0), '@')) << size;
    }
    EXPECT_STREQ(Dbl2DateStrA(small, 3, 0, 0, 0, 0, std::nan("")), ".");        // a size of 3 still holds "."
    EXPECT_STREQ(Dbl2DateStrA(midnight, 5, 1, 1, 0, 1, kDay), "2000T00:00:00"); // the time appended whole: size + 9
}

TEST(Dbl2DateStr, WidensOrLeavesUntouched)
{
    std::wstring ws(24, L'@');
    EXPECT_EQ(Dbl2DateStr(ws.data(), 15, 0, 0, 0, 0, kDay + 0.5), ws.data()); // 16 characters: too long
    EXPECT_EQ(Dbl2DateStr(ws.data(), 0, 1, 1, 1, 0, -0.25), ws.data());       // the empty text's terminator, widened
    EXPECT_EQ(ws, std::wstring(1, L'\0') + std::wstring(23, L'@'));
    EXPECT_EQ(Dbl2DateStr(ws.data(), 16, 0, 0, 0, 0, kDay + 0.5), ws.data());
    EXPECT_EQ(ws.substr(0, 18), std::wstring(L"2000-01-01T12:00\0@", 18));
    EXPECT_TRUE(!Dbl2DateStr(nullptr, 8, 0, 0, 0, 0, 1.0) && !Dbl2DateStrA(nullptr, 8, 0, 0, 0, 0, 1.0));
}

} // namespace
