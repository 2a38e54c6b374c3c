#include "qvstring.h"
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

const double kInf = std::numeric_limits<double>::infinity();

TEST(StrPrintDouble, BandsModesAndKeptDecimals)
{
    // Width 12 and precision 10 make each band's digit budget the limit; keepDecimals 9 shows it. Below size, '%g'
    // and "%d" are cut at size - 1, fixed texts and '.' are not; size 0 stores only a fixed text ("@": nothing).
    struct Case {
        int width, precision, mode, keep;
        double x;
        const char *out;
        size_t size = 64;
    };
    const std::vector<Case> bands = {
        {12, 10, 0, 9, 1e-99, "1.00000e-99"},
        {12, 10, 0, 9, 1e-9, "1.000000e-9"},
        {12, 10, 2, 9, 1e-4, ".000100000"},
        {12, 10, 0, 20, 1e-4, "0.000100000"}, // no exponent from 1e-4 on: the zeros after the point cost digits
        {8, 10, 0, 9, 1.0, "1.0"},            // 1 itself is in the band of the integers
        {12, 10, 0, 0, 2147483647.0, "2147483647"},
        {12, 1, 0, 0, 100.5, "100."},                // all three digits of a power of ten, though only one is asked for
        {12, 10, 0, 9, 2147483647.0, "2147483647."}, // INT_MAX keeps all its digits with decimals kept too
        {12, 10, 0, 9, 1e100, "1.0000e+100"},
        {INT32_MAX, 6, 1, 0, 2.5e+300, "2.5e300"},
    };
    const std::vector<Case> others = {
        {10, 6, 0, 0, 1e-5, "1e-5"},  {10, 6, 2, 0, -0.5, "-.5"},       {10, 6, 0, 2, 3.0, "3.00"},
        {12, 4, 0, 1, 0.0, "0.0"},    {12, 6, 0, 2, 1.5e-7, "1.50e-7"}, {10, 6, 0, -1, 3.0, "3.00000"},
        {10, 6, 0, 0, -0.0, "0"},     {3, 6, 0, 0, 12345.0, "####"},    {5, 6, 0, 0, 12345.0, "12345"},
        {7, 6, 0, 0, 1.5, "####"},    {10, 0, 0, 0, 1.5, "####"},       {10, 0, 0, 0, 3.0, "3"},
        {10, -5, 0, 1, 3.0, "####"},  {-1, 6, 0, 0, 0.0, "####"},       {10, 6, 0, 0, DNaN(), ".NaN"},
        {10, 6, 0, 0, kInf, "+.Inf"}, {10, 6, 1, 1, -kInf, "-.Inf"},
    };
    const std::vector<Case> cut = {
        {20, 15, 0, 0, DNaN(), ".NaN", 0},    {20, 15, 0, 0, -kInf, "-.Inf", 1},
        {20, 15, 0, 0, 7.0, "@", 0},          {20, 15, 0, 0, 7.0, "", 1},
        {20, 15, 0, 0, 0.25, ".", 1},         {20, 15, 0, 0, 0.25, "0.2", 4},
        {20, 15, 0, 0, 4294967296.0, ".", 1}, {20, 15, 0, 0, 4294967296.0, "4294.", 5},
        {7, 6, 0, 0, 1.5, "####", 2},         {20, 15, 0, 0, 0.2000001, "0.20", 5}, // a zero the cut leaves stays
    };
    for (const auto *cases : {&bands, &others, &cut})
        for (const Case &c : *cases) {
            std::string buf(72, '@');
            const std::string want = *c.out == '@' ? "" : std::string(c.out) + '\0';
            EXPECT_EQ(StrPrintDouble(buf.data(), c.size, c.width, c.precision, c.mode, c.keep, c.x), buf.data());
            SCOPED_TRACE(testing::Message() << c.width << " " << c.precision << " " << c.mode << " " << c.keep << " "
                                            << c.x << " in " << c.size);
            EXPECT_EQ(buf.substr(0, want.size()), want);
            EXPECT_TRUE(c.size == 64 || buf.find_first_not_of('@', want.size()) == std::string::npos) << buf;
        }
    // Any width and precision cost only the digits that can show: the exact expansions fit in 63 characters.
    char exact[64];
    for (int keep : {0, 1}) {
        EXPECT_STREQ(StrPrintDouble(exact, sizeof exact, INT32_MAX, INT32_MAX, 0, keep, 0.1),
                     "0.1000000000000000055511151231257827021181583404541015625");
        EXPECT_STREQ(StrPrintDouble(exact, sizeof exact, INT32_MAX, INT32_MAX, 0, keep, 1.0 / 3),
                     "0.333333333333333314829616256247390992939472198486328125");
    }
    EXPECT_STREQ(StrPrintDouble(exact, 30, INT32_MAX, INT32_MAX, 1, 1, 1.5), "1.5");
    EXPECT_STREQ(StrPrintDouble(exact, 30, INT32_MAX, INT32_MAX, 0, 0, 1e300), "10000000000000000525047602552.");
    char nine[9]; // mode 2 drops the '0' of a text that fills the buffer: nothing past it is read
    EXPECT_STREQ(StrPrintDouble(nine, sizeof nine, 8, 6, 2, 0, 0.123456789), ".123457");
    EXPECT_EQ(StrPrintDouble(nullptr, 10, 10, 6, 0, 0, 1.0), nullptr);
}

} // namespace
