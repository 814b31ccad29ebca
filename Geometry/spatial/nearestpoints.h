#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::PointCloud {

/// Finds the nearest of a list of points, exactly: the answer is that of a sort of all of them by
/// `Point::dSqr`, equally far ones by index, at a cost that grows with the logarithm of their number. It
/// keeps a copy of the points. Queries change nothing, so several threads may ask at once.
///
/// \code
/// PointCloud::NearestPoints const points({Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0)});
/// auto const nearest = points.getNearest(Point(0.9, 0.1, 0.0), 1); // point 1
/// \endcode
class QELT_EXPORT NearestPoints {
public:
    /// A point that was found: its squared distance as `Point::dSqr` gives it, and its index in the list.
    struct Neighbour {
        double distanceSqr = 0.0; ///< in the square of the points' unit
        std::uint32_t index = 0;

        bool operator==(Neighbour const& other) const = default;

        /// The nearer one comes first, of equally far ones that with the lower index.
        bool operator<(Neighbour const& other) const {
            return distanceSqr < other.distanceSqr ||
                   (distanceSqr == other.distanceSqr && index < other.index);
        }
    };

    /// An index over fewer than 2^32 points, or over none. Takes time n log n for n points.
    /// \throws std::runtime_error "Coordinates must be finite" if one is infinite or NaN.
    explicit NearestPoints(std::vector<Point> const& newPoints);

    unsigned long getNumberOfPoints() const { return points.size(); }

    /// The `count` points nearest to any place, nearest first, or all if there are fewer. One that coincides
    /// with the place has the distance 0, and distances beyond the range of floats are infinite and equal.
    /// \throws std::runtime_error "Coordinates must be finite" if one of the place is not.
    [[nodiscard]] std::vector<Neighbour> getNearest(Point const& place, unsigned long count) const;

    /// The `count` points nearest to point `i` of the list, nearest first, or all if there are fewer, without
    /// those at the same place: neither the point itself nor its duplicates.
    /// \throws std::runtime_error "No such point" if the list has no point `i`.
    [[nodiscard]] std::vector<Neighbour> getNearestOthers(unsigned long i, unsigned long count) const;

private:
    class Search;

    void halve(std::size_t first, std::size_t last);
    std::uint8_t getLongestAxis(std::size_t first, std::size_t last) const;

    std::vector<Point> points;
    std::vector<std::uint32_t> order; ///< the points, each stretch halved by the one in its middle
    std::vector<std::uint8_t> axes;   ///< along which the stretch with this middle was halved
};

} // namespace QELT::Geometry::ThreeDimensional::PointCloud
