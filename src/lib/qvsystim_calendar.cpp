// qvsystim_calendar: dates as Julian day numbers (int, 2000-01-01 is
// 2451545) and times of day as fractions of a day in hundredths of a
// second. Julian calendar up to the 1582 switch, Gregorian after it, no
// year zero. The arithmetic keeps the exact constants, double-precision
// steps and single-precision conversions of the routines these results
// were first computed with, so that day numbers and dates agree to the day
// with stored data; do not simplify the formulas.
//
// Day numbers and weekdays are worked out in 64 bits, so that they are
// right for every date and day number an int can hold, also where a
// neighbouring day (the next month's first, the day after) lies beyond it;
// only a result that does not fit is wrapped to 32 bits, as 32-bit two's
// complement arithmetic would. The day-to-date steps keep the wrapping of
// the original 32-bit arithmetic, whose sums cancel out modulo 2^32.
// Doubles are truncated to int through truncToInt.
#include "qvsystim.h"
#include "qvsystim_internal.h"

#include <cmath>
#include <cstdint>

using namespace qvsystim;

namespace {

constexpr int kFirstGregorianDay = 2299161; // 1582-10-15
constexpr int kGregorianTest = 588829;      // 31 * (jm + 12 * y) + d
constexpr double kHsecPerDay = 8640000.0;

// Truncation toward zero; values no int64 can hold (and NaN) give INT_MIN,
// the value the hardware conversion yields for them.
int truncToInt(double value)
{
    if (!(value >= -9223372036854775808.0 && value < 9223372036854775808.0))
        return INT32_MIN;
    return wrap32(static_cast<int64_t>(value));
}

// Rounds an int through single precision, as the day-to-date steps do.
double viaFloat(int value)
{
    return static_cast<double>(static_cast<float>(value));
}

// 1..7 for every jdn >= -1; below that the same formula gives -5..1.
int dayOfWeek(int64_t jdn)
{
    return static_cast<int>(jdn + 2 - 7 * ((jdn + 1) / 7));
}

// Day number of a date, -1 when it is invalid. Year and month are 64 bits
// wide so that the month after any int month can be asked for.
int64_t julianDay(int64_t year, int64_t month, int day)
{
    if (year == 0 || month < 1 || day < 1)
        return -1;
    int64_t jy = year < 0 ? year + 1 : year;
    int64_t jm;
    if (month < 3) {
        jy -= 1;
        jm = month + 13;
    } else {
        jm = month + 1;
    }
    const double days =
        day + std::floor(365.25 * static_cast<double>(jy)) + std::floor(30.6001 * static_cast<double>(jm)) + 1720995.0;
    int64_t jdn = static_cast<int64_t>(days); // below 2^42 in size: truncation is exact
    // The month in this test is the shifted one while the year is not;
    // that makes 1582 from January to October 4 partly Gregorian.
    if (31 * (jm + 12 * year) + day >= kGregorianTest)
        jdn += 2 - jy / 100 + jy / 400;
    return jdn;
}

} // namespace

extern "C" {

int GetJulianDay(int year, int month, int day)
{
    return wrap32(julianDay(year, month, day));
}

double GetJulianTime(int hour, int minute, int second, int hundredths)
{
    const int hsec = wrap32(((int64_t{hour} * 60 + minute) * 60 + second) * 100 + hundredths);
    return hsec * kDayPerHsec;
}

void GetDateFromJulian(int jdn, int *year, int *month, int *day)
{
    int a;
    if (jdn >= kFirstGregorianDay) {
        const double shifted = viaFloat(jdn - 1867216);
        const int alpha = truncToInt(shifted * 2.7379070069885075e-05 + (-6.844767517471269e-06));
        a = wrap32(int64_t{jdn} + alpha - truncToInt(alpha * 0.25) + 1);
    } else if (jdn < 0) {
        // Whole Julian centuries of 36525 days move the count above zero.
        a = wrap32(int64_t{jdn} + int64_t{36525} * (1 - jdn / 36525));
    } else {
        a = jdn;
    }
    const double fromEpoch = viaFloat(wrap32(int64_t{a} - 2438346));
    const int cy = truncToInt(fromEpoch * 0.0027378507871321013 + 6679.665708418891);
    const int daysOfYears = truncToInt(0.25 * cy + wrap32(int64_t{365} * cy));
    const int b = wrap32(int64_t{a} - daysOfYears + 1524);
    const int e = truncToInt(b * 0.03267963176590926);
    const int dd = wrap32(int64_t{b} - truncToInt(e * 30.6001));
    const int mm = e > 13 ? e - 13 : e - 1;
    int yy = wrap32(int64_t{cy} - 4715);
    if (mm > 2)
        yy = wrap32(int64_t{yy} - 1);
    if (yy <= 0)
        yy = wrap32(int64_t{yy} - 1);
    if (jdn < 0)
        yy = wrap32(int64_t{yy} - int64_t{100} * (1 - jdn / 36525));
    if (year)
        *year = yy;
    if (month)
        *month = mm;
    if (day)
        *day = dd;
}

void GetTimeFromJulian(int *hour, int *minute, int *second, int *hundredths, double fraction)
{
    const int hsec = truncToInt(std::floor(fraction * kHsecPerDay + 0.5));
    if (hundredths)
        *hundredths = hsec % 100;
    if (second)
        *second = (hsec / 100) % 60;
    if (minute)
        *minute = (hsec / 6000) % 60;
    if (hour)
        *hour = hsec / 360000;
}

int GetDayOfWeek(int year, int month, int day)
{
    return dayOfWeek(julianDay(year, month, day));
}

int GetDayOfWeekFromJulian(int jdn)
{
    return dayOfWeek(jdn);
}

int GetDayOfMonth(int year, int month, int weekday, int n)
{
    if (n == 0 || n < -5 || n > 5)
        return 0;
    const int64_t first = julianDay(year, month, 1);
    // The year -1 is followed by year 1, but the month after December of
    // year -1 is looked up in year 0 and so is invalid (-1).
    const int64_t next = month == 12 ? julianDay(int64_t{year} + 1, 1, 1) : julianDay(year, int64_t{month} + 1, 1);
    if (n >= 1) {
        int64_t shift = int64_t{weekday} - dayOfWeek(first);
        if (shift < 0)
            shift += 7;
        const int64_t found = first + shift + 7 * (n - 1);
        return found < next ? wrap32(found) : 0;
    }
    const int64_t last = next - 1;
    int64_t shift = int64_t{weekday} - dayOfWeek(last);
    if (shift > 0)
        shift -= 7;
    const int64_t found = last + shift + 7 * (n + 1);
    return found >= first ? wrap32(found) : 0;
}

int GetWeekOfYear(int year, int week)
{
    if (static_cast<unsigned>(week) > 53)
        return 0;
    // January 4 always lies in ISO week 1.
    const int64_t jan4 = julianDay(year, 1, 4);
    const int weekday = dayOfWeek(jan4);
    const int64_t monday = weekday == 1 ? jan4 - 6 : jan4 + 2 - weekday;
    return wrap32(monday + 7 * int64_t{week - 1});
}

} // extern "C"
