// qvstring_double: a double printed within a fixed number of characters.
//
// The text is the C library's '%g' with a count of significant digits taken
// from the magnitude of the value and the width, then edited in place: the
// two-digit exponent loses its leading zero (and, in modes 1 and 2, its '+'),
// mode 2 drops the '0' before the point, an integer-looking result of the
// non-integer path gets a '.', and kept decimals are trimmed of trailing
// zeros. Digit budgets are worked out in 64-bit integers so that no width or
// precision can overflow. The '%g' and "%d" texts are cut at size - 1; the
// fixed texts and the '.' that marks a non-integer are stored unchecked, so
// the caller gives a size above width and at least 6 bytes.
// A double has at most 767 significant decimal digits: '%g' is never asked
// for more than kExactDigits + 1 of them, or for more than size with '#',
// since further digits are zeros that '%g' strips or that lie past the cut.
// So any width and precision cost a few kilobytes at most, with the text
// that the full count of digits would give.
#include "qvstring.h"
#include "qvsystim.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr double kIntMax = 2147483647.0;
constexpr int kExactDigits = 767;

// Digits beyond the exact expansion are zeros, and with '#' kept zeros past
// size - 1 characters are cut anyway: asking for fewer gives the same text.
int digitsWorthPrinting(int digits, bool keepZeros, size_t size)
{
    int64_t most = kExactDigits + 1;
    if (keepZeros)
        most = std::max<int64_t>(most, static_cast<int64_t>(std::min<size_t>(size, INT32_MAX)));
    return static_cast<int>(std::min<int64_t>(digits, most));
}

int64_t decimalDigits(int64_t value)
{
    int64_t digits = 1;
    while (value >= 10) {
        value /= 10;
        ++digits;
    }
    return digits;
}

// Each budget leaves room for a sign, the point and the exponent as it reads
// after editing; modes 1 and 2 gain the '+' above int range, mode 2 the
// leading '0' below 1.
int significantDigits(double magnitude, int width, int precision, int mode)
{
    const int64_t wide = width;
    const int64_t wanted = precision;
    const int64_t noPlus = mode != 0 ? 1 : 0;
    const int64_t keepsZero = mode != 2 ? 1 : 0;
    int64_t budget = 0;
    if (magnitude < 1e-99) {
        budget = wide - 7;
    } else if (magnitude < 1e-9) {
        budget = wide - 6;
    } else if (magnitude < 1e-4) {
        budget = wide - 5;
    } else if (magnitude < 1.0) {
        int64_t shifts = 0;
        for (double scaled = magnitude; scaled < 1.0; scaled *= 10.0)
            ++shifts;
        budget = wide - 1 - keepsZero - shifts;
    } else if (magnitude <= kIntMax) {
        const int64_t digits = decimalDigits(static_cast<int64_t>(magnitude));
        if (wide - 2 >= wanted && digits <= wide - 2)
            return static_cast<int>(std::max(digits, wanted));
        budget = wide + noPlus - 6;
    } else if (magnitude < 1e100) {
        budget = wide + noPlus - 6;
    } else {
        budget = wide + noPlus - 7;
    }
    return static_cast<int>(std::min(budget, wanted));
}

void dropLeadingZero(char *s)
{
    char *zero = s[0] == '-' ? s + 1 : s;
    if (zero[0] == '0' && zero[1] == '.')
        std::memmove(zero, zero + 1, std::strlen(zero + 1) + 1);
}

void editExponent(char *s, int width, int mode)
{
    const size_t maxLen = static_cast<size_t>(width) + 1;
    StrRep(s, "e+", "e+0", 2, maxLen);
    StrRep(s, "e-", "e-0", 2, maxLen);
    if (mode != 0)
        StrRep(s, "e", "e+", 1, maxLen);
}

void stripTrailingZeros(char *s, int keepDecimals)
{
    char *point = std::strchr(s, '.');
    if (!point)
        return;
    char *fraction = point + 1;
    const size_t fractionLen = std::strcspn(fraction, "e");
    size_t zeros = 0;
    while (zeros < fractionLen && fraction[fractionLen - 1 - zeros] == '0')
        ++zeros;
    const size_t keep = static_cast<size_t>(keepDecimals);
    if (fractionLen <= keep || zeros == 0)
        return;
    const size_t cut = std::min(zeros, fractionLen - keep);
    char *runEnd = fraction + fractionLen;
    std::memmove(runEnd - cut, runEnd, std::strlen(runEnd) + 1);
}

} // namespace

extern "C" {

char *StrPrintDouble(char *s, size_t size, int width, int precision, int mode, int keepDecimals, double x)
{
    if (!s)
        return s;
    if (FIsNaN(x)) {
        std::strcpy(s, ".NaN");
        return s;
    }
    if (FIsInf(x)) {
        std::strcpy(s, x > 0 ? "+.Inf" : "-.Inf");
        return s;
    }
    const double magnitude = std::fabs(x);
    if (keepDecimals == 0 && magnitude <= kIntMax) {
        const int whole = static_cast<int>(x); // in range: |x| <= INT_MAX
        if (static_cast<double>(whole) == x) {
            const int len = std::snprintf(s, size, "%d", whole);
            if (len <= width)
                return s;
        }
    }
    if (width < 8 || precision < 1) {
        std::strcpy(s, "####");
        return s;
    }
    if (size == 0)
        return s; // no '%g' text was stored, so there is nothing to edit
    const int digits =
        digitsWorthPrinting(significantDigits(magnitude, width, precision, mode), keepDecimals != 0, size);
    if (keepDecimals != 0)
        std::snprintf(s, size, "%#.*g", digits, x);
    else
        std::snprintf(s, size, "%.*g", digits, x);
    if (mode == 2 && magnitude >= 1e-4 && magnitude < 1.0)
        dropLeadingZero(s);
    if (std::strchr(s, 'e')) {
        editExponent(s, width, mode);
    } else if (mode == 0 && !std::strchr(s, '.')) {
        // Marks a value that is not an integer although no digit shows it.
        const size_t len = std::strlen(s);
        if (len < static_cast<size_t>(width)) {
            s[len] = '.';
            s[len + 1] = '\0';
        }
    }
    if (keepDecimals > 0)
        stripTrailingZeros(s, keepDecimals);
    return s;
}

} // extern "C"
