#include "Geometry/trimesh/boundary/internal/sharpestturns.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::SharpestTurns;
using Positions = std::vector<std::uint32_t>;

constexpr double cosineOf80Degrees = 0.17364817766693036;

Positions sharpest(std::size_t capacity, std::vector<double> const& cosines) {
    SharpestTurns turns(capacity);
    for (std::uint32_t i = 0; i < cosines.size(); ++i) {
        turns.offer(cosines[i], i);
    }
    return turns.getPositions();
}

/// Arrays of fixed length in which all entries stand ready, of which those before the limit count.
Positions plainSharpest(std::size_t capacity, std::vector<double> const& offered) {
    std::vector<double> cosines(capacity, 131072.0);
    Positions positions(capacity, 0);
    for (std::uint32_t i = 0; i < offered.size(); ++i) {
        if (!(offered[i] < cosines[capacity - 1])) {
            continue;
        }
        std::size_t k = 0;
        while (k < capacity - 1 && cosines[k] < offered[i]) {
            ++k;
        }
        for (std::size_t to = capacity - 1; to > k; --to) {
            cosines[to] = cosines[to - 1];
            positions[to] = positions[to - 1];
        }
        cosines[k] = offered[i];
        positions[k] = i;
    }
    Positions corners;
    for (std::size_t k = 0; k < capacity && cosines[k] < cosineOf80Degrees; ++k) {
        corners.push_back(positions[k]);
    }
    return corners;
}

} // namespace

TEST(SharpestTurns, StandInAscendingOrderOfTheirCosines) {
    EXPECT_EQ(sharpest(10, {0.0, -1.0, 0.1, -0.5}), (Positions{1, 3, 0, 2}));
}

TEST(SharpestTurns, ANewOneGoesInFrontOfAnEqualOne) {
    EXPECT_EQ(sharpest(10, {0.0, -0.5, 0.0, 0.0, -0.5}), (Positions{4, 1, 3, 2, 0}));
}

TEST(SharpestTurns, ATurnOfEightyDegreesIsNoCornerAndOneJustBeyondIs) {
    EXPECT_EQ(sharpest(10, {cosineOf80Degrees}), Positions{});
    EXPECT_EQ(sharpest(10, {std::nextafter(cosineOf80Degrees, 0.0)}), Positions{0});
}

TEST(SharpestTurns, ANumberThatIsNoneIsNoCorner) {
    EXPECT_EQ(sharpest(10, {std::numeric_limits<double>::quiet_NaN(), 0.0}), Positions{1});
}

TEST(SharpestTurns, TheLeastSharpAreLostWhenThereIsNoRoom) {
    EXPECT_EQ(sharpest(3, {0.1, 0.0, -0.1, -0.2, 0.05}), (Positions{3, 2, 1}));
}

TEST(SharpestTurns, OnesThatEqualTheLastAreNotTakenWhenThereIsNoRoom) {
    EXPECT_EQ(sharpest(3, {0.0, 0.0, 0.0, 0.0, 0.0}), (Positions{2, 1, 0}));
    EXPECT_EQ(sharpest(3, {0.0, -0.5, 0.0, -0.5}), (Positions{3, 1, 2}));
}

TEST(SharpestTurns, AgreeWithArraysOfFixedLength) {
    for (std::uint32_t seed = 1; seed <= 50; ++seed) {
        std::mt19937 generator(seed);
        std::vector<double> cosines;
        for (std::uint32_t i = 0; i < 40 * (seed % 4 + 1); ++i) {
            cosines.push_back(static_cast<double>(generator() % (3 + seed)) / (1.0 + seed) - 1.0);
        }
        EXPECT_EQ(sharpest(1 + seed % 30, cosines), plainSharpest(1 + seed % 30, cosines)) << seed;
    }
}

} // namespace QELT::Testing
