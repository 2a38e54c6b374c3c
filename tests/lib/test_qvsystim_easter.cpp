#include "qvsystim.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>
#include <vector>

TEST(QvSystimEaster, BothRulesAndDayNumbers)
{
    const struct {
        int year, firstGregorian, month, day;
    } cases[] = {
        // first Gregorian year 0: GetDateOfEaster
        {2024, 0, 3, 31},    {2025, 0, 4, 20},        {2000, 0, 4, 23},       {1954, 0, 4, 18}, // H = 29 correction
        {1981, 0, 4, 19},                                                     // H = 28 correction with G > 10
        {2285, 0, 3, 22},                                                     // the earliest possible
        {1582, 0, 4, 15},                                                     // still the Julian rule
        {1583, 0, 4, 10},    {-1, 0, 3, 29},                                  // truncating division
        {2024, 9999, 4, 22}, {2024, 2024, 3, 31},     {-2991, INT_MIN, 4, 1}, // H = -1: nothing divides by zero
        {INT_MAX, 0, 4, 14}, {INT_MAX - 3, 0, 4, 17}, {2000000000, 0, 4, 23}, // weekday sums past 32 bits
    };
    for (const auto &c : cases) {
        std::vector<int> got(3);
        got[0] = c.firstGregorian ? GetDateOfEaster_jg(c.year, c.firstGregorian, &got[1], &got[2])
                                  : GetDateOfEaster(c.year, &got[1], &got[2]);
        EXPECT_EQ(got, (std::vector{c.day, c.month, c.day})) << c.year;
    }
    EXPECT_EQ((std::vector{GetEaster(2024), GetEaster(1), GetEaster(0)}), (std::vector{2460401, 1721509, -1}));
    GetDateOfEaster(2024, nullptr, nullptr);
    // A Sunday from March 22 to April 25, also in the last years whose day numbers an int holds.
    for (const auto &[first, last] : {std::pair{1, 4000}, {5872899, 5874898}})
        for (int year = first; year <= last; ++year) {
            const int easter = GetEaster(year), march21 = GetJulianDay(year, 3, 21);
            ASSERT_TRUE(easter > march21 && easter <= march21 + 35 && GetDayOfWeekFromJulian(easter) == 1) << year;
        }
}
