#include "qvsystim.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

TEST(QvSystimValues, BitPatternsAndEquality)
{
    const auto fromBits = [](uint64_t bits) { return std::bit_cast<double>(bits); };
    double nan = 1.0, inf = 1.0;
    SetNaN(&nan), SetInf(&inf), InitFPU(), SetNaN(nullptr), SetInf(nullptr); // nothing to do, null ignored
    EXPECT_EQ((std::vector{std::bit_cast<uint64_t>(DNaN()), std::bit_cast<uint64_t>(nan),
                           std::bit_cast<uint64_t>(DInf()), std::bit_cast<uint64_t>(inf)}),
              (std::vector<uint64_t>{0x7FF8000000000000, 0x7FF8000000000000, 0x7FF0000000000000, 0x7FF0000000000000}));
    // Signalling NaNs with only the lowest mantissa bit or only byte 5 set; an exponent with bit 56 clear.
    const struct {
        uint64_t bits;
        int nan, inf;
    } cases[] = {{0xFFF8000000000000, 1, 0}, {0x7FF0000000000001, 1, 0}, {0x7FF0010000000000, 1, 0},
                 {0x7FF0000000000000, 0, 1}, {0xFFF0000000000000, 0, 1}, {0x7FEFFFFFFFFFFFFF, 0, 0},
                 {0x7EF0000000000001, 0, 0}};
    for (const auto &c : cases)
        EXPECT_EQ((std::vector{FIsNaN(fromBits(c.bits)), FIsInf(fromBits(c.bits)), FIsInfOrNaN(fromBits(c.bits)),
                               DoubleIsEqual(fromBits(c.bits), nan)}),
                  (std::vector{c.nan, c.inf, c.nan | c.inf, c.nan}))
            << std::hex << c.bits;
    EXPECT_EQ((std::vector{DoubleIsEqual(0.0, -0.0), DoubleIsEqual(inf, inf), DoubleIsEqual(inf, -inf),
                           DoubleIsEqual(1.0, std::nextafter(1.0, 2.0))}),
              (std::vector{1, 1, 0, 0}));
    for (const auto &[bits, isNaN] : {std::pair{0x7F800000u, 1}, {0x7F800001u, 1}, {0x7F7FFFFFu, 0}}) // infinity counts
        EXPECT_EQ(FIsNaNfloat(std::bit_cast<float>(bits)), isNaN) << std::hex << bits;
}
