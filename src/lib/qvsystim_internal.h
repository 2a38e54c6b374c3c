// qvsystim_internal: helpers shared by the qvsystim sources. Internal to the
// library; not installed.
//
// The calendar and Easter formulas were first computed in 32-bit int
// arithmetic; wrap32 gives what that arithmetic gave for any 64-bit sum or
// product, without the undefined behaviour of a signed overflow.
#ifndef QVSYSTIM_INTERNAL_H
#define QVSYSTIM_INTERNAL_H

#include <cstdint>

// Hidden: the shared library exports only the public functions.
#pragma GCC visibility push(hidden)

namespace qvsystim {

// One hundredth of a second as a fraction of a day: 1 / 8640000, the
// double the stored day fractions were made with.
inline constexpr double kDayPerHsec = 1.1574074074074074e-07;

// The low 32 bits of value as a two's complement int.
constexpr int wrap32(int64_t value)
{
    return static_cast<int>(static_cast<uint32_t>(value));
}

} // namespace qvsystim

#pragma GCC visibility pop

#endif // QVSYSTIM_INTERNAL_H
