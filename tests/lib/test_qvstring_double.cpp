// Numbers as text: a double in a fixed width, hex bit patterns and date stamps.
#include "qvstring.h"
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

double below(double edge)
{
    return std::nextafter(edge, 0.0);
}
double above(double edge)
{
    return std::nextafter(edge, 1e300);
}
const double kInf = std::numeric_limits<double>::infinity(), kDay = 2451545.0; // 2000-01-01, a Saturday
double at(int hour, int minute, int second, int hundredths)                    // a time of day in exact hundredths
{
    return (((hour * 60 + minute) * 60 + second) * 100 + hundredths) / 8640000.0;
}

TEST(StrPrintDouble, BandsModesAndKeptDecimals)
{
    // Width 12 and precision 10 make each band's digit budget the limit; keepDecimals 9 shows it. Below the
    // room asked for (size), '%g' and "%d" are cut at size - 1, the fixed texts and the '.' are not; size 0
    // stores only a fixed text ("@": nothing stored). Then nothing lands past the text and its terminator.
    struct Case {
        int width, precision, mode, keep;
        double x;
        const char *out;
        size_t size = 64;
    };
    const std::vector<Case> bands = {
        {12, 10, 0, 9, below(1e-99), "1.0000e-99"},
        {12, 10, 0, 9, 1e-99, "1.00000e-99"},
        {12, 10, 0, 9, below(1e-9), "1.00000e-9"},
        {12, 10, 0, 9, 1e-9, "1.000000e-9"},
        {12, 10, 0, 9, below(1e-4), "0.000100000"},
        {12, 10, 2, 0, below(1e-4), "0.0001"},
        {12, 10, 2, 9, 1e-4, ".000100000"},
        {12, 10, 0, 9, below(1.0), "1.00000000"},
        {12, 10, 0, 0, below(1.0), "1."},
        {12, 10, 2, 0, below(1.0), "1"},
        {12, 10, 0, 0, 1.0, "1"},
        {12, 10, 0, 0, 2147483647.0, "2147483647"},
        {12, 10, 0, 0, below(2147483647.0), "2147483647."},
        {12, 10, 0, 0, above(2147483647.0), "2.14748e+9"},
        {12, 10, 0, 9, below(1e100), "1.00000e+100"},
        {12, 10, 0, 9, 1e100, "1.0000e+100"},
        {12, 10, 2, 0, 1e100, "1e100"},
        {12, 10, 0, 0, -2147483647.0, "-2147483647"},
        {12, 10, 0, 0, -2147483648.0, "-2.14748e+9"},
        {12, 10, 0, 0, -1.23456789e-100, "-1.2346e-100"},
        {12, 10, 2, 0, -0.00123456789, "-.0012345679"},
        {12, 10, 1, 0, -1.23456789e200, "-1.23457e200"},
        {10, 15, 0, 0, 123456.789, "1.235e+5"},
        {12, 11, 0, 0, -123456.789, "-123457."},
        {8, 6, 0, 0, 123456789.5, "1.2e+8"},
        {20, 15, 0, 0, 4294967296.0, "4294967296."},
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
        {20, 15, 0, 0, 123456.7, "123.", 4},  {20, 15, 0, 0, -1.23456789e-100, "-1.2345", 8},
        {7, 6, 0, 0, 1.5, "####", 2},         {20, 15, 0, 0, -1.23456789e-100, "-1.23456789e-1", 15},
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
    EXPECT_EQ(StrPrintDouble(nullptr, 10, 10, 6, 0, 0, 1.0), nullptr);
}

TEST(DHexToDouble, PatternsMostSignificantFirst)
{
    const char unterminated[16] = {'4', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0'};
    const struct {
        const char *text;
        uint64_t bits;
    } cases[] = {
        {"3FF0000000000000", 0x3FF0000000000000},
        {nullptr, 0},
        {"C000000000000000", 0xC000000000000000},
        {"0123456789abcdef", 0x0123456789ABCDEF},
        {"3FF00000000000001", 0x3FF0000000000000},
        {unterminated, 0x4000000000000000}, // 16 characters count
        {"0!", 0xCA},                       // no validation: 'g' is 16, '!' is -54
    };
    for (const auto &c : cases)
        EXPECT_EQ(std::bit_cast<uint64_t>(DHexToDouble(c.text)), c.bits) << (c.text ? c.text : "");
}

TEST(Dbl2DateStrA, EveryFlagCombination)
{
    const double noon = kDay + 0.5, halfPast = kDay + at(12, 30, 0, 50);
    char small[8]; // a size of 3 still holds "."
    const struct {
        int dayName, midnight, space, seconds;
        double x;
        const char *out;
    } cases[] = {
        {1, 1, 1, 0, kDay, "2000-01-01 Sat 00:00"},       {0, 0, 0, 0, kDay, "2000-01-01"},
        {0, 1, 0, 0, kDay, "2000-01-01T00:00"},           {1, 0, 0, 0, kDay, "2000-01-01 Sat"},
        {0, 1, 1, 1, kDay, "2000-01-01 00:00:00"},        {1, 1, 1, 1, std::nan(""), "."},
        {0, 0, 0, 0, noon, "2000-01-01T12:00"},           {1, 0, 0, 0, 1.0, "-4713-01-02 Tue"},
        {1, 0, 1, 0, noon, "2000-01-01 Sat 12:00"},       {0, 1, 0, 0, -1.0, "-4714-12-31T00:00"},
        {0, 0, 0, 0, halfPast, "2000-01-01T12:30:00.50"}, {0, 0, 0, 0, kDay + 0.999999999, "2000-01-01T24:00"},
        {0, 0, 0, -1, halfPast, "2000-01-01T12:30"},      {1, 1, 1, 0, 0.75, "18:00"},
        {0, 0, 0, 2, halfPast, "2000-01-01T12:30.50"},    {0, 0, 0, 0, 0.0, "00:00"},
        {0, 0, 0, 0, at(12, 0, 0, 50), "12:00:00.50"},    {1, 1, 1, 0, -0.25, ""},
    };
    for (const auto &c : cases) {
        char buf[64] = "@";
        EXPECT_EQ(Dbl2DateStrA(buf, sizeof buf, c.dayName, c.midnight, c.space, c.seconds, c.x), buf);
        EXPECT_STREQ(buf, c.out) << c.dayName << c.midnight << c.space << c.seconds << " " << c.x;
    }
    const std::string full = "2000-01-01 Sat 12:30:00.50";
    for (size_t size = 0; size <= full.size() + 1; ++size) { // cut to size
        std::string buf(40, '@');
        Dbl2DateStrA(buf.data(), size, 1, 1, 1, 0, halfPast);
        const size_t kept = size == 0 ? 0 : std::min(size - 1, full.size());
        EXPECT_EQ(buf, (size ? full.substr(0, kept) + '\0' : "") + std::string(40 - kept - (size > 0), '@')) << size;
    }
    EXPECT_STREQ(Dbl2DateStrA(small, 3, 0, 0, 0, 0, std::nan("")), ".");
    char midnight[16]; // the midnight time is appended whole: size + 9 bytes
    EXPECT_STREQ(Dbl2DateStrA(midnight, 5, 1, 1, 0, 1, kDay), "2000T00:00:00");
}

TEST(Dbl2DateStr, WidensOrLeavesUntouched)
{
    std::wstring ws(24, L'@');
    EXPECT_EQ(Dbl2DateStr(ws.data(), 15, 0, 0, 0, 0, kDay + 0.5), ws.data()); // 16 characters: too long
    EXPECT_EQ(Dbl2DateStr(ws.data(), 0, 1, 1, 1, 0, -0.25), ws.data());       // the empty text's terminator, widened
    EXPECT_EQ(ws, std::wstring(1, L'\0') + std::wstring(23, L'@'));
    EXPECT_EQ(Dbl2DateStr(ws.data(), 16, 0, 0, 0, 0, kDay + 0.5), ws.data());
    EXPECT_EQ(ws.substr(0, 18), std::wstring(L"2000-01-01T12:00\0@", 18));
    EXPECT_TRUE(!Dbl2DateStr(nullptr, 8, 0, 0, 0, 0, 1.0) && !Dbl2DateStrA(nullptr, 8, 0, 0, 0, 0, 1.0));
}

} // namespace
