#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

class RectMesh;

/// A directed unit step on a grid: a node and one of four directions. It owns the quad on its left; the
/// counter-clockwise walk around a quad from its low corner is `PositiveU`, `PositiveV`, `NegativeU`,
/// `NegativeV`. The same algebra as that of the triangle mesh's edges, on a surface whose connectivity is
/// arithmetic. An edge does not own its mesh.
class QELT_EXPORT Edge {
public:
    /// Which way an edge steps from its origin.
    enum Orientation : int {
        PositiveU = 0,
        PositiveV = 1,
        NegativeU = 2,
        NegativeV = 3,
    };

    Edge() = default;
    Edge(Edge const&) = default;
    Edge& operator=(Edge const&) = default;
    virtual ~Edge() = default;

    void set(Edge const& other) { *this = other; }

    bool operator==(Edge const& other) const {
        return mesh == other.mesh && orientation == other.orientation && origin == other.origin;
    }

    bool operator!=(Edge const& other) const { return !(*this == other); }

    /// The nodes at which the step starts and ends.
    TwoDimensional::Point<int> org() const { return origin; }

    /// The node at which the step ends.
    TwoDimensional::Point<int> dest() const { return origin + getStep(orientation); }

    /// The next edge of the walk around the left quad.
    Edge rot() const { return Edge(mesh, dest(), turned(1)); }

    /// The reverse edge.
    Edge sym() const { return Edge(mesh, dest(), turned(2)); }

    /// The next edge out of the origin, counter-clockwise, and the previous one.
    Edge onext() const { return Edge(mesh, origin, turned(1)); }

    /// The previous edge out of the origin, clockwise.
    Edge oprev() const { return Edge(mesh, origin, turned(3)); }

    /// Whether both ends are valid nodes.
    bool isValid() const;

    /// Whether the quad on the left exists.
    bool isQuadValid() const;

    /// Whether the quad on the left exists and the one on the right does not.
    bool isBoundary() const;

    /// The ends in space, read through the grid's virtual `getPoint`, and the way from one to the other.
    ThreeDimensional::Point vphiorg3() const;
    ThreeDimensional::Point vphidest3() const;

    /// The step on the surface, in double precision.
    ThreeDimensional::Vector vphi3() const { return vphidest3() - vphiorg3(); }

private:
    friend class RectMesh;

    Edge(RectMesh* newMesh, TwoDimensional::Point<int> newOrigin, Orientation newOrientation)
        : mesh(newMesh), origin(newOrigin), orientation(newOrientation) {}

    static TwoDimensional::Vector<int> getStep(Orientation orientation);

    Orientation turned(int quarters) const { return static_cast<Orientation>((orientation + quarters) % 4); }

    RectMesh* mesh = nullptr;
    TwoDimensional::Point<int> origin;
    Orientation orientation = PositiveU;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
