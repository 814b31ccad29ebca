#pragma once

#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// A closed walk along the boundary of a mesh, with the surface on its left: an outline is walked
/// counter-clockwise as seen from where the surface faces, a hole clockwise. At each vertex the walk turns
/// across the one fan of triangles that it came along. Where sheets touch in a point alone it does not change
/// sheets, and a vertex can occur several times, in one loop or in several; nowhere else.
struct BoundaryLoop {
    /// In walking order, as many as there are edges: edge k leads from vertex k to the next, the last edge
    /// back to the first vertex.
    std::vector<std::uint32_t> vertices;

    /// The sum of the edges' lengths on the surface, in walking order.
    double length = 0.0;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
