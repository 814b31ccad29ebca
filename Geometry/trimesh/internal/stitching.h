#pragma once

#include "Geometry/foundations/progresslistener.h"
#include "Geometry/trimesh/internal/surfacebuilder.h"
#include "Geometry/trimesh/mesh.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// \throws std::runtime_error "Invalid vertex index" if a face names a vertex that is not there.
void checkFaces(std::vector<Face> const& faces, std::size_t vertexCount);

/// Builds the connectivity of a mesh from faces, as `FaceStitcher` does. `ownersListener` must outlive the
/// call. \throws std::runtime_error "Mesh construction failure".
void stitchFaces(SurfaceBuilder const& builder, std::vector<Face> faces,
                 ProgressListener* const& ownersListener);

/// \throws std::runtime_error "Mesh construction failure".
[[noreturn]] void throwConstructionFailure();

/// The side of the triangle that starts at the vertex, of equal ones that of the first place.
std::optional<Edge> findSideFrom(Triangle const& triangle, std::uint32_t v);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
