#include "Geometry/fitting/utility.h"
#include "Geometry/spatial/cloud.h"
#include "Geometry/trimesh/map.h"
#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/minheap.h"
#include "Geometry/trimesh/trianglearena.h"

#include <algorithm>
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

[[noreturn]] void throwNoSeed() {
    throw std::runtime_error("Cannot add floating triangle");
}

Candidate makeCandidate(Edge const& edge, bool isApexFloating, unsigned long apex, double rTSqr) {
    return {{{edge, isApexFloating}, static_cast<int>(apex)}, rTSqr};
}

} // namespace

/// The links by which points may still be joined, and the closest two of them.
struct Mesh::NeighbourLinks {
    std::vector<std::vector<std::uint32_t>> nearest;
    std::vector<std::uint32_t> counts;
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    bool isAnyPair = false;
};

void Mesh::construct(PointCloud::Cloud const& cloud) {
    clear();
    std::uint32_t const numberOfPoints = toUInt32(cloud.getNumberOfPoints());
    for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
        addVertex(Vertex(cloud.getPoint(i)));
    }
    NeighbourLinks links = linkNeighbours();
    unsigned long third = 0;
    double rTSqr = 0.0;
    if (!links.isAnyPair || !getMinrTSqr(links.first, links.second, links.nearest, links.counts,
                                         Vector(0.0, 0.0, 1.0), &third, &rTSqr, nullptr)) {
        throwNoSeed();
    }
    // A surface has about twice as many triangles as points.
    triangles->startRun(std::size_t{2} * numberOfPoints);
    if (!addFloatingTriangle({links.first, links.second, third})) {
        throwNoSeed();
    }
    MinHeap<Candidate> candidates;
    Edge edge = getVertexArbitraryEdge(third);
    for (int side = 0; side < 3; ++side) {
        unsigned long apex = 0;
        Vector const normal = edge.vphi3().cross(edge.rot().vphi3());
        if (getMinrTSqr(edge.dest(), edge.org(), links.nearest, links.counts, normal, &apex, &rTSqr,
                        nullptr)) {
            candidates.push(makeCandidate(edge, true, apex, rTSqr));
        }
        edge = edge.rot();
    }
    std::uint32_t attached = 3;
    while (attached < numberOfPoints && !candidates.getIsEmpty()) {
        Candidate const candidate = candidates.pop();
        edge = candidate.gets().gets().gets();
        auto const apex = static_cast<std::uint32_t>(candidate.gets().gett());
        bool const wasFloating = getIsVertexFloating(apex);
        if (!getIsFrontReady(edge, apex)) {
            continue;
        }
        if (!addBoundaryTriangle(edge, candidate.gets().gett())) {
            return;
        }
        Vector const normal = edge.vphi3().cross(edge.rot().vphi3());
        Edge side = edge.sym();
        for (int i = 0; i < 2; ++i) {
            side = side.rot();
            unsigned long nextApex = 0;
            bool isApexFloating = false;
            if (side.isBoundary() && getMinrTSqr(side.dest(), side.org(), links.nearest, links.counts, normal,
                                                 &nextApex, &rTSqr, &isApexFloating)) {
                candidates.push(makeCandidate(side, isApexFloating, nextApex, rTSqr));
            }
        }
        attached += wasFloating ? 1 : 0;
    }
}

/// Finds each point's nearest others, by a heap over all of them; coincident points do not count.
Mesh::NeighbourLinks Mesh::linkNeighbours() const {
    NeighbourLinks links;
    double best = beyondAllDistances;
    MinHeap<Neighbour> heap;
    std::uint32_t const numberOfPoints = toUInt32(vertices.size());
    links.nearest.resize(numberOfPoints);
    for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
        heap.clear();
        Point const& point = vertices[i].getPoint3D();
        for (std::uint32_t j = 0; j < numberOfPoints; ++j) {
            Point const& other = vertices[j].getPoint3D();
            if (j != i && point != other) {
                heap.push(Neighbour(j, point.dSqr(other)));
            }
        }
        while (!heap.getIsEmpty() && links.nearest[i].size() < numberOfNeighbours) {
            Neighbour const neighbour = heap.pop();
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
    for (std::uint32_t i = 0; i < counts[a]; ++i) {
        std::uint32_t const w = nearest[a][i];
        bool const isFloating = getIsVertexFloating(w);
        if (!isFloating && (!getIsBoundaryVertex(w) || !getIsBesideFront(a, b, w))) {
            continue;
        }
        Point const& pointW = vertices[w].getPoint3D();
        double const r = Utility::rTSqr(pointA, pointB, pointW);
        if (best > r && normal.dot(Utility::twoATN(pointA, pointB, pointW)) > 0.0) {
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

/// Whether the front leads from b on to w, or from a on to b.
bool Mesh::getIsBesideFront(unsigned long a, unsigned long b, unsigned long w) const {
    return getEndOfLastSpoke(b) == toUInt32(w) || getEndOfLastSpoke(a) == toUInt32(b);
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
