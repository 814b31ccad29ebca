#pragma once

#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <array>
#include <cstdint>
#include <vector>

/// Registration and the surface fits step by step, on containers and with everything computed anew where it
/// is needed. Points, vectors, maps and quaternions are the library's.
namespace QELT::Testing {

using SpacePoints = std::vector<Geometry::ThreeDimensional::Point>;
using SpaceVectors = std::vector<Geometry::ThreeDimensional::Vector>;

struct PlainRigidBody {
    Geometry::ThreeDimensional::Vector eulerAngles;
    Geometry::ThreeDimensional::Vector translation;
    Geometry::ThreeDimensional::Point rotationCentre;
    bool isConverged = false;
    std::uint32_t iterations = 0;
};

/// `maxIterations` stands in for the contract's own limit in tests that only ask how long a descent takes.
PlainRigidBody plainRigidBody(SpacePoints const& source, SpacePoints const& target,
                              Geometry::ThreeDimensional::Vector const& targetOffset, bool isCoarse,
                              std::uint32_t maxIterations = 1048576);

/// Rows of the linear map, and the translation.
struct PlainAffineFit {
    std::array<Geometry::ThreeDimensional::Vector, 3> rows;
    Geometry::ThreeDimensional::Vector translation;
};

PlainAffineFit plainAffineFit(SpacePoints const& source, SpacePoints const& target);

struct PlainSphere {
    Geometry::ThreeDimensional::Point centre;
    double radius = 0.0;
    std::vector<double> residuals;
    std::uint32_t sweeps = 0;
};

PlainSphere plainSphereFit(SpacePoints const& points, std::uint32_t maxSweeps = 524288);

using SixValues = std::array<double, 6>;

double plainCylinderValue(SpacePoints const& points, SpaceVectors const& normals, SixValues const& x);
SixValues plainCylinderGradient(SpacePoints const& points, SpaceVectors const& normals, SixValues const& x);

struct PlainCylinder {
    Geometry::ThreeDimensional::Point axisPoint;
    Geometry::ThreeDimensional::Vector axisDirection;
    double radius = 0.0;
    std::vector<double> residuals;
    bool isConverged = false;
    std::uint32_t iterations = 0;
};

PlainCylinder plainCylinderFit(SpacePoints const& points, SpaceVectors const& normals,
                               std::uint32_t maxIterations = 4194304);

struct PlainParaboloid {
    Geometry::ThreeDimensional::Point vertex;
    Geometry::ThreeDimensional::Vector axisU;
    Geometry::ThreeDimensional::Vector axisV;
    Geometry::ThreeDimensional::Vector axisN;
    double curvatureU = 0.0;
    double curvatureV = 0.0;
    std::vector<double> residuals;
    bool isConverged = false;
    std::uint32_t passes = 0;
};

PlainParaboloid plainParaboloidFit(SpacePoints const& points,
                                   Geometry::ThreeDimensional::Vector const& axisHint,
                                   std::uint32_t maxPasses = 268435456);

} // namespace QELT::Testing
