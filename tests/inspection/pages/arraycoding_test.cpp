#include "Inspection/pages/internal/arraycoding.h"

#include "tests/inspection/pages/codedpage.h"

#include <gtest/gtest.h>

#include <random>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

NumberRaster rasterOf(std::size_t width, std::vector<std::uint32_t> const& numbers) {
    return {width, numbers, std::vector<std::uint8_t>(numbers.size(), 1)};
}

} // namespace

TEST(ArrayCoding, WhatIsAsPredictedTakesNoBytes) {
    CodedNumbers const zeros = coded(rasterOf(4, std::vector<std::uint32_t>(12, 0)));

    EXPECT_EQ(0u, zeros.planeCount);
    EXPECT_TRUE(zeros.bytes.empty());
}

TEST(ArrayCoding, APlaneLeavesItsEdgesAlone) {
    // 10 + 2 u + 3 v: the first number, the first row's steps, the first column's, and zeros.
    CodedNumbers const plane = coded(rasterOf(3, {10, 12, 14, 13, 15, 17, 16, 18, 20}));

    EXPECT_EQ(1u, plane.planeCount);
    EXPECT_EQ((std::vector<std::uint8_t>{20, 4, 4, 6, 0, 0, 6, 0, 0}), plane.bytes);
}

TEST(ArrayCoding, DifferencesAreFoldedAndTheirBytesKeptApart) {
    // 0, then -1, +300, -300: 1, 600 = 0x258, 599 = 0x257.
    CodedNumbers const line = coded(rasterOf(4, {0, 0xFFFFFFFFU, 299, 0xFFFFFFFFU}));

    EXPECT_EQ(2u, line.planeCount);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 1, 0x58, 0x57, 0, 0, 2, 2}), line.bytes);
}

TEST(ArrayCoding, WhatIsMissingIsNeitherCodedNorLookedAt) {
    NumberRaster raster = rasterOf(3, {5, 99, 7, 6, 8, 9});
    raster.isPresent[1] = 0;
    CodedNumbers const numbers = coded(raster);

    // 5 of none; 7 of the one before; 6 of the lower 5; 8 of the left 6; 9 of the left 8.
    EXPECT_EQ((std::vector<std::uint8_t>{10, 4, 2, 4, 2}), numbers.bytes);
    raster.numbers[1] = 12345;
    EXPECT_EQ(numbers.bytes, coded(raster).bytes);
}

TEST(ArrayCoding, AnyNumbersComeBack) {
    std::mt19937 random(7);
    NumberRaster raster{37, std::vector<std::uint32_t>(37 * 29), std::vector<std::uint8_t>(37 * 29)};
    for (std::size_t i = 0; i < raster.size(); ++i) {
        raster.numbers[i] = static_cast<std::uint32_t>(random()) >> (random() % 32);
        raster.isPresent[i] = random() % 5 == 0 ? 0 : 1;
    }
    auto const read = decoded(coded(raster), raster.width, raster.isPresent);

    for (std::size_t i = 0; i < raster.size(); ++i) {
        EXPECT_EQ(raster.isPresent[i] != 0 ? raster.numbers[i] : 0, read[i]) << i;
    }
}
