#include "Geometry/foundations/rounding.h"

#include "tests/support/float_bits.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace QELT {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t highestUnsigned = std::numeric_limits<std::uint32_t>::max();

TEST(Rounding, ToFloatGivesTheNearestFloatWithTiesToEven) {
    EXPECT_EQ(toFloat(0.1), 0.1F);
    EXPECT_EQ(toFloat(1.0 + std::ldexp(1.0, -24)), 1.0F);
    EXPECT_EQ(toFloat(1.0 + std::ldexp(3.0, -24)), 1.0F + std::ldexp(1.0F, -22));
    EXPECT_EQ(toFloat(std::nextafter(1.0 + std::ldexp(1.0, -24), 2.0)), 1.0F + std::ldexp(1.0F, -23));
}

TEST(Rounding, ToFloatOverflowsToInfinityAndKeepsNaN) {
    EXPECT_EQ(toFloat(1e39), std::numeric_limits<float>::infinity());
    EXPECT_EQ(toFloat(-infinity), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(toFloat(nan)));
    EXPECT_TRUE(std::signbit(toFloat(-1e-60)));
}

TEST(Rounding, ToFloatKeepsItsRoundingWhereTwoResultsAreWidenedSideBySide) {
    std::mt19937 generator(1);
    for (int i = 0; i < 10000; ++i) {
        std::array<double, 2> const given = {Testing::randomSpread(generator, 100),
                                             Testing::randomSpread(generator, 100)};
        std::array<double, 2> widened{};
        widened[0] = static_cast<double>(toFloat(given[0]));
        widened[1] = static_cast<double>(toFloat(given[1]));
        ASSERT_TRUE(Testing::sameBits(widened[0], static_cast<double>(Testing::steppedFloat(given[0]))));
        ASSERT_TRUE(Testing::sameBits(widened[1], static_cast<double>(Testing::steppedFloat(given[1]))));
    }
}

TEST(Rounding, TruncationToSignedDropsTheFraction) {
    EXPECT_EQ(truncateToInt32(2.999), 2);
    EXPECT_EQ(truncateToInt32(-2.999), -2);
    EXPECT_EQ(truncateToInt32(-0.5), 0);
    EXPECT_EQ(truncateToInt32(2147483646.5), highest - 1);
    EXPECT_EQ(truncateToInt32(-2147483647.5), lowest + 1);
}

TEST(Rounding, TruncationToSignedSaturatesAndTakesNaNToZero) {
    EXPECT_EQ(truncateToInt32(nan), 0);
    EXPECT_EQ(truncateToInt32(infinity), highest);
    EXPECT_EQ(truncateToInt32(-infinity), lowest);
    EXPECT_EQ(truncateToInt32(2147483647.0), highest);
    EXPECT_EQ(truncateToInt32(2147483648.0), highest);
    EXPECT_EQ(truncateToInt32(-2147483648.0), lowest);
    EXPECT_EQ(truncateToInt32(-2147483648.5), lowest);
    EXPECT_EQ(truncateToInt32(1e300), highest);
    EXPECT_EQ(truncateToInt32(-1e300), lowest);
}

TEST(Rounding, TruncationToUnsignedDropsTheFraction) {
    EXPECT_EQ(truncateToUInt32(2.999), 2U);
    EXPECT_EQ(truncateToUInt32(0.999), 0U);
    EXPECT_EQ(truncateToUInt32(4294967294.5), highestUnsigned - 1);
}

TEST(Rounding, TruncationToUnsignedSaturatesAndTakesNaNToZero) {
    EXPECT_EQ(truncateToUInt32(nan), 0U);
    EXPECT_EQ(truncateToUInt32(-1.0), 0U);
    EXPECT_EQ(truncateToUInt32(-infinity), 0U);
    EXPECT_EQ(truncateToUInt32(4294967295.0), highestUnsigned);
    EXPECT_EQ(truncateToUInt32(4294967296.0), highestUnsigned);
    EXPECT_EQ(truncateToUInt32(infinity), highestUnsigned);
}

TEST(Rounding, HalvesGoUpwardForBothSigns) {
    EXPECT_EQ(roundHalfUp(2.5), 3.0);
    EXPECT_EQ(roundHalfUp(3.5), 4.0);
    EXPECT_EQ(roundHalfUp(-2.5), -2.0);
    EXPECT_EQ(roundHalfUp(-0.5), 0.0);
    EXPECT_EQ(roundHalfUp(0.5), 1.0);
    EXPECT_EQ(roundHalfUp(2.4999), 2.0);
    EXPECT_EQ(roundHalfUp(-2.5001), -3.0);
}

TEST(Rounding, ANumberJustUnderAHalfGoesDown) {
    EXPECT_EQ(roundHalfUp(std::nextafter(0.5, 0.0)), 0.0);
    EXPECT_EQ(roundHalfUp(std::nextafter(2.5, 0.0)), 2.0);
}

TEST(Rounding, LargeAndSpecialNumbersAreKept) {
    double const odd = 4503599627370497.0;
    EXPECT_EQ(roundHalfUp(odd), odd);
    EXPECT_EQ(roundHalfUp(infinity), infinity);
    EXPECT_EQ(roundHalfUp(-infinity), -infinity);
    EXPECT_TRUE(std::isnan(roundHalfUp(nan)));
}

TEST(Rounding, RoundingToSignedIsDefinedForEveryValue) {
    EXPECT_EQ(roundToInt32(2.5), 3);
    EXPECT_EQ(roundToInt32(-2.5), -2);
    EXPECT_EQ(roundToInt32(-2.6), -3);
    EXPECT_EQ(roundToInt32(nan), 0);
    EXPECT_EQ(roundToInt32(infinity), highest);
    EXPECT_EQ(roundToInt32(-infinity), lowest);
    EXPECT_EQ(roundToInt32(2147483647.5), highest);
    EXPECT_EQ(roundToInt32(-2147483649.0), lowest);
}

TEST(Rounding, RoundingToSignedIsThatOfTheWholeNumberTruncated) {
    auto const check = [](double value) {
        EXPECT_EQ(roundToInt32(value), truncateToInt32(roundHalfUp(value))) << value;
    };
    for (double const middle : {0.0, 1.0, 7.0, 1e6, 2147483645.0, 2147483646.0, 2147483647.0, 2147483648.0,
                                2147483649.0, 4503599627370496.0, 1e300}) {
        for (double const fraction : {0.0, 0.25, 0.5, 0.75}) {
            for (double const sign : {1.0, -1.0}) {
                double const value = sign * (middle + fraction);
                check(value);
                check(std::nextafter(value, infinity));
                check(std::nextafter(value, -infinity));
            }
        }
    }
    std::mt19937_64 random(5);
    for (int i = 0; i < 100000; ++i) {
        check(std::bit_cast<double>(random()));
        check(std::ldexp(static_cast<double>(static_cast<std::int64_t>(random())), -32));
    }
}

} // namespace
} // namespace QELT
