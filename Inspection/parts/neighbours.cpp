#include "Inspection/parts/neighbours.h"

#include "Inspection/import/part.h"
#include "Inspection/records/failure.h"

#include <string>

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Object;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Tree;

std::vector<Neighbour> nearestOf(std::vector<Point>& points, Point const& place, std::size_t count) {
    std::vector<Object*> objects;
    objects.reserve(points.size());
    for (Point& point : points) {
        objects.push_back(&point);
    }
    Tree tree;
    tree.construct(objects, objects.size());
    std::vector<Object const*> nearest(count);
    std::vector<double> distances(count);
    tree.getkNearestNeighbours(count, &place, nearest.data(), distances.data());
    std::vector<Neighbour> neighbours;
    for (std::size_t i = 0; i < count && nearest[i] != nullptr; ++i) {
        auto const index = static_cast<std::size_t>(static_cast<Point const*>(nearest[i]) - points.data());
        neighbours.push_back({index, points[index], distances[i]});
    }
    return neighbours;
}

} // namespace

std::vector<Neighbour> findNeighbours(NeighboursOptions const& options, ProgressListener*) {
    require(options.count > 0, options.cloud.string() + ": no neighbours asked for");
    auto points = loadPoints(options.cloud);
    if (options.count > points.size()) {
        throw Failure(options.cloud.string() + ": holds " + std::to_string(points.size()) +
                      (points.size() == 1 ? " point, " : " points, ") + std::to_string(options.count) +
                      " asked for");
    }
    return nearestOf(points, options.place, options.count);
}

} // namespace QELT::Inspection
