#pragma once

#include "apps/cscan/options.h"

#include <optional>

namespace cscan {

/// How the plane of a cut differs from the one asked for.
struct CutPlane {
    bool isTurned = false; ///< by half a turn about the axis of the cut
    double slope = 0.0;    ///< out of the plane, by so much for each unit along the axis of the cut
};

/// Cuts a tube along the plane that the options name. The library follows that plane only from a start where
/// the surface's normal points to the positive side of its axis, and takes no edge that ends exactly on it,
/// as those of a regular tube do. Where there is no way, other planes are tried: turned, and leaning a little
/// to either side. The result is the one that served; nothing if none did. No point of the mesh moves.
std::optional<CutPlane> cutTube(Mesh& mesh, CutOptions const& options);

} // namespace cscan
