#pragma once

#include "Geometry/foundations/progresslistener.h"
#include "Geometry/trimesh/internal/facemates.h"
#include "Geometry/trimesh/internal/slotset.h"
#include "Geometry/trimesh/internal/surfacebuilder.h"

#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// Builds what `FaceStitcher` builds, of faces whose sides have one mate each at most: see `findMates`.
class ManifoldStitcher {
public:
    /// `ownersListener`, `newFaces` and `mates` must outlive the stitcher. There must be a face.
    ManifoldStitcher(SurfaceBuilder const& newBuilder, std::vector<Face> const& newFaces,
                     std::vector<FaceSides> const& mates, ProgressListener* const& ownersListener);

    /// \throws std::runtime_error "Mesh construction failure".
    void run();

private:
    /// What is known of a face. While it waits it has a slot, and once it is built a triangle.
    struct Known {
        FaceSides mates;
        std::uint32_t slot;
        Triangle* triangle;
        std::uint32_t joinedSide; ///< across which it was built; noMate if it was the first
    };

    std::uint32_t takeNextSlot(std::uint32_t from) const;
    void addFirstFace();
    void join(std::uint32_t face);
    void announce(Known const& known);
    void emptySlot(std::uint32_t slot);

    SurfaceBuilder builder;
    ProgressListener* const& listener;
    std::vector<Face> const& faces;
    std::vector<Known> knownOf;
    std::vector<std::uint32_t> faceInSlot;
    SlotSet readySlots;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
