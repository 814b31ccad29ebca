#pragma once

#include "Geometry/geometry.h"

#include <cmath>
#include <stdexcept>
#include <vector>

/// A scan of a cap of a sphere, for the tasks that fire beams.
namespace Benchmarks {

using namespace QELT::Geometry;
using namespace QELT::Geometry::ThreeDimensional;
using QuadMesh::RectMesh;

constexpr double radius = 100.0;
constexpr double halfAngle = 0.6;
constexpr double standOff = 20.0;

struct Beam {
    Point origin;
    Vector direction;
};

/// A cap of a sphere of about `side` by `side` quads.
inline RectMesh makeCap(int side) {
    RectMesh grid;
    double const width = 4.0 * radius * std::tan(0.5 * halfAngle);
    if (!grid.setAsSphereArcStereographic(radius, halfAngle, width / side, 1000)) {
        throw std::runtime_error("The cap is too large");
    }
    return grid;
}

/// Beams from a serpentine path of the probe over the cap, each against the normal but for a small wobble.
inline std::vector<Beam> makeSerpentine(int lines, int beamsPerLine) {
    std::vector<Beam> beams;
    for (int line = 0; line < lines; ++line) {
        for (int k = 0; k < beamsPerLine; ++k) {
            int const place = line % 2 == 0 ? k : beamsPerLine - 1 - k;
            double const across = halfAngle * 0.65 * (2.0 * (line + 0.5) / lines - 1.0);
            double const along = halfAngle * 0.65 * (2.0 * (place + 0.37) / beamsPerLine - 1.0);
            Vector const normal(std::sin(along), std::sin(across) * std::cos(along),
                                std::cos(across) * std::cos(along));
            Vector const wobble(0.03 * std::sin(0.1 * k), 0.03 * std::cos(0.07 * k), 0.0);
            beams.push_back({Point() + (radius + standOff) * normal, -normal + wobble});
        }
    }
    return beams;
}

} // namespace Benchmarks
