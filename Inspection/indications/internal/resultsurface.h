#pragma once

#include "Inspection/indications/indication.h"
#include "Inspection/results/result.h"

#include <array>
#include <cstddef>
#include <optional>

namespace QELT::Inspection {

/// The surface of a result: places in space of the points of its pixels' plane, in the space of the grids,
/// which the part was moved to. The result outlives it.
class ResultSurface {
public:
    explicit ResultSurface(Result const& shownResult) : result(shownResult) {}

    /// The point of a pixel's quad, between its nodes, at a place in quads on the pixel or its rim.
    Vector pointAt(std::size_t pixel, FlatPoint const& at) const;
    Vector pointOf(std::size_t pixel) const;
    Vector normalOf(std::size_t pixel) const;
    FlatPoint middleOf(std::size_t pixel) const;

    /// The pixel `du` to the right and `dv` up, if it lies in the scan plane.
    std::optional<std::size_t> neighbourOf(std::size_t pixel, int du, int dv) const;

    /// Whether two pixels with surface that are neighbours in the scan plane are so on the part: they are of
    /// one grid, or as near as quads of one.
    bool areJoined(std::size_t pixel, std::size_t other) const;

    /// The foot of the normal from a point to the surface, searched from a pixel on, in the part's space.
    SurfacePlace footOf(Vector const& point, std::size_t from) const;

    /// A pixel's middle, in the part's space.
    SurfacePlace placeOf(std::size_t pixel) const;

private:
    Result const& result;

    std::array<Vector, 4> cornersOf(std::size_t pixel) const;
    double longestSideSqrOf(std::size_t pixel) const;
    Vector normalAt(std::size_t pixel, FlatPoint const& at) const;
    SurfacePlace placeAt(std::size_t pixel, FlatPoint const& at) const;
};

} // namespace QELT::Inspection
