#include "Geometry/quadmesh/internal/areastatistics.h"

#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_grid.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::AreaStatistics;

/// A coordinate of any size, or a value from the ends of what floats hold.
double wildCoordinate(std::mt19937& random) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double largest = std::numeric_limits<float>::max();
    double const special[] = {0.0, -0.0, infinity, -infinity, std::nan(""), largest, -largest, 1e-45};
    if (random() % 40U == 0U) {
        return special[random() % 8U];
    }
    double const mantissa = static_cast<double>(random() % 2001U) - 1000.0;
    return std::ldexp(mantissa, static_cast<int>(random() % 240U) - 140);
}

double tameCoordinate(std::mt19937& random, int place) {
    return place + 0.001 * static_cast<double>(random() % 500U);
}

/// A grid in which one node out of `gap` is not valid, none for 0.
RectMesh randomGrid(std::mt19937& random, std::uint32_t extentU, bool isWild, std::uint32_t gap) {
    RectMesh grid = makeGrid(extentU, 3, [&](int u, int v) {
        return isWild ? SpacePoint(wildCoordinate(random), wildCoordinate(random), wildCoordinate(random))
                      : SpacePoint(tameCoordinate(random, u), tameCoordinate(random, v),
                                   tameCoordinate(random, 0));
    });
    for (int v = 0; v <= 3; ++v) {
        for (int u = 0; u <= static_cast<int>(extentU); ++u) {
            grid.setPointValidity({u, v}, gap == 0 || random() % gap != 0U);
        }
    }
    settle(grid);
    return grid;
}

} // namespace

TEST(AreaStatistics, BlocksOfAllLengthsAddWhatTheirQuadsDo) {
    std::mt19937 random(311);
    for (std::uint32_t extentU = 0; extentU <= 140; ++extentU) {
        for (std::uint32_t const gap : {0U, 1U, 2U, 9U, 60U}) {
            for (bool const isWild : {false, true}) {
                RectMesh const grid = randomGrid(random, extentU, isWild, gap);
                ASSERT_TRUE(sameAreas(grid, plainGridOf(grid).getAreas()))
                    << extentU << " quads, a gap in " << gap << (isWild ? ", wild" : "");
            }
        }
    }
}

TEST(AreaStatistics, AQuadOfAnySizeHasTheAreaOfThePlainGrid) {
    std::mt19937 random(17);
    for (int i = 0; i < 20000; ++i) {
        RectMesh const grid = makeGrid(1, 1, [&](int, int) {
            return SpacePoint(wildCoordinate(random), wildCoordinate(random), wildCoordinate(random));
        });
        ASSERT_TRUE(sameAreas(grid, plainGridOf(grid).getAreas())) << i;
    }
}

TEST(AreaStatistics, WithoutAnAreaTheMeanIsZero) {
    AreaStatistics const areas;
    EXPECT_EQ(areas.getMax(), 0.0);
    EXPECT_EQ(areas.getMean(), 0.0);
    EXPECT_EQ(areas.getMin(), 1e11);
}

} // namespace QELT::Testing
