#include "Geometry/trimesh/boundary/internal/boundaryloops.h"

#include <utility>

// A loop is walked from the first fan of its start: back, against the winding, to the boundary, then on along
// it. Where fans meet in a vertex, the walk stays in that which it came along. So it may lead through
// vertices whose listed fan is closed, and it ends where it meets its start again, also in another fan;
// flattening refuses such loops, corners take them as they are. Lengths are counted in vertices. Cost: the
// fans along the boundary, and for the longest loop a fan of every vertex.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

bool getIsAttachedOnBoundary(Connectivity const& surface, std::uint32_t v) {
    return surface.getIsAttached(v) && surface.getIsOnBoundary(v);
}

} // namespace

std::optional<std::uint32_t> findFirstBoundaryVertex(Connectivity const& surface) {
    for (std::uint32_t v = 0; v < surface.getNumberOfVertices(); ++v) {
        if (getIsAttachedOnBoundary(surface, v)) {
            return v;
        }
    }
    return std::nullopt;
}

std::vector<std::uint32_t> getBoundaryLoop(Connectivity const& surface, std::uint32_t start) {
    std::vector<std::uint32_t> loop;
    Edge edge = surface.getArbitraryEdge(start);
    do {
        loop.push_back(toUInt32(edge.org()));
        while (!edge.isBoundary()) {
            edge = edge.oprev();
        }
        edge = edge.rot();
    } while (edge.org() != start);
    return loop;
}

std::vector<std::uint32_t> getLongestBoundaryLoop(Connectivity const& surface) {
    std::vector<std::uint32_t> longest;
    std::vector<bool> isSeen(surface.getNumberOfVertices(), false);
    for (std::uint32_t v = 0; v < surface.getNumberOfVertices(); ++v) {
        if (isSeen[v] || !getIsAttachedOnBoundary(surface, v)) {
            continue;
        }
        std::vector<std::uint32_t> loop = getBoundaryLoop(surface, v);
        for (std::uint32_t const onLoop : loop) {
            isSeen[onLoop] = true;
        }
        if (loop.size() > longest.size()) {
            longest = std::move(loop);
        }
    }
    return longest;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
