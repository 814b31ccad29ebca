#include "apps/cscan/demo/probepath.h"

#include "simulation/bladesurface.h"
#include "simulation/randomnoise.h"

#include <cmath>
#include <numbers>

namespace cscan {

namespace {

using QELT::Simulation::BladePlace;
using QELT::Simulation::BladeSurface;
using QELT::Simulation::RandomNoise;

constexpr double degree = std::numbers::pi / 180.0;

/// A wave of a given length in millimetres.
double wave(double position, double length) {
    return std::sin(2.0 * std::numbers::pi * position / length);
}

/// Any unit vector at right angles to `normal`, turned with it.
Vector chordwise(Vector const& normal) {
    Vector const spanwise(0.0, 1.0, 0.0);
    Vector const across = spanwise.cross(normal);
    return across / std::sqrt(across.lSqr());
}

/// Against the normal, off it by the head's wobble.
Vector beamDirection(Vector const& normal, BladePlace const& place, RandomNoise& noise) {
    double const tilt = 2.5 * wave(place.span, 47.0) + 0.3 * noise.bell();
    double const roll = 2.0 * wave(place.chord + 0.2 * place.span, 31.0) + 0.3 * noise.bell();
    Vector const across = chordwise(normal);
    Vector const along = normal.cross(across);
    Vector const off = across * std::tan(roll * degree) + along * std::tan(tilt * degree);
    Vector const direction = off - normal;
    return direction / std::sqrt(direction.lSqr());
}

Beam beamOver(BladePlace const& place, double standoff, RandomNoise& noise) {
    BladeSurface const surface;
    Vector const direction = beamDirection(surface.normal(place), place, noise);
    double const distance = standoff + 0.3 * wave(place.span + 0.3 * place.chord, 80.0);
    return {surface.nominalPoint(place) - direction * distance, direction};
}

unsigned intervalsIn(double length, double spacing) {
    return static_cast<unsigned>(std::ceil(length / spacing));
}

} // namespace

std::vector<Beam> bladeScanBeams(ProbePath const& path) {
    constexpr std::uint32_t seed = 20250302U;
    double const chordEnd = BladeSurface::halfChord + path.overrun;
    double const spanEnd = BladeSurface::halfSpan + path.overrun;
    unsigned const lines = intervalsIn(2.0 * chordEnd, path.lineSpacing);
    unsigned const firings = intervalsIn(2.0 * spanEnd, path.firingSpacing);
    RandomNoise noise(seed);
    std::vector<Beam> beams;
    beams.reserve((std::size_t{lines} + 1) * (std::size_t{firings} + 1));
    for (unsigned line = 0; line <= lines; ++line) {
        for (unsigned firing = 0; firing <= firings; ++firing) {
            unsigned const step = line % 2 == 0 ? firing : firings - firing;
            BladePlace const place{-chordEnd + line * path.lineSpacing, -spanEnd + step * path.firingSpacing};
            beams.push_back(beamOver(place, path.standoff, noise));
        }
    }
    return beams;
}

} // namespace cscan
