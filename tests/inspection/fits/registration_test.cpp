#include "Inspection/fits/registration.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>

namespace QELT::Inspection {
namespace {

/// A turn of a third about the space diagonal's direction would swap axes; this one is by 0.4 about z.
Vector turned(Vector const& v) {
    return {std::cos(0.4) * v.getdX() - std::sin(0.4) * v.getdY(),
            std::sin(0.4) * v.getdX() + std::cos(0.4) * v.getdY(), v.getdZ()};
}

TEST(Registration, rigidMotionIsFoundAtAnySize) {
    for (double const size : {0.01, 1.0, 300.0, 20000.0}) {
        std::vector<PointPair> pairs;
        for (Vector const& corner : {Vector(0.0, 0.0, 0.0), Vector(1.0, 0.2, 0.0), Vector(0.1, 0.9, 0.4)}) {
            pairs.push_back(
                {Point() + size * corner, Point(5.0 * size, -2.0 * size, size) + size * turned(corner)});
        }
        Registration const result = rigidRegistration(pairs);
        EXPECT_TRUE(result.isSettled) << size;
        EXPECT_LT(largestMiss(result, pairs), 1e-5 * size) << size;
        EXPECT_NEAR(result.map.get(1, 0), std::sin(0.4), 1e-5) << size;
        EXPECT_NEAR(result.map.get(2, 2), 1.0, 1e-5) << size;
    }
}

TEST(Registration, affineMapGoesThroughAllFourPairs) {
    auto const image = [](Point const& p) {
        return Point(2.0 * p.getX() + 0.5 * p.getY() + 7.0, 3.0 * p.getY() - p.getZ(), p.getZ() + p.getX());
    };
    std::vector<PointPair> pairs;
    for (Point const& p :
         {Point(1.0, 1.0, 1.0), Point(4.0, 0.0, 1.0), Point(0.0, 5.0, 2.0), Point(1.0, 1.0, 6.0)}) {
        pairs.push_back({p, image(p)});
    }
    Registration const result = affineRegistration(pairs);
    EXPECT_LT(largestMiss(result, pairs), 1e-5);
    EXPECT_NEAR(result.map.get(0, 1), 0.5, 1e-12);
    EXPECT_LT(std::sqrt((result(Point(9.0, -8.0, 7.0)) - image(Point(9.0, -8.0, 7.0))).lSqr()), 1e-4);
}

TEST(Registration, refusesPointsThatLeaveTheMapOpen) {
    std::vector<PointPair> line;
    for (double const t : {0.0, 1.0, 3.0, 9.0}) {
        line.push_back({Point(t, 2.0 * t, 0.0), Point(t, 0.0, 0.0)});
    }
    EXPECT_EQ(Testing::messageOf([&] { rigidRegistration(line); }),
              "three points on a line leave the motion open");
    EXPECT_EQ(Testing::messageOf([&] { affineRegistration(line); }),
              "four source points in a plane leave the map open");
}

} // namespace
} // namespace QELT::Inspection
