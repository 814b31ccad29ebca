#pragma once

#include "tests/support/plain_grid.h"

#include <cstdint>
#include <functional>

/// The analytic surfaces as plain loops over plain arrays, one formula after the other.
namespace QELT::Testing {

struct PlainSurface {
    /// False when the size is refused; nothing else is set then.
    bool isAccepted = false;
    PlainGrid grid;
    PlainAreas areas;
};

PlainSurface plainPlane(double sizeU, double sizeV, double spacing, bool centred, std::uint32_t maxMB);

PlainSurface plainQuadPlane(std::uint32_t extentU, std::uint32_t extentV, double spacing,
                            PlainPoint const& origin, PlainVector const& stepU, PlainVector const& stepV,
                            std::function<bool(int u, int v)> const& isQuad);

PlainSurface plainCylinderArc(double radius, double arcAngle, double length, double spacing,
                              std::uint32_t maxMB);

PlainSurface plainParaboloid(PlainPoint const& apex, PlainVector const& axisU, PlainVector const& axisV,
                             double curvatureU, double curvatureV, double height, double spacing,
                             std::uint32_t maxMB);

PlainSurface plainSphereArc(double radius, double halfAngle, double spacing, std::uint32_t maxMB);

PlainSurface plainHeightField();

} // namespace QELT::Testing
