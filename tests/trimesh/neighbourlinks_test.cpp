#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/reconstruction/internal/neighbourlinks.h"
#include "Geometry/trimesh/reconstruction/internal/sideindex.h"
#include "tests/support/plain_reconstruction.h"
#include "tests/support/randomindex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::CloudOrder;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::NeighbourLinks;
using Geometry::ThreeDimensional::TriMesh::SideIndex;
using Geometry::ThreeDimensional::TriMesh::Vertex;
using Points = std::vector<Point>;

void fill(Mesh& mesh, Points const& points) {
    for (Point const& point : points) {
        mesh.addVertex(Vertex(point));
    }
}

/// The links of every point, as those of a heap over all others, and the closest pair.
void expectPlainLinks(Points const& points) {
    Mesh mesh;
    fill(mesh, points);
    CloudOrder const order(mesh.getConnectivity());
    NeighbourLinks const links(order);
    PlainMesh plainMesh;
    for (Point const& point : points) {
        plainMesh.addVertex(point);
    }
    PlainLinks const plain = plainLinks(plainMesh);
    ASSERT_EQ(links.getClosestPair().has_value(), plain.hasPair);
    if (plain.hasPair) {
        EXPECT_EQ(*links.getClosestPair(), std::pair(plain.first, plain.second));
    }
    for (std::uint32_t v = 0; v < points.size(); ++v) {
        std::vector<std::uint32_t> nearest;
        for (std::uint32_t const rank : links.getNearest(order.rankOf[v])) {
            nearest.push_back(order.vertexOf[rank]);
        }
        ASSERT_EQ(nearest, plain.nearest[v]) << "point " << v;
    }
}

Points makeRandom(std::uint32_t count, std::uint32_t seed, std::function<Point(std::mt19937&)> const& make) {
    std::mt19937 generator(seed);
    Points points;
    for (std::uint32_t i = 0; i < count; ++i) {
        points.push_back(make(generator));
    }
    return points;
}

/// Places of a lattice of so many layers along each axis, many of them taken more than once.
Points makeLattice(std::uint32_t count, std::uint32_t seed, std::uint32_t x, std::uint32_t y,
                   std::uint32_t z) {
    return makeRandom(count, seed, [&](std::mt19937& generator) {
        double const u = randomBelow(generator, x);
        double const v = randomBelow(generator, y);
        double const w = randomBelow(generator, z);
        return Point(u, v, w);
    });
}

Points makeGrid(std::uint32_t columns, std::uint32_t rows, double step) {
    Points points;
    for (std::uint32_t j = 0; j < rows; ++j) {
        for (std::uint32_t i = 0; i < columns; ++i) {
            points.emplace_back(i * step, j * step, 0.0);
        }
    }
    return points;
}

Points makeRandomInSpace(std::uint32_t count, std::uint32_t seed, double size) {
    return makeRandom(count, seed, [&](std::mt19937& generator) {
        double const x = size * randomBelow(generator, 1U << 24U) / (1U << 24U);
        double const y = size * randomBelow(generator, 1U << 24U) / (1U << 24U);
        double const z = size * randomBelow(generator, 1U << 24U) / (1U << 24U);
        return Point(x, y, z);
    });
}

} // namespace

TEST(NeighbourLinks, AreThoseOfAHeapOverAllOthersWithoutTies) {
    for (std::uint32_t const count : {0U, 1U, 2U, 64U, 65U, 66U, 67U, 300U, 900U}) {
        SCOPED_TRACE(count);
        expectPlainLinks(makeRandomInSpace(count, count, 1.0));
    }
}

TEST(NeighbourLinks, AreThoseOfAHeapOverAllOthersOnGrids) {
    expectPlainLinks(makeGrid(30, 30, 1.0));
    expectPlainLinks(makeGrid(41, 20, 0.1));
    expectPlainLinks(makeGrid(600, 1, 0.37));
    Points shuffled = makeGrid(28, 28, 0.5);
    std::mt19937 generator(3);
    for (std::size_t i = shuffled.size(); i > 1; --i) {
        std::swap(shuffled[i - 1], shuffled[randomBelow(generator, i)]);
    }
    expectPlainLinks(shuffled);
}

TEST(NeighbourLinks, AreThoseOfAHeapOverAllOthersOnLatticesWithTwins) {
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        expectPlainLinks(makeLattice(100 + 60 * seed, seed, 2 + seed, 3 + seed % 5, 1 + seed % 4));
        expectPlainLinks(makeLattice(40 + 30 * seed, seed, 1 + seed % 3, 1 + seed % 2, 1));
    }
}

TEST(NeighbourLinks, AreThoseOfAHeapOverAllOthersAroundACentre) {
    // A few points as far from the centre as all others, and a pair beside the ring that is nearer to none.
    Points points{Point(0, 0, 0)};
    for (int i = 0; i < 700; ++i) {
        int const side = i % 4;
        double const sign = side < 2 ? 1.0 : -1.0;
        points.emplace_back(side % 2 == 0 ? sign : 0.0, side % 2 == 1 ? sign : 0.0, 0.0);
        points.emplace_back(std::cos(i * 0.01), std::sin(i * 0.01), 0.0);
    }
    points.emplace_back(0, 0, 0);
    expectPlainLinks(points);
}

TEST(NeighbourLinks, AreThoseOfAHeapOverAllOthersWhenSquaresLeaveTheRangeOfFloats) {
    for (double const size : {1e-25, 1e-22, 3e-20, 1e18, 3e19, 1e30}) {
        SCOPED_TRACE(size);
        expectPlainLinks(makeRandomInSpace(260, 4, size));
    }
    Points mixed = makeRandomInSpace(150, 5, 1e-23);
    for (Point const& point : makeRandomInSpace(150, 6, 1e25)) {
        mixed.push_back(point);
    }
    expectPlainLinks(mixed);
}

TEST(NeighbourLinks, AreThoseOfAHeapOverAllOthersWithCoordinatesThatAreNotFinite) {
    for (double const odd :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        Points points = makeLattice(200, 7, 6, 6, 2);
        std::mt19937 generator(8);
        for (int i = 0; i < 9; ++i) {
            points[randomBelow(generator, points.size())].seti(randomBelow(generator, 3), odd);
        }
        expectPlainLinks(points);
    }
}

TEST(NeighbourLinks, NegativeZeroIsTheSamePlaceAsZero) {
    Points points = makeLattice(120, 9, 5, 5, 1);
    for (std::size_t i = 0; i < points.size(); i += 2) {
        points[i].set(points[i].getX() == 0.0F ? -0.0 : points[i].getX(), points[i].getY(), -0.0);
    }
    expectPlainLinks(points);
}

TEST(CloudOrder, HoldsEveryPointOnceAndNearOnesNearOneAnother) {
    Points const points = makeRandomInSpace(4000, 10, 5.0);
    Mesh mesh;
    fill(mesh, points);
    CloudOrder const order(mesh.getConnectivity());
    EXPECT_TRUE(order.isFinite);
    std::set<std::uint32_t> const vertices(order.vertexOf.begin(), order.vertexOf.end());
    EXPECT_EQ(vertices.size(), points.size());
    double ofOrder = 0.0;
    double ofCloud = 0.0;
    for (std::uint32_t rank = 0; rank < points.size(); ++rank) {
        ASSERT_EQ(order.points[rank], points[order.vertexOf[rank]]);
        ASSERT_EQ(order.rankOf[order.vertexOf[rank]], rank);
        std::uint32_t const next = rank + 1 < points.size() ? rank + 1 : 0;
        ofOrder += std::sqrt(order.points[rank].dSqr(order.points[next]));
        ofCloud += std::sqrt(points[rank].dSqr(points[next]));
    }
    EXPECT_LT(ofOrder, 0.2 * ofCloud);
}

TEST(CloudOrder, IsThatOfTheCloudIfACoordinateIsNotFinite) {
    Points points = makeRandomInSpace(50, 11, 5.0);
    points[20].seti(1, std::numeric_limits<double>::quiet_NaN());
    Mesh mesh;
    fill(mesh, points);
    CloudOrder const order(mesh.getConnectivity());
    EXPECT_FALSE(order.isFinite);
    EXPECT_TRUE(std::is_sorted(order.vertexOf.begin(), order.vertexOf.end()));
}

TEST(SideIndex, KnowsTheSidesOfItsTrianglesInTheirDirection) {
    SideIndex index(5);
    EXPECT_FALSE(index.getMayExist(0, 1));
    index.addTriangle(0, 1, 2);
    index.addTriangle(2, 1, 4);
    std::set<std::pair<std::uint32_t, std::uint32_t>> const sides{{0, 1}, {1, 2}, {2, 0},
                                                                  {2, 1}, {1, 4}, {4, 2}};
    for (std::uint32_t a = 0; a < 5; ++a) {
        for (std::uint32_t b = 0; b < 5; ++b) {
            EXPECT_EQ(index.getMayExist(a, b), sides.contains({a, b})) << a << " " << b;
        }
    }
}

TEST(SideIndex, KnowsNothingOfAVertexWithMoreSidesThanItHolds) {
    SideIndex index(100);
    for (std::uint32_t b = 1; b <= 15; ++b) {
        index.addTriangle(0, b, b + 20);
    }
    EXPECT_TRUE(index.getMayExist(0, 15));
    EXPECT_FALSE(index.getMayExist(0, 99));
    for (std::uint32_t b = 16; b <= 40; ++b) {
        index.addTriangle(0, b, b + 40);
        EXPECT_TRUE(index.getMayExist(0, b));
        EXPECT_TRUE(index.getMayExist(0, 99));
    }
    EXPECT_FALSE(index.getMayExist(1, 99));
}

} // namespace QELT::Testing
