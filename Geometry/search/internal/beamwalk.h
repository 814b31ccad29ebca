#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"
#include "Geometry/quadmesh/quadintersectiondata.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

class QuadReader;
class QuadCorners;

/// The walk of one beam across a grid, from quad to quad, until it stands on the one that the beam meets. It
/// keeps references to the grid's quads and the beam, and allocates nothing.
class BeamWalk {
public:
    /// With `newIsFlipped` the quads' normals are turned over in what is measured.
    BeamWalk(QuadReader const& newQuads, Point const& newOrigin, Vector const& newDirection,
             bool newIsFlipped)
        : quads(newQuads), origin(newOrigin), direction(newDirection), isFlipped(newIsFlipped) {}

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
    getRetreat(QuadReader const& quads, TwoDimensional::Point<int> good, TwoDimensional::Point<int> bad);

private:
    bool getDoesMeetQuad(QuadCorners const& corners);
    TwoDimensional::Vector<int> getStepToFoot(QuadCorners const& corners) const;

    void retreat() { quad = getRetreat(quads, previous, quad); }

    QuadReader const& quads;
    Point const& origin;
    Vector const& direction;
    bool isFlipped;
    TwoDimensional::Point<int> quad;
    TwoDimensional::Point<int> previous;
    int landingsOffGrid = 0;
    Point hitPoint;
    QuadIntersectionData hitData;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
