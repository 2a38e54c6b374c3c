// The date of Easter Sunday by the Julian and Gregorian rules.
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

struct MonthDay {
    int month, day;
    bool operator==(const MonthDay &) const = default;
};

std::ostream &operator<<(std::ostream &out, const MonthDay &md)
{
    return out << md.month << '/' << md.day;
}

MonthDay easter(int year, int firstGregorian)
{
    MonthDay md{0, 0};
    const int day = GetDateOfEaster_jg(year, firstGregorian, &md.month, &md.day);
    EXPECT_EQ(day, md.day) << year;
    return md;
}

MonthDay easter(int year)
{
    MonthDay md{0, 0};
    const int day = GetDateOfEaster(year, &md.month, &md.day);
    EXPECT_EQ(day, md.day) << year;
    return md;
}

TEST(QvSystimEaster, KnownDates)
{
    const struct {
        int year;
        MonthDay expected;
    } cases[] = {
        {2024, {3, 31}}, {2025, {4, 20}}, {2000, {4, 23}},
        {1954, {4, 18}},  // H = 29 correction
        {1981, {4, 19}},  // H = 28 correction with G > 10
        {2285, {3, 22}},  // earliest possible
        {1943, {4, 25}}, {2038, {4, 25}},  // latest possible
        {2008, {3, 23}}, {2019, {4, 21}},
        {1582, {4, 15}},  // still the Julian rule
        {1583, {4, 10}},  // first Gregorian year
        {1, {3, 27}},
        {-1, {3, 29}},    // Julian rule with truncating division
    };
    for (const auto &c : cases)
        EXPECT_EQ(easter(c.year), c.expected) << c.year;
}

TEST(QvSystimEaster, SwitchYearChoosesTheRule)
{
    EXPECT_EQ(easter(2024, 9999), (MonthDay{4, 22}));
    EXPECT_EQ(easter(2025, 9999), (MonthDay{4, 7}));
    EXPECT_EQ(easter(1583, 1583), (MonthDay{4, 10}));
    EXPECT_EQ(easter(1583, 1584), (MonthDay{3, 31}));
    EXPECT_EQ(easter(1582, 1582), easter(1582, INT_MIN));
    // A negative year under the Gregorian rule where H is -1: the
    // correction term vanishes and nothing divides by zero.
    EXPECT_EQ(easter(-2991, INT_MIN), (MonthDay{4, 1}));
    GetDateOfEaster(2024, nullptr, nullptr);
}

TEST(QvSystimEaster, DayNumbers)
{
    EXPECT_EQ(GetEaster(2024), 2460401);
    EXPECT_EQ(GetEaster(0), -1);
    EXPECT_EQ(GetEaster(1), 1721509);
    EXPECT_EQ(GetEaster(1582), GetJulianDay(1582, 4, 15));
    int year, month, day;
    GetDateFromJulian(GetEaster(1582), &year, &month, &day);
    EXPECT_EQ(month * 100 + day, 415);
}

TEST(QvSystimEaster, AlwaysASundayBetweenMarch22AndApril25)
{
    for (int year = 1; year <= 4000; ++year) {
        const MonthDay md = easter(year);
        ASSERT_TRUE((md.month == 3 && md.day >= 22) || (md.month == 4 && md.day <= 25))
            << year << ": " << md;
        ASSERT_EQ(GetDayOfWeekFromJulian(GetEaster(year)), 1) << year;
    }
    for (int year = -3000; year <= 1582; ++year) {
        const MonthDay md = easter(year, INT_MAX);
        ASSERT_TRUE((md.month == 3 && md.day >= 22) || (md.month == 4 && md.day <= 25)
                    || year < 0) << year << ": " << md;
    }
}

}  // namespace
