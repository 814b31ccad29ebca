#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/pictures/cscanimages.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/scanning/csvfile.h"
#include "Inspection/scanning/scanplane.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <ostream>

namespace QELT::Inspection {

namespace {

/// What was scanned and what came of it.
struct Scan {
    QuadMap surface;
    ScanResult result;
};

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

Scan scanGrid(ScanOptions const& options, ProgressDisplay& display) {
    Grid grid;
    loadGrid(grid, options.grids.front().file);
    grid.setDoFlipNormals(options.doFlipNormals);
    GridSummary const summary = gridSummaryOf(grid);
    auto const beams = beamsOver(options, summary.validNodeCount == 0, summary.low, summary.high);
    display.setMessage("Firing beams...");
    return {surfaceMapOf(grid), fireBeams(grid, beams)};
}

Scan scanOnPlane(ScanOptions const& options, ProgressDisplay& display) {
    ScanPlane plane = loadScanPlane(options.grids, options.position, options.doFlipNormals);
    auto const beams = beamsOver(options, plane.isEmpty, plane.low, plane.high);
    display.setMessage("Firing beams...");
    return {plane.surface, fireBeams(plane.groups, beams)};
}

/// Finds out before the work that a result would have no place to go.
void requireOutputs(ScanOptions const& options) {
    requireWritable(options.hits);
    for (auto const& path : imagePaths(options.imagePrefix)) {
        requireWritable(path);
    }
}

} // namespace

void runScan(ScanOptions const& options, std::ostream& output, ProgressDisplay& display) {
    for (PlacedGrid const& grid : options.grids) {
        requireReadable(grid.file);
    }
    requireOutputs(options);
    Scan const scan = options.isOnPlane ? scanOnPlane(options, display) : scanGrid(options, display);
    display.setMessage("Writing results...");
    writeHitFile(options.hits, scan.result.hits);
    auto const images = writeScanImages(options.imagePrefix, scan.surface, scan.result.hits, options.unit);
    display.clear();
    if (options.isOnPlane) {
        printItem(output, "scan plane",
                  std::to_string(scan.surface.getWidth()) + " x " + std::to_string(scan.surface.getHeight()) +
                      " quads");
    }
    printScan(output, scan.result);
    printItem(output, "table", options.hits.string());
    for (auto const& image : images) {
        printItem(output, "image", image.string());
    }
}

} // namespace QELT::Inspection
