// Hex bit patterns read back as doubles, and date stamps in every form.
#include "qvstring.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace {

uint64_t hexBits(const char *text)
{
    return std::bit_cast<uint64_t>(DHexToDouble(text));
}

TEST(DHexToDouble, PatternsMostSignificantFirst)
{
    const struct {
        const char *text;
        uint64_t bits;
    } cases[] = {
        {"3FF0000000000000", 0x3FF0000000000000},  // 1.0
        {"3ff0000000000000", 0x3FF0000000000000},
        {"C000000000000000", 0xC000000000000000},  // -2.0
        {"7FF8000000000000", 0x7FF8000000000000},  // the library's NaN
        {"8000000000000000", 0x8000000000000000},  // -0.0
        {"0123456789abcdef", 0x0123456789ABCDEF},
        {"0", 0},
        {"", 0},
        {"1", 1},                                  // padded on the left
        {"3FF", 0x3FF},
        {"3FF00000000000001", 0x3FF0000000000000}, // only 16 characters count
        {"0g", 0x10},                              // no validation: 'g' is 16
        {"1g0", 0x100},                            // 16 * 16 kept to 8 bits
        {"0!", 0xCA},                              // '!' is -54
    };
    for (const auto &c : cases)
        EXPECT_EQ(hexBits(c.text), c.bits) << c.text;
    EXPECT_EQ(DHexToDouble("3FF0000000000000"), 1.0);
    EXPECT_EQ(DHexToDouble("C000000000000000"), -2.0);
    EXPECT_TRUE(std::signbit(DHexToDouble("8000000000000000")));
    EXPECT_EQ(hexBits(nullptr), 0u);
}

TEST(DHexToDouble, ReadsNoFurtherThanSixteenCharacters)
{
    const char unterminated[16] = {'4', '0', '0', '0', '0', '0', '0', '0',
                                   '0', '0', '0', '0', '0', '0', '0', '0'};
    EXPECT_EQ(DHexToDouble(unterminated), 2.0);
}

std::string stamp(int withDayName, int midnightTime, int spaceSeparator, int secondsMode, double x)
{
    char buf[64];
    std::memset(buf, '@', sizeof buf);
    EXPECT_EQ(Dbl2DateStrA(buf, sizeof buf, withDayName, midnightTime, spaceSeparator, secondsMode, x), buf);
    return buf;
}

constexpr double kJan1st2000 = 2451545.0;

// A time of day as a fraction in exact hundredths of a second.
double timeOfDay(int hour, int minute, int second, int hundredths)
{
    return (((hour * 60 + minute) * 60 + second) * 100 + hundredths) / 8640000.0;
}

struct StampCase {
    int withDayName;
    int midnightTime;
    int spaceSeparator;
    int secondsMode;
    double x;
    const char *expected;
};

TEST(Dbl2DateStrA, EveryFlagCombination)
{
    const double noon = kJan1st2000 + 0.5;
    const double halfPastTwelve = kJan1st2000 + timeOfDay(12, 30, 0, 50);
    const StampCase cases[] = {
        {0, 0, 0, 0, kJan1st2000, "2000-01-01"},
        {1, 0, 0, 0, kJan1st2000, "2000-01-01 Sat"},
        {1, 1, 1, 0, kJan1st2000, "2000-01-01 Sat 00:00"},
        {1, 1, 0, 0, kJan1st2000, "2000-01-01 SatT00:00"},
        {0, 1, 0, 0, kJan1st2000, "2000-01-01T00:00"},
        {0, 1, 1, 1, kJan1st2000, "2000-01-01 00:00:00"},
        {0, 1, 0, 1, kJan1st2000, "2000-01-01T00:00:00"},
        {0, 1, 0, 2, kJan1st2000, "2000-01-01T00:00"},
        {0, 0, 0, 0, noon, "2000-01-01T12:00"},
        {0, 0, 0, 1, noon, "2000-01-01T12:00:00"},
        {0, 0, 1, 0, noon, "2000-01-01 12:00"},
        {1, 0, 1, 0, noon, "2000-01-01 Sat 12:00"},
        {1, 0, 0, 0, noon, "2000-01-01 SatT12:00"},
        {0, 1, 0, 0, noon, "2000-01-01T12:00"},     // midnight only for whole days
        {0, 0, 0, 0, halfPastTwelve, "2000-01-01T12:30:00.50"},
        {0, 0, 0, 1, halfPastTwelve, "2000-01-01T12:30:00.50"},
        {0, 0, 0, 2, halfPastTwelve, "2000-01-01T12:30.50"},
        {0, 0, 0, -1, halfPastTwelve, "2000-01-01T12:30"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(stamp(c.withDayName, c.midnightTime, c.spaceSeparator, c.secondsMode, c.x), c.expected)
            << c.withDayName << c.midnightTime << c.spaceSeparator << " mode " << c.secondsMode;
}

TEST(Dbl2DateStrA, TimeOfDayAlone)
{
    const StampCase cases[] = {
        {1, 1, 1, 0, 0.75, "18:00"},                     // no date, no separator
        {0, 0, 0, 0, timeOfDay(12, 0, 0, 50), "12:00:00.50"},
        {0, 0, 0, 2, timeOfDay(12, 0, 0, 50), "12:00.50"},
        {0, 0, 0, 0, timeOfDay(12, 0, 5, 0), "12:00:05"},
        {0, 0, 0, 2, timeOfDay(12, 0, 5, 0), "12:00"},
        {0, 0, 0, 1, timeOfDay(0, 0, 0, 1), "00:00:00.01"},
        {0, 0, 0, 0, 0.999999999, "24:00"},               // rounds to a whole day
        {0, 0, 0, 0, kJan1st2000 + 0.999999999, "2000-01-01T24:00"},
        {0, 0, 0, 0, 0.0, "00:00"},
        {0, 0, 0, 1, 0.0, "00:00:00"},
        {1, 1, 1, 2, -0.0, "00:00"},
        {1, 1, 1, 0, -0.25, ""},
        {0, 0, 0, 0, std::numeric_limits<double>::denorm_min(), "00:00"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(stamp(c.withDayName, c.midnightTime, c.spaceSeparator, c.secondsMode, c.x), c.expected)
            << c.x << " mode " << c.secondsMode;
}

TEST(Dbl2DateStrA, DayNamesAndFarDates)
{
    const char *names[] = {"Sat", "Sun", "Mon", "Tue", "Wed", "Thu", "Fri"};
    for (int offset = 0; offset < 7; ++offset)
        EXPECT_EQ(stamp(1, 0, 0, 0, kJan1st2000 + offset),
                  "2000-01-0" + std::to_string(offset + 1) + " " + names[offset]);
    EXPECT_EQ(stamp(1, 0, 0, 0, 1.0), "-4713-01-02 Tue");
    EXPECT_EQ(stamp(0, 1, 0, 0, -1.0), "-4714-12-31T00:00");
    EXPECT_EQ(stamp(0, 1, 0, 0, -1.5), "-4714-12-31"); // negative: no time at all
}

TEST(Dbl2DateStrA, NotRepresentable)
{
    const double inf = std::numeric_limits<double>::infinity();
    for (double x : {std::nan(""), -std::nan(""), inf, -inf, 3e9, -3e9, 1e300})
        EXPECT_EQ(stamp(1, 1, 1, 1, x), ".") << x;
}

TEST(Dbl2DateStrA, CutToSize)
{
    const double x = kJan1st2000 + timeOfDay(12, 30, 0, 50);
    const std::string full = "2000-01-01 Sat 12:30:00.50";
    for (size_t size = 0; size <= full.size() + 1; ++size) {
        char buf[40];
        std::memset(buf, '@', sizeof buf);
        Dbl2DateStrA(buf, size, 1, 1, 1, 0, x);
        for (size_t at = size; at < sizeof buf; ++at)
            ASSERT_EQ(buf[at], '@') << "size " << size;
        if (size > 0) {
            EXPECT_EQ(std::string(buf), full.substr(0, std::strlen(buf))) << "size " << size;
            EXPECT_LT(std::strlen(buf), size);
        }
    }
    char buf[8];
    std::memset(buf, '@', sizeof buf);
    Dbl2DateStrA(buf, 3, 0, 0, 0, 0, std::nan(""));
    EXPECT_STREQ(buf, ".");
    EXPECT_EQ(Dbl2DateStrA(nullptr, 8, 0, 0, 0, 0, 1.0), nullptr);
}

TEST(Dbl2DateStr, WidensOrLeavesUntouched)
{
    const double noon = kJan1st2000 + 0.5;  // "2000-01-01T12:00", 16 characters
    wchar_t ws[24];
    std::wmemset(ws, L'@', 24);
    EXPECT_EQ(Dbl2DateStr(ws, 16, 0, 0, 0, 0, noon), ws);
    EXPECT_EQ(std::wstring(ws), L"2000-01-01T12:00"); // terminator at index 16
    EXPECT_EQ(ws[17], L'@');

    std::wmemset(ws, L'@', 24);
    EXPECT_EQ(Dbl2DateStr(ws, 15, 0, 0, 0, 0, noon), ws);
    EXPECT_EQ(ws[0], L'@');

    std::wmemset(ws, L'@', 24);
    Dbl2DateStr(ws, 4, 1, 1, 1, 0, -0.25);
    EXPECT_EQ(ws[0], L'\0');
    EXPECT_EQ(ws[1], L'@');

    std::wmemset(ws, L'@', 24);
    Dbl2DateStr(ws, 0, 1, 1, 1, 0, -0.25);
    EXPECT_EQ(ws[0], L'@');
    EXPECT_EQ(Dbl2DateStr(nullptr, 8, 0, 0, 0, 0, 1.0), nullptr);

    Dbl2DateStr(ws, 24, 1, 1, 1, 1, kJan1st2000);
    EXPECT_STREQ(ws, L"2000-01-01 Sat 00:00:00");
}

} // namespace
