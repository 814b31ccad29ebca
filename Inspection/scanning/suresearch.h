#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/scanning/beam.h"
#include "Inspection/scanning/hit.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace QELT::Inspection {

/// Finds the first quad along a beam, whatever came before: no beam is lost for where the last one ended.
/// What counts as meeting a quad is the core's own test of it, which gives point, distance and angle too. A
/// beam that the core lets pass between quads of a surface is `OnEdge` of one of them, never a hit behind it.
///
/// Only what lies in front of the beam's origin is met, from either side; the angle tells which, and
/// `setDoFlipNormals` turns it. Of several grids the first along the beam answers, in whatever group, and the
/// core's quality mode is not asked: it ranks one hit a grid, a frontal one before a nearer one from behind.
/// Which of two quads answers that lie in each other exactly is left open, but it is always the same one.
class QELT_INSPECTION_EXPORT SureSearch {
public:
    /// Over all quads of the grids. A corner that holds no numbers, or some beyond 1e18, takes its triangles
    /// with it. The grids stay the caller's, must outlive the search and not be changed meanwhile
    /// but for their offsets and flipped normals. They answer whatever their position: hand in active ones.
    /// Takes 85 to 120 bytes a quad, the more the fewer there
    /// are. Fails without that memory.
    explicit SureSearch(std::vector<Grid const*> const& grids);

    SureSearch(SureSearch const&) = delete;
    SureSearch(SureSearch&& other) noexcept;
    SureSearch& operator=(SureSearch const&) = delete;
    SureSearch& operator=(SureSearch&& other) noexcept;
    ~SureSearch();

    /// The quad's indices have their grid's offset, but no axis flips. A beam without a direction, or with
    /// numbers that are none, misses. Several threads may ask at a time.
    Hit find(Beam const& beam) const;

    /// What a probe meets at `place` that looks at the nearest surface: the quad there, at its distance, and
    /// the angle at which it is looked at, head-on but for a place inside the part, which looks from behind.
    /// A miss if the place lies beside the surface's rim, by more than half a quad and more than a third of
    /// its distance.
    Hit findNearest(Point const& place) const;

    /// Bytes held beside the grids.
    std::size_t getMemory() const;

private:
    struct Scene;

    std::unique_ptr<Scene const> scene;
};

} // namespace QELT::Inspection
