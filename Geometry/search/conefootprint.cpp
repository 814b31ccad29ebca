#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/quadindicesellipseintersectioninfo.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/search/internal/dualbasis.h"

#include <array>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

/// A ray of a cone: the signs with which the axes enter its direction and its start.
struct ConeRay {
    double signA;
    double signB;
    bool isCentre;
};

/// The cone's axis, then its extreme rays along the two axes and against them.
constexpr std::array<ConeRay, 5> coneRays{
    {{0.0, 0.0, true}, {1.0, 0.0, false}, {0.0, 1.0, false}, {-1.0, 0.0, false}, {0.0, -1.0, false}}};

} // namespace

bool RectMesh::getConeIntersection(Point const& origin, Vector const& axisA, Vector const& axisB,
                                   double coneCotangent, double apertureRadius, GridPoint const& quad,
                                   int unity, QuadIndicesEllipseIntersectionInfo& info) const {
    std::array<Point, 5> hits;
    if (!getEllipseAxisPoints(origin, axisA, axisB, coneCotangent, apertureRadius, quad, hits[0], hits[1],
                              hits[2], hits[3], hits[4])) {
        return false;
    }
    DualBasis const dual(getQuadBasis(quad));
    double const scale = unity;
    auto const toSteps = [&](Vector const& way) {
        return GridStep(truncateToInt32(way.dot(dual.u) * scale), truncateToInt32(way.dot(dual.v) * scale));
    };
    GridPoint const corner(wrappedProduct(quad.getU(), unity), wrappedProduct(quad.getV(), unity));
    info = {corner + toSteps(hits[0] - getPoint(quad)),
            toSteps(hits[1] - hits[0]),
            toSteps(hits[2] - hits[0]),
            toSteps(hits[3] - hits[0]),
            toSteps(hits[4] - hits[0]),
            unity};
    return true;
}

bool RectMesh::getEllipseAxisPoints(Point const& origin, Vector const& axisA, Vector const& axisB,
                                    double coneCotangent, double apertureRadius, GridPoint const& quad,
                                    Point& centrePoint, Point& axisPointA1, Point& axisPointB1,
                                    Point& axisPointA2, Point& axisPointB2) const {
    if (!getIsQuadValid(quad)) {
        return false;
    }
    Vector const axisC = axisA.cross(axisB);
    Point const corner = getPoint(quad);
    Vector const normal = getQuadNormalVector(quad, true);
    // Rays that do not leave the axis start at it whatever the radius, an infinite one included.
    auto const getOffset = [apertureRadius](double sign) {
        return sign == 0.0 ? 0.0 : sign * apertureRadius;
    };
    std::array<Point*, 5> const hits{&centrePoint, &axisPointA1, &axisPointB1, &axisPointA2, &axisPointB2};
    for (std::size_t i = 0; i < coneRays.size(); ++i) {
        ConeRay const& ray = coneRays[i];
        Point const start = origin + getOffset(ray.signA) * axisA + getOffset(ray.signB) * axisB;
        Vector const direction =
            ray.signA * axisA + ray.signB * axisB + (ray.isCentre ? 1.0 : coneCotangent) * axisC;
        double const t = (start - corner).dot(normal) / direction.dot(normal);
        *hits[i] = start - t * direction;
    }
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
