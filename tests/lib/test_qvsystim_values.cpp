// The library's NaN and infinity, and the bit-pattern tests on doubles and
// floats.
#include "qvsystim.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cstdint>
#include <limits>

namespace {

double fromBits(uint64_t bits) { return std::bit_cast<double>(bits); }
float fromBits32(uint32_t bits) { return std::bit_cast<float>(bits); }

TEST(QvSystimValues, MakersGiveTheFixedPatterns)
{
    InitFPU();
    EXPECT_EQ(std::bit_cast<uint64_t>(DNaN()), 0x7FF8000000000000ULL);
    EXPECT_EQ(std::bit_cast<uint64_t>(DInf()), 0x7FF0000000000000ULL);
    double value = 1.0;
    SetNaN(&value);
    EXPECT_EQ(std::bit_cast<uint64_t>(value), 0x7FF8000000000000ULL);
    SetInf(&value);
    EXPECT_EQ(std::bit_cast<uint64_t>(value), 0x7FF0000000000000ULL);
    SetNaN(nullptr);
    SetInf(nullptr);
}

struct DoubleCase {
    uint64_t bits;
    int nan, inf, infOrNaN;
};

TEST(QvSystimValues, DoubleTestsReadTheBitPattern)
{
    const DoubleCase cases[] = {
        {0x7FF8000000000000ULL, 1, 0, 1},  // the library's NaN
        {0xFFF8000000000000ULL, 1, 0, 1},  // negative quiet NaN
        {0x7FF0000000000001ULL, 1, 0, 1},  // signalling, lowest mantissa bit
        {0x7FF1000000000000ULL, 1, 0, 1},  // only bit 48 of the mantissa
        {0x7FF0010000000000ULL, 1, 0, 1},  // only byte 5
        {0xFFFFFFFFFFFFFFFFULL, 1, 0, 1},
        {0x7FF0000000000000ULL, 0, 1, 1},  // +infinity
        {0xFFF0000000000000ULL, 0, 1, 1},  // -infinity
        {0x7FEFFFFFFFFFFFFFULL, 0, 0, 0},  // largest finite
        {0x7FE0000000000001ULL, 0, 0, 0},  // one exponent bit short
        {0x780FFFFFFFFFFFFFULL, 0, 0, 0},  // top exponent byte set, low nibble not
        {0x0000000000000001ULL, 0, 0, 0},  // smallest denormal
        {0x800FFFFFFFFFFFFFULL, 0, 0, 0},  // negative denormal
        {0x0000000000000000ULL, 0, 0, 0},
        {0x8000000000000000ULL, 0, 0, 0},
        {0x3FF0000000000000ULL, 0, 0, 0},  // 1.0
    };
    for (const DoubleCase &c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.bits);
        EXPECT_EQ(FIsNaN(fromBits(c.bits)), c.nan);
        EXPECT_EQ(FIsInf(fromBits(c.bits)), c.inf);
        EXPECT_EQ(FIsInfOrNaN(fromBits(c.bits)), c.infOrNaN);
    }
}

TEST(QvSystimValues, FloatTestCountsInfinitiesAsNaN)
{
    const struct {
        uint32_t bits;
        int expected;
    } cases[] = {
        {0x7F800000U, 1},  // +infinity
        {0xFF800000U, 1},  // -infinity
        {0x7F800001U, 1},  // signalling NaN seen only in the low bits
        {0x7FC00000U, 1},
        {0xFFFFFFFFU, 1},
        {0x7F7FFFFFU, 0},  // largest finite
        {0x00000001U, 0},
        {0x00000000U, 0},
        {0x3F800000U, 0},  // 1.0f
        {0x7F000000U, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(FIsNaNfloat(fromBits32(c.bits)), c.expected) << std::hex << c.bits;
}

TEST(QvSystimValues, EqualityTreatsAllNaNsAsOneValue)
{
    const double quiet = DNaN();
    const double negativeSignalling = fromBits(0xFFF0000000000001ULL);
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(DoubleIsEqual(quiet, quiet), 1);
    EXPECT_EQ(DoubleIsEqual(quiet, negativeSignalling), 1);
    EXPECT_EQ(DoubleIsEqual(quiet, 0.0), 0);
    EXPECT_EQ(DoubleIsEqual(0.0, negativeSignalling), 0);
    EXPECT_EQ(DoubleIsEqual(quiet, inf), 0);
    EXPECT_EQ(DoubleIsEqual(0.0, -0.0), 1);
    EXPECT_EQ(DoubleIsEqual(inf, inf), 1);
    EXPECT_EQ(DoubleIsEqual(inf, -inf), 0);
    EXPECT_EQ(DoubleIsEqual(1.0, 1.0 + DBL_EPSILON), 0);
    EXPECT_EQ(DoubleIsEqual(DBL_MIN, DBL_MIN), 1);
}

}  // namespace
