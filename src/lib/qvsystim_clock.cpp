// qvsystim_clock: clock readers, the texts made of dates, times and spans,
// and the conversions between clock values and local dates. A clock value
// is a double counting seconds since 1970-01-01 00:00 UTC; a monotonic
// reading is a double counting hundredths of a second. Local time comes
// from localtime_r and mktime, so it follows TZ as the C library sees it.
// Texts go into the caller's buffer and are always terminated when the
// size allows one character. Narrow and wide texts share one template
// each, with a small table of formats per character type.
#include "qvsystim.h"
#include "qvstring_internal.h"
#include "qvsystim_internal.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

using namespace qvsystim;
using qvstring::appendf;

namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

// The one reading of the wall clock in whole seconds: today's date and the
// time of day, and the last resort of the finer clocks.
double secondsNow()
{
    return static_cast<double>(time(nullptr));
}

// Breaks a clock value down into local time, into the caller's record (no
// shared one of the C library). Values a time_t cannot hold (and NaN) fail
// here rather than in an undefined conversion.
bool localTimeOf(double t, struct tm *out)
{
    if (!(t > -kTwoTo63 && t < kTwoTo63))
        return false;
    const time_t whole = static_cast<time_t>(t);
    // localtime_r need not look at TZ again; a change of zone made since
    // the last call must count, as it does for localtime.
    tzset();
    return localtime_r(&whole, out) != nullptr;
}

bool localTimeNow(struct tm *out)
{
    return localTimeOf(secondsNow(), out);
}

// tm_year + 1900 with the wrap-around of 32-bit arithmetic.
int fullYear(const struct tm &broken)
{
    return static_cast<int>(static_cast<uint32_t>(int64_t{broken.tm_year} + 1900));
}

// The narrow and wide texts share their algorithms; these give each
// character type its formats and the room of the stamp buffer.
template <typename Ch> struct ClockText;

template <> struct ClockText<char> {
    static constexpr size_t kStampSize = 20; // "yyyy-mm-dd hh:mm:ss" + NUL
    static constexpr const char *kDate = "%2u-%02u-%4u";
    static constexpr const char *kTime = "%2d:%02d:%02d";
    static constexpr const char *kNoStamp = "0000-00-00";
    static constexpr const char *kStampDate = "%4u-%02u-%02u";
    static constexpr const char *kStampTime = " %2d:%02d:%02d";
};

template <> struct ClockText<wchar_t> {
    static constexpr size_t kStampSize = 1024;
    static constexpr const wchar_t *kDate = L"%2u-%02u-%4u";
    static constexpr const wchar_t *kTime = L"%2d:%02d:%02d";
    static constexpr const wchar_t *kNoStamp = L"0000-00-00";
    static constexpr const wchar_t *kStampDate = L"%4u-%02u-%02u";
    static constexpr const wchar_t *kStampTime = L" %2d:%02d:%02d";
};

template <typename Ch> Ch *dateText(Ch *buf, size_t size)
{
    if (!buf || size < 1)
        return buf;
    buf[0] = Ch(0);
    struct tm now;
    if (localTimeNow(&now))
        appendf(buf, size, ClockText<Ch>::kDate, static_cast<unsigned>(now.tm_mday),
                static_cast<unsigned>(now.tm_mon + 1), static_cast<unsigned>(fullYear(now)));
    return buf;
}

template <typename Ch> Ch *timeText(Ch *buf, size_t size)
{
    if (!buf || size < 1)
        return buf;
    buf[0] = Ch(0);
    struct tm now;
    if (localTimeNow(&now))
        appendf(buf, size, ClockText<Ch>::kTime, now.tm_hour, now.tm_min, now.tm_sec);
    return buf;
}

// The caller's buffer is taken to hold kStampSize characters.
template <typename Ch> Ch *stampText(Ch *buf, double t)
{
    if (!buf)
        return buf;
    constexpr size_t size = ClockText<Ch>::kStampSize;
    buf[0] = Ch(0);
    struct tm broken;
    if (!localTimeOf(t, &broken)) {
        appendf(buf, size, ClockText<Ch>::kNoStamp);
        return buf;
    }
    appendf(buf, size, ClockText<Ch>::kStampDate, static_cast<unsigned>(fullYear(broken)),
            static_cast<unsigned>(broken.tm_mon + 1), static_cast<unsigned>(broken.tm_mday));
    if (broken.tm_hour || broken.tm_min || broken.tm_sec)
        appendf(buf, size, ClockText<Ch>::kStampTime, broken.tm_hour, broken.tm_min, broken.tm_sec);
    return buf;
}

} // namespace

extern "C" {

double ClockGetDblHsec(void)
{
    struct timespec now;
    if (syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now) == 0)
        return (now.tv_nsec * 1e-9 + now.tv_sec) * 100.0;
    struct timeval wall;
    if (gettimeofday(&wall, nullptr) == 0)
        return (wall.tv_usec * 1e-6 + wall.tv_sec) * 100.0;
    return secondsNow() * 100.0;
}

double TimeGetDbl(void)
{
    struct timeval wall;
    if (gettimeofday(&wall, nullptr) == 0)
        return wall.tv_usec * 1e-6 + wall.tv_sec;
    return secondsNow();
}

double DateToTime(int year, int month, int day, int hour, int minute, int second)
{
    struct tm broken;
    memset(&broken, 0, sizeof broken);
    broken.tm_year = static_cast<int>(static_cast<uint32_t>(int64_t{year} - 1900));
    broken.tm_mon = static_cast<int>(static_cast<uint32_t>(int64_t{month} - 1));
    broken.tm_mday = day;
    broken.tm_hour = hour;
    broken.tm_min = minute;
    broken.tm_sec = second;
    // Standard time on purpose: stored values were made this way.
    broken.tm_isdst = 0;
    return static_cast<double>(mktime(&broken));
}

void TimeToDate(int *year, int *month, int *day, int *hour, int *minute, int *second, double t)
{
    struct tm broken;
    const bool ok = localTimeOf(t, &broken);
    if (year)
        *year = ok ? fullYear(broken) : 0;
    if (month)
        *month = ok ? broken.tm_mon + 1 : 0;
    if (day)
        *day = ok ? broken.tm_mday : 0;
    if (hour)
        *hour = ok ? broken.tm_hour : 0;
    if (minute)
        *minute = ok ? broken.tm_min : 0;
    if (second)
        *second = ok ? broken.tm_sec : 0;
}

double TimeToJulian(double t)
{
    struct tm broken;
    if (!localTimeOf(t, &broken))
        return 0.0;
    const int jdn = GetJulianDay(fullYear(broken), broken.tm_mon + 1, broken.tm_mday);
    const int hsec = ((broken.tm_hour * 60 + broken.tm_min) * 60 + broken.tm_sec) * 100;
    return jdn + hsec * kDayPerHsec;
}

char *SDateA(char *buf, size_t size)
{
    return dateText(buf, size);
}
wchar_t *SDate(wchar_t *buf, size_t size)
{
    return dateText(buf, size);
}
char *STimeA(char *buf, size_t size)
{
    return timeText(buf, size);
}
wchar_t *STime(wchar_t *buf, size_t size)
{
    return timeText(buf, size);
}
char *STimeStrA(char *buf, double t)
{
    return stampText(buf, t);
}
wchar_t *STimeStr(wchar_t *buf, double t)
{
    return stampText(buf, t);
}

char *STimeSpanA(char *buf, size_t size, double a, double b)
{
    if (!buf || size < 1)
        return buf;
    buf[0] = '\0';
    const double span = std::fabs(a - b);
    const double wholeSeconds = 0.01 * span;
    uint64_t seconds = 0;
    int hundredths = 0;
    if (wholeSeconds >= kTwoTo64) {
        seconds = UINT64_MAX;
    } else if (wholeSeconds >= 0.0) {
        seconds = static_cast<uint64_t>(wholeSeconds);
        // Rounding in the product can leave this just outside 0..99; it is
        // kept as computed, but never beyond what an int holds.
        const double left = span - 100.0 * static_cast<double>(seconds);
        if (left > -2147483648.0 && left < 2147483648.0)
            hundredths = static_cast<int>(left);
    }
    const int sec = static_cast<int>(seconds % 60);
    const uint64_t hours = seconds / 3600;
    const int min = static_cast<int>(seconds / 60 - 60 * hours);
    if (seconds < 3600 && min == 0) {
        appendf(buf, size, "%2d", sec);
        appendf(buf, size, ".%02d", hundredths);
        return buf;
    }
    if (seconds < 3600)
        appendf(buf, size, "%2d:", min);
    else {
        appendf(buf, size, "%2llu:", static_cast<unsigned long long>(hours));
        appendf(buf, size, "%02d:", min);
    }
    appendf(buf, size, "%02d", sec);
    if (hundredths != 0)
        appendf(buf, size, ".%02d", hundredths);
    return buf;
}

char *SClockSpanA(char *buf, size_t size, double start)
{
    return STimeSpanA(buf, size, ClockGetDblHsec(), start);
}

} // extern "C"
