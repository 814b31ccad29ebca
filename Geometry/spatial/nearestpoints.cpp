#include "Geometry/spatial/nearestpoints.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace QELT::Geometry::ThreeDimensional::PointCloud {

namespace {

/// Stretches of so many points or fewer are looked through one by one.
constexpr std::size_t smallestStretch = 8;

} // namespace

NearestPoints::NearestPoints(std::vector<Point> const& newPoints)
    : points(newPoints), order(newPoints.size()), axes(newPoints.size(), 0) {
    std::iota(order.begin(), order.end(), 0U);
    halve(0, order.size());
}

void NearestPoints::halve(std::size_t first, std::size_t last) {
    if (last - first <= smallestStretch) {
        return;
    }
    auto const begin = order.begin() + static_cast<std::ptrdiff_t>(first);
    auto const end = order.begin() + static_cast<std::ptrdiff_t>(last);
    std::array<float, 3> lengths{};
    for (unsigned long axis = 0; axis < 3; ++axis) {
        auto const isLess = [&](std::uint32_t a, std::uint32_t b) {
            return points[a].get(axis) < points[b].get(axis);
        };
        auto const [low, high] = std::minmax_element(begin, end, isLess);
        lengths.at(axis) = points[*high].get(axis) - points[*low].get(axis);
    }
    auto const axis =
        static_cast<unsigned long>(std::max_element(lengths.begin(), lengths.end()) - lengths.begin());
    std::size_t const middle = first + (last - first) / 2;
    std::nth_element(
        begin, order.begin() + static_cast<std::ptrdiff_t>(middle), end,
        [&](std::uint32_t a, std::uint32_t b) { return points[a].get(axis) < points[b].get(axis); });
    axes[middle] = static_cast<std::uint8_t>(axis);
    halve(first, middle);
    halve(middle + 1, last);
}

std::vector<NearestPoints::Neighbour> const& NearestPoints::find(std::uint32_t i, std::size_t count) {
    query = points[i];
    queryIndex = i;
    wanted = count;
    found.clear();
    visit(0, order.size());
    std::sort_heap(found.begin(), found.end());
    return found;
}

void NearestPoints::visit(std::size_t first, std::size_t last) {
    if (last - first <= smallestStretch) {
        for (std::size_t k = first; k < last; ++k) {
            consider(order[k]);
        }
        return;
    }
    std::size_t const middle = first + (last - first) / 2;
    consider(order[middle]);
    float const offset = query.get(axes[middle]) - points[order[middle]].get(axes[middle]);
    bool const isLow = offset < 0.0F;
    visit(isLow ? first : middle + 1, isLow ? middle : last);
    // Rounding keeps order, so no point on the other side is nearer than the square of this offset.
    if (!isFull() || static_cast<double>(offset * offset) < found.front().first) {
        visit(isLow ? middle + 1 : first, isLow ? last : middle);
    }
}

void NearestPoints::consider(std::uint32_t index) {
    if (index == queryIndex || !(points[index] != query)) {
        return;
    }
    Neighbour const neighbour(query.dSqr(points[index]), index);
    if (!isFull()) {
        found.push_back(neighbour);
        std::push_heap(found.begin(), found.end());
    } else if (neighbour.first < found.front().first) {
        std::pop_heap(found.begin(), found.end());
        found.back() = neighbour;
        std::push_heap(found.begin(), found.end());
    }
}

} // namespace QELT::Geometry::ThreeDimensional::PointCloud
