#include "Inspection/parts/tubecut.h"

#include "Inspection/import/objfile.h"
#include "Inspection/import/part.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <array>
#include <string>
#include <vector>

namespace QELT::Inspection {

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
Point moved(Point point, CutPlane const& plane, TubeCut const& cut) {
    unsigned long const aside = 3 - cut.axis - cut.normalAxis;
    if (plane.isTurned) {
        point.seti(cut.normalAxis, -point.get(cut.normalAxis));
        point.seti(aside, -point.get(aside));
    }
    point.seti(aside, point.get(aside) + plane.slope * point.get(cut.axis));
    return point;
}

void place(Mesh& mesh, std::vector<Point> const& points, CutPlane const& plane, TubeCut const& cut) {
    for (unsigned long i = 0; i < points.size(); ++i) {
        mesh.getVertex(i).setPoint3D(moved(points[i], plane, cut));
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

std::optional<CutPlane> cutTube(Mesh& mesh, TubeCut const& cut) {
    using namespace QELT::Geometry::ThreeDimensional::TriMesh;
    if (cut.axis == cut.normalAxis) {
        return std::nullopt;
    }
    auto const points = pointsOf(mesh);
    for (CutPlane const& plane : planes) {
        place(mesh, points, plane, cut);
        bool const isCut = mesh.makeCut(cut.isFromGreatest ? Maximum : Minimum, cut.axis, cut.normalAxis);
        restore(mesh, points);
        if (isCut) {
            return plane;
        }
    }
    return std::nullopt;
}

namespace {

constexpr std::array<char const*, 3> axisNames{"x", "y", "z"};

/// The mesh of `part` is slit, or the reason named why it can't be.
CutPlane slit(Mesh& mesh, std::string const& part, TubeCut const& cut) {
    std::size_t const rimCount = boundaryLoopsOf(mesh).size();
    if (rimCount == 0) {
        throw Failure(part + ": the mesh is closed; a cut leads from rim to rim");
    }
    std::string const start =
        std::string(cut.isFromGreatest ? "greatest " : "least ") + axisNames.at(cut.axis);
    auto const plane = naming(part, [&] { return cutTube(mesh, cut); });
    if (!plane) {
        throw Failure(part + ": no way for a cut from the " + start + " with the surface's normal along " +
                      axisNames.at(cut.normalAxis) + " there");
    }
    if (boundaryLoopsOf(mesh).size() >= rimCount) {
        throw Failure(part + ": the cut from the " + start + " leads back to its own rim");
    }
    return *plane;
}

} // namespace

CutResult cut(CutOptions const& options, ProgressListener* listener) {
    require(options.cut.axis < axisNames.size() && options.cut.normalAxis < axisNames.size(),
            options.part.string() + ": a cut's axes are numbered 0 to 2");
    requireReadable(options.part);
    requireObjOutput(options.result);
    requireWritable(cutFileOf(options.result));
    Mesh mesh;
    mesh.setProgressListener(listener);
    PartAsLoaded const part = loadPart(options.part);
    fillMesh(mesh, part, options.part);
    CutPlane const plane = slit(mesh, options.part.string(), options.cut);
    saveObj(mesh, options.result);
    return {meshSummaryOf(mesh), plane, cutFileOf(options.result), part.report};
}

} // namespace QELT::Inspection
