// qvsystim_calendar: dates as Julian day numbers (int, 2000-01-01 is
// 2451545) and times of day as fractions of a day in hundredths of a
// second. Julian calendar up to the 1582 switch, Gregorian after it, no
// year zero. The arithmetic keeps the exact constants, double-precision
// steps and single-precision conversions of the routines these results
// were first computed with, so that day numbers and dates agree to the day
// with stored data; do not simplify the formulas.
//
// Every int the formulas store is computed in 64 bits and wrapped to 32
// bits, which is what 32-bit two's complement arithmetic gives, so that
// absurd inputs give defined (if meaningless) results instead of
// undefined behaviour. Doubles are truncated to int through truncToInt.
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
    if (!(value > -9223372036854775808.0 && value < 9223372036854775808.0))
        return INT32_MIN;
    return wrap32(static_cast<int64_t>(value));
}

// Rounds an int through single precision, as the day-to-date steps do.
double viaFloat(int value)
{
    return static_cast<double>(static_cast<float>(value));
}

int dayOfWeek(int jdn)
{
    const int next = wrap32(int64_t{jdn} + 1);
    return wrap32(int64_t{jdn} + 2 - int64_t{7} * (next / 7));
}

} // namespace

extern "C" {

int GetJulianDay(int year, int month, int day)
{
    if (year == 0 || month < 1 || day < 1)
        return -1;
    int jy = year < 0 ? wrap32(int64_t{year} + 1) : year;
    int jm;
    if (month < 3) {
        jy = wrap32(int64_t{jy} - 1);
        jm = wrap32(int64_t{month} + 13);
    } else {
        jm = wrap32(int64_t{month} + 1);
    }
    int jdn = truncToInt(day + std::floor(365.25 * jy) + std::floor(30.6001 * jm) + 1720995.0);
    // The month in this test is the shifted one while the year is not;
    // that makes 1582 from January to October 4 partly Gregorian.
    if (wrap32(31 * (int64_t{jm} + 12 * int64_t{year}) + day) >= kGregorianTest)
        jdn = wrap32(int64_t{jdn} + 2 - jy / 100 + jy / 400);
    return jdn;
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
    return dayOfWeek(GetJulianDay(year, month, day));
}

int GetDayOfWeekFromJulian(int jdn)
{
    return dayOfWeek(jdn);
}

int GetDayOfMonth(int year, int month, int weekday, int n)
{
    if (n == 0 || n < -5 || n > 5)
        return 0;
    const int first = GetJulianDay(year, month, 1);
    // The year -1 is followed by year 1, but the month after December of
    // year -1 is looked up in year 0 and so is invalid (-1).
    const int next =
        month == 12 ? GetJulianDay(wrap32(int64_t{year} + 1), 1, 1) : GetJulianDay(year, wrap32(int64_t{month} + 1), 1);
    if (n >= 1) {
        int shift = wrap32(int64_t{weekday} - dayOfWeek(first));
        if (shift < 0)
            shift = wrap32(int64_t{shift} + 7);
        const int found = wrap32(int64_t{first} + shift + int64_t{7} * (n - 1));
        return found < next ? found : 0;
    }
    const int last = wrap32(int64_t{next} - 1);
    int shift = wrap32(int64_t{weekday} - dayOfWeek(last));
    if (shift > 0)
        shift -= 7;
    const int found = wrap32(int64_t{last} + shift + int64_t{7} * (n + 1));
    return found >= first ? found : 0;
}

int GetWeekOfYear(int year, int week)
{
    if (static_cast<unsigned>(week) > 53)
        return 0;
    // January 4 always lies in ISO week 1.
    const int jan4 = GetJulianDay(year, 1, 4);
    const int weekday = dayOfWeek(jan4);
    const int monday = weekday == 1 ? wrap32(int64_t{jan4} - 6) : wrap32(int64_t{jan4} + 2 - weekday);
    return wrap32(int64_t{monday} + int64_t{7} * (week - 1));
}

} // extern "C"
