#include "Geometry/trimesh/internal/surfacebuilder.h"

#include <utility>

// Triangles are stitched side to side, and a vertex lists one triangle of each of its fans. A new triangle
// stands on a boundary edge. With a floating apex there is nothing else to stitch. With an attached one its
// two other sides may lie against triangles that are there: those which the three corners list are asked,
// side by side and corner by corner. That order decides which of several stitches is made, and where nothing
// lies against a side the triangle joins the corner's list; so a list may grow longer than the number of
// fans, and a triangle inside a fan that its corner does not list is not found. Both are kept: the order of
// lists decides which fan a vertex shows, and with it the boundary, the flat map and what is saved.
//
// A new triangle asks for time with the lengths of the lists, which is nearly always one.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t dropped = 0xFFFFFFFFU;

} // namespace

void SurfaceBuilder::reserveVertices(std::size_t count) const {
    vertices.reserve(count);
    vertexTriangles.reserve(vertices.capacity());
}

void SurfaceBuilder::addVertex(Vertex const& vertex) const {
    vertices.push_back(vertex);
    try {
        vertexTriangles.emplace_back(1, nullptr);
    } catch (...) {
        vertices.pop_back();
        throw;
    }
}

bool SurfaceBuilder::addFloatingTriangle(std::vector<unsigned long> const& indices) const {
    if (indices.size() != 3) {
        return false;
    }
    for (unsigned long const v : indices) {
        if (!getConnectivity().getIsFloating(v)) {
            return true;
        }
    }
    Triangle* const triangle =
        triangles.create(&owner, {toUInt32(indices[0]), toUInt32(indices[1]), toUInt32(indices[2])});
    for (unsigned long const v : indices) {
        getTrianglesAt(v).front() = triangle;
    }
    return true;
}

bool SurfaceBuilder::addBoundaryTriangle(Edge const& e, std::uint32_t w) const {
    if (!e.isBoundary()) {
        return false;
    }
    return getConnectivity().getIsFloating(w) ? addWithFloatingApex(e, w) : addWithAttachedApex(e, w);
}

bool SurfaceBuilder::addWithFloatingApex(Edge const& e, std::uint32_t w) const {
    Triangle* const triangle = triangles.create(&owner, {toUInt32(e.dest()), toUInt32(e.org()), w});
    getTrianglesAt(w).front() = triangle;
    return e.triangle->connect(e.triangleEdgeIndex, triangle, 2);
}

bool SurfaceBuilder::addWithAttachedApex(Edge const& e, std::uint32_t w) const {
    Triangle* const triangle = triangles.create(&owner, {toUInt32(e.org()), w, toUInt32(e.dest())});
    try {
        return e.triangle->connect(e.triangleEdgeIndex, triangle, 1) && stitchSidesAtApex(triangle);
    } catch (...) {
        takeOut(triangle);
        throw;
    }
}

/// Stitches the two sides of a new triangle that meet in its apex, which is its second vertex.
bool SurfaceBuilder::stitchSidesAtApex(Triangle* triangle) const {
    for (std::uint32_t i = 0; i < 2; ++i) {
        for (std::uint32_t const v : triangle->vertexIndices) {
            if (!stitchSide(triangle, i, v)) {
                return false;
            }
        }
    }
    return true;
}

/// Undoes all that was done for the triangle made last: a stitch never parts others.
void SurfaceBuilder::takeOut(Triangle* triangle) const {
    for (std::uint32_t side = 0; side < 3; ++side) {
        triangle->release(side);
        std::erase(getTrianglesAt(triangle->vertexIndices[side]), triangle);
    }
    triangles.removeLast();
}

/// Stitches the side of `triangle` that runs from its vertex number `side` to the next to the triangles
/// listed at vertex `v` that have it the other way round. If there is none, `triangle` joins the list.
bool SurfaceBuilder::stitchSide(Triangle* triangle, std::uint32_t side, std::uint32_t v) const {
    std::uint32_t const a = triangle->vertexIndices[side];
    std::uint32_t const b = triangle->vertexIndices[side + 1];
    std::vector<Triangle*>& list = getTrianglesAt(v);
    bool isStitched = false;
    for (Triangle* const listed : list) {
        Edge spoke;
        if (listed == nullptr || !listed->getEdgeFromVertexIndex(v, &spoke)) {
            return false;
        }
        int opposite = -1;
        listed->getDoesContainEdgeCompliment(a, b, &opposite);
        if (opposite < 0) {
            continue;
        }
        if (!listed->connect(static_cast<std::uint32_t>(opposite), triangle, side + 2)) {
            return false;
        }
        isStitched = true;
    }
    if (!isStitched) {
        list.push_back(triangle);
    }
    return true;
}

void SurfaceBuilder::clear() const {
    triangles.startSurface();
    vertexTriangles.clear();
    vertices.clear();
}

void SurfaceBuilder::clearTriangles() const {
    for (std::vector<Triangle*>& list : vertexTriangles) {
        list.assign(1, nullptr);
    }
    triangles.startSurface();
}

void SurfaceBuilder::dropFloatingVertices() const {
    std::vector<std::uint32_t> newIndex(vertices.size(), dropped);
    std::uint32_t kept = 0;
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (getConnectivity().getIsAttached(v)) {
            newIndex[v] = kept++;
        }
    }
    if (kept == vertices.size()) {
        return;
    }
    std::vector<Vertex> keptVertices;
    std::vector<std::vector<Triangle*>> keptVertexTriangles;
    keptVertices.reserve(kept);
    keptVertexTriangles.reserve(kept);
    // All memory is there: from here on nothing throws.
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (newIndex[v] != dropped) {
            keptVertices.push_back(vertices[v]);
            keptVertexTriangles.push_back(std::move(vertexTriangles[v]));
        }
    }
    triangles.renumberVertices(newIndex);
    vertices = std::move(keptVertices);
    vertexTriangles = std::move(keptVertexTriangles);
}

void SurfaceBuilder::renumber(std::vector<std::uint32_t> const& newIndex) const {
    std::vector<Vertex> const oldVertices = vertices;
    std::vector<std::vector<Triangle*>> newVertexTriangles(newIndex.size());
    // All memory is there: from here on nothing throws.
    for (std::size_t i = 0; i < newIndex.size(); ++i) {
        vertices[newIndex[i]] = oldVertices[i];
        newVertexTriangles[newIndex[i]] = std::move(vertexTriangles[i]);
    }
    vertexTriangles = std::move(newVertexTriangles);
    triangles.renumberVertices(newIndex);
}

/// The twins' lists come last: without the vertices they must not stay.
void SurfaceBuilder::makeRoomForTwins(std::size_t count) const {
    vertices.reserve(vertices.size() + count);
    vertexTriangles.resize(vertices.size() + count, {nullptr});
}

std::uint32_t SurfaceBuilder::addTwin(std::uint32_t v, Triangle* ofTwin, Triangle* ofVertex) const {
    std::uint32_t const twin = toUInt32(vertices.size());
    Point const point = vertices[v].getPoint3D();
    vertices.emplace_back(point);
    vertexTriangles[twin].front() = ofTwin;
    vertexTriangles[v].front() = ofVertex;
    return twin;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
