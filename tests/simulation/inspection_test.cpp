// Whole inspections of simulated parts: what comes out of the tables is the truth that went in.

#include "Inspection/grids/prepare.h"
#include "Inspection/indications/findindications.h"
#include "Inspection/results/measuredscan.h"
#include "Inspection/results/surfacefit.h"
#include "simulation/simulate.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <numbers>

namespace QELT::Simulation {
namespace {

using namespace Inspection;
using Inspection::Testing::ScratchDirectory;

constexpr double degree = std::numbers::pi / 180.0;

Vector vectorOf(Triple const& triple) {
    return {triple[0], triple[1], triple[2]};
}

Triple tripleOf(Vector const& vector) {
    return {vector.getdX(), vector.getdY(), vector.getdZ()};
}

double distanceOf(Vector const& a, Vector const& b) {
    return std::sqrt((a - b).lSqr());
}

/// A simulated part with its grid, and scans of what is measured on it.
class Inspected {
public:
    Inspected(std::string const& name, double pixel) : setup(caseOf(name)) {
        write("part.stl",
              [&](std::ostream& output) { writeBinaryStl(output, setup.shape->mesh(setup.meshSide)); });
        PrepareOptions options;
        options.part = directory / "part.stl";
        options.grid = directory / "part.quads";
        options.resolution.pixel = pixel;
        options.unit = "mm";
        EXPECT_TRUE(prepare(options, nullptr).isWritten);
    }

    void write(std::string const& name, std::function<void(std::ostream&)> const& writeTo) const {
        std::ofstream output(directory / name, std::ios::binary);
        writeTo(output);
    }

    MeasuredScanOptions scanOptions() const {
        MeasuredScanOptions options;
        options.grids.push_back({directory / "part.quads"});
        options.shots.shots = directory / "shots.csv";
        options.result = directory / "result.h5";
        return options;
    }

    /// With a pose a shot.
    MeasuredScan scanOf(Measurement const& measurement, Cell const& cell, MeasuredScanOptions options) const {
        write("shots.csv", [&](std::ostream& output) { writeShots(output, measurement, cell); });
        return measuredScan(options, nullptr);
    }

    ScratchDirectory const directory;
    Case setup;
};

std::size_t countOfOthers(Result const& a, Result const& b) {
    std::vector<double> const& valuesA = valueMapOf(a, "backwall").values;
    std::vector<double> const& valuesB = valueMapOf(b, "backwall").values;
    std::size_t others = 0;
    for (std::size_t pixel = 0; pixel < a.size(); ++pixel) {
        bool const isSame =
            valuesA[pixel] == valuesB[pixel] || (std::isnan(valuesA[pixel]) && std::isnan(valuesB[pixel]));
        others += isSame && a.states[pixel] == b.states[pixel] ? 0U : 1U;
    }
    return others;
}

Frame frameOf(RigidMotion const& motion) {
    std::array<Triple, 3> rows{};
    std::array const columns{tripleOf(motion.rotation.x), tripleOf(motion.rotation.y),
                             tripleOf(motion.rotation.z)};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            rows.at(row).at(column) = columns.at(column).at(row);
        }
    }
    return {turnOfMatrix(rows), tripleOf(motion.shift), "mm"};
}

/// Measures the part in the cell, and corrects the cell's frame by the front wall into frame.json.
FrameCorrection corrected(Inspected const& part, Cell const& cell) {
    MeasuredScanOptions options = part.scanOptions();
    options.unit = "mm";
    options.doKeepShots = true;
    part.scanOf(measure(part.setup), cell, options);
    FrameCorrectionOptions correction;
    correction.result = options.result;
    correction.front = "front";
    correction.couplantSpeed = part.setup.instrument.couplantSpeed;
    correction.out = part.directory / "frame.json";
    return correctFrame(correction, nullptr);
}

} // namespace

TEST(Inspection, EveryDialectOfPosesGivesTheSameCScan) {
    Inspected part("blade", 0.8);
    part.setup.sweep.step = 0.8;
    part.setup.sweep.lineSpacing = 0.8;
    part.setup.sweep.standoff = 1.0; // from where a quad's normal and the part's own lead to the same place
    Measurement const measurement = measure(part.setup);
    Result const reference = part.scanOf(measurement, {}, part.scanOptions()).result;
    RigidMotion const frame{rotationZyx(30.0, -20.0, 10.0), Vector(-40.0, 12.0, -8.0)};
    writeFrame(frameOf(frame), part.directory / "frame.json");
    for (auto const& [dialect, name] : dialects()) {
        Cell cell;
        cell.frame = frame;
        cell.dialect = dialect;
        cell.hasDecimalCommas = true;
        MeasuredScanOptions options = part.scanOptions();
        options.shots.frame = part.directory / "frame.json";
        options.shots.pose.dialect = poseDialectIn(name);
        bool const hasTurn = dialect != Dialect::OriginDirection && dialect != Dialect::Xyz;
        if (hasTurn) {
            cell.tool = {rotationZyx(5.0, 40.0, 90.0), Vector(10.0, 60.0, 130.0)};
            options.shots.pose.tool = toolIn("10,60,130,5,40,90");
        }
        MeasuredScan const scan = part.scanOf(measurement, cell, options);

        // A shot on the rim of a pixel is on one side of it or the other by the last digit of the table.
        // Along the normal of flat quads in place of the part's own, more of them are.
        double const share = dialect == Dialect::Xyz ? 0.01 : 0.0005;
        EXPECT_LE(static_cast<double>(countOfOthers(reference, scan.result)),
                  share * static_cast<double>(reference.size()))
            << name;
    }
}

TEST(Inspection, TheLagBetweenTwoClocksIsFoundAndFlawsStayWhereTheyAre) {
    Inspected part("blade", 0.8);
    part.setup.clocks = Clocks{};
    part.setup.clocks->lag = 50.0;
    part.setup.clocks->jitter = 0.5;
    part.setup.sweep.speed = 100.0;
    part.setup.sweep.lineSpacing = 0.8;
    part.setup.instrument.noise = 0.3;
    part.setup.sweep.from = Place{-33.0, -12.0}; // where two of the flaws are
    part.setup.sweep.to = Place{33.0, 32.0};
    part.setup.flaws.pop_back();
    Measurement const measurement = measure(part.setup);
    Cell cell;
    cell.dialect = Dialect::QuaternionWxyz;
    part.write("poses.csv", [&](std::ostream& output) { writePoses(output, measurement, cell); });
    part.write("shots.csv", [&](std::ostream& output) { writeReadings(output, measurement, cell); });
    MeasuredScanOptions options = part.scanOptions();
    options.shots.poses = part.directory / "poses.csv";
    options.quantities.values = {valueRequestIn("backwall:min")};
    EXPECT_FALSE(measuredScan(options, nullptr).notes.empty()) << "the lines there and back are split";

    options.shots.doFindLag = true;
    MeasuredScan const scan = measuredScan(options, nullptr);

    ASSERT_TRUE(scan.lag.has_value());
    EXPECT_NEAR(scan.lag->lag, 50.0, 2.0);
    IndicationOptions search;
    search.value = "backwall";
    search.threshold = {true, 0.5};
    search.from = part.setup.instrument.backWall;
    search.isBelow = true;
    search.minArea = 3.0;
    auto const found = findIndications(scan.result, search);
    EXPECT_EQ(found.size(), measurement.flaws.size());
    for (PlacedFlaw const& flaw : measurement.flaws) {
        double nearest = INFINITY;
        for (Indication const& indication : found) {
            nearest = std::min(nearest, distanceOf(indication.centre.point, flaw.centre.point));
        }
        EXPECT_LT(nearest, 0.5) << flaw.flaw.name;
    }
}

TEST(Inspection, LinesAndAPatchThatWereLeftOutAreNamedAtTheirPlaces) {
    Inspected part("blade", 0.5);
    part.setup.sweep.step = 0.5;
    part.setup.sweep.lineSpacing = 1.0;
    part.setup.dropouts.lines = {30, 31};
    part.setup.dropouts.patch = {{12.0, 25.0}, 2.5};
    MeasuredScan const scan = part.scanOf(measure(part.setup), {}, part.scanOptions());

    ASSERT_GE(scan.coverage.patches.size(), 2U);
    EXPECT_NEAR(scan.coverage.typicalGap, 1.0, 0.3);
    UnreachedPatch const& lines = scan.coverage.patches[0];
    EXPECT_NEAR(lines.gap, 3.0, 1.0) << "where shots and pixels beat, up to a pixel more";
    double const between = 0.5 * (ProbeMotion(*part.setup.shape, part.setup.sweep).startOf(30).v +
                                  ProbeMotion(*part.setup.shape, part.setup.sweep).startOf(31).v);
    EXPECT_NEAR(lines.place[1], between, 1.0) << "v runs along y";
    UnreachedPatch const& patch = scan.coverage.patches[1];
    EXPECT_LT(distanceOf(vectorOf(patch.place), part.setup.shape->at({12.0, 25.0}).point), 1.0);
    EXPECT_NEAR(patch.gap, 5.0, 1.5);
    EXPECT_NEAR(patch.area, std::numbers::pi * 2.5 * 2.5, 8.0);
}

TEST(Inspection, AFlawThatSwallowsTheEchoIsNoGap) {
    Inspected part("blade", 0.5);
    part.setup.sweep.step = 0.3; // finer than the pixels: each is met
    part.setup.sweep.lineSpacing = 0.3;
    Measurement const measurement = measure(part.setup);
    MeasuredScan const scan = part.scanOf(measurement, {}, part.scanOptions());

    EXPECT_GT(scan.coverage.reachedShare(), 0.999);
    auto const lost = std::find_if(measurement.flaws.begin(), measurement.flaws.end(),
                                   [](PlacedFlaw const& flaw) { return flaw.flaw.name == "lost echo"; });
    ASSERT_NE(lost, measurement.flaws.end());
    std::size_t nearest = 0;
    double least = INFINITY;
    for (std::size_t pixel = 0; pixel < scan.result.size(); ++pixel) {
        float const* const place = &scan.result.points[3 * pixel];
        double const distance = distanceOf(Vector(place[0], place[1], place[2]), lost->centre.point);
        nearest = distance < least ? pixel : nearest;
        least = std::min(least, distance);
    }
    EXPECT_EQ(scan.result.states[nearest], PixelState::NoEcho);
}

TEST(Inspection, AMisplacedPartIsFoundByItsFrontWall) {
    Inspected part("blade", 0.5);
    part.setup.instrument.frontNoise = 0.05;
    Cell cell; // tells the part's place wrongly by 2.1 mm and a degree
    cell.frame = {rotationZyx(0.6, -0.6, 0.5), Vector(1.2, -1.2, 1.0)};
    FrameCorrection const found = corrected(part, cell);

    EXPECT_TRUE(found.fit.freeMotions.empty());
    Frame const left = found.frame * frameOf(cell.frame).getInverse();
    EXPECT_LT(2.0 * std::acos(std::min(std::abs(left.turn.w), 1.0)) / degree, 0.05);
    for (Place const& place : {Place{0.0, 0.0}, Place{20.0, 40.0}, Place{-20.0, -40.0}}) {
        Vector const point = part.setup.shape->at(place).point;
        EXPECT_LT(distanceOf(vectorOf(left.placeOf(tripleOf(point))), point), 0.1);
    }
}

TEST(Inspection, ACylinderDoesNotTellHowFarItIsTurnedOrShiftedAlongItsAxis) {
    Inspected part("cylinder", 2.0);
    part.setup.sweep.step = 3.0;
    part.setup.sweep.lineSpacing = 3.0;
    part.setup.sweep.overrun = 0.0;
    part.setup.instrument.frontNoise = 0.05;
    Cell cell;
    cell.frame = {rotationZyx(0.0, 0.5, 0.0), Vector(1.0, -1.0, 0.0)};
    FrameCorrection const found = corrected(part, cell);

    EXPECT_FALSE(found.isWritten);
    EXPECT_FALSE(std::filesystem::exists(part.directory / "frame.json"));
    ASSERT_EQ(found.fit.freeMotions.size(), 2U);
    for (FreeMotion const& motion : found.fit.freeMotions) {
        EXPECT_NEAR(std::abs(motion.direction[2]), 1.0, 1e-2);
    }
}

} // namespace QELT::Simulation
