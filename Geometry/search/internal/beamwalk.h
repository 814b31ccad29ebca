#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"
#include "Geometry/quadmesh/quadintersectiondata.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

class RectMesh;

/// The walk of one beam across a grid, from quad to quad, until it stands on the one that the beam meets. It
/// keeps references to the grid and the beam, and allocates nothing.
class BeamWalk {
public:
    BeamWalk(RectMesh const& newGrid, Point const& newOrigin, Vector const& newDirection)
        : grid(newGrid), origin(newOrigin), direction(newDirection) {}

    /// Walks from a quad inside the grid, existing or not; whether the beam met a quad. One walk only.
    [[nodiscard]] bool findHit(TwoDimensional::Point<int> const& start);

    /// The quad to report after a hit. It can lie short of the quad that the beam met, see `findHit`.
    TwoDimensional::Point<int> const& getQuad() const { return quad; }

    /// Where the beam met the quad. After a miss it has no meaning.
    Point const& getHitPoint() const { return hitPoint; }

    /// How the beam met the quad. All zero after a miss, and after a hit too far away to be measured.
    QuadIntersectionData const& getHitData() const { return hitData; }

    /// The way back from a place off the grid towards an existing quad, by bisection: the last place on it
    /// that was found to be an existing quad.
    [[nodiscard]] static TwoDimensional::Point<int>
    getRetreat(RectMesh const& grid, TwoDimensional::Point<int> good, TwoDimensional::Point<int> bad);

private:
    bool getDoesMeetQuad();
    TwoDimensional::Vector<int> getStepToFoot() const;

    void retreat() { quad = getRetreat(grid, previous, quad); }

    RectMesh const& grid;
    Point const& origin;
    Vector const& direction;
    TwoDimensional::Point<int> quad;
    TwoDimensional::Point<int> previous;
    int landingsOffGrid = 0;
    Point hitPoint;
    QuadIntersectionData hitData;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
