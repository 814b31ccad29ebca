#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/internal/stitching.h"
#include "Geometry/trimesh/mesh.h"

namespace QELT::Geometry::ThreeDimensional::TriMesh {

Mesh::Mesh(std::vector<Point> const& points, std::vector<Face> const& faces) : Mesh() {
    construct(points, faces);
}

void Mesh::construct(std::vector<Point> const& points, std::vector<Face> const& faces) {
    checkFaces(faces, points.size());
    SurfaceBuilder const builder = getBuilder();
    builder.clear();
    for (Point const& point : points) {
        builder.addVertex(Vertex(point));
    }
    reportMessage(progressListener, "Constructing triangle mesh...");
    stitchFaces(builder, faces, progressListener);
    clean();
    calculateVertexNormals();
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
