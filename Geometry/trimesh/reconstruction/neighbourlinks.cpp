#include "Geometry/trimesh/reconstruction/internal/neighbourlinks.h"

#include "Geometry/trimesh/reconstruction/internal/neighbourorder.h"

// The 64 nearest others of every point, in the order of neighbourorder.cpp. They lie in one array, 64 places
// a point, by the ranks of the points along a curve through the cloud: those of near points lie near one
// another, for the search that fills them in and for the front that reads them.
//
// The number limits how far a triangle reaches, on dense scan lines above all, where a point's nearest others
// are those of its own line: with fewer the next line is out of reach, with more wider gaps are bridged, and
// time and memory grow in proportion.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr double beyondAllDistances = 1e300;

} // namespace

NeighbourLinks::NeighbourLinks(CloudOrder const& newOrder)
    : order(newOrder),
      nearest(std::size_t{newOrder.getNumberOfPoints()} * numberOfNeighbours),
      counts(newOrder.getNumberOfPoints()) {
    NeighbourOrder neighbours(order, numberOfNeighbours);
    std::vector<double> leastDistances(counts.size(), beyondAllDistances);
    std::vector<std::uint32_t> closest(counts.size());
    auto next = nearest.begin();
    for (std::uint32_t rank = 0; rank < order.getNumberOfPoints(); ++rank, next += numberOfNeighbours) {
        for (auto const& neighbour : neighbours.nearestOf(rank)) {
            next[counts[rank]++] = neighbour.rank;
            if (leastDistances[rank] > neighbour.distanceSqr) {
                leastDistances[rank] = neighbour.distanceSqr;
                closest[rank] = neighbour.rank;
            }
        }
    }
    findClosestPair(leastDistances, closest);
}

/// The first vertex with the least of all distances, and its closest.
void NeighbourLinks::findClosestPair(std::vector<double> const& leastDistances,
                                     std::vector<std::uint32_t> const& closest) {
    double best = beyondAllDistances;
    for (std::uint32_t v = 0; v < order.getNumberOfPoints(); ++v) {
        std::uint32_t const rank = order.rankOf[v];
        if (best > leastDistances[rank]) {
            best = leastDistances[rank];
            closestPair = {v, order.vertexOf[closest[rank]]};
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
