#include "Geometry/trimesh/reconstruction/internal/cloudorder.h"

#include "Geometry/foundations/rounding.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

// The order is that of Morton (G. M. Morton, "A Computer Oriented Geodetic Data Base and a New Technique in
// File Sequencing", 1966): the cloud's cube is cut into 2^21 layers along each axis, and the bits of a
// point's three layers are interleaved to one number. Points of one number keep their order.
//
// Which layer a point falls into decides about nothing but time, so rounding there is of no account. One step
// over the points and a sort.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t bitsOfLayer = 21;

bool isFinitePoint(Point const& point) {
    return std::isfinite(point.getX()) && std::isfinite(point.getY()) && std::isfinite(point.getZ());
}

/// The bits of a layer, each followed by two zeros.
std::uint64_t spread(std::uint32_t layer) {
    std::uint64_t bits = layer;
    bits = (bits | bits << 32U) & 0x001F00000000FFFFU;
    bits = (bits | bits << 16U) & 0x001F0000FF0000FFU;
    bits = (bits | bits << 8U) & 0x100F00F00F00F00FU;
    bits = (bits | bits << 4U) & 0x10C30C30C30C30C3U;
    bits = (bits | bits << 2U) & 0x1249249249249249U;
    return bits;
}

/// The cube in which the numbers are given, around one point or more, all finite.
class MortonCube {
public:
    explicit MortonCube(std::vector<Point> const& points) : low(points.front()), high(points.front()) {
        for (Point const& point : points) {
            low.setMin(point);
            high.setMax(point);
        }
        double const extent = std::max({extentOf(0), extentOf(1), extentOf(2)});
        constexpr double numberOfLayers = 1U << bitsOfLayer;
        layersPerLength = extent > 0.0 ? (numberOfLayers - 1.0) / extent : 0.0;
    }

    std::uint64_t getNumber(Point const& point) const {
        return spread(getLayer(point, 0)) | spread(getLayer(point, 1)) << 1U |
               spread(getLayer(point, 2)) << 2U;
    }

private:
    double extentOf(unsigned long axis) const { return double{high.get(axis)} - double{low.get(axis)}; }

    std::uint32_t getLayer(Point const& point, unsigned long axis) const {
        return truncateToUInt32((double{point.get(axis)} - double{low.get(axis)}) * layersPerLength);
    }

    Point low;
    Point high;
    double layersPerLength = 0.0;
};

/// The vertices in the order of their numbers.
std::vector<std::uint32_t> sortAlongCurve(std::vector<Point> const& points) {
    MortonCube const cube(points);
    std::vector<std::pair<std::uint64_t, std::uint32_t>> numbers;
    numbers.reserve(points.size());
    for (Point const& point : points) {
        numbers.emplace_back(cube.getNumber(point), static_cast<std::uint32_t>(numbers.size()));
    }
    std::sort(numbers.begin(), numbers.end());
    std::vector<std::uint32_t> order;
    order.reserve(points.size());
    for (auto const& [number, vertex] : numbers) {
        order.push_back(vertex);
    }
    return order;
}

} // namespace

CloudOrder::CloudOrder(Connectivity const& cloud)
    : vertexOf(cloud.getNumberOfVertices()), rankOf(cloud.getNumberOfVertices()) {
    points.reserve(vertexOf.size());
    for (std::uint32_t v = 0; v < cloud.getNumberOfVertices(); ++v) {
        points.push_back(cloud.getPoint(v));
    }
    isFinite = std::all_of(points.begin(), points.end(), isFinitePoint);
    if (isFinite && !points.empty()) {
        vertexOf = sortAlongCurve(points);
    } else {
        std::iota(vertexOf.begin(), vertexOf.end(), 0U);
    }
    for (std::uint32_t rank = 0; rank < getNumberOfPoints(); ++rank) {
        points[rank] = cloud.getPoint(vertexOf[rank]);
        rankOf[vertexOf[rank]] = rank;
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
