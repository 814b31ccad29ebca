#include "simulation/shape.h"

#include "simulation/bladepart.h"
#include "simulation/rigidmotion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace QELT::Simulation {

namespace {

constexpr double pi = std::numbers::pi;
constexpr double degree = pi / 180.0;

Point pointAt(Vector const& position) {
    return Point(position.getdX(), position.getdY(), position.getdZ());
}

unsigned intervalsIn(double length, double side) {
    return std::max(1U, static_cast<unsigned>(std::ceil(length / side)));
}

/// The nearer solution of t^2 + 2 b t + c = 0, at which a beam enters a round body; none if it does not, or
/// lies behind.
std::optional<double> entryOf(double b, double c) {
    double const discriminant = b * b - c;
    if (!(discriminant > 0.0)) {
        return std::nullopt;
    }
    double const entry = -b - std::sqrt(discriminant);
    return entry > 0.0 ? std::optional(entry) : std::nullopt;
}

class Cylinder : public Shape {
public:
    explicit Cylinder(CylinderSize const& newSize) : size(newSize) {}

    Place low() const override { return {-halfArc(), -size.halfLength}; }

    Place high() const override { return {halfArc(), size.halfLength}; }

    SurfacePoint at(Place const& place) const override {
        double const angle = place.u / size.radius;
        Vector const normal(std::cos(angle), std::sin(angle), 0.0);
        return {normal * size.radius + Vector(0.0, 0.0, place.v), normal,
                Vector(-std::sin(angle), std::cos(angle), 0.0)};
    }

    std::optional<Contact> meet(Vector const& origin, Vector const& direction) const override {
        Vector const from(origin.getdX(), origin.getdY(), 0.0);
        Vector const towards(direction.getdX(), direction.getdY(), 0.0);
        double const scale = towards.lSqr();
        auto const entry =
            entryOf(from.dot(towards) / scale, (from.lSqr() - size.radius * size.radius) / scale);
        if (!entry) {
            return std::nullopt;
        }
        Vector const point = origin + direction * *entry;
        double const angle = std::atan2(point.getdY(), point.getdX());
        if (std::abs(angle) > size.halfAngle * degree || std::abs(point.getdZ()) > size.halfLength) {
            return std::nullopt;
        }
        return Contact{point, Vector(std::cos(angle), std::sin(angle), 0.0), *entry};
    }

    /// Not across the slit.
    Vector way(SurfacePoint const& from, Vector const& to) const override {
        double const angle =
            std::atan2(to.getdY(), to.getdX()) - std::atan2(from.normal.getdY(), from.normal.getdX());
        return from.alongU * (size.radius * angle) + Vector(0.0, 0.0, to.getdZ() - from.point.getdZ());
    }

    FaceMesh mesh(double side) const override {
        unsigned const columns = intervalsIn(2.0 * halfArc(), side);
        unsigned const rows = intervalsIn(2.0 * size.halfLength, side);
        FaceMesh mesh;
        for (unsigned row = 0; row <= rows; ++row) {
            for (unsigned column = 0; column <= columns; ++column) {
                mesh.points.push_back(pointAt(at({halfArc() * (2.0 * column / columns - 1.0),
                                                  size.halfLength * (2.0 * row / rows - 1.0)})
                                                  .point));
            }
        }
        for (unsigned row = 0; row < rows; ++row) {
            for (unsigned column = 0; column < columns; ++column) {
                unsigned const corner = row * (columns + 1) + column;
                unsigned const above = corner + columns + 1;
                mesh.faces.push_back({corner, corner + 1, above + 1});
                mesh.faces.push_back({corner, above + 1, above});
            }
        }
        return mesh;
    }

private:
    CylinderSize size;

    double halfArc() const { return size.radius * size.halfAngle * degree; }
};

class Cap : public Shape {
public:
    explicit Cap(CapSize const& newSize) : size(newSize) {}

    Place low() const override { return {-rim(), -rim()}; }

    Place high() const override { return {rim(), rim()}; }

    SurfacePoint at(Place const& place) const override {
        double const length = std::hypot(place.u, place.v);
        double const angle = length / size.radius;
        Vector const outwards =
            length > 0.0 ? Vector(place.u / length, place.v / length, 0.0) : Vector(1.0, 0.0, 0.0);
        Vector const normal = outwards * std::sin(angle) + Vector(0.0, 0.0, std::cos(angle));
        Vector const downwards = outwards * std::cos(angle) - Vector(0.0, 0.0, std::sin(angle));
        Vector const around = normal.cross(downwards);
        // Along u, ways down the meridian keep their length, those around shrink with their circle.
        double const shrinkage = angle > 0.0 ? std::sin(angle) / angle : 1.0;
        Vector const alongU = downwards * outwards.getdX() - around * (outwards.getdY() * shrinkage);
        return {normal * size.radius, normal, unitOf(alongU)};
    }

    std::optional<Contact> meet(Vector const& origin, Vector const& direction) const override {
        auto const entry = entryOf(origin.dot(direction), origin.lSqr() - size.radius * size.radius);
        if (!entry) {
            return std::nullopt;
        }
        Vector const point = origin + direction * *entry;
        if (std::atan2(std::hypot(point.getdX(), point.getdY()), point.getdZ()) > size.angle * degree) {
            return std::nullopt;
        }
        return Contact{point, unitOf(point), *entry};
    }

    Vector way(SurfacePoint const& from, Vector const& to) const override {
        Vector const across = to - from.normal * to.dot(from.normal);
        double const sine = std::sqrt(across.lSqr());
        return sine > 0.0 ? across * (size.radius * std::atan2(sine, to.dot(from.normal)) / sine)
                          : Vector(0.0, 0.0, 0.0);
    }

    /// The sum of narrow sectors, each of which is one of a flat cap.
    double areaOfEllipse(double a, double b) const override {
        constexpr int sectors = 720;
        double sum = 0.0;
        for (int i = 0; i < sectors; ++i) {
            double const angle = 2.0 * pi * i / sectors;
            double const reach = a * b / std::hypot(b * std::cos(angle), a * std::sin(angle));
            double const half = std::sin(0.5 * reach / size.radius);
            sum += 2.0 * half * half;
        }
        return size.radius * size.radius * sum * 2.0 * pi / sectors;
    }

    /// Rings about the pole, each with six points more than the one inside it.
    FaceMesh mesh(double side) const override {
        unsigned const rings = intervalsIn(rim(), side);
        FaceMesh mesh;
        mesh.points.push_back(pointAt(at({}).point));
        for (unsigned ring = 1; ring <= rings; ++ring) {
            for (unsigned i = 0; i < 6 * ring; ++i) {
                double const angle = 2.0 * pi * i / (6.0 * ring);
                double const length = rim() * ring / rings;
                mesh.points.push_back(
                    pointAt(at({length * std::cos(angle), length * std::sin(angle)}).point));
            }
            addRing(mesh, ring);
        }
        return mesh;
    }

private:
    CapSize size;

    double rim() const { return size.radius * size.angle * degree; }

    static unsigned firstOf(unsigned ring) { return ring == 0 ? 0 : 1 + 3 * ring * (ring - 1); }

    static unsigned pointOf(unsigned ring, unsigned i) {
        return ring == 0 ? 0 : firstOf(ring) + i % (6 * ring);
    }

    /// The triangles between a ring and the one inside it, sextant by sextant.
    static void addRing(FaceMesh& mesh, unsigned ring) {
        for (unsigned sextant = 0; sextant < 6; ++sextant) {
            for (unsigned k = 0; k < ring; ++k) {
                unsigned const outer = sextant * ring + k;
                unsigned const inner = sextant * (ring - 1) + k;
                mesh.faces.push_back(
                    {pointOf(ring, outer), pointOf(ring, outer + 1), pointOf(ring - 1, inner)});
                if (k + 1 < ring) {
                    mesh.faces.push_back(
                        {pointOf(ring - 1, inner), pointOf(ring, outer + 1), pointOf(ring - 1, inner + 1)});
                }
            }
        }
    }
};

class Blade : public Shape {
public:
    Place low() const override { return {-BladeSurface::halfChord, -BladeSurface::halfSpan}; }

    Place high() const override { return {BladeSurface::halfChord, BladeSurface::halfSpan}; }

    SurfacePoint at(Place const& place) const override {
        auto const [alongU, alongV] = tangentsAt(place);
        return {surface.builtPosition({place.u, place.v}), unitOf(alongU.cross(alongV)), unitOf(alongU)};
    }

    /// Newton's steps from where the beam passes the middle of the blade's height: the surface bends little.
    std::optional<Contact> meet(Vector const& origin, Vector const& direction) const override {
        constexpr int maxSteps = 30;
        constexpr double enough = 1e-10;
        constexpr double middleHeight = 3.5;
        double distance = (middleHeight - origin.getdZ()) / direction.getdZ();
        Vector const start = origin + direction * distance;
        Place place{start.getdX(), start.getdY()};
        for (int step = 0; step < maxSteps && std::isfinite(distance); ++step) {
            Vector const gap = origin + direction * distance - surface.builtPosition({place.u, place.v});
            auto const [alongU, alongV] = tangentsAt(place);
            // gap = du alongU + dv alongV - dt direction, by Cramer's rule.
            Vector const normal = alongU.cross(alongV);
            double const determinant = normal.dot(direction);
            double const shorter = gap.dot(normal) / determinant;
            Vector const inPlane = gap - direction * shorter;
            place.u += inPlane.cross(alongV).dot(normal) / normal.lSqr();
            place.v += alongU.cross(inPlane).dot(normal) / normal.lSqr();
            distance -= shorter;
            if (gap.lSqr() < enough * enough) {
                return contactAt(place, direction, distance);
            }
        }
        return std::nullopt;
    }

    Vector way(SurfacePoint const& from, Vector const& to) const override {
        Vector const chord = to - from.point;
        Vector const inPlane = chord - from.normal * chord.dot(from.normal);
        double const length = std::sqrt(inPlane.lSqr());
        return length > 0.0 ? inPlane * (std::sqrt(chord.lSqr()) / length) : Vector(0.0, 0.0, 0.0);
    }

    FaceMesh mesh(double) const override { return measuredBlade({}); }

private:
    BladeSurface surface;

    std::array<Vector, 2> tangentsAt(Place const& place) const {
        constexpr double h = 1e-3;
        return {
            (surface.builtPosition({place.u + h, place.v}) - surface.builtPosition({place.u - h, place.v})) /
                (2.0 * h),
            (surface.builtPosition({place.u, place.v + h}) - surface.builtPosition({place.u, place.v - h})) /
                (2.0 * h)};
    }

    std::optional<Contact> contactAt(Place const& place, Vector const& direction, double distance) const {
        SurfacePoint const met = at(place);
        if (!isOnBlade({place.u, place.v}) || !(distance > 0.0) || !(met.normal.dot(direction) < 0.0)) {
            return std::nullopt;
        }
        return Contact{met.point, met.normal, distance};
    }
};

} // namespace

double Shape::areaOfEllipse(double a, double b) const {
    return pi * a * b;
}

std::unique_ptr<Shape const> makeCylinder(CylinderSize const& size) {
    return std::make_unique<Cylinder>(size);
}

std::unique_ptr<Shape const> makeCap(CapSize const& size) {
    return std::make_unique<Cap>(size);
}

std::unique_ptr<Shape const> makeBlade() {
    return std::make_unique<Blade>();
}

} // namespace QELT::Simulation
