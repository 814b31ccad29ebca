#include "Geometry/trimesh/reconstruction/internal/neighbourorder.h"

#include "Geometry/foundations/map.h"
#include "Geometry/trimesh/reconstruction/internal/minheap.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>

// Which of equally near points comes first is a matter of the moves of a heap over all others, and decides
// the surface. That heap is never built, but for clouds with a coordinate that is no number or infinite, of
// which nothing can be told beforehand:
//
//   - where no two of the nearest are equally near there is one order only, which a search that halves the
//     cloud finds;
//   - else those up to the distance of the last wanted one are found in the same way, and followed through
//   the
//     heap (nearheap.h). The place at which one comes in is the number of those pushed before it: its index,
//     less one for each coincident point of a lower index.
//
// A point takes a search or two, on a lattice too. Only where very many lie at the last distance, as around a
// centre, all points are looked at, which for that many is no more. Distances are squares in single
// precision, so points that differ can be equally near.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr double beyondAllDistances = std::numeric_limits<double>::infinity();

bool isEquallyFar(PointCloud::NearestPoints::Neighbour const& a,
                  PointCloud::NearestPoints::Neighbour const& b) {
    return a.distanceSqr == b.distanceSqr;
}

} // namespace

NeighbourOrder::NeighbourOrder(CloudOrder const& newOrder, std::uint32_t newCount)
    : order(newOrder), count(newCount), reach(count + 1) {
    if (order.isFinite) {
        search.emplace(order.points);
    }
}

std::span<NeighbourOrder::Neighbour const> NeighbourOrder::nearestOf(std::uint32_t rank) {
    nearest.clear();
    if (!search) {
        askHeap(rank);
        return nearest;
    }
    Found const found = findWithEquals(rank);
    if (std::adjacent_find(found.begin(), found.end(), isEquallyFar) != found.end()) {
        followHeap(rank, found);
        return nearest;
    }
    for (auto const& neighbour : found) {
        nearest.push_back({neighbour.distanceSqr, neighbour.index});
    }
    return nearest;
}

/// The nearest others and all that are as near as the last wanted one. How many were needed for one point
/// will mostly do for the next.
NeighbourOrder::Found NeighbourOrder::findWithEquals(std::uint32_t rank) {
    constexpr std::size_t shareOfScan = 8; // a search for more than such a share takes longer than a scan
    for (std::size_t wanted = reach;; wanted *= 2) {
        Found found = search->getNearestOthers(rank, wanted);
        double const limit = found.size() < count ? beyondAllDistances : found[count - 1].distanceSqr;
        if (found.size() < wanted || found.back().distanceSqr > limit) {
            auto const isNear = [limit](auto const& neighbour) { return neighbour.distanceSqr <= limit; };
            found.erase(std::partition_point(found.begin(), found.end(), isNear), found.end());
            reach = std::clamp(found.size() + 1, count + 1, 2 * count);
            return found;
        }
        if (wanted > order.points.size() / shareOfScan) {
            return scanUpTo(rank, limit);
        }
    }
}

/// Pushes what is near as the heap over all others gets it, and takes out what is wanted.
void NeighbourOrder::followHeap(std::uint32_t rank, Found const& near) {
    if (!twins) {
        twins.emplace(order);
    }
    std::span<std::uint32_t const> const leftOut = twins->of(rank);
    std::vector<NearHeap::Entry> entries;
    entries.reserve(near.size());
    for (auto const& neighbour : near) {
        entries.push_back({neighbour.distanceSqr, order.vertexOf[neighbour.index]});
    }
    std::sort(entries.begin(), entries.end(), [](auto const& a, auto const& b) { return a.index < b.index; });
    heap.clear();
    for (NearHeap::Entry const& entry : entries) {
        auto const lower = std::lower_bound(leftOut.begin(), leftOut.end(), entry.index) - leftOut.begin();
        heap.push(entry, entry.index - static_cast<std::uint32_t>(lower));
    }
    heap.setSize(order.getNumberOfPoints() - static_cast<std::uint32_t>(leftOut.size()));
    while (!heap.getIsEmpty() && nearest.size() < count) {
        NearHeap::Entry const least = heap.pop();
        nearest.push_back({least.rank, order.rankOf[least.index]});
    }
}

void NeighbourOrder::askHeap(std::uint32_t rank) {
    std::uint32_t const vertex = order.vertexOf[rank];
    Point const& point = order.points[rank];
    MinHeap<Map<unsigned long, double>> all;
    for (std::uint32_t v = 0; v < order.getNumberOfPoints(); ++v) {
        Point const& other = order.points[order.rankOf[v]];
        if (v != vertex && point != other) {
            all.push({v, point.dSqr(other)});
        }
    }
    while (!all.getIsEmpty() && nearest.size() < count) {
        auto const least = all.pop();
        nearest.push_back({least.gett(), order.rankOf[least.gets()]});
    }
}

/// The others whose squared distance is no greater than `limit`, nearest first.
NeighbourOrder::Found NeighbourOrder::scanUpTo(std::uint32_t rank, double limit) const {
    Found found;
    Point const& point = order.points[rank];
    for (std::uint32_t other = 0; other < order.getNumberOfPoints(); ++other) {
        double const distanceSqr = point.dSqr(order.points[other]);
        if (distanceSqr <= limit && point != order.points[other]) {
            found.push_back({distanceSqr, other});
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

NeighbourOrder::Twins::Twins(CloudOrder const& newOrder)
    : vertices(newOrder.points.size()), firstOf(newOrder.points.size()), endOf(newOrder.points.size()) {
    std::iota(vertices.begin(), vertices.end(), 0U);
    auto const pointOf = [&](std::uint32_t v) -> Point const& { return newOrder.points[newOrder.rankOf[v]]; };
    auto const keyOf = [&](std::uint32_t v) {
        Point const& point = pointOf(v);
        return std::tuple(point.getX(), point.getY(), point.getZ(), v);
    };
    std::sort(vertices.begin(), vertices.end(),
              [&](std::uint32_t a, std::uint32_t b) { return keyOf(a) < keyOf(b); });
    std::uint32_t end = 0;
    for (std::uint32_t first = 0; first < newOrder.getNumberOfPoints(); first = end) {
        while (end < newOrder.getNumberOfPoints() && pointOf(vertices[end]) == pointOf(vertices[first])) {
            ++end;
        }
        for (std::uint32_t k = first; k < end; ++k) {
            firstOf[newOrder.rankOf[vertices[k]]] = first;
            endOf[newOrder.rankOf[vertices[k]]] = end;
        }
    }
}

/// The vertices at the same place as the point of this rank, itself included.
std::span<std::uint32_t const> NeighbourOrder::Twins::of(std::uint32_t rank) const {
    return std::span(vertices).subspan(firstOf[rank], endOf[rank] - firstOf[rank]);
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
