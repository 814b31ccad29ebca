#pragma once

#include "Geometry/trimesh/internal/connectivity.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The first vertex whose listed fan is open.
std::optional<std::uint32_t> findFirstBoundaryVertex(Connectivity const& surface);

/// The vertices of the boundary loop through `start`, from there on, with the surface on the left.
std::vector<std::uint32_t> getBoundaryLoop(Connectivity const& surface, std::uint32_t start);

/// The loop of the most vertices, the first of equals in the order of their lowest vertices; empty if there
/// is none.
std::vector<std::uint32_t> getLongestBoundaryLoop(Connectivity const& surface);

/// A boundary loop by the places of its vertices, whose numbers wrap.
class LoopPoints {
public:
    /// The loop must not be empty.
    LoopPoints(Connectivity const& newSurface, std::vector<std::uint32_t> const& newLoop)
        : surface(newSurface), loop(newLoop) {}

    std::uint32_t getLength() const { return static_cast<std::uint32_t>(loop.size()); }

    Point const& at(std::uint32_t place) const { return surface.getPoint(loop[place % getLength()]); }

    Vector getStepFrom(std::uint32_t place) const { return at(place + 1) - at(place); }

private:
    Connectivity surface;
    std::vector<std::uint32_t> const& loop;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
