#include "Geometry/spatial/nearestpoints.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <stdexcept>

// The nearest points by a k-d tree without nodes (Bentley, "Multidimensional Binary Search Trees Used for
// Associative Searching", 1975; the axis by extent as in Friedman, Bentley and Finkel, "An Algorithm for
// Finding Best Matches in Logarithmic Expected Time", 1977).
//
// The tree is an order of the points. A stretch of it is split by its median along the axis on which it is
// longest: the median stands in the middle, lesser points before and greater ones behind it. Points that
// equal the median along the axis may stand on either side. A query looks through the side on which it lies,
// then through the other one unless nothing there can be among the nearest. It keeps the best so far in a
// heap with the worst in front.
//
// There is no tolerance: the bound is exact in floats. `Point::dSqr` rounds differences, squares and sums,
// and rounding keeps order, so a point on the other side of the median is at least as far, as it is
// computed, as the rounded square of the rounded offset from the median. At equality it could still have a
// lower index, hence the search goes on there. The argument needs numbers without NaN: differences of finite
// ones have none.
//
// Built in n log n; a query takes log n steps on clouds without many equal distances, and n at worst, as for
// a place from which all points are equally far. Stretches of up to 8 points are looked through one by one,
// which is faster than splitting them; the answer does not depend on that number.

namespace QELT::Geometry::ThreeDimensional::PointCloud {

namespace {

constexpr std::size_t smallestStretch = 8;

void checkFinite(Point const& point) {
    if (!std::isfinite(point.getX()) || !std::isfinite(point.getY()) || !std::isfinite(point.getZ())) {
        throw std::runtime_error("Coordinates must be finite");
    }
}

std::size_t getMiddle(std::size_t first, std::size_t last) {
    return first + (last - first) / 2;
}

} // namespace

/// One query: the best so far, and which points count.
class NearestPoints::Search {
public:
    Search(NearestPoints const& theIndex, Point const& newPlace, std::size_t newCount,
           bool doesCountSamePlace)
        : index(theIndex), place(newPlace), count(newCount), isSamePlaceCounted(doesCountSamePlace) {
        found.reserve(count);
    }

    /// The points found, nearest first.
    std::vector<Neighbour> run() {
        if (count > 0) {
            visit(0, index.order.size());
        }
        std::sort_heap(found.begin(), found.end());
        return std::move(found);
    }

private:
    void visit(std::size_t first, std::size_t last) {
        if (last - first <= smallestStretch) {
            for (std::size_t k = first; k < last; ++k) {
                consider(index.order[k]);
            }
            return;
        }
        std::size_t const middle = getMiddle(first, last);
        consider(index.order[middle]);
        unsigned long const axis = index.axes[middle];
        float const offset = place.get(axis) - index.points[index.order[middle]].get(axis);
        bool const isLow = offset < 0.0F;
        visit(isLow ? first : middle + 1, isLow ? middle : last);
        if (found.size() < count || static_cast<double>(offset * offset) <= found.front().distanceSqr) {
            visit(isLow ? middle + 1 : first, isLow ? last : middle);
        }
    }

    void consider(std::uint32_t candidate) {
        Point const& point = index.points[candidate];
        if (!isSamePlaceCounted && point == place) {
            return;
        }
        Neighbour const neighbour{place.dSqr(point), candidate};
        if (found.size() < count) {
            found.push_back(neighbour);
            std::push_heap(found.begin(), found.end());
        } else if (neighbour < found.front()) {
            std::pop_heap(found.begin(), found.end());
            found.back() = neighbour;
            std::push_heap(found.begin(), found.end());
        }
    }

    NearestPoints const& index;
    Point place;
    std::size_t count;
    bool isSamePlaceCounted;
    std::vector<Neighbour> found; ///< a heap, the last of the order in front
};

NearestPoints::NearestPoints(std::vector<Point> const& newPoints)
    : points(newPoints), order(newPoints.size()), axes(newPoints.size(), 0) {
    std::for_each(points.begin(), points.end(), checkFinite);
    std::iota(order.begin(), order.end(), 0U);
    halve(0, order.size());
}

void NearestPoints::halve(std::size_t first, std::size_t last) {
    if (last - first <= smallestStretch) {
        return;
    }
    std::uint8_t const axis = getLongestAxis(first, last);
    std::size_t const middle = getMiddle(first, last);
    auto const begin = order.begin();
    std::nth_element(begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(middle),
                     begin + static_cast<std::ptrdiff_t>(last), [&](std::uint32_t a, std::uint32_t b) {
                         return points[a].get(axis) < points[b].get(axis);
                     });
    axes[middle] = axis;
    halve(first, middle);
    halve(middle + 1, last);
}

/// The axis on which a stretch that is not empty is longest, the first of equal ones.
std::uint8_t NearestPoints::getLongestAxis(std::size_t first, std::size_t last) const {
    Point low = points[order[first]];
    Point high = low;
    for (std::size_t k = first + 1; k < last; ++k) {
        low.setMin(points[order[k]]);
        high.setMax(points[order[k]]);
    }
    std::array<float, 3> const lengths{high.getX() - low.getX(), high.getY() - low.getY(),
                                       high.getZ() - low.getZ()};
    return static_cast<std::uint8_t>(std::max_element(lengths.begin(), lengths.end()) - lengths.begin());
}

std::vector<NearestPoints::Neighbour> NearestPoints::getNearest(Point const& place,
                                                                unsigned long count) const {
    checkFinite(place);
    return Search(*this, place, std::min<std::size_t>(count, points.size()), true).run();
}

std::vector<NearestPoints::Neighbour> NearestPoints::getNearestOthers(unsigned long i,
                                                                      unsigned long count) const {
    if (i >= points.size()) {
        throw std::runtime_error("No such point");
    }
    return Search(*this, points[i], std::min<std::size_t>(count, points.size()), false).run();
}

} // namespace QELT::Geometry::ThreeDimensional::PointCloud
