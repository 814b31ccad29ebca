#include "Geometry/quadmesh/quadintersectiondata.h"

#include "tests/support/float_bits.h"
#include "tests/support/searchsettings.h"

#include <type_traits>
#include <utility>

namespace QELT::Testing {

namespace {

class IntersectionData : public SearchTest {};

} // namespace

TEST_F(IntersectionData, DefaultIsAllZero) {
    QuadIntersectionData const data;
    EXPECT_TRUE(sameBits(data.getDistanceToObject(), 0.0));
    EXPECT_TRUE(sameBits(data.getAngleToObjectNormal(), 0.0));
    EXPECT_TRUE(sameBits(data.getDistanceSqrToQuadCentre(), 0.0));
}

TEST_F(IntersectionData, FlipOfTheAngleIsOffAtFirst) {
    EXPECT_FALSE(QuadIntersectionData::isEnableFlipAngle);
}

TEST_F(IntersectionData, ConstructorTakesDistanceAngleAndSquaredDistanceInThisOrder) {
    QuadIntersectionData const data(1.5, 2.5, 3.5);
    EXPECT_EQ(data.getDistanceToObject(), 1.5);
    EXPECT_EQ(data.getAngleToObjectNormal(), 2.5);
    EXPECT_EQ(data.getDistanceSqrToQuadCentre(), 3.5);
}

TEST_F(IntersectionData, AngleErrorIsPiMinusTheAngle) {
    EXPECT_EQ(QuadIntersectionData(0.0, 3.141592653589793, 0.0).getAngleError(), 0.0);
    EXPECT_EQ(QuadIntersectionData(0.0, 1.0, 0.0).getAngleError(), 6.283185307179586 * 0.5 - 1.0);
    EXPECT_EQ(QuadIntersectionData().getAngleError(), 3.141592653589793);
}

TEST_F(IntersectionData, EnabledFlipStoresPiMinusTheAngle) {
    QuadIntersectionData::isEnableFlipAngle = true;
    QuadIntersectionData const data(1.5, 2.5, 3.5);
    EXPECT_EQ(data.getDistanceToObject(), 1.5);
    EXPECT_EQ(data.getAngleToObjectNormal(), 3.141592653589793 - 2.5);
    EXPECT_EQ(data.getDistanceSqrToQuadCentre(), 3.5);
    EXPECT_EQ(QuadIntersectionData().getAngleToObjectNormal(), 0.0);
}

TEST_F(IntersectionData, AngleErrorOfAFlippedAngleIsTheAngleItself) {
    QuadIntersectionData::isEnableFlipAngle = true;
    for (double const angle : {0.75, 2.5}) {
        EXPECT_EQ(QuadIntersectionData(1.0, angle, 0.0).getAngleError(), angle);
    }
}

TEST_F(IntersectionData, CopiesAreMemberwiseAndNotFlippedAgain) {
    QuadIntersectionData::isEnableFlipAngle = true;
    QuadIntersectionData const data(1.5, 2.5, 3.5);
    QuadIntersectionData copy(data);
    QuadIntersectionData assigned;
    assigned = data;
    for (QuadIntersectionData* other : {&copy, &assigned}) {
        EXPECT_EQ(other->getDistanceToObject(), data.getDistanceToObject());
        EXPECT_EQ(other->getAngleToObjectNormal(), data.getAngleToObjectNormal());
        EXPECT_EQ(other->getDistanceSqrToQuadCentre(), data.getDistanceSqrToQuadCentre());
    }
}

TEST_F(IntersectionData, AccessorsGiveReferencesToDoubles) {
    static_assert(std::is_same_v<decltype(std::declval<QuadIntersectionData const&>().getDistanceToObject()),
                                 double const&>);
    static_assert(
        std::is_same_v<decltype(std::declval<QuadIntersectionData const&>().getAngleToObjectNormal()),
                       double const&>);
    static_assert(
        std::is_same_v<decltype(std::declval<QuadIntersectionData const&>().getDistanceSqrToQuadCentre()),
                       double const&>);
    static_assert(std::has_virtual_destructor_v<QuadIntersectionData>);
    QuadIntersectionData const data(1.5, 2.5, 3.5);
    EXPECT_EQ(&data.getDistanceToObject(), &data.distanceToObject);
    EXPECT_EQ(&data.getAngleToObjectNormal(), &data.angleToObjectNormal);
    EXPECT_EQ(&data.getDistanceSqrToQuadCentre(), &data.distanceSqrToQuadCentre);
}

} // namespace QELT::Testing
