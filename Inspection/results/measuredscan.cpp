#include "Inspection/results/measuredscan.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/stopwatch.h"
#include "Inspection/results/pixels.h"
#include "Inspection/results/resultfile.h"
#include "Inspection/scanning/suresearch.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <memory>

namespace QELT::Inspection {

namespace {

constexpr std::size_t shotsAtATime = 16384;
constexpr int digits = 4;

/// The grids at hand, and the search over them.
struct Target {
    ScanPlane plane;
    std::vector<std::string> names;
    std::unique_ptr<SureSearch> search;

    void flip(bool doFlip) {
        for (auto const& grid : plane.grids) {
            grid->setDoFlipNormals(doFlip);
        }
    }

    Result pixels(bool doFlip) const {
        std::vector<NamedGrid> named;
        for (std::size_t i = 0; i < plane.grids.size(); ++i) {
            named.push_back({names[i], plane.grids[i].get(), doFlip});
        }
        return pixelsOf(named);
    }
};

/// The names of the active grids, in the order of the scan plane.
std::vector<std::string> activeNames(MeasuredScanOptions const& options) {
    std::vector<std::string> names;
    for (PlacedGrid const& grid : options.grids) {
        if ((grid.active >> (options.position % 32) & 1U) != 0) {
            names.push_back(grid.file.filename().string());
        }
    }
    return names;
}

Target targetOf(MeasuredScanOptions const& options) {
    Target target;
    target.plane = loadScanPlane(options.grids, options.position, options.doFlipNormals.value_or(false));
    target.names = activeNames(options);
    require(!target.plane.grids.empty(), "no grid is active at position " + std::to_string(options.position));
    require(!target.plane.isEmpty, options.grids.front().file.string() + ": holds no valid node");
    std::vector<Grid const*> grids;
    for (auto const& grid : target.plane.grids) {
        grids.push_back(grid.get());
    }
    target.search = std::make_unique<SureSearch>(grids);
    return target;
}

/// Whether more of the shots come from behind than from the front.
bool doComeFromBehind(ShotBlock const& block, SureSearch const& search) {
    std::ptrdiff_t behind = 0;
    for (std::size_t shot = 0; shot < block.size(); ++shot) {
        Hit const hit = hitOfShot(search, block, shot);
        if (hit.isHit() && hit.isMeasured) {
            behind += hit.isFromBehind() ? 1 : -1;
        }
    }
    return behind > 0;
}

std::string percentText(std::uint64_t part, std::uint64_t whole) {
    constexpr double percent = 100.0;
    return toShortText(percent * static_cast<double>(part) / static_cast<double>(whole), 3) + " %";
}

/// Numbers that stop at one value were cut off there by the instrument, or are not what they seem.
void noteOnShots(MeasuredScanOptions const& options, MeasuredScan& scan) {
    ShotFigures const& figures = scan.figures;
    constexpr double manyMissed = 0.5;
    if (figures.farCount > 0) {
        scan.notes.push_back(std::to_string(figures.farCount) + " shots meet the surface from beyond " +
                             toShortText(measurementLimit, 6) +
                             " units, where nothing is measured; make the grid in a larger unit, such as mm");
    }
    if (static_cast<double>(figures.missedCount) > manyMissed * static_cast<double>(figures.shotCount)) {
        scan.notes.push_back(
            percentText(figures.missedCount, figures.shotCount) +
            " of the shots miss the surface: check --pose, --pose-unit, --beam-axis and --frame");
    }
    if (2 * figures.angleCount > figures.shotCount) {
        scan.notes.push_back(percentText(figures.angleCount, figures.shotCount) +
                             " of the shots meet the surface from behind or at more than " +
                             toShortText(options.acceptance.maxAngle, digits) +
                             " degrees: check --pose, --beam-axis and --frame");
    }
    if (!options.doFlipNormals && scan.hasFlippedNormals) {
        scan.notes.emplace_back(
            "the probe stood on the other side of the grid, which is taken for the outside");
    }
    for (ValueMap const& map : scan.result.values) {
        bool const isBelow = map.quantity == "depth" && std::any_of(map.values.begin(), map.values.end(),
                                                                    [](double depth) { return depth < 0.0; });
        if (isBelow) {
            scan.notes.emplace_back(
                "some depths are below 0: if times count from the surface already give --zero 0, else "
                "--zero or --front do not fit");
        }
    }
    bool const hasGate = !options.quantities.gates.empty() || !options.quantities.conditions.empty();
    if (figures.echoCount == 0 && figures.noEchoCount > 0 && hasGate) {
        scan.notes.emplace_back(
            "no shot has an echo within gates and conditions: compare these with the columns' units");
    }
}

/// What is found on such a result falls to pieces along the lines of shots.
void noteOnGaps(MeasuredScan& scan) {
    if (scan.coverage.typicalGap > 0.0 && tornShare(scan.result, true) > tornLimit) {
        std::string const gap = toShortText(scan.coverage.typicalGap, 2);
        scan.notes.push_back("the shots lie " + gap + " apart, farther than the pixels are wide: --fill " +
                             gap +
                             " shows what lies between, which cscan indications takes with --filled; or make "
                             "the grid with cscan prepare --pixel " +
                             gap);
    }
}

void addFilesOf(ShotOptions const& shots, Record& record) {
    record.addCompanion(shots.shots);
    if (shots.poses) {
        record.addCompanion(*shots.poses);
    }
    if (shots.frame) {
        record.addCompanion(*shots.frame);
    }
}

std::vector<double> listOf(Triple const& triple) {
    return {triple[0], triple[1], triple[2]};
}

void addPoseSettings(Record& record, ShotOptions const& shots) {
    if (shots.pose.dialect) {
        record.setting("pose", nameOf(*shots.pose.dialect));
    }
    record.setting("poseUnit", shots.pose.unit);
    if (shots.pose.beamAxis) {
        record.setting("beamAxis", listOf(*shots.pose.beamAxis));
    }
    if (shots.pose.tool) {
        addMotion(record, "tool", *shots.pose.tool);
    }
    if (shots.frame) {
        addMotion(record, "frame", readFrame(*shots.frame));
    }
    if (shots.poses) {
        record.setting("poses", shots.poses->filename().string());
        record.setting("maxGapOfPoses", shots.maxGap);
        if (!shots.doFindLag) {
            record.setting("lag", shots.lag);
        }
    }
}

std::string joined(std::vector<std::string> const& parts, char const* between) {
    std::string text;
    for (std::string const& part : parts) {
        text += (text.empty() ? "" : between) + part;
    }
    return text;
}

std::vector<std::string> textsOf(std::vector<Condition> const& conditions) {
    std::vector<std::string> texts;
    std::transform(conditions.begin(), conditions.end(), std::back_inserter(texts),
                   [](Condition const& condition) { return condition.text; });
    return texts;
}

void addSettings(Record& record, MeasuredScanOptions const& options) {
    for (std::size_t i = 0; i < options.grids.size() && options.grids.size() > 1; ++i) {
        PlacedGrid const& grid = options.grids[i];
        record.setting("grid" + std::to_string(i + 1) + "Offset",
                       std::vector<double>{static_cast<double>(grid.offset.getdU()),
                                           static_cast<double>(grid.offset.getdV())});
    }
    if (options.shots.frame) {
        record.setting("frame", options.shots.frame->filename().string());
    }
    record.setting("position", options.position);
    record.setting("doFlipNormals", options.doFlipNormals);
    record.setting("maxAngle", options.acceptance.maxAngle);
    record.setting("standoff", options.acceptance.standoff);
    if (options.acceptance.standoff) {
        record.setting("standoffTolerance", options.acceptance.standoffTolerance);
    }
    for (Gate const& gate : options.quantities.gates) {
        record.setting("gate " + gate.quantity, std::vector{gate.from, gate.to});
    }
    if (!options.quantities.conditions.empty()) {
        record.setting("where", joined(textsOf(options.quantities.conditions), " and "));
    }
    if (options.quantities.depth) {
        record.setting("depthOf", options.quantities.depth->time);
        record.setting("speed", options.quantities.depth->speed);
        record.setting("zero", options.quantities.depth->zero);
        record.setting("zeroOf", options.quantities.depth->front);
    }
    if (options.quantities.front) {
        record.setting("front", options.quantities.front->time);
        record.setting("couplantSpeed", options.quantities.front->speed);
    }
    if (options.quantities.reference) {
        record.setting("reference", options.quantities.reference->number);
    }
    record.setting("fill", options.fill);
    record.setting("requiredGap", options.requiredGap);
    record.setting("requiredCoverage", options.requiredCoverage);
    record.setting("doSkipBad", options.shots.doSkipBad);
    addPoseSettings(record, options.shots);
}

void addDistribution(Record& record, std::string const& name, Distribution const& distribution) {
    constexpr double mostly = 0.95;
    if (distribution.getCount() > 0) {
        record.figure(name + "Median", distribution.median());
        record.figure(name + "95Percent", distribution.quantile(mostly));
        record.figure(name + "Least", distribution.least());
        record.figure(name + "Greatest", distribution.greatest());
    }
}

/// What was made of the table's headings.
void addReading(Record& record, ShotReader const& reader) {
    record.figure("poseRead", nameOf(reader.getDialect()));
    record.figure("poseScale", reader.getPoseScale());
    for (Quantity const& column : reader.getQuantities()) {
        record.figure("unit of " + column.name, column.unit);
    }
    std::string const unused = joined(reader.getUnusedColumns(), ", ");
    if (!unused.empty()) {
        record.figure("columnsNotRead", unused);
    }
}

void addNotes(Record& record, std::vector<std::string> const& notes) {
    for (std::size_t i = 0; i < notes.size(); ++i) {
        record.figure("note" + std::to_string(i + 1), notes[i]);
    }
}

void addFigures(Record& record, MeasuredScan const& scan) {
    record.figure("lines", scan.counts.read);
    record.figure("badLines", scan.counts.bad);
    record.figure("shotsInGapsOfPoses", scan.counts.inGap);
    record.figure("shotsOutsidePoses", scan.counts.outside);
    if (scan.lag) {
        record.figure("lag", scan.lag->lag);
        record.figure("lagUncertainty", scan.lag->uncertainty);
    }
    record.figure("hasFlippedNormals", scan.hasFlippedNormals);
    record.figure("shots", scan.figures.shotCount);
    record.figure("missed", scan.figures.missedCount);
    record.figure("refusedByAngle", scan.figures.angleCount);
    record.figure("refusedByStandoff", scan.figures.standoffCount);
    record.figure("refusedAsBad", scan.figures.badCount);
    record.figure("withoutEcho", scan.figures.noEchoCount);
    record.figure("echoes", scan.figures.echoCount);
    record.figure("saturated", scan.figures.saturatedCount);
    addDistribution(record, "standoff", scan.figures.standoff);
    addDistribution(record, "incidence", scan.figures.incidence);
    addDistribution(record, "residual", scan.figures.residual);
    record.figure("surfaceArea", scan.coverage.surfaceArea);
    record.figure("reachedArea", scan.coverage.reachedArea);
    record.figure("coverage", scan.coverage.reachedShare());
    record.figure("typicalGap", scan.coverage.typicalGap);
    record.figure("longestGap", scan.coverage.longestGap);
    record.figure("unreachedPatches", scan.coverage.patchCount);
    addNotes(record, scan.notes);
}

/// Beginning with a block that has been read.
void placeShots(MeasuredScan& scan, ShotReader& reader, ShotBlock& block, ShotAccumulator& accumulator) {
    Stopwatch const watch;
    do {
        accumulator.add(block);
    } while (reader.read(block, shotsAtATime));
    scan.seconds = watch.seconds();
    scan.figures = accumulator.getFigures();
    scan.counts = reader.getCounts();
    scan.lag = reader.getLag();
    scan.unusedColumns = reader.getUnusedColumns();
    scan.notes = reader.getWarnings();
    require(scan.figures.shotCount > 0,
            "no shot of the table could be used: " + std::to_string(scan.counts.read) + " lines were read, " +
                std::to_string(scan.counts.bad) + " of them bad");
}

void judge(MeasuredScan& scan, MeasuredScanOptions const& options) {
    scan.coverage = coverageOf(scan.result, options.requiredGap);
    scan.isGapKept = !options.requiredGap || scan.coverage.longestGap <= *options.requiredGap;
    scan.isCoverageReached =
        !options.requiredCoverage || scan.coverage.reachedShare() >= *options.requiredCoverage;
    noteOnShots(options, scan);
    noteOnGaps(scan);
}

} // namespace

void addMeasuredScanFiles(MeasuredScanOptions const& options, Record& record, Outputs& outputs) {
    require(!options.grids.empty(), "there is no grid to scan");
    for (PlacedGrid const& grid : options.grids) {
        record.addInput(grid.file);
    }
    addFilesOf(options.shots, record);
    record.setUnit(options.unit);
    addSettings(record, options);
    outputs.add(options.result);
}

MeasuredScan measuredScan(MeasuredScanOptions const& options, ProgressListener* listener, Record& record,
                          Outputs& outputs) {
    announce(listener, "Setting up the search...");
    Target target = targetOf(options);
    Vector const move = record.getMove();
    std::string const unit = record.getUnit().value_or("");
    ShotOptions shots = options.shots;
    shots.move = move;
    shots.pose.partUnit = unit;
    ShotReader reader(shots, listener);
    ShotBlock block;
    reader.read(block, shotsAtATime);
    MeasuredScan scan;
    scan.hasFlippedNormals =
        options.doFlipNormals ? *options.doFlipNormals : doComeFromBehind(block, *target.search);
    target.flip(scan.hasFlippedNormals);
    Result pixels = target.pixels(scan.hasFlippedNormals);
    pixels.move = {move.getdX(), move.getdY(), move.getdZ()};
    pixels.unit = unit;
    ResultWriter writer(outputs.at(options.result));
    ShotAccumulator accumulator(std::move(pixels), *target.search,
                                ShotQuantities(options.quantities, reader.getQuantities(), unit),
                                options.acceptance, options.doKeepShots ? &writer : nullptr);
    announce(listener, "Placing shots...");
    placeShots(scan, reader, block, accumulator);
    announce(listener, "Looking for gaps...");
    scan.result = accumulator.finish();
    if (options.fill) {
        fill(scan.result, *options.fill);
    }
    judge(scan, options);
    addReading(record, reader);
    addFigures(record, scan);
    announce(listener, "Writing results...");
    scan.result.record = innerRecordOf(record, listener);
    writer.finish(scan.result);
    return scan;
}

MeasuredScan measuredScan(MeasuredScanOptions const& options, ProgressListener* listener) {
    Record record("scan");
    Outputs outputs(record);
    addMeasuredScanFiles(options, record, outputs);
    MeasuredScan scan = measuredScan(options, listener, record, outputs);
    outputs.commit(listener);
    return scan;
}

} // namespace QELT::Inspection
