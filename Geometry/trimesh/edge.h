#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <cstdint>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

class Triangle;

/// A directed edge of a triangle mesh: a triangle and one of its sides. Side i lies opposite vertex i and
/// runs from vertex i + 1 to vertex i + 2, so that the triangle lies on the left of its three edges. The two
/// sides of one geometric edge are two different values.
///
/// Navigation follows the edge algebra of Guibas and Stolfi ("Primitives for the Manipulation of General
/// Subdivisions", 1985). Crossing a boundary side with `sym` gives an edge without a triangle; only that its
/// triangle is null may be relied on, and no operation but the comparisons and `rot` may be asked of it.
class QELT_EXPORT Edge {
public:
    /// Leaves both fields unset: assign before use.
    Edge() {} // NOLINT(modernize-use-equals-default)

    Edge(Edge const&) = default;

    Edge const& operator=(Edge const& other) {
        set(other);
        return *this;
    }

    virtual ~Edge() = default;

    void set(Edge const& other) {
        triangle = other.triangle;
        triangleEdgeIndex = other.triangleEdgeIndex;
    }

    bool operator==(Edge const& other) const {
        return triangle == other.triangle && triangleEdgeIndex == other.triangleEdgeIndex;
    }

    bool operator!=(Edge const& other) const { return !(*this == other); }

    Triangle* getTriangle() const { return triangle; }

    /// The indices of the vertices at which the edge starts and ends.
    unsigned long org() const;
    unsigned long dest() const;

    /// The next edge around the same triangle: it starts where this one ends.
    Edge rot() const { return Edge(triangle, (triangleEdgeIndex + 1U) % 3U); }

    /// The same geometric edge as a side of the triangle across it.
    Edge sym() const;

    /// The next edge out of `org`, turning with the winding of the triangles.
    Edge onext() const { return rot().rot().sym(); }

    /// The previous edge out of `org`, turning against the winding.
    Edge oprev() const { return sym().rot(); }

    /// Whether no triangle lies across this side.
    bool isBoundary() const;

    /// The ends on the surface, and the way from one to the other in single precision.
    Point const& vphiorg3() const;
    Point const& vphidest3() const;

    /// The way along the edge on the surface.
    Vector vphi3() const { return vphidest3() - vphiorg3(); }

    /// The ends in the flat map, and the way from one to the other.
    TwoDimensional::Point<double> const& vphiorg2() const;
    TwoDimensional::Point<double> const& vphidest2() const;

    /// The way along the edge in the flat map.
    TwoDimensional::Vector<double> vphi2() const { return vphidest2() - vphiorg2(); }

    /// The unit normal of the triangle; NaN for a triangle without area.
    Vector N() const;

    /// In the triangle's plane, at right angles to the edge and as long as it, pointing into the triangle.
    Vector perp3() const { return N().cross(vphi3()); }

private:
    friend class Connectivity;
    friend class SurfaceBuilder;
    friend class Triangle;

    Edge(Triangle* newTriangle, unsigned long index)
        : triangle(newTriangle), triangleEdgeIndex(static_cast<std::uint32_t>(index)) {}

    unsigned long getTriangleEdgeIndex() const { return triangleEdgeIndex; }

    /// Unstitches this side and the side across it. The edge must not be on the boundary.
    void makeBoundary() const;

    Triangle* triangle;
    std::uint32_t triangleEdgeIndex;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
