#include "Inspection/scanning/scan.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
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
    return {surfaceMapOf(grid), fireBeams(grid, beams)};
}

Scan scanOnPlane(ScanOptions const& options, ProgressListener* listener) {
    ScanPlane plane = loadScanPlane(options.grids, options.position, options.doFlipNormals);
    auto const beams = beamsOver(options, plane.isEmpty, plane.low, plane.high);
    announce(listener, "Firing beams...");
    return {plane.surface, fireBeams(plane.groups, beams)};
}

} // namespace

void requireScanFiles(ScanOptions const& options) {
    for (PlacedGrid const& grid : options.grids) {
        requireReadable(grid.file);
    }
    requireWritable(options.hits);
}

Scan scan(ScanOptions const& options, ProgressListener* listener) {
    require(!options.grids.empty(), "there is no grid to scan");
    require(options.beams || options.raster, "there are neither beams nor a raster to scan with");
    requireScanFiles(options);
    Scan const result = options.isOnPlane ? scanOnPlane(options, listener) : scanGrid(options, listener);
    announce(listener, "Writing results...");
    writeHitFile(options.hits, result.result.hits);
    return result;
}

} // namespace QELT::Inspection
