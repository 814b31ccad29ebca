#include "Inspection/pictures/footprintpicture.h"

#include "Inspection/frames/frame.h"
#include "Inspection/grids/gridfile.h"
#include "Inspection/pictures/internal/figure.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

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

std::vector<double> pairOf(FlatPoint const& point) {
    return {point.getU(), point.getV()};
}

void describe(Record& record, FootprintOptions const& options, Footprint const& footprint) {
    record.setUnit(options.unit);
    record.setting("origin", options.beam.origin);
    record.setting("axisA", options.beam.axisA);
    record.setting("axisB", options.beam.axisB);
    record.setting("cotangent", options.beam.cotangent);
    record.setting("apertureRadius", options.beam.apertureRadius);
    record.figure("quad", std::vector<double>{static_cast<double>(footprint.quad.getU()),
                                              static_cast<double>(footprint.quad.getV())});
    record.figure("centre", pairOf(footprint.centre));
    for (std::size_t i = 0; i < footprint.ends.size(); ++i) {
        record.figure("end" + std::to_string(i + 1), pairOf(footprint.ends[i]));
    }
}

/// The beam in the part's coordinates.
SpreadingBeam inPart(SpreadingBeam beam, Frame const& frame) {
    beam.origin = Point() + frame.moved(beam.origin - Point());
    beam.axisA = frame.turned(beam.axisA);
    beam.axisB = frame.turned(beam.axisB);
    return beam;
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
    Record record("footprint");
    record.addInput(options.grid);
    Outputs outputs(record);
    outputs.add(options.image);
    Grid grid;
    loadGrid(grid, options.grid);
    SpreadingBeam beam = options.beam;
    if (options.frame) {
        addFrame(record, *options.frame);
        beam = inPart(beam, readFrame(*options.frame, record.getUnit().value_or("")));
    }
    beam.origin = beam.origin + record.getMove();
    Footprint const footprint = naming(options.grid.string(), [&] { return footprintOf(grid, beam); });
    announce(listener, "Drawing...");
    describe(record, options, footprint);
    writePng(outputs.at(options.image), footprintPictureOf(grid, beam, footprint, record.getUnitName()));
    outputs.commit(listener);
    return footprint;
}

} // namespace QELT::Inspection
