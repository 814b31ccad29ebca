#include "Geometry/trimesh/reconstruction/internal/advancingfront.h"

#include <algorithm>
#include <limits>
#include <span>
#include <stdexcept>

// Waiting triangles lie in a heap by their squared radii, whose moves are fixed (minheap.h) since equal radii
// are common. What was true when a triangle was chosen may be no longer when its turn comes: then it is
// dropped, and its side waits no more. The triangle built takes its two free sides to the heap, measured by
// the normal of the triangle that it stands on, not by its own: that is odd, and kept, as the surface hangs
// on it.
//
// Most candidates for an apex are asked whether they float or lie on the boundary and no more, so each vertex
// has a state that tells. A vertex is on the boundary while the first fan that it lists is open. The front
// never parts triangles: a fan that has closed stays closed, and only a triangle between attached vertices
// closes one, around one of its corners.
//
// Nearly no triangle that waits has a side which is there already, so an index of the sides at each vertex
// (sideindex.h) spares the surface most of those questions. What the index knows and the surface does not
// find does not exist: a fan that a vertex does not list is not seen.
//
// Vertices are many and small steps jump about among them, so what the choice of an apex reads lies by their
// ranks in the cloud's order: points, states, neighbours, and a bit for each neighbour that tells whether the
// link is unused.
//
// The growth ends as soon as every vertex is attached, so the last open sides may stay open inside the
// surface. Cost: a heap of about as many entries as triangles, and for each a few fans.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

static_assert(NeighbourLinks::numberOfNeighbours == std::numeric_limits<std::uint64_t>::digits);

[[noreturn]] void throwNoSeed() {
    throw std::runtime_error("Cannot add floating triangle");
}

} // namespace

AdvancingFront::AdvancingFront(SurfaceBuilder const& newBuilder, CloudOrder const& newOrder,
                               NeighbourLinks const& newLinks)
    : builder(newBuilder),
      surface(newBuilder.getConnectivity()),
      order(newOrder),
      links(newLinks),
      states(newOrder.getNumberOfPoints(), State::Floating),
      liveLinks(newOrder.getNumberOfPoints(), ~std::uint64_t{0}),
      sides(newOrder.getNumberOfPoints()) {}

void AdvancingFront::plantSeed() {
    auto const closestPair = links.getClosestPair();
    if (!closestPair) {
        throwNoSeed();
    }
    auto const [first, second] = *closestPair;
    auto const third = takeApex(first, second, Vector(0.0, 0.0, 1.0));
    if (!third || !builder.addFloatingTriangle({first, second, third->vertex})) {
        throwNoSeed();
    }
    for (std::uint32_t const corner : {first, second, third->vertex}) {
        states[order.rankOf[corner]] = State::OnFront;
    }
    sides.addTriangle(order.rankOf[first], order.rankOf[second], order.rankOf[third->vertex]);
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
        Edge const& edge = candidate.edge;
        if (!getIsReady(edge, candidate.apex)) {
            continue;
        }
        ++numberOfTriangles;
        attached += states[order.rankOf[candidate.apex]] == State::Floating ? 1U : 0U;
        if (!builder.addBoundaryTriangle(edge, candidate.apex)) {
            break; // no front that is ready is known to be refused; what was built is kept
        }
        attach(edge, candidate.apex);
        openNewSides(edge);
    }
    return numberOfTriangles;
}

/// Whether a triangle with this apex can still be built on the edge: it is open, the triangle's sides do not
/// exist, and its corners lie on the front.
bool AdvancingFront::getIsReady(Edge const& edge, std::uint32_t apex) const {
    if (getIsInside(apex) || !edge.isBoundary()) {
        return false;
    }
    unsigned long const org = edge.org();
    unsigned long const dest = edge.dest();
    return !getIsInside(org) && !getIsInside(dest) && !getDoesSideExist(dest, org) &&
           !getDoesSideExist(org, apex) && !getDoesSideExist(apex, dest);
}

/// Whether the surface finds the side, which it may not although a triangle has it.
bool AdvancingFront::getDoesSideExist(unsigned long a, unsigned long b) const {
    return sides.getMayExist(order.rankOf[a], order.rankOf[b]) && surface.findEdge(a, b).has_value();
}

/// Takes notice of the triangle that was built across the edge.
void AdvancingFront::attach(Edge const& edge, std::uint32_t apex) {
    sides.addTriangle(order.rankOf[edge.dest()], order.rankOf[edge.org()], order.rankOf[apex]);
    State& stateOfApex = states[order.rankOf[apex]];
    if (stateOfApex == State::Floating) {
        stateOfApex = State::OnFront;
        return;
    }
    Edge side = edge.sym();
    for (int i = 0; i < 3; ++i) {
        enclose(side);
        side = side.rot();
    }
}

/// Takes notice of whether the vertex at which a new triangle's spoke starts has come to lie inside. It can
/// not have where one of the triangle's sides there is open.
void AdvancingFront::enclose(Edge const& spoke) {
    if (spoke.isBoundary() || spoke.rot().rot().isBoundary()) {
        return;
    }
    State& state = states[order.rankOf[spoke.org()]];
    if (state == State::OnFront && !surface.getIsOnBoundary(spoke.org())) {
        state = State::Inside;
    }
}

Vector AdvancingFront::getTriangleNormal(Edge const& side) const {
    auto const placeOf = [&](unsigned long v) -> Point const& { return order.points[order.rankOf[v]]; };
    Point const& org = placeOf(side.org());
    Point const& dest = placeOf(side.dest());
    return (dest - org).cross(placeOf(side.rot().dest()) - dest);
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
    auto const apex = takeApex(toUInt32(side.dest()), toUInt32(side.org()), normal);
    if (apex) {
        candidates.push({apex->rTSqr, side, apex->vertex});
    }
}

/// Chooses the apex of the triangle on the side a to b among the live links of a, as `findApex` does, and
/// uses up the links from a to b and from b to the apex.
std::optional<Apex> AdvancingFront::takeApex(std::uint32_t a, std::uint32_t b, Vector const& normal) {
    auto const apex = findApexAmongLinks(a, b, normal);
    if (apex) {
        // The link from the apex back to a stays.
        useUpLink(a, b);
        useUpLink(b, apex->vertex);
    }
    return apex;
}

std::optional<Apex> AdvancingFront::findApexAmongLinks(std::uint32_t a, std::uint32_t b,
                                                       Vector const& normal) const {
    std::uint32_t const rankOfA = order.rankOf[a];
    Point const& pointA = order.points[rankOfA];
    ApexChoice choice(pointA, order.points[order.rankOf[b]], normal);
    FrontAtSide front(surface, a, b);
    std::uint64_t live = liveLinks[rankOfA];
    for (std::uint32_t const rank : links.getNearest(rankOfA)) {
        bool const isLive = (live & 1U) != 0;
        live >>= 1U;
        if (!isLive || states[rank] == State::Inside) {
            continue;
        }
        Point const& point = order.points[rank];
        if (order.isFinite && choice.getIsTooFar(pointA.dSqr(point))) {
            break;
        }
        std::uint32_t const w = order.vertexOf[rank];
        if (states[rank] == State::Floating || front.getIsBeside(w)) {
            choice.consider(w, point, states[rank] == State::Floating);
        }
    }
    return choice.get();
}

/// Uses up the link from a to b, if there is one.
void AdvancingFront::useUpLink(std::uint32_t a, std::uint32_t b) {
    std::uint32_t const rankOfA = order.rankOf[a];
    auto const nearest = links.getNearest(rankOfA);
    auto const found = std::find(nearest.begin(), nearest.end(), order.rankOf[b]);
    if (found != nearest.end()) {
        liveLinks[rankOfA] &= ~(std::uint64_t{1} << static_cast<std::uint32_t>(found - nearest.begin()));
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
