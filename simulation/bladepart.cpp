#include "simulation/bladepart.h"

#include "simulation/randomnoise.h"

#include <cmath>
#include <numbers>

namespace QELT::Simulation {

namespace {

/// Above 2 for corners that are rounded, the more so the nearer to 2.
constexpr double outlineExponent = 6.0;

/// Share of the spacing by which points inside are moved off their ring and ray.
constexpr double irregularity = 0.4;

/// Below 1 inside the outline, above 1 outside.
double outlineMeasure(BladePlace const& place) {
    return std::pow(std::abs(place.chord) / BladeSurface::halfChord, outlineExponent) +
           std::pow(std::abs(place.span) / BladeSurface::halfSpan, outlineExponent);
}

BladePlace placeOnRay(double angle, double radius) {
    return {BladeSurface::holeCentre.chord + radius * std::cos(angle),
            BladeSurface::holeCentre.span + radius * std::sin(angle)};
}

/// From the centre of the cut-out along a ray to the outline, by halving.
double outlineRadius(double angle) {
    double inside = 0.0;
    double outside = 4.0 * (BladeSurface::halfChord + BladeSurface::halfSpan);
    for (int i = 0; i < 60; ++i) {
        double const middle = 0.5 * (inside + outside);
        (outlineMeasure(placeOnRay(angle, middle)) < 1.0 ? inside : outside) = middle;
    }
    return inside;
}

double holeRadius(double angle) {
    double const chord = std::cos(angle) / BladeSurface::holeHalfChord;
    double const span = std::sin(angle) / BladeSurface::holeHalfSpan;
    return 1.0 / std::sqrt(chord * chord + span * span);
}

/// A place by its ray and by how far it lies from the cut-out (0) to the outline (1). The radii grow in
/// proportion, as the distance between the rays does, which keeps the triangles well shaped.
BladePlace placeAt(double angle, double outwards) {
    double const inner = holeRadius(angle);
    return placeOnRay(angle, inner * std::pow(outlineRadius(angle) / inner, outwards));
}

std::vector<BladePlace> placesOf(BladeResolution const& resolution, RandomNoise& noise) {
    std::vector<BladePlace> places;
    for (unsigned ring = 0; ring <= resolution.rings; ++ring) {
        bool const isRim = ring == 0 || ring == resolution.rings;
        for (unsigned ray = 0; ray < resolution.around; ++ray) {
            double const offRing = isRim ? 0.0 : irregularity * noise.even();
            double const offRay = irregularity * noise.even();
            places.push_back(placeAt(2.0 * std::numbers::pi * (ray + offRay) / resolution.around,
                                     (ring + offRing) / resolution.rings));
        }
    }
    return places;
}

/// The four points of a patch between two rings and two rays, cut along alternate diagonals.
void addPatch(PartMesh& part, unsigned ring, unsigned ray, unsigned around) {
    unsigned const nextRay = (ray + 1) % around;
    unsigned const inner = ring * around + ray;
    unsigned const innerNext = ring * around + nextRay;
    unsigned const outer = inner + around;
    unsigned const outerNext = innerNext + around;
    if ((ring + ray) % 2 == 0) {
        part.faces.push_back({inner, outer, outerNext});
        part.faces.push_back({inner, outerNext, innerNext});
    } else {
        part.faces.push_back({inner, outer, innerNext});
        part.faces.push_back({outer, outerNext, innerNext});
    }
}

} // namespace

bool isOnBlade(BladePlace const& place) {
    double const chord = (place.chord - BladeSurface::holeCentre.chord) / BladeSurface::holeHalfChord;
    double const span = (place.span - BladeSurface::holeCentre.span) / BladeSurface::holeHalfSpan;
    return outlineMeasure(place) <= 1.0 && chord * chord + span * span >= 1.0;
}

PartMesh measuredBlade(BladeResolution const& resolution) {
    RandomNoise noise(resolution.seed);
    BladeSurface const surface;
    PartMesh part;
    part.places = placesOf(resolution, noise);
    for (BladePlace const& place : part.places) {
        part.points.push_back(surface.builtPoint(place) +
                              surface.normal(place) * (resolution.noise * noise.bell()));
    }
    for (unsigned ring = 0; ring < resolution.rings; ++ring) {
        for (unsigned ray = 0; ray < resolution.around; ++ray) {
            addPatch(part, ring, ray, resolution.around);
        }
    }
    return part;
}

} // namespace QELT::Simulation
