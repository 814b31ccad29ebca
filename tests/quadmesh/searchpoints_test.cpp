#include "Geometry/quadmesh/rectmesh.h"

#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_grid.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

/// Rebuilds the search points of the grid for several densities and compares each list with the one that
/// walks up and down from every place find.
void expectPlainSearchPoints(RectMesh& grid) {
    PlainGrid const plain = plainGridOf(grid);
    for (std::uint32_t const quadsPerPoint : {1U, 2U, 7U, 64U, 4096U}) {
        SCOPED_TRACE(quadsPerPoint);
        grid.quadsPerSearchPoint = quadsPerPoint;
        grid.calculateSearchPoints(quadsPerPoint, grid.numberOfSearchPointsU, grid.numberOfSearchPointsV);
        ASSERT_TRUE(sameSearchPoints(grid, plain));
    }
}

/// Valid nodes with a probability of `share`, and a column in three empty altogether.
RectMesh randomGrid(std::uint32_t extentU, std::uint32_t extentV, double share, std::uint32_t seed) {
    RectMesh grid = flatGrid(extentU, extentV);
    std::mt19937 random(seed);
    std::bernoulli_distribution isValid(share);
    for (int u = 0; u <= static_cast<int>(extentU); ++u) {
        bool const isEmpty = random() % 3U == 0;
        for (int v = 0; v <= static_cast<int>(extentV); ++v) {
            grid.setPointValidity({u, v}, !isEmpty && isValid(random));
        }
    }
    return grid;
}

TEST(SearchPoints, AreThoseOfThePlainWalkForEveryFamily) {
    std::size_t withPoints = 0;
    for (std::uint32_t const seed : {1U, 2U, 3U}) {
        for (GridFamily& family : gridFamiliesWithQuads(seed)) {
            SCOPED_TRACE(family.name);
            expectPlainSearchPoints(family.grid);
            withPoints += family.grid.searchPoints.empty() ? 0U : 1U;
        }
    }
    EXPECT_GT(withPoints, 20U);
}

TEST(SearchPoints, AreThoseOfThePlainWalkOnRandomGridsOfEveryShape) {
    std::uint32_t seed = 100;
    for (auto const& [u, v] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
             {1, 1}, {1, 2}, {3, 1}, {1, 300}, {300, 1}, {2, 500}, {500, 2}, {9, 64}, {64, 9}, {40, 40}}) {
        for (double const share : {0.05, 0.5, 0.8, 0.99, 1.0}) {
            SCOPED_TRACE(testing::Message() << u << " x " << v << ", share " << share);
            RectMesh grid = randomGrid(u, v, share, ++seed);
            expectPlainSearchPoints(grid);
        }
    }
}

TEST(SearchPoints, OfATallGridWithALongHoleAreThoseOfThePlainWalk) {
    for (int const end : {0, 1, 100, 2000, 3998, 3999, 4000}) {
        SCOPED_TRACE(end);
        RectMesh grid = flatGrid(2, 4000);
        punchHole(grid, {0, end}, {2, 4000 - end / 2});
        expectPlainSearchPoints(grid);
    }
}

TEST(SearchPoints, TakeTheLowerOfTwoQuadsThatAreEquallyNear) {
    RectMesh grid = flatGrid(1, 8);
    grid.calculateSearchPoints(4096, grid.numberOfSearchPointsU, grid.numberOfSearchPointsV);
    ASSERT_EQ(grid.numberOfSearchPointsV, 8U);
    // Quads 0 to 7 of the only column; of these 1 and 5 stay, and place 3 lies between them.
    for (int const node : {0, 3, 4, 7, 8}) {
        grid.setPointValidity({0, node}, false);
    }
    grid.calculateSearchPoints(4096, grid.numberOfSearchPointsU, grid.numberOfSearchPointsV);
    std::vector<int> rows;
    for (auto const& quad : grid.searchPoints) {
        rows.push_back(quad.getV());
    }
    EXPECT_EQ(rows, (std::vector<int>{1, 1, 1, 1, 5, 5, 5, 5}));
}

/// Walks from each of 15,625 places to both ends of a million rows would not end in the time of a test run.
TEST(SearchPoints, OfATallGridWithoutAnyQuadAreFoundToBeNone) {
    RectMesh grid;
    grid.init(Geometry::TwoDimensional::Vector<unsigned long>(2, 1000000));
    grid.calculateSearchPoints(4096, grid.numberOfSearchPointsU, grid.numberOfSearchPointsV);
    EXPECT_EQ(grid.numberOfSearchPointsU, 1U);
    EXPECT_GT(grid.numberOfSearchPointsV, 15000U);
    EXPECT_TRUE(grid.searchPoints.empty());
    grid.setPointValidity({1, 500000}, true);
    grid.setPointValidity({2, 500000}, true);
    grid.setPointValidity({1, 500001}, true);
    grid.setPointValidity({2, 500001}, true);
    grid.setPointValidity({0, 500000}, true);
    grid.setPointValidity({0, 500001}, true);
    grid.calculateSearchPoints(4096, grid.numberOfSearchPointsU, grid.numberOfSearchPointsV);
    ASSERT_EQ(grid.searchPoints.size(), grid.numberOfSearchPointsV);
    EXPECT_EQ(grid.searchPoints.front().getV(), 500000);
    EXPECT_EQ(grid.searchPoints.back().getV(), 500000);
}

} // namespace
} // namespace QELT::Testing
