#pragma once

#include "Geometry/trimesh/mesh.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// Side k of a face runs from its vertex k to the next. Sides are numbered through: side k of face f is 3 f +
/// k.
using FaceSides = std::array<std::uint32_t, 3>;

constexpr std::uint32_t noMate = 0xFFFFFFFFU;

/// For each side of the faces the one that runs against it, or `noMate`. Nothing if that is not all there is
/// to say: if a face has a vertex twice, if two sides run the same way between the same vertices, or if there
/// are too many sides to be numbered. All indices must be below `vertexCount`.
std::optional<std::vector<FaceSides>> findMates(std::vector<Face> const& faces, std::uint32_t vertexCount);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
