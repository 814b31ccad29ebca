#pragma once

#include "Geometry/quadmesh/rectmesh.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The area of a quad, as `getPoint` shows it, by the two triangles on either side of the diagonal from its u
/// corner to its v corner. No range check.
double getQuadArea(RectMesh const& grid, TwoDimensional::Point<int> const& p);

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
