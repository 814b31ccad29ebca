#pragma once

#include "Geometry/trimesh/internal/connectivity.h"

#include <cstdint>
#include <optional>
#include <span>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The third corner that was chosen for a triangle.
struct Apex {
    std::uint32_t vertex = 0;

    /// A quarter of the triangle's squared circumradius.
    double rTSqr = 0.0;

    bool wasFloating = false;
};

/// The one of the candidates that gives the triangle (a, b, apex) of the smallest circumradius on the side of
/// `normal`, the earliest of equals. One that the surface has already must lie on the front beside a or b.
std::optional<Apex> findApex(Connectivity const& surface, std::uint32_t a, std::uint32_t b,
                             std::span<std::uint32_t const> candidates, Vector const& normal);

/// Where the third side of the last triangle of the vertex' first fan ends, from the listed triangle on.
std::uint32_t getEndOfLastSpoke(Connectivity const& surface, std::uint32_t v);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
