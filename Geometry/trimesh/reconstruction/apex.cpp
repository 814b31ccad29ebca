#include "Geometry/trimesh/reconstruction/internal/apex.h"

#include "Geometry/foundations/trianglemeasures.h"

// The apex of a side a to b is the live neighbour of a that gives the smallest circumscribed circle, on the
// side that the normal of the neighbouring triangle points to. A floating vertex may always be one; a vertex
// of the surface only if it is on the boundary and the front leads past the side there. The limit of 1e300
// stands for infinity: a candidate in line with the side has an infinite or NaN radius and is never chosen.
//
// Odd on purpose: of the two tests of the front, the one at a does not look at the candidate, and it holds
// wherever the first fan of a ends with the side, which is the rule. Then any vertex of the front passes, and
// the radius decides; surfaces hang on that.
//
// Cost: a fan for each of up to 64 candidates, and two for the front.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr double beyondAllRadii = 1e300;

/// Where the front goes on from the two ends of an open side. Both are walked to when first asked for, which
/// no side with floating candidates alone needs.
class FrontAtSide {
public:
    FrontAtSide(Connectivity const& newSurface, std::uint32_t newA, std::uint32_t newB)
        : surface(newSurface), a(newA), b(newB) {}

    /// Whether the front leads from b on to w, or from a on to b. The latter says nothing about w: where it
    /// holds, every vertex of the front may be the apex.
    bool isBeside(std::uint32_t w) {
        if (!isWalked) {
            fromA = getEndOfLastSpoke(surface, a);
            fromB = getEndOfLastSpoke(surface, b);
            isWalked = true;
        }
        return fromB == w || fromA == b;
    }

private:
    Connectivity const& surface;
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t fromA = 0;
    std::uint32_t fromB = 0;
    bool isWalked = false;
};

} // namespace

std::optional<Apex> findApex(Connectivity const& surface, std::uint32_t a, std::uint32_t b,
                             std::span<std::uint32_t const> candidates, Vector const& normal) {
    Point const& pointA = surface.getPoint(a);
    Point const& pointB = surface.getPoint(b);
    FrontAtSide front(surface, a, b);
    double least = beyondAllRadii;
    std::optional<Apex> best;
    for (std::uint32_t const w : candidates) {
        bool const isFloating = surface.getIsFloating(w);
        if (!isFloating && !(surface.getIsOnBoundary(w) && front.isBeside(w))) {
            continue;
        }
        Point const& pointW = surface.getPoint(w);
        double const r = TriangleMeasures::rTSqr(pointA, pointB, pointW);
        if (least > r && normal.dot(TriangleMeasures::twoATN(pointA, pointB, pointW)) > 0.0) {
            least = r;
            best = {w, r, isFloating};
        }
    }
    return best;
}

std::uint32_t getEndOfLastSpoke(Connectivity const& surface, std::uint32_t v) {
    Edge last = surface.getArbitraryEdge(v);
    for (Edge const& spoke : Fan(last)) {
        last = spoke;
    }
    return toUInt32(last.rot().dest());
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
