// qvsystim_values: the library's one NaN and one infinity for binary64
// doubles, and tests on them. Every test reads the raw bit pattern of the
// value, never a floating-point comparison, and ignores the sign bit.
#include "qvsystim.h"

#include <bit>
#include <cstdint>

namespace {

constexpr uint64_t kNaNBits = 0x7FF8000000000000ULL;
constexpr uint64_t kInfBits = 0x7FF0000000000000ULL;
constexpr uint64_t kExpBits = 0x7FF0000000000000ULL;
constexpr uint64_t kMantissaBits = 0x000FFFFFFFFFFFFFULL;
constexpr uint32_t kFloatExpBits = 0x7F800000U;
// Bytes 2 and 3 of the float pattern; byte 3 carries seven exponent bits,
// which is why float infinities count as NaN below.
constexpr uint32_t kFloatHighBytes = 0xFFFF0000U;

} // namespace

extern "C" {

void InitFPU(void) {}

void SetNaN(double *pd)
{
    if (pd)
        *pd = std::bit_cast<double>(kNaNBits);
}

double DNaN(void)
{
    return std::bit_cast<double>(kNaNBits);
}

void SetInf(double *pd)
{
    if (pd)
        *pd = std::bit_cast<double>(kInfBits);
}

double DInf(void)
{
    return std::bit_cast<double>(kInfBits);
}

int FIsNaN(double x)
{
    const uint64_t bits = std::bit_cast<uint64_t>(x);
    if ((bits & kExpBits) != kExpBits)
        return 0;
    return (bits & kMantissaBits) != 0;
}

int FIsInf(double x)
{
    const uint64_t bits = std::bit_cast<uint64_t>(x);
    if ((bits & kExpBits) != kExpBits)
        return 0;
    return (bits & kMantissaBits) == 0;
}

int FIsInfOrNaN(double x)
{
    return (std::bit_cast<uint64_t>(x) & kExpBits) == kExpBits;
}

int FIsNaNfloat(float f)
{
    const uint32_t bits = std::bit_cast<uint32_t>(f);
    if ((bits & kFloatExpBits) != kFloatExpBits)
        return 0;
    return (bits & kFloatHighBytes) != 0;
}

int DoubleIsEqual(double x, double y)
{
    const int xNaN = FIsNaN(x);
    const int yNaN = FIsNaN(y);
    if (xNaN || yNaN)
        return xNaN && yNaN;
    return x == y;
}

} // extern "C"
