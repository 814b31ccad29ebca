#include "Geometry/trimesh/internal/trianglearena.h"

#include <algorithm>
#include <functional>
#include <new>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::size_t smallestRun = 256;

} // namespace

TriangleArena::~TriangleArena() {
    std::allocator<Triangle> allocator;
    for (Run const& run : runs) {
        std::destroy_n(run.triangles, run.size);
        allocator.deallocate(run.triangles, run.capacity);
    }
}

void TriangleArena::startRun(std::size_t count) {
    std::size_t const capacity = std::max(count, smallestRun);
    runs.reserve(runs.size() + 1);
    std::allocator<Triangle> allocator;
    runs.push_back({allocator.allocate(capacity), 0, 0, capacity});
}

void TriangleArena::startSurface() {
    for (Run& run : runs) {
        run.startOfSurface = run.size;
    }
}

Triangle* TriangleArena::create(Mesh* mesh, std::array<std::uint32_t, 3> const& indices) {
    if (runs.empty() || runs.back().size == runs.back().capacity) {
        startRun(runs.empty() ? smallestRun : 2 * runs.back().capacity);
    }
    Run& run = runs.back();
    Triangle* const triangle = new (run.triangles + run.size) Triangle(mesh, indices);
    ++run.size;
    return triangle;
}

std::vector<TriangleArena::Stretch> TriangleArena::getStretches() const {
    std::vector<Stretch> stretches;
    for (Run const& run : runs) {
        if (run.startOfSurface < run.size) {
            stretches.push_back({run.triangles + run.startOfSurface, run.size - run.startOfSurface});
        }
    }
    std::ranges::sort(stretches, std::less<>(), &Stretch::first);
    return stretches;
}

void TriangleArena::renumberVertices(std::vector<std::uint32_t> const& newIndex) {
    forEachOfSurface([&](Triangle& triangle) {
        for (std::uint32_t& index : triangle.vertexIndices) {
            index = index < newIndex.size() ? newIndex[index] : index;
        }
    });
}

void TriangleArena::removeLast() {
    Run& run = runs.back();
    --run.size;
    std::destroy_at(run.triangles + run.size);
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
