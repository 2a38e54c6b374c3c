// qvsystim: special values, clock, time text and calendar of the qv
// support library.
#ifndef QVSYSTIM_H
#define QVSYSTIM_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- Special values --------------------------------------------------

// Prepares the floating-point unit once at start-up; nothing to do here.
void InitFPU(void);

// Stores the library's NaN (pattern 0x7FF8000000000000) into *pd.
// A null pointer is ignored.
void SetNaN(double *pd);

// Returns the library's NaN, pattern 0x7FF8000000000000.
double DNaN(void);

// Stores positive infinity (pattern 0x7FF0000000000000) into *pd.
// A null pointer is ignored.
void SetInf(double *pd);

// Returns positive infinity, pattern 0x7FF0000000000000.
double DInf(void);

// 1 when the exponent bits are all ones and the mantissa is not zero
// (any NaN, either sign, quiet or signalling), else 0.
int FIsNaN(double x);

// 1 when x is +infinity or -infinity (exponent all ones, mantissa zero),
// else 0.
int FIsInf(double x);

// 1 when the exponent bits of x are all ones (NaN or infinity), else 0.
int FIsInfOrNaN(double x);

// 1 when the exponent bits of the float f are all ones, else 0: float NaNs
// and float infinities of either sign both give 1.
int FIsNaNfloat(float f);

// 1 when x and y are equal, counting any NaN as equal to any NaN; a NaN
// never equals a number. Otherwise ordinary comparison (0.0 == -0.0).
int DoubleIsEqual(double x, double y);

// ---- Clock and time text ---------------------------------------------

// A clock value is the wall clock in seconds since 1970-01-01 00:00 UTC as
// a double; spans are measured on a monotonic clock in hundredths of a
// second. Dates and times of day are local time. The text functions write
// into the caller's buffer, always terminated when its size is at least 1,
// and return it; a null buffer or a size of 0 leaves everything as it is.

// Monotonic clock reading in hundredths of a second.
double ClockGetDblHsec(void);

// Wall clock value now, with microseconds.
double TimeGetDbl(void);

// Clock value of the local time year-month-day hour:minute:second, read as
// standard time even when summer time is in effect on that date (so a
// summer date comes out one hour later than its wall time); out-of-range
// fields are normalised. -1.0 when it cannot be represented.
double DateToTime(int year, int month, int day, int hour, int minute, int second);

// Stores the local date and time of the clock value t, truncated to whole
// seconds; all six are 0 when t cannot be converted. Null pointers are
// skipped.
void TimeToDate(int *year, int *month, int *day, int *hour, int *minute, int *second, double t);

// Today's local date as "dd-mm-yyyy", the day padded with a blank.
char *SDateA(char *buf, size_t size);
wchar_t *SDate(wchar_t *buf, size_t size);

// The local time now as "hh:mm:ss", the hour padded with a blank.
char *STimeA(char *buf, size_t size);
wchar_t *STime(wchar_t *buf, size_t size);

// Local date and time of the clock value t as "yyyy-mm-dd hh:mm:ss" (hour
// padded with a blank), the date alone at exactly midnight, "0000-00-00"
// when t cannot be converted. The narrow buffer must hold 20 bytes, the
// wide one 1024 characters; the text is cut to fit them.
char *STimeStrA(char *buf, double t);
wchar_t *STimeStr(wchar_t *buf, double t);

// The span between two monotonic readings a and b (hundredths, either
// order) as "s.hh" under a minute, "m:ss[.hh]" under an hour, else
// "h:mm:ss[.hh]"; the hundredths are left out of the longer forms when
// zero. A span that is not a number counts as 0; one of 2^64 seconds or
// more counts as 2^64 - 1 seconds.
char *STimeSpanA(char *buf, size_t size, double a, double b);

// The span from the monotonic reading start to now, as STimeSpanA.
char *SClockSpanA(char *buf, size_t size, double start);

// ---- Julian-day calendar ---------------------------------------------

// Dates are year, month, day with no year zero (year -1 precedes year 1);
// the Julian calendar is used up to the switch of October 1582 and the
// Gregorian one after it. A day number (JDN) counts whole days, 2000-01-01
// being 2451545; a time of day is a fraction of a day in hundredths of a
// second. Weekdays run from 1 = Sunday to 7 = Saturday. Every date and day
// number an int holds is worked out right, to the last day either way; a
// result an int cannot hold wraps like a 32-bit int (nothing traps).

// Day number of year-month-day, or -1 when year is 0, month < 1 or
// day < 1. A month above 12 or a day past the month's end is used as it
// stands. The dates 1582-01-01 to 1582-02-28 and 1582-09-15 to 1582-10-14
// are counted as Gregorian and so do not convert back to themselves.
int GetJulianDay(int year, int month, int day);

// Fraction of a day of the time hour:minute:second.hundredths; the
// hundredths of the day are counted in a 32-bit int. Nothing is range
// checked.
double GetJulianTime(int hour, int minute, int second, int hundredths);

// Stores the calendar date of day number jdn. Null pointers are skipped.
// Single-precision steps name March 1 of some Gregorian century years that
// are not leap years (2300, 2700, 3100, ...) February 29, and from about
// year 46500 on they lose days.
void GetDateFromJulian(int jdn, int *year, int *month, int *day);

// Splits a fraction of a day, rounded to the nearest hundredth of a
// second, into hour, minute, second and hundredths. Hours are not reduced
// modulo 24 (a fraction of 1.0 gives hour 24). Null pointers are skipped.
void GetTimeFromJulian(int *hour, int *minute, int *second, int *hundredths, double fraction);

// Weekday of a date, as GetDayOfWeekFromJulian of its day number: 1..7
// for every date from year -4713 on; an invalid date (day number -1)
// gives 1.
int GetDayOfWeek(int year, int month, int day);

// Weekday of day number jdn: 1..7 for every jdn from -1 to INT_MAX. Below
// -1 the same formula, jdn + 2 - 7 * ((jdn + 1) / 7) with the division
// truncating, gives -5..1.
int GetDayOfWeekFromJulian(int jdn);

// Day number of the n-th weekday (1..7) of the month, n 1..5 counting from
// the month's start, -1..-5 from its end; 0 when n is 0 or outside -5..5,
// or when the month has no such day. Right also for the months at the
// ends of the int range, whose neighbours an int cannot hold.
int GetDayOfMonth(int year, int month, int weekday, int n);

// Day number of the Monday that starts ISO week `week` (0..53) of year;
// week 0 is the Monday before week 1. 0 when week is negative or above
// 53.
int GetWeekOfYear(int year, int week);

// Local date and time of a clock value (seconds since 1970-01-01 00:00
// UTC) as day number plus fraction of the day, the day counted from local
// midnight. 0.0 when the value cannot be broken down into a local time.
double TimeToJulian(double t);

// ---- Date of Easter --------------------------------------------------

// Easter Sunday of year: the Gregorian rule when year >= firstGregorian,
// the Julian rule (giving a Julian-calendar date) otherwise. Stores month
// (3 or 4) and day and returns the day. Null pointers are skipped. Meant
// for positive years under the Gregorian rule; the Julian rule also takes
// negative years.
int GetDateOfEaster_jg(int year, int firstGregorian, int *month, int *day);

// As GetDateOfEaster_jg with the Gregorian rule from 1583 on.
int GetDateOfEaster(int year, int *month, int *day);

// Day number of Easter Sunday of year (rule as GetDateOfEaster), or -1
// for year 0.
int GetEaster(int year);

#ifdef __cplusplus
}
#endif

#endif // QVSYSTIM_H
