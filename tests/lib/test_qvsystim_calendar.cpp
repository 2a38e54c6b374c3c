// Julian-day calendar: day numbers and dates both ways, weekdays, the n-th
// weekday of a month, ISO weeks and the time of day.
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <set>

namespace {

struct Date {
    int year, month, day;
    bool operator==(const Date &) const = default;
};

Date dateOf(int jdn)
{
    Date date{0, 0, 0};
    GetDateFromJulian(jdn, &date.year, &date.month, &date.day);
    return date;
}

std::ostream &operator<<(std::ostream &out, const Date &date)
{
    return out << date.year << '-' << date.month << '-' << date.day;
}

// Month lengths of the calendar in force: Julian before the 1582 switch
// (year -1 is a leap year, there being no year 0), Gregorian after it.
bool isLeap(int year)
{
    if (year < 0)
        return (year + 1) % 4 == 0;
    if (year <= 1582)
        return year % 4 == 0;
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int monthLength(int year, int month)
{
    static const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeap(year) ? 29 : lengths[month - 1];
}

bool isGregorianCenturyNonLeap(int year)
{
    return year > 1582 && year % 100 == 0 && year % 400 != 0;
}

TEST(QvSystimCalendar, DayNumberOfDate)
{
    const struct {
        int year, month, day, expected;
    } cases[] = {
        {2000, 1, 1, 2451545},
        {1582, 10, 15, 2299161},
        {1581, 12, 31, 2298883},
        {1582, 10, 4, 2299150},   // shifted-month test: counted as Gregorian
        {1582, 9, 20, 2299136},   // Julian count would be 2299146
        {1582, 9, 14, 2299140},   // last day before the test takes effect
        {1582, 2, 1, 2298905},    // Julian count would be 2298915
        {1, 1, 1, 1721424},
        {-1, 12, 31, 1721423},
        {-4713, 1, 1, 0},
        {2024, 2, 29, 2460370},
        {2024, 3, 1, 2460371},
        {2023, 13, 1, 2460311},   // month 13 is January of the next year
        {2024, 1, 32, 2460342},   // day 32 is February 1
        {0, 1, 1, -1},
        {2024, 0, 1, -1},
        {2024, 1, 0, -1},
        {2024, -3, 5, -1},
        {2024, 5, INT_MIN, -1},
        {INT_MIN, 0, 1, -1},
    };
    for (const auto &c : cases)
        EXPECT_EQ(GetJulianDay(c.year, c.month, c.day), c.expected)
            << c.year << '-' << c.month << '-' << c.day;
    EXPECT_EQ(GetJulianDay(2024, 1, 1), GetJulianDay(2023, 13, 1));
}

TEST(QvSystimCalendar, DateOfDayNumber)
{
    const struct {
        int jdn;
        Date expected;
    } cases[] = {
        {2299161, {1582, 10, 15}},
        {2299160, {1582, 10, 4}},
        {2299136, {1582, 9, 10}},
        {2451545, {2000, 1, 1}},
        {2451604, {2000, 2, 29}},
        {0, {-4713, 1, 1}},
        {-1, {-4714, 12, 31}},
        {1721423, {-1, 12, 31}},
        {1721424, {1, 1, 1}},
        {-36525, {-4813, 1, 1}},     // one Julian century below day 0
        {-36526, {-4814, 12, 31}},
        // Near century ends the multiplied constants in single precision
        // name March 1 of a Gregorian non-leap century year February 29.
        {2561176, {2300, 2, 28}},
        {2561177, {2300, 2, 29}},
        {2561178, {2300, 3, 2}},
        {2707274, {2700, 2, 29}},
        {2488128, {2100, 2, 28}},
        {2488129, {2100, 3, 1}},
        {18704895, {46500, 2, 29}},
        {INT_MAX, {5874898, 6, 3}},
        {INT_MIN, {-5884203, 3, 16}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(dateOf(c.jdn), c.expected) << c.jdn;
    GetDateFromJulian(2451545, nullptr, nullptr, nullptr);
}

// The day numbers of dates from 1582-01-01 to 1582-02-28 and from
// 1582-09-15 to 1582-10-04 are counted Gregorian, ten days short of the
// Julian dates GetDateFromJulian gives for them.
int roundTripShift(int jdn)
{
    if ((jdn >= 2298884 && jdn <= 2298942) || (jdn >= 2299141 && jdn <= 2299160))
        return -10;
    return 0;
}

TEST(QvSystimCalendar, RoundTripOverAWideSpan)
{
    for (int64_t jdn = -800000000; jdn <= 18704894; jdn += 9973) {
        const Date date = dateOf(static_cast<int>(jdn));
        ASSERT_EQ(GetJulianDay(date.year, date.month, date.day), jdn) << date;
    }
    for (int jdn = 2290000; jdn <= 2310000; ++jdn) {
        const Date date = dateOf(jdn);
        ASSERT_EQ(GetJulianDay(date.year, date.month, date.day), jdn + roundTripShift(jdn))
            << date;
    }
    // Single precision gives out about year 46500.
    const Date far = dateOf(18704895);
    EXPECT_EQ(GetJulianDay(far.year, far.month, far.day), 18704896);
}

TEST(QvSystimCalendar, ConsecutiveDaysAndWeekdays)
{
    std::set<int> centuryQuirkYears;
    Date previous = dateOf(-1100001);
    int previousWeekday = GetDayOfWeekFromJulian(-1100001);
    for (int jdn = -1100000; jdn <= 3000000; ++jdn) {
        const Date date = dateOf(jdn);
        const int weekday = GetDayOfWeekFromJulian(jdn);
        if (jdn > -1) {
            ASSERT_EQ(weekday, previousWeekday % 7 + 1) << jdn;
            if (roundTripShift(jdn) == 0) {
                ASSERT_EQ(GetDayOfWeek(date.year, date.month, date.day), weekday) << date;
            }
        }
        const Date &p = previous;
        bool next;
        if (p.year == 1582 && p.month == 10 && p.day == 4)
            next = date == Date{1582, 10, 15};
        else if (isGregorianCenturyNonLeap(p.year) && p.month == 2 && p.day >= 28) {
            next = (p.day == 28 && (date == Date{p.year, 2, 29} || date == Date{p.year, 3, 1}))
                || (p.day == 29 && date == Date{p.year, 3, 2});
            if (p.day == 29)
                centuryQuirkYears.insert(p.year);
        } else if (p.day < monthLength(p.year, p.month))
            next = date == Date{p.year, p.month, p.day + 1};
        else if (p.month < 12)
            next = date == Date{p.year, p.month + 1, 1};
        else
            next = date == Date{p.year == -1 ? 1 : p.year + 1, 1, 1};
        ASSERT_TRUE(next) << p << " then " << date;
        previous = date;
        previousWeekday = weekday;
    }
    EXPECT_EQ(centuryQuirkYears, (std::set<int>{2300, 2700, 3100, 3500}));
}

TEST(QvSystimCalendar, WeekdayFormulaTruncates)
{
    const struct {
        int jdn, expected;
    } cases[] = {
        {2451545, 7}, {2451546, 1}, {2460458, 2}, {0, 2}, {-1, 1},
        {-2, 0}, {-7, -5}, {-8, 1}, {INT_MIN, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(GetDayOfWeekFromJulian(c.jdn), c.expected) << c.jdn;
    EXPECT_EQ(GetDayOfWeek(0, 1, 1), 1);
    EXPECT_EQ(GetDayOfWeek(2024, 0, 1), 1);
    EXPECT_EQ(GetDayOfWeek(2024, 5, 27), 2);
}

TEST(QvSystimCalendar, NthWeekdayOfMonth)
{
    const struct {
        int year, month, weekday, n;
        Date expected;  // {0, 0, 0}: no such day
    } cases[] = {
        {2024, 5, 2, -1, {2024, 5, 27}},
        {2024, 5, 5, 5, {2024, 5, 30}},
        {2024, 5, 2, 5, {0, 0, 0}},     // May 2024 has four Mondays
        {2024, 5, 2, 6, {0, 0, 0}},
        {2024, 5, 2, -6, {0, 0, 0}},
        {2024, 5, 2, 0, {0, 0, 0}},
        {2024, 5, 4, 1, {2024, 5, 1}},  // the 1st itself
        {2024, 5, 4, -5, {2024, 5, 1}},
        {2024, 5, 6, -1, {2024, 5, 31}},  // the last day itself
        {2024, 5, 6, 5, {2024, 5, 31}},
        {2024, 5, 3, -5, {0, 0, 0}},
        {2024, 12, 3, -1, {2024, 12, 31}},  // next month is in the next year
        {2024, 12, 3, 5, {2024, 12, 31}},
        {2024, 12, 4, 5, {0, 0, 0}},
        {2024, 2, 5, 5, {2024, 2, 29}},
        {2023, 2, 5, 5, {0, 0, 0}},
        {2023, 2, 5, -4, {2023, 2, 2}},
        {-1, 12, 1, 1, {0, 0, 0}},      // its next month would be in year 0
        {0, 5, 1, 1, {0, 0, 0}},
        {0, 5, 1, -1, {0, 0, 0}},
    };
    for (const auto &c : cases) {
        const int expected = c.expected.year == 0
            ? 0 : GetJulianDay(c.expected.year, c.expected.month, c.expected.day);
        EXPECT_EQ(GetDayOfMonth(c.year, c.month, c.weekday, c.n), expected)
            << c.year << '-' << c.month << " weekday " << c.weekday << " n " << c.n;
    }
    EXPECT_EQ(GetDayOfMonth(2024, 5, 2, INT_MIN), 0);
    EXPECT_EQ(GetDayOfMonth(2024, 5, 2, INT_MAX), 0);
}

TEST(QvSystimCalendar, FirstDayOfIsoWeek)
{
    const struct {
        int year, week;
        Date expected;  // {0, 0, 0}: no such week
    } cases[] = {
        {2021, 1, {2021, 1, 4}},    // January 4 is a Monday
        {2020, 1, {2019, 12, 30}},
        {2015, 1, {2014, 12, 29}},  // January 4 is a Sunday
        {2024, 1, {2024, 1, 1}},
        {2021, 0, {2020, 12, 28}},
        {2020, 53, {2020, 12, 28}},
        {2021, 53, {2022, 1, 3}},
        {2021, 54, {0, 0, 0}},
        {2021, -1, {0, 0, 0}},
        {2021, INT_MIN, {0, 0, 0}},
    };
    for (const auto &c : cases) {
        const int expected = c.expected.year == 0
            ? 0 : GetJulianDay(c.expected.year, c.expected.month, c.expected.day);
        EXPECT_EQ(GetWeekOfYear(c.year, c.week), expected) << c.year << " week " << c.week;
    }
    for (int year = 1900; year <= 2100; ++year)
        ASSERT_EQ(GetDayOfWeekFromJulian(GetWeekOfYear(year, 1)), 2) << year;
}

TEST(QvSystimCalendar, TimeOfDay)
{
    const struct {
        double fraction;
        int hour, minute, second, hundredths;
    } cases[] = {
        {0.5, 12, 0, 0, 0},
        {0.999999999, 24, 0, 0, 0},  // rounds up to the next day
        {0.0, 0, 0, 0, 0},
        {1.5, 36, 0, 0, 0},          // hours are not reduced
        {0.5 + 0.4 / 8640000, 12, 0, 0, 0},
        {0.5 + 0.6 / 8640000, 12, 0, 0, 1},
        {GetJulianTime(23, 59, 59, 99), 23, 59, 59, 99},
        {GetJulianTime(1, 2, 3, 4), 1, 2, 3, 4},
        {GetJulianTime(-1, -1, -1, -1), -1, -1, -1, -1},  // remainders keep the sign
    };
    for (const auto &c : cases) {
        int hour = -9, minute = -9, second = -9, hundredths = -9;
        GetTimeFromJulian(&hour, &minute, &second, &hundredths, c.fraction);
        EXPECT_EQ(hour, c.hour) << c.fraction;
        EXPECT_EQ(minute, c.minute) << c.fraction;
        EXPECT_EQ(second, c.second) << c.fraction;
        EXPECT_EQ(hundredths, c.hundredths) << c.fraction;
    }
    EXPECT_EQ(GetJulianTime(12, 0, 0, 0), 0.5);
    EXPECT_EQ(GetJulianTime(0, 0, 0, 1), 1.1574074074074074e-07);
    // The hundredths of the day are a 32-bit count.
    EXPECT_EQ(GetJulianTime(0, 0, 1, INT_MAX), (INT_MIN + 99) * 1.1574074074074074e-07);
    GetTimeFromJulian(nullptr, nullptr, nullptr, nullptr, 0.25);
}

TEST(QvSystimCalendar, AbsurdInputsStayInBounds)
{
    for (double fraction : {double{NAN}, double{INFINITY}, -double{INFINITY}, 1e300, -1e300}) {
        int hour, minute, second, hundredths;
        GetTimeFromJulian(&hour, &minute, &second, &hundredths, fraction);
        EXPECT_LT(std::abs(hundredths), 100);
        EXPECT_LT(std::abs(second), 60);
        EXPECT_LT(std::abs(minute), 60);
    }
    for (int jdn : {INT_MIN, INT_MIN + 1, -800000001, INT_MAX - 1, INT_MAX}) {
        const Date date = dateOf(jdn);
        EXPECT_TRUE(date.month >= 1 && date.month <= 12) << jdn;
        EXPECT_TRUE(date.day >= 1 && date.day <= 31) << jdn;
    }
    EXPECT_NE(GetJulianDay(INT_MAX, INT_MAX, INT_MAX), -1);
    EXPECT_NE(GetJulianDay(INT_MIN, 1, 1), -1);
    EXPECT_EQ(GetWeekOfYear(INT_MIN, 53) - GetWeekOfYear(INT_MIN, 52), 7);
}

}  // namespace
