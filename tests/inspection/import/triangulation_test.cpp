#include "Inspection/import/internal/triangulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace QELT::Inspection {
namespace {

using SpacePoint = std::array<double, 3>;

/// Twice the area that the triangles of a flat polygon cover, each with its sign.
std::vector<double> doubleAreas(PolygonTriangles const& cut, std::vector<SpacePoint> const& points) {
    std::vector<double> areas;
    for (auto const& t : cut.triangles) {
        SpacePoint const& a = points[t[0]];
        SpacePoint const& b = points[t[1]];
        SpacePoint const& c = points[t[2]];
        areas.push_back((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]));
    }
    return areas;
}

std::vector<std::uint32_t> countTo(std::size_t count) {
    std::vector<std::uint32_t> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(static_cast<std::uint32_t>(i));
    }
    return numbers;
}

TEST(Triangulation, cutsAConcavePolygonWithoutOverlapFromAnySide) {
    // An L: a fan around its first corner would leave it.
    std::vector<SpacePoint> const points{{2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}, {0, 0, 0}};
    for (std::size_t shift = 0; shift < points.size(); ++shift) {
        auto polygon = countTo(points.size());
        std::rotate(polygon.begin(), polygon.begin() + static_cast<std::ptrdiff_t>(shift), polygon.end());
        for (double const sign : {1.0, -1.0}) {
            auto const cut = triangulate(polygon, points);
            ASSERT_EQ(cut.triangles.size(), 4U);
            EXPECT_TRUE(cut.isSimple);
            double sum = 0.0;
            for (double const area : doubleAreas(cut, points)) {
                EXPECT_GT(area * sign, 0.0);
                sum += area;
            }
            EXPECT_EQ(sum, 6.0 * sign);
            std::reverse(polygon.begin(), polygon.end());
        }
    }
}

TEST(Triangulation, cutsStarsAndCombsInAnyPlane) {
    std::mt19937 random(3);
    for (int round = 0; round < 50; ++round) {
        std::size_t const count = 5 + random() % 60;
        std::vector<SpacePoint> flat;
        double expected = 0.0;
        for (std::size_t i = 0; i < count; ++i) {
            double const angle = 6.283185307179586 * static_cast<double>(i) / static_cast<double>(count);
            double const radius = 1.0 + 0.01 * static_cast<double>(random() % 1000);
            flat.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
        }
        for (std::size_t i = 0; i < count; ++i) {
            SpacePoint const& a = flat[i];
            SpacePoint const& b = flat[(i + 1) % count];
            expected += a[0] * b[1] - a[1] * b[0];
        }
        std::vector<SpacePoint> tilted;
        for (SpacePoint const& p : flat) {
            tilted.push_back({p[1], 0.3 * p[0] - 0.2 * p[1], p[0]});
        }
        auto const cut = triangulate(countTo(count), tilted);
        ASSERT_EQ(cut.triangles.size(), count - 2);
        EXPECT_TRUE(cut.isSimple);
        double sum = 0.0;
        for (double const area : doubleAreas(cut, flat)) {
            EXPECT_GT(area, 0.0);
            sum += area;
        }
        EXPECT_NEAR(sum, expected, 1e-12 * expected);
    }
}

TEST(Triangulation, cutsALargeCombInTheSquareOfItsCorners) {
    constexpr std::size_t teeth = 9999;
    std::vector<SpacePoint> points;
    for (std::size_t i = 0; i < teeth; ++i) {
        auto const x = static_cast<double>(i);
        points.push_back({x, 1.0, 0.0});
        points.push_back({x + 0.5, 100.0 + 0.001 * static_cast<double>(i % 7), 0.0});
    }
    points.push_back({static_cast<double>(teeth), 0.0, 0.0});
    points.push_back({0.0, 0.0, 0.0});
    std::reverse(points.begin(), points.end());
    auto const cut = triangulate(countTo(points.size()), points);
    ASSERT_EQ(cut.triangles.size(), points.size() - 2);
    EXPECT_TRUE(cut.isSimple);
    double expected = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        SpacePoint const& a = points[i];
        SpacePoint const& b = points[(i + 1) % points.size()];
        expected += a[0] * b[1] - a[1] * b[0];
    }
    double sum = 0.0;
    for (double const area : doubleAreas(cut, points)) {
        ASSERT_GE(area, 0.0);
        sum += area;
    }
    EXPECT_NEAR(sum, expected, 1e-9 * expected);
}

TEST(Triangulation, givesTrianglesAreaWhereCornersStandInALine) {
    std::vector<SpacePoint> const points{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {0, 1, 0}};
    for (double const area : doubleAreas(triangulate(countTo(6), points), points)) {
        EXPECT_GT(area, 0.0);
    }
}

TEST(Triangulation, losesNoTriangleOfAPolygonThatCrossesItself) {
    std::vector<SpacePoint> const points{{0, 0, 0}, {3, 3, 0}, {3, 0, 0}, {0, 2, 0}, {1, 5, 0}};
    auto const cut = triangulate(std::vector<std::uint32_t>{0, 1, 2, 3}, points);
    EXPECT_EQ(cut.triangles.size(), 2U);
    auto const line = triangulate(std::vector<std::uint32_t>{0, 0, 0, 0, 0}, points);
    EXPECT_EQ(line.triangles.size(), 3U);
}

} // namespace
} // namespace QELT::Inspection
