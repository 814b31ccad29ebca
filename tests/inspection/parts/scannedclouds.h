#pragma once

#include "Inspection/names.h"
#include "tests/support/watched.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

/// Clouds as scanners give them, of surfaces whose area is known.
namespace QELT::Inspection::Testing {

class Dice {
public:
    explicit Dice(std::uint32_t seed) : generator(seed) {}

    /// Evenly between 0 and 1.
    double share() { return static_cast<double>(generator()) / 4294967296.0; }

    /// Of mean 0 and deviation 1, within 3.5: the sum of twelve shares.
    double normal() {
        double sum = -6.0;
        for (int i = 0; i < 12; ++i) {
            sum += share();
        }
        return std::clamp(sum, -3.5, 3.5);
    }

private:
    std::mt19937 generator;
};

/// A surface over a square from (0, 0) on, nearly without stretch.
struct ScannedSurface {
    std::string name;
    std::function<Point(double, double)> at;

    static constexpr double size = 100.0;

    /// By many small triangles.
    double area() const {
        constexpr int steps = 200;
        double const step = size / steps;
        double sum = 0.0;
        for (int i = 0; i < steps; ++i) {
            for (int j = 0; j < steps; ++j) {
                Vector const diagonal = at((i + 1) * step, (j + 1) * step) - at(i * step, j * step);
                Vector const other = at(i * step, (j + 1) * step) - at((i + 1) * step, j * step);
                sum += 0.5 * std::sqrt(diagonal.cross(other).lSqr());
            }
        }
        return sum;
    }
};

/// A sloping plane, a cap of a sphere, a sector of a cylinder, and a blade: cambered and twisted.
inline std::vector<ScannedSurface> scannedSurfaces() {
    auto const plane = [](double u, double v) {
        return Point(0.8 * u, 0.36 * u + 0.8 * v, 0.48 * u - 0.6 * v);
    };
    auto const cap = [](double u, double v) {
        double const x = u - 50.0;
        double const y = v - 50.0;
        return Point(x, y, std::sqrt(14400.0 - x * x - y * y));
    };
    auto const cylinder = [](double u, double v) {
        double const angle = (u - 50.0) / 40.0;
        return Point(40.0 * std::sin(angle), v, 40.0 * std::cos(angle));
    };
    auto const blade = [](double u, double v) {
        double const twist = 0.012 * (v - 50.0);
        double const x = u - 50.0;
        double const camber = 0.004 * (2500.0 - x * x);
        return Point(x * std::cos(twist) - camber * std::sin(twist), v,
                     x * std::sin(twist) + camber * std::cos(twist));
    };
    return {{"plane", plane}, {"cap", cap}, {"cylinder", cylinder}, {"blade", blade}};
}

/// All of these, or the one that has all kinds of bends where a sanitizer watches.
inline std::vector<ScannedSurface> sampledSurfaces() {
    auto surfaces = scannedSurfaces();
    return QELT::Testing::isWatched ? std::vector{surfaces.back()} : surfaces;
}

/// Distances of lines in steps along them.
inline std::vector<double> sampledRatios() {
    return QELT::Testing::isWatched ? std::vector{5.0} : std::vector{5.0, 20.0};
}

inline Vector noiseOf(double deviation, Dice& dice) {
    double const x = deviation * dice.normal();
    double const y = deviation * dice.normal();
    return {x, y, deviation * dice.normal()};
}

struct LineScan {
    double across = 2.5;   ///< between lines
    double ratio = 10.0;   ///< of that to the step along them
    double noise = 0.0;    ///< in all directions, as a share of `across`; so is `jitter`
    double jitter = 0.0;   ///< of the places of lines
    double dropped = 0.0;  ///< share of points that are missing
    bool isZigzag = false; ///< every line begins where the one before it ends
    double angle = 0.3;    ///< of the lines, in the surface
};

/// Line after line, there and back.
inline void addLineScan(std::vector<Point>& cloud, ScannedSurface const& surface, LineScan const& scan,
                        Dice& dice) {
    double const half = 0.5 * surface.size;
    double const step = scan.across / scan.ratio;
    bool isBack = false;
    for (double line = -2.0 * half; line <= 2.0 * half; line += scan.across, isBack = !isBack) {
        double const place = line + scan.jitter * scan.across * (2.0 * dice.share() - 1.0);
        for (double run = -2.0 * half; run <= 2.0 * half; run += step) {
            double const forward = isBack ? -run : run;
            double const side = place + (scan.isZigzag ? scan.across * run / (2.0 * half) : 0.0);
            double const u = half + std::cos(scan.angle) * side - std::sin(scan.angle) * forward;
            double const v = half + std::sin(scan.angle) * side + std::cos(scan.angle) * forward;
            if (u >= 0.0 && u <= surface.size && v >= 0.0 && v <= surface.size &&
                dice.share() >= scan.dropped) {
                cloud.push_back(surface.at(u, v) + noiseOf(scan.noise * scan.across, dice));
            }
        }
    }
}

inline std::vector<Point> lineScanOf(ScannedSurface const& surface, LineScan const& scan) {
    Dice dice(1);
    std::vector<Point> cloud;
    addLineScan(cloud, surface, scan, dice);
    return cloud;
}

struct Lattice {
    double spacing = 2.5;
    double jitter = 0.0; ///< of a point in its square, as a share of that
    double noise = 0.0;  ///< in the unit of length
};

inline std::vector<Point> jitteredCloud(ScannedSurface const& surface, Lattice const& lattice, Dice& dice) {
    std::vector<Point> cloud;
    auto const count = static_cast<int>(surface.size / lattice.spacing);
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            double const u = (i + 0.5 + lattice.jitter * (dice.share() - 0.5)) * lattice.spacing;
            double const v = (j + 0.5 + lattice.jitter * (dice.share() - 0.5)) * lattice.spacing;
            cloud.push_back(surface.at(u, v) + noiseOf(lattice.noise, dice));
        }
    }
    return cloud;
}

/// At random places, as many as there are squares of the spacing.
inline std::vector<Point> scatteredCloud(ScannedSurface const& surface, double spacing, Dice& dice) {
    std::vector<Point> cloud;
    auto const count = static_cast<int>(surface.size * surface.size / (spacing * spacing));
    for (int i = 0; i < count; ++i) {
        double const u = surface.size * dice.share();
        cloud.push_back(surface.at(u, surface.size * dice.share()));
    }
    return cloud;
}

} // namespace QELT::Inspection::Testing
