#include "simulation/rigidmotion.h"

#include <gtest/gtest.h>

#include <cmath>

namespace QELT::Simulation {
namespace {

void expectNear(Vector const& expected, Vector const& found, double tolerance) {
    EXPECT_NEAR(0.0, std::sqrt((expected - found).lSqr()), tolerance)
        << found.getdX() << ' ' << found.getdY() << ' ' << found.getdZ();
}

TEST(Rotation, TurnsAboutTheMovingAxesInTheirOrder) {
    // A quarter about z takes x to y; the turned y axis is then -x, a quarter about which takes y down to -z.
    expectNear(Vector(0.0, 0.0, -1.0), rotationZyx(90.0, 90.0, 0.0).x, 1e-15);
    expectNear(Vector(-1.0, 0.0, 0.0), rotationZyx(90.0, 90.0, 0.0).y, 1e-15);
    expectNear(Vector(0.0, 0.0, 1.0), rotationZyx(0.0, 0.0, 90.0).y, 1e-15);
}

TEST(Rotation, ReadsBackItsAngles) {
    for (double const aboutY : {-80.0, -3.0, 0.0, 45.0}) {
        auto const angles = anglesZyxOf(rotationZyx(130.0, aboutY, -70.0));
        EXPECT_NEAR(130.0, angles[0], 1e-10);
        EXPECT_NEAR(aboutY, angles[1], 1e-10);
        EXPECT_NEAR(-70.0, angles[2], 1e-10);
    }
}

TEST(Rotation, IsTheSameAgainFromTheAnglesAtARightAngleAboutY) {
    Rotation const rotation = rotationZyx(20.0, 90.0, 50.0);
    auto const angles = anglesZyxOf(rotation);
    Rotation const again = rotationZyx(angles[0], angles[1], angles[2]);
    expectNear(rotation.x, again.x, 1e-9);
    expectNear(rotation.y, again.y, 1e-9);
    expectNear(rotation.z, again.z, 1e-9);
}

TEST(Rotation, HasTheQuaternionOfHalfItsAngle) {
    auto const q = quaternionOf(rotationZyx(120.0, 0.0, 0.0));
    EXPECT_NEAR(0.5, q[0], 1e-15);
    EXPECT_NEAR(0.0, q[1], 1e-15);
    EXPECT_NEAR(0.0, q[2], 1e-15);
    EXPECT_NEAR(std::sqrt(0.75), q[3], 1e-15);
}

TEST(Rotation, TurnsAVectorAsItsQuaternionDoes) {
    Rotation const rotation = rotationZyx(170.0, -40.0, 155.0);
    auto const q = quaternionOf(rotation);
    Vector const axis(q[1], q[2], q[3]);
    Vector const v(0.3, -2.0, 0.7);
    Vector const turned = v + 2.0 * axis.cross(axis.cross(v) + q[0] * v);
    expectNear(turned, rotation.turned(v), 1e-14);
    EXPECT_GE(q[0], 0.0);
}

TEST(Rotation, HasARotationVectorAsLongAsItsAngle) {
    auto const vector = rotationVectorOf(rotationZyx(0.0, 0.0, 30.0));
    EXPECT_NEAR(std::acos(-1.0) / 6.0, vector[0], 1e-14);
    EXPECT_NEAR(0.0, vector[1], 1e-14);
    EXPECT_NEAR(0.0, rotationVectorOf(Rotation{})[0], 1e-14);
}

TEST(RigidMotion, IsUndoneByItsInverse) {
    RigidMotion const motion{rotationZyx(10.0, 20.0, 30.0), Vector(1.0, 2.0, 3.0)};
    Vector const place(5.0, -6.0, 7.0);
    expectNear(place, motion.inverse().placed(motion.placed(place)), 1e-14);
    expectNear(place, motion.after(motion.inverse()).placed(place), 1e-14);
    EXPECT_TRUE(RigidMotion{}.isNone());
    EXPECT_FALSE(motion.isNone());
}

} // namespace
} // namespace QELT::Simulation
