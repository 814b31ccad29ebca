#pragma once

#include "Inspection/scanning/beam.h"
#include "apps/cscan/names.h"

#include <vector>

namespace cscan {

/// How the probe is moved over the built-in part.
struct ProbePath {
    double lineSpacing = 0.25;  ///< between the scan lines, which run along the span; millimetres
    double firingSpacing = 0.2; ///< between the beams on a line
    double standoff = 12.0;     ///< from the designed surface
    double overrun = 2.0;       ///< how far the path goes past the part on all sides
};

/// The beams of a probe that follows the blade's designed surface in lines to and fro, as a manipulator does
/// it: the stand-off breathes by a few tenths of a millimetre and the head wobbles by a few degrees about
/// the normal. The lines run over the cut-out and past the rounded corners as well, where the beams miss.
std::vector<Beam> bladeScanBeams(ProbePath const& path);

} // namespace cscan
