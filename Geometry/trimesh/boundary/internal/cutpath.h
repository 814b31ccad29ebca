#pragma once

#include "Geometry/trimesh/internal/connectivity.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The edges of a cut from the boundary vertex `start` to another one, each ending as near as can be to the
/// plane through the start. None if the path gets stuck, runs into itself or along the boundary, if an edge
/// ends exactly on the plane, or if one leads into a lesser fan of its end.
std::optional<std::vector<Edge>> findCutPath(Connectivity const& surface, std::uint32_t start,
                                             Vector const& planeNormal);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
