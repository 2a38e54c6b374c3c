// Special values by bit pattern; the Julian-day calendar, weekdays, ISO
// weeks and Easter; clock values and time texts under a zone the test sets.
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
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
double fromBits(uint64_t bits)
{
    return std::bit_cast<double>(bits);
}

TEST(QvSystimValues, BitPatternsAndEquality)
{
    double nan = 1.0, inf = 1.0;
    SetNaN(&nan), SetInf(&inf), InitFPU(), SetNaN(nullptr), SetInf(nullptr); // nothing to do, null ignored
    EXPECT_EQ((std::vector{std::bit_cast<uint64_t>(DNaN()), std::bit_cast<uint64_t>(nan),
                           std::bit_cast<uint64_t>(DInf()), std::bit_cast<uint64_t>(inf)}),
              (std::vector<uint64_t>{0x7FF8000000000000, 0x7FF8000000000000, 0x7FF0000000000000, 0x7FF0000000000000}));
    // A negative quiet NaN, signalling ones with only the lowest mantissa bit
    // or only byte 5, both infinities, the largest finite value and one with
    // bit 56 of the exponent clear. A NaN also equals the library's NaN.
    const struct {
        uint64_t bits;
        int nan, inf;
    } cases[] = {{0xFFF8000000000000, 1, 0}, {0x7FF0000000000001, 1, 0}, {0x7FF0010000000000, 1, 0},
                 {0x7FF0000000000000, 0, 1}, {0xFFF0000000000000, 0, 1}, {0x7FEFFFFFFFFFFFFF, 0, 0},
                 {0x7EF0000000000001, 0, 0}};
    for (const auto &c : cases)
        EXPECT_EQ((std::vector{FIsNaN(fromBits(c.bits)), FIsInf(fromBits(c.bits)), FIsInfOrNaN(fromBits(c.bits)),
                               DoubleIsEqual(fromBits(c.bits), nan)}),
                  (std::vector{c.nan, c.inf, c.nan | c.inf, c.nan}))
            << std::hex << c.bits;
    EXPECT_EQ((std::vector{DoubleIsEqual(0.0, -0.0), DoubleIsEqual(inf, inf), DoubleIsEqual(inf, -inf),
                           DoubleIsEqual(1.0, std::nextafter(1.0, 2.0))}),
              (std::vector{1, 1, 0, 0}));
    for (const auto &[bits, isNaN] : {std::pair{0x7F800000u, 1}, {0x7F800001u, 1}, {0x7F7FFFFFu, 0}}) // infinity counts
        EXPECT_EQ(FIsNaNfloat(std::bit_cast<float>(bits)), isNaN) << std::hex << bits;
}

TEST(QvSystimCalendar, DayNumbersDatesAndTimesOfDay)
{
    const struct {
        Date date;
        int jdn;
        bool back;
    } cases[] = {
        // back: the day number gives the date too (the days around 1582: the round trip below)
        {{2000, 1, 1}, 2451545, true},   {{2023, 13, 1}, 2460311, false}, // month 13 is January of the next year
        {{2024, 1, 32}, 2460342, false},                                  // day 32 is February 1
        {{0, 1, 1}, -1, false},          {{2024, 0, 1}, -1, false},       {{2024, 1, 0}, -1, false},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(dayOf(c.date), c.jdn) << ::testing::PrintToString(c.date);
        EXPECT_TRUE(!c.back || dateOf(c.jdn) == c.date) << c.jdn;
    }
    EXPECT_EQ((std::vector{dateOf(18704895), dateOf(INT_MAX), dateOf(INT_MIN)}), // single precision gives out
              (std::vector<Date>{{46500, 2, 29}, {5874898, 6, 3}, {-5884203, 3, 16}}));
    GetDateFromJulian(2451545, nullptr, nullptr, nullptr);
    EXPECT_EQ((std::vector{GetDayOfWeekFromJulian(2451545), GetDayOfWeekFromJulian(-1), GetDayOfWeekFromJulian(-2),
                           GetDayOfWeekFromJulian(-8), GetDayOfWeek(0, 1, 1), GetDayOfWeek(2024, 0, 1)}),
              (std::vector{7, 1, 0, 1, 1, 1}));
    const struct {
        double fraction;
        std::vector<int> expected;
    } times[] = {
        {0.999999999, {24, 0, 0, 0}}, // rounds up; hours are not reduced
        {0.5 + 0.4 / 8640000, {12, 0, 0, 0}},
        {0.5 + 0.5 / 8640000, {12, 0, 0, 1}}, // half a hundredth rounds up
        {GetJulianTime(23, 59, 59, 99), {23, 59, 59, 99}},
        {GetJulianTime(-1, -1, -1, -1), {-1, -1, -1, -1}}, // remainders keep the sign
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
        {2024, 5, 2, 0, 0},
        {2024, 5, 4, 1, dayOf({2024, 5, 1})},     // the month begins on a Wednesday: the 1st is the first
        {2024, 5, 4, -5, dayOf({2024, 5, 1})},    // the 1st itself
        {2024, 5, 6, 5, dayOf({2024, 5, 31})},    // the last day itself
        {2024, 5, 7, 5, 0},                       // would be June 1
        {2024, 12, 3, -1, dayOf({2024, 12, 31})}, // the next month is in the next year
        {-1, 12, 1, 1, 0},                        // its next month would be in year 0
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
    };
    for (const auto &c : weeks)
        EXPECT_EQ(GetWeekOfYear(c.year, c.week), c.expected) << c.year << " week " << c.week;
    for (int year = 1900; year <= 2100; ++year)
        ASSERT_EQ(GetDayOfWeekFromJulian(GetWeekOfYear(year, 1)), 2) << year;
}

TEST(QvSystimEaster, BothRulesAndDayNumbers)
{
    const struct {
        int year, firstGregorian, month, day;
    } cases[] = {
        // first Gregorian year 0: GetDateOfEaster
        {2024, 0, 3, 31},    {2025, 0, 4, 20},    {2000, 0, 4, 23},       {1954, 0, 4, 18}, // H = 29 correction
        {1981, 0, 4, 19},                                                 // H = 28 correction with G > 10
        {2285, 0, 3, 22},                                                 // the earliest possible
        {1582, 0, 4, 15},                                                 // still the Julian rule
        {1583, 0, 4, 10},    {-1, 0, 3, 29},                              // truncating division
        {2024, 9999, 4, 22}, {2024, 2024, 3, 31}, {-2991, INT_MIN, 4, 1}, // H = -1: nothing divides by zero
    };
    for (const auto &c : cases) {
        std::vector<int> got(3);
        got[0] = c.firstGregorian ? GetDateOfEaster_jg(c.year, c.firstGregorian, &got[1], &got[2])
                                  : GetDateOfEaster(c.year, &got[1], &got[2]);
        EXPECT_EQ(got, (std::vector{c.day, c.month, c.day})) << c.year;
    }
    EXPECT_EQ((std::vector{GetEaster(2024), GetEaster(1), GetEaster(0)}), (std::vector{2460401, 1721509, -1}));
    GetDateOfEaster(2024, nullptr, nullptr);
    for (int year = 1; year <= 4000; ++year) { // a Sunday from March 22 to April 25
        const int easter = GetEaster(year), march21 = dayOf({year, 3, 21});
        ASSERT_TRUE(easter > march21 && easter <= march21 + 35 && GetDayOfWeekFromJulian(easter) == 1) << year;
    }
}

struct SummerTimeZone { // set for the test, the old zone put back afterwards
    const std::optional<std::string> saved = getenv("TZ") ? std::optional<std::string>(getenv("TZ")) : std::nullopt;
    SummerTimeZone() { setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1), tzset(); }
    ~SummerTimeZone() { saved ? setenv("TZ", saved->c_str(), 1) : unsetenv("TZ"), tzset(); }
};

TEST(QvSystimClock, LocalTimesTextsAndSpans)
{
    const SummerTimeZone zone;
    const double winterMidnight = 1705273200.0, summerOne = 1719831600.0; // 2024-01-15 00:00 CET, 2024-07-01 13:00 CEST
    EXPECT_EQ((std::vector{DateToTime(2024, 1, 15, 0, 0, 0), DateToTime(2024, 7, 1, 12, 0, 0),
                           DateToTime(2024, 1, 14, 24, 0, 0), DateToTime(INT_MAX, INT_MAX, 1, 0, 0, 0)}),
              (std::vector{winterMidnight, summerOne, winterMidnight, -1.0}));
    const struct {
        double t;
        std::vector<int> expected;
        std::string text;
    } cases[] = {
        {winterMidnight, {2024, 1, 15, 0, 0, 0}, "2024-01-15"}, // midnight: the date alone
        {winterMidnight + 1.999, {2024, 1, 15, 0, 0, 1}, "2024-01-15  0:00:01"},
        {summerOne, {2024, 7, 1, 13, 0, 0}, "2024-07-01 13:00:00"},
        {-1.5, {1970, 1, 1, 0, 59, 59}, "1970-01-01  0:59:59"}, // truncated toward zero
        {1e30, {0, 0, 0, 0, 0, 0}, "0000-00-00"},
    };
    std::vector<int> got(6);
    char narrow[20], date[16], clock[16], expected[32], span[64];
    wchar_t wide[1024], wideDate[16], wideClock[16];
    for (const auto &c : cases) {
        TimeToDate(&got[0], &got[1], &got[2], &got[3], &got[4], &got[5], c.t);
        EXPECT_EQ(got, c.expected) << c.t;
        EXPECT_EQ(STimeStrA(narrow, c.t), c.text) << c.t;
        EXPECT_EQ(std::wstring(STimeStr(wide, c.t)), std::wstring(c.text.begin(), c.text.end())) << c.t;
    }
    TimeToDate(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, summerOne);
    EXPECT_EQ(std::string(STimeStrA(narrow, DateToTime(12345, 1, 2, 3, 4, 5))),
              "12345-01-02  3:04:0");                              // cut to 20 bytes
    EXPECT_EQ(TimeToJulian(winterMidnight), dayOf({2024, 1, 15})); // counted from local midnight
    EXPECT_DOUBLE_EQ(TimeToJulian(summerOne + 0.7), dayOf({2024, 7, 1}) + 13.0 / 24.0);
    EXPECT_EQ(TimeToJulian(1e30), 0.0);
    for (time_t now = 0; now != time(nullptr);) { // again when the second changes meanwhile
        now = time(nullptr);
        SDateA(date, sizeof date), STimeA(clock, sizeof clock), SDate(wideDate, 16), STime(wideClock, 16);
        strftime(expected, sizeof expected, "%e-%m-%Y %k:%M:%S", localtime(&now));
    }
    EXPECT_EQ(std::string(date) + " " + clock, expected);
    EXPECT_EQ(std::wstring(wideDate) + L" " + wideClock, std::wstring(expected, expected + strlen(expected)));
    EXPECT_TRUE(strlen(SDateA(date, 3)) == 2 && STimeA(clock, 0) == clock && !SDateA(nullptr, 10));

    const struct {
        double hundredths;
        size_t size;
        const char *expected;
    } spans[] = {
        {725, 64, " 7.25"},       {5999, 64, "59.99"},
        {6000, 64, " 1:00"},      {359999, 64, "59:59.99"},
        {360000, 64, " 1:00:00"}, {36012304, 64, "100:02:03.04"},
        {NAN, 64, " 0.00"},       {1e300, 64, "5124095576030431:00:15"}, // held at 2^64 - 1 seconds
        {36012304, 5, "100:"},    {725, 1, ""},
    };
    for (const auto &c : spans) {
        EXPECT_STREQ(STimeSpanA(span, c.size, c.hundredths, 0), c.expected) << c.hundredths << " in " << c.size;
        EXPECT_STREQ(STimeSpanA(span, c.size, 1000, 1000 + c.hundredths), c.expected)
            << c.hundredths << " in " << c.size;
    }
    EXPECT_STREQ(STimeSpanA(strcpy(span, "abc"), 0, 725, 0), "abc");
    // time() reads a coarse clock that may lag the precise one by a tick, so
    // right after a second begins it can still give the one before.
    const double earliest = static_cast<double>(time(nullptr)), now = TimeGetDbl(),
                 latest = static_cast<double>(time(nullptr));
    EXPECT_TRUE(now >= earliest && now < latest + 2.0) << earliest << " " << now << " " << latest;
    EXPECT_EQ(std::string(SClockSpanA(span, sizeof span, ClockGetDblHsec() - 100 * 360000.0)).substr(0, 4), "100:");
}

} // namespace
