#pragma once

#include "Geometry/quadmesh/edge.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The boundary edge that follows another one, both with the surface on their left: the first that is met
/// when turning clockwise about the end, from the way back on, which sweeps over surface alone. Where two
/// corners of the surface meet in a node, the walk so stays on the corner along which it came.
[[nodiscard]] inline Edge getNextBoundaryEdge(Edge edge) {
    edge = edge.sym();
    do {
        edge = edge.oprev();
    } while (!edge.isBoundary());
    return edge;
}

/// Calls `visit` with the edges of one boundary loop, once around from `start` on. The surface must not
/// change meanwhile.
template <class Visit>
void forEachBoundaryEdge(Edge const& start, Visit visit) {
    Edge edge = start;
    do {
        visit(edge);
        edge = getNextBoundaryEdge(edge);
    } while (edge != start);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
