#pragma once

#include "Geometry/trimesh/internal/connectivity.h"

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// See `Mesh::getVertexNormal`.
Vector getVertexNormal(Connectivity const& surface, unsigned long v);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
