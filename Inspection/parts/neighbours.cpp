#include "Inspection/import/xyzfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <ostream>

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Object;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Tree;

/// A neighbour by its place in the cloud.
struct Neighbour {
    std::size_t index = 0;
    double distance = 0.0;
};

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
        auto const index = static_cast<Point const*>(nearest[i]) - points.data();
        neighbours.push_back({static_cast<std::size_t>(index), distances[i]});
    }
    return neighbours;
}

} // namespace

void runNeighbours(NeighboursOptions const& options, std::ostream& output, ProgressDisplay&) {
    auto points = readCloudFile(options.cloud);
    if (options.count > points.size()) {
        throw Failure(options.cloud.string() + ": holds " + counted(points.size(), "point", "points") + ", " +
                      std::to_string(options.count) + " asked for");
    }
    std::vector<std::vector<std::string>> table{{"point", "x", "y", "z", "distance"}};
    for (Neighbour const& neighbour : nearestOf(points, options.place, options.count)) {
        Point const& point = points[neighbour.index];
        table.push_back({std::to_string(neighbour.index + 1), toExactText(point.getX()),
                         toExactText(point.getY()), toExactText(point.getZ()),
                         toShortText(neighbour.distance, 6)});
    }
    printTable(output, table);
}

} // namespace QELT::Inspection
