#include "apps/cscan/tubecut.h"

#include <array>

namespace cscan {

namespace {

/// So little that the cut is as straight as without.
constexpr double smallSlope = 1e-3;

constexpr std::array planes{CutPlane{false, 0.0}, CutPlane{false, smallSlope}, CutPlane{false, -smallSlope},
                            CutPlane{true, 0.0},  CutPlane{true, smallSlope},  CutPlane{true, -smallSlope}};

std::vector<Point> pointsOf(Mesh const& mesh) {
    std::vector<Point> points;
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        points.push_back(mesh.getVertex(i).getPoint3D());
    }
    return points;
}

/// Where a point comes to lie if the part is moved in place of the plane. Its place along the axis of the
/// cut, which decides where the cut starts, stays.
Point moved(Point point, CutPlane const& plane, CutOptions const& options) {
    unsigned long const aside = 3 - options.axis - options.normalAxis;
    if (plane.isTurned) {
        point.seti(options.normalAxis, -point.get(options.normalAxis));
        point.seti(aside, -point.get(aside));
    }
    point.seti(aside, point.get(aside) + plane.slope * point.get(options.axis));
    return point;
}

void place(Mesh& mesh, std::vector<Point> const& points, CutPlane const& plane, CutOptions const& options) {
    for (unsigned long i = 0; i < points.size(); ++i) {
        mesh.getVertex(i).setPoint3D(moved(points[i], plane, options));
    }
}

/// The twins of the cut take the places of those that they were made from.
void restore(Mesh& mesh, std::vector<Point> const& points) {
    for (unsigned long i = 0; i < points.size(); ++i) {
        mesh.getVertex(i).setPoint3D(points[i]);
    }
    auto const& [first, second] = mesh.getCutEdgeIndices();
    for (std::size_t k = 0; k < first.size(); ++k) {
        mesh.getVertex(second[k].index).setPoint3D(points[first[k].index]);
    }
}

} // namespace

std::optional<CutPlane> cutTube(Mesh& mesh, CutOptions const& options) {
    using namespace QELT::Geometry::ThreeDimensional::TriMesh;
    if (options.axis == options.normalAxis) {
        return std::nullopt;
    }
    auto const points = pointsOf(mesh);
    for (CutPlane const& plane : planes) {
        place(mesh, points, plane, options);
        bool const isCut =
            mesh.makeCut(options.isFromGreatest ? Maximum : Minimum, options.axis, options.normalAxis);
        restore(mesh, points);
        if (isCut) {
            return plane;
        }
    }
    return std::nullopt;
}

} // namespace cscan
