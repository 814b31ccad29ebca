#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/outputs.h"

#include <vector>

namespace QELT::Inspection {

/// The core's name for a triangle by its corners.
using Face = QELT::Geometry::ThreeDimensional::TriMesh::Face;

/// Points and the triangles between them, as files hold them.
struct FaceMesh {
    std::vector<Point> points;
    std::vector<Face> faces;
};

/// The vertices and listed triangles of a mesh.
QELT_INSPECTION_EXPORT FaceMesh faceMeshOf(Mesh const& mesh);

/// Takes out the points that no face touches and tells how many there were.
QELT_INSPECTION_EXPORT std::size_t dropLoosePoints(FaceMesh& mesh);

/// Writes an OBJ file that reads back as the same points and faces. Failures name the file.
QELT_INSPECTION_EXPORT void writeFaces(FaceMesh const& mesh, Destination const& to);

} // namespace QELT::Inspection
