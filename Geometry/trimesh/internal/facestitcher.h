#pragma once

#include "Geometry/foundations/progresslistener.h"
#include "Geometry/trimesh/internal/slotset.h"
#include "Geometry/trimesh/internal/surfacebuilder.h"
#include "Geometry/trimesh/mesh.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// Builds the connectivity of a mesh from faces: the surface grows from the first face, and faces join it one
/// at a time where they share a side with it.
class FaceStitcher {
public:
    /// `ownersListener` must outlive the stitcher. There must be a face.
    FaceStitcher(SurfaceBuilder const& newBuilder, std::vector<Face> newFaces,
                 ProgressListener* const& ownersListener);

    /// \throws std::runtime_error "Mesh construction failure".
    void run();

private:
    /// A directed edge as one number, in an order of its end and then its start.
    using OpenEdgeKey = std::uint64_t;

    OpenEdgeKey getKey(std::uint32_t org, std::uint32_t dest) const {
        return std::uint64_t{vertexCount} * dest + org;
    }

    Triangle* addFirstFace();
    std::uint32_t takeNextSlot(std::uint32_t from) const;
    void join(Face const& face);
    void record(Edge const& edge);
    void erase(OpenEdgeKey key);
    template <class Change>
    void updateSeekers(OpenEdgeKey key, Change change);
    void emptySlot(std::uint32_t slot);

    SurfaceBuilder builder;
    ProgressListener* const& listener;
    std::vector<Face> faces;
    std::uint32_t vertexCount;

    /// The recorded open edges. A record is never overwritten, and one whose edge was stitched on the way
    /// stays.
    std::unordered_map<OpenEdgeKey, Triangle*> openEdges;

    /// Which faces have a side that runs against that edge, sorted by edge.
    std::vector<std::pair<OpenEdgeKey, std::uint32_t>> seekers;

    std::vector<std::uint32_t> faceInSlot;
    std::vector<std::uint32_t> slotOfFace;
    std::vector<std::uint32_t> recordedSides;
    SlotSet readySlots;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
