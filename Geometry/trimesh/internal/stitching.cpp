#include "Geometry/trimesh/internal/stitching.h"

#include "Geometry/trimesh/internal/facemates.h"
#include "Geometry/trimesh/internal/facestitcher.h"
#include "Geometry/trimesh/internal/manifoldstitcher.h"

#include <stdexcept>
#include <utility>

// Faces of which each side has one mate at most, as those of nearly all files, are stitched along these;
// others with the records of facestitcher.cpp, whose triangles would be the same. Which it is takes one look
// at all sides (facemates.cpp).

namespace QELT::Geometry::ThreeDimensional::TriMesh {

void checkFaces(std::vector<Face> const& faces, std::size_t vertexCount) {
    for (Face const& face : faces) {
        for (std::uint32_t const index : face) {
            if (index >= vertexCount) {
                throw std::runtime_error("Invalid vertex index");
            }
        }
    }
}

void stitchFaces(SurfaceBuilder const& builder, std::vector<Face> faces,
                 ProgressListener* const& ownersListener) {
    if (faces.empty()) {
        throwConstructionFailure();
    }
    auto const mates = findMates(faces, builder.getConnectivity().getNumberOfVertices());
    if (mates) {
        ManifoldStitcher(builder, faces, *mates, ownersListener).run();
    } else {
        FaceStitcher(builder, std::move(faces), ownersListener).run();
    }
}

void throwConstructionFailure() {
    throw std::runtime_error("Mesh construction failure");
}

std::optional<Edge> findSideFrom(Triangle const& triangle, std::uint32_t v) {
    for (unsigned long place = 0; place < 3; ++place) {
        if (triangle.getAdjacentVertexIndex(place) == v) {
            return triangle.getEdge(place + 2);
        }
    }
    return std::nullopt;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
