#include "Geometry/trimesh/reconstruction/internal/neighbourlinks.h"

#include "Geometry/foundations/map.h"
#include "Geometry/spatial/nearestpoints.h"
#include "Geometry/trimesh/reconstruction/internal/minheap.h"

#include <algorithm>
#include <cmath>

// The 64 nearest others of every point, in the order in which a heap over all others gives them up. Which of
// equally near ones comes first is a matter of that heap's moves, and decides the surface. Where no two are
// equally near there is but one order, which a search that halves the cloud finds without looking at all
// others: n points then take little more than the time of n searches. A lattice has equal distances
// everywhere, and takes the heaps' n squared.
//
// The number limits how far a triangle reaches, on dense scan lines above all, where a point's nearest others
// are those of its own line: with fewer the next line is out of reach, with more wider gaps are bridged, and
// time and memory grow in proportion. Distances are squares in single precision, so points that differ can be
// equally near.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// With how many others a point may form triangles.
constexpr std::uint32_t numberOfNeighbours = 64;

constexpr double beyondAllDistances = 1e300;

using Neighbour = Map<unsigned long, double>;

bool isFinite(Point const& point) {
    return std::isfinite(point.getX()) && std::isfinite(point.getY()) && std::isfinite(point.getZ());
}

class NeighbourOrder {
public:
    explicit NeighbourOrder(Connectivity const& cloud) {
        for (std::uint32_t v = 0; v < cloud.getNumberOfVertices(); ++v) {
            points.push_back(cloud.getPoint(v));
        }
        if (std::all_of(points.begin(), points.end(), isFinite)) {
            search.emplace(points);
        }
    }

    /// Valid until the next call.
    std::vector<Neighbour> const& nearestOf(std::uint32_t i) {
        nearest.clear();
        if (!search || !findDistinct(i)) {
            askHeap(i);
        }
        return nearest;
    }

private:
    std::vector<Point> points;
    std::optional<PointCloud::NearestPoints> search; ///< if all coordinates are finite
    MinHeap<Neighbour> heap;
    std::vector<Neighbour> nearest;

    /// One more than wanted is asked for: it tells whether the last wanted one has an equal.
    bool findDistinct(std::uint32_t i) {
        auto const found = search->getNearestOthers(i, numberOfNeighbours + 1);
        auto const isTie = [](auto const& a, auto const& b) { return a.distanceSqr == b.distanceSqr; };
        if (std::adjacent_find(found.begin(), found.end(), isTie) != found.end()) {
            return false;
        }
        for (std::size_t k = 0; k < found.size() && k < numberOfNeighbours; ++k) {
            nearest.emplace_back(found[k].index, found[k].distanceSqr);
        }
        return true;
    }

    void askHeap(std::uint32_t i) {
        heap.clear();
        for (std::uint32_t j = 0; j < toUInt32(points.size()); ++j) {
            if (j != i && points[i] != points[j]) {
                heap.push(Neighbour(j, points[i].dSqr(points[j])));
            }
        }
        while (!heap.getIsEmpty() && nearest.size() < numberOfNeighbours) {
            nearest.push_back(heap.pop());
        }
    }
};

} // namespace

NeighbourLinks linkNeighbours(Connectivity const& points) {
    NeighbourLinks links;
    double best = beyondAllDistances;
    NeighbourOrder order(points);
    std::uint32_t const numberOfPoints = points.getNumberOfVertices();
    links.nearest.resize(numberOfPoints);
    for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
        for (Neighbour const& neighbour : order.nearestOf(i)) {
            auto const j = static_cast<std::uint32_t>(neighbour.gets());
            links.nearest[i].push_back(j);
            if (best > neighbour.gett()) {
                best = neighbour.gett();
                links.closestPair = {i, j};
            }
        }
        links.counts.push_back(toUInt32(links.nearest[i].size()));
    }
    return links;
}

void eraseLink(std::vector<std::vector<std::uint32_t>>& nearest, std::vector<std::uint32_t>& counts,
               std::uint32_t a, std::uint32_t b) {
    std::vector<std::uint32_t>& list = nearest[a];
    auto const end = list.begin() + counts[a];
    auto const found = std::find(list.begin(), end, b);
    if (found != end) {
        list.erase(found);
        --counts[a];
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
