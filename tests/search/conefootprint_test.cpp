#include "Geometry/quadmesh/quadindicesellipseintersectioninfo.h"
#include "tests/search/searchtwin.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_cone.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::QuadMesh::QuadIndicesEllipseIntersectionInfo;

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// Axes whose product points down, so that a beam along it meets a flat grid from above: u forward, v back.
SpaceVector const alongU(1.0, 0.0, 0.0);
SpaceVector const againstV(0.0, -1.0, 0.0);

struct Cone {
    SpacePoint origin;
    SpaceVector axisA = alongU;
    SpaceVector axisB = againstV;
    double cotangent = 1.0;
    double apertureRadius = 0.0;

    PlainCone getPlain() const {
        return {plain(origin), plain(axisA), plain(axisB), cotangent, apertureRadius};
    }
};

QuadIndicesEllipseIntersectionInfo const untouched({11, 12}, {13, 14}, {15, 16}, {17, 18}, {19, 20}, 21);

std::optional<QuadIndicesEllipseIntersectionInfo> footprintOf(RectMesh const& grid, Cone const& cone,
                                                              GridIndex const& quad, int unity) {
    QuadIndicesEllipseIntersectionInfo info = untouched;
    if (!grid.getConeIntersection(cone.origin, cone.axisA, cone.axisB, cone.cotangent, cone.apertureRadius,
                                  quad, unity, info)) {
        return std::nullopt;
    }
    return info;
}

QuadIndicesEllipseIntersectionInfo existingFootprint(RectMesh const& grid, Cone const& cone,
                                                     GridIndex const& quad, int unity) {
    auto const info = footprintOf(grid, cone, quad, unity);
    EXPECT_TRUE(info.has_value());
    return info.value_or(untouched);
}

std::optional<std::array<SpacePoint, 5>> crossingsOf(RectMesh const& grid, Cone const& cone,
                                                     GridIndex const& quad) {
    std::array<SpacePoint, 5> points;
    points.fill(SpacePoint(91.0, 92.0, 93.0));
    bool const exists =
        grid.getEllipseAxisPoints(cone.origin, cone.axisA, cone.axisB, cone.cotangent, cone.apertureRadius,
                                  quad, points[0], points[1], points[2], points[3], points[4]);
    if (!exists) {
        for (SpacePoint const& point : points) {
            EXPECT_EQ(point, SpacePoint(91.0, 92.0, 93.0));
        }
        return std::nullopt;
    }
    return points;
}

testing::AssertionResult isInfo(QuadIndicesEllipseIntersectionInfo const& info,
                                PlainFootprint const& expected, int unity) {
    auto const same = [](GridStep const& axis, PlainIndex const& other) {
        return axis.getdU() == other.u && axis.getdV() == other.v;
    };
    if (plain(info.getCentre()) != expected.centre) {
        return testing::AssertionFailure()
               << "centre (" << info.getCentre().getU() << ", " << info.getCentre().getV() << ")";
    }
    if (!same(info.getAxisA1(), expected.axisA1) || !same(info.getAxisB1(), expected.axisB1) ||
        !same(info.getAxisA2(), expected.axisA2) || !same(info.getAxisB2(), expected.axisB2)) {
        return testing::AssertionFailure() << "another half-axis";
    }
    if (info.getUnity() != unity) {
        return testing::AssertionFailure() << "unity " << info.getUnity();
    }
    return testing::AssertionSuccess();
}

// What is refused

TEST(ConeFootprint, OnAHoleOrOutOfBoundsItIsFalseAndTheInfoStays) {
    RectMesh grid = flatGrid(8, 8);
    punchHole(grid, {4, 4}, {4, 4});
    Cone const cone{SpacePoint(4.5, 4.5, 10.0)};
    std::vector<GridIndex> const quads{
        {4, 4},          {3, 3}, {3, 4}, {4, 3}, {8, 0}, {0, 8}, {-1, 2}, {2, -1}, {highest, highest},
        {lowest, lowest}};
    for (GridIndex const& quad : quads) {
        QuadIndicesEllipseIntersectionInfo info = untouched;
        EXPECT_FALSE(grid.getConeIntersection(cone.origin, cone.axisA, cone.axisB, 1.0, 0.5, quad, 16, info));
        EXPECT_TRUE(isInfo(info, {{11, 12}, {13, 14}, {15, 16}, {17, 18}, {19, 20}}, 21));
        EXPECT_FALSE(crossingsOf(grid, cone, quad));
    }
    EXPECT_TRUE(footprintOf(grid, cone, {5, 4}, 16));
}

TEST(ConeFootprint, AnEmptyGridHasNone) {
    RectMesh const grid;
    EXPECT_FALSE(footprintOf(grid, Cone{SpacePoint(0.0, 0.0, 1.0)}, {0, 0}, 4));
}

// Exact shapes

TEST(ConeFootprint, TheAxisAndTheRimRaysCrossThePlane) {
    RectMesh const grid = flatGrid(8, 8);
    // Ten above the plane: the rim is 1 at the start and opens by 10 / 4.
    Cone const cone{SpacePoint(3.5, 4.5, 10.0), alongU, againstV, 4.0, 1.0};
    auto const points = crossingsOf(grid, cone, {3, 4});
    ASSERT_TRUE(points);
    EXPECT_EQ((*points)[0], SpacePoint(3.5, 4.5, 0.0));
    EXPECT_EQ((*points)[1], SpacePoint(7.0, 4.5, 0.0));
    EXPECT_EQ((*points)[2], SpacePoint(3.5, 1.0, 0.0));
    EXPECT_EQ((*points)[3], SpacePoint(0.0, 4.5, 0.0));
    EXPECT_EQ((*points)[4], SpacePoint(3.5, 8.0, 0.0));
    auto const info = existingFootprint(grid, cone, {3, 4}, 100);
    EXPECT_TRUE(isInfo(info, {{350, 450}, {350, 0}, {0, -350}, {-350, 0}, {0, 350}}, 100));
}

TEST(ConeFootprint, SquareOnTheLengthsGrowLinearlyWithTheDistance) {
    RectMesh const grid = flatGrid(8, 8);
    int former = 0;
    for (int distance = 1; distance <= 64; distance *= 2) {
        Cone const cone{SpacePoint(2.5, 2.5, distance), alongU, againstV, 8.0, 0.0};
        auto const info = existingFootprint(grid, cone, {2, 2}, 1000);
        int const length = 125 * distance;
        EXPECT_TRUE(isInfo(info, {{2500, 2500}, {length, 0}, {0, -length}, {-length, 0}, {0, length}}, 1000));
        EXPECT_GT(length, former);
        former = length;
    }
}

TEST(ConeFootprint, WithoutApertureAndWithALargeCotangentTheHalfAxesVanish) {
    RectMesh const grid = wavyGrid(8, 8, 0.5);
    Cone const cone{SpacePoint(3.4, 4.3, 10.0), alongU, againstV, 1.0e6, 0.0};
    auto const info = existingFootprint(grid, cone, {3, 4}, 1000);
    EXPECT_TRUE(isInfo(info, {plain(info.getCentre()), {}, {}, {}, {}}, 1000));
    auto const points = crossingsOf(grid, cone, {3, 4});
    ASSERT_TRUE(points);
    for (std::size_t i = 1; i < points->size(); ++i) {
        EXPECT_LT(((*points)[i] - (*points)[0]).lSqr(), 1e-8);
    }
}

TEST(ConeFootprint, OnATiltedPlaneTheTwoHalfAxesOfAPairDiffer) {
    // Rises with u: the rim ray uphill meets it sooner.
    RectMesh const grid = makeGrid(10, 10, [](int u, int v) { return SpacePoint(u, v, 0.5 * u); });
    Cone const cone{SpacePoint(5.0, 5.5, 14.5), alongU, againstV, 1.5, 0.0};
    // 12 above the plane: uphill t (1.5 + 0.5) = 12, downhill t (1.5 - 0.5) = 12, across 1.5 t = 12.
    auto const info = existingFootprint(grid, cone, {5, 5}, 16);
    EXPECT_TRUE(isInfo(info, {{80, 88}, {96, 0}, {0, -128}, {-192, 0}, {0, 128}}, 16));
    EXPECT_NE(info.getAxisA1().getdU(), -info.getAxisA2().getdU());
}

TEST(ConeFootprint, ThePlaneIsThatOfTheLowerTriangle) {
    RectMesh grid = flatGrid(2, 2);
    grid.setPoint({0, 1}, SpacePoint(0.0, 1.0, 5.0)); // corner of the upper triangle alone
    auto const points = crossingsOf(grid, Cone{SpacePoint(0.25, 0.75, 3.0)}, {0, 0});
    ASSERT_TRUE(points);
    EXPECT_EQ((*points)[0], SpacePoint(0.25, 0.75, 0.0));
}

TEST(ConeFootprint, AHitBehindTheStartOrOffTheGridCountsToo) {
    RectMesh const grid = flatGrid(4, 4);
    Cone const below{SpacePoint(1.5, 1.5, -7.0), alongU, againstV, 1.0, 0.0};
    auto const info = existingFootprint(grid, below, {1, 1}, 10);
    // The rays run backward, so that the rim is on the other side.
    EXPECT_TRUE(isInfo(info, {{15, 15}, {-70, 0}, {0, 70}, {70, 0}, {0, -70}}, 10));
    Cone const aside{SpacePoint(-20.5, 30.5, 7.0), alongU, againstV, 1.0, 0.0};
    EXPECT_TRUE(isInfo(existingFootprint(grid, aside, {1, 1}, 10),
                       {{-205, 305}, {70, 0}, {0, -70}, {-70, 0}, {0, 70}}, 10));
}

// Numbers

TEST(ConeFootprint, TruncatesTowardZero) {
    RectMesh const grid = flatGrid(8, 8);
    // Half-axes of 0.9 steps either way.
    Cone const cone{SpacePoint(3.5, 3.5, 1.0), alongU, againstV, 1.0 / 0.9, 0.0};
    auto const info = existingFootprint(grid, cone, {3, 3}, 1);
    EXPECT_TRUE(isInfo(info, {{3, 3}, {}, {}, {}, {}}, 1));
    // The centre, 0.9 steps below the low corner in both directions, stays at the corner.
    Cone const beside{SpacePoint(2.1, 2.1, 1.0), alongU, againstV, 1.0, 0.0};
    EXPECT_EQ(existingFootprint(grid, beside, {3, 3}, 1).getCentre(), GridIndex(3, 3));
    // And 1.9 steps below at one.
    Cone const further{SpacePoint(1.1, 1.1, 1.0), alongU, againstV, 1.0, 0.0};
    EXPECT_EQ(existingFootprint(grid, further, {3, 3}, 1).getCentre(), GridIndex(2, 2));
}

TEST(ConeFootprint, UnityOneHidesAFootprintSmallerThanAQuad) {
    RectMesh const grid = flatGrid(8, 8);
    Cone const cone{SpacePoint(3.5, 3.5, 10.0), alongU, againstV, 16.0, 0.125};
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {3, 3}, 1), {{3, 3}, {}, {}, {}, {}}, 1));
    EXPECT_TRUE(
        isInfo(existingFootprint(grid, cone, {3, 3}, 4), {{14, 14}, {3, 0}, {0, -3}, {-3, 0}, {0, 3}}, 4));
}

TEST(ConeFootprint, UnityScalesTheQuadsIndices) {
    RectMesh const grid = flatGrid(8, 8);
    Cone const cone{SpacePoint(5.5, 2.25, 1.0), alongU, againstV, 1.0, 0.0};
    for (int const unity : {1, 2, 16, 4096, -8}) {
        auto const info = existingFootprint(grid, cone, {5, 2}, unity);
        EXPECT_EQ(info.getUnity(), unity);
        EXPECT_EQ(info.getCentre().getU(), 5 * unity + unity / 2);
        EXPECT_EQ(info.getCentre().getV(), 2 * unity + unity / 4);
        EXPECT_EQ(info.getAxisA1().getdU(), unity);
    }
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {5, 2}, 0), {}, 0));
}

TEST(ConeFootprint, TheProductOfIndexAndUnityWraps) {
    RectMesh const grid = flatGrid(8, 8);
    Cone const cone{SpacePoint(5.0, 3.0, 1.0), alongU, againstV, 1.0, 0.0};
    auto const info = existingFootprint(grid, cone, {5, 3}, highest);
    EXPECT_EQ(info.getCentre(), GridIndex(plainWrappedProduct(5, highest), plainWrappedProduct(3, highest)));
}

TEST(ConeFootprint, AxesAreTakenAsTheyAre) {
    RectMesh const grid = flatGrid(8, 8);
    // Twice and three times the unit axes: their product is six times as long.
    Cone const cone{SpacePoint(3.5, 3.5, 12.0), 2.0 * alongU, 3.0 * againstV, 1.0, 0.5};
    // t = 2; the start is off by 0.5 axes.
    EXPECT_TRUE(
        isInfo(existingFootprint(grid, cone, {3, 3}, 2), {{7, 7}, {10, 0}, {0, -15}, {-10, 0}, {0, 15}}, 2));
    // Not perpendicular: only the product's direction and length change.
    Cone const skew{SpacePoint(3.5, 3.5, 12.0), alongU, SpaceVector(1.0, -1.0, 0.0), 1.0, 0.0};
    EXPECT_TRUE(isInfo(existingFootprint(grid, skew, {3, 3}, 2),
                       {{7, 7}, {24, 0}, {24, -24}, {-24, 0}, {-24, 24}}, 2));
}

TEST(ConeFootprint, OffsetFlipsAndMemoryPlayNoPart) {
    RectMesh grid = wavyGrid(8, 8, 0.5);
    Cone const cone{SpacePoint(3.4, 4.3, 10.0), alongU, againstV, 3.0, 0.2};
    auto const before = plainFootprint(plainGridOf(grid), cone.getPlain(), {3, 4}, 64);
    ASSERT_TRUE(before);
    grid.setOffset({100, -50});
    grid.setAxisFlipFlags(true, true);
    grid.setDoFlipNormals(true);
    grid.setActivePositionFlags(0);
    grid.doResetSearch = false;
    grid.lastQuadIndices = {2, 2};
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {3, 4}, 64), *before, 64));
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(2, 2));
}

// Numbers that are none

TEST(ConeFootprint, ABeamInThePlaneEndsWithNumbersThatAreZero) {
    RectMesh const grid = flatGrid(8, 8);
    // The beam runs along u at height 2: it meets the plane nowhere, and no ray has a distance from there.
    Cone const cone{SpacePoint(3.5, 3.5, 2.0), SpaceVector(0.0, 1.0, 0.0), SpaceVector(0.0, 0.0, 1.0), 1.0,
                    0.0};
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {3, 3}, 16), {{48, 48}, {}, {}, {}, {}}, 16));
}

TEST(ConeFootprint, ARimRayInThePlaneSaturatesOrIsZero) {
    // The plane rises with u at 45 degrees and so does the rim ray against axis A.
    RectMesh const grid = makeGrid(8, 8, [](int u, int v) { return SpacePoint(u, v, u); });
    Cone const cone{SpacePoint(3.0, 3.5, 10.0), alongU, againstV, 1.0, 0.0};
    auto const info = existingFootprint(grid, cone, {3, 3}, 16);
    EXPECT_EQ(info.getAxisA1(), GridStep(56, 0));
    for (int const number : {info.getAxisA2().getdU(), info.getAxisA2().getdV()}) {
        EXPECT_TRUE(number == 0 || number == lowest || number == highest) << number;
    }
}

TEST(ConeFootprint, FootprintsBeyondTheRangeSaturate) {
    RectMesh const grid = flatGrid(8, 8);
    Cone const cone{SpacePoint(0.0, 0.0, 1.0e6), alongU, againstV, 1.0e-3, 0.0};
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {0, 0}, 1000),
                       {{0, 0}, {highest, 0}, {0, lowest}, {lowest, 0}, {0, highest}}, 1000));
}

TEST(ConeFootprint, NaNGivesZero) {
    RectMesh const grid = flatGrid(8, 8);
    Cone cone{SpacePoint(3.5, 3.5, 4.0)};
    cone.cotangent = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {3, 3}, 2), {{7, 7}, {}, {}, {}, {}}, 2));
    cone.axisA = SpaceVector();
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {3, 3}, 2), {{6, 6}, {}, {}, {}, {}}, 2));
}

TEST(ConeFootprint, AnInfiniteApertureLeavesTheCentre) {
    RectMesh const grid = flatGrid(8, 8);
    Cone cone{SpacePoint(3.5, 3.5, 4.0)};
    cone.apertureRadius = infinity;
    EXPECT_EQ(existingFootprint(grid, cone, {3, 3}, 2).getCentre(), GridIndex(7, 7));
}

TEST(ConeFootprint, AQuadWithoutAreaEnds) {
    RectMesh const grid = makeGrid(2, 2, [](int u, int) { return SpacePoint(u, 0.0, 0.0); });
    Cone const cone{SpacePoint(0.5, 0.0, 4.0)};
    auto const expected = plainFootprint(plainGridOf(grid), cone.getPlain(), {0, 0}, 16);
    ASSERT_TRUE(expected);
    EXPECT_TRUE(isInfo(existingFootprint(grid, cone, {0, 0}, 16), *expected, 16));
}

// Against the plain version

class ConeDifferential : public testing::TestWithParam<std::uint32_t> {
protected:
    double drawSpread(int range) { return randomSpread(random, range); }

    SpaceVector drawVector(int range) { return {drawSpread(range), drawSpread(range), drawSpread(range)}; }

    int drawWhole(int low, int high) {
        return low + static_cast<int>(random() % static_cast<std::uint32_t>(high - low + 1));
    }

    /// Mostly beams near the quad, some far off and skew, some with parts that are zero or no numbers.
    Cone drawCone(SpacePoint const& target, SpaceVector const& normal) {
        double const odd[] = {0.0, -0.0, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()};
        Cone cone;
        SpaceVector const u = drawVector(2);
        cone.origin = target + drawSpread(5) * normal + 0.2 * u;
        cone.axisA = normal.cross(u) + drawSpread(1) * 0.1 * u;
        cone.axisB = drawWhole(0, 5) == 0 ? drawVector(3) : cone.axisA.cross(normal);
        cone.cotangent = drawSpread(6);
        cone.apertureRadius = drawSpread(4);
        switch (drawWhole(0, 15)) {
        case 0:
            cone.cotangent = odd[drawWhole(0, 4)];
            break;
        case 1:
            cone.apertureRadius = odd[drawWhole(0, 4)];
            break;
        case 2:
            cone.axisB = cone.axisA;
            break;
        case 3:
            cone.axisA = SpaceVector(odd[drawWhole(0, 4)], 1.0, 0.0);
            break;
        default:
            break;
        }
        return cone;
    }

    std::mt19937 random{GetParam()};
};

testing::AssertionResult samePoints(std::array<SpacePoint, 5> const& points,
                                    PlainConeCrossings const& expected) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!sameBits(points[i].getX(), expected[i].x) || !sameBits(points[i].getY(), expected[i].y) ||
            !sameBits(points[i].getZ(), expected[i].z)) {
            return testing::AssertionFailure() << "crossing " << i << " differs";
        }
    }
    return testing::AssertionSuccess();
}

TEST_P(ConeDifferential, SameBitsAsThePlainVersion) {
    constexpr int unities[] = {1, 2, 16, 1000, 65536, 0, -7, highest, lowest};
    int hits = 0;
    int misses = 0;
    for (GridFamily& family : gridFamilies(GetParam())) {
        ShearedGrid sheared;
        sheared.RectMesh::operator=(family.grid);
        for (RectMesh* grid : {&family.grid, static_cast<RectMesh*>(&sheared)}) {
            PlainGrid const twin = plainGridOf(*grid);
            int const u = static_cast<int>(twin.highestU);
            int const v = static_cast<int>(twin.highestV);
            for (int i = 0; i < 120; ++i) {
                GridIndex const quad(drawWhole(-1, u), drawWhole(-1, v));
                bool const exists = grid->getIsQuadValid(quad);
                SpaceVector const normal =
                    exists ? grid->getQuadNormalVector(quad, true) : SpaceVector(0.0, 0.0, 1.0);
                Cone const cone = drawCone(grid->getMeanQuadPoint(quad), normal);
                int const unity = unities[drawWhole(0, 8)];
                auto const expected = plainFootprint(twin, cone.getPlain(), plain(quad), unity);
                auto const actual = footprintOf(*grid, cone, quad, unity);
                ASSERT_EQ(actual.has_value(), expected.has_value()) << family.name;
                auto const points = crossingsOf(*grid, cone, quad);
                ASSERT_EQ(points.has_value(), expected.has_value());
                ++(expected ? hits : misses);
                if (expected) {
                    ASSERT_TRUE(isInfo(*actual, *expected, unity)) << family.name;
                    ASSERT_TRUE(samePoints(*points, *plainConeCrossings(twin, cone.getPlain(), plain(quad))))
                        << family.name;
                }
            }
        }
    }
    EXPECT_GT(hits, 3000);
    EXPECT_GT(misses, 500);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ConeDifferential, testing::Values(1U, 2U, 3U));

} // namespace
} // namespace QELT::Testing
