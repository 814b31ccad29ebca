#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry::ThreeDimensional {

/// A plane of space: one of its points and a normal, whose length is the caller's affair.
class QELT_EXPORT Plane {
public:
    Plane() = default;

    Plane(Point const& point, Vector const& normal) : p(point), N(normal) {}

    Plane(Plane const&) = default;

    Plane const& operator=(Plane const& other) {
        set(other.p, other.N);
        return *this;
    }

    virtual ~Plane() = default;

    void set(Point const& newp, Vector const& newN) {
        p = newp;
        N = newN;
    }

    /// The normal stays.
    void setp(Point const& newp) { p = newp; }

    void setN(Vector const& newN) { N = newN; }

    Point const& getp() const { return p; }

    Vector const& getN() const { return N; }

private:
    Point p;
    Vector N;
};

} // namespace QELT::Geometry::ThreeDimensional
