#pragma once

#include "tests/support/plain_connectivity.h"

#include "Geometry/trimesh/mesh.h"

#include <string>
#include <vector>

namespace QELT::Testing {

/// What a listener hears, one line a call: the text of a message, or a percentage as "50%".
using ProgressLines = std::vector<std::string>;

struct PlainLoadResult {
    /// The text of the failure; empty if there was none.
    std::string failure;
    bool contains2D = false;
    ProgressLines progress;
};

/// Loads an OBJ file into `mesh` by reading it over and over with the C library's `fgetc` and `fscanf` in the
/// C locale, and by stitching its faces along an ordered set of open edges. After a failure the mesh holds
/// what was built until then.
PlainLoadResult plainLoad(PlainMesh& mesh, std::string const& path);

/// The whole state of a mesh as text, bits of numbers included, with its triangles numbered in creation order
/// (those that can be reached from the vertices). Equal meshes give equal texts. All NaNs count as equal.
std::string describe(PlainMesh const& mesh);

/// The same for a mesh of the library, whose triangles must lie in memory in creation order.
std::string describe(Geometry::ThreeDimensional::TriMesh::Mesh const& mesh);

} // namespace QELT::Testing
