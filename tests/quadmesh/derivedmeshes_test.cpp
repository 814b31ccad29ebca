#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/quadmesh/linearscalerectmesh.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/float_bits.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_derived.h"
#include "tests/support/plain_extension.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using namespace Geometry::ThreeDimensional::QuadMesh;
using Geometry::ThreeDimensional::AffineMap;
using Geometry::ThreeDimensional::LinearMap;
using SpaceVector = Geometry::ThreeDimensional::Vector;
using SpaceBox = Geometry::ThreeDimensional::BoundingBoxAA;
using GridStep = Geometry::TwoDimensional::Vector<int>;
using GridBox = Geometry::TwoDimensional::BoundingBoxAA<int>;

char const* const insufficientMemory = "Insufficient memory to initialise quad-mesh.";

PlainVector plain(SpaceVector const& v) {
    return {v.getdX(), v.getdY(), v.getdZ()};
}

PlainPoint plain(SpacePoint const& p) {
    return {p.getX(), p.getY(), p.getZ()};
}

std::uint32_t divisor(std::uint32_t seed) {
    return 7U + seed % 50U;
}

/// Points in some of the nodes that are not valid.
void addStalePoints(RectMesh& grid, std::uint32_t seed) {
    std::mt19937 random(seed);
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            if (!grid.getIsPointValid({u, v}) && random() % 2U == 0U) {
                grid.points[v][static_cast<std::size_t>(u)] =
                    SpacePoint(randomSpread(random, 6), randomSpread(random, 6), -0.0);
            }
        }
    }
}

template <class Grid>
void fill(Grid& grid, RectMesh const& source) {
    grid.RectMesh::operator=(source);
}

/// A grid and the same one shown at a scale.
struct Sources {
    RectMesh plain;
    LinearScaleRectMesh scaled;

    explicit Sources(RectMesh const& grid, double scale = 1.75) {
        fill(plain, grid);
        fill(scaled, grid);
        scaled.setScale(scale);
    }
};

bool hasQuadsToDivide(PlainGrid const& grid) {
    return grid.highestU > 0 && grid.highestV > 0;
}

/// The nodes, the areas and, if they are to be built, the search points of a result.
testing::AssertionResult isResult(RectMesh const& result, PlainGrid const& expected,
                                  std::uint32_t quadsPerPoint, bool hasSearchPoints) {
    testing::AssertionResult const nodes = sameStored(result, expected);
    if (!nodes) {
        return nodes;
    }
    testing::AssertionResult const areas = sameAreas(result, plainGridOf(result).getAreas());
    if (!areas || !hasSearchPoints || !hasQuadsToDivide(expected)) {
        return areas;
    }
    PlainSearchPoints const points = expected.getSearchPoints(quadsPerPoint);
    if (result.numberOfSearchPointsU != points.countU || result.numberOfSearchPointsV != points.countV ||
        result.searchPoints.size() != points.quads.size()) {
        return testing::AssertionFailure() << "another lattice of search points";
    }
    for (std::size_t i = 0; i < points.quads.size(); ++i) {
        if (result.searchPoints[i] != GridIndex(points.quads[i].u, points.quads[i].v)) {
            return testing::AssertionFailure() << "search point " << i;
        }
    }
    return testing::AssertionSuccess();
}

using Derivation = std::function<void(RectMesh& source, RectMesh& result)>;
using PlainDerivation = std::function<PlainGrid(PlainGrid const& shown)>;

/// Runs the derivation on a plain and on a scaled grid, into a new grid, into one that was another, and into
/// the source itself, and compares with the plain version. No run may number a grid.
void expectDerived(RectMesh const& grid, Derivation const& derive, PlainDerivation const& plainDerive,
                   bool hasSearchPoints) {
    for (int kind = 0; kind < 3; ++kind) {
        SCOPED_TRACE(kind == 0 ? "into a new grid" : (kind == 1 ? "into another grid" : "into itself"));
        Sources sources(grid);
        for (RectMesh* source : {&sources.plain, static_cast<RectMesh*>(&sources.scaled)}) {
            SCOPED_TRACE(source == &sources.plain ? "plain" : "scaled");
            PlainGrid const shown = plainGridOf(*source);
            PlainGrid const storedBefore = plainStoredGridOf(*source);
            source->quadsPerSearchPoint = divisor(shown.highestU);
            std::uint32_t const quadsPerPoint = source->quadsPerSearchPoint;
            RectMesh other;
            if (kind == 1) {
                fill(other, wavyGrid(6, 9, 3.0));
            }
            RectMesh& result = kind == 2 ? *source : other;
            std::uint32_t const count = RectMesh::creationCount;
            derive(*source, result);
            EXPECT_EQ(RectMesh::creationCount, count);
            ASSERT_TRUE(isResult(result, plainDerive(shown), quadsPerPoint, hasSearchPoints));
            if (kind != 2) {
                EXPECT_TRUE(sameStored(*source, storedBefore));
            }
        }
    }
}

RectMesh boxGrid(double x, double y, double z) {
    return makeGrid(8, 6, [=](int u, int v) {
        return SpacePoint(3.0 + x * u / 8.0, -7.0 + y * v / 6.0, 2.0 + (u == 4 && v == 3 ? z : 0.0));
    });
}

double largestSideOf(RectMesh& grid) {
    auto const d = grid.getBoundingBoxAA().getd();
    return std::max(d.getdX(), std::max(d.getdY(), d.getdZ()));
}

// Flattened

TEST(Flattened, MeanQuadAreaFourPutsNodeThreeTwoAtSixFour) {
    RectMesh grid = flatGrid(5, 4, 2.0);
    ASSERT_EQ(grid.getMeanQuadArea(), 4.0);
    RectMesh result;
    grid.getFlattened(result);
    EXPECT_EQ(result.getPoint({3, 2}), SpacePoint(6.0, 4.0, 0.0));
    EXPECT_EQ(result.getMeanQuadArea(), 4.0);
}

TEST(Flattened, GoesByTheStoredMeanArea) {
    RectMesh grid = wavyGrid(5, 4, 1.0);
    grid.meanQuadArea = 2.25;
    RectMesh result;
    grid.getFlattened(result);
    EXPECT_EQ(result.getPoint({4, 3}), SpacePoint(6.0, 4.5, 0.0));
}

TEST(Flattened, AreasAreThoseOfItsQuadsForSidesOfAnySize) {
    RectMesh grid = wavyGrid(70, 9, 3.0);
    punchHole(grid, {0, 0}, {5, 3});
    punchHole(grid, {40, 4}, {41, 9});
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (double const area : {1.0, 0.3, 7e-5, 0.0, -0.0, -1.0, 1e-75, 1e-86, 1e-91, 1e-300, 1e68, 1e73, 1e74,
                              1e76, 1e77, 1e300, infinity, std::nan("")}) {
        grid.meanQuadArea = area;
        RectMesh result;
        grid.getFlattened(result);
        EXPECT_TRUE(sameStored(result, plainFlattened(plainGridOf(grid), area))) << area;
        EXPECT_TRUE(sameAreas(result, plainGridOf(result).getAreas())) << area;
    }
}

TEST(Flattened, DoesNotBuildSearchPoints) {
    RectMesh grid = flatGrid(12, 12);
    RectMesh fresh;
    grid.getFlattened(fresh);
    EXPECT_TRUE(fresh.searchPoints.empty());

    RectMesh used = flatGrid(30, 50);
    used.calculateSearchPoints(10, used.numberOfSearchPointsU, used.numberOfSearchPointsV);
    auto const former = used.searchPoints;
    ASSERT_GT(used.numberOfSearchPointsU, 1U);
    ASSERT_GT(used.numberOfSearchPointsV, 1U);
    grid.getFlattened(used);
    EXPECT_EQ(used.searchPoints, former);
    EXPECT_EQ(used.numberOfSearchPointsU, 1U);
    EXPECT_EQ(used.numberOfSearchPointsV, 1U);
}

// Normalised

TEST(Normalised, LargestSideBecomesTheSizeAndTheOriginTheCentre) {
    RectMesh grid = boxGrid(10.0, 4.0, 2.0);
    RectMesh result;
    grid.getNormalised(1.0, result);
    auto const box = result.getBoundingBoxAA();
    EXPECT_NEAR(box.getd().getdX(), 1.0, 1e-6);
    EXPECT_NEAR(box.getd().getdY(), 0.4, 1e-6);
    EXPECT_NEAR(box.getd().getdZ(), 0.2, 1e-6);
    SpacePoint const centre = box.getCentrePoint();
    EXPECT_NEAR(centre.getX(), 0.0, 1e-6);
    EXPECT_NEAR(centre.getY(), 0.0, 1e-6);
    EXPECT_NEAR(centre.getZ(), 0.0, 1e-6);
}

TEST(Normalised, EachAxisCanBeTheLargest) {
    for (RectMesh grid : {boxGrid(10.0, 4.0, 2.0), boxGrid(4.0, 10.0, 2.0), boxGrid(2.0, 4.0, 10.0)}) {
        RectMesh result;
        grid.getNormalised(3.0, result);
        EXPECT_NEAR(largestSideOf(result), 3.0, 2e-6);
    }
}

TEST(Normalised, ATieForTheLargestSideTakesZ) {
    // x and y tie at 8: neither is strictly larger, so z counts, although it is the smallest.
    RectMesh grid = boxGrid(8.0, 8.0, 2.0);
    RectMesh result;
    grid.getNormalised(1.0, result);
    EXPECT_NEAR(result.getBoundingBoxAA().getd().getdX(), 4.0, 1e-6);
    // Ties of z with another are ties at the right value.
    RectMesh second = boxGrid(8.0, 2.0, 8.0);
    second.getNormalised(1.0, result);
    EXPECT_NEAR(largestSideOf(result), 1.0, 1e-6);
}

TEST(Normalised, ShiftActsBeforeScale) {
    RectMesh grid = flatGrid(4, 4);
    RectMesh result;
    grid.getNormalised(3.0, SpaceVector(1.0, -2.0, 5.0), result);
    EXPECT_EQ(result.getPoint({2, 3}), SpacePoint(9.0, 3.0, 15.0));
    EXPECT_EQ(result.getMeanQuadArea(), 9.0);
}

// Sub-sampled

TEST(SubSampled, ApproximateCountQuartersUntilItIsReached) {
    RectMesh grid = flatGrid(64, 64);
    RectMesh result;
    grid.getSubSampled(RectMesh::ApproximateQuadCount, 100, result);
    EXPECT_EQ(result.getExtents().getdU(), 8U);
    EXPECT_EQ(result.getExtents().getdV(), 8U);
    EXPECT_EQ(result.getPoint({3, 5}), SpacePoint(24.0, 40.0, 0.0));
    EXPECT_EQ(result.getMeanQuadArea(), 64.0);
}

TEST(SubSampled, AnExactCountIsReachedAndOneLessIsNot) {
    RectMesh grid = flatGrid(16, 16);
    RectMesh result;
    grid.getSubSampled(RectMesh::ApproximateQuadCount, 64, result);
    EXPECT_EQ(result.getExtents().getdU(), 8U);
    grid.getSubSampled(RectMesh::ApproximateQuadCount, 63, result);
    EXPECT_EQ(result.getExtents().getdU(), 4U);
    // The quartered count is cut: 255 >> 2 is 63.
    RectMesh odd = flatGrid(15, 17);
    odd.getSubSampled(RectMesh::ApproximateQuadCount, 63, result);
    EXPECT_EQ(result.getExtents().getdU(), 7U);
    EXPECT_EQ(result.getExtents().getdV(), 8U);
}

TEST(SubSampled, CountZeroEnds) {
    RectMesh grid = flatGrid(16, 16);
    RectMesh result;
    // 256 quads: 64, 16, 4, 1, 0.
    grid.getSubSampled(RectMesh::ApproximateQuadCount, 0, result);
    EXPECT_EQ(result.getExtents().getdU(), 0U);
    EXPECT_EQ(result.getExtents().getdV(), 0U);
    EXPECT_TRUE(result.getIsPointValid({0, 0}));
}

TEST(SubSampled, CountAtOrAboveTheQuadsIsAPlainCopy) {
    RectMesh grid = wavyGrid(11, 7, 1.0);
    punchMiddle(grid);
    scatterFlags(grid, 3);
    for (unsigned long const value : {77UL, 78UL, 4000000000UL}) {
        RectMesh result;
        grid.getSubSampled(RectMesh::ApproximateQuadCount, value, result);
        EXPECT_TRUE(sameNodes(result, plainSubSampled(plainGridOf(grid), 1)));
    }
}

TEST(SubSampled, FactorThreeOnExtentsTenTakesNodesZeroThreeSixNine) {
    RectMesh grid = flatGrid(10, 10);
    RectMesh result;
    grid.getSubSampled(RectMesh::Factor, 3, result);
    ASSERT_EQ(result.getExtents().getdU(), 3U);
    ASSERT_EQ(result.getExtents().getdV(), 3U);
    for (int v = 0; v <= 3; ++v) {
        for (int u = 0; u <= 3; ++u) {
            EXPECT_EQ(result.getPoint({u, v}), SpacePoint(3.0 * u, 3.0 * v, 0.0));
        }
    }
}

TEST(SubSampled, FactorZeroCountsAsOne) {
    RectMesh grid = wavyGrid(9, 6, 1.0);
    punchMiddle(grid);
    RectMesh result;
    grid.getSubSampled(RectMesh::Factor, 0, result);
    EXPECT_TRUE(sameNodes(result, plainSubSampled(plainGridOf(grid), 1)));
}

TEST(SubSampled, AFactorBeyondTheGridLeavesOneNode) {
    RectMesh grid = wavyGrid(9, 6, 1.0);
    RectMesh result;
    for (unsigned long const factor : {10UL, 4294967295UL}) {
        grid.getSubSampled(RectMesh::Factor, factor, result);
        EXPECT_EQ(result.getExtents().getdU(), 0U);
        EXPECT_EQ(result.getExtents().getdV(), 0U);
        EXPECT_EQ(result.getPoint({0, 0}), grid.getPoint({0, 0}));
    }
}

TEST(SubSampled, AnyOtherTypeCopies) {
    RectMesh grid = wavyGrid(9, 6, 1.0);
    for (int const type : {2, -1, 99}) {
        RectMesh result;
        grid.getSubSampled(static_cast<RectMesh::ResampleDataType>(type), 3, result);
        EXPECT_TRUE(sameNodes(result, plainGridOf(grid)));
    }
}

TEST(SubSampled, TheFileNameGoesAlongAndNoOtherDerivationTakesIt) {
    RectMesh grid = flatGrid(6, 6);
    grid.setFileName("C:\\parts\\blade.quads");
    RectMesh result;
    grid.getSubSampled(RectMesh::Factor, 2, result);
    EXPECT_EQ(result.fileName, "C:\\parts\\blade.quads");

    RectMesh other;
    std::string const name = other.fileName;
    grid.getFlattened(other);
    grid.getNormalised(1.0, other);
    grid.getRestrictedToAABB(GridBox(GridIndex(0, 0), GridStep(2, 2)), other);
    EXPECT_EQ(other.fileName, name);
}

TEST(SubSampled, IntoItselfKeepsItsFileName) {
    RectMesh grid = flatGrid(8, 8);
    grid.setFileName("blade.quads");
    grid.getSubSampled(RectMesh::Factor, 2, grid);
    EXPECT_EQ(grid.fileName, "blade.quads");
    EXPECT_EQ(grid.getExtents().getdU(), 4U);
    EXPECT_EQ(grid.getPoint({4, 3}), SpacePoint(8.0, 6.0, 0.0));
}

// Index boxes

TEST(RestrictedToIndexBox, BothEndsAreIncluded) {
    RectMesh grid = flatGrid(10, 10);
    grid.setOffset({4, 4});
    RectMesh result;
    result.setOffset({9, 8});
    grid.getRestrictedToAABB(GridBox(GridIndex(2, 3), GridStep(4, 5)), result);
    EXPECT_EQ(result.getExtents().getdU(), 4U);
    EXPECT_EQ(result.getExtents().getdV(), 5U);
    EXPECT_EQ(result.getPoint({0, 0}), SpacePoint(2.0, 3.0, 0.0));
    EXPECT_EQ(result.getPoint({4, 5}), SpacePoint(6.0, 8.0, 0.0));
    EXPECT_EQ(result.getOffset(), GridStep(9, 8));
}

TEST(RestrictedToIndexBox, MayReachOutsideOnAllSides) {
    RectMesh grid = flatGrid(2, 2);
    RectMesh result;
    grid.getRestrictedToAABB(GridBox(GridIndex(-3, -2), GridStep(9, 8)), result);
    for (int v = 0; v <= 8; ++v) {
        for (int u = 0; u <= 9; ++u) {
            bool const isExpected = u >= 3 && u <= 5 && v >= 2 && v <= 4;
            ASSERT_EQ(result.getIsPointValid({u, v}), isExpected);
            if (isExpected) {
                EXPECT_EQ(result.getPoint({u, v}), SpacePoint(u - 3.0, v - 2.0, 0.0));
            }
        }
    }
    EXPECT_EQ(result.getMeanQuadArea(), 1.0);
}

TEST(RestrictedToIndexBox, AwayFromTheGridNothingIsValid) {
    RectMesh grid = flatGrid(5, 5);
    int const farOff = std::numeric_limits<int>::max();
    for (GridIndex const& corner : {GridIndex(-20, 0), GridIndex(0, 6), GridIndex(farOff, farOff),
                                    GridIndex(-farOff - 1, -farOff - 1)}) {
        RectMesh result;
        grid.getRestrictedToAABB(GridBox(corner, GridStep(3, 3)), result);
        ASSERT_EQ(result.getExtents().getdU(), 3U);
        EXPECT_EQ(result.getMinQuadArea(), 1e11);
        EXPECT_EQ(result.getMaxQuadArea(), 0.0);
        for (int v = 0; v <= 3; ++v) {
            for (int u = 0; u <= 3; ++u) {
                EXPECT_EQ(result.getPointFlags({u, v}), 0);
            }
        }
    }
}

TEST(RestrictedToIndexBox, ANegativeExtentIsTooLargeAndChangesNothing) {
    RectMesh grid = flatGrid(5, 5);
    PlainGrid const before = plainGridOf(grid);
    RectMesh result = wavyGrid(3, 3, 1.0);
    PlainGrid const resultBefore = plainGridOf(result);
    for (GridStep const& extent : {GridStep(-1, 2), GridStep(2, -1), GridStep(-5, -5)}) {
        GridBox const box(GridIndex(1, 1), extent);
        EXPECT_EQ(messageOf([&] { grid.getRestrictedToAABB(box, result); }), insufficientMemory);
        EXPECT_EQ(messageOf([&] { grid.getRestrictedToAABB(box, grid); }), insufficientMemory);
    }
    EXPECT_TRUE(sameNodes(result, resultBefore));
    EXPECT_TRUE(sameNodes(grid, before));
}

// Boxes of space

TEST(RestrictedToSpaceBox, OneNodeIsSetIntoARing) {
    RectMesh grid = flatGrid(8, 8);
    grid.setPointFlags({5, 2}, 5);
    RectMesh result;
    grid.getRestrictedToAABB(SpaceBox(SpacePoint(4.5, 1.5, -1.0), SpaceVector(1.0, 1.0, 2.0)), result);
    EXPECT_EQ(result.getExtents().getdU(), 3U);
    EXPECT_EQ(result.getExtents().getdV(), 3U);
    for (int v = 0; v <= 3; ++v) {
        for (int u = 0; u <= 3; ++u) {
            EXPECT_EQ(result.getIsPointValid({u, v}), u == 1 && v == 1);
        }
    }
    EXPECT_EQ(result.getPoint({1, 1}), SpacePoint(5.0, 2.0, 0.0));
    EXPECT_EQ(result.getPointFlags({1, 1}), 5);
    EXPECT_EQ(result.getMinQuadArea(), 1e11);
}

TEST(RestrictedToSpaceBox, TheBoxIsClosed) {
    RectMesh grid = flatGrid(8, 8);
    RectMesh result;
    grid.getRestrictedToAABB(SpaceBox(SpacePoint(2.0, 3.0, 0.0), SpaceVector(3.0, 1.0, 0.0)), result);
    EXPECT_EQ(result.getExtents().getdU(), 6U);
    EXPECT_EQ(result.getExtents().getdV(), 4U);
    EXPECT_EQ(result.getPoint({1, 1}), SpacePoint(2.0, 3.0, 0.0));
    EXPECT_EQ(result.getPoint({4, 2}), SpacePoint(5.0, 4.0, 0.0));
}

TEST(RestrictedToSpaceBox, NoNodeLeavesThreeByThreeEmptyNodes) {
    RectMesh grid = flatGrid(8, 8);
    RectMesh result;
    grid.getRestrictedToAABB(SpaceBox(SpacePoint(50.0, 50.0, 50.0), SpaceVector(1.0, 1.0, 1.0)), result);
    EXPECT_EQ(result.getExtents().getdU(), 2U);
    EXPECT_EQ(result.getExtents().getdV(), 2U);
    EXPECT_FALSE(result.getIsPointValid({1, 1}));
}

TEST(RestrictedToSpaceBox, NodesOutsideAreLeftOutAlsoWithinTheIndexBox) {
    RectMesh grid = flatGrid(6, 6);
    grid.setPoint({3, 3}, SpacePoint(3.0, 3.0, 9.0));
    RectMesh result;
    grid.getRestrictedToAABB(SpaceBox(SpacePoint(2.0, 2.0, -1.0), SpaceVector(2.0, 2.0, 2.0)), result);
    EXPECT_EQ(result.getExtents().getdU(), 5U);
    EXPECT_FALSE(result.getIsPointValid({2, 2}));
    EXPECT_TRUE(result.getIsPointValid({1, 1}));
    EXPECT_TRUE(result.getIsPointValid({3, 3}));
}

TEST(RestrictedToSpaceBox, DoesNotBuildSearchPoints) {
    RectMesh grid = flatGrid(12, 12);
    RectMesh result;
    grid.getRestrictedToAABB(SpaceBox(SpacePoint(-1.0, -1.0, -1.0), SpaceVector(20.0, 20.0, 2.0)), result);
    EXPECT_TRUE(result.searchPoints.empty());
}

TEST(RestrictedToSpaceBox, ABoxOfNaNHoldsNothing) {
    RectMesh grid = flatGrid(4, 4);
    double const nan = std::numeric_limits<double>::quiet_NaN();
    RectMesh result;
    grid.getRestrictedToAABB(SpaceBox(SpacePoint(nan, 0.0, 0.0), SpaceVector(9.0, 9.0, 9.0)), result);
    EXPECT_EQ(result.getExtents().getdU(), 2U);
    grid.getRestrictedToAABB(SpaceBox(SpacePoint(0.0, 0.0, 0.0), SpaceVector(9.0, nan, 9.0)), result);
    EXPECT_EQ(result.getExtents().getdU(), 2U);
}

// All of them

TEST(DerivedMeshes, TheResultsSearchStartsWhereItsLastBeamHitOrInsideTheNewGrid) {
    RectMesh grid = flatGrid(8, 8);
    RectMesh result = flatGrid(20, 20);
    SpaceVector const down(0.0, 0.0, -1.0);
    ASSERT_TRUE(result.getIntersection(SpacePoint(15.6, 15.3, 4.0), down).getIsValid());
    ASSERT_FALSE(result.doResetSearch);
    grid.getSubSampled(RectMesh::Factor, 1, result);
    EXPECT_FALSE(result.doResetSearch);
    EXPECT_EQ(result.lastQuadIndices, GridIndex(15, 15));
    auto const status = result.getIntersection(SpacePoint(5.6, 5.3, 4.0), down);
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(5, 5));
}

TEST(DerivedMeshes, SettingsOfTheResultStay) {
    RectMesh grid = flatGrid(8, 8);
    grid.setOffset({1, 2});
    grid.setDoFlipNormals(true);
    grid.quadsPerSearchPoint = 5;
    RectMesh result;
    result.setOffset({-4, 6});
    result.setAxisFlipFlags(true, false);
    result.setPosition(3);
    grid.getNormalised(2.0, SpaceVector(), result);
    EXPECT_EQ(result.getOffset(), GridStep(-4, 6));
    EXPECT_TRUE(result.doFlipUAxis);
    EXPECT_FALSE(result.doFlipNormals);
    EXPECT_EQ(result.position, 3U);
    EXPECT_EQ(result.quadsPerSearchPoint, 4096U);
}

TEST(DerivedMeshes, AResultThatSharesRowsWithItsSourceParts) {
    RectMesh grid = flatGrid(8, 8);
    PlainGrid const before = plainGridOf(grid);
    RectMesh copy(grid);
    grid.getSubSampled(RectMesh::Factor, 2, copy);
    EXPECT_TRUE(sameNodes(grid, before));
    EXPECT_EQ(copy.getPoint({2, 2}), SpacePoint(4.0, 4.0, 0.0));
}

class DerivedDifferential : public testing::TestWithParam<std::uint32_t> {
protected:
    std::vector<GridFamily> getFamilies() const {
        std::vector<GridFamily> families = gridFamilies(GetParam());
        for (GridFamily& family : families) {
            scatterFlags(family.grid, GetParam() + 1);
            addStalePoints(family.grid, GetParam() + 2);
        }
        return families;
    }
};

TEST_P(DerivedDifferential, Flattened) {
    for (GridFamily const& family : getFamilies()) {
        SCOPED_TRACE(family.name);
        double const meanArea = family.grid.getMeanQuadArea();
        expectDerived(
            family.grid, [](RectMesh& source, RectMesh& result) { source.getFlattened(result); },
            [=](PlainGrid const& shown) { return plainFlattened(shown, meanArea); }, false);
    }
}

TEST_P(DerivedDifferential, NormalisedToASize) {
    for (GridFamily const& family : getFamilies()) {
        SCOPED_TRACE(family.name);
        for (double const size : {1.0, 37.5, 0.0, -2.0}) {
            expectDerived(
                family.grid, [=](RectMesh& source, RectMesh& result) { source.getNormalised(size, result); },
                [=](PlainGrid const& shown) { return plainNormalised(shown, size); }, true);
        }
    }
}

TEST_P(DerivedDifferential, NormalisedByShiftAndScale) {
    std::mt19937 random(GetParam());
    for (GridFamily const& family : getFamilies()) {
        SCOPED_TRACE(family.name);
        SpaceVector const shift(randomSpread(random, 8), randomSpread(random, 8), randomSpread(random, 8));
        double const scale = randomSpread(random, 8);
        expectDerived(
            family.grid,
            [=](RectMesh& source, RectMesh& result) { source.getNormalised(scale, shift, result); },
            [=](PlainGrid const& shown) { return plainNormalised(shown, scale, plain(shift)); }, true);
    }
}

TEST_P(DerivedDifferential, SubSampled) {
    for (GridFamily const& family : getFamilies()) {
        SCOPED_TRACE(family.name);
        for (std::uint32_t const value : {1U, 2U, 3U, 7U, 40U, 500U}) {
            expectDerived(
                family.grid,
                [=](RectMesh& source, RectMesh& result) {
                    source.getSubSampled(RectMesh::Factor, value, result);
                },
                [=](PlainGrid const& shown) { return plainSubSampled(shown, value); }, true);
            expectDerived(
                family.grid,
                [=](RectMesh& source, RectMesh& result) {
                    source.getSubSampled(RectMesh::ApproximateQuadCount, value, result);
                },
                [=](PlainGrid const& shown) { return plainSubSampled(shown, plainSampleStep(shown, value)); },
                true);
        }
    }
}

TEST_P(DerivedDifferential, RestrictedToIndexBoxes) {
    std::mt19937 random(GetParam() + 3);
    auto const drawn = [&](int low, int high) {
        return low + static_cast<int>(random() % static_cast<std::uint32_t>(high - low + 1));
    };
    for (GridFamily const& family : getFamilies()) {
        SCOPED_TRACE(family.name);
        for (int i = 0; i < 4; ++i) {
            PlainIndex const low{drawn(-12, 25), drawn(-12, 25)};
            GridStep const extent(drawn(0, 40), drawn(0, 40));
            GridBox const box(GridIndex(low.u, low.v), extent);
            expectDerived(
                family.grid,
                [=](RectMesh& source, RectMesh& result) { source.getRestrictedToAABB(box, result); },
                [=](PlainGrid const& shown) {
                    return plainRestricted(shown, low, static_cast<std::uint32_t>(extent.getdU()),
                                           static_cast<std::uint32_t>(extent.getdV()));
                },
                true);
        }
    }
}

TEST_P(DerivedDifferential, RestrictedToBoxesOfSpace) {
    std::mt19937 random(GetParam() + 4);
    auto const share = [&] { return static_cast<double>(random()) / 4294967296.0; };
    for (GridFamily& family : getFamilies()) {
        SCOPED_TRACE(family.name);
        SpaceBox const whole = family.grid.getBoundingBoxAA();
        for (int i = 0; i < 4; ++i) {
            SpaceVector const d = whole.getd();
            SpaceVector const toCorner(d.getdX() * share(), d.getdY() * share(), d.getdZ() * share() * 0.5);
            SpaceVector const extent(d.getdX() * share(), d.getdY() * share(), d.getdZ());
            SpaceBox const box(whole.getp() + toCorner, extent);
            PlainBox const plainBox{plain(box.getp()), plain(extent)};
            expectDerived(
                family.grid,
                [=](RectMesh& source, RectMesh& result) { source.getRestrictedToAABB(box, result); },
                [=](PlainGrid const& shown) { return plainRestricted(shown, plainBox); }, false);
        }
    }
}

TEST_P(DerivedDifferential, WildGridsNormalisedThinnedOutAndRestricted) {
    double const infinity = std::numeric_limits<double>::infinity();
    for (GridFamily const& family : wildGridFamilies(GetParam())) {
        SCOPED_TRACE(family.name);
        expectDerived(
            family.grid, [](RectMesh& source, RectMesh& result) { source.getNormalised(3.0, result); },
            [](PlainGrid const& shown) { return plainNormalised(shown, 3.0); }, true);
        expectDerived(
            family.grid,
            [](RectMesh& source, RectMesh& result) { source.getSubSampled(RectMesh::Factor, 2, result); },
            [](PlainGrid const& shown) { return plainSubSampled(shown, 2); }, true);
        for (SpaceVector const& extent :
             {SpaceVector(), SpaceVector(2.0, 3.0, 1.0), SpaceVector(1e31, 4.0, infinity),
              SpaceVector(infinity, infinity, infinity)}) {
            for (double const low : {-1.0, -0.0, -1e38}) {
                SpaceBox const box(SpacePoint(low, low, low), extent);
                PlainBox const plainBox{plain(box.getp()), plain(extent)};
                expectDerived(
                    family.grid,
                    [&](RectMesh& source, RectMesh& result) { source.getRestrictedToAABB(box, result); },
                    [&](PlainGrid const& shown) { return plainRestricted(shown, plainBox); }, false);
            }
        }
    }
}

TEST(RestrictedToIndexBox, CornersAtTheEndsOfTheIndicesHoldNothing) {
    RectMesh const grid = flatGrid(5, 4);
    for (int const corner : {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        RectMesh result;
        grid.getRestrictedToAABB(GridBox(GridIndex(corner, corner), GridStep(7, 6)), result);
        PlainGrid const expected = plainRestricted(plainGridOf(grid), {corner, corner}, 7, 6);
        EXPECT_TRUE(sameNodes(result, expected));
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DerivedDifferential, testing::Values(4U, 90U));

// Changes in place

AffineMap affineMap(PlainAffineMap const& map) {
    LinearMap linear;
    for (unsigned long row = 0; row < 3; ++row) {
        for (unsigned long column = 0; column < 3; ++column) {
            linear.set(row, column, map.matrix[3 * row + column]);
        }
    }
    return {linear, SpaceVector(map.translation.x, map.translation.y, map.translation.z)};
}

PlainAffineMap randomMap(std::mt19937& random) {
    PlainAffineMap map;
    for (double& entry : map.matrix) {
        entry = randomSpread(random, 3);
    }
    map.translation = {randomSpread(random, 5), randomSpread(random, 5), randomSpread(random, 5)};
    return map;
}

TEST(Transform, MapsAboutTheOriginGivenAndLeavesAreasAndSearchPoints) {
    RectMesh grid = flatGrid(6, 6);
    punchHole(grid, {2, 2}, {2, 2});
    PlainGrid const before = plainGridOf(grid);
    PlainAffineMap const doubling{{2.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 2.0}, {0.0, 0.0, 5.0}};
    grid.transform(SpacePoint(1.0, 1.0, 0.0), affineMap(doubling));
    EXPECT_EQ(grid.getPoint({3, 5}), SpacePoint(5.0, 9.0, 5.0));
    EXPECT_EQ(grid.getPoint({1, 1}), SpacePoint(1.0, 1.0, 5.0));
    EXPECT_EQ(grid.getMeanQuadArea(), 1.0);
    EXPECT_TRUE(sameSearchPoints(grid, before));
    // Points of nodes that are not valid stay.
    EXPECT_EQ(grid.RectMesh::getPoint({2, 2}), SpacePoint(2.0, 2.0, 0.0));
    EXPECT_FALSE(grid.getIsPointValid({2, 2}));
}

TEST(Transform, WorksOnTheStoredPointsOfADerivedGrid) {
    Sources sources(flatGrid(4, 4), 2.0);
    PlainAffineMap const map{{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}, {10.0, 0.0, 0.0}};
    sources.scaled.transform(SpacePoint(), affineMap(map));
    EXPECT_EQ(sources.scaled.RectMesh::getPoint({1, 2}), SpacePoint(11.0, 2.0, 0.0));
    EXPECT_EQ(sources.scaled.getPoint({1, 2}), SpacePoint(22.0, 4.0, 0.0));
}

TEST(Transform, SameBitsAsThePlainVersion) {
    std::mt19937 random(12);
    for (GridFamily& family : gridFamilies(8)) {
        SCOPED_TRACE(family.name);
        scatterFlags(family.grid, 9);
        addStalePoints(family.grid, 10);
        PlainAffineMap const map = randomMap(random);
        SpacePoint const origin(randomSpread(random, 5), randomSpread(random, 5), randomSpread(random, 5));
        Sources sources(family.grid);
        PlainGrid const expected = plainTransformed(plainGridOf(family.grid), plain(origin), map);
        for (RectMesh* grid : {&sources.plain, static_cast<RectMesh*>(&sources.scaled)}) {
            PlainAreas const areas{grid->getMaxQuadArea(), grid->getMeanQuadArea(), grid->getMinQuadArea()};
            grid->transform(origin, affineMap(map));
            ASSERT_TRUE(sameStored(*grid, expected));
            EXPECT_TRUE(sameAreas(*grid, areas));
        }
    }
}

TEST(FlipWinding, AxisVReversesRowsWithFlagsAndPointsOfInvalidNodes) {
    RectMesh grid = wavyGrid(4, 3, 1.0);
    scatterFlags(grid, 2);
    grid.setPointFlags({1, 2}, 0);
    PlainGrid const before = plainGridOf(grid);
    grid.flipWinding(AxisV);
    EXPECT_TRUE(sameNodes(grid, plainWithRowsReversed(before)));
    EXPECT_FALSE(grid.getIsPointValid({3, 2}));
    grid.flipWinding(AxisV);
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST(FlipWinding, AxisUReversesColumns) {
    RectMesh grid = wavyGrid(4, 3, 1.0);
    scatterFlags(grid, 2);
    grid.setPointFlags({1, 2}, 0);
    PlainGrid const before = plainGridOf(grid);
    grid.flipWinding(AxisU);
    EXPECT_TRUE(sameNodes(grid, plainWithColumnsReversed(before)));
    EXPECT_FALSE(grid.getIsPointValid({1, 1}));
    grid.flipWinding(AxisU);
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST(FlipWinding, AxisUClearsThePointsOfASingleRow) {
    RectMesh grid = wavyGrid(5, 0, 1.0);
    scatterFlags(grid, 4);
    PlainGrid expected = plainGridOf(grid);
    expected.points.assign(expected.points.size(), PlainPoint{});
    grid.flipWinding(AxisU);
    EXPECT_TRUE(sameNodes(grid, expected));
}

TEST(FlipWinding, SingleColumns) {
    RectMesh grid = wavyGrid(0, 5, 1.0);
    PlainGrid const before = plainGridOf(grid);
    grid.flipWinding(AxisV);
    EXPECT_TRUE(sameNodes(grid, before));
    grid.flipWinding(AxisU);
    EXPECT_TRUE(sameNodes(grid, plainWithColumnsReversed(before)));
}

TEST(FlipWinding, AnyOtherAxisIsRefusedUnchanged) {
    RectMesh grid = wavyGrid(4, 3, 1.0);
    PlainGrid const before = plainGridOf(grid);
    for (int const axis : {2, -1, 50}) {
        EXPECT_EQ(messageOf([&] { grid.flipWinding(static_cast<CanonicalAxis>(axis)); }),
                  "Invalid scan flip axis");
    }
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST(FlipWinding, ReversesEveryFamilyAsItShows) {
    for (GridFamily& family : gridFamilies(31)) {
        SCOPED_TRACE(family.name);
        scatterFlags(family.grid, 5);
        addStalePoints(family.grid, 6);
        for (CanonicalAxis const axis : {AxisU, AxisV}) {
            if (axis == AxisU && family.grid.getExtents().getdV() == 0U) {
                continue;
            }
            Sources sources(family.grid);
            for (RectMesh* grid : {&sources.plain, static_cast<RectMesh*>(&sources.scaled)}) {
                PlainGrid const shown = plainGridOf(*grid);
                grid->flipWinding(axis);
                ASSERT_TRUE(sameStored(*grid, axis == AxisV ? plainWithRowsReversed(shown)
                                                            : plainWithColumnsReversed(shown)));
            }
        }
    }
}

TEST(Mirror, ThroughYZAtOneTurnsXIntoTwoMinusXAndReversesRows) {
    RectMesh grid = wavyGrid(6, 4, 1.0);
    RectMesh before;
    fill(before, grid);
    grid.mirror(PlaneYZ, SpacePoint(1.0, 0.0, 0.0), AxisV);
    for (int v = 0; v <= 4; ++v) {
        for (int u = 0; u <= 6; ++u) {
            SpacePoint const p = before.getPoint({6 - u, v});
            EXPECT_EQ(grid.getPoint({u, v}), SpacePoint(2.0 - p.getX(), p.getY(), p.getZ()));
        }
    }
}

TEST(Mirror, EachPlaneReflectsItsNormal) {
    SpacePoint const origin(1.0, 2.0, 4.0);
    SpacePoint const expected[] = {SpacePoint(-1.0, 1.0, 8.0), SpacePoint(3.0, 3.0, 8.0),
                                   SpacePoint(3.0, 1.0, 0.0), SpacePoint(3.0, 1.0, 8.0)};
    for (int plane = 0; plane < 4; ++plane) {
        RectMesh grid = flatGrid(2, 2);
        grid.setPoint({0, 1}, SpacePoint(3.0, 1.0, 8.0));
        grid.mirror(static_cast<CanonicalPlane>(plane), origin, AxisV);
        EXPECT_EQ(grid.getPoint({2, 1}), expected[plane]) << plane;
    }
}

TEST(Mirror, KeepsTheNormalOnTheMirroredSide) {
    RectMesh grid = flatGrid(4, 4);
    for (CanonicalAxis const axis : {AxisV, AxisU}) {
        grid.mirror(PlaneYZ, SpacePoint(2.0, 0.0, 0.0), axis);
        EXPECT_EQ(grid.getQuadNormalVector({1, 1}, true).getdZ(), 1.0);
    }
    grid.mirror(PlaneXY, SpacePoint(), AxisV);
    EXPECT_EQ(grid.getQuadNormalVector({1, 1}, true).getdZ(), -1.0);
}

TEST(Mirror, AnInvalidAxisIsRefusedAfterTheReflection) {
    RectMesh grid = flatGrid(3, 3);
    EXPECT_EQ(messageOf([&] { grid.mirror(PlaneXZ, SpacePoint(), static_cast<CanonicalAxis>(2)); }),
              "Invalid scan flip axis");
    EXPECT_EQ(grid.getPoint({1, 2}), SpacePoint(1.0, -2.0, 0.0));
    EXPECT_EQ(grid.getPoint({3, 0}), SpacePoint(3.0, 0.0, 0.0));
}

TEST(Mirror, BakesTheScaleOfAScaledGridIn) {
    Sources sources(flatGrid(2, 2), 3.0);
    sources.scaled.mirror(PlaneYZ, SpacePoint(1.0, 0.0, 0.0), AxisV);
    // Stored (0, 2): reflected to (2, 2), shown and so stored as (6, 6), shown from there as (18, 18).
    EXPECT_EQ(sources.scaled.RectMesh::getPoint({2, 2}), SpacePoint(6.0, 6.0, 0.0));
    EXPECT_EQ(sources.scaled.getPoint({2, 2}), SpacePoint(18.0, 18.0, 0.0));
}

TEST(Mirror, LeavesAreasSearchPointsAndNumbering) {
    RectMesh grid = wavyGrid(20, 20, 1.0);
    PlainGrid const before = plainGridOf(grid);
    PlainAreas const areas{grid.getMaxQuadArea(), grid.getMeanQuadArea(), grid.getMinQuadArea()};
    std::uint32_t const count = RectMesh::creationCount;
    grid.mirror(PlaneXY, SpacePoint(0.0, 0.0, 3.0), AxisU);
    EXPECT_EQ(RectMesh::creationCount, count);
    EXPECT_TRUE(sameAreas(grid, areas));
    EXPECT_TRUE(sameSearchPoints(grid, before));
}

TEST(Mirror, SameBitsAsThePlainVersion) {
    std::mt19937 random(3);
    for (GridFamily& family : gridFamilies(60)) {
        SCOPED_TRACE(family.name);
        scatterFlags(family.grid, 5);
        addStalePoints(family.grid, 6);
        SpacePoint const origin(randomSpread(random, 5), randomSpread(random, 5), randomSpread(random, 5));
        for (int plane = -1; plane <= 3; ++plane) {
            RectMesh grid;
            fill(grid, family.grid);
            grid.mirror(static_cast<CanonicalPlane>(plane), origin, AxisV);
            PlainGrid const reflected =
                plainTransformed(plainGridOf(family.grid), plain(origin), plainReflection(plane));
            ASSERT_TRUE(sameNodes(grid, plainWithRowsReversed(reflected))) << plane;
        }
    }
}

TEST(DerivedMeshes, AnEmptyGridIsHarmless) {
    RectMesh empty;
    RectMesh result = flatGrid(3, 3);
    empty.getFlattened(result);
    EXPECT_EQ(result.getExtents().getdU(), 0U);
    EXPECT_FALSE(result.getIsPointValid({0, 0}));
    empty.getNormalised(1.0, result);
    empty.getSubSampled(RectMesh::ApproximateQuadCount, 0, result);
    empty.getRestrictedToAABB(SpaceBox(SpacePoint(), SpaceVector(1.0, 1.0, 1.0)), result);
    EXPECT_EQ(result.getExtents().getdU(), 2U);
    empty.getRestrictedToAABB(GridBox(GridIndex(0, 0), GridStep(2, 2)), result);
    EXPECT_FALSE(result.getIsPointValid({0, 0}));
    empty.mirror(PlaneXY, SpacePoint(), AxisV);
    empty.mirror(PlaneXY, SpacePoint(), AxisU);
    EXPECT_EQ(empty.getExtents().getdU(), 0U);
}

} // namespace
} // namespace QELT::Testing
