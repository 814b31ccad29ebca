#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

class RectMesh;

/// An array of beam positions that is moved along a straight line of a grid, set across it.
class Stripe {
public:
    /// Beams fired, by whether they met the quad they were aimed at.
    struct Count {
        unsigned long passes = 0;
        unsigned long failures = 0;
    };

    /// Draws lines by `rand` until one lies with the whole array on existing quads. The array has
    /// `newNumberOfElements` positions; `newSpan` is their number of quads from end to end. The grid has
    /// quads.
    [[nodiscard]] static Stripe draw(RectMesh const& grid, int newNumberOfElements, int newSpan);

    std::pair<TwoDimensional::Point<int>, TwoDimensional::Point<int>> const& getLine() const { return line; }

    /// Fires the beams in scan order through the grid's `getIntersection`.
    [[nodiscard]] Count fire(RectMesh& grid) const;

private:
    Stripe(TwoDimensional::Point<int> const& a, TwoDimensional::Point<int> const& b, int newNumberOfElements,
           int newSpan);

    bool getIsOnSurface(RectMesh const& grid) const;
    int getOffset(int element) const;
    TwoDimensional::Point<int> getCell(TwoDimensional::Point<int> const& quad, int element) const;

    std::pair<TwoDimensional::Point<int>, TwoDimensional::Point<int>> line;
    std::vector<TwoDimensional::Point<int>> raster;
    TwoDimensional::Vector<int> perp;
    int perpLength;
    int span;
    int numberOfElements;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
