#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::PointCloud {

/// Finds the nearest others of each of a list of points by halving the list again and again along the axis on
/// which it is longest. All coordinates must be finite.
class QELT_EXPORT NearestPoints {
public:
    /// Squared distance, as `Point::dSqr` gives it, and index of a point.
    using Neighbour = std::pair<double, std::uint32_t>;

    explicit NearestPoints(std::vector<Point> const& newPoints);

    /// The `count` others nearest to point `i`, nearest first, or all others if there are fewer. Points that
    /// coincide with it do not count. Of others that are equally far any may come first, and at the end any
    /// may be left out. The list is valid until the next call.
    std::vector<Neighbour> const& find(std::uint32_t i, std::size_t count);

private:
    std::vector<Point> points;
    std::vector<std::uint32_t> order; ///< points, each stretch halved by the one in its middle
    std::vector<std::uint8_t> axes;   ///< along which the stretch with this middle was halved

    Point query;
    std::uint32_t queryIndex = 0;
    std::size_t wanted = 0;
    std::vector<Neighbour> found; ///< a heap, the farthest first

    void halve(std::size_t first, std::size_t last);
    void visit(std::size_t first, std::size_t last);
    void consider(std::uint32_t index);

    bool isFull() const { return found.size() == wanted; }
};

} // namespace QELT::Geometry::ThreeDimensional::PointCloud
