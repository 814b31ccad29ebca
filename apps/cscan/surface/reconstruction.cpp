#include "apps/cscan/surface/reconstruction.h"

#include "apps/cscan/files/failure.h"
#include "apps/cscan/files/xyzfile.h"

#include <algorithm>

namespace cscan {

namespace {

/// The surface as it was built, and how many triangles are missing from it.
struct BuiltSurface {
    FaceMesh surface;
    std::size_t unlistedCount = 0;
};

BuiltSurface surfaceThrough(std::vector<Point> const& points) {
    QELT::Geometry::ThreeDimensional::PointCloud::Cloud cloud;
    for (Point const& point : points) {
        cloud.addPoint(point);
    }
    Mesh mesh;
    mesh.construct(cloud);
    return {faceMeshOf(mesh), mesh.getUnlistedTriangles().size()};
}

BuiltSurface surfaceFromEitherSide(std::vector<Point> points) {
    try {
        return surfaceThrough(points);
    } catch (std::runtime_error const&) {
        std::reverse(points.begin(), points.end());
        return surfaceThrough(points);
    }
}

} // namespace

Reconstruction reconstructFrom(std::filesystem::path const& cloud, RepairOptions const& options) {
    auto const points = readCloudFile(cloud);
    BuiltSurface const built = naming(cloud.string(), [&] { return surfaceFromEitherSide(points); });
    Reconstruction result;
    result.surface = built.surface;
    result.repair = repairSurface(result.surface, options);
    result.repair.unlistedCount = built.unlistedCount;
    if (result.surface.faces.empty()) {
        throw Failure(cloud.string() + ": no triangle's sides are all that short");
    }
    return result;
}

} // namespace cscan
