#include "Inspection/parts/internal/readfaces.h"

#include "Inspection/import/internal/triangulation.h"
#include "Inspection/import/internal/welding.h"
#include "Inspection/import/part.h"
#include "Inspection/records/failure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace QELT::Inspection {

namespace {

double sizeOf(std::vector<std::array<double, 3>> const& points) {
    std::array<double, 3> extent{};
    for (std::size_t axis = 0; axis < 3 && !points.empty(); ++axis) {
        auto const [low, high] = std::minmax_element(
            points.begin(), points.end(), [axis](auto const& a, auto const& b) { return a[axis] < b[axis]; });
        extent.at(axis) = (*high)[axis] - (*low)[axis];
    }
    return std::hypot(extent[0], extent[1], extent[2]);
}

void weldPoints(PartAsRead& part) {
    WeldedPoints welded = weld(part.points, defaultWeldShare * sizeOf(part.points));
    part.points = std::move(welded.points);
    for (std::uint32_t& corner : part.corners) {
        corner = welded.newIndices[corner];
    }
}

Point toPoint(std::array<double, 3> const& place, std::string const& source) {
    for (double const coordinate : place) {
        require(std::abs(coordinate) <= std::numeric_limits<float>::max(),
                source + ": a point lies too far out");
    }
    return {place[0], place[1], place[2]};
}

} // namespace

ReadFaces readFaces(PlacedPart const& source) {
    PartAsRead part = readPartFile(source.file);
    if (source.frame) {
        Frame const frame = readFrame(*source.frame, part.unit);
        std::transform(part.points.begin(), part.points.end(), part.points.begin(),
                       [&](Triple const& place) { return frame.placeOf(place); });
    }
    if (part.format == PartFormat::StlText || part.format == PartFormat::StlBinary ||
        part.format == PartFormat::Gltf) {
        weldPoints(part);
    }
    ReadFaces result{part.format, {}};
    for (auto const& place : part.points) {
        result.mesh.points.push_back(toPoint(place, source.string()));
    }
    for (std::size_t i = 0; i < part.polygonEnds.size(); ++i) {
        for (auto const& triangle : triangulate(part.polygon(i), part.points).triangles) {
            result.mesh.faces.push_back(triangle);
        }
    }
    return result;
}

} // namespace QELT::Inspection
