#include "Geometry/trimesh/reconstruction/internal/apex.h"

// The apex of a side a to b is the live neighbour of a that gives the smallest circumscribed circle, on the
// side that the normal of the neighbouring triangle points to. A floating vertex may always be one; a vertex
// of the surface only if it is on the boundary and the front leads past the side there. The limit of 1e300
// stands for infinity: a candidate in line with the side has an infinite or NaN radius and is never chosen.
//
// Odd on purpose: of the two tests of the front, the one at a does not look at the candidate, and it holds
// wherever the first fan of a ends with the side, which is the rule. Then any vertex of the front passes, and
// the radius decides; surfaces hang on that.
//
// Candidates come nearest first. The measure of a circle is at least a sixteenth of the squared distance from
// a, also as it is computed: the product of two squared sides is never less than the squared cross product,
// and what roundings in double precision add is far below the share of 1e-5 that is left for the distance's
// own, in single precision. So the search can end at a distance at which even that is more than the best one
// has, mostly after a dozen of the 64.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

bool FrontAtSide::getIsBeside(std::uint32_t w) {
    if (!isWalkedFromA) {
        fromA = getEndOfLastSpoke(surface, a);
        isWalkedFromA = true;
    }
    if (fromA == b) {
        return true;
    }
    if (!isWalkedFromB) {
        fromB = getEndOfLastSpoke(surface, b);
        isWalkedFromB = true;
    }
    return fromB == w;
}

std::optional<Apex> findApex(Connectivity const& surface, std::uint32_t a, std::uint32_t b,
                             std::span<std::uint32_t const> candidates, Vector const& normal) {
    ApexChoice choice(surface.getPoint(a), surface.getPoint(b), normal);
    FrontAtSide front(surface, a, b);
    for (std::uint32_t const w : candidates) {
        bool const isFloating = surface.getIsFloating(w);
        if (isFloating || (surface.getIsOnBoundary(w) && front.getIsBeside(w))) {
            choice.consider(w, surface.getPoint(w), isFloating);
        }
    }
    return choice.get();
}

std::uint32_t getEndOfLastSpoke(Connectivity const& surface, std::uint32_t v) {
    Edge last = surface.getArbitraryEdge(v);
    for (Edge const& spoke : Fan(last)) {
        last = spoke;
    }
    return toUInt32(last.rot().dest());
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
