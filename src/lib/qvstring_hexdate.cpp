// qvstring_hexdate: doubles read back from their hex bit pattern, and
// date-and-time numbers printed as date stamps.
//
// A hex pattern is 16 digits, most significant byte first; the double is
// assembled as a 64-bit integer and reinterpreted, so the machine's byte
// order never matters. A date-and-time number is a Julian day number plus
// the time of day as a fraction of a day; the calendar is the one of the
// qvsystim unit. Stamps are built left to right, each piece printed at the
// end of the text so far and cut to the caller's size, except the midnight
// time, which is appended whole.
#include "qvstring.h"
#include "qvstring_fold.h"
#include "qvstring_internal.h"
#include "qvsystim.h"

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

using qvstring::appendf;

namespace {

constexpr size_t kHexDigits = 16;
constexpr size_t kStampSize = 40;
constexpr const char *kDayNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

// The digit class is '0' to '9' in every locale; other characters go
// through tolower by the table.
int hexDigitValue(const qvstring::CaseFold &fold, char ch)
{
    const unsigned char byte = static_cast<unsigned char>(ch);
    if (byte >= '0' && byte <= '9')
        return byte - '0';
    return fold.ofUnsigned(byte) - 87;
}

void store(char *s, size_t size, const char *text)
{
    s[0] = '\0';
    appendf(s, size, "%s", text);
}

const char *dayName(int year, int month, int dayOfMonth)
{
    const int weekday = GetDayOfWeek(year, month, dayOfMonth);
    return weekday >= 1 && weekday <= 7 ? kDayNames[weekday - 1] : "???";
}

} // namespace

extern "C" {

double DHexToDouble(const char *text)
{
    char field[kHexDigits + 1] = "0000000000000000";
    const size_t len = text ? strnlen(text, kHexDigits) : 0;
    if (len > 0)
        std::memcpy(field + kHexDigits - len, text, len);
    const qvstring::CaseFold fold;
    uint64_t bits = 0;
    for (size_t pair = 0; pair < kHexDigits; pair += 2) {
        const int byte = 16 * hexDigitValue(fold, field[pair]) + hexDigitValue(fold, field[pair + 1]);
        bits = (bits << 8) | static_cast<uint8_t>(byte);
    }
    return std::bit_cast<double>(bits);
}

char *Dbl2DateStrA(char *s, size_t size, int withDayName, int midnightTime, int spaceSeparator, int secondsMode,
                   double x)
{
    if (!s || size == 0)
        return s;
    // A day number must fit the calendar's int before it can be converted.
    if (FIsInfOrNaN(x) || std::trunc(x) < INT_MIN || std::trunc(x) > INT_MAX) {
        store(s, size, ".");
        return s;
    }
    if (x == 0.0) {
        store(s, size, secondsMode == 1 ? "00:00:00" : "00:00");
        return s;
    }
    s[0] = '\0';
    const int day = static_cast<int>(x);
    double fraction = x;
    if (day != 0) {
        int year = 0;
        int month = 0;
        int dayOfMonth = 0;
        GetDateFromJulian(day, &year, &month, &dayOfMonth);
        if (withDayName)
            appendf(s, size, "%d-%02d-%02d %s", year, month, dayOfMonth, dayName(year, month, dayOfMonth));
        else
            appendf(s, size, "%d-%02d-%02d", year, month, dayOfMonth);
        fraction = x - day;
        if (midnightTime && fraction == 0.0) {
            // Appended whole, whatever size says: the caller leaves room.
            std::strcat(s, spaceSeparator ? " " : "T");
            std::strcat(s, secondsMode == 1 ? "00:00:00" : "00:00");
        }
        if (!(fraction > 0.0))
            return s;
    } else if (!(x > 0.0)) {
        return s;
    }
    int hour = 0;
    int minute = 0;
    int second = 0;
    int hundredths = 0;
    GetTimeFromJulian(&hour, &minute, &second, &hundredths, fraction);
    if (s[0] != '\0')
        appendf(s, size, "%c", spaceSeparator ? ' ' : 'T');
    appendf(s, size, "%02d:%02d", hour, minute);
    if (secondsMode == 1 || (secondsMode == 0 && (second > 0 || hundredths > 0)))
        appendf(s, size, ":%02d", second);
    if (secondsMode >= 0 && hundredths > 0)
        appendf(s, size, ".%02d", hundredths);
    return s;
}

wchar_t *Dbl2DateStr(wchar_t *ws, size_t size, int withDayName, int midnightTime, int spaceSeparator, int secondsMode,
                     double x)
{
    if (!ws)
        return ws;
    char narrow[kStampSize];
    Dbl2DateStrA(narrow, sizeof narrow, withDayName, midnightTime, spaceSeparator, secondsMode, x);
    const size_t len = std::strlen(narrow);
    if (len > size)
        return ws;
    for (size_t at = 0; at <= len; ++at)
        ws[at] = static_cast<wchar_t>(static_cast<unsigned char>(narrow[at]));
    return ws;
}

} // extern "C"
