// StrPrintDouble: magnitude bands, modes, exponent editing, kept decimals.
#include "qvstring.h"
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace {

std::string print(int width, int precision, int mode, int keepDecimals, double x)
{
    char buf[64];
    std::memset(buf, '@', sizeof buf);
    EXPECT_EQ(StrPrintDouble(buf, sizeof buf, width, precision, mode, keepDecimals, x), buf);
    return buf;
}

double below(double edge)
{
    return std::nextafter(edge, 0.0);
}

double above(double edge)
{
    return std::nextafter(edge, std::numeric_limits<double>::infinity());
}

struct Case {
    int width;
    int precision;
    int mode;
    int keepDecimals;
    double x;
    const char *expected;
};

void expectAll(const Case *begin, const Case *end)
{
    for (const Case *c = begin; c != end; ++c)
        EXPECT_EQ(print(c->width, c->precision, c->mode, c->keepDecimals, c->x), c->expected)
            << "width " << c->width << " precision " << c->precision << " mode " << c->mode
            << " keep " << c->keepDecimals << " x " << c->x;
}

// Width 12 and precision 10 make every band's budget the binding limit;
// keepDecimals 9 keeps the zeros so the digit count shows.
TEST(StrPrintDouble, BandEdgesShowTheirDigitBudget)
{
    const Case cases[] = {
        {12, 10, 0, 9, below(1e-99), "1.0000e-99"},     // 5 digits
        {12, 10, 0, 0, below(1e-99), "1e-99"},
        {12, 10, 0, 9, 1e-99, "1.00000e-99"},           // 6
        {12, 10, 0, 9, below(1e-9), "1.00000e-9"},      // 6
        {12, 10, 0, 9, 1e-9, "1.000000e-9"},            // 7
        {12, 10, 0, 0, 1e-9, "1e-9"},
        {12, 10, 0, 9, below(1e-4), "0.000100000"},     // 7, one zero cut to 9
        {12, 10, 2, 0, below(1e-4), "0.0001"},          // below 1e-4 mode 2 keeps its 0
        {12, 10, 0, 9, 1e-4, "0.000100000"},            // 10 - k with k = 4
        {12, 10, 2, 9, 1e-4, ".000100000"},             // 11 - k, zero cut to 9
        {12, 10, 2, 0, 1e-4, ".0001"},
        {12, 10, 0, 9, below(1.0), "1.00000000"},       // 10 - 1
        {12, 10, 2, 9, below(1.0), "1.000000000"},      // 11 - 1
        {12, 10, 0, 0, below(1.0), "1."},               // rounds to an integer look
        {12, 10, 2, 0, below(1.0), "1"},
        {12, 10, 0, 0, 1.0, "1"},                       // integer fast path
        {12, 10, 0, 9, 1.0, "1.000000000"},             // max(d, precision)
        {12, 10, 2, 9, 1.0, "1.000000000"},             // not the 11 digits below 1
        {12, 10, 0, 0, 2147483647.0, "2147483647"},
        {12, 10, 0, 9, 2147483647.0, "2147483647."},
        {12, 10, 0, 0, below(2147483647.0), "2147483647."},
        {12, 10, 0, 0, above(2147483647.0), "2.14748e+9"},  // 6
        {12, 10, 1, 0, above(2147483647.0), "2.147484e9"},  // 7
        {12, 10, 0, 9, above(2147483647.0), "2.14748e+9"},
        {12, 10, 0, 0, 2147483648.0, "2.14748e+9"},
        {12, 10, 0, 9, below(1e100), "1.00000e+100"},   // 6
        {12, 10, 1, 9, below(1e100), "1.000000e100"},   // 7
        {12, 10, 0, 9, 1e100, "1.0000e+100"},           // 5
        {12, 10, 1, 9, 1e100, "1.00000e100"},           // 6
        {12, 10, 2, 0, 1e100, "1e100"},
    };
    expectAll(std::begin(cases), std::end(cases));
}

// Negative values use the whole width: the sign is part of each budget.
TEST(StrPrintDouble, NegativeValuesFillTheWidthExactly)
{
    const Case cases[] = {
        {12, 10, 0, 0, -1.23456789e-100, "-1.2346e-100"},
        {12, 10, 0, 0, -1.23456789e-50, "-1.23457e-50"},
        {12, 10, 0, 0, -1.23456789e-7, "-1.234568e-7"},
        {12, 10, 0, 0, -0.00123456789, "-0.001234568"},
        {12, 10, 1, 0, -0.00123456789, "-0.001234568"},
        {12, 10, 2, 0, -0.00123456789, "-.0012345679"},
        {12, 10, 0, 0, -1.23456789e50, "-1.23457e+50"},
        {12, 10, 1, 0, -1.23456789e50, "-1.234568e50"},
        {12, 10, 2, 0, -1.23456789e50, "-1.234568e50"},
        {12, 10, 0, 0, -1.23456789e200, "-1.2346e+200"},
        {12, 10, 1, 0, -1.23456789e200, "-1.23457e200"},
        {12, 10, 0, 0, -2147483648.0, "-2.14748e+9"},
        {12, 10, 0, 0, -2147483647.0, "-2147483647"},
    };
    expectAll(std::begin(cases), std::end(cases));
}

TEST(StrPrintDouble, IntegerPartBand)
{
    const Case cases[] = {
        {10, 15, 0, 0, 123456.789, "1.235e+5"},     // precision above width - 2
        {10, 15, 1, 0, 123456.789, "1.2346e5"},
        {12, 10, 0, 0, -123456.789, "-123456.789"}, // p = max(6, 10)
        {12, 11, 0, 0, -123456.789, "-123457."},    // p = 12 - 6
        {12, 11, 1, 0, -123456.789, "-123456.8"},   // p = 12 + 1 - 6
        {8, 6, 0, 0, 123456789.5, "1.2e+8"},        // d = 9 above width - 2
        {8, 6, 1, 0, 123456789.5, "1.23e8"},
        {8, 6, 0, 0, 150000.25, "150000."},         // d = 6 = width - 2
        {8, 6, 0, 0, 1500000.5, "1.5e+6"},          // d = 7
        {20, 15, 0, 0, 4294967296.0, "4294967296."},
        {20, 15, 0, 0, 1e10, "10000000000."},
        {20, 15, 1, 0, 1e10, "10000000000"},        // only mode 0 adds the '.'
    };
    expectAll(std::begin(cases), std::end(cases));
}

TEST(StrPrintDouble, ModesAndExponentEditing)
{
    const Case cases[] = {
        {10, 6, 1, 0, 1e-5, "1e-5"},
        {10, 6, 0, 0, 1e-5, "1e-5"},
        {10, 6, 2, 0, 0.25, ".25"},
        {10, 6, 1, 0, 0.25, "0.25"},
        {10, 6, 2, 0, -0.5, "-.5"},
        {10, 6, 0, 0, 1.5e-100, "1.5e-100"},        // three digits untouched
        {10, 6, 1, 0, 2.5e+100, "2.5e100"},
        {10, 6, 0, 0, 2.5e+15, "2.5e+15"},
        {10, 6, 2, 0, 2.5e-15, "2.5e-15"},          // '-' stays in every mode
    };
    expectAll(std::begin(cases), std::end(cases));
}

TEST(StrPrintDouble, KeptDecimalsStripTrailingZeros)
{
    const Case cases[] = {
        {10, 6, 0, 0, 3.0, "3"},
        {10, 6, 0, 2, 3.0, "3.00"},
        {12, 4, 0, 0, 0.0, "0"},
        {12, 4, 0, 1, 0.0, "0.0"},
        {10, 6, 0, 3, 2.5, "2.500"},
        {10, 6, 0, 1, 2.5, "2.5"},
        {10, 6, 0, 5, 2.5, "2.50000"},              // n equal to keepDecimals
        {10, 6, 0, 6, 2.5, "2.50000"},
        {12, 6, 0, 1, 1.5e-7, "1.5e-7"},            // the exponent moves up
        {12, 6, 0, 2, 1.5e-7, "1.50e-7"},
        {12, 6, 0, 1, 1.23456, "1.23456"},          // no zero to strip
        {10, 6, 0, -1, 3.0, "3.00000"},             // '#' kept, nothing stripped
        {10, 6, 0, 0, -0.0, "0"},
    };
    expectAll(std::begin(cases), std::end(cases));
}

TEST(StrPrintDouble, TooNarrowOrNoDigits)
{
    const Case cases[] = {
        {3, 6, 0, 0, 12345.0, "####"},   // integer longer than the width
        {5, 6, 0, 0, 12345.0, "12345"},
        {7, 6, 0, 0, 1.5, "####"},
        {8, 6, 0, 0, 1.5, "1.5"},
        {10, 0, 0, 0, 1.5, "####"},
        {10, 0, 0, 0, 3.0, "3"},
        {10, -5, 0, 1, 3.0, "####"},
        {-1, 6, 0, 0, 0.5, "####"},
        {-1, 6, 0, 0, 0.0, "####"},      // "0" is longer than width -1
        {INT32_MAX, 6, 1, 0, 2.5e+300, "2.5e300"}, // no overflow in the budget
    };
    expectAll(std::begin(cases), std::end(cases));
}

TEST(StrPrintDouble, SpecialValues)
{
    const double nan = DNaN();
    const double negNan = std::bit_cast<double>(uint64_t{0xFFF8000000000000});
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(print(10, 6, 0, 0, nan), ".NaN");
    EXPECT_EQ(print(3, 0, 2, 5, negNan), ".NaN");
    EXPECT_EQ(print(10, 6, 0, 0, inf), "+.Inf");
    EXPECT_EQ(print(10, 6, 1, 1, -inf), "-.Inf");
}

TEST(StrPrintDouble, NeverWritesPastSize)
{
    const double values[] = {DNaN(), -std::numeric_limits<double>::infinity(), 4294967296.0,
                             -1.23456789e-100, 0.25, 123456.789, 7.0, 1.5};
    for (double x : values) {
        for (size_t size = 0; size < 14; ++size) {
            char buf[24];
            std::memset(buf, '@', sizeof buf);
            StrPrintDouble(buf, size, 20, 15, 0, 0, x);
            for (size_t at = size; at < sizeof buf; ++at)
                ASSERT_EQ(buf[at], '@') << "size " << size << " x " << x;
            if (size > 0) {
                EXPECT_LT(std::strlen(buf), size);
            }
        }
    }
    char buf[4] = "abc";
    EXPECT_EQ(StrPrintDouble(buf, 0, 10, 6, 0, 0, 1.0), buf);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(StrPrintDouble(nullptr, 10, 10, 6, 0, 0, 1.0), nullptr);
}

} // namespace
