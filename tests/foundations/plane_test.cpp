#include "Geometry/foundations/plane.h"

#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

static_assert(std::has_virtual_destructor_v<Plane>);
static_assert(std::is_same_v<decltype(std::declval<Plane&>() = Plane()), Plane const&>);
static_assert(std::is_same_v<decltype(Plane{}.getp()), Point const&>);
static_assert(std::is_same_v<decltype(Plane{}.getN()), Vector const&>);

testing::AssertionResult has(Plane const& plane, Point const& p, double nX, double nY, double nZ) {
    Vector const& normal = plane.getN();
    if (plane.getp() == p && normal.getdX() == nX && normal.getdY() == nY && normal.getdZ() == nZ) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "normal (" << normal.getdX() << ", " << normal.getdY() << ", " << normal.getdZ() << ")";
}

TEST(SpatialPlane, StartsWithoutNormalAtTheOrigin) {
    EXPECT_TRUE(has(Plane(), Point(), 0.0, 0.0, 0.0));
}

TEST(SpatialPlane, KeepsTheNormalAsGivenAndNeverNormalisesIt) {
    Plane plane(Point(1.0, 2.0, 3.0), Vector(0.0, 0.0, 5.0));
    EXPECT_TRUE(has(plane, Point(1.0, 2.0, 3.0), 0.0, 0.0, 5.0));
    plane.set(Point(4.0, 5.0, 6.0), Vector(0.1, 20.0, 0.3));
    EXPECT_TRUE(has(plane, Point(4.0, 5.0, 6.0), 0.1, 20.0, 0.3));
}

TEST(SpatialPlane, PointAndNormalAreSetApart) {
    Plane plane(Point(1.0, 2.0, 3.0), Vector(0.0, 0.0, 5.0));
    plane.setp(Point(7.0, 8.0, 9.0));
    EXPECT_TRUE(has(plane, Point(7.0, 8.0, 9.0), 0.0, 0.0, 5.0));
    plane.setN(Vector(1.0, 2.0, 3.0));
    EXPECT_TRUE(has(plane, Point(7.0, 8.0, 9.0), 1.0, 2.0, 3.0));
}

TEST(SpatialPlane, CopiesHaveTheirOwnValues) {
    Plane original(Point(1.0, 2.0, 3.0), Vector(0.0, 0.0, 5.0));
    Plane const copy(original);
    Plane assigned;
    assigned = original;
    original.setN(Vector());
    EXPECT_TRUE(has(copy, Point(1.0, 2.0, 3.0), 0.0, 0.0, 5.0));
    EXPECT_TRUE(has(assigned, Point(1.0, 2.0, 3.0), 0.0, 0.0, 5.0));
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
