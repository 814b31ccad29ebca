#pragma once

#include "Geometry/trimesh/triangle.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The memory in which a mesh keeps its triangles. They never move, and all are released together with the
/// arena. Triangles made after `startRun` lie one behind the other in one run of memory as long as there are
/// no more of them than announced, so that the order of their addresses is the order in which they were made.
class TriangleArena {
public:
    TriangleArena() = default;
    TriangleArena(TriangleArena const&) = delete;
    TriangleArena& operator=(TriangleArena const&) = delete;
    ~TriangleArena();

    /// Announces that about `count` triangles come next.
    void startRun(std::size_t count);

    /// A new triangle with these vertices and no neighbours.
    Triangle* create(Mesh* mesh, std::vector<unsigned long> const& indices);

    /// Ends the triangle made last. It may not be asked twice in a row.
    void removeLast();

private:
    struct Run {
        Triangle* triangles;
        std::size_t size;
        std::size_t capacity;
    };

    std::vector<Run> runs;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
