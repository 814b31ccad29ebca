#pragma once

#include "Geometry/quadmesh/generation/internal/flattriangle.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/trimesh/mesh.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Samples a flattened mesh into the nodes of a grid: node (i, j) stands in the flat map at (i, j) times the
/// spacing. Triangles first, then the marks in the order of the functions here.
class Resampler {
public:
    Resampler(Nodes const& newNodes, double newSpacing) : nodes(newNodes), spacing(newSpacing) {}

    /// Stores the lattice points of a flat triangle. On a shared side the later triangle's value stands.
    void rasterise(FlatTriangle const& triangle) const;

    /// Marks the nodes of the boundary loop through `start`, an edge of the grid whose nodes these are.
    void markBoundary(Edge const& start) const;

    /// Marks the boundary nodes beside the cut, whose two lips are chains of vertices of the mesh.
    void markCut(TriMesh::Mesh const& mesh) const;

    /// Marks what is valid and off the boundary.
    void markInterior() const;

private:
    void mark(TwoDimensional::Point<int> const& node, RectMesh::PointFlagID id) const;
    void markCutSegment(TwoDimensional::Point<double> const& p, TwoDimensional::Point<double> const& q) const;
    void markCutNode(TwoDimensional::Point<int> const& node) const;

    Nodes nodes;
    double spacing;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
