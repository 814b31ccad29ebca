#include "Geometry/trimesh/reconstruction/internal/advancingfront.h"

#include <span>
#include <stdexcept>

// Waiting triangles lie in a heap by their squared radii, whose moves are fixed (minheap.h) since equal radii
// are common. What was true when a triangle was chosen may be no longer when its turn comes: then it is
// dropped, and its side waits no more. The triangle built takes its two free sides to the heap, measured by
// the normal of the triangle that it stands on, not by its own: that is odd, and kept, as the surface hangs
// on it.
//
// The growth ends as soon as every vertex is attached, so the last open sides may stay open inside the
// surface. Cost: a heap of about as many entries as triangles, and for each a few fans.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

[[noreturn]] void throwNoSeed() {
    throw std::runtime_error("Cannot add floating triangle");
}

Vector getTriangleNormal(Edge const& side) {
    return side.vphi3().cross(side.rot().vphi3());
}

} // namespace

std::optional<Apex> takeApex(Connectivity const& surface, std::vector<std::vector<std::uint32_t>>& nearest,
                             std::vector<std::uint32_t>& counts, std::uint32_t a, std::uint32_t b,
                             Vector const& normal) {
    auto const apex = findApex(surface, a, b, std::span(nearest[a]).first(counts[a]), normal);
    if (apex) {
        // The link from the apex back to a stays.
        eraseLink(nearest, counts, a, b);
        eraseLink(nearest, counts, b, apex->vertex);
    }
    return apex;
}

bool getIsFrontReady(Connectivity const& surface, Edge const& edge, std::uint32_t apex) {
    unsigned long const org = edge.org();
    unsigned long const dest = edge.dest();
    return edge.isBoundary() && !surface.findEdge(dest, org) && !surface.findEdge(org, apex) &&
           !surface.findEdge(apex, dest) && surface.getIsOnBoundary(org) && surface.getIsOnBoundary(dest) &&
           surface.getIsOnBoundary(apex);
}

void AdvancingFront::plantSeed() {
    if (!links.closestPair) {
        throwNoSeed();
    }
    auto const [first, second] = *links.closestPair;
    auto const third = takeApex(surface, links.nearest, links.counts, first, second, Vector(0.0, 0.0, 1.0));
    if (!third || !builder.addFloatingTriangle({first, second, third->vertex})) {
        throwNoSeed();
    }
    Edge side = surface.getArbitraryEdge(third->vertex);
    for (int i = 0; i < 3; ++i) {
        wait(side, getTriangleNormal(side));
        side = side.rot();
    }
}

std::size_t AdvancingFront::grow() {
    std::size_t numberOfTriangles = 1;
    std::uint32_t attached = 3;
    while (attached < surface.getNumberOfVertices() && !candidates.getIsEmpty()) {
        Candidate const candidate = candidates.pop();
        Edge const edge = candidate.gets().gets().gets();
        auto const apex = static_cast<std::uint32_t>(candidate.gets().gett());
        bool const wasFloating = surface.getIsFloating(apex);
        if (!getIsFrontReady(surface, edge, apex)) {
            continue;
        }
        ++numberOfTriangles;
        if (!builder.addBoundaryTriangle(edge, apex)) {
            break; // no front that is ready is known to be refused; what was built is kept
        }
        openNewSides(edge);
        attached += wasFloating ? 1 : 0;
    }
    return numberOfTriangles;
}

/// Lets the two other sides of the triangle across the edge wait, measured by the normal of this side.
void AdvancingFront::openNewSides(Edge const& edge) {
    Vector const normal = getTriangleNormal(edge);
    Edge side = edge.sym();
    for (int i = 0; i < 2; ++i) {
        side = side.rot();
        if (side.isBoundary()) {
            wait(side, normal);
        }
    }
}

void AdvancingFront::wait(Edge const& side, Vector const& normal) {
    auto const apex =
        takeApex(surface, links.nearest, links.counts, toUInt32(side.dest()), toUInt32(side.org()), normal);
    if (apex) {
        candidates.push({{{side, apex->wasFloating}, static_cast<int>(apex->vertex)}, apex->rTSqr});
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
