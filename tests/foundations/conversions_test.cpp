// Values that may stand where another type is asked for, without naming it.

#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/foundations/plane.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/quaternion.h"
#include "Geometry/foundations/vector.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry {
namespace {

using FlatMap = TwoDimensional::LinearMap<double>;
using namespace ThreeDimensional;

static_assert(std::is_convertible_v<double const*, Point>);
static_assert(std::is_convertible_v<double const*, Vector>);
static_assert(std::is_convertible_v<Vector, Quaternion>);
static_assert(std::is_convertible_v<Quaternion, LinearMap>);
static_assert(std::is_convertible_v<TwoDimensional::DefaultLinearMaps, FlatMap>);

TEST(Conversions, ThreeNumbersInARowAreAPointOrAVector) {
    double const numbers[3] = {1.0, 2.0, 3.0};
    Point const point = numbers;
    EXPECT_EQ(point, Point(1.0, 2.0, 3.0));
    Vector const vector = numbers;
    EXPECT_EQ(vector.getdZ(), 3.0);
    EXPECT_EQ(vector.dot(numbers), 14.0);
    Plane const plane(numbers, numbers);
    EXPECT_EQ(plane.getp(), point);
    EXPECT_EQ(plane.getN().getdY(), 2.0);
    Point moved;
    moved.set(numbers);
    EXPECT_EQ(moved, point);
}

TEST(Conversions, AVectorIsAPureQuaternion) {
    Quaternion const pure = Vector(1.0, 2.0, 3.0);
    EXPECT_EQ(pure.geta(), 0.0);
    EXPECT_EQ(pure.getd(), 3.0);
    EXPECT_EQ((Quaternion(2.0, 0.0, 0.0, 0.0) * Vector(1.0, 2.0, 3.0)).getc(), 4.0);
    EXPECT_EQ(pure.dot(Vector(1.0, 1.0, 1.0)), 6.0);
}

TEST(Conversions, AQuaternionIsARotation) {
    Quaternion const halfTurn(0.0, 0.0, 0.0, 1.0);
    LinearMap map = halfTurn;
    EXPECT_EQ(map.get(0, 0), -1.0);
    EXPECT_EQ((map * halfTurn).get(0, 0), 1.0);
    map.set(Quaternion(1.0, 0.0, 0.0, 0.0));
    EXPECT_EQ(map.det(), 1.0);
    AffineMap const motion(halfTurn, Vector(1.0, 0.0, 0.0));
    EXPECT_EQ(motion(Vector(1.0, 0.0, 0.0)).getdX(), 0.0);
}

TEST(Conversions, TheNameOfAFlatMapIsTheMap) {
    FlatMap const map = TwoDimensional::Identity;
    EXPECT_TRUE(map == FlatMap(1.0, 0.0, 0.0, 1.0));
    EXPECT_TRUE(map * TwoDimensional::Identity == TwoDimensional::Identity);
}

} // namespace
} // namespace QELT::Geometry
