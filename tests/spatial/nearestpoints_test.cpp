#include "Geometry/spatial/nearestpoints.h"

#include "tests/support/cloudfamilies.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace QELT::Geometry::ThreeDimensional::PointCloud {
namespace {

using Neighbour = NearestPoints::Neighbour;

bool areFinite(std::vector<Point> const& points) {
    return std::all_of(points.begin(), points.end(), [](Point const& point) {
        return std::isfinite(point.getX()) && std::isfinite(point.getY()) && std::isfinite(point.getZ());
    });
}

/// All others by distance.
std::vector<Neighbour> sortedOthers(std::vector<Point> const& points, std::uint32_t i) {
    std::vector<Neighbour> others;
    for (std::uint32_t j = 0; j < points.size(); ++j) {
        if (j != i && points[j] != points[i]) {
            others.emplace_back(points[i].dSqr(points[j]), j);
        }
    }
    std::sort(others.begin(), others.end());
    return others;
}

void expectNearest(std::vector<Point> const& points, std::size_t count) {
    NearestPoints search(points);
    for (std::uint32_t i = 0; i < points.size(); ++i) {
        auto const all = sortedOthers(points, i);
        auto const& found = search.find(i, count);
        ASSERT_EQ(found.size(), std::min(all.size(), count)) << i;
        for (std::size_t k = 0; k < found.size(); ++k) {
            ASSERT_EQ(found[k].first, all[k].first) << i << " " << k;
            bool const isAlone = (k == 0 || all[k - 1].first != all[k].first) &&
                                 (k + 1 == all.size() || all[k + 1].first != all[k].first);
            if (isAlone) {
                ASSERT_EQ(found[k].second, all[k].second) << i << " " << k;
            }
        }
    }
}

TEST(NearestPoints, AreThoseOfASortOfAllOnEveryFamily) {
    int familyCount = 0;
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        for (auto const& family : Testing::cloudFamilies(seed)) {
            SCOPED_TRACE(family.name);
            if (areFinite(family.points)) {
                ++familyCount;
                for (std::size_t const count : {1U, 5U, 65U}) {
                    expectNearest(family.points, count);
                }
            }
        }
    }
    EXPECT_GT(familyCount, 30);
}

TEST(NearestPoints, AreThoseOfASortOfAllInALargerCloud) {
    expectNearest(Testing::uniformCloud(9, 1500), 65);
}

TEST(NearestPoints, LeaveOutThePointItselfAndThoseThatCoincideWithIt) {
    std::vector<Point> points(20, Point(1.0, 2.0, 3.0));
    points.emplace_back(1.0, 2.0, 4.0);
    NearestPoints search(points);
    EXPECT_EQ(search.find(0, 5), (std::vector<Neighbour>{{1.0, 20}}));
    EXPECT_EQ(search.find(20, 5).size(), 5U);
}

TEST(NearestPoints, OfASinglePointAreNone) {
    NearestPoints search({Point(1.0, 2.0, 3.0)});
    EXPECT_TRUE(search.find(0, 65).empty());
}

TEST(NearestPoints, AreFoundWhereDistancesOverflowOrVanish) {
    std::vector<Point> points;
    for (int i = 0; i < 40; ++i) {
        double const size = i % 2 == 0 ? 1e-42 : 3e38;
        points.emplace_back(size * std::sin(i), size * std::cos(2.0 * i), size * std::sin(3.0 * i + 1.0));
    }
    expectNearest(points, 7);
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional::PointCloud
