#pragma once

#include "Geometry/trimesh/mesh.h"

#include <vector>

namespace QELT::Testing {

/// What `Mesh::getTriangles` leaves in its list, and how many stand in front of `last`: every vertex's first
/// fan rewound to its boundary and walked, all pointers sorted, repeats taken out.
struct PlainTriangles {
    explicit PlainTriangles(Geometry::ThreeDimensional::TriMesh::Mesh const& mesh);

    std::vector<Geometry::ThreeDimensional::TriMesh::Triangle*> list;
    std::vector<Geometry::ThreeDimensional::TriMesh::Triangle*> listed;
};

} // namespace QELT::Testing
