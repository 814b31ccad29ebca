#include "Geometry/trimesh/internal/facestitcher.h"

#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/internal/stitching.h"

#include <algorithm>
#include <numeric>

// The surface grows from the first face, and a face joins it where it shares a side with it. Which face is
// next decides how triangles are turned and numbered, and so what is saved and which fan a vertex shows; it
// is fixed by plain rounds: the faces stand in slots that are looked at in turn, round and round; a face that
// has one of its sides, taken the other way round, among the recorded open edges joins there, the face in the
// last slot moves into its place, and the look goes on behind that place.
//
// Those rounds can take the square of the number of faces. Instead of looking at every slot, the stitcher
// knows which faces would join: it counts for each face how many of its sides are recorded, and keeps the
// slots of those with one or more in order. A record of an open edge changes the counts of the faces that
// have the edge the other way round, which stand side by side in a list sorted by edge. So n faces take the
// time of n log n.
//
// Odd on purpose: only the side across which a face joins is taken off the record. A side that is closed on
// the way, because the new triangle lies against two others, stays recorded; a face that joins there cannot
// be built, which ends the construction with an error, as it would for the plain rounds.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t noSlot = 0xFFFFFFFFU;

} // namespace

FaceStitcher::FaceStitcher(SurfaceBuilder const& newBuilder, std::vector<Face> newFaces,
                           ProgressListener* const& ownersListener)
    : builder(newBuilder),
      listener(ownersListener),
      faces(std::move(newFaces)),
      vertexCount(builder.getConnectivity().getNumberOfVertices()),
      faceInSlot(faces.size()),
      slotOfFace(faces.size()),
      recordedSides(faces.size(), 0),
      readySlots(faces.size()) {
    std::iota(faceInSlot.begin(), faceInSlot.end(), 0U);
    std::iota(slotOfFace.begin(), slotOfFace.end(), 0U);
    seekers.reserve(3 * faces.size());
    for (std::uint32_t face = 0; face < faces.size(); ++face) {
        for (std::size_t k = 0; k < 3; ++k) {
            seekers.emplace_back(getKey(faces[face][(k + 1) % 3], faces[face][k]), face);
        }
    }
    std::sort(seekers.begin(), seekers.end());
}

void FaceStitcher::run() {
    builder.reserveTriangles(faces.size());
    Triangle* const first = addFirstFace();
    emptySlot(0);
    for (unsigned long side = 0; side < 3; ++side) {
        record(first->getEdge(side));
    }
    PercentageReporter progress(listener);
    std::uint32_t slot = 0;
    while (!faceInSlot.empty()) {
        slot = takeNextSlot(slot);
        Face const& face = faces[faceInSlot[slot]];
        emptySlot(slot);
        join(face);
        progress.reportShare(faces.size() - faceInSlot.size() - 1, faces.size());
        slot = slot + 1 < faceInSlot.size() ? slot + 1 : 0;
    }
}

Triangle* FaceStitcher::addFirstFace() {
    Face const& face = faces.front();
    if (!builder.addFloatingTriangle({face[0], face[1], face[2]})) {
        throwConstructionFailure();
    }
    return builder.getConnectivity().getArbitraryEdge(face[0]).getTriangle();
}

/// The next slot whose face would join, from `from` on and then from the first.
std::uint32_t FaceStitcher::takeNextSlot(std::uint32_t from) const {
    auto const next = readySlots.findAround(from);
    if (!next) {
        throwConstructionFailure(); // no face that is left shares a side with the surface
    }
    return *next;
}

void FaceStitcher::join(Face const& face) {
    for (std::size_t k = 0; k < 3; ++k) {
        std::uint32_t const a = face[k];
        std::uint32_t const b = face[(k + 1) % 3];
        auto const found = openEdges.find(getKey(b, a));
        if (found == openEdges.end()) {
            continue;
        }
        auto const edge = findSideFrom(*found->second, b);
        if (!edge || !builder.addBoundaryTriangle(*edge, face[(k + 2) % 3])) {
            throwConstructionFailure();
        }
        Edge const side = edge->sym();
        record(side.rot());
        record(side.rot().rot());
        erase(getKey(b, a));
        return;
    }
}

void FaceStitcher::record(Edge const& edge) {
    OpenEdgeKey const key = getKey(toUInt32(edge.org()), toUInt32(edge.dest()));
    if (openEdges.try_emplace(key, edge.getTriangle()).second) {
        updateSeekers(key, [this](std::uint32_t face) {
            if (recordedSides[face]++ == 0) {
                readySlots.insert(slotOfFace[face]);
            }
        });
    }
}

void FaceStitcher::erase(OpenEdgeKey key) {
    if (openEdges.erase(key) != 0) {
        updateSeekers(key, [this](std::uint32_t face) {
            if (--recordedSides[face] == 0) {
                readySlots.erase(slotOfFace[face]);
            }
        });
    }
}

template <class Change>
void FaceStitcher::updateSeekers(OpenEdgeKey key, Change change) {
    auto seeker = std::lower_bound(seekers.begin(), seekers.end(), std::pair(key, std::uint32_t{0}));
    for (; seeker != seekers.end() && seeker->first == key; ++seeker) {
        if (slotOfFace[seeker->second] != noSlot) {
            change(seeker->second);
        }
    }
}

/// Takes a face out of its slot and moves the last face there.
void FaceStitcher::emptySlot(std::uint32_t slot) {
    auto const lastSlot = static_cast<std::uint32_t>(faceInSlot.size() - 1);
    std::uint32_t const moved = faceInSlot[lastSlot];
    slotOfFace[faceInSlot[slot]] = noSlot;
    readySlots.erase(slot);
    if (lastSlot != slot) {
        faceInSlot[slot] = moved;
        slotOfFace[moved] = slot;
        if (readySlots.erase(lastSlot)) {
            readySlots.insert(slot);
        }
    }
    faceInSlot.pop_back();
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
