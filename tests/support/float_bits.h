#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>

#include <gtest/gtest.h>

/// Comparison by bits, and float arithmetic that rounds after every single step whatever the optimiser does:
/// each intermediate value goes through a volatile object.

namespace QELT::Testing {

/// Equal bits, so that -0 differs from 0; all NaNs count as the same.
inline testing::AssertionResult sameBits(double actual, double expected) {
    bool const same = std::isnan(expected)
                          ? std::isnan(actual)
                          : std::bit_cast<std::uint64_t>(actual) == std::bit_cast<std::uint64_t>(expected);
    if (same) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << testing::PrintToString(actual) << " is not "
                                       << testing::PrintToString(expected) << " to the bit";
}

inline float steppedFloat(double value) {
    double volatile source = value;
    float volatile narrowed = static_cast<float>(source);
    return narrowed;
}

inline float steppedFloatSum(float a, float b) {
    float volatile left = a;
    float volatile right = b;
    float volatile sum = left + right;
    return sum;
}

inline float steppedFloatDifference(float a, float b) {
    float volatile left = a;
    float volatile right = b;
    float volatile difference = left - right;
    return difference;
}

/// A number of either sign whose magnitude is spread evenly over the powers of two between 2^-range and
/// 2^range.
inline double randomSpread(std::mt19937& generator, int range) {
    std::uniform_real_distribution<double> exponent(-range, range);
    std::uniform_int_distribution<int> sign(0, 1);
    double const magnitude = std::exp2(exponent(generator));
    return sign(generator) == 0 ? magnitude : -magnitude;
}

} // namespace QELT::Testing
