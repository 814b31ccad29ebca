#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

// The roundings of the library, in one place. Narrowing to float rounds to the nearest, ties to even, as the
// processor does; it happens wherever a coordinate is stored, and results depend on each one. Whole numbers
// come from doubles by cutting the fraction off or by rounding, and always saturate: a plain conversion of a
// value out of range, or of NaN, is undefined and gives different numbers on different processors.
//
// `roundHalfUp` looks at the fraction and not at `floor(value + 0.5)`, whose sum rounds up just below a half
// and changes odd numbers beyond 2^52. There is no tolerance anywhere. Each costs a few instructions.

namespace QELT {

/// The 32-bit float nearest to `value`. GCC's straight-line vectoriser can drop this rounding where two
/// narrowed values are widened again side by side, whatever flags the including project compiles with;
/// the empty statement hides the narrowed value from it.
inline float toFloat(double value) {
    float narrowed = static_cast<float>(value);
#if defined(__GNUC__) && !defined(__clang__)
#if defined(__SSE__)
    asm("" : "+x"(narrowed));
#elif defined(__aarch64__)
    asm("" : "+w"(narrowed));
#else
    asm("" : "+m"(narrowed));
#endif
#endif
    return narrowed;
}

/// `value` without its fraction as a signed 32-bit integer. Values beyond the range, infinities included,
/// give the end of the range that they pass; NaN gives 0.
inline std::int32_t truncateToInt32(double value) {
    constexpr double lowest = std::numeric_limits<std::int32_t>::min();
    constexpr double highest = std::numeric_limits<std::int32_t>::max();
    if (std::isnan(value)) {
        return 0;
    }
    if (value <= lowest) {
        return std::numeric_limits<std::int32_t>::min();
    }
    if (value >= highest) {
        return std::numeric_limits<std::int32_t>::max();
    }
    return static_cast<std::int32_t>(value);
}

/// `value` without its fraction as an unsigned 32-bit integer. Negative values and NaN give 0, values
/// beyond the range, infinity included, its end.
inline std::uint32_t truncateToUInt32(double value) {
    constexpr double highest = std::numeric_limits<std::uint32_t>::max();
    if (!(value > 0.0)) {
        return 0;
    }
    if (value >= highest) {
        return std::numeric_limits<std::uint32_t>::max();
    }
    return static_cast<std::uint32_t>(value);
}

/// The nearest whole number; a half goes upward, also for negative values: 2.5 gives 3, -2.5 gives -2.
inline double roundHalfUp(double value) {
    double const below = std::floor(value);
    return value - below >= 0.5 ? std::ceil(value) : below;
}

/// `roundHalfUp` as a signed 32-bit integer, for every value as `truncateToInt32` tells.
inline std::int32_t roundToInt32(double value) {
    // Where the neighbours are integers too, these do without the calls that floor and ceil can be.
    constexpr double safeLimit = std::numeric_limits<std::int32_t>::max();
    if (std::abs(value) < safeLimit) {
        auto const towardsZero = static_cast<std::int32_t>(value);
        std::int32_t const below = towardsZero - (towardsZero > value ? 1 : 0);
        return below + (value - below >= 0.5 ? 1 : 0);
    }
    return truncateToInt32(roundHalfUp(value));
}

} // namespace QELT
