#include "Geometry/trimesh/internal/facestitcher.h"

#include "Geometry/trimesh/internal/trianglearena.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t noSlot = 0xFFFFFFFFU;

[[noreturn]] void throwConstructionFailure() {
    throw std::runtime_error("Mesh construction failure");
}

} // namespace

void checkFaces(std::vector<Face> const& faces, std::size_t vertexCount) {
    for (Face const& face : faces) {
        for (std::uint32_t const index : face) {
            if (index >= vertexCount) {
                throw std::runtime_error("Invalid vertex index");
            }
        }
    }
}

Mesh::FaceStitcher::FaceStitcher(Mesh& newMesh, std::vector<Face> newFaces)
    : mesh(newMesh),
      faces(std::move(newFaces)),
      vertexCount(toUInt32(newMesh.vertices.size())),
      faceInSlot(faces.size()),
      slotOfFace(faces.size()),
      recordedSides(faces.size(), 0) {
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

void Mesh::FaceStitcher::run() {
    if (faces.empty()) {
        throwConstructionFailure();
    }
    mesh.triangles->startRun(faces.size());
    Triangle* const first = addFirstFace();
    emptySlot(0);
    for (unsigned long side = 0; side < 3; ++side) {
        record(first->getEdge(side));
    }
    PercentageReporter progress(mesh.progressListener);
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

Triangle* Mesh::FaceStitcher::addFirstFace() {
    Face const& face = faces.front();
    if (!mesh.addFloatingTriangle({face[0], face[1], face[2]})) {
        throwConstructionFailure();
    }
    return mesh.vertexTriangles[face[0]].front();
}

/// The next slot whose face would join, from `from` on and then from the first.
std::uint32_t Mesh::FaceStitcher::takeNextSlot(std::uint32_t from) const {
    auto next = readySlots.lower_bound(from);
    if (next == readySlots.end()) {
        next = readySlots.begin();
    }
    if (next == readySlots.end()) {
        throwConstructionFailure(); // no face that is left shares a side with the surface
    }
    return *next;
}

void Mesh::FaceStitcher::join(Face const& face) {
    for (std::size_t k = 0; k < 3; ++k) {
        std::uint32_t const a = face[k];
        std::uint32_t const b = face[(k + 1) % 3];
        auto const found = openEdges.find(getKey(b, a));
        if (found == openEdges.end()) {
            continue;
        }
        Edge edge;
        if (!found->second->getEdgeFromVertexIndex(b, &edge) ||
            !mesh.addBoundaryTriangle(edge, static_cast<int>(face[(k + 2) % 3]))) {
            throwConstructionFailure();
        }
        Edge const side = edge.sym();
        record(side.rot());
        record(side.rot().rot());
        erase(getKey(b, a));
        return;
    }
}

void Mesh::FaceStitcher::record(Edge const& edge) {
    OpenEdgeKey const key = getKey(toUInt32(edge.org()), toUInt32(edge.dest()));
    if (openEdges.try_emplace(key, edge.getTriangle()).second) {
        updateSeekers(key, [this](std::uint32_t face) {
            if (recordedSides[face]++ == 0) {
                readySlots.insert(slotOfFace[face]);
            }
        });
    }
}

void Mesh::FaceStitcher::erase(OpenEdgeKey key) {
    if (openEdges.erase(key) != 0) {
        updateSeekers(key, [this](std::uint32_t face) {
            if (--recordedSides[face] == 0) {
                readySlots.erase(slotOfFace[face]);
            }
        });
    }
}

template <class Change>
void Mesh::FaceStitcher::updateSeekers(OpenEdgeKey key, Change change) {
    auto seeker = std::lower_bound(seekers.begin(), seekers.end(), std::pair(key, std::uint32_t{0}));
    for (; seeker != seekers.end() && seeker->first == key; ++seeker) {
        if (slotOfFace[seeker->second] != noSlot) {
            change(seeker->second);
        }
    }
}

/// Takes a face out of its slot and moves the last face there.
void Mesh::FaceStitcher::emptySlot(std::uint32_t slot) {
    auto const lastSlot = static_cast<std::uint32_t>(faceInSlot.size() - 1);
    std::uint32_t const moved = faceInSlot[lastSlot];
    slotOfFace[faceInSlot[slot]] = noSlot;
    readySlots.erase(slot);
    if (lastSlot != slot) {
        faceInSlot[slot] = moved;
        slotOfFace[moved] = slot;
        if (readySlots.erase(lastSlot) != 0) {
            readySlots.insert(slot);
        }
    }
    faceInSlot.pop_back();
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
