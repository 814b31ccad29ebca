#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <array>
#include <cstddef>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The rays that span a spreading beam: its axis, along the cross product of two axes, then its rim along
/// either axis and against either.
class ConeRays {
public:
    static constexpr std::size_t numberOfRays = 5;

    ConeRays(Point const& newOrigin, Vector const& newAxisA, Vector const& newAxisB, double newCotangent,
             double newApertureRadius)
        : origin(newOrigin),
          axisA(newAxisA),
          axisB(newAxisB),
          axisC(newAxisA.cross(newAxisB)),
          cotangent(newCotangent),
          apertureRadius(newApertureRadius) {}

    /// Where the lines of the axis and of the rim rays A1, B1, A2, B2 cross a plane.
    [[nodiscard]] std::array<Point, numberOfRays> getCrossings(Point const& pointOfPlane,
                                                               Vector const& normal) const {
        struct Signs {
            double a;
            double b;
        };

        constexpr std::array<Signs, numberOfRays> rays{
            {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}}};
        std::array<Point, numberOfRays> crossings;
        for (std::size_t i = 0; i < numberOfRays; ++i) {
            auto const [a, b] = rays[i];
            Point const start = origin + getOffset(a) * axisA + getOffset(b) * axisB;
            Vector const direction = a * axisA + b * axisB + (i == 0 ? 1.0 : cotangent) * axisC;
            double const t = (start - pointOfPlane).dot(normal) / direction.dot(normal);
            crossings[i] = start - t * direction;
        }
        return crossings;
    }

private:
    /// Rays that do not leave the axis start at it whatever the radius, an infinite one included.
    double getOffset(double sign) const { return sign == 0.0 ? 0.0 : sign * apertureRadius; }

    Point origin;
    Vector axisA;
    Vector axisB;
    Vector axisC;
    double cotangent;
    double apertureRadius;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
