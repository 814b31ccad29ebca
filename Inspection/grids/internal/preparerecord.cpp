#include "Inspection/grids/internal/preparerecord.h"

#include "Inspection/import/part.h"

namespace QELT::Inspection {

namespace {

void addFigures(Record& record, std::string const& name, std::optional<SolveReport> const& solve) {
    if (solve) {
        record.figure(name + "Iterations", solve->iterations);
        record.figure(name + "RelativeResidual", relativeResidualOf(*solve));
        record.figure(name + "Converged", solve->hasConverged);
    }
}

void addFigures(Record& record, MapCandidate const& map) {
    std::string const name = nameOf(map.mode);
    if (!map.isMade()) {
        record.figure(name + "Refusal", map.refusal);
        return;
    }
    addFigures(record, name + "BoundarySolve", map.flattening.solves.boundary);
    addFigures(record, name + "Solve", map.flattening.solves.inside);
    record.figure(name + "Width", map.flat.width);
    record.figure(name + "Height", map.flat.height);
    record.figure(name + "TurnedTriangles", map.quality.turnedCount);
    record.figure(name + "FlatlessTriangles", map.quality.flatlessCount);
    record.figure(name + "AreaSpread", map.quality.areaSpread);
    record.figure(name + "AlikeShare", map.quality.alikeShare);
    record.figure(name + "MeanAngleError", map.quality.meanAngleError);
    record.figure(name + "HighAngleError", map.quality.highAngleError);
}

void addFigures(Record& record, QuadSizes const& sizes) {
    record.figure("ownQuads", sizes.quadCount);
    record.figure("ownMeanQuadArea", sizes.mean);
    record.figure("ownMedianQuadArea", sizes.median);
    record.figure("ownQuadsBySize", std::vector<double>(sizes.counts.begin(), sizes.counts.end()));
}

} // namespace

void addSettings(Record& record, PrepareOptions const& options) {
    record.setting("quadArea", options.resolution.quadArea);
    record.setting("pixel", options.resolution.pixel);
    record.setting("width", options.resolution.width);
    record.setting("solver", options.solver == SolverKind::Direct ? "direct" : "cg");
    record.setting("mode", options.mode ? nameOf(*options.mode) : "auto");
    if (isCloudPart(options.part)) {
        addSettings(record, options.repair);
    }
    record.setting("extensionPasses", options.extensionPasses);
    record.setting("smoothingPasses", options.smoothingPasses);
    record.setting("isAccepted", options.isAccepted);
}

void addFigures(Record& record, PrepareResult const& result) {
    if (result.repair) {
        addFigures(record, *result.repair);
    }
    for (MapCandidate const& map : result.maps) {
        addFigures(record, map);
    }
    record.figure("chosenMode", nameOf(result.map().mode));
    record.figure("spacing", result.spacing.spacing);
    record.figure("targetQuadArea", result.spacing.quadArea);
    addFigures(record, result.sizes);
    record.figure("nanNodes", result.nanNodes.places.size());
    addFigures(record, result.grid);
    record.figure("isFit", result.isFit());
    for (std::size_t i = 0; i < result.shortcomings.size(); ++i) {
        record.figure("shortcoming" + std::to_string(i + 1), result.shortcomings[i].what);
    }
}

} // namespace QELT::Inspection
