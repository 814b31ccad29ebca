#include "Inspection/pictures/valuepicture.h"

#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/pictures/internal/lengthaxis.h"
#include "Inspection/records/failure.h"
#include "tests/inspection/sampleresults.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <tuple>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

constexpr Colour black15{15, 15, 15};
constexpr Colour pink{235, 60, 150};

/// Ten pixels in a row with the values 0 to 9.
Result row() {
    Result result = surfaceOn(10, 1, flat(1.0));
    ValueMap map;
    map.name = "a:max";
    map.quantity = "a";
    map.unit = "dB";
    for (std::size_t u = 0; u < 10; ++u) {
        map.values.push_back(static_cast<double>(u));
        result.states[u] = PixelState::Echo;
    }
    result.values.push_back(map);
    return result;
}

std::size_t dotsOf(Image const& image, Colour colour) {
    std::size_t count = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            count += image.getPixel(x, y) == colour ? 1U : 0U;
        }
    }
    return count;
}

std::size_t const dotsPerPixel = 64 * 64;

} // namespace

TEST(ValuePicture, everyPixelHasTheColourOfItsValue) {
    Result const result = row();
    ValuePictureOptions options;
    options.limits = std::array{0.0, 9.0};
    Image const image = valuePicture(result, result.values[0], options);

    for (double const value : {0.0, 4.0, 9.0}) {
        EXPECT_GE(dotsOf(image, colourOfShare(value / 9.0)), dotsPerPixel) << value;
    }
}

TEST(ValuePicture, inBandsThereAreAsManyColours) {
    Result const result = row();
    ValuePictureOptions options;
    options.bands = {0.0, 3.0, 6.0, 9.0};
    Image const image = valuePicture(result, result.values[0], options);

    EXPECT_GE(dotsOf(image, colourOfShare(0.0)), 3 * dotsPerPixel);
    EXPECT_GE(dotsOf(image, colourOfShare(0.5)), 3 * dotsPerPixel);
    EXPECT_GE(dotsOf(image, colourOfShare(1.0)), 4 * dotsPerPixel)
        << "the last one's upper end belongs to it";
}

TEST(ValuePicture, statesAreNoValues) {
    Result result = row();
    result.values[0].ceiling = 9.0;
    result.states[9] = PixelState::Saturated;
    result.states[0] = PixelState::NoEcho;
    result.values[0].values[0] = NAN;
    Image const image = valuePicture(result, result.values[0]);

    EXPECT_GE(dotsOf(image, pink), dotsPerPixel);
    EXPECT_GE(dotsOf(image, black15), dotsPerPixel);
    EXPECT_EQ(0u, dotsOf(valuePicture(row(), row().values[0]), pink));
}

TEST(ValuePicture, aFilledPixelIsHatched) {
    Result result = row();
    result.states[5] = PixelState::NotReached;
    result.values[0].values[5] = NAN;
    ValuePictureOptions options;
    options.limits = std::array{0.0, 9.0};
    std::size_t const alone =
        dotsOf(valuePicture(result, result.values[0], options), colourOfShare(4.0 / 9.0));
    result.filledFrom[5] = 4;
    std::size_t const both =
        dotsOf(valuePicture(result, result.values[0], options), colourOfShare(4.0 / 9.0));

    EXPECT_EQ(dotsPerPixel / 2, both - alone);
}

TEST(ValuePicture, mapsRunEvenlyFromDarkToLight) {
    Result const result = row();
    ValuePictureOptions options;
    options.limits = std::array{0.0, 9.0};
    options.map = ColourMap::Grey;
    Image const image = valuePicture(result, result.values[0], options);

    EXPECT_GE(dotsOf(image, Colour{30, 30, 30}), dotsPerPixel);
    EXPECT_GE(dotsOf(image, Colour{245, 245, 245}), dotsPerPixel);
}

TEST(ValuePicture, ResidualsHaveTheirZeroInTheMiddleOfDivergingColours) {
    ValueMap map;
    map.quantity = "residual";
    map.values = {-0.1, NAN, 0.3, 0.7};
    ValuePictureOptions const style = usualStyleOf(map);
    EXPECT_EQ(ColourMap::Diverging, style.map);
    ASSERT_TRUE(style.limits);
    EXPECT_EQ(-1.0, (*style.limits)[0]); // in steps of a half
    EXPECT_EQ(1.0, (*style.limits)[1]);

    map.values = {NAN};
    EXPECT_FALSE(usualStyleOf(map).limits);
    map.quantity = "standoff";
    EXPECT_EQ(ColourMap::Colour, usualStyleOf(map).map);
}

TEST(ValuePicture, limitsAndBandsHaveToRise) {
    Result const result = row();
    ValuePictureOptions options;
    options.limits = std::array{3.0, 3.0};
    EXPECT_THROW(valuePicture(result, result.values[0], options), Failure);
    options.limits.reset();
    options.bands = {1.0};
    EXPECT_THROW(valuePicture(result, result.values[0], options), Failure);
}

TEST(ValuePicture, aResultWithoutValuesOrPixelsIsDrawn) {
    Result empty = surfaceOn(3, 2, flat(1.0));
    ValueMap map;
    map.name = "a:max";
    map.values.assign(6, NAN);
    EXPECT_GT(valuePicture(empty, map).getWidth(), 0);
    EXPECT_GT(statePicture(surfaceOn(1, 1, flat(1.0))).getWidth(), 0);
}

TEST(LengthAxis, tellsLengthsOnTheSurface) {
    // Columns of width 1, 2, 3, 4.
    Result const result =
        surfaceOn(4, 3, [](double u, double v) { return Vector(u * (u + 1.0) / 2.0, v, 0.0); });
    LengthAxis const axis = axisAlongU(result);

    EXPECT_EQ(1u, axis.line) << "the middle one of equal rows";
    ASSERT_EQ(5u, axis.lengths.size());
    EXPECT_NEAR(10.0, axis.length(), 1.01) << "the rims' halves are taken as those beside them";
    EXPECT_EQ(0.0, axis.placeOf(0.0));
    EXPECT_EQ(4.0, axis.placeOf(99.0));
    EXPECT_NEAR(3.0, axisAlongV(result).length(), 1e-6);
    for (std::size_t i = 1; i < 5; ++i) {
        EXPECT_GT(axis.lengths[i], axis.lengths[i - 1]);
        EXPECT_NEAR(static_cast<double>(i), axis.placeOf(axis.lengths[i]), 1e-12);
    }
}

TEST(LengthAxis, bridgesAGapByItsChord) {
    Result result = surfaceOn(5, 1, flat(1.0));
    result.states[2] = PixelState::NoSurface;
    result.points[6] = NAN;

    EXPECT_NEAR(5.0, axisAlongU(result).length(), 1e-6);
}
