// What a probe meets that looks at the nearest surface, beside a search of all triangles.

#include "Inspection/scanning/suresearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>

namespace QELT::Inspection {
namespace {

using Formula = std::function<Point(int u, int v)>;

class FormulaGrid : public Grid {
public:
    FormulaGrid(int width, int height, Formula const& formula) {
        init({static_cast<unsigned long>(width), static_cast<unsigned long>(height)});
        for (int v = 0; v <= height; ++v) {
            for (int u = 0; u <= width; ++u) {
                setPoint(GridIndex(u, v), formula(u, v));
                setPointValidity(GridIndex(u, v), true);
            }
        }
    }
};

Vector vectorTo(Point const& from, Point const& to) {
    return {static_cast<double>(to.getX()) - static_cast<double>(from.getX()),
            static_cast<double>(to.getY()) - static_cast<double>(from.getY()),
            static_cast<double>(to.getZ()) - static_cast<double>(from.getZ())};
}

double distanceToSegment(Vector const& toStart, Vector const& segment) {
    double const lengthSqr = segment.lSqr();
    double const share = lengthSqr > 0.0 ? std::clamp(-toStart.dot(segment) / lengthSqr, 0.0, 1.0) : 0.0;
    return std::sqrt((toStart + share * segment).lSqr());
}

/// The least of those to the three sides, and of that to the plane if its foot is inside all sides.
double distanceToTriangle(Point const& point, std::array<Point, 3> const& corners) {
    Vector const normal = vectorTo(corners[0], corners[1]).cross(vectorTo(corners[0], corners[2]));
    double least = std::numeric_limits<double>::infinity();
    bool isInside = normal.lSqr() > 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        Vector const side = vectorTo(corners[i], corners[(i + 1) % 3]);
        Vector const toStart = vectorTo(point, corners[i]);
        least = std::fmin(least, distanceToSegment(toStart, side));
        isInside = isInside && normal.cross(side).dot(toStart) <= 0.0;
    }
    double const height = std::abs(vectorTo(point, corners[0]).dot(normal)) / std::sqrt(normal.lSqr());
    return isInside ? std::fmin(least, height) : least;
}

double distanceToAll(Grid const& grid, Point const& point) {
    double least = std::numeric_limits<double>::infinity();
    auto const extents = grid.getExtents();
    for (int v = 0; v < static_cast<int>(extents.getdV()); ++v) {
        for (int u = 0; u < static_cast<int>(extents.getdU()); ++u) {
            for (bool const isLower : {true, false}) {
                std::array<Point, 3> corners;
                if (grid.getIsQuadValid(GridIndex(u, v))) {
                    grid.getQuadTrianglePoints(GridIndex(u, v), corners.data(), isLower);
                    least = std::fmin(least, distanceToTriangle(point, corners));
                }
            }
        }
    }
    return least;
}

void expectNearest(Grid const& grid, unsigned seed) {
    SureSearch const search({&grid});
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> place(-3.0F, 13.0F);
    std::size_t hitCount = 0;
    for (int i = 0; i < 400; ++i) {
        Point const point(place(random), place(random), place(random) - 5.0F);
        Hit const hit = search.findNearest(point);
        if (!hit.isHit()) {
            continue;
        }
        ++hitCount;
        double const expected = distanceToAll(grid, point);
        EXPECT_NEAR(expected, hit.distance, 1e-6 * (1.0 + expected)) << i;
        EXPECT_NEAR(expected, std::sqrt(vectorTo(hit.point, point).lSqr()), 1e-5) << i;
    }
    EXPECT_GT(hitCount, 100U);
}

Point wave(int u, int v) {
    return {0.5F * static_cast<float>(u), 0.5F * static_cast<float>(v),
            static_cast<float>(std::sin(0.4 * u) + 0.5 * std::cos(0.7 * v))};
}

} // namespace

TEST(NearestPlace, IsThatOfAllTriangles) {
    expectNearest(FormulaGrid(20, 20, wave), 1);
}

TEST(NearestPlace, IsFoundOnAFoldedCloth) {
    expectNearest(FormulaGrid(60, 10,
                              [](int u, int v) {
                                  return Point(static_cast<float>(0.1 * u + 2.0 * std::sin(0.3 * u)),
                                               static_cast<float>(v), static_cast<float>(0.1 * u));
                              }),
                  2);
}

TEST(NearestPlace, IsFoundBesideHolesAndCornersThatAreNoNumbers) {
    FormulaGrid grid(20, 20, wave);
    for (int i = 5; i < 12; ++i) {
        grid.setPointValidity(GridIndex(i, 8), false);
    }
    expectNearest(grid, 3);
    float const nan = std::numeric_limits<float>::quiet_NaN();
    grid.setPoint(GridIndex(3, 15), Point(nan, nan, nan));
    expectNearest(grid, 4);
}

TEST(NearestPlace, IsFoundAmongQuadsWithoutArea) {
    expectNearest(FormulaGrid(20, 20, [](int u, int v) { return wave(u / 2 * 2, v); }), 5);
}

TEST(NearestPlace, TellsTheSideWithTheNormalsTurnedOrNot) {
    FormulaGrid grid(4, 4,
                     [](int u, int v) { return Point(static_cast<float>(u), static_cast<float>(v), 0.0F); });
    SureSearch const search({&grid});
    EXPECT_EQ(0.0, search.findNearest(Point(1.3, 1.2, 2.0)).angleError);
    EXPECT_EQ(std::numbers::pi, search.findNearest(Point(1.3, 1.2, -2.0)).angleError);
    grid.setDoFlipNormals(true);
    EXPECT_EQ(std::numbers::pi, search.findNearest(Point(1.3, 1.2, 2.0)).angleError);
    EXPECT_EQ(0.0, search.findNearest(Point(1.3, 1.2, -2.0)).angleError);
}

TEST(NearestPlace, BesideTheRimIsAMissFromHalfAQuadOn) {
    FormulaGrid const grid(
        4, 4, [](int u, int v) { return Point(static_cast<float>(u), static_cast<float>(v), 0.0F); });
    SureSearch const search({&grid});
    EXPECT_TRUE(search.findNearest(Point(4.6, 2.0, 0.1)).isHit()) << "half of a diagonal is 0.707";
    EXPECT_FALSE(search.findNearest(Point(4.8, 2.0, 0.1)).isHit());
    EXPECT_TRUE(search.findNearest(Point(4.8, 2.0, 9.0)).isHit()) << "hardly off the normal";
    EXPECT_FALSE(search.findNearest(Point(8.0, 2.0, 9.0)).isHit());
}

TEST(NearestPlace, OfNothingOrFromNowhereIsAMiss) {
    EXPECT_FALSE(SureSearch(std::vector<Grid const*>{}).findNearest(Point(0.0, 0.0, 0.0)).isHit());
    FormulaGrid const grid(4, 4, wave);
    SureSearch const search({&grid});
    EXPECT_FALSE(search.findNearest(Point(NAN, 0.0, 0.0)).isHit());
    EXPECT_FALSE(search.findNearest(Point(INFINITY, 0.0, 0.0)).isHit());
}

} // namespace QELT::Inspection
