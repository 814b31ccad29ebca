#pragma once

#include "Geometry/trimesh/internal/surfacebuilder.h"
#include "Geometry/trimesh/reconstruction/internal/apex.h"
#include "Geometry/trimesh/reconstruction/internal/cloudorder.h"
#include "Geometry/trimesh/reconstruction/internal/minheap.h"
#include "Geometry/trimesh/reconstruction/internal/neighbourlinks.h"
#include "Geometry/trimesh/reconstruction/internal/sideindex.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// A surface that grows by its cheapest open side, as long as a vertex is left to reach. No vertex may be
/// attached at the start.
class AdvancingFront {
public:
    /// `newOrder` and `newLinks` must outlive it.
    AdvancingFront(SurfaceBuilder const& newBuilder, CloudOrder const& newOrder,
                   NeighbourLinks const& newLinks);

    /// Makes the first triangle, on the closest two points.
    /// \throws std::runtime_error "Cannot add floating triangle" if there is none.
    void plantSeed();

    /// Builds waiting triangles; the answer is how many there are in the end, the first one included.
    std::size_t grow();

private:
    /// What a vertex is to the front. It goes through these states in this order.
    enum class State : std::uint8_t {
        Floating,
        OnFront, ///< the first fan that the vertex lists is open
        Inside,
    };

    /// A triangle waiting to be built: a boundary edge, the apex, and the measure that it is ranked by.
    struct Candidate {
        double rTSqr = 0.0;
        Edge edge;
        std::uint32_t apex = 0;

        bool operator>(Candidate const& other) const { return rTSqr > other.rTSqr; }
    };

    std::optional<Apex> takeApex(std::uint32_t a, std::uint32_t b, Vector const& normal);
    std::optional<Apex> findApexAmongLinks(std::uint32_t a, std::uint32_t b, Vector const& normal) const;
    void useUpLink(std::uint32_t a, std::uint32_t b);

    bool getIsReady(Edge const& edge, std::uint32_t apex) const;
    bool getDoesSideExist(unsigned long a, unsigned long b) const;

    bool getIsInside(unsigned long v) const { return states[order.rankOf[v]] == State::Inside; }

    void attach(Edge const& edge, std::uint32_t apex);
    void enclose(Edge const& spoke);
    Vector getTriangleNormal(Edge const& side) const;
    void openNewSides(Edge const& edge);
    void wait(Edge const& side, Vector const& normal);

    SurfaceBuilder builder;
    Connectivity surface;
    CloudOrder const& order;
    NeighbourLinks const& links;
    std::vector<State> states;            ///< of each rank
    std::vector<std::uint64_t> liveLinks; ///< of each rank, a bit a link, the nearest in the lowest
    SideIndex sides;                      ///< by ranks
    MinHeap<Candidate> candidates;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
