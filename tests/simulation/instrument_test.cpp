#include "simulation/instrument.h"

#include "simulation/rigidmotion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>

namespace QELT::Simulation {
namespace {

double decibel(double ratio) {
    return 20.0 * std::log10(ratio);
}

/// A reading over a place, tilted by degrees about the line of travel.
Reading readOver(Instrument const& instrument, Shape const& shape, std::vector<Flaw> const& flaws,
                 Place const& place, double degrees = 0.0, double standoff = 20.0) {
    std::vector<PlacedFlaw> placed;
    for (Flaw const& flaw : flaws) {
        placed.push_back(placedOn(shape, flaw));
    }
    SurfacePoint const under = shape.at(place);
    double const angle = degrees * std::numbers::pi / 180.0;
    Vector const direction = under.normal * -std::cos(angle) + under.alongU * std::sin(angle);
    RandomNoise noise(1);
    return read(instrument, shape, placed, under.point - direction * standoff, direction, noise);
}

TEST(Response, OfADiscUnderTheAxisIsWhatTheGaussianHasWithinIt) {
    for (double const radius : {0.3, 1.5, 4.0}) {
        double const expected = 1.0 - std::exp(-4.0 * std::numbers::ln2 * radius * radius / 9.0);
        EXPECT_NEAR(expected, responseOf(radius, radius, 0.0, 0.0, 3.0), 1e-12);
    }
}

TEST(Response, IsHalfOverTheStraightEdgeOfALargeFlaw) {
    EXPECT_NEAR(0.5, responseOf(2e3, 2e3, 2e3, 0.0, 3.0), 3e-4);
    EXPECT_NEAR(-6.02, decibel(responseOf(2e3, 2e3, 0.0, -2e3, 3.0)), 0.01);
}

TEST(Response, OfASmallFlawHalvesAtHalfTheBeamsDiameter) {
    double const onAxis = responseOf(0.01, 0.01, 0.0, 0.0, 3.0);
    EXPECT_NEAR(0.5, responseOf(0.01, 0.01, 1.5, 0.0, 3.0) / onAxis, 1e-5);
    EXPECT_NEAR(0.0625, responseOf(0.01, 0.01, 0.0, 3.0, 3.0) / onAxis, 1e-5);
}

TEST(Response, OfAnEllipseIsTheSumOverItsArea) {
    // The midpoint rule on a fine lattice.
    double const a = 2.0;
    double const b = 0.8;
    double const h = 0.005;
    double const fall = 4.0 * std::numbers::ln2 / 4.0;
    double sum = 0.0;
    for (double x = -a + h / 2; x < a; x += h) {
        for (double y = -b + h / 2; y < b; y += h) {
            bool const isInside = x * x / (a * a) + y * y / (b * b) < 1.0;
            sum += isInside ? std::exp(-fall * ((x - 1.5) * (x - 1.5) + (y + 0.7) * (y + 0.7))) : 0.0;
        }
    }
    double const expected = sum * h * h * fall / std::numbers::pi;
    EXPECT_NEAR(expected, responseOf(a, b, 1.5, -0.7, 2.0), 2e-5);
}

TEST(Response, OfAFarFlawIsNone) {
    EXPECT_NEAR(0.0, responseOf(3.0, 3.0, 15.0, 0.0, 3.0), 1e-9);
}

TEST(Reading, OfSoundPartIsTheBackWallAndItsTime) {
    auto const shape = makeCylinder({});
    Reading const reading = readOver({}, *shape, {}, {0.0, 0.0});
    EXPECT_NEAR(80.0, reading.amplitude.value(), 1e-9);
    EXPECT_NEAR(80.0, reading.backWall.value(), 1e-9);
    EXPECT_NEAR(2.0 * 10.0 / 2.9, reading.tof.value(), 1e-9);
    EXPECT_NEAR(2.0 * 20.0 / 1.48, reading.front.value(), 1e-6);
}

TEST(Reading, ThereAndBackOverTwoPointNineMillimetresTakesTwoMicroseconds) {
    EXPECT_DOUBLE_EQ(2.0, timeThereAndBack(2.9, 2900.0));
    auto const shape = makeCylinder({});
    Flaw flaw{"large", {0.0, 0.0}, 15.0, 15.0, 0.0, 2.9};
    EXPECT_NEAR(2.0, readOver({}, *shape, {flaw}, {0.0, 0.0}).tof.value(), 1e-12);
}

TEST(Reading, CountsFromTheFiringIfAsked) {
    auto const shape = makeCylinder({});
    Instrument instrument;
    instrument.zero = TimeZero::Firing;
    Reading const reading = readOver(instrument, *shape, {}, {0.0, 0.0});
    EXPECT_NEAR(2.0 * 10.0 / 2.9, *reading.tof - *reading.front, 1e-9);
}

TEST(Reading, FallsBySixDecibelOverTheEdgeOfALargeFlaw) {
    auto const shape = makeCylinder({});
    Flaw const flaw{"large", {0.0, 0.0}, 15.0, 15.0, 0.0, 4.0};
    Instrument instrument;
    instrument.gateTo = 8.0;
    double const inside = readOver(instrument, *shape, {flaw}, {0.0, 0.0}).amplitude.value();
    double const edge = readOver(instrument, *shape, {flaw}, {0.0, 15.0}).amplitude.value();
    EXPECT_NEAR(90.0, inside, 1e-6);
    EXPECT_NEAR(-6.02, decibel(edge / inside), 0.35); // the edge bends away by beam / radius
    EXPECT_LT(decibel(edge / inside), -6.02);
    EXPECT_FALSE(readOver(instrument, *shape, {flaw}, {0.0, 25.0}).amplitude);
}

TEST(Reading, LosesDecibelsWithTheSquareOfTheTilt) {
    auto const shape = makeCap({});
    Instrument instrument;
    instrument.tiltLoss = 0.25;
    double const straight = readOver(instrument, *shape, {}, {5.0, 5.0}).amplitude.value();
    double const tilted = readOver(instrument, *shape, {}, {5.0, 5.0}, 4.0).amplitude.value();
    EXPECT_NEAR(-4.0, decibel(tilted / straight), 1e-9);
}

TEST(Reading, OfAFlawThatOnlyShadowsIsNone) {
    auto const shape = makeCylinder({});
    Flaw const flaw{"lost echo", {0.0, 0.0}, 10.0, 10.0, 0.0, 4.0, 0.0, 1.0};
    Reading const reading = readOver({}, *shape, {flaw}, {0.0, 0.0});
    EXPECT_TRUE(reading.front);
    EXPECT_FALSE(reading.amplitude);
    EXPECT_FALSE(reading.tof);
    EXPECT_FALSE(reading.backWall);
}

TEST(Reading, StopsAtTheCeilingAndNamesNothingBelowTheLevel) {
    auto const shape = makeCylinder({});
    Instrument loud;
    loud.backWall = 140.0;
    EXPECT_EQ(100.0, readOver(loud, *shape, {}, {0.0, 0.0}).amplitude.value());
    Instrument quiet;
    quiet.backWall = 1.99;
    EXPECT_FALSE(readOver(quiet, *shape, {}, {0.0, 0.0}).amplitude);
    quiet.noEchoBelow = 0.0;
    EXPECT_TRUE(readOver(quiet, *shape, {}, {0.0, 0.0}).amplitude);
}

TEST(Reading, BesideThePartIsEmpty) {
    auto const shape = makeCylinder({});
    Reading const reading = readOver({}, *shape, {}, {0.0, 41.0});
    EXPECT_FALSE(reading.front || reading.amplitude || reading.tof || reading.backWall);
}

TEST(Reading, NoiseHasItsStandardDeviationInDecibels) {
    auto const shape = makeCylinder({});
    Instrument instrument;
    instrument.noise = 0.5;
    instrument.frontNoise = 0.05;
    SurfacePoint const under = shape->at({0.0, 0.0});
    RandomNoise noise(3);
    constexpr int count = 20000;
    double sumSqr = 0.0;
    double frontSqr = 0.0;
    for (int i = 0; i < count; ++i) {
        Reading const reading =
            read(instrument, *shape, {}, under.point + under.normal * 20.0, -under.normal, noise);
        double const off = decibel(*reading.amplitude / 80.0);
        double const way = *reading.front * 1.48 / 2.0 - 20.0;
        sumSqr += off * off;
        frontSqr += way * way;
    }
    EXPECT_NEAR(0.5, std::sqrt(sumSqr / count), 0.01);
    EXPECT_NEAR(0.05, std::sqrt(frontSqr / count), 0.001);
}

TEST(PlacedFlaw, LiesAsItIsTurned) {
    auto const shape = makeCylinder({});
    PlacedFlaw const placed = placedOn(*shape, {"upright", {0.0, 0.0}, 4.0, 1.0, 90.0, 3.0});
    EXPECT_NEAR(1.0, placed.longAxis.getdZ(), 1e-12);
    EXPECT_NEAR(std::numbers::pi * 4.0, placed.area, 1e-12);
    Instrument instrument;
    instrument.gateTo = 5.0;
    Flaw const upright{"upright", {0.0, 0.0}, 8.0, 1.0, 90.0, 3.0};
    EXPECT_TRUE(readOver(instrument, *shape, {upright}, {0.0, 6.0}).amplitude);
    EXPECT_FALSE(readOver(instrument, *shape, {upright}, {6.0, 0.0}).amplitude);
}

} // namespace
} // namespace QELT::Simulation
