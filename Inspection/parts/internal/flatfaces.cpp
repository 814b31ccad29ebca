#include "Inspection/parts/internal/flatfaces.h"

#include "Inspection/parts/internal/facechoice.h"
#include "Inspection/parts/internal/facetopology.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_set>
#include <utility>

// A face without area has one point, the middle, on the side between the two others. To leave it out would
// open a slit with that point on one lip only. So the face across the longest side, with the apex d, and the
// flat one are replaced by the two that the line from the middle to d divides the other into. That is not
// done where this line is a side already, where the side has more than two faces, or across another flat
// face. Faces that were changed wait for the next round, in which sides are listed anew; rounds end when
// nothing changes, or after a number that chains of flat faces beside one another hardly need. Cost: a sort
// of all sides a round.

namespace QELT::Inspection {

namespace {

constexpr std::size_t maxRounds = 64;

std::uint64_t keyOf(std::uint32_t a, std::uint32_t b) {
    return (std::uint64_t{std::min(a, b)} << 32U) | std::max(a, b);
}

double longestSideSqr(FaceMesh const& mesh, Face const& face) {
    auto const& points = mesh.points;
    return std::max({(points[face[1]] - points[face[0]]).lSqr(), (points[face[2]] - points[face[1]]).lSqr(),
                     (points[face[0]] - points[face[2]]).lSqr()});
}

bool isFlat(FaceMesh const& mesh, std::size_t face) {
    double const twiceArea = std::sqrt(normalOf(mesh, face).lSqr());
    return !(twiceArea > minHeightShare * longestSideSqr(mesh, mesh.faces[face]));
}

bool hasFlatFace(FaceMesh const& mesh) {
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        if (isFlat(mesh, i)) {
            return true;
        }
    }
    return false;
}

/// One round over the faces without area.
class FlatRound {
public:
    explicit FlatRound(FaceMesh& faceMesh)
        : mesh(faceMesh),
          before(faceMesh.faces),
          topology(before, faceMesh.points.size()),
          isKept(before.size(), true),
          isChanged(before.size(), false) {
        for (Corner corner = 0; corner < 3 * before.size(); ++corner) {
            sides.insert(keyOf(topology.pointAt(corner), topology.pointAt(nextCorner(corner))));
        }
    }

    std::size_t run() {
        std::size_t count = 0;
        for (std::size_t face = 0; face < before.size(); ++face) {
            if (!isChanged[face] && isFlat(mesh, face)) {
                count += mend(longestSideOf(face)) ? 1U : 0U;
            }
        }
        keepFaces(mesh, isKept);
        return count;
    }

private:
    FaceMesh& mesh;
    std::vector<Face> before;
    FaceTopology topology;
    std::vector<bool> isKept;
    std::vector<bool> isChanged;
    std::unordered_set<std::uint64_t> sides; ///< looked up only

    Corner longestSideOf(std::size_t face) const {
        auto const lengthSqr = [&](Corner corner) {
            return (mesh.points[topology.pointAt(nextCorner(corner))] - mesh.points[topology.pointAt(corner)])
                .lSqr();
        };
        Corner longest = 3 * face;
        for (Corner corner = longest + 1; corner < 3 * face + 3; ++corner) {
            longest = lengthSqr(corner) > lengthSqr(longest) ? corner : longest;
        }
        return longest;
    }

    bool mend(Corner longest) {
        auto const corners = topology.cornersAt(topology.sideOf(longest));
        if (corners.size() == 1) {
            isKept[longest / 3] = false;
            isChanged[longest / 3] = true;
            return true;
        }
        Corner const other = corners[0] == longest ? corners[1] : corners[0];
        return corners.size() == 2 && !isChanged[other / 3] && !isFlat(mesh, other / 3) &&
               divide(longest, other);
    }

    /// The face across, from p to q to the apex, becomes two: from p to the middle and from there to q.
    bool divide(Corner longest, Corner other) {
        std::uint32_t const middle = topology.pointAt(previousCorner(longest));
        std::uint32_t const apex = topology.pointAt(previousCorner(other));
        if (!sides.insert(keyOf(middle, apex)).second) {
            return false;
        }
        std::uint32_t const p = topology.pointAt(other);
        std::uint32_t const q = topology.pointAt(nextCorner(other));
        mesh.faces[longest / 3] = {p, middle, apex};
        mesh.faces[other / 3] = {middle, q, apex};
        isChanged[longest / 3] = true;
        isChanged[other / 3] = true;
        return true;
    }
};

} // namespace

std::size_t mendFlatFaces(FaceMesh& mesh) {
    std::size_t count = 0;
    for (std::size_t round = 0; round < maxRounds && hasFlatFace(mesh); ++round) {
        std::size_t const mended = FlatRound(mesh).run();
        count += mended;
        if (mended == 0) {
            break;
        }
    }
    return count;
}

} // namespace QELT::Inspection
