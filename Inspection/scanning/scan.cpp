#include "Inspection/scanning/scan.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/scanning/csvfile.h"

namespace QELT::Inspection {

namespace {

std::vector<Beam> beamsOver(ScanOptions const& options, bool isEmpty, Point const& low, Point const& high) {
    if (options.beams) {
        return readBeamFile(*options.beams);
    }
    if (isEmpty) {
        throw Failure(options.grids.front().file.string() +
                      (options.grids.size() == 1 ? "" : " and the other active grids") +
                      ": holds no valid node to lay a raster over");
    }
    return rasterBeams(*options.raster, low, high);
}

Scan scanGrid(ScanOptions const& options, ProgressListener* listener) {
    Grid grid;
    loadGrid(grid, options.grids.front().file);
    grid.setDoFlipNormals(options.doFlipNormals);
    GridSummary const summary = gridSummaryOf(grid);
    auto const beams = beamsOver(options, summary.validNodeCount == 0, summary.low, summary.high);
    announce(listener, "Firing beams...");
    return {surfaceMapOf(grid), fireBeams(grid, beams, listener)};
}

Scan scanOnPlane(ScanOptions const& options, ProgressListener* listener) {
    ScanPlane plane = loadScanPlane(options.grids, options.position, options.doFlipNormals);
    auto const beams = beamsOver(options, plane.isEmpty, plane.low, plane.high);
    announce(listener, "Firing beams...");
    return {plane.surface, fireBeams(plane.groups, beams, listener)};
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
    }
    record.setting("doFlipNormals", options.doFlipNormals);
}

/// What was found, without what depends on the machine.
void addFigures(Record& record, ScanResult const& result) {
    ScanStatistics const statistics = statisticsOf(result);
    record.figure("beams", statistics.beamCount);
    record.figure("hits", statistics.hitCount);
    record.figure("hitRate", statistics.hitRate);
    record.figure("measured", statistics.measuredCount);
    record.figure("fromBehind", statistics.backSideCount);
}

} // namespace

void addScanFiles(ScanOptions const& options, Record& record, Outputs& outputs) {
    require(!options.grids.empty(), "there is no grid to scan");
    require(options.beams || options.raster, "there are neither beams nor a raster to scan with");
    for (PlacedGrid const& grid : options.grids) {
        record.addInput(grid.file);
    }
    if (options.beams) {
        record.addInput(*options.beams);
    }
    addSettings(record, options);
    outputs.add(options.hits);
}

Scan scan(ScanOptions const& options, ProgressListener* listener, Record& record, Outputs& outputs) {
    Scan const result = options.isOnPlane ? scanOnPlane(options, listener) : scanGrid(options, listener);
    addFigures(record, result.result);
    announce(listener, "Writing results...");
    writeHitFile(outputs.at(options.hits), result.result.hits, listener);
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
