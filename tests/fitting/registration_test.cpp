#include "Geometry/fitting/utility.h"

#include "tests/support/float_bits.h"
#include "tests/support/plain_fits.h"
#include "tests/support/watched.h"

#include <array>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

using Testing::sameBits;
using Testing::SpacePoints;

testing::AssertionResult is(Vector const& actual, Vector const& expected) {
    for (unsigned long k = 0; k < 3; ++k) {
        if (auto const same = sameBits(actual.get(k), expected.get(k)); !same) {
            return testing::AssertionFailure() << "component " << k << ": " << same.message();
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult is(Point const& actual, Point const& expected) {
    return is(Vector(actual.getX(), actual.getY(), actual.getZ()),
              Vector(expected.getX(), expected.getY(), expected.getZ()));
}

struct RigidFit {
    Vector eulerAngles{9.0, 9.0, 9.0};
    Vector translation{9.0, 9.0, 9.0};
    Point rotationCentre{9.0, 9.0, 9.0};
    bool isConverged = false;

    Vector getMoved(Point const& x) const {
        std::array<LinearMap::RotationAxis, 3> const axes = {LinearMap::X, LinearMap::Y, LinearMap::Z};
        LinearMap rotation;
        rotation.setRotation(axes.data(), eulerAngles);
        return rotation * (x - rotationCentre) + (rotationCentre - Point()) + translation;
    }
};

RigidFit fitRigid(SpacePoints const& source, SpacePoints const& target, bool isCoarse,
                  Vector* targetOffset = nullptr) {
    RigidFit fit;
    fit.isConverged = Utility::getRigidBodyMap(source.data(), target.data(), &fit.eulerAngles,
                                               &fit.translation, &fit.rotationCentre, targetOffset, isCoarse);
    return fit;
}

SpacePoints randomPoints(std::mt19937& generator, std::size_t count, double size) {
    std::uniform_real_distribution<double> coordinate(-size, size);
    SpacePoints points;
    for (std::size_t i = 0; i < count; ++i) {
        double const x = coordinate(generator);
        double const y = coordinate(generator);
        double const z = coordinate(generator);
        points.emplace_back(x, y, z);
    }
    return points;
}

SpacePoints moved(SpacePoints const& points, Vector const& angles, Vector const& shift) {
    std::array<LinearMap::RotationAxis, 3> const axes = {LinearMap::X, LinearMap::Y, LinearMap::Z};
    LinearMap rotation;
    rotation.setRotation(axes.data(), angles);
    SpacePoints result;
    for (Point const& p : points) {
        result.push_back(Point() + (rotation * (p - Point()) + shift));
    }
    return result;
}

testing::AssertionResult sameRigid(RigidFit const& fit, Testing::PlainRigidBody const& expected) {
    if (fit.isConverged != expected.isConverged) {
        return testing::AssertionFailure() << "converged: " << fit.isConverged;
    }
    for (auto const& same :
         {is(fit.eulerAngles, expected.eulerAngles), is(fit.translation, expected.translation),
          is(fit.rotationCentre, expected.rotationCentre)}) {
        if (!same) {
            return same;
        }
    }
    return testing::AssertionSuccess();
}

SpacePoints const triple = {{1.0, 2.0, 3.0}, {4.0, 6.0, 8.0}, {-2.0, 1.0, 1.0}};

TEST(RigidBodyMap, OfIdenticalPointsIsAtRestAtTheCentroid) {
    for (bool const isCoarse : {false, true}) {
        RigidFit const fit = fitRigid(triple, triple, isCoarse);
        EXPECT_TRUE(fit.isConverged);
        EXPECT_EQ(fit.eulerAngles.lSqr(), 0.0);
        EXPECT_EQ(fit.translation.lSqr(), 0.0);
        EXPECT_TRUE(is(fit.rotationCentre, Point(1.0, 3.0, 4.0)));
    }
}

TEST(RigidBodyMap, OfAPureShiftIsTheShift) {
    Vector const shift(8.0, -16.0, 32.0);
    for (bool const isCoarse : {false, true}) {
        RigidFit const fit = fitRigid(triple, moved(triple, Vector(), shift), isCoarse);
        EXPECT_TRUE(fit.isConverged);
        EXPECT_EQ(fit.eulerAngles.lSqr(), 0.0);
        EXPECT_TRUE(is(fit.translation, shift));
        EXPECT_TRUE(is(fit.rotationCentre, Point(1.0, 3.0, 4.0)));
    }
}

TEST(RigidBodyMap, AddsTheTargetOffsetToTheTranslationAndDecentresTheTarget) {
    SpacePoints const source = {{300.0, 0.0, 0.0}, {0.0, 300.0, 0.0}, {0.0, 0.0, 600.0}};
    Vector const shift(10.0, 20.0, 30.0);
    Vector offset(1.0, 2.0, -4.0);
    RigidFit const fit = fitRigid(source, moved(source, Vector(), shift), true, &offset);
    EXPECT_TRUE(is(fit.translation, shift + offset));
    EXPECT_TRUE(is(offset, Vector(1.0, 2.0, -4.0))) << "the offset is only read";
    EXPECT_TRUE(
        sameRigid(fit, Testing::plainRigidBody(source, moved(source, Vector(), shift), offset, true)));
    // The columns of the target are off by one and the same vector, which is at right angles to every change
    // of the centred points, so that the first gradient vanishes up to rounding although the error does not.
    EXPECT_LT(fit.eulerAngles.lSqr(), 1e-20);
}

TEST(RigidBodyMap, TurnsForTheTargetOffsetByWhatTheRoundingOfTheCentroidLeaves) {
    // The centred source points do not add up to zero, so that the offset has something to turn.
    std::mt19937 generator(7);
    for (int i = 0; i < 10; ++i) {
        SpacePoints const source = randomPoints(generator, 3, 200.0);
        SpacePoints const target = moved(source, Vector(0.2, -0.1, 0.3), Vector(10.0, 20.0, 30.0));
        Vector offset(40.0, 20.0, -70.0);
        Testing::PlainRigidBody const expected = Testing::plainRigidBody(source, target, offset, true);
        Testing::PlainRigidBody const without = Testing::plainRigidBody(source, target, Vector(), true);
        ASSERT_TRUE(expected.isConverged);
        ASSERT_FALSE(is(expected.eulerAngles, without.eulerAngles));
        EXPECT_TRUE(sameRigid(fitRigid(source, target, true, &offset), expected)) << "case " << i;
    }
}

TEST(RigidBodyMap, FindsARotationAndAShift) {
    std::mt19937 generator(1);
    for (int i = 0; i < 10; ++i) {
        SpacePoints const source = randomPoints(generator, 3, 200.0);
        SpacePoints const target = moved(source, Vector(0.3, -0.2, 0.4), Vector(20.0, -5.0, 7.0));
        RigidFit const fit = fitRigid(source, target, true);
        ASSERT_TRUE(fit.isConverged);
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_LT((fit.getMoved(source[k]) - (target[k] - Point())).lSqr(), 1e-6);
        }
    }
}

TEST(RigidBodyMap, OfCollinearPointsStopsOnASmallGradient) {
    SpacePoints const source = {{-300.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {300.0, 0.0, 0.0}};
    SpacePoints const target = moved(source, Vector(0.7, 0.2, 0.1), Vector());
    RigidFit const fit = fitRigid(source, target, true);
    EXPECT_TRUE(fit.isConverged);
    EXPECT_EQ(fit.eulerAngles.getdX(), 0.0) << "the turn about the line itself is not determined";
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_LT((fit.getMoved(source[k]) - (target[k] - Point())).lSqr(), 1e-6);
    }
    EXPECT_TRUE(sameRigid(fit, Testing::plainRigidBody(source, target, Vector(), true)));
}

TEST(RigidBodyMap, AnswersFalseWithItsOutputsWrittenWhenTheStepsRunOut) {
    // A step of 1e-9 gets nowhere with points of this size.
    SpacePoints const source = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
    SpacePoints const target = moved(source, Vector(0.5, 0.0, 0.0), Vector(3.0, 0.0, 0.0));
    RigidFit const fit = fitRigid(source, target, false);
    Testing::PlainRigidBody const expected = Testing::plainRigidBody(source, target, Vector(), false);
    ASSERT_EQ(expected.iterations, 1048576U);
    EXPECT_FALSE(fit.isConverged);
    EXPECT_TRUE(sameRigid(fit, expected));
    EXPECT_LT(fit.eulerAngles.getdX(), 0.01);
}

TEST(RigidBodyMap, TakesStepsThatAreNotScaledByTheSizeOfThePoints) {
    SpacePoints const source = {{1e5, 0.0, 0.0}, {0.0, 1e5, 0.0}, {0.0, 0.0, 1e5}};
    SpacePoints const target = moved(source, Vector(0.01, 0.0, 0.0), Vector());
    RigidFit const fit = fitRigid(source, target, true);
    EXPECT_FALSE(fit.isConverged);
    EXPECT_GT(fit.eulerAngles.lSqr(), 1.0) << "a coarse step overshoots for good";
    EXPECT_TRUE(sameRigid(fit, Testing::plainRigidBody(source, target, Vector(), true)));
}

TEST(RigidBodyMap, SettlesForTheSizesThatTheHeaderGives) {
    struct Size {
        double longestSide;
        bool isCoarse;
        bool doesSettle;
    };

    SpacePoints const shape = {{0.0, 0.0, 0.0}, {0.6, 0.8, 0.0}, {0.1, 0.5, 0.6}};
    for (Size const& size : {Size{3.0, true, false}, Size{10.0, true, true}, Size{700.0, true, true},
                             Size{1500.0, true, false}, Size{100.0, false, false}, Size{400.0, false, true},
                             Size{20000.0, false, true}, Size{50000.0, false, false}}) {
        SpacePoints source;
        for (Point const& point : shape) {
            source.push_back(Point() + size.longestSide * (point - Point()));
        }
        SpacePoints const target = moved(source, Vector(0.3, -0.2, 0.4), Vector());
        if (Testing::isWatched && !size.doesSettle) {
            continue; // takes all of the steps, as other tests do
        }
        EXPECT_EQ(fitRigid(source, target, size.isCoarse).isConverged, size.doesSettle)
            << size.longestSide << (size.isCoarse ? ", coarse" : ", fine");
    }
}

TEST(RigidBodyMap, IsThePlainDescentToTheBit) {
    std::mt19937 generator(2);
    std::uniform_real_distribution<double> angle(-0.8, 0.8);
    int compared = 0;
    for (int i = 0; i < 80; ++i) {
        bool const isCoarse = i % 2 == 0;
        SpacePoints const source = randomPoints(generator, 3, isCoarse ? 200.0 : 6000.0);
        double const x = angle(generator);
        double const y = angle(generator);
        double const z = angle(generator);
        SpacePoints target = moved(source, Vector(x, y, z), Vector(100.0 * x, 3.0, 100.0 * y));
        if (i % 3 == 0) {
            target[1] = target[1] + Vector(5.0 * y, -3.0 * z, 7.0 * x);
        }
        Vector offset(10.0 * z, x, -y);
        bool const hasOffset = i % 4 >= 2;
        Testing::PlainRigidBody const expected =
            Testing::plainRigidBody(source, target, hasOffset ? offset : Vector(), isCoarse, 20000);
        if (expected.isConverged) {
            ++compared;
            ASSERT_TRUE(
                sameRigid(fitRigid(source, target, isCoarse, hasOffset ? &offset : nullptr), expected))
                << "case " << i;
        }
    }
    EXPECT_GE(compared, 50);
}

TEST(RigidBodyMap, IsThePlainDescentAlsoWhereItNeverSettles) {
    SpacePoints large;
    SpacePoints unknown;
    for (Point const& p : triple) {
        large.emplace_back(400.0 * p.getX(), 400.0 * p.getY(), 400.0 * p.getZ());
        unknown.emplace_back(p.getX(), p.getY(), std::nan(""));
    }
    for (SpacePoints const& source :
         Testing::isWatched ? std::vector<SpacePoints>{unknown} : std::vector<SpacePoints>{large, unknown}) {
        SpacePoints const target = moved(source, Vector(0.3, -0.2, 0.4), Vector(1.0, 2.0, 3.0));
        Testing::PlainRigidBody const expected = Testing::plainRigidBody(source, target, Vector(), true);
        EXPECT_FALSE(expected.isConverged);
        EXPECT_EQ(expected.iterations, 1048576U);
        EXPECT_TRUE(sameRigid(fitRigid(source, target, true), expected));
    }
}

AffineMap fitAffine(SpacePoints const& source, SpacePoints const& target) {
    return Utility::getAffineMap(source.data(), target.data());
}

SpacePoints const unitFrame = {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};

TEST(AffineFit, OfTheUnitFrameToItselfIsTheIdentity) {
    AffineMap const map = fitAffine(unitFrame, unitFrame);
    for (unsigned long row = 0; row < 3; ++row) {
        for (unsigned long column = 0; column < 3; ++column) {
            EXPECT_EQ(map.getLinearMap().get(row, column), row == column ? 1.0 : 0.0);
        }
    }
    EXPECT_EQ(map.getTranslation().lSqr(), 0.0);
}

TEST(AffineFit, TakesEachSourcePointToItsTargetAboutTheFirstSource) {
    SpacePoints const source = {{1.0, 1.0, 1.0}, {3.0, 1.0, 1.0}, {1.0, 5.0, 1.0}, {1.0, 1.0, 9.0}};
    SpacePoints const target = {{10.0, 0.0, 0.0}, {10.0, 4.0, 0.0}, {10.0, 0.0, 12.0}, {2.0, 0.0, 8.0}};
    AffineMap const map = fitAffine(source, target);
    EXPECT_TRUE(is(map.getTranslation(), Vector(9.0, -1.0, -1.0)));
    for (std::size_t i = 0; i < 4; ++i) {
        Vector const image = map(source[i] - source[0]) + (source[0] - Point());
        EXPECT_TRUE(is(Point() + image, target[i])) << i;
    }
}

TEST(AffineFit, OfACoplanarSourceIsNotFinite) {
    SpacePoints source = unitFrame;
    source[3] = Point(1.0, 1.0, 0.0);
    AffineMap const map = fitAffine(source, unitFrame);
    bool isAnyNotFinite = false;
    for (unsigned long row = 0; row < 3; ++row) {
        for (unsigned long column = 0; column < 3; ++column) {
            isAnyNotFinite |= !std::isfinite(map.getLinearMap().get(row, column));
        }
    }
    EXPECT_TRUE(isAnyNotFinite);
    EXPECT_EQ(map.getTranslation().lSqr(), 0.0);
}

TEST(AffineFit, IsThePlainSolutionToTheBit) {
    std::mt19937 generator(3);
    for (int i = 0; i < 2000; ++i) {
        double const size = std::exp2(static_cast<double>(i % 40) - 20.0);
        SpacePoints source = randomPoints(generator, 4, size);
        SpacePoints const target = randomPoints(generator, 4, 10.0);
        if (i % 10 == 0) {
            source[2] = source[i % 20 == 0 ? 0 : 1];
        }
        AffineMap const map = fitAffine(source, target);
        Testing::PlainAffineFit const expected = Testing::plainAffineFit(source, target);
        for (unsigned long row = 0; row < 3; ++row) {
            Vector const actual(map.getLinearMap().get(row, 0), map.getLinearMap().get(row, 1),
                                map.getLinearMap().get(row, 2));
            ASSERT_TRUE(is(actual, expected.rows[row])) << "case " << i << ", row " << row;
        }
        ASSERT_TRUE(is(map.getTranslation(), expected.translation));
    }
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
