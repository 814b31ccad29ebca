#include "Geometry/spatial/nearestpoints.h"

#include "tests/support/cloudfamilies.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

namespace QELT::Geometry::ThreeDimensional::PointCloud {
namespace {

using Neighbour = NearestPoints::Neighbour;
using Neighbours = std::vector<Neighbour>;

bool areFinite(std::vector<Point> const& points) {
    return std::all_of(points.begin(), points.end(), [](Point const& point) {
        return std::isfinite(point.getX()) && std::isfinite(point.getY()) && std::isfinite(point.getZ());
    });
}

bool comesBefore(Neighbour const& a, Neighbour const& b) {
    return a.distanceSqr != b.distanceSqr ? a.distanceSqr < b.distanceSqr : a.index < b.index;
}

/// All points by distance from a place, then by index.
Neighbours sortedFrom(Point const& place, std::vector<Point> const& points) {
    Neighbours all;
    for (std::uint32_t j = 0; j < points.size(); ++j) {
        all.push_back({place.dSqr(points[j]), j});
    }
    std::sort(all.begin(), all.end(), comesBefore);
    return all;
}

/// Those of them that lie elsewhere than the place.
Neighbours withoutSamePlace(Neighbours all, Point const& place, std::vector<Point> const& points) {
    std::erase_if(all, [&](Neighbour const& neighbour) { return points[neighbour.index] == place; });
    return all;
}

Neighbours firstOf(Neighbours const& all, std::size_t count) {
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(std::min(count, all.size()))};
}

std::vector<unsigned long> countsFor(std::vector<Point> const& points) {
    return {0, 1, 5, 65, points.size(), points.size() + 1, std::numeric_limits<unsigned long>::max()};
}

void expectNearestOthers(std::vector<Point> const& points) {
    NearestPoints const search(points);
    for (std::uint32_t i = 0; i < points.size(); ++i) {
        auto const all = withoutSamePlace(sortedFrom(points[i], points), points[i], points);
        for (unsigned long const count : countsFor(points)) {
            ASSERT_EQ(search.getNearestOthers(i, count), firstOf(all, count)) << i << " " << count;
        }
    }
}

void expectNearest(std::vector<Point> const& points, std::vector<Point> const& places) {
    NearestPoints const search(points);
    for (Point const& place : places) {
        auto const all = sortedFrom(place, points);
        for (unsigned long const count : countsFor(points)) {
            ASSERT_EQ(search.getNearest(place, count), firstOf(all, count))
                << place.getX() << " " << place.getY() << " " << place.getZ() << " " << count;
        }
    }
}

/// Points of the list, places in the middle between two of them, from which both are often equally far,
/// places in the box around them and places far away.
std::vector<Point> placesFor(std::vector<Point> const& points, std::uint32_t seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_int_distribution<std::size_t> anyIndex(0, points.size() - 1);
    Point low = points.front();
    Point high = points.front();
    for (Point const& point : points) {
        low.setMin(point);
        high.setMax(point);
    }
    std::vector<Point> places{Point(), Point(1e6, -1e6, 1e6), Point(-3e38, 3e38, 0.0)};
    for (int k = 0; k < 25; ++k) {
        Point const& a = points[anyIndex(generator)];
        Point const& b = points[anyIndex(generator)];
        places.push_back(a);
        places.emplace_back(0.5 * a.getX() + 0.5 * b.getX(), 0.5 * a.getY() + 0.5 * b.getY(),
                            0.5 * a.getZ() + 0.5 * b.getZ());
        double const s = unit(generator);
        double const t = unit(generator);
        places.emplace_back((1.0 - s) * low.getX() + s * high.getX(),
                            (1.0 - t) * low.getY() + t * high.getY(),
                            (1.0 - s * t) * low.getZ() + s * t * high.getZ());
    }
    return places;
}

template <class Action>
std::string messageOf(Action action) {
    try {
        action();
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "no error";
}

TEST(NearestPoints, OfAnyPlaceAreThoseOfASortOfAllOnEveryFamily) {
    int familyCount = 0;
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        for (auto const& family : Testing::cloudFamilies(seed)) {
            SCOPED_TRACE(family.name);
            if (areFinite(family.points)) {
                ++familyCount;
                expectNearest(family.points, placesFor(family.points, seed));
            }
        }
    }
    EXPECT_GT(familyCount, 30);
}

TEST(NearestPoints, OfThePointsThemselvesAreThoseOfASortOfAllOthersOnEveryFamily) {
    int familyCount = 0;
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        for (auto const& family : Testing::cloudFamilies(seed)) {
            SCOPED_TRACE(family.name);
            if (areFinite(family.points)) {
                ++familyCount;
                expectNearestOthers(family.points);
            }
        }
    }
    EXPECT_GT(familyCount, 30);
}

TEST(NearestPoints, AreThoseOfASortOfAllInALargerCloud) {
    auto const points = Testing::uniformCloud(9, 1500);
    expectNearestOthers(points);
    expectNearest(points, placesFor(points, 9));
}

TEST(NearestPoints, AreThoseOfASortOfAllWhereMostDistancesHaveEquals) {
    std::vector<Point> points;
    std::mt19937 generator(17);
    for (int k = 0; k < 700; ++k) { // many places twice and more
        points.emplace_back(generator() % 7, generator() % 7, generator() % 7);
    }
    expectNearestOthers(points);
    auto places = placesFor(points, 17);
    places.emplace_back(3.5, 3.5, 3.5);
    places.emplace_back(2.5, 3.0, 3.0);
    expectNearest(points, places);
}

TEST(NearestPoints, EquallyFarComeByIndexAndThoseWithHigherIndicesAreLeftOut) {
    std::vector<Point> points;
    for (int k = 0; k < 64; ++k) { // the corners of a cube, eight times
        points.emplace_back(k & 1, (k >> 1) & 1, (k >> 2) & 1);
    }
    NearestPoints const search(points);
    auto const found = search.getNearest(Point(0.5, 0.5, 0.5), 20);
    ASSERT_EQ(found.size(), 20U);
    for (std::uint32_t k = 0; k < 20; ++k) {
        EXPECT_EQ(found[k], (Neighbour{0.75, k}));
    }
}

TEST(NearestPoints, OfAPlaceCountPointsAtThatPlace) {
    std::vector<Point> points(20, Point(1.0, 2.0, 3.0));
    points.emplace_back(1.0, 2.0, 4.0);
    NearestPoints const search(points);
    EXPECT_EQ(search.getNearest(Point(1.0, 2.0, 3.0), 3), (Neighbours{{0.0, 0}, {0.0, 1}, {0.0, 2}}));
    EXPECT_EQ(search.getNearest(Point(1.0, 2.0, 4.0), 3), (Neighbours{{0.0, 20}, {1.0, 0}, {1.0, 1}}));
}

TEST(NearestPoints, OfAPointLeaveOutThePointItselfAndThoseThatCoincideWithIt) {
    std::vector<Point> points(20, Point(1.0, 2.0, 3.0));
    points.emplace_back(1.0, 2.0, 4.0);
    NearestPoints const search(points);
    EXPECT_EQ(search.getNearestOthers(0, 5), (Neighbours{{1.0, 20}}));
    EXPECT_EQ(search.getNearestOthers(20, 2), (Neighbours{{1.0, 0}, {1.0, 1}}));
}

TEST(NearestPoints, AtZerosOfBothSignsCoincide) {
    NearestPoints const search({Point(0.0, -0.0, 0.0), Point(-0.0, 0.0, -0.0), Point(1.0, 0.0, 0.0)});
    EXPECT_EQ(search.getNearestOthers(1, 3), (Neighbours{{1.0, 2}}));
    EXPECT_EQ(search.getNearest(Point(-0.0, -0.0, -0.0), 2), (Neighbours{{0.0, 0}, {0.0, 1}}));
}

TEST(NearestPoints, OfNoPointsAreNone) {
    NearestPoints const search({});
    EXPECT_EQ(search.getNumberOfPoints(), 0U);
    EXPECT_TRUE(search.getNearest(Point(), 5).empty());
    EXPECT_TRUE(search.getNearest(Point(), 0).empty());
}

TEST(NearestPoints, OfASinglePointAreThePointOrNone) {
    NearestPoints const search({Point(1.0, 2.0, 3.0)});
    EXPECT_EQ(search.getNumberOfPoints(), 1U);
    EXPECT_TRUE(search.getNearestOthers(0, 65).empty());
    EXPECT_EQ(search.getNearest(Point(1.0, 2.0, 5.0), 65), (Neighbours{{4.0, 0}}));
    EXPECT_TRUE(search.getNearest(Point(1.0, 2.0, 5.0), 0).empty());
}

TEST(NearestPoints, AreFoundWhereDistancesOverflowOrVanish) {
    std::vector<Point> points;
    for (int i = 0; i < 40; ++i) {
        double const size = i % 2 == 0 ? 1e-42 : 3e38;
        points.emplace_back(size * std::sin(i), size * std::cos(2.0 * i), size * std::sin(3.0 * i + 1.0));
    }
    expectNearestOthers(points);
    expectNearest(points, placesFor(points, 3));
}

TEST(NearestPoints, KeepACopyOfTheList) {
    std::vector<Point> points = Testing::uniformCloud(4, 50);
    NearestPoints const search(points);
    auto const before = search.getNearest(Point(), 10);
    std::fill(points.begin(), points.end(), Point(9.0, 9.0, 9.0));
    NearestPoints const copy = search;
    EXPECT_EQ(search.getNearest(Point(), 10), before);
    EXPECT_EQ(copy.getNearest(Point(), 10), before);
}

TEST(NearestPoints, RefuseCoordinatesThatAreNotFinite) {
    std::string const expected = "Coordinates must be finite";
    NearestPoints const search({Point()});
    for (double const bad : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e39}) {
        for (unsigned long axis = 0; axis < 3; ++axis) {
            Point place(1.0, 2.0, 3.0);
            place.seti(axis, bad);
            EXPECT_EQ(messageOf([&] { static_cast<void>(search.getNearest(place, 1)); }), expected);
            EXPECT_EQ(messageOf([&] { NearestPoints({Point(), place}); }), expected);
        }
    }
}

TEST(NearestPoints, OfAPointThatTheListHasNotAreRefused) {
    auto const ask = [](std::vector<Point> const& points, unsigned long i) {
        return messageOf([&] { static_cast<void>(NearestPoints(points).getNearestOthers(i, 1)); });
    };
    EXPECT_EQ(ask({}, 0), "No such point");
    EXPECT_EQ(ask({Point(), Point()}, 2), "No such point");
    EXPECT_EQ(ask({Point(), Point()}, 1), "no error");
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional::PointCloud
