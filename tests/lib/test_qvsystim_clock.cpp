#include "qvsystim.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

TEST(QvSystimClock, LocalTimesTextsAndSpans)
{
    const struct SummerTimeZone { // set for the test, the old zone put back afterwards
        const std::optional<std::string> saved = getenv("TZ") ? std::optional<std::string>(getenv("TZ")) : std::nullopt;
        SummerTimeZone() { setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1), tzset(); }
        ~SummerTimeZone() { saved ? setenv("TZ", saved->c_str(), 1) : unsetenv("TZ"), tzset(); }
    } zone;
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
    EXPECT_STREQ(STimeStrA(narrow, DateToTime(12345, 1, 2, 3, 4, 5)), "12345-01-02  3:04:0"); // cut to 20 bytes
    EXPECT_EQ(TimeToJulian(winterMidnight), GetJulianDay(2024, 1, 15)); // counted from local midnight
    EXPECT_DOUBLE_EQ(TimeToJulian(summerOne + 0.7), GetJulianDay(2024, 7, 1) + 13.0 / 24.0);
    EXPECT_EQ(TimeToJulian(1e30), 0.0);
    for (time_t now = 0; now != time(nullptr);) { // again when the second changes meanwhile
        now = time(nullptr);
        SDateA(date, sizeof date), STimeA(clock, sizeof clock), SDate(wideDate, 16), STime(wideClock, 16);
        strftime(expected, sizeof expected, "%e-%m-%Y %k:%M:%S", localtime(&now));
    }
    EXPECT_EQ(std::string(date) + " " + clock, expected);
    EXPECT_EQ(std::wstring(wideDate) + L" " + wideClock, std::wstring(expected, expected + strlen(expected)));
    EXPECT_TRUE(strlen(SDateA(date, 3)) == 2 && STimeA(clock, 0) == clock && !SDateA(nullptr, 10));
    EXPECT_TRUE(SDateA(date, 1)[0] == '\0' && STimeA(clock, 1)[0] == '\0'); // room for the terminator alone
    EXPECT_TRUE(!STimeA(nullptr, 10) && !STime(nullptr, 10));

    const struct { // 1e300: held at 2^64 - 1 seconds
        double hundredths;
        size_t size;
        const char *expected;
    } spans[] = {{725, 64, " 7.25"},       {5999, 64, "59.99"},
                 {6000, 64, " 1:00"},      {359999, 64, "59:59.99"},
                 {360000, 64, " 1:00:00"}, {36012304, 64, "100:02:03.04"},
                 {NAN, 64, " 0.00"},       {1e300, 64, "5124095576030431:00:15"},
                 {36012304, 5, "100:"},    {725, 1, ""}};
    for (const auto &c : spans) {
        EXPECT_STREQ(STimeSpanA(span, c.size, c.hundredths, 0), c.expected) << c.hundredths << " in " << c.size;
        EXPECT_STREQ(STimeSpanA(span, c.size, 1000, 1000 + c.hundredths), c.expected)
            << c.hundredths << " in " << c.size;
    }
    EXPECT_STREQ(STimeSpanA(strcpy(span, "abc"), 0, 725, 0), "abc");
    // time() reads a coarse clock: just after a second begins it may still give the one before.
    const double earliest = time(nullptr), now = TimeGetDbl(), latest = time(nullptr);
    EXPECT_TRUE(now >= earliest && now < latest + 2.0) << earliest << " " << now << " " << latest;
    const double later = (usleep(3000), TimeGetDbl()); // it tells fractions of a second apart
    EXPECT_TRUE(later - now >= 0.002 && later - now < 0.5) << now << " " << later;
    EXPECT_EQ(std::string(SClockSpanA(span, sizeof span, ClockGetDblHsec() - 100 * 360000.0)).substr(0, 4), "100:");
    const auto monotonic = [] {
        timespec reading;
        clock_gettime(CLOCK_MONOTONIC, &reading);
        return (reading.tv_nsec * 1e-9 + reading.tv_sec) * 100.0;
    };
    const double before = monotonic(), hsec = ClockGetDblHsec(), after = monotonic();
    EXPECT_TRUE(before <= hsec && hsec <= after) << before << " " << hsec << " " << after;
}
