#include "Geometry/fitting/utility.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/float_bits.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_analytic.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::QuadMesh::QuadValidityGenerator;
using PlaneSize = Geometry::TwoDimensional::Vector<double>;
using Extents = Geometry::TwoDimensional::Vector<unsigned long>;
using SpaceVector = Geometry::ThreeDimensional::Vector;

constexpr unsigned long manyMB = 100;
constexpr double pi = 3.141592653589793;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr char const* memoryText = "Insufficient memory to initialise quad-mesh.";

/// A grid that an operation is to replace or to leave: with flags that the surfaces never give, a memory of a
/// hit, and search points that no grid has.
RectMesh makeFormerGrid() {
    RectMesh grid = wavyGrid(12, 9, 1.0);
    scatterFlags(grid, 5);
    grid.meanQuadArea = 77.0;
    grid.searchPoints = {{-5, -5}};
    return grid;
}

bool hasFormerSearchPoints(RectMesh const& grid) {
    return grid.searchPoints.size() == 1 && grid.searchPoints[0] == GridIndex(-5, -5);
}

void expectSurface(RectMesh const& grid, PlainSurface const& expected) {
    ASSERT_TRUE(expected.isAccepted);
    EXPECT_TRUE(sameNodes(grid, expected.grid));
    EXPECT_TRUE(sameBits(grid.getMeanQuadArea(), expected.areas.mean));
    EXPECT_TRUE(sameBits(grid.getMinQuadArea(), expected.areas.min));
    EXPECT_TRUE(sameBits(grid.getMaxQuadArea(), expected.areas.max));
}

double uniform(std::mt19937& random, double low, double high) {
    return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
}

double lengthOf(SpacePoint const& p) {
    return std::hypot(double{p.getX()}, double{p.getY()}, double{p.getZ()});
}

std::vector<GridIndex> validNodes(RectMesh const& grid) {
    std::vector<GridIndex> nodes;
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            if (grid.getIsPointValid({u, v})) {
                nodes.push_back({u, v});
            }
        }
    }
    return nodes;
}

// ---- Plane of a size

TEST(Plane, ASizeOfTenByFourFromTheOrigin) {
    RectMesh grid = makeFormerGrid();
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(10.0, 4.0), 1.0, false, manyMB));
    EXPECT_EQ(grid.getExtents(), Extents(10, 4));
    EXPECT_EQ(grid.getPoint({0, 0}), SpacePoint(0.0, 0.0, 0.0));
    EXPECT_EQ(grid.getPoint({10, 4}), SpacePoint(10.0, 4.0, 0.0));
    EXPECT_EQ(grid.getMeanQuadArea(), 1.0);
    EXPECT_EQ(grid.getMinQuadArea(), 1.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 1.0);
}

TEST(Plane, TheSameCentred) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(10.0, 4.0), 1.0, true, manyMB));
    EXPECT_EQ(grid.getPoint({0, 0}), SpacePoint(-5.0, -2.0, 0.0));
    EXPECT_EQ(grid.getPoint({10, 4}), SpacePoint(5.0, 2.0, 0.0));
}

TEST(Plane, TheSizeIsRoundedDownToWholeSteps) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(10.9, 4.0), 1.0, false, manyMB));
    EXPECT_EQ(grid.getExtents(), Extents(10, 4));
    EXPECT_EQ(grid.getPoint({10, 4}), SpacePoint(10.0, 4.0, 0.0));
}

TEST(Plane, ANegativeSizeOrSpacingIsRefusedAndThePreviousGridRemains) {
    RectMesh grid = makeFormerGrid();
    PlainGrid const former = plainGridOf(grid);
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(10.0, 4.0), -1.0, false, manyMB));
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(-10.0, 4.0), 1.0, false, manyMB));
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(10.0, -4.0), 1.0, true, manyMB));
    EXPECT_TRUE(sameNodes(grid, former));
    EXPECT_EQ(grid.getMeanQuadArea(), 77.0);
    EXPECT_TRUE(hasFormerSearchPoints(grid));
}

TEST(Plane, NodesAreValidWithNoOtherFlagAndSearchPointsAreNotBuilt) {
    RectMesh grid = makeFormerGrid();
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(30.0, 40.0), 1.0, false, manyMB));
    EXPECT_EQ(grid.getPointFlags({7, 31}), 1);
    EXPECT_TRUE(hasFormerSearchPoints(grid));
}

TEST(Plane, TheLimitCountsARowAndAColumnMoreThanTheGridGets) {
    RectMesh grid;
    // 205 x 205 = 42025 nodes are a megabyte, 204 x 204 are none.
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(202.0, 202.0), 1.0, false, 0));
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(203.0, 203.0), 1.0, false, 0));
    EXPECT_EQ(grid.getExtents(), Extents(202, 202));
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(203.0, 203.0), 1.0, false, 1));
}

TEST(Plane, TheLimitIsKeptIn32Bits) {
    RectMesh grid;
    unsigned long const wide = sizeof(unsigned long) > 4 ? 0xFFFFFFFFUL + 1UL : 0UL;
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(203.0, 203.0), 1.0, false, wide));
}

TEST(Plane, RandomPlanesAreThoseOfTheFormulaToTheBit) {
    std::mt19937 random(61);
    for (int round = 0; round < 60; ++round) {
        double const sizeU = uniform(random, 0.0, 20.0);
        double const sizeV = uniform(random, 0.0, 20.0);
        double const spacing = uniform(random, 0.2, 3.0);
        bool const centred = round % 2 == 0;
        RectMesh grid = makeFormerGrid();
        ASSERT_TRUE(grid.setAsPlane(PlaneSize(sizeU, sizeV), spacing, centred, manyMB));
        expectSurface(grid, plainPlane(sizeU, sizeV, spacing, centred, manyMB));
    }
}

TEST(Plane, ASideBelowOneStepIsARowOfValidNodesThatAreNaNAlongIt) {
    for (bool const centred : {false, true}) {
        RectMesh grid;
        EXPECT_TRUE(grid.setAsPlane(PlaneSize(4.0, 0.5), 1.0, centred, manyMB));
        EXPECT_EQ(grid.getExtents(), Extents(4, 0));
        for (int u = 0; u <= 4; ++u) {
            EXPECT_TRUE(grid.getIsPointValid({u, 0}));
            EXPECT_TRUE(std::isnan(grid.getPoint({u, 0}).getY()));
        }
    }
}

TEST(Plane, ASizeBelowOneStepIsOneNodeOfNoPlace) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(0.5, 3.0), 1.0, false, manyMB));
    EXPECT_EQ(grid.getExtents(), Extents(0, 3));
    EXPECT_TRUE(std::isnan(grid.getPoint({0, 1}).getX())) << "zero divided by no step";
    EXPECT_EQ(grid.getPoint({0, 1}).getY(), 1.0F);
}

TEST(Plane, NumbersThatAreNoneAndSpacingsOfZeroAreDefined) {
    for (double const spacing : {0.0, notANumber, infinity, 1e-300}) {
        for (double const size : {0.0, 1.0, notANumber, infinity}) {
            SCOPED_TRACE(testing::Message() << size << " / " << spacing);
            RectMesh grid = makeFormerGrid();
            std::string const message =
                messageOf([&] { grid.setAsPlane(PlaneSize(size, size), spacing, true, manyMB); });
            EXPECT_TRUE(message == memoryText || message == "nothing thrown") << message;
        }
    }
}

// ---- Plane of quads

class Everywhere : public QuadValidityGenerator {
public:
    bool getValidity(GridIndex const&) override { return true; }
};

/// Remembers what it was asked, and leaves out one quad.
class AllButOne : public QuadValidityGenerator {
public:
    explicit AllButOne(GridIndex const& newMissing) : missing(newMissing) {}

    bool getValidity(GridIndex const& quad) override {
        asked.push_back(quad);
        return quad != missing;
    }

    std::vector<GridIndex> asked;

private:
    GridIndex missing;
};

class OnlyOne : public QuadValidityGenerator {
public:
    bool getValidity(GridIndex const& quad) override { return quad == GridIndex(1, 2); }
};

TEST(QuadPlane, TheBaseGeneratorLeavesNoValidNodeButThePointsStay) {
    RectMesh grid = makeFormerGrid();
    QuadValidityGenerator generator;
    EXPECT_TRUE(grid.setAsPlane(Extents(4, 3), 2.0, SpacePoint(1.0, 2.0, 3.0), SpaceVector(1.0, 0.0, 0.0),
                                SpaceVector(0.0, 0.0, 1.0), generator));
    EXPECT_TRUE(validNodes(grid).empty());
    EXPECT_EQ(grid.getPoint({4, 3}), SpacePoint(9.0, 2.0, 9.0));
    EXPECT_EQ(grid.getMaxQuadArea(), 0.0);
    EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
    EXPECT_EQ(grid.getMinQuadArea(), 1e11);
    EXPECT_TRUE(hasFormerSearchPoints(grid));
}

TEST(QuadPlane, OneQuadValidatesItsFourCorners) {
    RectMesh grid;
    OnlyOne generator;
    EXPECT_TRUE(grid.setAsPlane(Extents(5, 5), 1.0, SpacePoint(), SpaceVector(1.0, 0.0, 0.0),
                                SpaceVector(0.0, 1.0, 0.0), generator));
    std::vector<GridIndex> const expected{{1, 2}, {2, 2}, {1, 3}, {2, 3}};
    EXPECT_EQ(validNodes(grid), expected);
    EXPECT_EQ(grid.getPointFlags({2, 3}), 1);
    EXPECT_EQ(grid.getMeanQuadArea(), 1.0);
}

TEST(QuadPlane, ASingleQuadLeftOutKeepsItsCornersThroughItsNeighbours) {
    RectMesh grid;
    AllButOne generator({2, 2});
    EXPECT_TRUE(grid.setAsPlane(Extents(5, 4), 1.0, SpacePoint(), SpaceVector(1.0, 0.0, 0.0),
                                SpaceVector(0.0, 1.0, 0.0), generator));
    EXPECT_EQ(validNodes(grid).size(), 30U);
    EXPECT_TRUE(grid.getIsQuadValid({2, 2}));
}

TEST(QuadPlane, TheGeneratorIsAskedForEachQuadOnceRowByRow) {
    RectMesh grid;
    AllButOne generator({0, 0});
    grid.setAsPlane(Extents(2, 3), 1.0, SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                    generator);
    std::vector<GridIndex> const expected{{0, 0}, {1, 0}, {0, 1}, {1, 1}, {0, 2}, {1, 2}};
    EXPECT_EQ(generator.asked, expected);
}

TEST(QuadPlane, ASingleRowHasNoQuadToAskFor) {
    RectMesh grid;
    AllButOne generator({0, 0});
    EXPECT_TRUE(grid.setAsPlane(Extents(4, 0), 1.0, SpacePoint(), SpaceVector(1.0, 0.0, 0.0),
                                SpaceVector(0.0, 1.0, 0.0), generator));
    EXPECT_TRUE(generator.asked.empty());
    EXPECT_TRUE(validNodes(grid).empty());
}

TEST(QuadPlane, ThereIsNoStorageLimitButTheMemory) {
    RectMesh grid = makeFormerGrid();
    Everywhere generator;
    EXPECT_EQ(messageOf([&] {
                  grid.setAsPlane(Extents(0xFFFFFFFFUL, 0xFFFFFFFFUL), 1.0, SpacePoint(), SpaceVector(),
                                  SpaceVector(), generator);
              }),
              memoryText);
    EXPECT_EQ(grid.getExtents(), Extents(0, 0));
}

TEST(QuadPlane, RandomPlanesAreThoseOfTheFormulaToTheBit) {
    class Speckled : public QuadValidityGenerator {
    public:
        bool getValidity(GridIndex const& quad) override { return isQuad(quad.getU(), quad.getV()); }

        static bool isQuad(int u, int v) { return (u * 7 + v * 13) % 5 != 0; }
    };

    std::mt19937 random(62);
    auto const coordinate = [&] { return uniform(random, -3.0, 3.0); };
    for (int round = 0; round < 20; ++round) {
        PlainPoint const origin{static_cast<float>(coordinate()), static_cast<float>(coordinate()),
                                static_cast<float>(coordinate())};
        PlainVector const stepU{coordinate(), coordinate(), coordinate()};
        PlainVector const stepV{coordinate(), coordinate(), coordinate()};
        double const spacing = coordinate();
        std::uint32_t const extentU = static_cast<std::uint32_t>(random()) % 9U;
        std::uint32_t const extentV = static_cast<std::uint32_t>(random()) % 9U;
        RectMesh grid = makeFormerGrid();
        Speckled generator;
        EXPECT_TRUE(grid.setAsPlane(Extents(extentU, extentV), spacing,
                                    SpacePoint(double{origin.x}, double{origin.y}, double{origin.z}),
                                    SpaceVector(stepU.x, stepU.y, stepU.z),
                                    SpaceVector(stepV.x, stepV.y, stepV.z), generator));
        expectSurface(grid,
                      plainQuadPlane(extentU, extentV, spacing, origin, stepU, stepV, Speckled::isQuad));
    }
}

// ---- Cylinder

TEST(CylinderArc, AnArcOfZeroIsOneRowAtAngleZero) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsCylinderArc(10.0, 0.0, 6.0, 1.0, manyMB));
    EXPECT_EQ(grid.getExtents(), Extents(6, 0));
    for (int u = 0; u <= 6; ++u) {
        EXPECT_EQ(grid.getPoint({u, 0}), SpacePoint(10.0, 0.0, u - 3.0));
    }
}

TEST(CylinderArc, ThePointsLieOnTheCylinderAtChordsOfTheSpacing) {
    RectMesh grid = makeFormerGrid();
    double const radius = 12.5;
    EXPECT_TRUE(grid.setAsCylinderArc(radius, 2.0, 9.0, 0.5, manyMB));
    // 2 asin(0.02) = 0.0400027: 49 whole steps of it are in the arc.
    EXPECT_EQ(grid.getExtents(), Extents(18, 49));
    for (GridIndex const& node : validNodes(grid)) {
        SpacePoint const p = grid.getPoint(node);
        EXPECT_NEAR(std::hypot(p.getX(), p.getY()), radius, 2e-6);
        EXPECT_EQ(grid.getPointFlags(node), 1);
    }
    for (int v = 0; v < 49; ++v) {
        SpaceVector const chord = grid.getPoint({3, v + 1}) - grid.getPoint({3, v});
        EXPECT_NEAR(std::sqrt(chord.lSqr()), 0.5, 4e-6);
    }
    EXPECT_EQ(grid.getMeanQuadArea(), 0.25);
    EXPECT_EQ(grid.getMinQuadArea(), 0.25);
    EXPECT_EQ(grid.getMaxQuadArea(), 0.25);
    EXPECT_TRUE(hasFormerSearchPoints(grid));
}

TEST(CylinderArc, TheFirstAngleIsInTheHighestRowAndTheNormalPointsOutward) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsCylinderArc(5.0, 1.5, 4.0, 0.25, manyMB));
    int const highestV = static_cast<int>(grid.getExtents().getdV());
    SpacePoint const first = grid.getPoint({0, highestV});
    EXPECT_NEAR(std::atan2(first.getY(), first.getX()), -0.75, 1e-6);
    for (int v = 0; v < highestV; ++v) {
        SpacePoint const p = grid.getPoint({2, v});
        SpaceVector const outward(double{p.getX()}, double{p.getY()}, 0.0);
        EXPECT_GT(grid.getQuadNormalVector({2, v}, true).dot(outward), 0.0);
        EXPECT_GT(grid.getQuadNormalVector({2, v}, false).dot(outward), 0.0);
    }
}

TEST(CylinderArc, AnOddNumberOfAxialStepsPutsTheRoundedDownMiddleAtZero) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsCylinderArc(5.0, 1.0, 5.0, 1.0, manyMB));
    EXPECT_EQ(grid.getPoint({2, 0}).getZ(), 0.0F);
    EXPECT_EQ(grid.getPoint({0, 0}).getZ(), -2.0F);
    EXPECT_EQ(grid.getPoint({5, 0}).getZ(), 3.0F);
}

TEST(CylinderArc, TheStorageLimitCountsTheGridsOwnNodes) {
    RectMesh grid = makeFormerGrid();
    PlainGrid const former = plainGridOf(grid);
    double const step = 2.0 * std::asin(0.5 / 100.0);
    EXPECT_FALSE(grid.setAsCylinderArc(100.0, 204.5 * step, 204.5, 1.0, 0));
    EXPECT_TRUE(sameNodes(grid, former));
    EXPECT_TRUE(grid.setAsCylinderArc(100.0, 203.5 * step, 203.5, 1.0, 0));
    EXPECT_EQ(grid.getExtents(), Extents(203, 203));
    EXPECT_TRUE(grid.setAsCylinderArc(100.0, 204.5 * step, 204.5, 1.0, 1));
}

TEST(CylinderArc, RandomArcsAreThoseOfTheFormulaToTheBit) {
    std::mt19937 random(63);
    for (int round = 0; round < 60; ++round) {
        double const radius = uniform(random, 0.5, 30.0);
        double const angle = uniform(random, 0.0, 7.0);
        double const length = uniform(random, 0.0, 20.0);
        double const spacing = uniform(random, 0.3, 1.5);
        RectMesh grid = makeFormerGrid();
        ASSERT_TRUE(grid.setAsCylinderArc(radius, angle, length, spacing, manyMB));
        expectSurface(grid, plainCylinderArc(radius, angle, length, spacing, manyMB));
    }
}

TEST(CylinderArc, AShortLengthDividesByNoStepAndAWideSpacingHasNoAngle) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsCylinderArc(10.0, 1.0, 0.5, 1.0, manyMB));
    EXPECT_EQ(grid.getExtents().getdU(), 0UL);
    EXPECT_TRUE(std::isnan(grid.getPoint({0, 0}).getZ()));
    EXPECT_TRUE(grid.setAsCylinderArc(1.0, 1.0, 5.0, 2.5, manyMB)) << "a chord longer than the diameter";
    EXPECT_EQ(grid.getExtents(), Extents(2, 0));
    EXPECT_TRUE(std::isnan(grid.getPoint({0, 0}).getX()));
}

TEST(CylinderArc, NumbersThatAreNoneAndZerosAreDefined) {
    std::vector<double> const odd{0.0, -1.0, 2.0, notANumber, infinity};
    for (double const radius : odd) {
        for (double const angle : odd) {
            for (double const spacing : odd) {
                RectMesh grid;
                std::string const message =
                    messageOf([&] { grid.setAsCylinderArc(radius, angle, 3.0, spacing, manyMB); });
                EXPECT_TRUE(message == memoryText || message == "nothing thrown") << message;
            }
        }
    }
}

// ---- Paraboloid

TEST(ParaboloidCap, ThePointsLieOnTheParaboloidBelowTheHeight) {
    RectMesh grid = makeFormerGrid();
    SpacePoint const apex(3.0, -2.0, 5.0);
    SpaceVector const axisU(0.6, 0.8, 0.0);
    SpaceVector const axisV(-0.8, 0.6, 0.0);
    double const curvatureU = 0.1;
    double const curvatureV = 0.05;
    double const height = 4.0;
    EXPECT_TRUE(grid.setAsParaboloid(apex, axisU, axisV, curvatureU, curvatureV, height, 0.5, manyMB));
    std::vector<GridIndex> const nodes = validNodes(grid);
    ASSERT_GT(nodes.size(), 1000U);
    for (GridIndex const& node : nodes) {
        SpaceVector const way = grid.getPoint(node) - apex;
        double const x = way.dot(axisU);
        double const y = way.dot(axisV);
        EXPECT_NEAR(way.getdZ(), 0.5 * (curvatureU * x * x + curvatureV * y * y), 2e-5);
        EXPECT_LE(way.getdZ(), height);
        EXPECT_EQ(grid.getPointFlags(node), 1);
    }
    EXPECT_TRUE(sameSearchPoints(grid, plainGridOf(grid)));
}

TEST(ParaboloidCap, TheCapIsFilledToItsRim) {
    RectMesh grid;
    double const height = 4.0;
    EXPECT_TRUE(grid.setAsParaboloid(SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                                     0.1, 0.05, height, 0.25, manyMB));
    auto const box = grid.getBoundingBoxAA();
    // The rim is the ellipse of half axes sqrt(2 height / curvature).
    EXPECT_NEAR(box.getd().getdX(), 2.0 * std::sqrt(80.0), 0.6);
    EXPECT_NEAR(box.getd().getdY(), 2.0 * std::sqrt(160.0), 0.6);
    EXPECT_LE(box.getd().getdX(), 2.0 * std::sqrt(80.0) + 4e-6) << "to the rounding of floats";
    EXPECT_LE(box.getd().getdY(), 2.0 * std::sqrt(160.0) + 4e-6) << "to the rounding of floats";
}

TEST(ParaboloidCap, TheHighestRowAndColumnAreAlwaysInvalid) {
    for (double const spacing : {0.3, 0.7, 1.1, 2.3}) {
        RectMesh grid;
        EXPECT_TRUE(grid.setAsParaboloid(SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                                         0.2, 0.3, 2.0, spacing, manyMB));
        int const highestU = static_cast<int>(grid.getExtents().getdU());
        int const highestV = static_cast<int>(grid.getExtents().getdV());
        ASSERT_FALSE(validNodes(grid).empty());
        for (int u = 0; u <= highestU; ++u) {
            EXPECT_FALSE(grid.getIsPointValid({u, highestV}));
        }
        for (int v = 0; v <= highestV; ++v) {
            EXPECT_FALSE(grid.getIsPointValid({highestU, v}));
        }
    }
}

TEST(ParaboloidCap, TheNodeRightUnderTheEyeStaysInvalid) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsParaboloid(SpacePoint(1.0, 2.0, 3.0), SpaceVector(1.0, 0.0, 0.0),
                                     SpaceVector(0.0, 1.0, 0.0), 0.2, 0.2, 2.0, 0.5, manyMB));
    int const middleU = static_cast<int>(grid.getExtents().getdU()) / 2;
    int const middleV = static_cast<int>(grid.getExtents().getdV()) / 2;
    EXPECT_FALSE(grid.getIsPointValid({middleU, middleV}));
    EXPECT_TRUE(grid.getIsPointValid({middleU + 1, middleV}));
    EXPECT_TRUE(grid.getIsPointValid({middleU, middleV - 1}));
}

TEST(ParaboloidCap, TheExtentsAreTheDiametersAndAThirdInWholeSteps) {
    RectMesh grid;
    // Half axes 2 and 4: flat sizes 16/3 and 32/3.
    EXPECT_TRUE(grid.setAsParaboloid(SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                                     1.0, 0.25, 2.0, 0.1, manyMB));
    EXPECT_EQ(grid.getExtents(), Extents(53, 106));
}

TEST(ParaboloidCap, ARefusedSizeLeavesTheGrid) {
    RectMesh grid = makeFormerGrid();
    PlainGrid const former = plainGridOf(grid);
    EXPECT_FALSE(grid.setAsParaboloid(SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                                      1.0, 1.0, 2.0, 16.0 / 3.0 / 204.5, 0));
    EXPECT_TRUE(sameNodes(grid, former));
    EXPECT_TRUE(hasFormerSearchPoints(grid));
    EXPECT_TRUE(grid.setAsParaboloid(SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                                     1.0, 1.0, 2.0, 16.0 / 3.0 / 203.5, 0));
    EXPECT_EQ(grid.getExtents(), Extents(203, 203));
}

TEST(ParaboloidCap, RandomCapsAreThoseOfTheFormulaToTheBit) {
    std::mt19937 random(64);
    for (int round = 0; round < 40; ++round) {
        double const angle = uniform(random, 0.0, 2.0 * pi);
        double const tilt = uniform(random, 0.0, 1.5);
        PlainVector const axisU{std::cos(angle), std::sin(angle), 0.0};
        PlainVector const axisV{-std::sin(angle) * std::cos(tilt), std::cos(angle) * std::cos(tilt),
                                std::sin(tilt)};
        PlainPoint const apex{static_cast<float>(uniform(random, -50.0, 50.0)),
                              static_cast<float>(uniform(random, -50.0, 50.0)),
                              static_cast<float>(uniform(random, -50.0, 50.0))};
        double const curvatureU = uniform(random, 0.02, 1.0);
        double const curvatureV = uniform(random, 0.02, 1.0);
        double const height = uniform(random, 0.1, 6.0);
        double const spacing = uniform(random, 0.3, 1.0);
        RectMesh grid = makeFormerGrid();
        ASSERT_TRUE(grid.setAsParaboloid(SpacePoint(double{apex.x}, double{apex.y}, double{apex.z}),
                                         SpaceVector(axisU.x, axisU.y, axisU.z),
                                         SpaceVector(axisV.x, axisV.y, axisV.z), curvatureU, curvatureV,
                                         height, spacing, manyMB));
        expectSurface(grid,
                      plainParaboloid(apex, axisU, axisV, curvatureU, curvatureV, height, spacing, manyMB));
    }
}

TEST(ParaboloidCap, NumbersThatAreNoneAndZerosAreDefined) {
    std::vector<double> const odd{0.0, -1.0, 1.0, notANumber, infinity};
    for (double const curvature : odd) {
        for (double const height : odd) {
            for (double const spacing : odd) {
                SCOPED_TRACE(testing::Message() << curvature << ", " << height << ", " << spacing);
                RectMesh grid;
                std::string const message = messageOf([&] {
                    grid.setAsParaboloid(SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                                         curvature, 1.0, height, spacing, manyMB);
                });
                EXPECT_TRUE(message == memoryText || message == "nothing thrown") << message;
            }
        }
    }
}

// ---- Spherical cap

TEST(SphereCap, ThePointsLieOnTheSphereWithinTheHalfAngle) {
    RectMesh grid = makeFormerGrid();
    double const radius = 40.0;
    double const halfAngle = 0.9;
    EXPECT_TRUE(grid.setAsSphereArcStereographic(radius, halfAngle, 0.8, manyMB));
    std::vector<GridIndex> const nodes = validNodes(grid);
    ASSERT_GT(nodes.size(), 1000U);
    for (GridIndex const& node : nodes) {
        SpacePoint const p = grid.getPoint(node);
        EXPECT_NEAR(lengthOf(p), radius, 2e-5);
        EXPECT_GE(double{p.getZ()}, radius * std::cos(halfAngle) - 1e-5);
        EXPECT_EQ(grid.getPointFlags(node), 1);
    }
    EXPECT_TRUE(sameSearchPoints(grid, plainGridOf(grid)));
}

TEST(SphereCap, TheCapReachesTheHalfAngleAndNoNodeWithinItIsMissing) {
    RectMesh grid;
    double const radius = 10.0;
    double const halfAngle = 1.2;
    EXPECT_TRUE(grid.setAsSphereArcStereographic(radius, halfAngle, 0.2, manyMB));
    // The image of an angle a at the pole is 4 r tan(a / 2) wide.
    EXPECT_EQ(grid.getExtents().getdU(), static_cast<unsigned long>(4.0 * radius * std::tan(0.6) / 0.2));
    int const middle = static_cast<int>(grid.getExtents().getdU()) / 2;
    for (int v = 0; v <= static_cast<int>(grid.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(grid.getExtents().getdU()); ++u) {
            double const image = 0.2 * std::hypot(u - middle, v - middle);
            double const angle = 2.0 * std::atan(image / (2.0 * radius));
            if (std::abs(angle - halfAngle) > 1e-6) {
                EXPECT_EQ(grid.getIsPointValid({u, v}), angle < halfAngle) << u << ", " << v;
            }
            if (grid.getIsPointValid({u, v})) {
                EXPECT_NEAR(double{grid.getPoint({u, v}).getZ()}, radius * std::cos(angle), 1e-5);
            }
        }
    }
}

TEST(SphereCap, TheNodeNearestTheMiddleIsHighestAndTheMiddleItselfIsTheRadius) {
    for (double const spacing : {0.5, 0.37, 0.61}) {
        RectMesh grid;
        EXPECT_TRUE(grid.setAsSphereArcStereographic(8.0, 1.0, spacing, manyMB));
        int const middle = static_cast<int>(grid.getExtents().getdU()) / 2;
        ASSERT_TRUE(grid.getIsPointValid({middle, middle}));
        EXPECT_EQ(grid.getPoint({middle, middle}), SpacePoint(0.0, 0.0, 8.0));
        for (GridIndex const& node : validNodes(grid)) {
            if (node != GridIndex(middle, middle)) {
                EXPECT_LT(grid.getPoint(node).getZ(), 8.0F);
            }
        }
    }
}

TEST(SphereCap, TheNormalPointsOutward) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsSphereArcStereographic(8.0, 1.0, 0.5, manyMB));
    int count = 0;
    for (GridIndex const& node : validNodes(grid)) {
        if (grid.getIsQuadValid(node)) {
            SpacePoint const p = grid.getMeanQuadPoint(node);
            EXPECT_GT(grid.getQuadNormalVector(node, true).dot(p - SpacePoint()), 0.0);
            ++count;
        }
    }
    EXPECT_GT(count, 100);
}

TEST(SphereCap, AHemisphereIsFourRadiiWide) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsSphereArcStereographic(10.0, 0.5 * pi, 0.75, manyMB));
    EXPECT_EQ(grid.getExtents(), Extents(53, 53));
}

TEST(SphereCap, ARefusedSizeLeavesTheGrid) {
    RectMesh grid = makeFormerGrid();
    PlainGrid const former = plainGridOf(grid);
    EXPECT_FALSE(grid.setAsSphereArcStereographic(10.0, 0.5 * pi, 40.0 / 204.5, 0));
    EXPECT_TRUE(sameNodes(grid, former));
    EXPECT_TRUE(hasFormerSearchPoints(grid));
    EXPECT_TRUE(grid.setAsSphereArcStereographic(10.0, 0.5 * pi, 40.0 / 203.5, 0));
    EXPECT_EQ(grid.getExtents(), Extents(203, 203));
}

TEST(SphereCap, RandomCapsAreThoseOfTheFormulaToTheBit) {
    std::mt19937 random(65);
    for (int round = 0; round < 40; ++round) {
        double const radius = uniform(random, 0.5, 20.0);
        double const halfAngle = uniform(random, 0.05, 2.0);
        double const spacing = radius * uniform(random, 0.05, 0.4);
        RectMesh grid = makeFormerGrid();
        ASSERT_TRUE(grid.setAsSphereArcStereographic(radius, halfAngle, spacing, manyMB));
        expectSurface(grid, plainSphereArc(radius, halfAngle, spacing, manyMB));
    }
}

TEST(SphereCap, NumbersThatAreNoneAndZerosAreDefined) {
    std::vector<double> const odd{0.0, -1.0, 1.0, pi, notANumber, infinity};
    for (double const radius : odd) {
        for (double const halfAngle : odd) {
            for (double const spacing : odd) {
                SCOPED_TRACE(testing::Message() << radius << ", " << halfAngle << ", " << spacing);
                RectMesh grid;
                std::string const message =
                    messageOf([&] { grid.setAsSphereArcStereographic(radius, halfAngle, spacing, manyMB); });
                EXPECT_TRUE(message == memoryText || message == "nothing thrown") << message;
            }
        }
    }
}

TEST(SphereCap, TheAreaPreservingFormLeavesTheGridWhateverTheArguments) {
    RectMesh grid = makeFormerGrid();
    PlainGrid const former = plainGridOf(grid);
    for (double const value : {0.0, -1.0, 1.0, 1e30, notANumber, infinity}) {
        EXPECT_TRUE(grid.setAsSphereArcAreaPreserving(value, value, value, 0));
        EXPECT_TRUE(grid.setAsSphereArcAreaPreserving(10.0, value, 0.1, manyMB));
    }
    EXPECT_TRUE(sameNodes(grid, former));
    EXPECT_EQ(grid.getMeanQuadArea(), 77.0);
    EXPECT_TRUE(hasFormerSearchPoints(grid));
}

// ---- Height field

TEST(HeightField, TwiceGivesIdenticalGridsOf129By129Nodes) {
    RectMesh grid = makeFormerGrid();
    EXPECT_TRUE(grid.setAsHeightField());
    PlainGrid const first = plainGridOf(grid);
    double const meanArea = grid.getMeanQuadArea();
    EXPECT_TRUE(grid.setAsHeightField());
    EXPECT_TRUE(sameNodes(grid, first));
    EXPECT_EQ(grid.getMeanQuadArea(), meanArea);
    EXPECT_EQ(grid.getExtents(), Extents(128, 128));
    EXPECT_EQ(validNodes(grid).size(), 129U * 129U);
    EXPECT_TRUE(hasFormerSearchPoints(grid));
}

TEST(HeightField, TheCornersAre500FromTheMiddleAndWavesRunAlongU) {
    RectMesh grid;
    EXPECT_TRUE(grid.setAsHeightField());
    EXPECT_EQ(grid.getPoint({0, 0}).getX(), -500.0F);
    EXPECT_EQ(grid.getPoint({0, 0}).getY(), -500.0F);
    EXPECT_EQ(grid.getPoint({128, 128}).getX(), 500.0F);
    EXPECT_EQ(grid.getPoint({128, 128}).getY(), 500.0F);
    EXPECT_EQ(grid.getPoint({64, 64}), SpacePoint(0.0, 0.0, 500.0 / 12.0));
    for (int u = 0; u <= 128; ++u) {
        double const s = u / 64.0 - 1.0;
        EXPECT_NEAR(double{grid.getPoint({u, 17}).getZ()}, 500.0 / 12.0 * std::cos(4.0 * pi * s), 1e-5);
        EXPECT_EQ(grid.getPoint({u, 17}).getZ(), grid.getPoint({u, 90}).getZ());
    }
}

TEST(HeightField, TheFieldIsThatOfTheFormulaToTheBit) {
    RectMesh grid = makeFormerGrid();
    EXPECT_TRUE(grid.setAsHeightField());
    expectSurface(grid, plainHeightField());
}

// ---- Requests beyond 32 bits

struct Request {
    char const* name;
    bool (*ask)(RectMesh& grid, double spacing, unsigned long maxMB);
};

Request const requests[] = {
    {"plane",
     [](RectMesh& grid, double spacing, unsigned long maxMB) {
         return grid.setAsPlane(PlaneSize(10.0, 4.0), spacing, false, maxMB);
     }},
    {"centred plane, long in u",
     [](RectMesh& grid, double spacing, unsigned long maxMB) {
         return grid.setAsPlane(PlaneSize(10.0, 0.0), spacing, true, maxMB);
     }},
    {"plane, long in v",
     [](RectMesh& grid, double spacing, unsigned long maxMB) {
         return grid.setAsPlane(PlaneSize(0.0, 10.0), spacing, true, maxMB);
     }},
    {"cylinder", [](RectMesh& grid, double spacing,
                    unsigned long maxMB) { return grid.setAsCylinderArc(5.0, 2.0, 20.0, spacing, maxMB); }},
    {"cylinder without length",
     [](RectMesh& grid, double spacing, unsigned long maxMB) {
         return grid.setAsCylinderArc(50.0, 6.0, 0.0, spacing, maxMB);
     }},
    {"paraboloid",
     [](RectMesh& grid, double spacing, unsigned long maxMB) {
         return grid.setAsParaboloid(SpacePoint(), SpaceVector(1.0, 0.0, 0.0), SpaceVector(0.0, 1.0, 0.0),
                                     0.2, 0.3, 2.0, spacing, maxMB);
     }},
    {"sphere",
     [](RectMesh& grid, double spacing, unsigned long maxMB) {
         return grid.setAsSphereArcStereographic(8.0, 1.0, spacing, maxMB);
     }},
};

TEST(StorageLimit, RefusesWhatHasNo32BitCountWhateverTheLimitAndLeavesTheGrid) {
    RectMesh grid = wavyGrid(5, 4, 2.0);
    PlainGrid const before = plainGridOf(grid);
    for (Request const& request : requests) {
        for (double const spacing : {1e-9, 1e-12, 1e-300, 0.0}) {
            for (unsigned long const maxMB : {0UL, manyMB, 102400UL, 4294967295UL}) {
                SCOPED_TRACE(testing::Message() << request.name << ' ' << spacing << ' ' << maxMB);
                bool isAccepted = true;
                ASSERT_NO_THROW(isAccepted = request.ask(grid, spacing, maxMB));
                ASSERT_FALSE(isAccepted);
                ASSERT_TRUE(sameNodes(grid, before));
                ASSERT_GT(grid.getMeanQuadArea(), 0.0);
            }
        }
    }
}

TEST(StorageLimit, RefusesProductsThatComeAroundToLittle) {
    RectMesh grid = wavyGrid(5, 4, 2.0);
    PlainGrid const before = plainGridOf(grid);
    // 2^16 by 2^16 nodes, one more row and column counted: 2^32 comes around to 0.
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(65534.0, 65534.0), 1.0, false, manyMB));
    // 65537 x 65537 comes around to 131073, 3 megabytes.
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(65535.0, 65535.0), 1.0, false, manyMB));
    // 2^32 - 2 steps and two more.
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(4294967294.0, 0.0), 1.0, false, 4294967295UL));
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST(StorageLimit, StillCountsInWholeMegabytes) {
    RectMesh grid;
    // 205 x 205 nodes are counted for 203 steps each way: 42025, one megabyte.
    EXPECT_FALSE(grid.setAsPlane(PlaneSize(203.0, 203.0), 1.0, false, 0));
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(203.0, 203.0), 1.0, false, 1));
    EXPECT_TRUE(grid.setAsPlane(PlaneSize(202.0, 202.0), 1.0, false, 0));
}

} // namespace
} // namespace QELT::Testing
