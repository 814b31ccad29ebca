#pragma once

#include "simulation/names.h"

#include <memory>
#include <optional>
#include <string>

namespace QELT::Simulation {

/// A place on a shape, in millimetres along its own two coordinates.
struct Place {
    double u = 0.0;
    double v = 0.0;
};

/// A point of a surface with its outward unit normal and the unit tangent along u.
struct SurfacePoint {
    Vector point;
    Vector normal;
    Vector alongU;
};

/// Where a beam meets a surface, and how far from its origin.
struct Contact {
    Vector point;
    Vector normal;
    double distance = 0.0;
};

/// The surface of a simulated part, by formulas. Its coordinates go on past its rim, so that a probe can
/// overrun it.
class Shape {
public:
    Shape() = default;
    Shape(Shape const&) = delete;
    Shape& operator=(Shape const&) = delete;
    virtual ~Shape() = default;

    /// The corners of the box of coordinates that the part takes.
    virtual Place low() const = 0;
    virtual Place high() const = 0;

    virtual SurfacePoint at(Place const& place) const = 0;

    /// Where a beam, with a direction of unit length, meets the part first if it does so from outside.
    virtual std::optional<Contact> meet(Vector const& origin, Vector const& direction) const = 0;

    /// The shortest way on the surface to `to`, as a vector in the tangent plane at `from`: its direction at
    /// the start and its length. Exact on the cylinder and the cap; on the blade the length is that of the
    /// chord, and over the size of a flaw they do not differ by a micrometre.
    virtual Vector way(SurfacePoint const& from, Vector const& to) const = 0;

    /// The area on the surface within an ellipse of the given half axes, measured along shortest ways.
    virtual double areaOfEllipse(double a, double b) const;

    /// Triangles with sides of about this length.
    virtual FaceMesh mesh(double side) const = 0;
};

/// A cylinder about z, slit along a line of constant angle at -x, with normals away from the axis. u is the
/// length along its circumference from +x, v is z: unrolled it is a rectangle in these coordinates.
struct CylinderSize {
    double radius = 100.0;
    double halfAngle = 175.0; ///< degrees from +x to either side of the slit
    double halfLength = 40.0;
};

std::unique_ptr<Shape const> makeCylinder(CylinderSize const& size);

/// The cap of a sphere about the origin within an angle of +z. u and v are x and y of a place turned down
/// along its meridian: the length from the pole is the distance on the surface.
struct CapSize {
    double radius = 50.0;
    double angle = 60.0; ///< degrees from the pole to the rim
};

std::unique_ptr<Shape const> makeCap(CapSize const& size);

/// The demonstration's blade as built, u along its chord and v along its span. Its mesh is the measured one,
/// with its own resolution and noise.
std::unique_ptr<Shape const> makeBlade();

} // namespace QELT::Simulation
