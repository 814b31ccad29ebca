#include "Geometry/foundations/angles.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <cmath>
#include <limits>
#include <optional>

// Analytic surfaces: grids whose nodes stand on a plane, a cylinder, an elliptic paraboloid or a sphere, so
// that a scan can be tried where the answer is known in closed form.
//
// Plane and cylinder are laid out flat, the cylinder in steps whose chord is one spacing. The paraboloid is
// seen from a point on its axis four heights above the apex: a flat lattice through the apex is projected
// along the sight lines, each a quadratic equation for the way from the eye (0) to the flat point (1). The
// sphere rests on the flat lattice, is projected stereographically from its upper pole and then turned over.
// That projection keeps angles, so that quads are squares to first order, smaller toward the rim.
//
// Rounding: every point is rounded to the floats of a `Point` where a point is formed, and nowhere else;
// vectors are doubles. That and the order of the products are what the files of these grids are compared by.
// Tolerances: none. A root of the paraboloid counts from 0 to 1, the rims are compared exactly.
//
// Cost: a few operations for each node, and the areas of all quads where they are not equal by construction.
//
// Odd on purpose: the plane's limit counts a row and a column more than the grid gets. Counts of steps that
// vanish make divisors zero, and the nodes then hold what the division gives, as valid nodes. The highest row
// and column of the paraboloid stay empty, and right under its eye, where the quadratic term vanishes, the
// node too. A grid of equal areas is told so, spacing squared, without being measured.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using SpacePoint = ThreeDimensional::Point;
using SpaceVector = ThreeDimensional::Vector;
using GridExtents = TwoDimensional::Vector<unsigned long>;

/// Nodes in a megabyte at 25 bytes each.
constexpr std::uint64_t nodesPerMB = 41943;

/// Whether so many nodes take more than `maxMB`. More than 32 bits count are too many for every limit: counts
/// of steps end at the largest 32-bit number, where sums and products must not start over from 0.
bool getDoesExceedStorage(std::uint64_t nodesU, std::uint64_t nodesV, unsigned long maxMB) {
    constexpr std::uint64_t maxNodes = std::numeric_limits<std::uint32_t>::max();
    if (nodesU > maxNodes || nodesV > maxNodes || nodesU * nodesV > maxNodes) {
        return true;
    }
    return nodesU * nodesV / nodesPerMB > toUInt32(maxMB);
}

/// The number of nodes in a row of so many steps.
std::uint64_t nodesOf(std::uint32_t steps) {
    return std::uint64_t{steps} + 1;
}

/// Half of a count of steps, rounded down, as a number: the index of the middle node.
double middleOf(std::uint32_t steps) {
    return steps >> 1U;
}

/// One direction of a plane grid: the places of its nodes from `low` to `high` in `steps` steps.
struct PlaneAxis {
    std::uint32_t steps;
    double low;
    double high;

    double place(int i) const { return i * (high - low) / steps + low; }
};

PlaneAxis makePlaneAxis(std::uint32_t steps, double spacing, bool centred) {
    double const high = centred ? steps * 0.5 * spacing : steps * spacing;
    return {steps, centred ? -high : 0.0, high};
}

/// An elliptic paraboloid z = (curvatureU x^2 + curvatureV y^2) / 2 over orthonormal axes, and its central
/// projection from `eye`, four heights above the apex.
struct Paraboloid {
    SpacePoint apex;
    SpaceVector axisU;
    SpaceVector axisV;
    double curvatureU;
    double curvatureV;
    double height;
    SpaceVector normal = axisU.cross(axisV);
    SpacePoint eye = apex + 4.0 * height * normal;

    /// The width of the flat grid: the cap's diameter with a third to spare.
    double getSize(double curvature) const { return 4.0 / 3.0 * 2.0 * std::sqrt(2.0 * height / curvature); }

    /// Where the sight line from the eye through a point of the flat grid meets the cap. Nowhere if the line
    /// misses the surface between the eye and the flat point, or meets it above the height.
    std::optional<SpacePoint> project(SpacePoint const& flat) const {
        double const a = (flat - apex).dot(axisU);
        double const b = (flat - apex).dot(axisV);
        double const quadratic = -0.5 * (curvatureU * (a * a) + curvatureV * (b * b));
        double const linear = -4.0 * height;
        double const constant = 4.0 * height;
        double const discriminant = linear * linear - 4.0 * quadratic * constant;
        if (discriminant < 0.0) {
            return std::nullopt;
        }
        // Right under the eye the quadratic term is zero and neither root is finite.
        double const root = std::sqrt(discriminant);
        double t = 0.5 * (root - linear) / quadratic;
        if (!getIsBetween(t)) {
            t = 0.5 * (-linear - root) / quadratic;
        }
        if (!getIsBetween(t)) {
            return std::nullopt;
        }
        SpacePoint const surface = eye + t * (flat - eye);
        return (surface - apex).dot(normal) <= height ? std::optional(surface) : std::nullopt;
    }

private:
    static bool getIsBetween(double t) { return t >= 0.0 && t <= 1.0; }
};

/// A sphere resting on the plane z = 0 and its stereographic projection from the upper pole.
struct RestingSphere {
    double radius;
    SpacePoint centre = SpacePoint(0.0, 0.0, radius);
    SpacePoint pole = SpacePoint(0.0, 0.0, 2.0 * radius);
    SpaceVector e1 = SpaceVector(1.0, 0.0, 0.0);
    SpaceVector e2 = SpaceVector(0.0, 1.0, 0.0);
    SpaceVector e3 = SpaceVector(0.0, 0.0, 1.0);

    /// The radius of the flat image of the cap's rim.
    double getRimImageRadius(double halfAngle) const {
        SpacePoint const rim = centre + radius * (std::sin(halfAngle) * e1 - std::cos(halfAngle) * e3);
        SpaceVector const ray = rim - pole;
        SpacePoint const image = pole + -double{pole.getZ()} / ray.getdZ() * ray;
        return (image - pole).dot(e1);
    }

    /// Where the line from the pole through a flat point meets the sphere again.
    SpacePoint project(SpacePoint const& flat) const {
        SpaceVector const ray = flat - pole;
        SpaceVector const toPole = pole - centre;
        double const a = ray.lSqr();
        double const b = 2.0 * ray.dot(toPole);
        double const c = toPole.lSqr() - radius * radius;
        double const discriminant = b * b - 4.0 * a * c;
        double t = 0.0;
        if (!(discriminant < 0.0)) {
            double const root = std::sqrt(discriminant);
            double const t1 = 0.5 * (root - b) / a;
            double const t2 = 0.5 * (-root - b) / a;
            t = t1 > t2 ? t1 : t2;
        }
        return pole + t * ray;
    }
};

} // namespace

bool RectMesh::setAsPlane(TwoDimensional::Vector<double> const& size, double spacing, bool centred,
                          unsigned long maxMB) {
    if (size.getdU() < 0.0 || size.getdV() < 0.0 || spacing < 0.0) {
        return false;
    }
    std::uint32_t const stepsU = truncateToUInt32(size.getdU() / spacing);
    std::uint32_t const stepsV = truncateToUInt32(size.getdV() / spacing);
    if (getDoesExceedStorage(nodesOf(stepsU) + 1, nodesOf(stepsV) + 1, maxMB)) {
        return false;
    }
    init(GridExtents(stepsU, stepsV));
    PlaneAxis const axisU = makePlaneAxis(stepsU, spacing, centred);
    PlaneAxis const axisV = makePlaneAxis(stepsV, spacing, centred);
    forEachNode(getExtents(), [&](GridPoint const& node) {
        setPoint(node, SpacePoint(axisU.place(node.getU()), axisV.place(node.getV()), 0.0));
    });
    meanQuadArea = minQuadArea = maxQuadArea = spacing * spacing;
    return true;
}

bool RectMesh::setAsPlane(GridExtents const& newExtents, double spacing, SpacePoint const& origin,
                          SpaceVector const& stepU, SpaceVector const& stepV,
                          QuadValidityGenerator& generator) {
    init(newExtents);
    forEachNode(getExtents(), [&](GridPoint const& node) {
        setPoint(node, origin + spacing * (node.getU() * stepU + node.getV() * stepV));
        setPointValidity(node, false);
    });
    forEachNode(getExtents(), [&](GridPoint const& quad) {
        bool const isQuad =
            quad.getU() < static_cast<int>(extents.u) && quad.getV() < static_cast<int>(extents.v);
        if (isQuad && generator.getValidity(quad)) {
            setPointValidity(quad, true);
            setPointValidity(quad + TwoDimensional::Vector<int>(1, 0), true);
            setPointValidity(quad + TwoDimensional::Vector<int>(0, 1), true);
            setPointValidity(quad + TwoDimensional::Vector<int>(1, 1), true);
        }
    });
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
    return true;
}

bool RectMesh::setAsCylinderArc(double radius, double arcAngle, double length, double spacing,
                                unsigned long maxMB) {
    // The angle whose chord is one step long.
    double const angleStep = 2.0 * std::asin(0.5 * spacing / radius);
    std::uint32_t const arcSteps = truncateToUInt32(arcAngle / angleStep);
    std::uint32_t const axialSteps = truncateToUInt32(length / spacing);
    if (getDoesExceedStorage(nodesOf(arcSteps), nodesOf(axialSteps), maxMB)) {
        return false;
    }
    init(GridExtents(axialSteps, arcSteps));
    double const middle = middleOf(axialSteps);
    forEachNode(getExtents(), [&](GridPoint const& node) {
        // The first angle stands in the highest row, so that the normal points away from the axis.
        double const angleIndex = arcSteps - static_cast<std::uint32_t>(node.getV());
        double const angle = angleIndex * angleStep - 0.5 * arcAngle;
        setPoint(node, SpacePoint(radius * std::cos(angle), radius * std::sin(angle),
                                  (node.getU() - middle) / axialSteps * length));
    });
    meanQuadArea = minQuadArea = maxQuadArea = spacing * spacing;
    return true;
}

bool RectMesh::setAsParaboloid(SpacePoint const& apex, SpaceVector const& axisU, SpaceVector const& axisV,
                               double const& curvatureU, double const& curvatureV, double const& height,
                               double spacing, unsigned long maxMB) {
    Paraboloid const paraboloid{apex, axisU, axisV, curvatureU, curvatureV, height};
    double const sizeU = paraboloid.getSize(curvatureU);
    double const sizeV = paraboloid.getSize(curvatureV);
    std::uint32_t const stepsU = truncateToUInt32(sizeU / spacing);
    std::uint32_t const stepsV = truncateToUInt32(sizeV / spacing);
    if (getDoesExceedStorage(nodesOf(stepsU), nodesOf(stepsV), maxMB)) {
        return false;
    }
    init(GridExtents(stepsU, stepsV));
    double const middleU = middleOf(stepsU);
    double const middleV = middleOf(stepsV);
    forEachNode(getExtents(), [&](GridPoint const& node) {
        if (node.getU() >= static_cast<int>(stepsU) || node.getV() >= static_cast<int>(stepsV)) {
            return;
        }
        double const offsetU = (node.getU() - middleU) * 0.5 * sizeU / middleU;
        double const offsetV = (node.getV() - middleV) * 0.5 * sizeV / middleV;
        if (auto const surface = paraboloid.project(apex + offsetU * axisU + offsetV * axisV)) {
            setPoint(node, *surface);
        }
    });
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
    calculateSearchPoints(quadsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
    return true;
}

bool RectMesh::setAsSphereArcStereographic(double radius, double const& halfAngle, double const& spacing,
                                           unsigned long maxMB) {
    RestingSphere const sphere{radius};
    std::uint32_t const steps = truncateToUInt32(2.0 * sphere.getRimImageRadius(halfAngle) / spacing);
    if (getDoesExceedStorage(nodesOf(steps), nodesOf(steps), maxMB)) {
        return false;
    }
    init(GridExtents(steps, steps));
    double const middle = middleOf(steps);
    double const rimDepth = radius * std::cos(halfAngle);
    forEachNode(getExtents(), [&](GridPoint const& node) {
        SpaceVector const fromMiddle =
            (node.getU() - middle) * sphere.e1 + (node.getV() - middle) * sphere.e2;
        SpacePoint const resting = sphere.project(SpacePoint() + spacing * fromMiddle);
        if ((sphere.centre - resting).dot(sphere.e3) >= rimDepth) {
            // Moved to the origin and turned over: the cap lies at the upper pole.
            SpaceVector const place = resting - sphere.centre;
            setPoint(node, SpacePoint(place.getdX(), place.getdY(), -place.getdZ()));
        }
    });
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
    calculateSearchPoints(quadsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
    return true;
}

bool RectMesh::setAsSphereArcAreaPreserving(double /*radius*/, double const& /*halfAngle*/,
                                            double const& /*spacing*/, unsigned long /*maxMB*/) {
    return true;
}

bool RectMesh::setAsHeightField() {
    constexpr std::uint32_t steps = 128;
    constexpr double step = 1.0 / steps;
    constexpr double halfWidth = 500.0;
    init(GridExtents(steps, steps));
    forEachNode(getExtents(), [&](GridPoint const& node) {
        double const s = node.getU() * 2.0 * step - 1.0;
        double const w = node.getV() * 2.0 * step - 1.0;
        double const wave = std::cos(4.0 * s * Angles::fullTurn * 0.5);
        setPoint(node, SpacePoint(halfWidth * s, halfWidth * w, halfWidth * wave * 0.5 * 0.5 / 3.0));
    });
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
