#include "Inspection/indications/internal/rimclusters.h"
#include "Inspection/indications/internal/unrolling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using namespace QELT::Inspection;

namespace {

Oriented onUnitSphere(double polar, double around, double radius) {
    Vector const out(std::sin(polar) * std::cos(around), std::sin(polar) * std::sin(around), std::cos(polar));
    return {out * radius, out};
}

Oriented onCylinder(double along, double angle, double radius) {
    Vector const out(0.0, std::sin(angle), std::cos(angle));
    return {Vector(along, 0.0, 0.0) + out * radius, out};
}

/// Every pair of points compared, joined until nothing changes.
std::vector<std::uint32_t> plainClustersOf(std::vector<std::vector<Oriented>> const& rims, double gap) {
    std::vector<std::uint32_t> firsts(rims.size());
    for (std::uint32_t i = 0; i < rims.size(); ++i) {
        firsts[i] = i;
    }
    auto const areNear = [&](std::vector<Oriented> const& a, std::vector<Oriented> const& b) {
        for (Oriented const& p : a) {
            for (Oriented const& q : b) {
                if (p.normal.dot(q.normal) > 0.0 && distanceAlong(p, q) < gap) {
                    return true;
                }
            }
        }
        return false;
    };
    for (bool hasChanged = true; hasChanged;) {
        hasChanged = false;
        for (std::size_t i = 0; i < rims.size(); ++i) {
            for (std::size_t j = 0; j < rims.size(); ++j) {
                if (firsts[j] < firsts[i] && areNear(rims[i], rims[j])) {
                    firsts[i] = firsts[j];
                    hasChanged = true;
                }
            }
        }
    }
    return firsts;
}

} // namespace

TEST(Unrolling, IsExactOnAPlane) {
    Oriented const from{Vector(1.0, 2.0, 3.0), Vector(0.0, 0.0, 1.0)};

    Vector const way = unrolled(from, {Vector(4.0, -2.0, 3.0), from.normal});

    EXPECT_DOUBLE_EQ(3.0, way.getdX());
    EXPECT_DOUBLE_EQ(-4.0, way.getdY());
    EXPECT_DOUBLE_EQ(0.0, way.getdZ());
}

TEST(Unrolling, IsExactOnASphereUpToItsOtherSide) {
    for (double const polar : {0.001, 0.3, 1.5, 2.5, 3.1}) {
        Vector const way = unrolled(onUnitSphere(0.0, 0.0, 7.0), onUnitSphere(polar, 0.6, 7.0));

        EXPECT_NEAR(7.0 * polar * std::cos(0.6), way.getdX(), 1e-7 * polar);
        EXPECT_NEAR(7.0 * polar * std::sin(0.6), way.getdY(), 1e-7 * polar);
        EXPECT_NEAR(0.0, way.getdZ(), 1e-12);
    }
}

TEST(Unrolling, IsExactOnACylinderInEveryDirection) {
    for (double const along : {-30.0, 0.0, 0.2, 12.0}) {
        for (double const angle : {-3.1, -1.0, 0.0, 0.01, 2.0}) {
            Vector const way = unrolled(onCylinder(5.0, 0.0, 9.0), onCylinder(5.0 + along, angle, 9.0));

            EXPECT_NEAR(along, way.getdX(), 1e-7);
            EXPECT_NEAR(9.0 * angle, way.getdY(), 1e-7);
        }
    }
}

TEST(SmallestRectangle, OfATurnedRectangleIsItsSides) {
    std::vector<FlatPoint> points;
    double const c = std::cos(0.7);
    double const s = std::sin(0.7);
    for (int i = 0; i <= 20; ++i) {
        for (int j = 0; j <= 20; ++j) {
            double const x = 0.6 * i;
            double const y = 0.25 * j;
            points.emplace_back(3.0 + x * c - y * s, -1.0 + x * s + y * c);
        }
    }

    Sides const sides = smallestRectangle(points);

    EXPECT_NEAR(12.0, sides.length, 1e-9);
    EXPECT_NEAR(5.0, sides.width, 1e-9);
}

TEST(SmallestRectangle, OfALineHasNoWidthAndOfNothingNoLength) {
    Sides const line = smallestRectangle({{0.0, 0.0}, {3.0, 4.0}, {1.5, 2.0}});
    EXPECT_NEAR(5.0, line.length, 1e-12);
    EXPECT_NEAR(0.0, line.width, 1e-12);
    EXPECT_EQ(0.0, smallestRectangle(std::vector<FlatPoint>()).length);
    EXPECT_EQ(0.0, smallestRectangle({{2.0, 2.0}}).length);
}

TEST(RimClusters, AreThoseOfAllPairs) {
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> angle(-3.0, 3.0);
    std::uniform_real_distribution<double> along(0.0, 60.0);
    std::vector<std::vector<Oriented>> rims;
    for (int i = 0; i < 120; ++i) {
        std::vector<Oriented> rim;
        double const a = angle(generator);
        double const x = along(generator);
        for (int j = 0; j < 8; ++j) {
            rim.push_back(onCylinder(x + std::cos(0.8 * j), a + 0.1 * std::sin(0.8 * j), 10.0));
        }
        rims.push_back(rim);
    }

    for (double const gap : {0.1, 0.7, 2.0, 5.0}) {
        EXPECT_EQ(plainClustersOf(rims, gap), clustersOf(rims, gap)) << gap;
    }
}

TEST(RimClusters, TwoSidesOfAThinWallAreNotNear) {
    Oriented const front{Vector(0.0, 0.0, 0.0), Vector(0.0, 0.0, 1.0)};
    Oriented const back{Vector(0.0, 0.0, -0.5), Vector(0.0, 0.0, -1.0)};

    EXPECT_EQ((std::vector<std::uint32_t>{0, 1}), clustersOf({{front}, {back}}, 3.0));
}

TEST(RimClusters, NothingIsMergedOverNoGap) {
    Oriented const one{Vector(0.0, 0.0, 0.0), Vector(0.0, 0.0, 1.0)};

    EXPECT_EQ((std::vector<std::uint32_t>{0, 1}), clustersOf({{one}, {one}}, 0.0));
}
