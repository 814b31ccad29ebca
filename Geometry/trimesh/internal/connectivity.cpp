#include "Geometry/trimesh/internal/connectivity.h"

#include <algorithm>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// Looks through the fan of `start` for the spoke that ends at `b`. An open fan is rewound to its first
/// spoke. This walk is not that of `Fan::whole`: whether it rewinds is decided by the vertex's first fan, and
/// `start` may lie in another one, which is closed although the vertex counts as boundary, or open although
/// it does not. Then an open fan is seen from `start` on alone.
std::optional<Edge> findSpoke(Edge const& start, bool isBoundaryVertex, std::uint32_t b) {
    for (Edge const& spoke : isBoundaryVertex ? Fan::whole(start) : Fan(start)) {
        if (spoke.dest() == b) {
            return spoke;
        }
    }
    return std::nullopt;
}

} // namespace

bool Connectivity::getIsAttached(unsigned long v) const {
    if (toUInt32(v) >= vertexTriangles.size()) {
        return false;
    }
    std::vector<Triangle*> const& list = vertexTriangles[toUInt32(v)];
    return !list.empty() && list.front() != nullptr;
}

Edge Connectivity::getArbitraryEdge(unsigned long v) const {
    Triangle* const triangle = getTrianglesAt(v).front();
    if (triangle == nullptr) {
        return Edge(nullptr, Triangle::invalidEdgeIndex);
    }
    // A vertex that the triangle does not have answers as if it were the last. Which it is depends on how the
    // surface grew: a branch would be wrong as often as not.
    auto const getIsOther = [&](std::size_t k) {
        return triangle->vertexIndices[k] != toUInt32(v) ? 1U : 0U;
    };
    std::uint32_t const k = getIsOther(0) * (1U + getIsOther(1));
    return triangle->getEdge(k + 2);
}

std::optional<Edge> Connectivity::findEdge(unsigned long a, unsigned long b) const {
    if (getIsFloating(a)) {
        return std::nullopt;
    }
    bool const isBoundaryVertex = getIsOnBoundary(a);
    for (Triangle* const listed : getTrianglesAt(a)) {
        Edge start;
        if (listed == nullptr || !listed->getEdgeFromVertexIndex(a, &start)) {
            continue;
        }
        if (auto const spoke = findSpoke(start, isBoundaryVertex, toUInt32(b))) {
            return spoke;
        }
    }
    return std::nullopt;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
