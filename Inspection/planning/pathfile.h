#pragma once

#include "Inspection/export.h"
#include "Inspection/frames/frame.h"
#include "Inspection/planning/path.h"
#include "Inspection/records/outputs.h"

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

/// Paths as tables of comma-separated values.
namespace QELT::Inspection {

/// Writes a line a pose: line, run and kind ("scan", "overshoot" or "lift"), the probe's place ox,oy,oz, the
/// beam's direction dx,dy,dz, the probe's turn qw,qx,qy,qz with z along the beam, the way s and, with a
/// speed, the time t[s]. Numbers are in the part's own place: moved back by `move`, which the grid was moved
/// by; with a frame, in the coordinates that it takes to the part's.
QELT_INSPECTION_EXPORT void writePath(std::ostream& output, Path const& path, std::optional<double> speed,
                                      Vector const& move = Vector(0.0, 0.0, 0.0),
                                      std::optional<Frame> const& frame = {});

/// A shot of a path that was read.
struct PlannedShot {
    std::size_t line = 0;
    Vector position;
    Vector direction;  ///< of unit length
    double time = 0.0; ///< in seconds; 0 where the table tells none
};

/// Reads the poses of kind "scan" and "overshoot" from such a table, with or without a time, and without
/// regard to columns that were added behind. Fails, naming the line, on anything else.
QELT_INSPECTION_EXPORT std::vector<PlannedShot> readPath(std::istream& input, std::string const& source);
QELT_INSPECTION_EXPORT std::vector<PlannedShot> readPathFile(std::filesystem::path const& file);

} // namespace QELT::Inspection
