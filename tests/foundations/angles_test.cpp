#include "Geometry/foundations/angles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace QELT::Geometry::Angles {
namespace {

// Results depend on these to the bit: the numbers are the doubles that were written out before.
static_assert(std::numbers::pi == 3.141592653589793);
static_assert(fullTurn == 6.283185307179586);
static_assert(quarterTurn == 1.5707963267948966);

TEST(Angles, OfTurnsAreTheDoublesNearestToThem) {
    EXPECT_EQ(fullTurn, 2.0 * std::acos(-1.0));
    EXPECT_EQ(quarterTurn, std::asin(1.0));
    EXPECT_EQ(fullTurn * 0.5, std::numbers::pi);
    EXPECT_EQ(std::numbers::pi * 0.5, quarterTurn);
}

TEST(Angles, OfAFullTurnConvertExactly) {
    EXPECT_EQ(degToRad(360.0), fullTurn);
    EXPECT_EQ(radToDeg(fullTurn), 360.0);
    EXPECT_EQ(degToRad(90.0), quarterTurn);
    EXPECT_EQ(radToDeg(quarterTurn), 90.0);
}

} // namespace
} // namespace QELT::Geometry::Angles
