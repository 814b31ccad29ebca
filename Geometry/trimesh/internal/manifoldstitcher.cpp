#include "Geometry/trimesh/internal/manifoldstitcher.h"

#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/internal/stitching.h"

#include <numeric>

// The rounds of facestitcher.cpp, for the faces of nearly all files: no vertex twice in a face, and no side
// twice in the same direction. Then a side's recorded edge is waited for by one face alone, its mate, and
// nothing need be looked up: an edge is recorded if its face is built and was not joined across it, and it is
// taken off the record by the one face that could ask again. A face is ready once one of its mates' sides is
// recorded, and stays so until it is built.
//
// So a face takes a few steps, in memory those of its mates, and one for each factor of 64 in the number of
// slots (slotset.h).

namespace QELT::Geometry::ThreeDimensional::TriMesh {

ManifoldStitcher::ManifoldStitcher(SurfaceBuilder const& newBuilder, std::vector<Face> const& newFaces,
                                   std::vector<FaceSides> const& mates,
                                   ProgressListener* const& ownersListener)
    : builder(newBuilder),
      listener(ownersListener),
      faces(newFaces),
      faceInSlot(newFaces.size()),
      readySlots(newFaces.size()) {
    std::iota(faceInSlot.begin(), faceInSlot.end(), 0U);
    knownOf.reserve(faces.size());
    for (FaceSides const& matesOfFace : mates) {
        knownOf.push_back({matesOfFace, static_cast<std::uint32_t>(knownOf.size()), nullptr, noMate});
    }
}

void ManifoldStitcher::run() {
    builder.reserveTriangles(faces.size());
    addFirstFace();
    PercentageReporter progress(listener);
    std::uint32_t slot = 0;
    while (!faceInSlot.empty()) {
        slot = takeNextSlot(slot);
        std::uint32_t const face = faceInSlot[slot];
        emptySlot(slot);
        join(face);
        progress.reportShare(faces.size() - faceInSlot.size() - 1, faces.size());
        slot = slot + 1 < faceInSlot.size() ? slot + 1 : 0;
    }
}

void ManifoldStitcher::addFirstFace() {
    Face const& face = faces.front();
    if (!builder.addFloatingTriangle({face[0], face[1], face[2]})) {
        throwConstructionFailure();
    }
    emptySlot(0);
    knownOf.front().triangle = builder.getConnectivity().getArbitraryEdge(face[0]).getTriangle();
    announce(knownOf.front());
}

/// The next slot whose face would join, from `from` on and then from the first.
std::uint32_t ManifoldStitcher::takeNextSlot(std::uint32_t from) const {
    auto const next = readySlots.findAround(from);
    if (!next) {
        throwConstructionFailure(); // no face that is left shares a side with the surface
    }
    return *next;
}

/// Builds the face across the first of its sides that is recorded.
void ManifoldStitcher::join(std::uint32_t face) {
    Known& known = knownOf[face];
    for (std::uint32_t k = 0; k < 3; ++k) {
        std::uint32_t const mate = known.mates[k];
        if (mate == noMate) {
            continue;
        }
        Known const& neighbour = knownOf[mate / 3];
        if (neighbour.triangle == nullptr || neighbour.joinedSide == mate % 3) {
            continue;
        }
        auto const edge = findSideFrom(*neighbour.triangle, faces[face][(k + 1) % 3]);
        if (!edge || !builder.addBoundaryTriangle(*edge, faces[face][(k + 2) % 3])) {
            throwConstructionFailure();
        }
        known.triangle = edge->sym().getTriangle();
        known.joinedSide = k;
        announce(known);
        return;
    }
}

/// Lets those that wait for a side of a face know that it was built.
void ManifoldStitcher::announce(Known const& known) {
    for (std::uint32_t k = 0; k < 3; ++k) {
        std::uint32_t const mate = known.mates[k];
        if (mate != noMate && k != known.joinedSide && knownOf[mate / 3].triangle == nullptr) {
            readySlots.insert(knownOf[mate / 3].slot);
        }
    }
}

/// Takes a face out of its slot and moves the last face there.
void ManifoldStitcher::emptySlot(std::uint32_t slot) {
    auto const lastSlot = static_cast<std::uint32_t>(faceInSlot.size() - 1);
    std::uint32_t const moved = faceInSlot[lastSlot];
    readySlots.erase(slot);
    if (lastSlot != slot) {
        faceInSlot[slot] = moved;
        knownOf[moved].slot = slot;
        if (readySlots.erase(lastSlot)) {
            readySlots.insert(slot);
        }
    }
    faceInSlot.pop_back();
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
