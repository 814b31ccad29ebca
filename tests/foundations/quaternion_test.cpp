#include "Geometry/foundations/quaternion.h"

#include "Geometry/foundations/linearmap.h"
#include "tests/support/float_bits.h"
#include "tests/support/plain_maps.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

using Testing::PlainMatrix;
using Testing::PlainQuaternion;
using Testing::PlainVector;
using Testing::sameBits;

constexpr double halfTurn = 3.141592653589793;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double tolerance = 1e-13;

static_assert(std::has_virtual_destructor_v<Quaternion>);

PlainQuaternion plain(Quaternion const& q) {
    return {q.geta(), q.getb(), q.getc(), q.getd()};
}

PlainVector plain(Vector const& v) {
    return {v.getdX(), v.getdY(), v.getdZ()};
}

Vector vectorOf(PlainVector const& v) {
    return Vector(v[0], v[1], v[2]);
}

testing::AssertionResult is(Quaternion const& q, double a, double b, double c, double d) {
    for (testing::AssertionResult const& element :
         {sameBits(q.geta(), a), sameBits(q.getb(), b), sameBits(q.getc(), c), sameBits(q.getd(), d)}) {
        if (!element) {
            return element;
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult isNear(Quaternion const& q, PlainQuaternion const& expected) {
    for (std::size_t i = 0; i < 4; ++i) {
        if (!(std::abs(q.get(i) - expected[i]) <= tolerance)) {
            return testing::AssertionFailure()
                   << "element " << i << ": " << q.get(i) << " for " << expected[i];
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult isNear(Vector const& v, PlainVector const& expected) {
    for (std::size_t i = 0; i < 3; ++i) {
        if (!(std::abs(v.get(i) - expected[i]) <= tolerance)) {
            return testing::AssertionFailure()
                   << "component " << i << ": " << v.get(i) << " for " << expected[i];
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult isNear(LinearMap const& map, PlainMatrix const& expected) {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            if (!(std::abs(map.get(i, j) - expected[i][j]) <= tolerance)) {
                return testing::AssertionFailure()
                       << "(" << i << ", " << j << "): " << map.get(i, j) << " for " << expected[i][j];
            }
        }
    }
    return testing::AssertionSuccess();
}

LinearMap rotationOf(Quaternion const& q) {
    LinearMap map;
    q.getRotation(map);
    return map;
}

Quaternion randomQuaternion(std::mt19937& generator) {
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    double const a = number(generator);
    double const b = number(generator);
    double const c = number(generator);
    double const d = number(generator);
    return Quaternion(a, b, c, d);
}

PlainVector randomUnit(std::mt19937& generator) {
    std::normal_distribution<double> number;
    double const x = number(generator);
    double const y = number(generator);
    double const z = number(generator);
    return Testing::plainUnit({x, y, z});
}

/// Two unit vectors whose angle is neither near nought nor near a half turn.
std::array<PlainVector, 2> randomUnitPair(std::mt19937& generator) {
    for (;;) {
        PlainVector const u = randomUnit(generator);
        PlainVector const v = randomUnit(generator);
        if (std::abs(Testing::plainDot(u, v)) < 0.99) {
            return {u, v};
        }
    }
}

double angleBetween(PlainVector const& u, PlainVector const& v) {
    return std::acos(std::clamp(Testing::plainDot(u, v), -1.0, 1.0));
}

PlainMatrix plainTurnBetween(PlainVector const& from, PlainVector const& to, double fraction) {
    return Testing::plainTurn(Testing::plainUnit(Testing::plainCross(from, to)),
                              fraction * angleBetween(from, to));
}

TEST(Quaternion, TheDefaultIsZero) {
    EXPECT_TRUE(is(Quaternion(), 0.0, 0.0, 0.0, 0.0));
}

TEST(Quaternion, IsMadeOfFourNumbersOrAScalarAndAVector) {
    EXPECT_TRUE(is(Quaternion(1.0, 2.0, 3.0, 4.0), 1.0, 2.0, 3.0, 4.0));
    EXPECT_TRUE(is(Quaternion(1.0, Vector(2.0, 3.0, 4.0)), 1.0, 2.0, 3.0, 4.0));
    EXPECT_TRUE(is(Quaternion(Vector(2.0, 3.0, 4.0)), 0.0, 2.0, 3.0, 4.0));
    Quaternion q;
    q.set(5.0, 6.0, 7.0, 8.0);
    EXPECT_TRUE(is(q, 5.0, 6.0, 7.0, 8.0));
    q.set(1.0, Vector(2.0, 3.0, 4.0));
    EXPECT_TRUE(is(q, 1.0, 2.0, 3.0, 4.0));
    Quaternion const copy(q);
    EXPECT_TRUE(is(copy, 1.0, 2.0, 3.0, 4.0));
    Quaternion assigned;
    assigned = q;
    EXPECT_TRUE(is(assigned, 1.0, 2.0, 3.0, 4.0));
    Quaternion set;
    set.set(q);
    EXPECT_TRUE(is(set, 1.0, 2.0, 3.0, 4.0));
}

TEST(Quaternion, TheConstructorOfTwoVectorsIsTheRotationBetweenThem) {
    Vector const from(0.6, 0.8, 0.0);
    Vector const to(0.0, 0.6, -0.8);
    Quaternion const expected = Quaternion::rot(from, to);
    EXPECT_TRUE(is(Quaternion(from, to), expected.geta(), expected.getb(), expected.getc(), expected.getd()));
}

TEST(Quaternion, PartsAreReadByName) {
    Quaternion const q(1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(q.geta(), 1.0);
    EXPECT_EQ(q.getb(), 2.0);
    EXPECT_EQ(q.getc(), 3.0);
    EXPECT_EQ(q.getd(), 4.0);
    EXPECT_EQ(plain(q.getbcd()), (PlainVector{2.0, 3.0, 4.0}));
}

TEST(Quaternion, IndicesWrapModuloFour) {
    Quaternion q(1.0, 2.0, 3.0, 4.0);
    for (unsigned long i = 0; i < 12; ++i) {
        EXPECT_EQ(q.get(i), static_cast<double>(i % 4 + 1)) << i;
    }
    EXPECT_EQ(q.get(5), 2.0);
    EXPECT_EQ(q.get(0xFFFFFFFFUL), 4.0);
    q.set(4, 10.0);
    q.set(5, 20.0);
    q.set(6, 30.0);
    q.set(7, 40.0);
    EXPECT_TRUE(is(q, 10.0, 20.0, 30.0, 40.0));
    q.inc(8, 1.0);
    q.inc(9, 2.0);
    q.inc(10, 3.0);
    q.inc(11, 4.0);
    EXPECT_TRUE(is(q, 11.0, 22.0, 33.0, 44.0));
}

TEST(Quaternion, TheProductFollowsHamiltonsTable) {
    Quaternion const one(1.0, 0.0, 0.0, 0.0);
    Quaternion const i(0.0, 1.0, 0.0, 0.0);
    Quaternion const j(0.0, 0.0, 1.0, 0.0);
    Quaternion const k(0.0, 0.0, 0.0, 1.0);
    PlainQuaternion const minusOne = {-1.0, 0.0, 0.0, 0.0};
    EXPECT_EQ(plain(i * i), minusOne);
    EXPECT_EQ(plain(j * j), minusOne);
    EXPECT_EQ(plain(k * k), minusOne);
    EXPECT_EQ(plain(i * j), plain(k));
    EXPECT_EQ(plain(j * k), plain(i));
    EXPECT_EQ(plain(k * i), plain(j));
    EXPECT_EQ(plain(j * i), plain(k * -1.0));
    EXPECT_EQ(plain(k * j), plain(i * -1.0));
    EXPECT_EQ(plain(i * k), plain(j * -1.0));
    EXPECT_EQ(plain(one * j), plain(j));
    EXPECT_EQ(plain(j * one), plain(j));
}

TEST(Quaternion, ProductsAgreeWithThePlainTable) {
    std::mt19937 generator(51);
    for (int n = 0; n < 500; ++n) {
        Quaternion const p = randomQuaternion(generator);
        Quaternion const q = randomQuaternion(generator);
        ASSERT_TRUE(isNear(p * q, Testing::plainProduct(plain(p), plain(q))));
        ASSERT_NEAR((p * q).normSqr(), p.normSqr() * q.normSqr(), tolerance);
        ASSERT_TRUE(isNear((p * q).conj(), plain(q.conj() * p.conj())));
    }
}

TEST(Quaternion, SumsAndScalingsGoByElement) {
    Quaternion const p(1.0, 2.0, 3.0, 4.0);
    Quaternion const q(10.0, 30.0, 50.0, 70.0);
    EXPECT_TRUE(is(p + q, 11.0, 32.0, 53.0, 74.0));
    EXPECT_TRUE(is(p - q, -9.0, -28.0, -47.0, -66.0));
    EXPECT_TRUE(is(p * 3.0, 3.0, 6.0, 9.0, 12.0));
    EXPECT_TRUE(
        is(Quaternion(5.0, 10.0, 15.0, 20.0) / 49.0, 5.0 / 49.0, 10.0 / 49.0, 15.0 / 49.0, 20.0 / 49.0));
    Quaternion sum = p;
    EXPECT_EQ(&(sum += q), &sum);
    EXPECT_TRUE(is(sum, 11.0, 32.0, 53.0, 74.0));
    sum += sum;
    EXPECT_TRUE(is(sum, 22.0, 64.0, 106.0, 148.0));
}

TEST(Quaternion, ConjugateDotAndSquaredNorm) {
    Quaternion const q(1.0, 2.0, 3.0, 4.0);
    EXPECT_TRUE(is(q.conj(), 1.0, -2.0, -3.0, -4.0));
    EXPECT_EQ(q.dot(Quaternion(5.0, 6.0, 7.0, 8.0)), 70.0);
    EXPECT_EQ(q.normSqr(), 30.0);
    EXPECT_EQ(Quaternion::sqr(-3.0), 9.0);
}

TEST(Quaternion, TheInverseIsTheConjugateDividedByTheSquaredNorm) {
    std::mt19937 generator(52);
    Quaternion const q(1.0, 2.0, 3.0, 4.0);
    EXPECT_TRUE(is(q.inverse(), 1.0 / 30.0, -2.0 / 30.0, -3.0 / 30.0, -4.0 / 30.0));
    for (int n = 0; n < 300; ++n) {
        Quaternion const p = randomQuaternion(generator) * 100.0;
        ASSERT_TRUE(isNear(p * p.inverse(), {1.0, 0.0, 0.0, 0.0}));
        ASSERT_TRUE(isNear(p.inverse() * p, {1.0, 0.0, 0.0, 0.0}));
    }
}

TEST(Quaternion, AZeroQuaternionIsNotDetected) {
    EXPECT_TRUE(std::isnan(Quaternion().inverse().geta()));
    EXPECT_TRUE(std::isnan(rotationOf(Quaternion()).get(0, 0)));
    EXPECT_TRUE(std::isnan(Vector(1.0, 0.0, 0.0).rot(Quaternion()).getdX()));
}

TEST(Quaternion, LinfIsTheStrictlyGreatestMagnitude) {
    EXPECT_EQ(Quaternion(-4.0, 3.0, 2.0, 1.0).linf(), 4.0);
    EXPECT_EQ(Quaternion(3.0, -4.0, 2.0, 1.0).linf(), 4.0);
    EXPECT_EQ(Quaternion(3.0, 2.0, -4.0, 1.0).linf(), 4.0);
    EXPECT_EQ(Quaternion(3.0, 2.0, 1.0, -4.0).linf(), 4.0);
}

TEST(Quaternion, LinfOnATieForTheGreatestIsTheMagnitudeOfD) {
    EXPECT_EQ(Quaternion(1.0, 1.0, 0.0, 0.0).linf(), 0.0);
    EXPECT_EQ(Quaternion(5.0, 1.0, -5.0, -2.0).linf(), 2.0);
    EXPECT_EQ(Quaternion(1.0, 5.0, -5.0, 3.0).linf(), 3.0);
    EXPECT_EQ(Quaternion(5.0, 1.0, 2.0, 5.0).linf(), 5.0);
    EXPECT_EQ(Quaternion(4.0, nan, 2.0, 1.0).linf(), 1.0);
}

TEST(Quaternion, TheRotationMatrixOfWholeNumbersIsExact) {
    LinearMap const map = rotationOf(Quaternion(1.0, 1.0, 1.0, 1.0));
    PlainMatrix const cyclic = {{{0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}}};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            EXPECT_EQ(map.get(i, j), cyclic[i][j]) << i << ", " << j;
        }
    }
}

TEST(Quaternion, TheRotationMatrixIsTheTurnOfItsAxisAndHalfAngleAtAnyLength) {
    std::mt19937 generator(53);
    std::uniform_real_distribution<double> angles(-6.0, 6.0);
    for (int n = 0; n < 500; ++n) {
        PlainVector const axis = randomUnit(generator);
        double const angle = angles(generator);
        Quaternion const unit(std::cos(angle / 2.0), std::sin(angle / 2.0) * vectorOf(axis));
        PlainMatrix const turn = Testing::plainTurn(axis, angle);
        ASSERT_TRUE(isNear(rotationOf(unit), turn));
        ASSERT_TRUE(isNear(rotationOf(unit * -37.5), turn));
        ASSERT_TRUE(isNear(LinearMap(unit), turn));
    }
}

TEST(Quaternion, AVectorIsRotatedAsByTheMatrixAtAnyLength) {
    std::mt19937 generator(54);
    for (int n = 0; n < 500; ++n) {
        Quaternion const q = randomQuaternion(generator) * 10.0;
        PlainVector const v = randomUnit(generator);
        PlainQuaternion const sandwich = Testing::plainProduct(
            Testing::plainProduct(plain(q), {0.0, v[0], v[1], v[2]}), plain(q.inverse()));
        Vector const rotated = vectorOf(v).rot(q);
        ASSERT_TRUE(isNear(rotated, {sandwich[1], sandwich[2], sandwich[3]}));
        ASSERT_TRUE(isNear(rotated, plain(rotationOf(q) * vectorOf(v))));
        ASSERT_NEAR(rotated.lSqr(), 1.0, tolerance);
    }
}

TEST(Quaternion, AProductRotatesByItsRightFactorFirst) {
    std::mt19937 generator(55);
    for (int n = 0; n < 300; ++n) {
        Quaternion const p = randomQuaternion(generator);
        Quaternion const q = randomQuaternion(generator);
        Vector const v = vectorOf(randomUnit(generator));
        ASSERT_TRUE(isNear(v.rot(p * q), plain(v.rot(q).rot(p))));
    }
}

TEST(QuaternionRot2theta, HoldsTheDotAndTheCrossProduct) {
    EXPECT_TRUE(
        is(Quaternion::rot2theta(Vector(1.0, 2.0, 3.0), Vector(4.0, 5.0, 6.0)), 32.0, -3.0, 6.0, -3.0));
}

TEST(QuaternionRot2theta, TurnsByTwiceTheAngleBetweenTheVectors) {
    std::mt19937 generator(56);
    for (int n = 0; n < 300; ++n) {
        auto const [u, v] = randomUnitPair(generator);
        ASSERT_TRUE(
            isNear(rotationOf(Quaternion::rot2theta(vectorOf(u), vectorOf(v))), plainTurnBetween(u, v, 2.0)));
    }
}

TEST(QuaternionRot, TakesOneUnitVectorToTheOtherOnTheShortestWay) {
    std::mt19937 generator(57);
    for (int n = 0; n < 500; ++n) {
        auto const [u, v] = randomUnitPair(generator);
        Quaternion const q = Quaternion::rot(vectorOf(u), vectorOf(v));
        ASSERT_NEAR(q.normSqr(), 1.0, tolerance);
        ASSERT_TRUE(isNear(vectorOf(u).rot(q), v));
        ASSERT_TRUE(isNear(rotationOf(q), plainTurnBetween(u, v, 1.0)));
    }
}

TEST(QuaternionRot, OfEqualVectorsIsTheIdentity) {
    EXPECT_TRUE(is(Quaternion::rot(Vector(0.0, 1.0, 0.0), Vector(0.0, 1.0, 0.0)), 1.0, 0.0, 0.0, 0.0));
}

TEST(QuaternionRot, OfOppositeXVectorsFallsBackToTheYAxis) {
    Quaternion const q = Quaternion::rot(Vector(1.0, 0.0, 0.0), Vector(-1.0, 0.0, 0.0));
    EXPECT_EQ(plain(q), (PlainQuaternion{0.0, 0.0, 1.0, 0.0}));
    EXPECT_TRUE(isNear(Vector(1.0, 0.0, 0.0).rot(q), {-1.0, 0.0, 0.0}));
}

TEST(QuaternionRot, OfOtherOppositeVectorsUsesTheProductWithTheXAxis) {
    EXPECT_EQ(plain(Quaternion::rot(Vector(0.0, 1.0, 0.0), Vector(0.0, -1.0, 0.0))),
              (PlainQuaternion{0.0, 1.0, 0.0, 0.0}));
    EXPECT_EQ(plain(Quaternion::rot(Vector(0.0, 0.0, 1.0), Vector(0.0, 0.0, -1.0))),
              (PlainQuaternion{0.0, 1.0, 0.0, 0.0}));
}

TEST(QuaternionRot, OfOppositeVectorsIsAHalfTurnThatReachesTheTarget) {
    std::mt19937 generator(58);
    for (int n = 0; n < 300; ++n) {
        PlainVector const u = randomUnit(generator);
        Quaternion const q = Quaternion::rot(vectorOf(u), -vectorOf(u));
        ASSERT_NEAR(q.geta(), 0.0, tolerance);
        ASSERT_NEAR(q.normSqr(), 1.0, tolerance);
        ASSERT_TRUE(isNear(vectorOf(u).rot(q), {-u[0], -u[1], -u[2]}));
    }
}

TEST(QuaternionRot, OfNearlyOppositeVectorsTurnsInTheirOwnPlane) {
    // The least steps aside whose squares are numbers above zero: any tolerance would take them for none.
    Vector const x(1.0, 0.0, 0.0);
    for (double const aside : {std::ldexp(1.0, -200), std::ldexp(1.0, -500), std::ldexp(1.0, -537)}) {
        EXPECT_EQ(plain(Quaternion::rot(x, Vector(-1.0, aside, 0.0))), (PlainQuaternion{0.0, 0.0, 0.0, 1.0}));
        EXPECT_EQ(plain(Quaternion::rot(x, Vector(-1.0, 0.0, aside))),
                  (PlainQuaternion{0.0, 0.0, -1.0, 0.0}));
        EXPECT_TRUE(isNear(Quaternion::rot(x, Vector(-1.0, aside, 0.0), 0.5),
                           {std::sqrt(0.5), 0.0, 0.0, std::sqrt(0.5)}));
    }
}

TEST(QuaternionRot, OfVectorsWhoseSumHasNoSquareTakesThemAsOpposite) {
    double const aside = std::ldexp(1.0, -538);
    ASSERT_GT(aside, 0.0);
    EXPECT_EQ(plain(Quaternion::rot(Vector(1.0, 0.0, 0.0), Vector(-1.0, aside, 0.0))),
              (PlainQuaternion{0.0, 0.0, 1.0, 0.0}));
}

TEST(QuaternionRot, OfOppositeVectorsNearlyAlongXStillUsesTheProductWithTheXAxis) {
    double const aside = std::ldexp(1.0, -500);
    Vector const u(1.0, aside, 0.0);
    EXPECT_EQ(plain(Quaternion::rot(u, -u)), (PlainQuaternion{0.0, aside, -1.0, 0.0}));
}

TEST(QuaternionRot, OfZeroVectorsIsNotANumber) {
    EXPECT_TRUE(std::isnan(Quaternion::rot(Vector(), Vector()).geta()));
}

TEST(QuaternionPartialRot, NoneOfTheWayRotatesNothing) {
    std::mt19937 generator(59);
    for (int n = 0; n < 300; ++n) {
        auto const [u, v] = randomUnitPair(generator);
        ASSERT_TRUE(isNear(Quaternion::rot(vectorOf(u), vectorOf(v), 0.0), {1.0, 0.0, 0.0, 0.0}));
    }
}

TEST(QuaternionPartialRot, AllOfTheWayIsTheWholeRotation) {
    std::mt19937 generator(60);
    for (int n = 0; n < 300; ++n) {
        auto const [u, v] = randomUnitPair(generator);
        ASSERT_TRUE(isNear(Quaternion::rot(vectorOf(u), vectorOf(v), 1.0),
                           plain(Quaternion::rot(vectorOf(u), vectorOf(v)))));
    }
}

TEST(QuaternionPartialRot, TurnsByTheFractionOfTheAngle) {
    std::mt19937 generator(61);
    std::uniform_real_distribution<double> fractions(-0.9, 0.9);
    for (int n = 0; n < 500; ++n) {
        auto const [u, v] = randomUnitPair(generator);
        double const t = fractions(generator);
        ASSERT_TRUE(
            isNear(rotationOf(Quaternion::rot(vectorOf(u), vectorOf(v), t)), plainTurnBetween(u, v, t)));
    }
}

TEST(QuaternionPartialRot, BetweenEqualVectorsIsTheIdentity) {
    for (Vector const& u : {Vector(1.0, 0.0, 0.0), Vector(0.0, 0.0, -1.0)}) {
        EXPECT_EQ(plain(Quaternion::rot(u, u, 0.5)), (PlainQuaternion{1.0, 0.0, 0.0, 0.0}));
    }
}

TEST(QuaternionPartialRot, OppositeVectorsDefineNoPlaneToTurnIn) {
    Vector const u(1.0, 0.0, 0.0);
    EXPECT_TRUE(isNear(Quaternion::rot(u, -u, 0.5), {1.0, 0.0, 0.0, 0.0}))
        << "the target stays on the line of u";
    EXPECT_TRUE(isNear(Quaternion::rot(u, -u, 1.0), {0.0, 0.0, 1.0, 0.0})) << "cos of a half turn reverses u";
}

struct Frame {
    PlainVector a;
    PlainVector b;
};

Frame randomFrame(std::mt19937& generator) {
    auto const [a, other] = randomUnitPair(generator);
    return {a, Testing::plainUnit(Testing::plainCross(a, other))};
}

Quaternion frameRotation(Frame const& from, Frame const& to, double t) {
    return Quaternion::rot(vectorOf(from.a), vectorOf(from.b), vectorOf(to.a), vectorOf(to.b), t);
}

/// The swing of A by the fraction, then the twist about the swung A by the fraction of what is left between
/// the swung B and its target as seen along that axis.
PlainMatrix plainFrameTurn(Frame const& from, Frame const& to, double t) {
    PlainMatrix const swing = plainTurnBetween(from.a, to.a, t);
    PlainVector const a = Testing::plainImage(swing, from.a);
    PlainVector const b = Testing::plainImage(swing, from.b);
    double const twist =
        std::atan2(Testing::plainDot(Testing::plainCross(b, to.b), a), Testing::plainDot(b, to.b));
    return Testing::plainProduct(Testing::plainTurn(a, t * twist), swing);
}

TEST(QuaternionFrameRot, AllOfTheWayReachesBothDirections) {
    std::mt19937 generator(62);
    for (int n = 0; n < 300; ++n) {
        Frame const from = randomFrame(generator);
        Frame const to = randomFrame(generator);
        Quaternion const q = frameRotation(from, to, 1.0);
        // The last half turn of a twist is found through a bisector of nearly opposite vectors.
        PlainVector const a = plain(vectorOf(from.a).rot(q));
        PlainVector const b = plain(vectorOf(from.b).rot(q));
        for (std::size_t i = 0; i < 3; ++i) {
            ASSERT_NEAR(a[i], to.a[i], 1e-9);
            ASSERT_NEAR(b[i], to.b[i], 1e-9);
        }
    }
}

TEST(QuaternionFrameRot, NoneOfTheWayRotatesNothing) {
    std::mt19937 generator(63);
    for (int n = 0; n < 300; ++n) {
        ASSERT_TRUE(
            isNear(frameRotation(randomFrame(generator), randomFrame(generator), 0.0), {1.0, 0.0, 0.0, 0.0}));
    }
}

TEST(QuaternionFrameRot, PartOfTheWaySwingsAAndThenTwistsB) {
    std::mt19937 generator(64);
    std::uniform_real_distribution<double> fractions(0.0, 0.9);
    int compared = 0;
    for (int n = 0; n < 500; ++n) {
        Frame const from = randomFrame(generator);
        Frame const to = randomFrame(generator);
        if (std::abs(Testing::plainDot(from.a, to.a)) > 0.99) {
            continue;
        }
        ++compared;
        double const t = fractions(generator);
        ASSERT_TRUE(isNear(rotationOf(frameRotation(from, to, t)), plainFrameTurn(from, to, t)));
    }
    EXPECT_GT(compared, 450);
}

TEST(QuaternionFrameRot, WithAFixedAOnlyTwists) {
    Frame const from = {{0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}};
    for (double angle : {-2.0, -0.5, 0.5, 2.0}) {
        Frame const to = {{0.0, 0.0, 1.0}, {std::cos(angle), std::sin(angle), 0.0}};
        Quaternion const q = frameRotation(from, to, 0.25);
        EXPECT_TRUE(isNear(rotationOf(q), Testing::plainTurn({0.0, 0.0, 1.0}, 0.25 * angle))) << angle;
    }
}

TEST(QuaternionFrameRot, AHalfTurnTwistTurnsInThePositiveSense) {
    Frame const from = {{0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}};
    Frame const to = {{0.0, 0.0, 1.0}, {-1.0, 0.0, 0.0}};
    Quaternion const q = frameRotation(from, to, 0.5);
    EXPECT_TRUE(isNear(rotationOf(q), Testing::plainTurn({0.0, 0.0, 1.0}, halfTurn / 2.0)));
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
