#pragma once

#include "Inspection/export.h"
#include "Inspection/frames/frame.h"
#include "Inspection/records/outputs.h"
#include "Inspection/scanning/beam.h"
#include "Inspection/scanning/hit.h"

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

/// Beams and hits as tables of comma-separated values.
namespace QELT::Inspection {

/// Reads a table with the heading "ox,oy,oz,dx,dy,dz" and one beam a line. Blank lines are passed over, both
/// kinds of line end are taken. A wrong heading, a line that does not hold six finite numbers and a direction
/// of no length are failures that name `source` and the line's number; so is a table without a beam. The
/// origins are taken to the part's coordinates by the frame, if there is one, and moved by `move` before they
/// are rounded to single precision.
QELT_INSPECTION_EXPORT std::vector<Beam> readBeams(std::istream& input, std::string const& source,
                                                   Vector const& move = Vector(0.0, 0.0, 0.0),
                                                   std::optional<Frame> const& frame = {});
QELT_INSPECTION_EXPORT std::vector<Beam> readBeamFile(std::filesystem::path const& path,
                                                      Vector const& move = Vector(0.0, 0.0, 0.0),
                                                      std::optional<Frame> const& frame = {});

/// Writes the heading "u,v,x,y,z,distance,angle,valid,state" and one line a beam: quad indices, the point,
/// distance, angle to the normal in radians, 1 for any hit or 0, and "hit", "edge" or "miss". Every number
/// reads back as the same value. What a miss or an unmeasured hit doesn't have is left empty. Points are
/// moved back by `move`, which the surface was moved by.
QELT_INSPECTION_EXPORT void writeHits(std::ostream& output, std::vector<Hit> const& hits,
                                      ProgressListener* listener = nullptr,
                                      Vector const& move = Vector(0.0, 0.0, 0.0));
QELT_INSPECTION_EXPORT void writeHitFile(Destination const& to, std::vector<Hit> const& hits,
                                         ProgressListener* listener = nullptr,
                                         Vector const& move = Vector(0.0, 0.0, 0.0));

} // namespace QELT::Inspection
