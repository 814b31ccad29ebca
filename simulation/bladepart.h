#pragma once

#include "simulation/bladesurface.h"

#include <cstdint>
#include <vector>

namespace QELT::Simulation {

/// How finely the blade is measured.
struct BladeResolution {
    unsigned around = 208;          ///< points on each ring around the cut-out; even
    unsigned rings = 48;            ///< rows of triangles from the cut-out to the outline
    double noise = 0.003;           ///< standard deviation along the normal, millimetres
    std::uint32_t seed = 20250301U; ///< of the noise and the irregular spacing
};

/// Whether a place lies within the outline and beside the cut-out.
bool isOnBlade(BladePlace const& place);

/// Triangles as a measuring system would hand them over.
struct PartMesh : FaceMesh {
    std::vector<BladePlace> places; ///< of the points, on the unrolled outline
};

/// A measured blade: rings of triangles from the oval cut-out, growing as they near the outline, so that the
/// patch has one outer loop and one hole. 2 * around * rings triangles.
PartMesh measuredBlade(BladeResolution const& resolution);

} // namespace QELT::Simulation
