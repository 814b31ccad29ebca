#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/record.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// The triangles of a mesh, each once.
QELT_INSPECTION_EXPORT std::vector<Triangle*> trianglesOf(Mesh const& mesh);

/// The core's closed walk along a boundary.
using BoundaryLoop = QELT::Geometry::ThreeDimensional::TriMesh::BoundaryLoop;

/// The rims of the outline and of the holes, the longest first.
QELT_INSPECTION_EXPORT std::vector<BoundaryLoop> boundaryLoopsOf(Mesh const& mesh);

/// What a mesh holds.
struct MeshSummary {
    std::size_t vertexCount = 0;
    std::size_t faceCount = 0;
    std::size_t unlistedCount = 0; ///< faces besides, which the mesh does not list: it meets itself in points
    std::size_t cutEntryCount = 0; ///< pairs of vertices along a cut
    std::vector<BoundaryLoop> loops; ///< the longest first; none if the mesh is closed
    Point low;                       ///< of the box of its vertices; meaningful only with a vertex
    Point high;
    double area = 0.0; ///< of the listed faces
};

/// Counts and measures a mesh.
QELT_INSPECTION_EXPORT MeshSummary meshSummaryOf(Mesh const& mesh);

/// Tells a record the counts, the box and the area.
QELT_INSPECTION_EXPORT void addFigures(Record& record, MeshSummary const& summary);

/// Twice the signed area of a triangle in the flat map; negative where the map has turned it over.
QELT_INSPECTION_EXPORT double twiceFlatArea(Triangle const& triangle);

/// The flat map of a mesh: its box, in the flat coordinates' own unit, and what came out badly.
struct FlatSummary {
    FlatPoint low;
    double width = 0.0;              ///< along the flat u
    double height = 0.0;             ///< along the flat v
    std::size_t flippedCount = 0;    ///< triangles with a negative flat area
    std::size_t degenerateCount = 0; ///< triangles whose flat area is zero or no number
};

/// Measures the flat map of a mesh by these triangles.
QELT_INSPECTION_EXPORT FlatSummary flatSummaryOf(Mesh const& mesh, std::vector<Triangle*> const& triangles);

/// The triangles without a flat area that cover one of these places of the flat map, to within a
/// hundred-thousandth of `spacing`.
QELT_INSPECTION_EXPORT std::size_t flatlessTrianglesAt(std::vector<FlatPoint> const& places,
                                                       std::vector<Triangle*> const& triangles,
                                                       double spacing);

} // namespace QELT::Inspection
