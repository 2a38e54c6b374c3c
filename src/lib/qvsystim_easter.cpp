// qvsystim_easter: the date of Easter Sunday by the integer rule with the
// lunar correction (8C + 13) / 25, Julian rule before a switch year and
// Gregorian from it on. Divisions truncate toward zero and remainders take
// the dividend's sign, as in C. The weekday sums are formed in 64 bits:
// near INT_MAX they would wrap and give a Sunday that is none.
#include "qvsystim.h"

#include <cstdint>

namespace {

constexpr int kFirstGregorianEaster = 1583;

// Paschal full moon, as days after March 21, by the Gregorian rule.
int gregorianFullMoon(int year, int golden)
{
    const int century = year / 100;
    const int moon = (century - year / 400 - (8 * century + 13) / 25 + 19 * golden + 15) % 30;
    const int late = moon / 28;
    // When late is 0 the correction vanishes whatever its other factors are;
    // skipping it also avoids 29 / 0 for moon = -1 (negative years).
    if (late == 0)
        return moon;
    return moon - late * (1 - late * (29 / (moon + 1)) * ((21 - golden) / 11));
}

} // namespace

extern "C" {

int GetDateOfEaster_jg(int year, int firstGregorian, int *month, int *day)
{
    const int golden = year % 19;
    int moon;
    int64_t weekdayBase;
    if (year >= firstGregorian) {
        moon = gregorianFullMoon(year, golden);
        weekdayBase = int64_t{year} + year / 4 - year / 100 + year / 400 + 2;
    } else {
        moon = (19 * golden + 15) % 30;
        weekdayBase = int64_t{year} + year / 4;
    }
    // Within a week of the full moon: small whatever the year.
    const int sunday = static_cast<int>(7 * ((moon + weekdayBase) / 7) - weekdayBase);
    const int mm = 3 + (sunday + 40) / 44;
    const int dd = sunday + 28 - 31 * (mm / 4);
    if (month)
        *month = mm;
    if (day)
        *day = dd;
    return dd;
}

int GetDateOfEaster(int year, int *month, int *day)
{
    return GetDateOfEaster_jg(year, kFirstGregorianEaster, month, day);
}

int GetEaster(int year)
{
    int month = 0;
    int day = 0;
    GetDateOfEaster(year, &month, &day);
    return GetJulianDay(year, month, day);
}

} // extern "C"
