#include "Inspection/scanning/scan.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/stopwatch.h"
#include "Inspection/scanning/csvfile.h"
#include "Inspection/scanning/suresearch.h"

#include <functional>
#include <utility>

namespace QELT::Inspection {

namespace {

/// What a raster is laid over.
struct Extent {
    bool isEmpty = true;
    Point low;
    Point high;
};

Extent extentOf(Grid const& grid) {
    GridSummary const summary = gridSummaryOf(grid);
    return {summary.validNodeCount == 0, summary.low, summary.high};
}

Extent extentOf(ScanPlane const& plane) {
    return {plane.isEmpty, plane.low, plane.high};
}

void requireExtent(ScanOptions const& options, Extent const& extent) {
    require(!extent.isEmpty, options.grids.front().file.string() +
                                 (options.grids.size() == 1 ? "" : " and the other active grids") +
                                 ": holds no valid node to lay a raster over");
}

std::vector<Beam> beamsOver(ScanOptions const& options, Vector const& move, Extent const& extent) {
    if (options.beams) {
        return readBeamFile(*options.beams, move,
                            options.frame ? std::optional(readFrame(*options.frame)) : std::nullopt);
    }
    requireExtent(options, extent);
    return options.range ? rasterBeams(*options.raster, extent.low, extent.high, *options.range)
                         : rasterBeams(*options.raster, extent.low, extent.high);
}

/// The grids that are scanned, and what fires beams at the core's walk on them.
struct Target {
    std::vector<Grid const*> grids;
    std::function<ScanResult(std::vector<Beam> const&)> walk;
};

ScanResult fireSurely(Scan& scan, Target const& target, std::vector<Beam> const& beams,
                      ProgressListener* listener) {
    announce(listener, "Setting up the search...");
    Stopwatch const watch;
    SureSearch const search(target.grids);
    scan.setUpSeconds = watch.seconds();
    scan.searchMemory = search.getMemory();
    announce(listener, "Firing beams...");
    return fireBeams(search, beams, listener);
}

/// Fires the beams in the way asked for, or in both ways to compare them.
void fire(Scan& scan, Target const& target, std::vector<Beam> const& beams, ScanOptions const& options,
          ProgressListener* listener) {
    scan.search = options.search;
    std::optional<ScanResult> sure;
    std::optional<ScanResult> walk;
    if (options.search == BeamSearch::Sure || options.doCompare) {
        sure = fireSurely(scan, target, beams, listener);
    }
    if (options.search == BeamSearch::Walk || options.doCompare) {
        announce(listener, sure ? "Walking for comparison..." : "Firing beams...");
        walk = target.walk(beams);
    }
    if (sure && walk) {
        scan.comparison = comparisonOf(*sure, *walk);
    }
    scan.result = std::move(options.search == BeamSearch::Sure ? *sure : *walk);
}

Scan scanGrid(ScanOptions const& options, Vector const& move, ProgressListener* listener) {
    Grid grid;
    loadGrid(grid, options.grids.front().file);
    grid.setDoFlipNormals(options.doFlipNormals);
    auto const beams = beamsOver(options, move, extentOf(grid));
    Scan scan{surfaceMapOf(grid)};
    Target const target{{&grid},
                        [&](std::vector<Beam> const& fired) { return fireBeams(grid, fired, listener); }};
    fire(scan, target, beams, options, listener);
    return scan;
}

Scan scanOnPlane(ScanOptions const& options, Vector const& move, ProgressListener* listener) {
    ScanPlane plane = loadScanPlane(options.grids, options.position, options.doFlipNormals);
    auto const beams = beamsOver(options, move, extentOf(plane));
    Scan scan{std::move(plane.surface)};
    Target target{{}, [&](std::vector<Beam> const& fired) {
                      auto groups = loadGroups(options.grids, options.position, options.doFlipNormals);
                      return fireBeams(groups, fired, listener);
                  }};
    for (auto const& grid : plane.grids) {
        target.grids.push_back(grid.get());
    }
    fire(scan, target, beams, options, listener);
    return scan;
}

void addSettings(Record& record, ScanOptions const& options) {
    if (options.isOnPlane) {
        for (std::size_t i = 0; i < options.grids.size(); ++i) {
            PlacedGrid const& grid = options.grids[i];
            std::string const name = "grid" + std::to_string(i + 1);
            record.setting(name + "Offset", std::vector<double>{static_cast<double>(grid.offset.getdU()),
                                                                static_cast<double>(grid.offset.getdV())});
            record.setting(name + "Group", grid.group);
            record.setting(name + "Active", grid.active);
        }
        record.setting("position", options.position);
    }
    if (!options.beams) {
        record.setting("rasterStep", options.raster->step);
        record.setting("rasterStandoff", options.raster->standoff);
        record.setting("rasterDirection", options.raster->direction);
        if (options.range) {
            record.setting("firstBeam", options.range->first);
            record.setting("beamCount", options.range->count);
        }
    }
    record.setting("doFlipNormals", options.doFlipNormals);
    record.setting("search", options.search == BeamSearch::Sure ? "sure" : "walk");
}

/// What was found, without what depends on the machine.
void addFigures(Record& record, Scan const& scan) {
    ScanStatistics const statistics = statisticsOf(scan.result);
    record.figure("beams", statistics.beamCount);
    record.figure("hits", statistics.hitCount);
    record.figure("hitRate", statistics.hitRate);
    record.figure("measured", statistics.measuredCount);
    record.figure("fromBehind", statistics.backSideCount);
    record.figure("onEdge", statistics.edgeCount);
    if (scan.comparison) {
        record.figure("walkSameQuad", scan.comparison->sameCount);
        record.figure("walkNeighbourQuad", scan.comparison->neighbourCount);
        record.figure("walkElsewhere", scan.comparison->elsewhereCount);
        record.figure("walkMissed", scan.comparison->missedCount);
        record.figure("walkSurplus", scan.comparison->surplusCount);
    }
}

void requireBeams(ScanOptions const& options) {
    require(!options.grids.empty(), "there is no grid to scan");
    require(options.beams || options.raster, "there are neither beams nor a raster to scan with");
    require(!(options.beams && options.range), "a range of beams goes with a raster, not with a table");
}

Extent scannedExtent(ScanOptions const& options) {
    if (options.isOnPlane) {
        return extentOf(loadScanPlane(options.grids, options.position, options.doFlipNormals));
    }
    Grid grid;
    loadGrid(grid, options.grids.front().file);
    return extentOf(grid);
}

} // namespace

std::uint64_t countBeams(ScanOptions const& options, ProgressListener* listener) {
    requireBeams(options);
    announce(listener, "Counting beams...");
    if (options.beams) {
        return readBeamFile(*options.beams).size();
    }
    Extent const extent = scannedExtent(options);
    requireExtent(options, extent);
    return rasterSize(*options.raster, extent.low, extent.high);
}

void addScanFiles(ScanOptions const& options, Record& record, Outputs& outputs) {
    requireBeams(options);
    for (PlacedGrid const& grid : options.grids) {
        record.addInput(grid.file);
    }
    if (options.beams) {
        record.addCompanion(*options.beams);
    }
    if (options.frame) {
        require(options.beams.has_value(), "a frame goes with a table of beams, not with a raster");
        addFrame(record, *options.frame);
        readFrame(*options.frame, record.getUnit().value_or("")); // whose unit has to be the grids'
    }
    addSettings(record, options);
    outputs.add(options.hits);
}

Scan scan(ScanOptions const& options, ProgressListener* listener, Record& record, Outputs& outputs) {
    Vector const move = record.getMove();
    Scan const result =
        options.isOnPlane ? scanOnPlane(options, move, listener) : scanGrid(options, move, listener);
    addFigures(record, result);
    announce(listener, "Writing results...");
    writeHitFile(outputs.at(options.hits), result.result.hits, listener, move);
    return result;
}

Scan scan(ScanOptions const& options, ProgressListener* listener) {
    Record record("scan");
    Outputs outputs(record);
    addScanFiles(options, record, outputs);
    Scan const result = scan(options, listener, record, outputs);
    outputs.commit(listener);
    return result;
}

} // namespace QELT::Inspection
