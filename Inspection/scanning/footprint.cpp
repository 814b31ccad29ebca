#include "Inspection/scanning/footprint.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace QELT::Inspection {

namespace {

/// Steps that a quad is divided into: fine enough for a picture, and far from the limit of integers on the
/// largest grids.
constexpr int unity = 1024;

/// The least sine of the angle at which a ray may meet the surface, a few hundredths of a degree.
constexpr double smallestSine = 1e-3;

constexpr int pointsPerQuarter = 32;

FlatPoint inQuads(FlatPoint const& centre, QELT::Geometry::TwoDimensional::Vector<int> const& axis) {
    return {centre.getU() + static_cast<double>(axis.getdU()) / unity,
            centre.getV() + static_cast<double>(axis.getdV()) / unity};
}

/// Whether the rays at the rim all meet the plane of the quad in front of the beam, as its axis does. The
/// footprint is no ellipse otherwise.
bool doesMeetPlane(SpreadingBeam const& beam, Vector const& quadNormal) {
    Vector const axis = beam.axisA.cross(beam.axisB);
    double const side = axis.dot(quadNormal) > 0.0 ? 1.0 : -1.0;
    double const length = std::sqrt((1.0 + beam.cotangent * beam.cotangent) * quadNormal.lSqr());
    for (Vector const& spread : {beam.axisA, beam.axisB, -beam.axisA, -beam.axisB}) {
        if (!(side * (spread + beam.cotangent * axis).dot(quadNormal) > smallestSine * length)) {
            return false;
        }
    }
    return true;
}

} // namespace

Footprint footprintOf(Grid& grid, SpreadingBeam const& beam) {
    auto const status = grid.getIntersection(beam.origin, beam.axisA.cross(beam.axisB));
    if (!status.getIsValid()) {
        throw std::runtime_error("the beam's axis meets no quad");
    }
    Footprint footprint;
    footprint.quad = status.getIndices();
    if (!doesMeetPlane(beam, grid.getQuadNormalVector(footprint.quad, true))) {
        throw std::runtime_error("a ray at the beam's rim does not meet the surface");
    }
    QELT::Geometry::ThreeDimensional::QuadMesh::QuadIndicesEllipseIntersectionInfo info;
    grid.getConeIntersection(beam.origin, beam.axisA, beam.axisB, beam.cotangent, beam.apertureRadius,
                             footprint.quad, unity, info);
    footprint.centre = FlatPoint(static_cast<double>(info.getCentre().getU()) / unity,
                                 static_cast<double>(info.getCentre().getV()) / unity);
    std::array const axes{info.getAxisA1(), info.getAxisB1(), info.getAxisA2(), info.getAxisB2()};
    for (std::size_t i = 0; i < axes.size(); ++i) {
        footprint.ends[i] = inQuads(footprint.centre, axes[i]);
    }
    return footprint;
}

std::vector<FlatPoint> outlineOf(Footprint const& footprint) {
    std::vector<FlatPoint> outline;
    FlatPoint const& centre = footprint.centre;
    for (std::size_t i = 0; i < footprint.ends.size(); ++i) {
        auto const from = footprint.ends[i] - centre;
        auto const to = footprint.ends[(i + 1) % footprint.ends.size()] - centre;
        for (int k = 0; k < pointsPerQuarter; ++k) {
            double const angle = 0.5 * std::numbers::pi * k / pointsPerQuarter;
            double const c = std::cos(angle);
            double const s = std::sin(angle);
            outline.emplace_back(centre.getU() + c * from.getdU() + s * to.getdU(),
                                 centre.getV() + c * from.getdV() + s * to.getdV());
        }
    }
    return outline;
}

} // namespace QELT::Inspection
