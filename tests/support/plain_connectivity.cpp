#include "tests/support/plain_connectivity.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>

namespace QELT::Testing {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;

namespace {

std::size_t at(int triangle) {
    return static_cast<std::size_t>(triangle);
}

/// Counts the steps of a walk around a vertex: no fan has more of them than the mesh has sides.
class StepLimit {
public:
    explicit StepLimit(std::size_t numberOfTriangles) : left(3 * numberOfTriangles + 3) {}

    void step() {
        if (left-- == 0) {
            throw std::logic_error("endless walk around a vertex");
        }
    }

private:
    std::size_t left;
};

} // namespace

std::uint32_t PlainMesh::org(PlainEdge e) const {
    return triangles.at(at(e.triangle)).vertices[(e.side + 1) % 3];
}

std::uint32_t PlainMesh::dest(PlainEdge e) const {
    return triangles.at(at(e.triangle)).vertices[(e.side + 2) % 3];
}

PlainMesh::PlainEdge PlainMesh::rot(PlainEdge e) const {
    return {e.triangle, e.side == 2 || e.side == noSide ? 0 : e.side + 1};
}

PlainMesh::PlainEdge PlainMesh::sym(PlainEdge e) const {
    PlainTriangle const& triangle = triangles.at(at(e.triangle));
    return {triangle.neighbours.at(e.side), triangle.sides[e.side]};
}

PlainMesh::PlainEdge PlainMesh::onext(PlainEdge e) const {
    return sym(rot(rot(e)));
}

PlainMesh::PlainEdge PlainMesh::oprev(PlainEdge e) const {
    return rot(sym(e));
}

bool PlainMesh::isBoundary(PlainEdge e) const {
    return sym(e).triangle == none;
}

void PlainMesh::addVertex(Point const& newPoint) {
    vertices.push_back({newPoint, {}, {}});
    incidence.push_back({none});
}

bool PlainMesh::isFloating(std::uint32_t v) const {
    std::vector<int> const& list = incidence[v % vertices.size()];
    return !list.empty() && list.back() == none;
}

PlainMesh::PlainEdge PlainMesh::arbitraryEdge(std::uint32_t v) const {
    int const first = incidence[v % vertices.size()].at(0);
    if (first == none) {
        return {};
    }
    auto const& corners = triangles[at(first)].vertices;
    std::uint32_t k = 0;
    while (k < 2 && corners[k] != v) {
        ++k;
    }
    return {first, (k + 2) % 3};
}

bool PlainMesh::isBoundaryVertex(std::uint32_t v) const {
    PlainEdge const start = arbitraryEdge(v);
    StepLimit limit(triangles.size());
    PlainEdge e = start;
    do {
        if (e.triangle == none) {
            return true;
        }
        e = onext(e);
        limit.step();
    } while (e != start);
    return false;
}

int PlainMesh::makeTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    PlainTriangle triangle;
    triangle.vertices = {a, b, c};
    triangles.push_back(triangle);
    return static_cast<int>(triangles.size()) - 1;
}

bool PlainMesh::addFloatingTriangle(std::vector<std::uint32_t> const& indices) {
    if (indices.size() != 3) {
        return false;
    }
    for (std::uint32_t const v : indices) {
        if (!isFloating(v)) {
            return true;
        }
    }
    int const triangle = makeTriangle(indices[0], indices[1], indices[2]);
    for (std::uint32_t const v : indices) {
        incidence[v][0] = triangle;
    }
    return true;
}

bool PlainMesh::connect(int triangle, std::uint32_t i, int other, std::uint32_t j) {
    PlainTriangle& mine = triangles[at(triangle)];
    PlainTriangle& theirs = triangles[at(other)];
    if (mine.neighbours[i] != none && mine.neighbours[i] != other) {
        return false;
    }
    if (theirs.neighbours[j] != none && theirs.neighbours[j] != triangle) {
        return false;
    }
    partSide(triangle, i);
    partSide(other, j);
    mine.neighbours[i] = other;
    mine.sides[i] = j;
    theirs.neighbours[j] = triangle;
    theirs.sides[j] = i;
    return true;
}

void PlainMesh::partSide(int triangle, std::uint32_t side) {
    PlainEdge const across = sym({triangle, side});
    if (across.triangle != none) {
        for (PlainEdge const e : {across, PlainEdge{triangle, side}}) {
            triangles[at(e.triangle)].neighbours[e.side] = none;
            triangles[at(e.triangle)].sides[e.side] = noSide;
        }
    }
}

PlainMesh::PlainEdge PlainMesh::edgeFromVertex(int triangle, std::uint32_t v) const {
    for (std::uint32_t k = 0; k < 3; ++k) {
        if (triangles[at(triangle)].vertices[k] == v) {
            return {triangle, (k + 2) % 3};
        }
    }
    return {};
}

int PlainMesh::complementSide(int triangle, std::uint32_t a, std::uint32_t b) const {
    PlainEdge const fromB = edgeFromVertex(triangle, b);
    bool const isThere = fromB.triangle != none && dest(fromB) == a;
    return isThere ? static_cast<int>(fromB.side) : -1;
}

bool PlainMesh::addBoundaryTriangle(PlainEdge e, std::uint32_t w) {
    if (!isBoundary(e)) {
        return false;
    }
    return isFloating(w) ? addOnFloatingApex(e, w) : addOnAttachedApex(e, w);
}

bool PlainMesh::addOnFloatingApex(PlainEdge e, std::uint32_t w) {
    int const triangle = makeTriangle(dest(e), org(e), w);
    incidence[w][0] = triangle;
    return connect(e.triangle, e.side, triangle, 2);
}

bool PlainMesh::addOnAttachedApex(PlainEdge e, std::uint32_t w) {
    int const triangle = makeTriangle(org(e), w, dest(e));
    if (!connect(e.triangle, e.side, triangle, 1)) {
        return false;
    }
    for (std::uint32_t i = 0; i < 2; ++i) {
        std::array<std::uint32_t, 3> const corners = triangles[at(triangle)].vertices;
        for (std::uint32_t const v : corners) {
            if (!stitchAgainst(v, triangle, corners[i], corners[i + 1], (i + 2) % 3)) {
                return false;
            }
        }
    }
    return true;
}

/// Looks through the list of `v` for sides b to a and stitches them to that side, a to b, of the triangle.
bool PlainMesh::stitchAgainst(std::uint32_t v, int triangle, std::uint32_t a, std::uint32_t b,
                              std::uint32_t side) {
    int stitched = 0;
    std::vector<int> const listed = incidence[v];
    for (int const r : listed) {
        if (edgeFromVertex(r, v).triangle == none) {
            return false;
        }
        int const across = complementSide(r, a, b);
        if (across < 0) {
            continue;
        }
        if (!connect(r, static_cast<std::uint32_t>(across), triangle, side)) {
            return false;
        }
        ++stitched;
    }
    if (stitched == 0) {
        incidence[v].push_back(triangle);
    }
    return true;
}

bool PlainMesh::doesEdgeExist(std::uint32_t a, std::uint32_t b, PlainEdge* out) const {
    if (isFloating(a)) {
        return false;
    }
    for (int const r : incidence[a]) {
        PlainEdge const listed = edgeFromVertex(r, a);
        PlainEdge start = listed;
        if (isBoundaryVertex(a)) {
            do {
                if (oprev(start).triangle == none) {
                    break;
                }
                start = oprev(start);
            } while (start != listed);
        }
        PlainEdge e = start;
        do {
            if (dest(e) == b) {
                if (out != nullptr) {
                    *out = e;
                }
                return true;
            }
            e = onext(e);
        } while (e != start && e.triangle != none);
    }
    return false;
}

std::vector<int> PlainMesh::walkedTriangles() const {
    std::set<int> found;
    for (std::uint32_t v = 0; v < vertices.size(); ++v) {
        PlainEdge start = arbitraryEdge(v);
        if (start.triangle == none) {
            continue;
        }
        StepLimit limit(triangles.size());
        if (isBoundaryVertex(v)) {
            while (!isBoundary(start)) {
                start = oprev(start);
                limit.step();
            }
        }
        PlainEdge e = start;
        do {
            found.insert(e.triangle);
            e = onext(e);
            limit.step();
        } while (e != start && e.triangle != none);
    }
    return {found.begin(), found.end()};
}

void PlainMesh::clean() {
    std::vector<std::uint32_t> newIndex;
    std::uint32_t kept = 0;
    for (auto const& list : incidence) {
        newIndex.push_back(list.front() != none ? kept++ : 0xFFFFFFFFU);
    }
    if (kept == vertices.size()) {
        return;
    }
    for (PlainTriangle& triangle : triangles) {
        for (std::uint32_t& v : triangle.vertices) {
            v = newIndex[v];
        }
    }
    std::vector<PlainVertex> keptVertices;
    std::vector<std::vector<int>> keptLists;
    for (std::size_t v = 0; v < vertices.size(); ++v) {
        if (incidence[v].front() != none) {
            keptVertices.push_back(vertices[v]);
            keptLists.push_back(incidence[v]);
        }
    }
    vertices = keptVertices;
    incidence = keptLists;
}

Vector PlainMesh::way(PlainEdge e) const {
    return point(dest(e)) - point(org(e));
}

Vector PlainMesh::unitNormal(PlainEdge e) const {
    Vector const product = way(e).cross(way(rot(e)));
    return product / std::sqrt(product.dot(product));
}

Vector PlainMesh::inward(PlainEdge e) const {
    return unitNormal(e).cross(way(e));
}

Vector PlainMesh::normal(std::uint32_t v) const {
    bool const boundary = isBoundaryVertex(v);
    PlainEdge e = arbitraryEdge(v);
    Vector sum;
    StepLimit limit(triangles.size());
    if (boundary) {
        while (!isBoundary(e)) {
            e = oprev(e);
            limit.step();
        }
        sum += 0.5 * inward(e);
    }
    PlainEdge const start = e;
    std::vector<PlainEdge> fan;
    do {
        sum += 0.5 * inward(rot(e));
        fan.push_back(e);
        e = onext(e);
        limit.step();
    } while (e != start && e.triangle != none);
    if (e.triangle == none) {
        sum += 0.5 * inward(rot(rot(fan.back())));
    }
    Vector const candidate = fan.size() == 1 ? unitNormal(start) : sum / std::sqrt(sum.lSqr());
    auto const agrees = [&](PlainEdge spoke) { return unitNormal(spoke).dot(candidate) > 0.0; };
    return std::all_of(fan.begin(), fan.end(), agrees) ? candidate : -1.0 * candidate;
}

void PlainMesh::computeNormals() {
    for (std::uint32_t v = 0; v < vertices.size(); ++v) {
        vertices[v].normal = normal(v);
    }
}

} // namespace QELT::Testing
