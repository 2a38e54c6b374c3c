// Clock readers and time texts. The local-time cases run under a fixed
// zone with summer time that the fixture sets and restores.
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

class QvSystimClock : public testing::Test {
protected:
    void SetUp() override
    {
        const char *old = getenv("TZ");
        m_hadTz = old != nullptr;
        if (old)
            m_oldTz = old;
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    void TearDown() override
    {
        if (m_hadTz)
            setenv("TZ", m_oldTz.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

    // Clock values of local times in the test zone.
    static constexpr double kWinterMidnight = 1705273200.0;  // 2024-01-15 00:00 CET
    static constexpr double kSummerOne = 1719831600.0;       // 2024-07-01 13:00 CEST

private:
    bool m_hadTz = false;
    std::string m_oldTz;
};

struct Broken {
    int year, month, day, hour, minute, second;
    bool operator==(const Broken &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Broken &b)
{
    return out << b.year << '-' << b.month << '-' << b.day << ' ' << b.hour << ':'
               << b.minute << ':' << b.second;
}

Broken brokenOf(double t)
{
    Broken b{-9, -9, -9, -9, -9, -9};
    TimeToDate(&b.year, &b.month, &b.day, &b.hour, &b.minute, &b.second, t);
    return b;
}

std::string timeStr(double t)
{
    char buf[20];
    return STimeStrA(buf, t);
}

std::wstring timeStrWide(double t)
{
    wchar_t buf[1024];
    return STimeStr(buf, t);
}

std::string span(double a, double b, size_t size = 64)
{
    char buf[64];
    return STimeSpanA(buf, size, a, b);
}

TEST_F(QvSystimClock, DateToTimeReadsStandardTime)
{
    EXPECT_EQ(DateToTime(2024, 1, 15, 0, 0, 0), kWinterMidnight);
    // 12:00 on a summer date is read as 12:00 CET, which is 13:00 CEST.
    EXPECT_EQ(DateToTime(2024, 7, 1, 12, 0, 0), kSummerOne);
    EXPECT_EQ(DateToTime(1970, 1, 1, 1, 0, 0), 0.0);
    EXPECT_EQ(DateToTime(2024, 1, 14, 24, 0, 0), kWinterMidnight);  // normalised
    EXPECT_EQ(DateToTime(2024, 13, 1, 0, 0, 0), DateToTime(2025, 1, 1, 0, 0, 0));
    EXPECT_EQ(DateToTime(INT_MAX, INT_MAX, 1, 0, 0, 0), -1.0);
}

TEST_F(QvSystimClock, TimeToDateBreaksDownLocalTime)
{
    EXPECT_EQ(brokenOf(kSummerOne), (Broken{2024, 7, 1, 13, 0, 0}));
    EXPECT_EQ(brokenOf(kWinterMidnight + 0.999), (Broken{2024, 1, 15, 0, 0, 0}));
    EXPECT_EQ(brokenOf(-0.5), (Broken{1970, 1, 1, 1, 0, 0}));  // truncated toward zero
    EXPECT_EQ(brokenOf(-1.5), (Broken{1970, 1, 1, 0, 59, 59}));
    for (double rejected : {1e30, -1e30, 1e19, double{NAN}, double{INFINITY}})
        EXPECT_EQ(brokenOf(rejected), (Broken{0, 0, 0, 0, 0, 0})) << rejected;
    TimeToDate(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, kSummerOne);
}

TEST_F(QvSystimClock, TimeToJulianCountsFromLocalMidnight)
{
    const double jan15 = GetJulianDay(2024, 1, 15);
    EXPECT_EQ(TimeToJulian(kWinterMidnight), jan15);
    EXPECT_DOUBLE_EQ(TimeToJulian(kWinterMidnight + 43200.7), jan15 + 0.5);
    EXPECT_DOUBLE_EQ(TimeToJulian(kSummerOne), GetJulianDay(2024, 7, 1) + 13.0 / 24.0);
    EXPECT_EQ(TimeToJulian(1e30), 0.0);
    EXPECT_EQ(TimeToJulian(NAN), 0.0);
}

TEST_F(QvSystimClock, TimeStampTexts)
{
    const struct {
        double t;
        const char *expected;
    } cases[] = {
        {kWinterMidnight, "2024-01-15"},        // midnight: the date alone
        {kWinterMidnight + 1, "2024-01-15  0:00:01"},
        {kWinterMidnight - 1, "2024-01-14 23:59:59"},
        {kSummerOne, "2024-07-01 13:00:00"},
        {DateToTime(2024, 3, 31, 3, 0, 0), "2024-03-31  4:00:00"},
        {1e30, "0000-00-00"},
        {-1e30, "0000-00-00"},
        {NAN, "0000-00-00"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(timeStr(c.t), c.expected) << c.t;
        const std::string narrow = c.expected;
        EXPECT_EQ(timeStrWide(c.t), std::wstring(narrow.begin(), narrow.end())) << c.t;
    }
    // A five-digit year is cut to the 20 bytes the narrow buffer must hold.
    const double far = DateToTime(12345, 1, 2, 3, 4, 5);
    EXPECT_EQ(timeStr(far), "12345-01-02  3:04:0");
    EXPECT_EQ(timeStrWide(far), L"12345-01-02  3:04:05");
    char guarded[32];
    memset(guarded, 'x', sizeof guarded);
    STimeStrA(guarded, DateToTime(123456789, 1, 2, 3, 4, 5));
    EXPECT_EQ(strlen(guarded), 19u);
    EXPECT_EQ(std::string(guarded + 20, 12), std::string(12, 'x'));
}

TEST_F(QvSystimClock, TodayTexts)
{
    for (int attempt = 0; attempt < 5; ++attempt) {
        const time_t before = time(nullptr);
        char date[16], clock[16];
        wchar_t wideDate[16], wideClock[16];
        SDateA(date, sizeof date);
        STimeA(clock, sizeof clock);
        SDate(wideDate, 16);
        STime(wideClock, 16);
        if (time(nullptr) != before)
            continue;  // the second changed under us; read again
        const struct tm *now = localtime(&before);
        char expectedDate[32], expectedClock[32];
        snprintf(expectedDate, sizeof expectedDate, "%2d-%02d-%4d", now->tm_mday,
                 now->tm_mon + 1, now->tm_year + 1900);
        snprintf(expectedClock, sizeof expectedClock, "%2d:%02d:%02d", now->tm_hour,
                 now->tm_min, now->tm_sec);
        EXPECT_STREQ(date, expectedDate);
        EXPECT_STREQ(clock, expectedClock);
        EXPECT_EQ(std::wstring(wideDate), std::wstring(expectedDate, expectedDate + 10));
        EXPECT_EQ(std::wstring(wideClock), std::wstring(expectedClock, expectedClock + 8));
        break;
    }
    char small[4] = "abc";
    EXPECT_EQ(strlen(SDateA(small, 3)), 2u);
    char untouched[4] = "abc";
    EXPECT_STREQ(STimeA(untouched, 0), "abc");
    wchar_t wideSmall[3] = L"ab";
    EXPECT_EQ(wcslen(STime(wideSmall, 3)), 2u);
    EXPECT_EQ(SDateA(nullptr, 10), nullptr);
}

TEST(QvSystimSpan, ThreeShapes)
{
    const struct {
        double hundredths;
        const char *expected;
    } cases[] = {
        {725, " 7.25"},
        {0, " 0.00"},
        {750, " 7.50"},
        {5999, "59.99"},
        {6000, " 1:00"},
        {72500, "12:05"},
        {18750, " 3:07.50"},
        {359999, "59:59.99"},
        {360000, " 1:00:00"},
        {360001, " 1:00:00.01"},
        {36012304, "100:02:03.04"},
        {NAN, " 0.00"},
        {1e300, "5124095576030431:00:15"},  // held at 2^64 - 1 seconds
    };
    for (const auto &c : cases) {
        EXPECT_EQ(span(c.hundredths, 0), c.expected) << c.hundredths;
        EXPECT_EQ(span(1000, 1000 + c.hundredths), c.expected) << c.hundredths;
    }
}

TEST(QvSystimSpan, PiecesStopAtTheBufferSize)
{
    EXPECT_EQ(span(36012304, 0, 13), "100:02:03.04");
    EXPECT_EQ(span(36012304, 0, 12), "100:02:03.0");
    EXPECT_EQ(span(36012304, 0, 10), "100:02:03");
    EXPECT_EQ(span(36012304, 0, 5), "100:");
    EXPECT_EQ(span(36012304, 0, 3), "10");
    EXPECT_EQ(span(725, 0, 1), "");
    char untouched[4] = "abc";
    EXPECT_STREQ(STimeSpanA(untouched, 0, 725, 0), "abc");
}

TEST(QvSystimSpan, ClocksMoveForward)
{
    const double first = ClockGetDblHsec();
    const double second = ClockGetDblHsec();
    EXPECT_GE(second, first);
    const time_t before = time(nullptr);
    const double wall = TimeGetDbl();
    const time_t after = time(nullptr);
    EXPECT_GE(wall, static_cast<double>(before));
    EXPECT_LT(wall, static_cast<double>(after) + 1.0);
    char buf[32];
    const std::string text = SClockSpanA(buf, sizeof buf, ClockGetDblHsec() - 100 * 360000.0);
    EXPECT_EQ(text.substr(0, 4), "100:");
}

}  // namespace
