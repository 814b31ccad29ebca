#pragma once

#include "Inspection/export.h"
#include "Inspection/planning/path.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <filesystem>
#include <optional>
#include <string>

namespace QELT::Inspection {

/// What to plan, over which grid, and where to write it.
struct PlanOptions {
    std::filesystem::path grid; ///< a .quads file
    std::filesystem::path path; ///< table to write, see `writePath`
    PathSettings settings;
    std::string unit;                       ///< of lengths; if empty, what the grid's record names
    std::optional<double> requiredCoverage; ///< the least share of the surface that footprints cover, 0 to 1
    /// Takes a cell's coordinates to the part's: poses are written in those of the cell.
    std::optional<std::filesystem::path> frame = {};
};

/// What was planned, and what it covers.
struct Plan {
    Path path;
    PathCheck check;
    Vector move;      ///< what the grid was moved by: a place in the part is one in the plan less this
    std::string unit; ///< for texts; "units" if it is not known
    bool isCoverageReached = true;

    /// Whether the probe can go where it is sent, and covers what was required.
    bool isFit() const { return isCoverageReached && check.blockedCount == 0; }
};

/// Lays a path over a grid, fires it back at it, and writes it, fit or not. Fails as `pathOver` does, and if
/// a file cannot be read or written.
QELT_INSPECTION_EXPORT Plan planPath(PlanOptions const& options, ProgressListener* listener);

/// Tells what is read, how, and what is written, before the plan in a run that writes more.
QELT_INSPECTION_EXPORT void addPlanFiles(PlanOptions const& options, Record& record, Outputs& outputs);
QELT_INSPECTION_EXPORT Plan planPath(PlanOptions const& options, ProgressListener* listener, Record& record,
                                     Outputs& outputs);

} // namespace QELT::Inspection
