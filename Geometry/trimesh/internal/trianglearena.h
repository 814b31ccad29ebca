#pragma once

#include "Geometry/trimesh/triangle.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The memory in which a mesh keeps its triangles. They never move, and all are released together with the
/// arena. Triangles made after `startRun` lie one behind the other in one run of memory as long as there are
/// no more of them than announced, so that the order of their addresses is the order in which they were made.
/// Triangles of earlier surfaces stay readable beside those of the present one.
class TriangleArena {
public:
    TriangleArena() = default;
    TriangleArena(TriangleArena const&) = delete;
    TriangleArena& operator=(TriangleArena const&) = delete;
    ~TriangleArena();

    /// Announces that about `count` triangles come next.
    void startRun(std::size_t count);

    /// Makes all triangles so far those of an earlier surface.
    void startSurface();

    /// Visits the triangles made since, in the order of their making.
    template <class Visit>
    void forEachOfSurface(Visit visit) {
        for (Run const& run : runs) {
            std::for_each(run.triangles + run.startOfSurface, run.triangles + run.size, visit);
        }
    }

    /// Triangles of the present surface that lie one behind the other.
    struct Stretch {
        Triangle* first;
        std::size_t size;
    };

    /// All of them, in the order of their addresses.
    std::vector<Stretch> getStretches() const;

    /// Gives the triangles of the present surface the new numbers of their vertices; an index beyond the list
    /// stays. Every triangle is there, whether `Mesh::getTriangles` sees it or not: navigation leads to all.
    void renumberVertices(std::vector<std::uint32_t> const& newIndex);

    /// A new triangle with these vertices and no neighbours.
    Triangle* create(Mesh* mesh, std::array<std::uint32_t, 3> const& indices);

    /// Ends the triangle made last. It may not be asked twice in a row.
    void removeLast();

private:
    struct Run {
        Triangle* triangles;
        std::size_t size;
        std::size_t startOfSurface; ///< how many in front belong to earlier surfaces
        std::size_t capacity;
    };

    std::vector<Run> runs;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
