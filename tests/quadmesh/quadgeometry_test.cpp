#include "Geometry/quadmesh/internal/quadarea.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/float_bits.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_grid.h"

#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

namespace QELT::Testing {

namespace {

using SpaceVector = Geometry::ThreeDimensional::Vector;
using SpaceBox = Geometry::ThreeDimensional::BoundingBoxAA;
using Corners = std::array<SpacePoint, 4>;

constexpr std::array<bool, 2> triangles{true, false};

/// A grid that shows its points turned by a quarter around the x axis and moved.
class TurnedGrid : public RectMesh {
public:
    SpacePoint getPoint(GridIndex const& p) const override {
        SpacePoint const stored = RectMesh::getPoint(p);
        return {stored.getX() + 5.0, -stored.getZ(), stored.getY()};
    }
};

testing::AssertionResult sameVector(SpaceVector const& actual, PlainVector const& expected) {
    if (sameBits(actual.getdX(), expected.x) && sameBits(actual.getdY(), expected.y) &&
        sameBits(actual.getdZ(), expected.z)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "(" << actual.getdX() << ", " << actual.getdY() << ", " << actual.getdZ() << "), expected ("
           << expected.x << ", " << expected.y << ", " << expected.z << ")";
}

/// Equal as numbers, so that zeros of either sign are equal.
bool equalVector(SpaceVector const& actual, SpaceVector const& expected) {
    return actual.getdX() == expected.getdX() && actual.getdY() == expected.getdY() &&
           actual.getdZ() == expected.getdZ();
}

testing::AssertionResult samePoint(SpacePoint const& actual, PlainPoint const& expected) {
    if (sameBits(actual.getX(), expected.x) && sameBits(actual.getY(), expected.y) &&
        sameBits(actual.getZ(), expected.z)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "(" << actual.getX() << ", " << actual.getY() << ", " << actual.getZ() << "), expected ("
           << expected.x << ", " << expected.y << ", " << expected.z << ")";
}

/// All queries of one flat unit quad and node.
void expectFlatUnitQuad(RectMesh const& grid, GridIndex const& p) {
    PlainVector const up{0.0, 0.0, 1.0};
    for (bool const lower : triangles) {
        EXPECT_TRUE(sameVector(grid.getQuadNormalVector(p, lower), up));
        EXPECT_TRUE(sameVector(grid.getQuadUnitNormalVector(p, lower), up));
    }
    EXPECT_TRUE(sameVector(grid.getQuadBasis(p).first, {1.0, 0.0, 0.0}));
    EXPECT_TRUE(sameVector(grid.getQuadBasis(p).second, {0.0, 1.0, 0.0}));
    EXPECT_TRUE(sameVector(grid.getPointUnitNormalVector(p), up));
    EXPECT_EQ(grid.getMeanQuadPoint(p), SpacePoint(p.getU() + 0.5, p.getV() + 0.5, 0.0));
}

Corners untouched() {
    Corners corners;
    corners.fill(SpacePoint(-7.0, -8.0, -9.0));
    return corners;
}

} // namespace

TEST(QuadGeometry, FlatUnitGridHasUnitNormalsBasisAndMean) {
    RectMesh const grid = flatGrid(4, 3);
    expectFlatUnitQuad(grid, {0, 0});
    expectFlatUnitQuad(grid, {2, 1});
}

TEST(QuadGeometry, NoFlipIsHeeded) {
    RectMesh grid = flatGrid(4, 3);
    grid.setDoFlipNormals(true);
    grid.setAxisFlipFlags(true, true);
    grid.setOffset({10, 20});
    expectFlatUnitQuad(grid, {0, 0});
    expectFlatUnitQuad(grid, {2, 1});
    EXPECT_TRUE(sameVector(grid.getQuadNormalVector({1, 1}, 4UL), {0.0, 0.0, 1.0}));
}

TEST(QuadGeometry, CornersRunCounterClockwiseFromTheLowOne) {
    RectMesh const grid = flatGrid(4, 3);
    Corners corners;
    grid.getQuadPoints({2, 1}, corners.data());
    EXPECT_EQ(corners[0], SpacePoint(2.0, 1.0, 0.0));
    EXPECT_EQ(corners[1], SpacePoint(3.0, 1.0, 0.0));
    EXPECT_EQ(corners[2], SpacePoint(3.0, 2.0, 0.0));
    EXPECT_EQ(corners[3], SpacePoint(2.0, 2.0, 0.0));
}

TEST(QuadGeometry, CornersStopAtTheFirstThatIsMissing) {
    std::array<GridIndex, 4> const places{{{2, 1}, {3, 1}, {3, 2}, {2, 2}}};
    for (std::size_t missing = 0; missing < 4; ++missing) {
        RectMesh grid = flatGrid(4, 3);
        grid.setPointValidity(places[missing], false);
        Corners corners = untouched();
        grid.getQuadPoints({2, 1}, corners.data());
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(corners[i], i < missing ? grid.getPoint(places[i]) : untouched()[i]) << missing << i;
        }
    }
    RectMesh const grid = flatGrid(4, 3);
    Corners corners = untouched();
    grid.getQuadPoints({4, 0}, corners.data());
    EXPECT_EQ(corners[0], SpacePoint(4.0, 0.0, 0.0));
    EXPECT_EQ(corners[1], untouched()[1]);
    EXPECT_EQ(corners[3], untouched()[3]) << "in the grid, but behind a corner that is not";
}

TEST(QuadGeometry, DiagonalRunsFromTheLowToTheHighCorner) {
    RectMesh const grid = flatGrid(4, 3);
    Corners corners = untouched();
    grid.getQuadTrianglePoints({2, 1}, corners.data(), true);
    EXPECT_EQ(corners[0], SpacePoint(2.0, 1.0, 0.0));
    EXPECT_EQ(corners[1], SpacePoint(3.0, 1.0, 0.0));
    EXPECT_EQ(corners[2], SpacePoint(3.0, 2.0, 0.0));
    grid.getQuadTrianglePoints({2, 1}, corners.data(), false);
    EXPECT_EQ(corners[0], SpacePoint(2.0, 1.0, 0.0));
    EXPECT_EQ(corners[1], SpacePoint(3.0, 2.0, 0.0));
    EXPECT_EQ(corners[2], SpacePoint(2.0, 2.0, 0.0));
    EXPECT_EQ(corners[3], untouched()[3]);
}

TEST(QuadGeometry, FanTurnsCounterClockwiseAroundTheNode) {
    RectMesh const grid = flatGrid(8, 8);
    std::array<GridIndex, 9> const ring{
        {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}, {1, 0}}};
    for (int const step : {1, 3, -2}) {
        for (unsigned long index = 0; index < 8; ++index) {
            Corners corners = untouched();
            grid.getQuadTrianglePoints({4, 4}, corners.data(), index, step);
            GridIndex const& first = ring[index];
            GridIndex const& second = ring[index + 1];
            EXPECT_EQ(corners[0], SpacePoint(4.0, 4.0, 0.0));
            EXPECT_EQ(corners[1], SpacePoint(4 + step * first.getU(), 4 + step * first.getV(), 0.0));
            EXPECT_EQ(corners[2], SpacePoint(4 + step * second.getU(), 4 + step * second.getV(), 0.0));
            EXPECT_EQ(corners[3], untouched()[3]);
        }
    }
}

TEST(QuadGeometry, FanIndexPastSevenWritesNothing) {
    RectMesh const grid = flatGrid(8, 8);
    for (unsigned long const index : {8UL, 9UL, 100UL, 0xFFFFFFFFUL}) {
        Corners corners = untouched();
        grid.getQuadTrianglePoints({4, 4}, corners.data(), index, 1);
        EXPECT_EQ(corners, untouched());
    }
}

TEST(QuadGeometry, FanIndexIsReadIn32Bits) {
    RectMesh const grid = flatGrid(8, 8);
    for (unsigned long const index : {0UL, 5UL}) {
        Corners corners = untouched();
        Corners expected = untouched();
        grid.getQuadTrianglePoints({4, 4}, corners.data(), 0x100000000UL + index, 1);
        grid.getQuadTrianglePoints({4, 4}, expected.data(), index, 1);
        EXPECT_EQ(corners, expected);
    }
}

TEST(QuadGeometry, NormalIsTwiceTheTrianglesArea) {
    RectMesh const grid = flatGrid(4, 3, 3.0);
    EXPECT_TRUE(sameVector(grid.getQuadNormalVector({0, 0}, true), {0.0, 0.0, 9.0}));
    EXPECT_TRUE(sameVector(grid.getQuadNormalVector({0, 0}, false), {0.0, 0.0, 9.0}));
    EXPECT_TRUE(sameVector(grid.getQuadUnitNormalVector({0, 0}, false), {0.0, 0.0, 1.0}));
}

TEST(QuadGeometry, NormalsOfTheFanPointTheSameWayAllRound) {
    RectMesh const grid = flatGrid(8, 8);
    for (unsigned long index = 0; index < 8; ++index) {
        EXPECT_TRUE(equalVector(grid.getQuadNormalVector({4, 4}, index), {0.0, 0.0, 1.0})) << index;
    }
    EXPECT_TRUE(sameVector(grid.getQuadNormalVector({4, 4}, 8UL), {0.0, 0.0, 0.0}));
}

TEST(QuadGeometry, UnitNormalOfATriangleWithoutAreaIsNoNumber) {
    RectMesh const grid = makeGrid(2, 2, [](int, int) { return SpacePoint(1.0, 1.0, 1.0); });
    EXPECT_TRUE(std::isnan(grid.getQuadUnitNormalVector({0, 0}, true).getdX()));
}

TEST(QuadGeometry, PointNormalLooksAtTheQuadsUpAndRight) {
    // Only the quads from (1, 1) on are level; the others, which touch the node, are steep.
    RectMesh grid =
        makeGrid(4, 4, [](int u, int v) { return SpacePoint(u, v, u < 1 || v < 1 ? 10.0 : 0.0); });
    EXPECT_TRUE(sameVector(grid.getPointUnitNormalVector({1, 1}), {0.0, 0.0, 1.0}));
}

TEST(QuadGeometry, PointNormalAtTheTopRightCornerIsThatOfTheLastQuadsLowerTriangle) {
    RectMesh const grid = wavyGrid(4, 4, 3.0);
    SpaceVector const expected = grid.getQuadUnitNormalVector({3, 3}, true);
    SpaceVector const actual = grid.getPointUnitNormalVector({4, 4});
    EXPECT_TRUE(sameVector(actual, {expected.getdX(), expected.getdY(), expected.getdZ()}));
    SpaceVector const upper = grid.getQuadUnitNormalVector({3, 3}, false);
    EXPECT_NE(actual.getdX(), upper.getdX());
}

TEST(QuadGeometry, PointNormalSumsTheQuadsToTheRightBeforeThoseAbove) {
    // Along x the lower triangles have 2^60, 1, -2^60 and 0: the 1 is lost before the large ones cancel.
    // Along y there are twice -2^60 and then twice 2^60.
    double const large = std::ldexp(1.0, 60);
    RectMesh grid = flatGrid(4, 4);
    grid.setPoint({1, 1}, {1.0, 1.0, large});
    grid.setPoint({3, 1}, {3.0, 1.0, -1.0});
    grid.setPoint({2, 2}, {2.0, 2.0, large});
    grid.setPoint({3, 2}, {3.0, 2.0, large});
    EXPECT_TRUE(sameVector(grid.getPointUnitNormalVector({1, 1}), {0.0, 0.0, 1.0}));
}

TEST(QuadGeometry, PointNormalSumsTheQuadsToTheLeftBelowAndAtTheDiagonalInThisOrder) {
    // Of the quads left, below and at the diagonal the lower triangles have, along x, 2^60, 1, -2^60 or 1,
    // 2^60, -2^60; along y nothing.
    double const large = std::ldexp(1.0, 60);
    for (auto const& [left, below] : {std::pair(large, 1.0), std::pair(1.0, large)}) {
        RectMesh grid = flatGrid(4, 4);
        grid.setPoint({0, 1}, {0.0, 1.0, left});
        grid.setPoint({2, 0}, {2.0, 0.0, -below});
        grid.setPoint({2, 1}, {2.0, 1.0, -below});
        grid.setPoint({0, 0}, {0.0, 0.0, -large});
        punchHole(grid, {2, 2}, {2, 2});
        EXPECT_TRUE(sameVector(grid.getPointUnitNormalVector({1, 1}), {0.0, 0.0, 1.0}));
    }
}

TEST(QuadGeometry, PointNormalOfAnIsolatedNodePointsAlongZ) {
    RectMesh grid = wavyGrid(6, 6, 3.0);
    punchHole(grid, {0, 0}, {6, 6});
    grid.setPointValidity({3, 3}, true);
    EXPECT_TRUE(sameVector(grid.getPointUnitNormalVector({3, 3}), {0.0, 0.0, 1.0}));
}

TEST(QuadGeometry, MeanPointOfAQuadThatIsMissingIsTheOrigin) {
    RectMesh grid = makeGrid(3, 3, [](int u, int v) { return SpacePoint(u + 10.0, v + 20.0, 5.0); });
    EXPECT_EQ(grid.getMeanQuadPoint({1, 1}), SpacePoint(11.5, 21.5, 5.0));
    EXPECT_EQ(grid.getMeanQuadPoint({3, 1}), SpacePoint());
    grid.setPointValidity({2, 2}, false);
    EXPECT_EQ(grid.getMeanQuadPoint({1, 1}), SpacePoint());
    RectMesh const empty;
    EXPECT_EQ(empty.getMeanQuadPoint({0, 0}), SpacePoint());
}

TEST(QuadGeometry, MeanPointSumsTheHighCornerFirstAndTheLowOneLast) {
    // Beside 2^60 a 1 is lost: which of the ones remain tells the order.
    double const large = std::ldexp(1.0, 60);
    auto const meanOf = [](double p, double alongU, double alongV, double opposite) {
        std::array<double, 4> const heights{p, alongU, alongV, opposite};
        RectMesh const grid = makeGrid(1, 1, [&](int u, int v) {
            return SpacePoint(u, v, heights[static_cast<std::size_t>(2 * v + u)]);
        });
        return grid.getMeanQuadPoint({0, 0}).getZ();
    };
    EXPECT_EQ(meanOf(1.0, -large, 1.0, large), 0.25F);
    EXPECT_EQ(meanOf(1.0, 1.0, -large, large), 0.5F);
}

TEST(QuadGeometry, AreasOfAFlatUnitGridAreOne) {
    RectMesh const grid = flatGrid(7, 5);
    double max = -1.0;
    double mean = -1.0;
    double min = -1.0;
    grid.getMaxMeanMinQuadSize(&max, &mean, &min);
    EXPECT_EQ(max, 1.0);
    EXPECT_EQ(mean, 1.0);
    EXPECT_EQ(min, 1.0);
}

TEST(QuadGeometry, AreaSplitsTheQuadAlongTheOtherDiagonal) {
    // One corner of the diagonal from (1, 0) to (0, 1) is lifted: split along it the quad is two triangles
    // over half a unit square, one of them level with the lifted edge.
    RectMesh const grid =
        makeGrid(1, 1, [](int u, int v) { return SpacePoint(u, v, u == 1 && v == 1 ? 1 : 0); });
    double max = 0.0;
    double mean = 0.0;
    double min = 0.0;
    grid.getMaxMeanMinQuadSize(&max, &mean, &min);
    EXPECT_EQ(max, 0.5 + 0.5 * std::sqrt(3.0));
}

TEST(QuadGeometry, AreasWithoutQuadsAreZeroAndATenthOfATrillion) {
    RectMesh grid = flatGrid(4, 4);
    punchHole(grid, {0, 0}, {4, 4});
    EXPECT_EQ(grid.getMaxQuadArea(), 0.0);
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_EQ(grid.getMinQuadArea(), 1e11);
    EXPECT_EQ(grid.getMeanQuadPoint({0, 0}), SpacePoint());
    RectMesh const empty;
    double max = -1.0;
    double mean = -1.0;
    double min = -1.0;
    empty.getMaxMeanMinQuadSize(&max, &mean, &min);
    EXPECT_EQ(max, 0.0);
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(min, 1e11);
}

TEST(QuadGeometry, AreasThatAreNoNumbersAreNeitherLargestNorSmallest) {
    // The first quad and the last.
    RectMesh grid = flatGrid(3, 1);
    grid.setPoint({0, 0}, {std::nan(""), 0.0, 0.0});
    grid.setPoint({3, 1}, {std::nan(""), 1.0, 0.0});
    double max = 0.0;
    double mean = 0.0;
    double min = 0.0;
    grid.getMaxMeanMinQuadSize(&max, &mean, &min);
    EXPECT_EQ(max, 1.0);
    EXPECT_EQ(min, 1.0);
    EXPECT_TRUE(std::isnan(mean));
}

TEST(QuadGeometry, BoxHoldsTheValidNodesAlone) {
    RectMesh grid = makeGrid(3, 2, [](int u, int v) { return SpacePoint(u + 1.0, v - 4.0, u * v); });
    SpaceBox const box = grid.getBoundingBoxAA();
    EXPECT_EQ(box.getp(), SpacePoint(1.0, -4.0, 0.0));
    EXPECT_TRUE(sameVector(box.getd(), {3.0, 2.0, 6.0}));
    grid.setPointValidity({3, 2}, false);
    EXPECT_TRUE(sameVector(grid.getBoundingBoxAA().getd(), {3.0, 2.0, 4.0}));
    // Nodes on the rim of the grid count, although they are no low corners of quads.
    RectMesh single = flatGrid(5, 0);
    EXPECT_TRUE(sameVector(single.getBoundingBoxAA().getd(), {5.0, 0.0, 0.0}));
}

TEST(QuadGeometry, BoxOfANodeAtInfinityHasAnExtentThatIsNoNumber) {
    // A box grows by every node, its first one again included: from infinity to infinity.
    double const infinity = std::numeric_limits<double>::infinity();
    RectMesh const grid = makeGrid(0, 0, [&](int, int) { return SpacePoint(infinity, 2.0, -infinity); });
    SpaceBox const box = grid.getBoundingBoxAA();
    EXPECT_EQ(box.getp(), SpacePoint(infinity, 2.0, -infinity));
    EXPECT_TRUE(std::isnan(box.getd().getdX()));
    EXPECT_EQ(box.getd().getdY(), 0.0);
    EXPECT_TRUE(std::isnan(box.getd().getdZ()));
}

TEST(QuadGeometry, BoxWithoutValidNodesIsTheDefaultBox) {
    RectMesh grid = makeGrid(3, 2, [](int, int) { return SpacePoint(5.0, 5.0, 5.0); });
    punchHole(grid, {0, 0}, {3, 2});
    RectMesh const empty;
    for (SpaceBox const& box : {grid.getBoundingBoxAA(), empty.getBoundingBoxAA()}) {
        EXPECT_EQ(box.getp(), SpacePoint());
        EXPECT_TRUE(sameVector(box.getd(), {0.0, 0.0, 0.0}));
    }
}

TEST(QuadGeometry, AllQueriesReadTheVirtualPoint) {
    TurnedGrid grid;
    static_cast<RectMesh&>(grid) = flatGrid(4, 3, 2.0);
    Corners corners;
    grid.getQuadPoints({1, 1}, corners.data());
    EXPECT_EQ(corners[2], SpacePoint(9.0, 0.0, 4.0));
    EXPECT_TRUE(sameVector(grid.getQuadNormalVector({1, 1}, true), {0.0, -4.0, 0.0}));
    EXPECT_TRUE(equalVector(grid.getQuadNormalVector({1, 1}, 5UL), {0.0, -4.0, 0.0}));
    EXPECT_TRUE(sameVector(grid.getPointUnitNormalVector({1, 1}), {0.0, -1.0, 0.0}));
    EXPECT_TRUE(sameVector(grid.getQuadBasis({1, 1}).second, {0.0, 0.0, 2.0}));
    EXPECT_EQ(grid.getMeanQuadPoint({1, 1}), SpacePoint(8.0, 0.0, 3.0));
    EXPECT_EQ(grid.getBoundingBoxAA().getp(), SpacePoint(5.0, 0.0, 0.0));
    EXPECT_TRUE(sameVector(grid.getBoundingBoxAA().getd(), {8.0, 0.0, 6.0}));
    EXPECT_EQ(getQuadArea(grid, {1, 1}), 4.0);
}

TEST(QuadGeometry, QuadsAndNodesAgreeWithThePlainGridOverAllFamilies) {
    for (GridFamily const& family : gridFamilies(61)) {
        RectMesh const& grid = family.grid;
        PlainGrid const plain = plainGridOf(grid);
        for (int v = 0; v <= static_cast<int>(plain.highestV); ++v) {
            for (int u = 0; u <= static_cast<int>(plain.highestU); ++u) {
                ASSERT_TRUE(
                    sameVector(grid.getPointUnitNormalVector({u, v}), plain.getPointUnitNormal({u, v})))
                    << family.name << " " << u << " " << v;
                ASSERT_TRUE(samePoint(grid.getMeanQuadPoint({u, v}), plain.getMeanQuadPoint({u, v})))
                    << family.name << " " << u << " " << v;
                if (!grid.getIsQuadValid({u, v})) {
                    continue;
                }
                for (bool const lower : triangles) {
                    ASSERT_TRUE(sameVector(grid.getQuadNormalVector({u, v}, lower),
                                           plain.getTriangleNormal({u, v}, lower)));
                    PlainVector const normal = plain.getTriangleNormal({u, v}, lower);
                    ASSERT_TRUE(sameVector(grid.getQuadUnitNormalVector({u, v}, lower),
                                           plainDivided(normal, std::sqrt(plainDot(normal, normal)))));
                }
                ASSERT_TRUE(sameVector(grid.getQuadNormalVector({u, v}, 1UL), plain.getFanNormal({u, v}, 1)));
                ASSERT_TRUE(sameVector(grid.getQuadBasis({u, v}).first, plain.getEdgeU({u, v})));
                ASSERT_TRUE(sameVector(grid.getQuadBasis({u, v}).second, plain.getEdgeV({u, v})));
                ASSERT_TRUE(sameBits(getQuadArea(grid, {u, v}), plain.getQuadArea({u, v})));
            }
        }
    }
}

void expectPlainAreasAndBox(RectMesh const& grid) {
    PlainGrid const plain = plainGridOf(grid);
    PlainAreas const expected = plain.getAreas();
    double max = 0.0;
    double mean = 0.0;
    double min = 0.0;
    grid.getMaxMeanMinQuadSize(&max, &mean, &min);
    EXPECT_TRUE(sameBits(max, expected.max));
    EXPECT_TRUE(sameBits(mean, expected.mean));
    EXPECT_TRUE(sameBits(min, expected.min));
    SpaceBox const box = grid.getBoundingBoxAA();
    PlainBox const expectedBox = plain.getBoundingBox();
    EXPECT_TRUE(samePoint(box.getp(), expectedBox.p));
    EXPECT_TRUE(sameVector(box.getd(), expectedBox.d));
}

TEST(QuadGeometry, AreasAndBoxesAgreeWithThePlainGridOverAllFamilies) {
    for (GridFamily const& family : gridFamilies(67)) {
        SCOPED_TRACE(family.name);
        expectPlainAreasAndBox(family.grid);
        ShearedGrid sheared;
        sheared.RectMesh::operator=(family.grid);
        expectPlainAreasAndBox(sheared);
    }
}

TEST(QuadGeometry, AreasAndBoxesAgreeWithThePlainGridOnWildGrids) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        for (GridFamily const& family : wildGridFamilies(seed)) {
            SCOPED_TRACE(family.name);
            expectPlainAreasAndBox(family.grid);
            ShearedGrid sheared;
            sheared.RectMesh::operator=(family.grid);
            expectPlainAreasAndBox(sheared);
        }
    }
}

/// A walk whose box is rounded anew at every node: far off the origin, where floats are coarse.
TEST(QuadGeometry, BoxesGatherTheSameRoundingAsGrowingNodeByNode) {
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i) {
        double const offset = randomSpread(random, 4) * std::pow(10.0, static_cast<double>(i % 9) - 2.0);
        RectMesh const grid = makeGrid(9, 9, [&](int, int) {
            double const x = offset + randomSpread(random, 2);
            double const y = -offset + randomSpread(random, 2) * 1e-3;
            return SpacePoint(x, y, randomSpread(random, 2) * offset);
        });
        expectPlainAreasAndBox(grid);
    }
}

} // namespace QELT::Testing
