#include "Inspection/pictures/internal/colourmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace QELT::Inspection {
namespace {

TEST(ColourMap, growsLighterAtEveryStep) {
    constexpr int steps = 64;
    for (int i = 0; i < steps; ++i) {
        Colour const darker = colourOfShare(static_cast<double>(i) / steps);
        Colour const lighter = colourOfShare(static_cast<double>(i + 1) / steps);
        EXPECT_LT(lightnessOf(darker), lightnessOf(lighter)) << i;
    }
}

TEST(ColourMap, spreadsLightnessEvenly) {
    double const low = lightnessOf(colourOfShare(0.0));
    double const high = lightnessOf(colourOfShare(1.0));
    EXPECT_GT(high - low, 0.6);
    for (int i = 1; i < 20; ++i) {
        double const share = i / 20.0;
        EXPECT_NEAR(lightnessOf(colourOfShare(share)), low + share * (high - low), 0.03) << share;
    }
}

TEST(ColourMap, clampsSharesOutsideAndTakesNoNumberAsZero) {
    EXPECT_EQ(colourOfShare(-3.0), colourOfShare(0.0));
    EXPECT_EQ(colourOfShare(7.0), colourOfShare(1.0));
    EXPECT_EQ(colourOfShare(std::numeric_limits<double>::quiet_NaN()), colourOfShare(0.0));
}

TEST(ColourMap, hasNoGreyAndNoWhiteWhichMeanThatThereIsNoValue) {
    for (int i = 0; i <= 100; ++i) {
        Colour const colour = colourOfShare(i / 100.0);
        int const highest = std::max({colour.red, colour.green, colour.blue});
        int const lowest = std::min({colour.red, colour.green, colour.blue});
        EXPECT_GE(highest - lowest, 40) << i;
    }
}

TEST(Lightness, isZeroForBlackAndOneForWhite) {
    EXPECT_NEAR(lightnessOf(black), 0.0, 1e-6);
    EXPECT_NEAR(lightnessOf(white), 1.0, 1e-4);
}

} // namespace
} // namespace QELT::Inspection
