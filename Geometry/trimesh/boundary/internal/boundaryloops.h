#pragma once

#include "Geometry/trimesh/mesh.h"

#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The vertices of a mesh apart by where they lie: those inside, in ascending order, and those of each
/// boundary loop, in walking order. Each vertex occurs once.
struct Mesh::BoundaryLoops {
    std::vector<std::uint32_t> interior;
    std::vector<std::vector<std::uint32_t>> loops;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
