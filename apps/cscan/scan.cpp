#include "apps/cscan/commands.h"
#include "apps/cscan/cscanimages.h"
#include "apps/cscan/csvfile.h"
#include "apps/cscan/failure.h"
#include "apps/cscan/files.h"
#include "apps/cscan/gridfile.h"
#include "apps/cscan/gridsummary.h"
#include "apps/cscan/report.h"

#include <ostream>

namespace cscan {

namespace {

std::vector<Beam> beamsFor(ScanOptions const& options, Grid const& grid) {
    if (options.beams) {
        return readBeamFile(*options.beams);
    }
    GridSummary const summary = gridSummaryOf(grid);
    if (summary.validNodeCount == 0) {
        throw Failure(options.grid.string() + ": holds no valid node to lay a raster over");
    }
    return rasterBeams(*options.raster, summary.low, summary.high);
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
    requireReadable(options.grid);
    requireOutputs(options);
    Grid grid;
    loadGrid(grid, options.grid);
    grid.setDoFlipNormals(options.doFlipNormals);
    auto const beams = beamsFor(options, grid);
    display.setMessage("Firing beams...");
    ScanResult const result = fireBeams(grid, beams);
    display.setMessage("Writing results...");
    writeHitFile(options.hits, result.hits);
    auto const images = writeScanImages(options.imagePrefix, grid, result.hits, options.unit);
    display.clear();
    printScan(output, result);
    printItem(output, "table", options.hits.string());
    for (auto const& image : images) {
        printItem(output, "image", image.string());
    }
}

} // namespace cscan
