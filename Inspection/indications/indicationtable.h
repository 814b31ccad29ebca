#pragma once

#include "Inspection/export.h"
#include "Inspection/indications/indication.h"
#include "Inspection/records/outputs.h"
#include "Inspection/results/result.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// What the numbers of a table of indications are in.
struct IndicationUnits {
    std::string length;    ///< of places and sizes
    std::string value;     ///< of peaks and levels
    std::string depth;     ///< of the result's depths
    std::string incidence; ///< and incidences
    bool isBeamKnown = false;
};

/// As the result tells them.
QELT_INSPECTION_EXPORT IndicationUnits unitsOf(Result const& result, IndicationOptions const& options);

/// A line for each: number, state, peak, level, the centre (x, y, z, normal, u, v) and the peak's place the
/// same, length, width, area, depth, incidence, what it touches, and 1 or 0 for whether it is under the
/// beam's width. Units stand behind the headings in brackets; what is not known is left empty.
QELT_INSPECTION_EXPORT void writeIndications(std::ostream& output, std::vector<Indication> const& indications,
                                             IndicationUnits const& units);
QELT_INSPECTION_EXPORT void writeIndicationFile(Destination const& to,
                                                std::vector<Indication> const& indications,
                                                IndicationUnits const& units);

/// A table of beams (ox,oy,oz,dx,dy,dz), one for each in their order: from `standoff` above the centre down
/// its normal.
QELT_INSPECTION_EXPORT void writePoses(std::ostream& output, std::vector<Indication> const& indications,
                                       double standoff);
QELT_INSPECTION_EXPORT void writePoseFile(Destination const& to, std::vector<Indication> const& indications,
                                          double standoff);

} // namespace QELT::Inspection
