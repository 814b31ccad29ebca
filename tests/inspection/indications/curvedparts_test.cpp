// True sizes on curved parts and stretched maps, against closed forms.

#include "Inspection/indications/findindications.h"
#include "tests/inspection/sampleresults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

constexpr double pi = std::numbers::pi;
constexpr double discRadius = 5.0;
constexpr double flawAmplitude = 80.0;
constexpr double noiseAmplitude = 6.0;

double degrees(double angle) {
    return angle * pi / 180.0;
}

IndicationOptions halfOfPeak() {
    IndicationOptions options;
    options.value = "amplitude";
    options.threshold = {true, 0.5};
    options.minPeak = 20.0;
    return options;
}

/// A cap of 60 degrees around its pole, mapped conformally (by stereographic projection from the other pole):
/// at its rim the map shows lengths 1 / cos^2(30 degrees) times as long as at the pole, areas 1.78 times.
constexpr double capRadius = 60.0;
constexpr double capPixel = 0.5;
constexpr std::size_t capWidth = 278;

Vector onCap(double u, double v) {
    double const x = (u - capWidth / 2.0) * capPixel;
    double const y = (v - capWidth / 2.0) * capPixel;
    double const polar = 2.0 * std::atan(std::hypot(x, y) / (2.0 * capRadius));
    if (polar > degrees(60.0)) {
        double const nan = std::numeric_limits<double>::quiet_NaN();
        return {nan, nan, nan};
    }
    double const around = std::atan2(y, x);
    return {capRadius * std::sin(polar) * std::cos(around), capRadius * std::sin(polar) * std::sin(around),
            capRadius * std::cos(polar)};
}

Vector onSphere(double polar, double around) {
    return {capRadius * std::sin(polar) * std::cos(around), capRadius * std::sin(polar) * std::sin(around),
            capRadius * std::cos(polar)};
}

double wayOnSphere(Vector const& a, Vector const& b) {
    return capRadius * std::atan2(std::sqrt(a.cross(b).lSqr()), a.dot(b));
}

/// Half a tube whose pixels grow along it: at its end they are 1.8 times as long as at its beginning.
constexpr double tubeRadius = 100.0;
constexpr double tubePixel = 0.5;
constexpr std::size_t tubeWidth = 240;
constexpr std::size_t tubeHeight = 240;

double alongTube(double u) {
    return tubePixel * (u + 0.4 * u * u / tubeWidth);
}

Vector onTube(double u, double v) {
    double const angle = (v - tubeHeight / 2.0) * tubePixel / tubeRadius;
    return {alongTube(u), tubeRadius * std::sin(angle), tubeRadius * std::cos(angle)};
}

/// Along and around.
std::pair<double, double> unrolledTube(Vector const& point) {
    return {point.getdX(), tubeRadius * std::atan2(point.getdY(), point.getdZ())};
}

Vector tubeCentre(double along, double around) {
    return {along, tubeRadius * std::sin(around / tubeRadius), tubeRadius * std::cos(around / tubeRadius)};
}

double wayOnTube(Vector const& a, Vector const& b) {
    auto const [x, y] = unrolledTube(a);
    auto const [otherX, otherY] = unrolledTube(b);
    return std::hypot(x - otherX, y - otherY);
}

using Way = double (*)(Vector const&, Vector const&);

/// Full echoes within discs of the same radius along the surface.
Result withDiscs(Result result, std::vector<Vector> const& centres, Way way) {
    measure(result, [&](Vector const& point) {
        bool const isInside = std::any_of(centres.begin(), centres.end(), [&](Vector const& centre) {
            return way(point, centre) <= discRadius;
        });
        return isInside ? flawAmplitude : noiseAmplitude;
    });
    return result;
}

Indication const& nearestTo(std::vector<Indication> const& found, Vector const& centre) {
    return *std::min_element(found.begin(), found.end(), [&](Indication const& a, Indication const& b) {
        return (a.centre.point - centre).lSqr() < (b.centre.point - centre).lSqr();
    });
}

void expectDiscs(Result const& result, std::vector<Vector> const& centres, double trueArea,
                 double halfPixel) {
    std::vector<Indication> const found = findIndications(result, halfOfPeak());
    ASSERT_EQ(centres.size(), found.size());
    for (Vector const& centre : centres) {
        Indication const& one = nearestTo(found, centre);
        EXPECT_NEAR(trueArea, one.area, 0.03 * trueArea);
        EXPECT_LT(std::sqrt((one.centre.point - centre).lSqr()), halfPixel);
        EXPECT_NEAR(2.0 * discRadius, one.length, 2.0 * halfPixel);
        EXPECT_NEAR(2.0 * discRadius, one.width, 2.0 * halfPixel);
    }
}

std::vector<Vector> capCentres() {
    return {onSphere(0.0, 0.0), onSphere(degrees(25.0), degrees(20.0)),
            onSphere(degrees(40.0), degrees(200.0)), onSphere(degrees(53.0), degrees(110.0))};
}

std::vector<Vector> tubeCentres() {
    return {tubeCentre(8.0, 0.3), tubeCentre(60.2, -30.1), tubeCentre(100.0, 41.0), tubeCentre(157.7, 7.2)};
}

Result discsOnCap() {
    return withDiscs(resultOn(capWidth, capWidth, onCap), capCentres(), wayOnSphere);
}

Result discsOnTube() {
    return withDiscs(resultOn(tubeWidth, tubeHeight, onTube), tubeCentres(), wayOnTube);
}

/// What pixels would say that are all taken for as large as one.
std::array<double, 2> extremesOfCountedAreas(Result const& result, double pixel) {
    std::vector<double> areas;
    for (Indication const& one : findIndications(result, halfOfPeak())) {
        areas.push_back(static_cast<double>(one.pixels.size()) * pixel * pixel);
    }
    auto const [low, high] = std::minmax_element(areas.begin(), areas.end());
    return {*low, *high};
}

/// A flaw as a beam shows it: the share of the beam's power, which falls off as a Gaussian of that width at
/// half its peak, that meets it.
template <class IsFlaw>
double seenThrough(double beam, double x, double y, IsFlaw const& isFlaw) {
    constexpr int half = 24;
    double const step = beam / 12.0;
    double sum = 0.0;
    double all = 0.0;
    for (int j = -half; j <= half; ++j) {
        for (int i = -half; i <= half; ++i) {
            double const dx = i * step;
            double const dy = j * step;
            double const power = std::exp(-4.0 * std::log(2.0) * (dx * dx + dy * dy) / (beam * beam));
            all += power;
            sum += isFlaw(x + dx, y + dy) ? power : 0.0;
        }
    }
    return sum / all;
}

/// A tube of pixels of 1 mm, measured with a beam of 3 mm.
template <class IsFlaw>
Result seenOnTube(IsFlaw const& isFlaw) {
    constexpr double radius = 40.0;
    Result result = resultOn(60, 60, [](double u, double v) {
        double const angle = (v - 30.0) / radius;
        return Vector(u, radius * std::sin(angle), radius * std::cos(angle));
    });
    measure(result, [&](Vector const& point) {
        double const around = radius * std::atan2(point.getdY(), point.getdZ());
        return 1.0 + 90.0 * seenThrough(3.0, point.getdX(), around, isFlaw);
    });
    return result;
}

IndicationOptions withBeam() {
    IndicationOptions options = halfOfPeak();
    options.threshold.number = std::pow(10.0, -6.0 / 20.0);
    options.minPeak = 4.0;
    options.beam = 3.0;
    return options;
}

} // namespace

TEST(CurvedParts, DiscsOnACapHaveTheirTrueAreasAndCentres) {
    double const height = capRadius * (1.0 - std::cos(discRadius / capRadius));
    expectDiscs(discsOnCap(), capCentres(), 2.0 * pi * capRadius * height, 0.5 * capPixel);
}

TEST(CurvedParts, DiscsOnATubeWhoseMapStretchesHaveTheirTrueAreasAndCentres) {
    expectDiscs(discsOnTube(), tubeCentres(), pi * discRadius * discRadius, 0.5 * tubePixel);
}

TEST(CurvedParts, CountedPixelsWouldNotDo) {
    double const area = pi * discRadius * discRadius;
    auto const onTheCap = extremesOfCountedAreas(discsOnCap(), capPixel);
    auto const onTheTube = extremesOfCountedAreas(discsOnTube(), tubePixel);

    EXPECT_LT(onTheCap[0], 1.1 * area);
    EXPECT_GT(onTheCap[1], 1.5 * area);
    EXPECT_LT(onTheTube[0], 0.7 * area);
    EXPECT_GT(onTheTube[1], 0.9 * area);
}

TEST(CurvedParts, CentresAreThoseOfTheSurfaceNotOfTheMap) {
    for (Indication const& one : findIndications(discsOnTube(), halfOfPeak())) {
        Vector const over = onTube(one.centre.at.getU(), one.centre.at.getV());
        EXPECT_LT(std::sqrt((over - one.centre.point).lSqr()), 0.01);
        Vector const out(0.0, one.centre.point.getdY(), one.centre.point.getdZ());
        EXPECT_GT(std::abs(one.centre.normal.dot(out)), std::sqrt(out.lSqr()) * std::cos(degrees(0.02)));
    }
}

TEST(CurvedParts, FlawsOfTwiceTheBeamAndMoreHaveTheirSizes) {
    struct Flaw {
        double length;
        double width;
        double angle;
    };

    for (Flaw const& flaw : {Flaw{6.0, 6.0, 0.0}, Flaw{8.0, 6.0, 0.0}, Flaw{12.0, 6.0, 35.0},
                             Flaw{20.0, 7.0, 45.0}, Flaw{15.0, 15.0, 20.0}}) {
        double const c = std::cos(degrees(flaw.angle));
        double const s = std::sin(degrees(flaw.angle));
        Result const result = seenOnTube([&](double x, double y) {
            double const along = (x - 30.3) * c + (y - 0.4) * s;
            double const across = -(x - 30.3) * s + (y - 0.4) * c;
            return std::abs(along) <= 0.5 * flaw.length && std::abs(across) <= 0.5 * flaw.width;
        });

        std::vector<Indication> const found = findIndications(result, withBeam());

        ASSERT_EQ(1u, found.size());
        EXPECT_NEAR(flaw.length, found[0].length, 1.0) << flaw.length << " x " << flaw.width;
        EXPECT_NEAR(flaw.width, found[0].width, 1.0) << flaw.length << " x " << flaw.width;
        EXPECT_FALSE(found[0].isUnderBeam);
    }
}

TEST(CurvedParts, RoundFlawsOfTwiceTheBeamAndMoreHaveTheirSizes) {
    for (double const diameter : {6.0, 7.5, 9.0, 14.0}) {
        Result const result =
            seenOnTube([&](double x, double y) { return std::hypot(x - 29.6, y + 3.3) <= 0.5 * diameter; });

        std::vector<Indication> const found = findIndications(result, withBeam());

        ASSERT_EQ(1u, found.size());
        EXPECT_NEAR(diameter, found[0].length, 1.0);
        EXPECT_NEAR(diameter, found[0].width, 1.0);
        EXPECT_FALSE(found[0].isUnderBeam);
    }
}

TEST(CurvedParts, FlawsBelowTheBeamAreFoundAndMarked) {
    for (double const diameter : {1.0, 2.0, 2.9}) {
        Result const result =
            seenOnTube([&](double x, double y) { return std::hypot(x - 31.2, y - 5.1) <= 0.5 * diameter; });

        std::vector<Indication> const found = findIndications(result, withBeam());

        ASSERT_EQ(1u, found.size());
        EXPECT_TRUE(found[0].isUnderBeam) << diameter;
        EXPECT_LT(
            std::hypot(found[0].centre.point.getdX() - 31.2,
                       40.0 * std::atan2(found[0].centre.point.getdY(), found[0].centre.point.getdZ()) - 5.1),
            0.5);
    }
}

TEST(CurvedParts, APointSeenFarBelowItsPeakIsMarkedToo) {
    Result const result =
        seenOnTube([&](double x, double y) { return std::hypot(x - 31.2, y - 5.1) <= 1.4; });
    IndicationOptions options = withBeam();
    options.threshold = {false, 4.0};

    std::vector<Indication> const found = findIndications(result, options);

    ASSERT_EQ(1u, found.size());
    EXPECT_GT(found[0].width, 1.25 * 3.0);
    EXPECT_TRUE(found[0].isUnderBeam);
}
