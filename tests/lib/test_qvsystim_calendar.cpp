// The Julian-day calendar, up to the ends of the int range.
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using Date = std::vector<int>; // year, month, day
Date dateOf(int jdn)
{
    Date d(3);
    GetDateFromJulian(jdn, &d[0], &d[1], &d[2]);
    return d;
}
int dayOf(const Date &d)
{
    return GetJulianDay(d[0], d[1], d[2]);
}

TEST(QvSystimCalendar, DayNumbersDatesAndTimesOfDay)
{
    // Month 13 is the next January, day 32 February 1; the int range's ends; the Gregorian test past 2^31 (5800000).
    const struct {
        int year, month, day, jdn;
        bool back;
    } cases[] = {{2000, 1, 1, 2451545, true},       {0, 1, 1, -1, false},
                 {2024, 0, 1, -1, false},           {2024, 1, 0, -1, false},
                 {2023, 13, 1, 2460311, false},     {2024, 1, 32, 2460342, false},
                 {5874898, 6, 3, INT_MAX, true},    {-5884203, 3, 16, INT_MIN, true},
                 {5800000, 1, 1, 2120127560, false}};
    for (const auto &c : cases) {
        EXPECT_EQ(GetJulianDay(c.year, c.month, c.day), c.jdn) << c.year << '-' << c.month << '-' << c.day;
        EXPECT_TRUE(!c.back || dateOf(c.jdn) == (Date{c.year, c.month, c.day})) << c.jdn;
    }
    EXPECT_EQ(dateOf(18704895), (Date{46500, 2, 29})); // single precision gives out
    GetDateFromJulian(2451545, nullptr, nullptr, nullptr);
    const struct {
        int jdn, weekday;
    } weekdays[] = {
        {2451545, 7},     {-1, 1},          {0, 2},           {1, 3},           {INT_MAX, 3},
        {INT_MAX - 1, 2}, {INT_MAX - 2, 1}, {INT_MAX - 3, 7}, {INT_MAX - 4, 6}, {INT_MAX - 5, 5},
        {INT_MAX - 6, 4}, {-2, 0},          {-8, 1},          {INT_MIN, 0}, // below -1 the formula leaves 1..7
    };
    for (const auto &c : weekdays)
        EXPECT_EQ(GetDayOfWeekFromJulian(c.jdn), c.weekday) << c.jdn;
    EXPECT_EQ((std::vector{GetDayOfWeek(0, 1, 1), GetDayOfWeek(2024, 0, 1), GetDayOfWeek(5874898, 6, 3)}),
              (std::vector{1, 1, 3}));
    const struct {
        double fraction;
        std::vector<int> expected;
    } times[] = {
        {0.999999999, {24, 0, 0, 0}}, // rounds up; hours are not reduced
        {0.5 + 0.4 / 8640000, {12, 0, 0, 0}},
        {0.5 + 0.5 / 8640000, {12, 0, 0, 1}}, // half a hundredth rounds up
        {GetJulianTime(23, 59, 59, 99), {23, 59, 59, 99}},
        {GetJulianTime(-1, -1, -1, -1), {-1, -1, -1, -1}},       // remainders keep the sign
        {std::ldexp(1.0, 63) / 8640000, {-5965, -13, -56, -48}}, // 2^63 hundredths: beyond 64 bits, INT_MIN
        {1e300, {-5965, -13, -56, -48}},
        {std::ldexp(-1.0, 63) / 8640000, {0, 0, 0, 0}}, // -2^63 fits: its low 32 bits are 0
    };
    std::vector<int> got(4);
    for (const auto &c : times) {
        GetTimeFromJulian(&got[0], &got[1], &got[2], &got[3], c.fraction);
        EXPECT_EQ(got, c.expected) << c.fraction;
    }
    GetTimeFromJulian(&got[0], &got[1], &got[2], &got[3], NAN);
    EXPECT_TRUE(std::abs(got[1]) < 60 && std::abs(got[2]) < 60 && std::abs(got[3]) < 100);
    GetTimeFromJulian(nullptr, nullptr, nullptr, nullptr, 0.25);
    EXPECT_EQ(GetJulianTime(0, 0, 1, INT_MAX), (INT_MIN + 99) * 1.1574074074074074e-07); // a 32-bit count
}

int monthLength(int year, int month) // Julian up to 1582 (year -1 leap), then Gregorian
{
    static const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap =
        year < 0 ? (year + 1) % 4 == 0 : year % 4 == 0 && (year <= 1582 || year % 100 != 0 || year % 400 == 0);
    return lengths[month - 1] + (month == 2 && leap);
}

TEST(QvSystimCalendar, RoundTripConsecutiveDaysAndWeekdays)
{
    for (int64_t jdn = -800000000; jdn <= 18704894; jdn += 9973)
        ASSERT_EQ(dayOf(dateOf(static_cast<int>(jdn))), jdn);
    Date p = dateOf(-1100001);
    for (int jdn = -1100000; jdn <= 3000000; ++jdn) {
        const Date d = dateOf(jdn);
        // 1582-01-01..02-28 and 1582-09-15..10-04 are counted Gregorian, ten days short.
        const bool shifted = (jdn >= 2298884 && jdn <= 2298942) || (jdn >= 2299141 && jdn <= 2299160);
        ASSERT_EQ(dayOf(d), jdn - (shifted ? 10 : 0)) << jdn;
        ASSERT_TRUE(jdn < 0 || GetDayOfWeekFromJulian(jdn) == GetDayOfWeekFromJulian(jdn - 1) % 7 + 1) << jdn;
        ASSERT_TRUE(shifted || GetDayOfWeek(d[0], d[1], d[2]) == GetDayOfWeekFromJulian(jdn)) << jdn;
        Date next = p[2] < monthLength(p[0], p[1]) ? Date{p[0], p[1], p[2] + 1}
                    : p[1] < 12                    ? Date{p[0], p[1] + 1, 1}
                                                   : Date{p[0] == -1 ? 1 : p[0] + 1, 1, 1};
        const bool quirk = (p[0] == 2300 || p[0] == 2700 || p[0] == 3100 || p[0] == 3500) && p[1] == 2 && p[2] >= 28;
        if (quirk || p == Date{1582, 10, 4}) // single precision names March 1 of those years February 29
            next = !quirk ? Date{1582, 10, 15} : p[2] == 28 ? Date{p[0], 2, 29} : Date{p[0], 3, 2};
        ASSERT_EQ(d, next) << jdn;
        p = d;
    }
}

TEST(QvSystimCalendar, NthWeekdayOfMonthAndIsoWeek)
{
    const struct {
        int year, month, weekday, n, expected;
    } cases[] = {
        {2024, 5, 2, -1, dayOf({2024, 5, 27})},
        {2024, 5, 7, -1, dayOf({2024, 5, 25})}, // the next month begins on that weekday
        {2024, 5, 2, 0, 0},
        {2024, 5, 2, 6, 0}, // n from -5 to 5
        {2024, 5, 2, -6, 0},
        {2024, 5, 4, 1, dayOf({2024, 5, 1})},     // the month begins on a Wednesday: the 1st is the first
        {2024, 5, 4, -5, dayOf({2024, 5, 1})},    // the 1st itself
        {2024, 5, 6, 5, dayOf({2024, 5, 31})},    // the last day itself
        {2024, 5, 7, 5, 0},                       // would be June 1
        {2024, 12, 3, -1, dayOf({2024, 12, 31})}, // the next month is in the next year
        {-1, 12, 1, 1, 0},                        // its next month would be in year 0
        {5874898, 6, 3, 1, INT_MAX},              // the last day an int holds; June 4 would be past it
    };
    for (const auto &c : cases)
        EXPECT_EQ(GetDayOfMonth(c.year, c.month, c.weekday, c.n), c.expected)
            << c.year << '-' << c.month << ' ' << c.weekday << ' ' << c.n;
    const struct {
        int year, week, expected;
    } weeks[] = {
        {2021, 1, dayOf({2021, 1, 4})},                                     // January 4 is a Monday
        {2020, 1, dayOf({2019, 12, 30})}, {2015, 1, dayOf({2014, 12, 29})}, // January 4 is a Sunday
        {2021, 0, dayOf({2020, 12, 28})}, {2020, 53, dayOf({2020, 12, 28})}, {2021, 54, 0}, {2021, -1, 0},
        {5874898, 22, INT_MAX - 8}, // May 26 of the last year an int reaches
    };
    for (const auto &c : weeks)
        EXPECT_EQ(GetWeekOfYear(c.year, c.week), c.expected) << c.year << " week " << c.week;
    for (int year = 1900; year <= 2100; ++year)
        ASSERT_EQ(GetDayOfWeekFromJulian(GetWeekOfYear(year, 1)), 2) << year;
}

} // namespace
