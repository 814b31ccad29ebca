#pragma once

#include "Geometry/foundations/map.h"
#include "Geometry/trimesh/internal/surfacebuilder.h"
#include "Geometry/trimesh/reconstruction/internal/apex.h"
#include "Geometry/trimesh/reconstruction/internal/minheap.h"
#include "Geometry/trimesh/reconstruction/internal/neighbourlinks.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// Chooses the apex of the triangle on the side a to b among the live links of a, as `findApex` does, and
/// uses up the links from a to b and from b to the apex.
std::optional<Apex> takeApex(Connectivity const& surface, std::vector<std::vector<std::uint32_t>>& nearest,
                             std::vector<std::uint32_t>& counts, std::uint32_t a, std::uint32_t b,
                             Vector const& normal);

/// Whether a triangle with this apex can still be built on the edge: it is open, the triangle's sides do not
/// exist, and its corners lie on the front.
bool getIsFrontReady(Connectivity const& surface, Edge const& edge, std::uint32_t apex);

/// A surface that grows by its cheapest open side, as long as a vertex is left to reach.
class AdvancingFront {
public:
    AdvancingFront(SurfaceBuilder const& newBuilder, NeighbourLinks const& startLinks)
        : builder(newBuilder), surface(newBuilder.getConnectivity()), links(startLinks) {}

    /// Makes the first triangle, on the closest two points.
    /// \throws std::runtime_error "Cannot add floating triangle" if there is none.
    void plantSeed();

    /// Builds waiting triangles; the answer is how many there are in the end, the first one included.
    std::size_t grow();

private:
    /// A triangle waiting to be built: a boundary edge, whether its apex was floating when it was chosen, the
    /// apex, and the measure that it is ranked by.
    using Candidate = Map<Map<Map<Edge, bool>, int>, double>;

    void openNewSides(Edge const& edge);
    void wait(Edge const& side, Vector const& normal);

    SurfaceBuilder builder;
    Connectivity surface;
    NeighbourLinks links;
    MinHeap<Candidate> candidates;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
