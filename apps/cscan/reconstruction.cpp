#include "apps/cscan/reconstruction.h"

#include "apps/cscan/failure.h"
#include "apps/cscan/xyzfile.h"

#include <algorithm>

namespace cscan {

void loadCloud(Mesh& mesh, std::filesystem::path const& path) {
    QELT::Geometry::ThreeDimensional::PointCloud::Cloud cloud;
    for (Point const& point : readCloudFile(path)) {
        cloud.addPoint(point);
    }
    naming(path.string(), [&] { mesh.construct(cloud); });
}

std::size_t looseVertexCount(Mesh const& mesh, std::vector<Triangle*> const& triangles) {
    std::vector<bool> isReached(mesh.getNumberOfVertices(), false);
    for (Triangle const* triangle : triangles) {
        for (unsigned long corner = 0; corner < 3; ++corner) {
            isReached[triangle->getAdjacentVertexIndex(corner)] = true;
        }
    }
    return static_cast<std::size_t>(std::count(isReached.begin(), isReached.end(), false));
}

} // namespace cscan
