#include "Inspection/planning/planpath.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/planning/pathfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"

#include <fstream>

namespace QELT::Inspection {

namespace {

void addSettings(Record& record, PlanOptions const& options) {
    PathSettings const& settings = options.settings;
    record.setting("step", settings.step);
    record.setting("standoff", settings.standoff);
    record.setting("along", settings.along == PathAxis::AlongU ? "u" : "v");
    record.setting("footprint", settings.footprintDiameter());
    record.setting("lineSpacing", settings.lineSpacing());
    record.setting("overlap", settings.overlap);
    record.setting("overshoot", settings.overshoot);
    record.setting("margin", settings.rimMargin());
    record.setting("lift", settings.lift);
    record.setting("speed", settings.speed);
    record.setting("sharpAngle", settings.sharpAngle);
    record.setting("doFlipNormals", settings.doFlipNormals);
    record.setting("requiredCoverage", options.requiredCoverage);
}

void addFigures(Record& record, Plan const& plan) {
    record.figure("lines", plan.path.lineCount);
    record.figure("runs", plan.path.runCount);
    record.figure("poses", plan.path.poses.size());
    record.figure("length", plan.path.length);
    record.figure("widestStep", plan.path.widestStep);
    record.figure("widestSpacing", plan.path.widestSpacing);
    record.figure("sharpPlaces", plan.path.sharpPlaces.size());
    record.figure("shots", plan.check.shotCount);
    record.figure("missed", plan.check.missedCount);
    record.figure("blocked", plan.check.blockedCount);
    record.figure("surfaceArea", plan.check.coverage.surfaceArea);
    record.figure("coveredArea", plan.check.coverage.reachedArea);
    record.figure("longestGap", plan.check.coverage.longestGap);
    record.figure("largestAngle", plan.check.largestAngle);
}

} // namespace

void addPlanFiles(PlanOptions const& options, Record& record, Outputs& outputs) {
    record.addInput(options.grid);
    record.setUnit(options.unit);
    addSettings(record, options);
    if (options.frame) {
        addFrame(record, *options.frame);
        readFrame(*options.frame, record.getUnit().value_or("")); // whose unit has to be the grid's
    }
    outputs.add(options.path);
}

Plan planPath(PlanOptions const& options, ProgressListener* listener, Record& record, Outputs& outputs) {
    Grid grid;
    loadGrid(grid, options.grid);
    Plan plan;
    plan.move = record.getMove();
    plan.unit = record.getUnitName();
    announce(listener, "Laying the path...");
    plan.path = naming(options.grid.string(), [&] { return pathOver(grid, options.settings); });
    announce(listener, "Firing it back...");
    plan.check = checkPath(grid, plan.path, options.settings, listener);
    plan.check.pixels.unit = plan.unit;
    plan.isCoverageReached =
        !options.requiredCoverage || plan.check.coverage.reachedShare() >= *options.requiredCoverage;
    addFigures(record, plan);
    Destination const to = outputs.at(options.path);
    std::ofstream output(to.file);
    writePath(output, plan.path, options.settings.speed, plan.move,
              options.frame ? std::optional(readFrame(*options.frame)) : std::nullopt);
    output.close();
    require(bool(output), to.name.string() + ": cannot be written");
    return plan;
}

Plan planPath(PlanOptions const& options, ProgressListener* listener) {
    Record record("path");
    Outputs outputs(record);
    addPlanFiles(options, record, outputs);
    Plan plan = planPath(options, listener, record, outputs);
    outputs.commit(listener);
    return plan;
}

} // namespace QELT::Inspection
