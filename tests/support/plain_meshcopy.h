#pragma once

#include "tests/support/plain_connectivity.h"

#include "Geometry/trimesh/mesh.h"

namespace QELT::Testing {

/// The state of a mesh of the library in index lists: its vertices, the triangles that can be reached from
/// them in the order of their addresses, the incidence lists, the cut and the name. Copies of one mesh,
/// before and after an operation that makes no triangles, can be compared.
PlainMesh plainCopyOf(Geometry::ThreeDimensional::TriMesh::Mesh const& mesh);

} // namespace QELT::Testing
