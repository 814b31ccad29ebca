#pragma once

#include "tests/support/meshfamilies.h"

#include "Geometry/trimesh/mesh.h"

#include <memory>

namespace QELT::Testing {

/// A twisted tube whose rims lean out at +x, so that it can be cut along z there; then one that was cut.
std::unique_ptr<Geometry::ThreeDimensional::TriMesh::Mesh> makeLeaningTube();
std::unique_ptr<Geometry::ThreeDimensional::TriMesh::Mesh> makeCutTube();

/// Asks a mesh everything that changes nothing, saves it in every form, and expects it to be whole: stitches
/// are mutual, every vertex has a list of triangles that have it, the lips of a cut are of one length.
void expectWhole(Geometry::ThreeDimensional::TriMesh::Mesh const& mesh);

/// That, and then cuts, flattens and loads the mesh and reconstructs in it, and expects it to hold what a new
/// mesh would.
void expectUsable(Geometry::ThreeDimensional::TriMesh::Mesh& mesh);

} // namespace QELT::Testing
