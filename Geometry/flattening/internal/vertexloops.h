#pragma once

#include "Geometry/trimesh/internal/connectivity.h"

#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The vertices of a mesh apart by where they lie: those inside, in ascending order, and those of each
/// boundary loop, in walking order. Each vertex occurs once.
struct VertexLoops {
    std::vector<std::uint32_t> interior;
    std::vector<std::vector<std::uint32_t>> loops;
};

/// \throws std::runtime_error "Mesh has a vertex without a triangle", "Mesh has no boundary" or "Mesh
/// boundary is not manifold".
VertexLoops classifyVertices(Connectivity const& surface);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
