#pragma once

#include "Inspection/names.h"

#include <optional>

namespace QELT::Inspection {

/// Where a cut starts and the plane that it keeps to.
struct TubeCut {
    bool isFromGreatest = false;  ///< whether it starts where the coordinate is greatest, else least
    unsigned long axis = 0;       ///< of that coordinate, 0 to 2; the plane is along this axis
    unsigned long normalAxis = 0; ///< and along this one, that of the surface's normal at the start
};

/// How the plane of a cut differs from the one asked for.
struct CutPlane {
    bool isTurned = false; ///< by half a turn about the axis of the cut
    double slope = 0.0;    ///< out of the plane, by so much for each unit along the axis of the cut
};

/// Cuts a tube from rim to rim. The library follows that plane only from a start where
/// the surface's normal points to the positive side of its axis, and takes no edge that ends exactly on it,
/// as those of a regular tube do. Where there is no way, other planes are tried: turned, and leaning a little
/// to either side. The result is the one that served; nothing if none did. No point of the mesh moves.
std::optional<CutPlane> cutTube(Mesh& mesh, TubeCut const& cut);

} // namespace QELT::Inspection
