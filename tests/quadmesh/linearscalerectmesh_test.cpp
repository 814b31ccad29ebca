#include "Geometry/quadmesh/linearscalerectmesh.h"
#include "tests/support/float_bits.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::QuadMesh::LinearScaleRectMesh;
using Geometry::ThreeDimensional::QuadMesh::TransformedRectMesh;

static_assert(std::is_base_of_v<TransformedRectMesh, LinearScaleRectMesh>);
static_assert(std::is_convertible_v<LinearScaleRectMesh*, TransformedRectMesh*>, "public base");
static_assert(std::has_virtual_destructor_v<LinearScaleRectMesh>);

LinearScaleRectMesh scaledGrid(RectMesh const& grid, double scale) {
    LinearScaleRectMesh scaled;
    scaled.RectMesh::operator=(grid);
    scaled.setScale(scale);
    return scaled;
}

TEST(LinearScaleRectMesh, StartsAtScaleOneAndEmpty) {
    LinearScaleRectMesh const grid;
    EXPECT_EQ(grid.scale, 1.0);
    EXPECT_EQ(grid.getExtents().getdU(), 0U);
    LinearScaleRectMesh filled;
    filled.RectMesh::operator=(wavyGrid(6, 5, 1.0));
    EXPECT_TRUE(sameNodes(filled, plainGridOf(wavyGrid(6, 5, 1.0))));
}

TEST(LinearScaleRectMesh, ScaleTwoShowsTwiceWhatIsStored) {
    LinearScaleRectMesh grid = scaledGrid(flatGrid(3, 3), 2.0);
    grid.setPoint({1, 2}, SpacePoint(1.0, 2.0, 3.0));
    EXPECT_EQ(grid.getPoint({1, 2}), SpacePoint(2.0, 4.0, 6.0));
    EXPECT_EQ(grid.RectMesh::getPoint({1, 2}), SpacePoint(1.0, 2.0, 3.0));
}

TEST(LinearScaleRectMesh, TheNormalIsFourTimesThatOfTheUnscaledGrid) {
    RectMesh plain = wavyGrid(6, 6, 1.5);
    LinearScaleRectMesh grid = scaledGrid(plain, 2.0);
    for (bool const lower : {true, false}) {
        auto const normal = plain.getQuadNormalVector({2, 3}, lower);
        auto const scaled = grid.getQuadNormalVector({2, 3}, lower);
        // Powers of two scale every rounding along.
        EXPECT_EQ(scaled.getdX(), 4.0 * normal.getdX());
        EXPECT_EQ(scaled.getdY(), 4.0 * normal.getdY());
        EXPECT_EQ(scaled.getdZ(), 4.0 * normal.getdZ());
    }
}

TEST(LinearScaleRectMesh, StoredAreasFlagsAndSearchPointsDoNotFollowTheScale) {
    RectMesh plain = wavyGrid(20, 20, 1.0);
    scatterFlags(plain, 5);
    LinearScaleRectMesh grid = scaledGrid(plain, 1.0);
    auto const searchPoints = grid.searchPoints;
    grid.doResetSearch = false;
    grid.setScale(5.0);
    EXPECT_EQ(grid.getMeanQuadArea(), plain.getMeanQuadArea());
    EXPECT_EQ(grid.getMinQuadArea(), plain.getMinQuadArea());
    EXPECT_EQ(grid.getMaxQuadArea(), plain.getMaxQuadArea());
    EXPECT_EQ(grid.searchPoints, searchPoints);
    EXPECT_EQ(grid.getPointFlags({3, 3}), plain.getPointFlags({3, 3}));
    EXPECT_FALSE(grid.doResetSearch);
    // Settled anew they are those of what is shown.
    settle(grid);
    EXPECT_NEAR(grid.getMeanQuadArea(), 25.0 * plain.getMeanQuadArea(), 1e-4);
}

TEST(LinearScaleRectMesh, ScaleZeroMakesAllPointsZero) {
    LinearScaleRectMesh grid = scaledGrid(wavyGrid(5, 4, 1.0), 0.0);
    for (int v = 0; v <= 4; ++v) {
        for (int u = 0; u <= 5; ++u) {
            EXPECT_TRUE(grid.getPoint({u, v}).getIsNull());
            EXPECT_TRUE(grid.getIsPointValid({u, v}));
        }
    }
}

TEST(LinearScaleRectMesh, ScalesInDoublesAndRoundsOnce) {
    std::mt19937 random(77);
    LinearScaleRectMesh grid = scaledGrid(flatGrid(1, 1), 1.0);
    for (int i = 0; i < 2000; ++i) {
        SpacePoint const stored(randomSpread(random, 60), randomSpread(random, 20), randomSpread(random, 1));
        double const scale = randomSpread(random, 60);
        grid.setPoint({1, 0}, stored);
        grid.setScale(scale);
        SpacePoint const shown = grid.getPoint({1, 0});
        EXPECT_TRUE(sameBits(shown.getX(), steppedFloat(scale * stored.getX())));
        EXPECT_TRUE(sameBits(shown.getY(), steppedFloat(scale * stored.getY())));
        EXPECT_TRUE(sameBits(shown.getZ(), steppedFloat(scale * stored.getZ())));
    }
}

TEST(LinearScaleRectMesh, AnyScaleIsTaken) {
    LinearScaleRectMesh grid = scaledGrid(flatGrid(2, 2), -3.0);
    EXPECT_EQ(grid.getPoint({1, 2}), SpacePoint(-3.0, -6.0, 0.0));
    grid.setScale(std::numeric_limits<double>::infinity());
    EXPECT_EQ(grid.getPoint({1, 2}).getX(), std::numeric_limits<float>::infinity());
    grid.setScale(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(grid.getPoint({1, 2}).getX()));
}

TEST(LinearScaleRectMesh, ACopyTakesTheScaleAndSharesRows) {
    LinearScaleRectMesh grid = scaledGrid(flatGrid(3, 3), 4.0);
    LinearScaleRectMesh copy(grid);
    EXPECT_EQ(copy.scale, 4.0);
    grid.setPoint({1, 1}, SpacePoint(2.0, 3.0, 5.0));
    EXPECT_EQ(copy.getPoint({1, 1}), SpacePoint(8.0, 12.0, 20.0));
    copy.setScale(1.0);
    EXPECT_EQ(grid.getPoint({1, 1}), SpacePoint(8.0, 12.0, 20.0));
}

TEST(LinearScaleRectMesh, AssignmentCopiesStoredPointsAndScale) {
    LinearScaleRectMesh grid = scaledGrid(wavyGrid(4, 4, 1.0), 4.0);
    LinearScaleRectMesh target;
    target.setOffset({3, 4});
    target = grid;
    EXPECT_EQ(target.scale, 4.0);
    EXPECT_EQ(target.RectMesh::getPoint({2, 3}), grid.RectMesh::getPoint({2, 3}));
    EXPECT_TRUE(sameNodes(target, plainGridOf(grid)));
    EXPECT_EQ(target.getMeanQuadArea(), grid.getMeanQuadArea());
    EXPECT_EQ(target.getOffset().getdU(), 3);
    grid.setPoint({2, 3}, SpacePoint());
    EXPECT_FALSE(target.getPoint({2, 3}).getIsNull());
    LinearScaleRectMesh& same = target;
    target = same;
    EXPECT_EQ(target.scale, 4.0);
    EXPECT_TRUE(target.getIsQuadValid({1, 1}));
}

TEST(LinearScaleRectMesh, APlainGridAssignedFromItTakesTheStoredPoints) {
    LinearScaleRectMesh grid = scaledGrid(wavyGrid(4, 4, 1.0), 4.0);
    RectMesh target;
    target = grid;
    EXPECT_EQ(target.getPoint({2, 3}), grid.RectMesh::getPoint({2, 3}));
    EXPECT_NE(target.getPoint({2, 3}), grid.getPoint({2, 3}));
}

TEST(LinearScaleRectMesh, TheSearchMeetsWhatIsShown) {
    LinearScaleRectMesh grid = scaledGrid(flatGrid(10, 10), 3.0);
    auto const status = grid.getIntersection(SpacePoint(26.0, 13.0, 5.0), {0.0, 0.0, -1.0});
    ASSERT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(8, 4));
    EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), 5.0);
    EXPECT_EQ(&status.getQuadMesh(), &grid);
}

TEST(LinearScaleRectMesh, SaveWritesScaledPointsAndStoredAreas) {
    LinearScaleRectMesh grid = scaledGrid(wavyGrid(7, 6, 1.0), 2.5);
    double const mean = grid.getMeanQuadArea();
    std::string const path = testing::TempDir() + "linearscalerectmesh_save.quads";
    PlainGrid const shown = plainGridOf(grid);
    grid.save(path.c_str());
    RectMesh loaded;
    loaded.load(path.c_str());
    std::remove(path.c_str());
    EXPECT_TRUE(sameNodes(loaded, shown));
    EXPECT_EQ(loaded.getMeanQuadArea(), mean);
    EXPECT_EQ(loaded.getMinQuadArea(), grid.getMinQuadArea());
    EXPECT_EQ(loaded.getMaxQuadArea(), grid.getMaxQuadArea());
}

} // namespace
} // namespace QELT::Testing
