#include "Inspection/parts/tubecut.h"

#include "Inspection/import/objfile.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/internal/readfaces.h"
#include "Inspection/parts/partfaults.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <array>
#include <cmath>
#include <stdexcept>
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

/// Whether the cut leads from one rim of the tube to another.
bool opens(FaceMesh const& tube, TubeCut const& cut) {
    Mesh mesh;
    mesh.construct(tube.points, tube.faces);
    std::size_t const rimCount = boundaryLoopsOf(mesh).size();
    return cutTube(mesh, cut).has_value() && boundaryLoopsOf(mesh).size() < rimCount;
}

} // namespace

std::optional<TubeCut> findTubeCut(FaceMesh const& tube, Point const& firstRim, Point const& secondRim) {
    Vector const apart = secondRim - firstRim;
    unsigned long axis = 0;
    for (unsigned long other = 1; other < 3; ++other) {
        axis = std::abs(apart.get(other)) > std::abs(apart.get(axis)) ? other : axis;
    }
    try {
        for (bool const isFromGreatest : {true, false}) {
            for (unsigned long const turn : {1UL, 2UL}) {
                TubeCut const cut{isFromGreatest, axis, (axis + turn) % 3};
                if (opens(tube, cut)) {
                    return cut;
                }
            }
        }
    } catch (std::runtime_error const&) {
        return std::nullopt; // no mesh
    }
    return std::nullopt;
}

namespace {

constexpr std::array<char const*, 3> axisNames{"x", "y", "z"};

/// What to do where a cut as asked for leads nowhere.
std::string remedyFor(FaceMesh const& faces, PlacedPart const& part) {
    auto const faults = faultsOf(faces, analysePart(faces), part);
    for (PartFault const& fault : faults) {
        if (fault.kind == FaultKind::Tube || fault.kind == FaultKind::Closed ||
            fault.kind == FaultKind::Handles) {
            return "; remedy: " + fault.remedy;
        }
    }
    return "; remedy: none needed, the mesh is no tube";
}

/// The mesh of `tube` is slit, or the reason named why it can't be.
CutPlane slit(Mesh& mesh, PlacedPart const& tube, TubeCut const& cut) {
    std::string const part = tube.string();
    FaceMesh const whole = faceMeshOf(mesh);
    std::size_t const rimCount = boundaryLoopsOf(mesh).size();
    if (rimCount == 0) {
        throw Failure(part + ": the mesh is closed; a cut leads from rim to rim" + remedyFor(whole, tube));
    }
    std::string const start =
        std::string(cut.isFromGreatest ? "greatest " : "least ") + axisNames.at(cut.axis);
    auto const plane = naming(part, [&] { return cutTube(mesh, cut); });
    if (!plane) {
        throw Failure(part + ": no way for a cut from the " + start + " with the surface's normal along " +
                      axisNames.at(cut.normalAxis) + " there" + remedyFor(whole, tube));
    }
    if (boundaryLoopsOf(mesh).size() >= rimCount) {
        throw Failure(part + ": the cut from the " + start + " leads back to its own rim" +
                      remedyFor(whole, tube));
    }
    return *plane;
}

} // namespace

CutResult cut(CutOptions const& options, ProgressListener* listener) {
    require(options.cut.axis < axisNames.size() && options.cut.normalAxis < axisNames.size(),
            options.part.string() + ": a cut's axes are numbered 0 to 2");
    Record record("cut");
    addPart(record, options.part);
    addCutInput(record, options.part.file);
    Outputs outputs(record);
    addObjOutput(outputs, options.result);
    addCutOutput(outputs, options.result);
    Mesh mesh;
    mesh.setProgressListener(listener);
    PartAsLoaded const part = loadPart(options.part);
    explaining(
        options.part, [&] { return readFaces(options.part).mesh; },
        [&] { fillMesh(mesh, part, options.part.file); });
    CutPlane const plane = slit(mesh, options.part, options.cut);
    saveObj(mesh, options.result, outputs);
    CutResult const result{meshSummaryOf(mesh), plane, cutFileOf(options.result), part.report};
    record.setting("start", options.cut.isFromGreatest ? "max" : "min");
    record.setting("axis", axisNames.at(options.cut.axis));
    record.setting("across", axisNames.at(options.cut.normalAxis));
    record.figure("isPlaneTurned", plane.isTurned);
    record.figure("planeSlope", plane.slope);
    addFigures(record, result.part);
    outputs.commit(listener);
    return result;
}

} // namespace QELT::Inspection
