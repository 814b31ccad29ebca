#include "Inspection/indications/findindications.h"

#include "Inspection/indications/internal/regions.h"
#include "Inspection/records/failure.h"
#include "tests/inspection/sampleresults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

constexpr double side = 2.0;

IndicationOptions atLeast(double level) {
    IndicationOptions options;
    options.value = "amplitude";
    options.threshold = {false, level};
    return options;
}

IndicationOptions atLeastShare(double share) {
    IndicationOptions options;
    options.value = "amplitude";
    options.threshold = {true, share};
    return options;
}

/// A flat part with this amplitude everywhere.
Result level(std::size_t width, std::size_t height, double amplitude) {
    Result result = resultOn(width, height, flat(side));
    measure(result, [&](Vector const&) { return amplitude; });
    return result;
}

void setBlock(Result& result, std::size_t left, std::size_t bottom, std::size_t width, std::size_t height,
              double amplitude) {
    for (std::size_t v = bottom; v < bottom + height; ++v) {
        for (std::size_t u = left; u < left + width; ++u) {
            setEcho(result, result.indexOf(u, v), amplitude);
        }
    }
}

/// A row of pixels with these amplitudes.
Result rowOf(std::vector<double> const& amplitudes) {
    Result result = resultOn(amplitudes.size(), 1, flat(side));
    for (std::size_t i = 0; i < amplitudes.size(); ++i) {
        setEcho(result, i, amplitudes[i]);
    }
    return result;
}

std::vector<std::set<std::uint32_t>> pixelsOf(std::vector<Indication> const& found) {
    std::vector<std::set<std::uint32_t>> all;
    for (Indication const& one : found) {
        all.emplace_back(one.pixels.begin(), one.pixels.end());
    }
    std::sort(all.begin(), all.end());
    return all;
}

std::string complaintOf(Result const& result, IndicationOptions const& options) {
    try {
        findIndications(result, options);
    } catch (Failure const& failure) {
        return failure.what();
    }
    return "";
}

/// The pixels of at least `least` around one that is.
std::set<std::uint32_t> floodedFrom(Result const& result, std::uint32_t seed, double least) {
    auto const& values = result.values[0].values;
    std::set<std::uint32_t> reached{seed};
    std::vector<std::uint32_t> open{seed};
    while (!open.empty()) {
        auto const u = static_cast<int>(open.back() % result.width);
        auto const v = static_cast<int>(open.back() / result.width);
        open.pop_back();
        for (int dv = -1; dv <= 1; ++dv) {
            for (int du = -1; du <= 1; ++du) {
                int const x = u + du;
                int const y = v + dv;
                if (x < 0 || y < 0 || x >= static_cast<int>(result.width) ||
                    y >= static_cast<int>(result.height)) {
                    continue;
                }
                auto const pixel = static_cast<std::uint32_t>(
                    result.indexOf(static_cast<std::size_t>(x), static_cast<std::size_t>(y)));
                if (values[pixel] >= least && reached.insert(pixel).second) {
                    open.push_back(pixel);
                }
            }
        }
    }
    return reached;
}

/// The definition, word by word: what a pixel reaches without going below the share of it holds nothing as
/// loud before it.
std::vector<std::set<std::uint32_t>> plainPeaks(Result const& result, double share, double minPeak) {
    auto const& values = result.values[0].values;
    std::vector<std::set<std::uint32_t>> all;
    for (std::uint32_t pixel = 0; pixel < result.size(); ++pixel) {
        if (values[pixel] < minPeak) {
            continue;
        }
        auto const region = floodedFrom(result, pixel, share * values[pixel]);
        bool const doesStand = std::all_of(region.begin(), region.end(), [&](std::uint32_t other) {
            return values[other] < values[pixel] || (values[other] == values[pixel] && other >= pixel);
        });
        if (doesStand) {
            all.push_back(region);
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

} // namespace

TEST(FindIndications, ARectangleHasItsPixelsAndItsPlace) {
    Result result = level(20, 15, 10.0);
    setBlock(result, 4, 5, 6, 3, 90.0);

    std::vector<Indication> const found = findIndications(result, atLeast(50.0));

    ASSERT_EQ(1u, found.size());
    Indication const& one = found[0];
    EXPECT_EQ(1u, one.number);
    EXPECT_EQ(18u, one.pixels.size());
    EXPECT_EQ(result.indexOf(4, 5), one.pixels.front());
    EXPECT_EQ(PixelState::Echo, one.state);
    EXPECT_EQ(90.0, one.peak);
    EXPECT_EQ(50.0, one.level);
    EXPECT_NEAR(7.0, one.centre.at.getU(), 1e-3);
    EXPECT_NEAR(6.5, one.centre.at.getV(), 1e-3);
    EXPECT_NEAR(14.0, one.centre.point.getdX(), 2e-3);
    EXPECT_NEAR(13.0, one.centre.point.getdY(), 2e-3);
    EXPECT_NEAR(1.0, one.centre.normal.getdZ(), 1e-6);
    EXPECT_NEAR(12.0, one.length, 1e-3);
    EXPECT_NEAR(6.0, one.width, 1e-3);
    EXPECT_FALSE(one.doesTouchRim);
    EXPECT_FALSE(one.doesTouchUnmeasured);
    EXPECT_FALSE(one.isUnderBeam);
    EXPECT_EQ("", touchesOf(one));
}

TEST(FindIndications, TheRimLiesWhereTheInterpolatedValueMeetsTheLevel) {
    std::vector<Indication> const found =
        findIndications(rowOf({0.0, 40.0, 80.0, 80.0, 20.0}), atLeast(50.0));

    ASSERT_EQ(1u, found.size());
    // From a quarter of the way between the second and the third to half of that between the last two.
    double const left = 1.5 + 0.25;
    double const right = 3.5 + 0.5;
    EXPECT_NEAR((right - left) * side * side, found[0].area, 1e-5);
    EXPECT_NEAR((right - left) * side, found[0].length, 1e-5);
    EXPECT_NEAR(0.5 * (left + right), found[0].centre.at.getU(), 1e-3);
}

TEST(FindIndications, InterpolatedAreasOfSmallRoundFlawsAreCloserThanWholePixels) {
    double const radius = 2.6 * side;
    double const area = 3.14159265358979 * radius * radius;
    double worst = 0.0;
    double worstOfPixels = 0.0;
    for (int i = 0; i < 25; ++i) {
        Result result = resultOn(16, 16, flat(side));
        double const x = side * (8.0 + 0.2 * (i % 5));
        double const y = side * (8.0 + 0.2 * static_cast<int>(i / 5));
        measure(result, [&](Vector const& point) {
            double const r = std::hypot(point.getdX() - x, point.getdY() - y);
            return 80.0 / (1.0 + std::exp((r - radius) / (0.4 * side)));
        });
        auto const found = findIndications(result, atLeast(40.0));
        ASSERT_EQ(1u, found.size());
        worst = std::max(worst, std::abs(found[0].area - area) / area);
        double const ofPixels = static_cast<double>(found[0].pixels.size()) * side * side;
        worstOfPixels = std::max(worstOfPixels, std::abs(ofPixels - area) / area);
    }
    EXPECT_LT(worst, 0.03);
    EXPECT_GT(worstOfPixels, 0.06);
}

TEST(FindIndications, CornersConnect) {
    Result result = level(8, 8, 0.0);
    setEcho(result, result.indexOf(2, 2), 60.0);
    setEcho(result, result.indexOf(3, 3), 60.0);
    setEcho(result, result.indexOf(5, 5), 60.0);

    EXPECT_EQ(2u, findIndications(result, atLeast(50.0)).size());
}

TEST(FindIndications, LargerOnesComeFirst) {
    Result result = level(20, 10, 0.0);
    setBlock(result, 1, 1, 2, 2, 90.0);
    setBlock(result, 8, 1, 5, 4, 60.0);

    auto const found = findIndications(result, atLeast(50.0));

    ASSERT_EQ(2u, found.size());
    EXPECT_EQ(60.0, found[0].peak);
    EXPECT_EQ(1u, found[0].number);
    EXPECT_EQ(90.0, found[1].peak);
    EXPECT_EQ(2u, found[1].number);
}

TEST(FindIndications, ALevelsShareIsALevel) {
    Result result = level(10, 10, 30.0);
    setBlock(result, 3, 3, 2, 2, 45.0);
    IndicationOptions options = atLeastShare(0.5);
    options.from = 80.0;

    auto const found = findIndications(result, options);

    ASSERT_EQ(1u, found.size());
    EXPECT_DOUBLE_EQ(40.0, found[0].level);
}

TEST(FindIndications, EachPeakHasItsOwnLevel) {
    auto const found =
        findIndications(rowOf({1, 30, 60, 100, 60, 30, 8, 12, 20, 12, 9, 1}), atLeastShare(0.5));

    EXPECT_EQ((std::vector<std::set<std::uint32_t>>{{2, 3, 4}, {7, 8, 9}}), pixelsOf(found));
}

TEST(FindIndications, AMaximumOnTheFlankOfALouderOneIsNone) {
    IndicationSearch const search = searchIndications(rowOf({1, 60, 100, 40, 45, 30, 1}), atLeastShare(0.5));

    EXPECT_EQ((std::vector<std::set<std::uint32_t>>{{1, 2}}), pixelsOf(search.indications));
    EXPECT_EQ(1u, search.flanks);
}

TEST(FindIndications, PeaksAreThoseOfTheDefinition) {
    std::mt19937 generator(11);
    std::uniform_int_distribution<int> amplitude(0, 60);
    for (int trial = 0; trial < 40; ++trial) {
        Result result = resultOn(13, 11, flat(side));
        for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
            // Few different values, for plateaus, and cubed, for peaks that stand out.
            int const number = amplitude(generator);
            setEcho(result, pixel, number * number * number / 2000.0);
        }
        for (double const share : {0.25, 0.5, 0.8}) {
            for (double const minPeak : {1.0, 20.0}) {
                IndicationOptions options = atLeastShare(share);
                options.minPeak = minPeak;
                EXPECT_EQ(plainPeaks(result, share, minPeak), pixelsOf(findIndications(result, options)));
            }
        }
    }
}

TEST(FindIndications, FaintPeaksArePassedOver) {
    Result const result = rowOf({0, 50, 0, 8, 0, 30, 0});
    IndicationOptions options = atLeastShare(0.5);
    EXPECT_EQ(3u, findIndications(result, options).size());
    options.minPeak = 20.0;
    EXPECT_EQ(2u, findIndications(result, options).size());
    options = atLeast(5.0);
    options.minPeak = 40.0;
    EXPECT_EQ(1u, findIndications(result, options).size());
}

TEST(FindIndications, SharesOfDecibelsAreDifferences) {
    Result result = rowOf({-40, -12, -6, -13, -40});
    result.values[0].unit = "dB";
    result.values[0].ceiling.reset();

    auto const found = findIndications(result, atLeastShare(std::pow(10.0, -6.5 / 20.0)));

    ASSERT_EQ(1u, found.size());
    EXPECT_NEAR(-12.5, found[0].level, 1e-12);
    EXPECT_EQ(2u, found[0].pixels.size());
}

TEST(FindIndications, WithoutAnEchoAPixelIsBelowEveryLevel) {
    Result result = level(12, 12, 80.0);
    for (std::size_t u = 4; u < 7; ++u) {
        setState(result, result.indexOf(u, 5), PixelState::NoEcho);
    }
    IndicationOptions options = atLeast(40.0);
    options.isBelow = true;

    auto const found = findIndications(result, options);

    ASSERT_EQ(1u, found.size());
    EXPECT_EQ(PixelState::NoEcho, found[0].state);
    EXPECT_FALSE(found[0].peak.has_value());
    EXPECT_EQ(3u, found[0].pixels.size());
    EXPECT_EQ(40.0, found[0].level);
    EXPECT_NEAR(3.0 * side, found[0].length, 1e-5);
    EXPECT_NEAR(5.5, found[0].peakPlace.at.getU(), 1e-6);
    EXPECT_FALSE(found[0].doesTouchUnmeasured);
    // Above, it is no hole in a measured surface either.
    EXPECT_EQ(132u + 9u, findIndications(result, atLeast(40.0))[0].pixels.size());
}

TEST(FindIndications, AValueThatNeedsNoEchoCountsWithoutOne) {
    Result result = level(12, 12, 80.0);
    setState(result, result.indexOf(5, 5), PixelState::NoEcho);
    result.values[0].values[result.indexOf(5, 5)] = 82.0;
    setState(result, result.indexOf(8, 8), PixelState::NoEcho);
    result.values[0].values[result.indexOf(8, 8)] = 15.0;
    IndicationOptions options = atLeast(40.0);
    options.isBelow = true;

    auto const found = findIndications(result, options);

    ASSERT_EQ(1u, found.size());
    EXPECT_EQ(15.0, found[0].peak);
    EXPECT_EQ(std::vector<std::uint32_t>{8 * 12 + 8}, found[0].pixels);
}

TEST(FindIndications, AFadedEchoTellsItsLeastValue) {
    Result result = level(12, 12, 80.0);
    setBlock(result, 4, 4, 3, 3, 20.0);
    setEcho(result, result.indexOf(5, 5), 7.0);
    IndicationOptions options = atLeast(40.0);
    options.isBelow = true;
    options.minPeak = 10.0;

    auto const found = findIndications(result, options);

    ASSERT_EQ(1u, found.size());
    EXPECT_EQ(PixelState::Echo, found[0].state);
    EXPECT_EQ(7.0, found[0].peak);
    options.minPeak = 5.0;
    EXPECT_TRUE(findIndications(result, options).empty());
}

TEST(FindIndications, WhatWasNotMeasuredIsNoneAndIsToldOfItsNeighbours) {
    Result result = level(12, 12, 80.0);
    setBlock(result, 4, 4, 3, 3, 20.0);
    setState(result, result.indexOf(7, 5), PixelState::NotReached);
    setState(result, result.indexOf(1, 1), PixelState::Refused);
    IndicationOptions options = atLeast(40.0);
    options.isBelow = true;

    auto const found = findIndications(result, options);

    ASSERT_EQ(1u, found.size());
    EXPECT_EQ(9u, found[0].pixels.size());
    EXPECT_TRUE(found[0].doesTouchUnmeasured);
    EXPECT_FALSE(found[0].doesTouchRim);
    EXPECT_EQ("unmeasured", touchesOf(found[0]));
}

TEST(FindIndications, TheRimOfTheGridIsTold) {
    Result result = level(12, 12, 0.0);
    setBlock(result, 0, 4, 3, 3, 60.0);

    auto const found = findIndications(result, atLeast(50.0));

    ASSERT_EQ(1u, found.size());
    EXPECT_TRUE(found[0].doesTouchRim);
    EXPECT_EQ("rim", touchesOf(found[0]));
    // To the rim, and interpolated on the other side.
    EXPECT_NEAR((2.5 + (60.0 - 50.0) / 60.0) * side, found[0].length, 1e-5);
}

TEST(FindIndications, ASaturatedPeakIsAtLeastThatLoud) {
    Result result = level(12, 12, 0.0);
    setBlock(result, 4, 4, 3, 3, 100.0);
    result.states[result.indexOf(5, 5)] = PixelState::Saturated;

    EXPECT_EQ(PixelState::Saturated, findIndications(result, atLeast(50.0))[0].state);
    EXPECT_EQ(1u, findIndications(result, atLeast(100.0)).size());
}

TEST(FindIndications, NearRimsBecomeOne) {
    Result result = level(20, 10, 0.0);
    setBlock(result, 2, 2, 3, 3, 100.0);
    setBlock(result, 8, 2, 3, 3, 80.0);
    IndicationOptions options = atLeastShare(0.5);
    // Three pixels lie between, and both rims in the middle of neighbours.
    options.merge = 3.0 * side - 0.01;
    EXPECT_EQ(2u, findIndications(result, options).size());
    options.merge = 3.0 * side + 0.01;

    auto const found = findIndications(result, options);

    ASSERT_EQ(1u, found.size());
    EXPECT_EQ(18u, found[0].pixels.size());
    EXPECT_NEAR(9.0 * side, found[0].length, 0.01);
    EXPECT_EQ(100.0, found[0].peak);
    EXPECT_DOUBLE_EQ(50.0, found[0].level);
    EXPECT_EQ(2u, found[0].outlines.size());
    EXPECT_NEAR(6.5, found[0].centre.at.getU(), 1e-3);
}

TEST(FindIndications, SmallOnesAreLeftOutAfterMerging) {
    Result result = level(20, 10, 0.0);
    setBlock(result, 2, 2, 1, 1, 100.0);
    setBlock(result, 4, 2, 1, 1, 100.0);
    setBlock(result, 14, 6, 1, 1, 100.0);
    IndicationOptions options = atLeast(50.0);
    double const one = findIndications(result, options)[0].area;
    options.minArea = 1.5 * one;
    options.merge = 2.0 * side;

    IndicationSearch const search = searchIndications(result, options);

    ASSERT_EQ(1u, search.indications.size());
    EXPECT_NEAR(2.0 * one, search.indications[0].area, 1e-9);
    EXPECT_EQ(1u, search.tooSmall);
}

TEST(FindIndications, DepthAndIncidenceAreThoseAtThePeak) {
    Result result = level(12, 12, 0.0);
    setBlock(result, 4, 4, 3, 3, 60.0);
    setEcho(result, result.indexOf(4, 6), 70.0);
    for (char const* quantity : {"depth", "incidence"}) {
        ValueMap map = result.values[0];
        map.name = map.quantity = quantity;
        std::fill(map.values.begin(), map.values.end(), 1.0);
        map.values[result.indexOf(4, 6)] = quantity[0] == 'd' ? 3.5 : 12.0;
        result.values.push_back(map);
    }

    auto const found = findIndications(result, atLeast(50.0));

    EXPECT_EQ(3.5, found[0].depth);
    EXPECT_EQ(12.0, found[0].incidence);
    EXPECT_EQ(4.5, found[0].peakPlace.at.getU());
    result.values[1].values[result.indexOf(4, 6)] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(findIndications(result, atLeast(50.0))[0].depth.has_value());
}

TEST(FindIndications, PlacesAreThePartsOwn) {
    Result result = level(12, 12, 0.0);
    setBlock(result, 4, 4, 3, 3, 60.0);
    SurfacePlace const unmoved = findIndications(result, atLeast(50.0))[0].centre;
    result.move = {100.0, -20.0, 3.0};

    Indication const one = findIndications(result, atLeast(50.0))[0];

    EXPECT_NEAR(unmoved.point.getdX() - 100.0, one.centre.point.getdX(), 1e-9);
    EXPECT_NEAR(unmoved.point.getdY() + 20.0, one.centre.point.getdY(), 1e-9);
    EXPECT_NEAR(-3.0, one.peakPlace.point.getdZ(), 1e-6);
}

TEST(FindIndications, FilledPixelsCountWhereAskedFor) {
    Result result = level(12, 12, 0.0);
    setBlock(result, 4, 4, 3, 3, 60.0);
    std::size_t const between = result.indexOf(5, 5);
    setState(result, between, PixelState::NotReached);
    result.filledFrom[between] = static_cast<std::uint32_t>(result.indexOf(4, 5));
    IndicationOptions options = atLeast(50.0);

    EXPECT_EQ(8u, findIndications(result, options)[0].pixels.size());
    EXPECT_TRUE(findIndications(result, options)[0].doesTouchUnmeasured);
    options.doUseFilled = true;
    EXPECT_EQ(9u, findIndications(result, options)[0].pixels.size());
    EXPECT_FALSE(findIndications(result, options)[0].doesTouchUnmeasured);
}

TEST(FindIndications, GridsSideBySideAreOneOnlyWhereThePartIs) {
    for (double const gap : {0.0, 50.0}) {
        Result result = emptyResult(12, 6);
        result.values = resultOn(12, 6, flat(side)).values;
        addPatch(result, 0, 0, 6, 6, flat(side));
        addPatch(result, 6, 0, 6, 6,
                 [&](double u, double v) { return flat(side)(u + 6.0, v) + Vector(gap, 0.0, 0.0); });
        measure(result, [](Vector const&) { return 0.0; });
        setBlock(result, 4, 2, 4, 2, 60.0);

        auto const found = findIndications(result, atLeast(50.0));

        ASSERT_EQ(gap > 0.0 ? 2u : 1u, found.size());
        EXPECT_EQ(gap > 0.0, found[0].doesTouchRim);
    }
}

TEST(FindIndications, OutlinesAreClosedAndHoldTheArea) {
    Result result = level(14, 14, 0.0);
    setBlock(result, 3, 3, 7, 7, 60.0);
    setBlock(result, 6, 6, 1, 1, 0.0);

    auto const found = findIndications(result, atLeast(30.0));

    ASSERT_EQ(1u, found.size());
    ASSERT_EQ(2u, found[0].outlines.size());
    double enclosed = 0.0;
    for (auto const& line : found[0].outlines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            FlatPoint const& a = line[i];
            FlatPoint const& b = line[(i + 1) % line.size()];
            enclosed += 0.5 * (a.getU() * b.getV() - a.getV() * b.getU());
            EXPECT_LT((b - a).lSqr(), 0.6);
        }
    }
    EXPECT_NEAR(found[0].area, enclosed * side * side, 1e-5);
}

TEST(FindIndications, WhatCannotBeIsRefused) {
    Result const result = level(4, 4, 50.0);
    IndicationOptions options = atLeast(120.0);
    EXPECT_EQ(
        "the threshold of 120 lies above the ceiling of amplitude:max, 100, from where on all echoes look "
        "the same; give one below it",
        complaintOf(result, options));
    options = atLeastShare(1.0);
    EXPECT_EQ("a threshold of the own peak must lie below it: less than 100 % or 0 dB",
              complaintOf(result, options));
    options = atLeastShare(0.5);
    options.isBelow = true;
    EXPECT_EQ("what lies below a level has no peak to take a share of; give the level that the share is of",
              complaintOf(result, options));
    options = atLeast(10.0);
    options.from = 5.0;
    EXPECT_EQ("a threshold in the value's unit is of no level; give it in % or dB",
              complaintOf(result, options));
    options = atLeast(10.0);
    options.minArea = -1.0;
    EXPECT_EQ("the least area of an indication must not be below zero", complaintOf(result, options));
    options = atLeast(10.0);
    options.merge = -1.0;
    EXPECT_EQ("the gap over which indications are merged must not be below zero",
              complaintOf(result, options));
    options = atLeast(10.0);
    options.beam = 0.0;
    EXPECT_EQ("the beam's width must be above zero", complaintOf(result, options));
    options = atLeast(10.0);
    options.value = "depth";
    EXPECT_EQ("there is no value 'depth'; the result has amplitude:max", complaintOf(result, options));
}

TEST(FindIndications, NothingMeasuredHasNone) {
    Result const result = resultOn(5, 5, flat(side));

    EXPECT_TRUE(findIndications(result, atLeast(10.0)).empty());
    EXPECT_TRUE(findIndications(result, atLeastShare(0.5)).empty());
}
