#pragma once

#include "Geometry/trimesh/edge.h"

#include <cstddef>
#include <iterator>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The edges out of one vertex, in the order of `Edge::onext`, for a loop over them:
///
///     for (Edge const& spoke : Fan(start)) ...
///
/// They end in front of the boundary, or where they come round to `start` again. A start without a triangle
/// gives an empty fan. The walk looks at no more than how triangles are stitched, so a loop may change
/// vertices and their numbers on its way, but no stitch.
class Fan {
public:
    /// Goes around the vertex edge by edge.
    class Iterator {
    public:
        using value_type = Edge;
        using difference_type = std::ptrdiff_t;

        explicit Iterator(Edge const& newStart)
            : start(newStart), edge(newStart), hasEnded(newStart.getTriangle() == nullptr) {}

        Edge const& operator*() const { return edge; }

        Edge const* operator->() const { return &edge; }

        Iterator& operator++() {
            edge = edge.onext();
            hasEnded = edge.getTriangle() == nullptr || edge == start;
            return *this;
        }

        void operator++(int) { ++*this; }

        bool operator==(std::default_sentinel_t) const { return hasEnded; }

    private:
        Edge start;
        Edge edge;
        bool hasEnded;
    };

    /// The edges from `newStart` on.
    explicit Fan(Edge const& newStart) : start(newStart) {}

    /// All edges of the fan that `spoke` belongs to: from the boundary on, or from `spoke` on around an inner
    /// vertex.
    static Fan whole(Edge const& spoke) {
        Edge first = spoke;
        while (first.getTriangle() != nullptr && !first.isBoundary()) {
            first = first.oprev();
            if (first == spoke) {
                break;
            }
        }
        return Fan(first);
    }

    Iterator begin() const { return Iterator(start); }

    std::default_sentinel_t end() const { return std::default_sentinel; }

    /// Whether the boundary, or no triangle at all, lies in front of the first edge: of a whole fan, whether
    /// its vertex is on the boundary.
    bool getStartsAtBoundary() const { return start.getTriangle() == nullptr || start.isBoundary(); }

private:
    Edge start;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
