#include "Inspection/results/shotaccumulator.h"

#include "Inspection/results/pixels.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace QELT::Inspection;

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

/// Squares of side 1 in the plane z = 0, outward up, from x = 0 along u and y = 0 along v.
class Plane {
public:
    Plane(unsigned long width, unsigned long height) {
        grid.init(QELT::Geometry::TwoDimensional::Vector<unsigned long>(width, height));
        for (int v = 0; v <= static_cast<int>(height); ++v) {
            for (int u = 0; u <= static_cast<int>(width); ++u) {
                grid.setPoint(GridIndex(u, v), Point(static_cast<float>(u), static_cast<float>(v), 0.0F));
                grid.setPointValidity(GridIndex(u, v), true);
            }
        }
    }

    Grid grid;
};

/// Shots down onto the plane from 20 above.
ShotBlock shotsAt(std::vector<std::array<double, 2>> const& places, std::vector<double> const& values) {
    ShotBlock block;
    for (auto const& [x, y] : places) {
        block.beams.push_back(
            {Point(static_cast<float>(x), static_cast<float>(y), 20.0F), Vector(0.0, 0.0, -1.0)});
        block.hasDirection.push_back(true);
        block.lines.push_back(block.lines.size() + 2);
        block.isBad.push_back(false);
    }
    block.values = values;
    return block;
}

struct Scanned {
    Result result;
    ShotFigures figures;
};

Scanned scanned(Plane const& plane, ShotBlock const& block, ShotAcceptance const& acceptance = {},
                QuantityOptions const& options = {}) {
    SureSearch const search({&plane.grid});
    ShotQuantities quantities(options, {{"amplitude", "%FSH"}}, "mm");
    ShotAccumulator accumulator(pixelsOf({{"plane.quads", &plane.grid, false}}), search, quantities,
                                acceptance);
    accumulator.add(block);
    ShotFigures const figures = accumulator.getFigures();
    return {accumulator.finish(), figures};
}

PixelState stateAt(Scanned const& scan, std::size_t u, std::size_t v = 0) {
    return scan.result.states[scan.result.indexOf(u, v)];
}

} // namespace

TEST(Pixels, areTheQuadsOfTheGrid) {
    Plane plane(3, 2);
    plane.grid.setPointValidity(GridIndex(3, 2), false);
    Result const result = pixelsOf({{"plane.quads", &plane.grid, false}});

    EXPECT_EQ(3u, result.width);
    EXPECT_EQ(2u, result.height);
    EXPECT_EQ(PixelState::NotReached, result.states[0]);
    EXPECT_EQ(PixelState::NoSurface, result.states[5]);
    EXPECT_EQ(1.0, result.areas[1]);
    EXPECT_EQ(0.0, result.areas[5]);
    EXPECT_EQ(1.5F, result.points[3]);
    EXPECT_EQ(0.5F, result.points[4]);
    EXPECT_EQ(1.0F, result.normals[2]);
    EXPECT_TRUE(std::isnan(result.points[15]));
    EXPECT_EQ(-1.0F, pixelsOf({{"plane.quads", &plane.grid, true}}).normals[2]);
}

TEST(Pixels, ofGridsBesideEachOtherMakeOnePlane) {
    Plane left(2, 1);
    Plane right(2, 2);
    right.grid.setOffset(QELT::Geometry::TwoDimensional::Vector<int>(3, 0));
    Result const result = pixelsOf({{"l", &left.grid, false}, {"r", &right.grid, false}});

    EXPECT_EQ(5u, result.width);
    EXPECT_EQ(2u, result.height);
    EXPECT_TRUE(result.hasSurface(1));
    EXPECT_FALSE(result.hasSurface(2));
    EXPECT_TRUE(result.hasSurface(3));
    EXPECT_EQ(1u, result.patch[3]);
    EXPECT_FALSE(result.hasSurface(5));
}

TEST(ShotAccumulator, eachPixelIsWhatItsShotsMakeOfIt) {
    Plane const plane(5, 1);
    ShotBlock const block = shotsAt({{0.5, 0.4}, {1.5, 0.4}, {2.5, 0.4}, {3.5, 0.4}, {2.6, 0.4}, {9.0, 0.4}},
                                    {none, 55.0, 100.0, 40.0, 20.0, 7.0});
    Scanned const scan = scanned(plane, block);

    EXPECT_EQ(PixelState::NoEcho, stateAt(scan, 0));
    EXPECT_EQ(PixelState::Echo, stateAt(scan, 1));
    EXPECT_EQ(PixelState::Saturated, stateAt(scan, 2));
    EXPECT_EQ(PixelState::Echo, stateAt(scan, 3));
    EXPECT_EQ(PixelState::NotReached, stateAt(scan, 4));
    ValueMap const& amplitude = valueMapOf(scan.result, "amplitude:max");
    EXPECT_TRUE(std::isnan(amplitude.values[0]));
    EXPECT_EQ(55.0, amplitude.values[1]);
    EXPECT_EQ(100.0, amplitude.values[2]);
    EXPECT_EQ(2u, scan.result.counts[2]);
    EXPECT_EQ(6u, scan.figures.shotCount);
    EXPECT_EQ(1u, scan.figures.missedCount);
    EXPECT_EQ(1u, scan.figures.noEchoCount);
    EXPECT_EQ(4u, scan.figures.echoCount);
    EXPECT_EQ(1u, scan.figures.saturatedCount);
    EXPECT_EQ(20.0, scan.figures.standoff.greatest());
    EXPECT_EQ(20.0, valueMapOf(scan.result, "standoff").values[0]) << "known without an echo, too";
}

TEST(ShotAccumulator, shotsAtTooLargeAnAngleAreRefused) {
    Plane const plane(3, 1);
    ShotBlock block = shotsAt({{0.5, 0.4}, {1.5, 0.4}}, {50.0, 60.0});
    block.beams[0] = {Point(0.5F - 20.0F, 0.4F, 20.0F), Vector(1.0, 0.0, -1.0)};
    ShotAcceptance acceptance;
    acceptance.maxAngle = 44.0;
    Scanned const scan = scanned(plane, block, acceptance);

    EXPECT_EQ(PixelState::Refused, stateAt(scan, 0));
    EXPECT_EQ(1u, scan.result.refused[0]);
    EXPECT_EQ(0u, scan.result.counts[0]);
    EXPECT_TRUE(std::isnan(scan.result.values[0].values[0]));
    EXPECT_EQ(PixelState::Echo, stateAt(scan, 1));
    EXPECT_EQ(1u, scan.figures.angleCount);
    acceptance.maxAngle = 46.0;
    EXPECT_EQ(PixelState::Echo, stateAt(scanned(plane, block, acceptance), 0));
}

TEST(ShotAccumulator, whatComesFromBehindNeverCounts) {
    Plane const plane(1, 1);
    ShotBlock block = shotsAt({{0.5, 0.4}}, {50.0});
    block.beams[0] = {Point(0.5F, 0.4F, -20.0F), Vector(0.0, 0.0, 1.0)};

    EXPECT_EQ(PixelState::Refused, stateAt(scanned(plane, block), 0));
}

TEST(ShotAccumulator, shotsFromAnotherStandoffAreRefused) {
    Plane const plane(2, 1);
    ShotBlock block = shotsAt({{0.5, 0.4}, {1.5, 0.4}}, {50.0, 60.0});
    block.beams[0].origin = Point(0.5F, 0.4F, 22.0F);
    Scanned const scan = scanned(plane, block, {20.0, 1.5, 90.0});

    EXPECT_EQ(PixelState::Refused, stateAt(scan, 0));
    EXPECT_EQ(PixelState::Echo, stateAt(scan, 1));
    EXPECT_EQ(1u, scan.figures.standoffCount);
}

TEST(ShotAccumulator, aBadLineRefusesItsPixelUnlessAGoodOneMeetsItToo) {
    Plane const plane(2, 1);
    ShotBlock block = shotsAt({{0.5, 0.4}, {1.5, 0.4}, {1.6, 0.4}}, {50.0, 60.0, 70.0});
    block.isBad[0] = true;
    block.isBad[1] = true;
    Scanned const scan = scanned(plane, block);

    EXPECT_EQ(PixelState::Refused, stateAt(scan, 0));
    EXPECT_EQ(PixelState::Echo, stateAt(scan, 1));
    EXPECT_EQ(1u, scan.result.refused[1]);
    EXPECT_EQ(2u, scan.figures.badCount);
}

TEST(ShotAccumulator, aPositionAloneLooksAtTheNearestSurface) {
    Plane const plane(3, 3);
    ShotBlock block = shotsAt({{1.5, 1.4}, {5.0, 1.5}, {3.2, 1.5}}, {50.0, 60.0, 70.0});
    block.hasDirection.assign(3, false);
    for (Beam& beam : block.beams) {
        beam.direction = Vector(0.0, 0.0, 0.0);
    }
    block.beams[1].origin = Point(5.0F, 1.5F, 1.0F);
    Scanned const scan = scanned(plane, block);

    EXPECT_EQ(PixelState::Echo, stateAt(scan, 1, 1));
    EXPECT_EQ(20.0, valueMapOf(scan.result, "standoff").values[4]);
    EXPECT_EQ(0.0, valueMapOf(scan.result, "incidence").values[4]);
    EXPECT_EQ(1u, scan.figures.missedCount) << "beside the plane";
    EXPECT_EQ(PixelState::Echo, stateAt(scan, 2, 1)) << "a fifth of a quad beside the rim is its pixel";
}

TEST(ShotAccumulator, aPositionBelowLooksFromBehind) {
    Plane const plane(3, 3);
    ShotBlock block = shotsAt({{1.5, 1.4}}, {50.0});
    block.hasDirection[0] = false;
    block.beams[0].origin = Point(1.5F, 1.4F, -2.0F);

    EXPECT_EQ(PixelState::Refused, stateAt(scanned(plane, block), 1, 1));
}

TEST(ShotAccumulator, blocksOfAnySizeGiveTheSameBits) {
    Plane const plane(4, 4);
    std::vector<std::array<double, 2>> places;
    std::vector<double> values;
    for (int i = 0; i < 4000; ++i) {
        places.push_back({std::fmod(0.37 * i, 4.0), std::fmod(0.73 * i, 4.0)});
        values.push_back(std::sin(i));
    }
    QuantityOptions options;
    for (char const* const text :
         {"amplitude:mean", "amplitude:median", "amplitude:last", "amplitude:count"}) {
        options.values.push_back(valueRequestIn(text));
    }
    Scanned const whole = scanned(plane, shotsAt(places, values), {}, options);

    SureSearch const search({&plane.grid});
    ShotAccumulator pieces(pixelsOf({{"plane.quads", &plane.grid, false}}), search,
                           ShotQuantities(options, {{"amplitude", "%FSH"}}, "mm"), {});
    for (std::size_t begin = 0; begin < places.size(); begin += 333) {
        std::size_t const end = std::min(begin + 333, places.size());
        pieces.add(shotsAt({places.begin() + static_cast<std::ptrdiff_t>(begin),
                            places.begin() + static_cast<std::ptrdiff_t>(end)},
                           {values.begin() + static_cast<std::ptrdiff_t>(begin),
                            values.begin() + static_cast<std::ptrdiff_t>(end)}));
    }
    Result const result = pieces.finish();

    ASSERT_EQ(whole.result.values.size(), result.values.size());
    for (std::size_t i = 0; i < result.values.size(); ++i) {
        EXPECT_EQ(whole.result.values[i].values, result.values[i].values) << result.values[i].name;
    }
    EXPECT_EQ(whole.result.states, result.states);
}

TEST(ShotAccumulator, shotsAreKeptIfAskedFor) {
    QELT::Inspection::Testing::ScratchDirectory const folder;
    Plane const plane(2, 1);
    SureSearch const search({&plane.grid});
    Result pixels = pixelsOf({{"plane.quads", &plane.grid, false}});
    pixels.move = {10.0, 0.0, 0.0};
    ResultWriter writer(folder / "r.h5");
    ShotAccumulator accumulator(pixels, search, ShotQuantities({}, {{"amplitude", "%FSH"}}, "mm"), {},
                                &writer);
    accumulator.add(shotsAt({{0.5, 0.4}, {9.0, 0.4}}, {50.0, 60.0}));
    accumulator.add(shotsAt({{1.5, 0.4}}, {none}));
    writer.finish(accumulator.finish());

    ShotRows const shots = readShots(folder / "r.h5");

    using Outcome = ShotRows::Outcome;
    EXPECT_EQ((std::vector{Outcome::Echo, Outcome::Missed, Outcome::NoEcho}), shots.outcomes);
    EXPECT_EQ((std::vector<std::uint32_t>{0, Result::none, 1}), shots.pixels);
    EXPECT_EQ((std::vector<std::uint64_t>{2, 3, 2}), shots.lines);
    EXPECT_EQ(-9.5, shots.origins[0]) << "in the part's own place";
    EXPECT_EQ(-1.0, shots.directions[2]);
    EXPECT_EQ(0.0, shots.points[2]);
    EXPECT_TRUE(std::isnan(shots.points[3]));
    EXPECT_EQ(20.0, shots.standoffs[2]);
    ASSERT_EQ(1u, shots.quantities.size());
    EXPECT_EQ("amplitude", shots.quantities[0].name);
    EXPECT_EQ("%FSH", shots.quantities[0].unit);
    EXPECT_EQ(60.0, shots.values[1]);
    EXPECT_EQ(2u, readResult(folder / "r.h5").width);
}
