#include "Geometry/foundations/map.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/spatial/cloud.h"
#include "Geometry/spatial/nearestpoints.h"
#include "Geometry/trimesh/internal/trianglearena.h"
#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/reconstruction/internal/minheap.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// With how many others a point may form triangles.
constexpr std::uint32_t numberOfNeighbours = 64;

constexpr double beyondAllDistances = 1e300;

using Neighbour = Map<unsigned long, double>;

/// A triangle waiting to be built: a boundary edge, whether its apex was floating when it was chosen, the
/// apex, and the squared circumradius that it is ranked by.
using Candidate = Map<Map<Map<Edge, bool>, int>, double>;

/// Where the front goes on from the two ends of an open side.
struct FrontAtSide {
    unsigned long fromA = 0;
    unsigned long fromB = 0;

    /// Whether it leads from b on to w, or from a on to b.
    bool isBeside(unsigned long b, std::uint32_t w) const { return fromB == w || fromA == toUInt32(b); }
};

[[noreturn]] void throwNoSeed() {
    throw std::runtime_error("Cannot add floating triangle");
}

bool isFinite(Point const& point) {
    return std::isfinite(point.getX()) && std::isfinite(point.getY()) && std::isfinite(point.getZ());
}

/// The nearest others of a vertex in the order in which a heap over all others gives them. Which of equally
/// near ones comes first is a matter of that heap's moves; where no two are equally near there is but one
/// order, which is found without looking at all others.
class NeighbourOrder {
public:
    explicit NeighbourOrder(std::vector<Vertex> const& vertices) {
        for (Vertex const& vertex : vertices) {
            points.push_back(vertex.getPoint3D());
        }
        if (std::all_of(points.begin(), points.end(), isFinite)) {
            search.emplace(points);
        }
    }

    /// Valid until the next call.
    std::vector<Neighbour> const& nearestOf(std::uint32_t i) {
        nearest.clear();
        if (!search || !findDistinct(i)) {
            askHeap(i);
        }
        return nearest;
    }

private:
    std::vector<Point> points;
    std::optional<PointCloud::NearestPoints> search; ///< if all coordinates are finite
    MinHeap<Neighbour> heap;
    std::vector<Neighbour> nearest;

    /// One more than wanted is asked for: it tells whether the last wanted one has an equal.
    bool findDistinct(std::uint32_t i) {
        auto const found = search->getNearestOthers(i, numberOfNeighbours + 1);
        auto const isTie = [](auto const& a, auto const& b) { return a.distanceSqr == b.distanceSqr; };
        if (std::adjacent_find(found.begin(), found.end(), isTie) != found.end()) {
            return false;
        }
        for (std::size_t k = 0; k < found.size() && k < numberOfNeighbours; ++k) {
            nearest.emplace_back(found[k].index, found[k].distanceSqr);
        }
        return true;
    }

    void askHeap(std::uint32_t i) {
        heap.clear();
        for (std::uint32_t j = 0; j < toUInt32(points.size()); ++j) {
            if (j != i && points[i] != points[j]) {
                heap.push(Neighbour(j, points[i].dSqr(points[j])));
            }
        }
        while (!heap.getIsEmpty() && nearest.size() < numberOfNeighbours) {
            nearest.push_back(heap.pop());
        }
    }
};

} // namespace

/// The links by which points may still be joined, and the closest two of them.
struct Mesh::NeighbourLinks {
    std::vector<std::vector<std::uint32_t>> nearest;
    std::vector<std::uint32_t> counts;
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    bool isAnyPair = false;
};

/// A surface that grows by its cheapest open side, as long as a vertex is left to reach.
class Mesh::AdvancingFront {
public:
    AdvancingFront(Mesh& theMesh, NeighbourLinks const& startLinks) : mesh(theMesh), links(startLinks) {}

    /// Makes the first triangle, on the closest two points. A side of it on which no point can stand waits
    /// for nothing, like one of any later triangle. It could also wait for the apex that was found last; but
    /// that one was chosen for another side, and a triangle with it here can end the growth after a few
    /// steps.
    void plantSeed() {
        unsigned long third = 0;
        double rTSqr = 0.0;
        if (!links.isAnyPair || !mesh.getMinrTSqr(links.first, links.second, links.nearest, links.counts,
                                                  Vector(0.0, 0.0, 1.0), &third, &rTSqr, nullptr)) {
            throwNoSeed();
        }
        if (!mesh.addFloatingTriangle({links.first, links.second, third})) {
            throwNoSeed();
        }
        Edge side = mesh.getVertexArbitraryEdge(third);
        for (int i = 0; i < 3; ++i) {
            wait(side, side.vphi3().cross(side.rot().vphi3()));
            side = side.rot();
        }
    }

    /// Builds waiting triangles; the answer is how many there are in the end, the first one included.
    std::size_t grow() {
        std::size_t numberOfTriangles = 1;
        std::uint32_t attached = 3;
        while (attached < toUInt32(mesh.vertices.size()) && !candidates.getIsEmpty()) {
            Candidate const candidate = candidates.pop();
            Edge const edge = candidate.gets().gets().gets();
            int const apex = candidate.gets().gett();
            bool const wasFloating = mesh.getIsVertexFloating(static_cast<std::uint32_t>(apex));
            if (!mesh.getIsFrontReady(edge, static_cast<std::uint32_t>(apex))) {
                continue;
            }
            ++numberOfTriangles;
            if (!mesh.addBoundaryTriangle(edge, apex)) {
                break; // no front that is ready is known to be refused; what was built is kept
            }
            openNewSides(edge);
            attached += wasFloating ? 1 : 0;
        }
        return numberOfTriangles;
    }

private:
    /// Lets the two other sides of the triangle across the edge wait, measured by the normal of this side.
    void openNewSides(Edge const& edge) {
        Vector const normal = edge.vphi3().cross(edge.rot().vphi3());
        Edge side = edge.sym();
        for (int i = 0; i < 2; ++i) {
            side = side.rot();
            if (side.isBoundary()) {
                wait(side, normal);
            }
        }
    }

    void wait(Edge const& side, Vector const& normal) {
        unsigned long apex = 0;
        double rTSqr = 0.0;
        bool isApexFloating = false;
        if (mesh.getMinrTSqr(side.dest(), side.org(), links.nearest, links.counts, normal, &apex, &rTSqr,
                             &isApexFloating)) {
            candidates.push({{{side, isApexFloating}, static_cast<int>(apex)}, rTSqr});
        }
    }

    Mesh& mesh;
    NeighbourLinks links;
    MinHeap<Candidate> candidates;
};

void Mesh::construct(PointCloud::Cloud const& cloud) {
    clear();
    std::uint32_t const numberOfPoints = toUInt32(cloud.getNumberOfPoints());
    for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
        addVertex(Vertex(cloud.getPoint(i)));
    }
    NeighbourLinks const links = linkNeighbours();
    // A surface has about twice as many triangles as points; one that runs into itself has more. Then it is
    // grown once again with more room, so that the order of addresses is always that of making.
    for (std::size_t room = std::size_t{2} * numberOfPoints;; room *= 2) {
        triangles->startRun(room);
        AdvancingFront front(*this, links);
        front.plantSeed();
        if (front.grow() <= room) {
            return;
        }
        for (std::vector<Triangle*>& list : vertexTriangles) {
            list.assign(1, nullptr);
        }
        triangles->startSurface();
    }
}

/// Finds each point's nearest others; coincident points do not count.
Mesh::NeighbourLinks Mesh::linkNeighbours() const {
    NeighbourLinks links;
    double best = beyondAllDistances;
    NeighbourOrder order(vertices);
    std::uint32_t const numberOfPoints = toUInt32(vertices.size());
    links.nearest.resize(numberOfPoints);
    for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
        for (Neighbour const& neighbour : order.nearestOf(i)) {
            links.nearest[i].push_back(neighbour.gets());
            if (best > neighbour.gett()) {
                best = neighbour.gett();
                links.first = i;
                links.second = neighbour.gets();
                links.isAnyPair = true;
            }
        }
        links.counts.push_back(toUInt32(links.nearest[i].size()));
    }
    return links;
}

/// Whether a triangle with this apex can still be built on the edge: it is open, the triangle's sides do not
/// exist, and its corners lie on the front.
bool Mesh::getIsFrontReady(Edge const& edge, unsigned long apex) const {
    unsigned long const org = edge.org();
    unsigned long const dest = edge.dest();
    return edge.isBoundary() && !getDoesEdgeExist(dest, org, nullptr) &&
           !getDoesEdgeExist(org, apex, nullptr) && !getDoesEdgeExist(apex, dest, nullptr) &&
           getIsBoundaryVertex(org) && getIsBoundaryVertex(dest) && getIsBoundaryVertex(apex);
}

bool Mesh::getMinrTSqr(unsigned long a, unsigned long b, std::vector<std::vector<std::uint32_t>>& nearest,
                       std::vector<std::uint32_t>& counts, Vector const& normal, unsigned long* apex,
                       double* rTSqr, bool* apexWasFloating) const {
    Point const& pointA = vertices[a].getPoint3D();
    Point const& pointB = vertices[b].getPoint3D();
    double best = beyondAllDistances;
    bool isAny = false;
    bool isBestFloating = false;
    std::uint32_t bestApex = 0;
    std::optional<FrontAtSide> front;
    for (std::uint32_t i = 0; i < counts[a]; ++i) {
        std::uint32_t const w = nearest[a][i];
        bool const isFloating = getIsVertexFloating(w);
        if (!isFloating) {
            if (!getIsBoundaryVertex(w)) {
                continue;
            }
            if (!front) {
                front = {getEndOfLastSpoke(a), getEndOfLastSpoke(b)};
            }
            if (!front->isBeside(b, w)) {
                continue;
            }
        }
        Point const& pointW = vertices[w].getPoint3D();
        double const r = TriangleMeasures::rTSqr(pointA, pointB, pointW);
        if (best > r && normal.dot(TriangleMeasures::twoATN(pointA, pointB, pointW)) > 0.0) {
            best = r;
            bestApex = w;
            isBestFloating = isFloating;
            isAny = true;
        }
    }
    if (!isAny) {
        return false;
    }
    if (apexWasFloating != nullptr) {
        *apexWasFloating = isBestFloating;
    }
    // The link from the apex back to a stays.
    removeEdgeFromIndices(a, b, nearest, counts);
    removeEdgeFromIndices(b, bestApex, nearest, counts);
    *apex = bestApex;
    *rTSqr = best;
    return true;
}

/// Where the third side of the last triangle of the vertex' first fan ends.
unsigned long Mesh::getEndOfLastSpoke(unsigned long v) const {
    Edge const start = getVertexArbitraryEdge(v);
    Edge last = start;
    for (Edge next = last.onext(); next.triangle != nullptr && next != start; next = last.onext()) {
        last = next;
    }
    return last.rot().dest();
}

void Mesh::removeEdgeFromIndices(unsigned long a, unsigned long b,
                                 std::vector<std::vector<std::uint32_t>>& nearest,
                                 std::vector<std::uint32_t>& counts) {
    std::vector<std::uint32_t>& list = nearest[a];
    auto const end = list.begin() + counts[a];
    auto const found = std::find(list.begin(), end, toUInt32(b));
    if (found != end) {
        list.erase(found);
        --counts[a];
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
