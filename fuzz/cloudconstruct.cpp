// Clouds of points: whatever they are, `construct` ends with a mesh or with an exception, and the mesh can be
// walked, flattened and cut.

#include "fuzz/meshuse.h"

#include <algorithm>
#include <cstdint>

using namespace QELT::Geometry::ThreeDimensional;
using QELT::Fuzzing::cutAllWays;
using QELT::Fuzzing::flatten;
using QELT::Fuzzing::require;
using QELT::Fuzzing::walkTriangles;

namespace {

constexpr std::size_t bytesPerPoint = 6;

/// More only take more time.
constexpr std::size_t maxPoints = 150;

/// A coordinate of two bytes. The first byte's odd values make it fine, so that both lattices, with their
/// equal distances, and scattered points come up.
double coordinate(std::uint8_t const* bytes) {
    double const fine = (bytes[0] & 1U) != 0 ? static_cast<double>(bytes[1]) / 256.0 : 0.0;
    return static_cast<double>(bytes[0] >> 1U) / 8.0 + fine / 8.0;
}

PointCloud::Cloud cloudOf(std::uint8_t const* data, std::size_t size) {
    PointCloud::Cloud cloud;
    std::size_t const count = std::min(size / bytesPerPoint, maxPoints);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint8_t const* const bytes = data + i * bytesPerPoint;
        cloud.addPoint(Point(coordinate(bytes), coordinate(bytes + 2), coordinate(bytes + 4)));
    }
    return cloud;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    PointCloud::Cloud const cloud = cloudOf(data, size);
    TriMesh::Mesh mesh;
    try {
        mesh.construct(cloud);
    } catch (std::runtime_error const&) {
        return 0; // no first triangle
    }
    require(mesh.getNumberOfVertices() == cloud.getNumberOfPoints(), "each point is a vertex");
    std::size_t const numberOfTriangles = walkTriangles(mesh);
    require(numberOfTriangles > 0, "a surface has a triangle");
    flatten(mesh, true);
    flatten(mesh, false);
    cutAllWays(mesh);
    require(walkTriangles(mesh) == numberOfTriangles, "cuts keep the triangles");
    return 0;
}
