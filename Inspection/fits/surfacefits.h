#pragma once

#include "Inspection/export.h"
#include "Inspection/import/part.h"
#include "Inspection/import/xyzfile.h"

#include <cstddef>
#include <filesystem>
#include <variant>

/// Surfaces fitted to clouds. The core's fits descend with fixed steps, which suit coordinates of a
/// certain size and a certain number of points. Here a cloud is brought to that size first, thinned out
/// evenly if it has more points, and the result is brought back; residuals are those of all points. Lengths
/// are in the cloud's unit.
namespace QELT::Inspection {

/// How well a surface fits, in the cloud's unit.
struct FitQuality {
    bool isSettled = true; ///< whether the descent came to rest within its limit
    std::size_t usedCount = 0;
    double meanResidual = 0.0; ///< distance of a point from the surface
    double maxResidual = 0.0;  ///< the greatest
};

/// A sphere fitted to points.
struct SphereFit {
    Point centre;
    double radius = 0.0; ///< in the cloud's unit
    FitQuality quality;
};

/// A cylinder without ends, fitted to points with normals.
struct CylinderFit {
    Point axisPoint;
    Vector axisDirection; ///< of unit length
    double radius = 0.0;  ///< in the cloud's unit
    FitQuality quality;
};

/// normal coordinate = (curvatureU u^2 + curvatureV v^2) / 2 from the vertex on
struct ParaboloidFit {
    Point vertex;
    Vector axisU;
    Vector axisV;
    Vector axisN;
    double curvatureU = 0.0; ///< one over the radius, along u
    double curvatureV = 0.0; ///< and along v
    FitQuality quality;
};

/// At least four points; a `std::runtime_error` if the points have no sphere.
QELT_INSPECTION_EXPORT SphereFit fitSphere(std::vector<Point> const& points);

/// At least three points with normals; a `std::runtime_error` if nothing comes out.
QELT_INSPECTION_EXPORT CylinderFit fitCylinder(OrientedCloud const& cloud);

/// Starts at the first point as vertex, with the z axis as normal; the second point gives the start's
/// curvature. On scattered points it runs to its limit of steps, which takes minutes.
QELT_INSPECTION_EXPORT ParaboloidFit fitParaboloid(std::vector<Point> const& points);

/// Which surface is fitted.
enum class FitSurface { Sphere, Cylinder, Paraboloid };

/// What to fit to which cloud.
struct FitOptions {
    FitSurface surface = FitSurface::Sphere;
    PlacedPart cloud; ///< points of any format, of a mesh its points; for a cylinder with normals
};

/// The surface that was fitted.
using FitResult = std::variant<SphereFit, CylinderFit, ParaboloidFit>;

/// Fits the surface to a cloud's file. Fails if the file cannot be read and as above, naming the file.
QELT_INSPECTION_EXPORT FitResult fit(FitOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
