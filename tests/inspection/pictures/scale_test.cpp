#include "Inspection/pictures/internal/scale.h"

#include <gtest/gtest.h>

#include <vector>

namespace QELT::Inspection {
namespace {

TEST(Scale, beginsAndEndsOnRoundTicksAroundTheValues) {
    Scale const scale = scaleFor({11.62, 12.0, 12.48}, 0.0);
    EXPECT_DOUBLE_EQ(scale.step, 0.2);
    EXPECT_DOUBLE_EQ(scale.low, 11.6);
    EXPECT_DOUBLE_EQ(scale.high, 12.6);
    EXPECT_EQ(scale.ticks().size(), 6U);
    EXPECT_EQ(scale.labelOf(scale.ticks().front()), "11.6");
}

TEST(Scale, leavesAFewStraysOutside) {
    std::vector<double> values(1000, 5.0);
    values[3] = 4.0;
    values[500] = 6.0;
    values.push_back(9000.0);
    Scale const scale = scaleFor(values, 0.0);
    EXPECT_LT(scale.high, 10.0);
    EXPECT_EQ(scale.shareOf(9000.0), 1.0);
}

TEST(Scale, hasALengthForEqualValuesAndForNone) {
    for (auto const& values : {std::vector<double>{}, {3.0, 3.0}, {0.0}, {-1e9}}) {
        Scale const scale = scaleFor(values, 0.0);
        EXPECT_LT(scale.low, scale.high);
        EXPECT_GT(scale.step, 0.0);
        EXPECT_LE(scale.ticks().size(), 9U);
    }
}

TEST(Scale, countsInWholeNumbersFromZero) {
    Scale const scale = scaleFromZero({0.0, 1.0, 3.0}, 1.0);
    EXPECT_EQ(scale.low, 0.0);
    EXPECT_EQ(scale.step, 1.0);
    EXPECT_EQ(scale.high, 3.0);
    EXPECT_EQ(scale.labelOf(2.0), "2");
    EXPECT_EQ(scaleFromZero({0.0}, 1.0).high, 1.0);
}

TEST(Scale, sharesRunFromZeroToOneAndAreClamped) {
    Scale const scale{10.0, 20.0, 5.0};
    EXPECT_EQ(scale.shareOf(10.0), 0.0);
    EXPECT_EQ(scale.shareOf(15.0), 0.5);
    EXPECT_EQ(scale.shareOf(25.0), 1.0);
    EXPECT_EQ(scale.shareOf(-25.0), 0.0);
}

TEST(Scale, labelsHaveTheDecimalsOfTheStep) {
    EXPECT_EQ((Scale{0.0, 0.1, 0.02}.labelOf(0.04)), "0.04");
    EXPECT_EQ((Scale{0.0, 50.0, 10.0}.labelOf(30.0)), "30");
    EXPECT_EQ((Scale{-1.0, 1.0, 0.5}.labelOf(-0.0)), "0.0");
    EXPECT_EQ((Scale{0.0, 5e9, 1e9}.labelOf(3e9)), "3e+09");
}

} // namespace
} // namespace QELT::Inspection
