#include "Inspection/pictures/footprintpicture.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/pictures/internal/figure.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"

#include <cmath>

namespace QELT::Inspection {

namespace {

QuadMap distancesFrom(Point const& origin, Grid const& grid) {
    QuadMap map = surfaceMapOf(grid);
    for (std::size_t v = 0; v < map.getHeight(); ++v) {
        for (std::size_t u = 0; u < map.getWidth(); ++u) {
            Cell& cell = map.at(u, v);
            if (cell.kind != Cell::NoSurface) {
                GridIndex const quad(static_cast<int>(u), static_cast<int>(v));
                cell = {Cell::Measured, std::sqrt((grid.getMeanQuadPoint(quad) - origin).lSqr())};
            }
        }
    }
    return map;
}

} // namespace

Image footprintPictureOf(Grid const& grid, SpreadingBeam const& beam, Footprint const& footprint,
                         std::string const& unit) {
    QuadMap const map = distancesFrom(beam.origin, grid);
    auto const& ends = footprint.ends;
    FigureStyle style{"Footprint on distance [" + unit + "]", scaleFor(map.values(), 0.0),
                      "centre of the footprint: u " + toFixedText(footprint.centre.getU(), 2) + "  v " +
                          toFixedText(footprint.centre.getV(), 2)};
    style.outlines = {outlineOf(footprint),
                      {ends[0], footprint.centre, ends[2], footprint.centre},
                      {ends[1], footprint.centre, ends[3], footprint.centre}};
    return figureOf(map, style);
}

Footprint drawFootprint(FootprintOptions const& options, ProgressListener* listener) {
    requireReadable(options.grid);
    requireWritable(options.image);
    Grid grid;
    loadGrid(grid, options.grid);
    Footprint const footprint =
        naming(options.grid.string(), [&] { return footprintOf(grid, options.beam); });
    announce(listener, "Drawing...");
    writePng(options.image, footprintPictureOf(grid, options.beam, footprint, options.unit));
    return footprint;
}

} // namespace QELT::Inspection
