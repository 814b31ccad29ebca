// The nearest points of a uniform cloud: the exact search and the partition tree beside nanoflann.

#include "Geometry/geometry.h"
#include "benchmarks/comparison/contest.h"
#include "benchmarks/uniformcloud.h"

#include <nanoflann.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace Comparison {

namespace {

using Benchmarks::makeUniformCloud;
using QELT::Geometry::ThreeDimensional::Point;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Object;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Tree;
using QELT::Geometry::ThreeDimensional::PointCloud::NearestPoints;

constexpr std::size_t neighbourCount = 8;

/// The points as the peer asks for them.
struct PeerCloud {
    std::vector<std::array<float, 3>> points;

    std::size_t kdtree_get_point_count() const { return points.size(); }

    float kdtree_get_pt(std::size_t i, std::size_t axis) const { return points[i][axis]; }

    template <class Box>
    bool kdtree_get_bbox(Box& /* box */) const {
        return false;
    }
};

using PeerTree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, PeerCloud>, PeerCloud, 3>;

std::vector<std::array<float, 3>> placesOf(std::vector<Point> const& points) {
    std::vector<std::array<float, 3>> places;
    for (Point const& p : points) {
        places.push_back({p.getX(), p.getY(), p.getZ()});
    }
    return places;
}

struct Search {
    Search(std::size_t count, std::size_t queryCount)
        : points(makeUniformCloud(count, 1)),
          queries(makeUniformCloud(queryCount, 2)),
          peerCloud{placesOf(points)} {
        for (Point& p : points) {
            objects.push_back(&p);
        }
    }

    std::vector<Point> points;
    std::vector<Point> queries;
    std::vector<Object*> objects;
    PeerCloud peerCloud;
    std::unique_ptr<NearestPoints> nearest;
    std::unique_ptr<Tree> tree;
    std::unique_ptr<PeerTree> peerTree;
    std::vector<double> ours; ///< squared distances, query by query
    std::vector<double> peer;
};

void buildPeer(Search& search) {
    search.peerTree = std::make_unique<PeerTree>(3, search.peerCloud);
}

void buildTree(Search& search) {
    search.tree = std::make_unique<Tree>();
    search.tree->construct(search.objects, search.objects.size());
}

void askNearest(Search& search) {
    for (Point const& query : search.queries) {
        for (auto const& neighbour : search.nearest->getNearest(query, neighbourCount)) {
            search.ours.push_back(neighbour.distanceSqr);
        }
    }
}

void askTree(Search& search) {
    std::array<Object const*, neighbourCount> objects{};
    std::array<double, neighbourCount> distances{};
    for (Point const& query : search.queries) {
        search.tree->getkNearestNeighbours(neighbourCount, &query, objects.data(), distances.data());
        for (double const distance : distances) {
            search.ours.push_back(distance * distance);
        }
    }
}

void askPeer(Search& search) {
    std::array<std::uint32_t, neighbourCount> indices{};
    std::array<float, neighbourCount> distances{};
    for (Point const& query : search.queries) {
        std::array const place{query.getX(), query.getY(), query.getZ()};
        search.peerTree->knnSearch(place.data(), neighbourCount, indices.data(), distances.data());
        search.peer.insert(search.peer.end(), distances.begin(), distances.end());
    }
}

void forget(Search& search) {
    search.ours.clear();
    search.peer.clear();
    search.ours.reserve(search.queries.size() * neighbourCount);
    search.peer.reserve(search.queries.size() * neighbourCount);
}

bool areEqual(double ours, double peer) {
    return std::abs(ours - peer) <= 1e-5 * peer + 1e-12;
}

std::string exactDifference(Search const& search) {
    bool const areAlike = search.ours.size() == search.peer.size() &&
                          std::equal(search.ours.begin(), search.ours.end(), search.peer.begin(), areEqual);
    return areAlike ? "" : "distances";
}

/// The tree is not exact, and may name an object twice: no first one is nearer than the nearest, and most of
/// all stand at the distance that they should.
std::string inexactDifference(Search const& search) {
    std::size_t right = 0;
    for (std::size_t i = 0; i < search.ours.size(); ++i) {
        bool const isEqual = areEqual(search.ours[i], search.peer[i]);
        if (i % neighbourCount == 0 && search.ours[i] < search.peer[i] && !isEqual) {
            return "nearer than the nearest";
        }
        right += isEqual ? 1U : 0U;
    }
    return 2 * right > search.ours.size() ? "" : "most neighbours";
}

Contest nearestBuild(std::size_t count) {
    auto const search = std::make_shared<Search>(count, 1000);
    return {[=] { search->nearest = std::make_unique<NearestPoints>(search->points); },
            [=] { buildPeer(*search); },
            [=] {
                forget(*search);
                askNearest(*search);
                askPeer(*search);
                return exactDifference(*search);
            },
            [=] {
                search->nearest.reset();
                search->peerTree.reset();
            }};
}

Contest nearestQueries(std::size_t count) {
    auto const search = std::make_shared<Search>(count, 20000);
    search->nearest = std::make_unique<NearestPoints>(search->points);
    buildPeer(*search);
    return {[=] { askNearest(*search); }, [=] { askPeer(*search); }, [=] { return exactDifference(*search); },
            [=] { forget(*search); }};
}

Contest treeBuild(std::size_t count) {
    auto const search = std::make_shared<Search>(count, 10);
    return {[=] { buildTree(*search); }, [=] { buildPeer(*search); },
            [=] {
                forget(*search);
                askTree(*search);
                askPeer(*search);
                return inexactDifference(*search);
            },
            [=] {
                search->tree.reset();
                search->peerTree.reset();
            }};
}

Contest treeQueries(std::size_t count) {
    auto const search = std::make_shared<Search>(count, 50);
    buildTree(*search);
    buildPeer(*search);
    return {[=] { askTree(*search); }, [=] { askPeer(*search); }, [=] { return inexactDifference(*search); },
            [=] { forget(*search); }};
}

std::vector<Size> cloudSizes(std::initializer_list<std::size_t> counts, Contest (*makeContest)(std::size_t)) {
    std::vector<Size> sizes;
    for (std::size_t const count : counts) {
        sizes.push_back({static_cast<double>(count), [=] { return makeContest(count); }});
    }
    return sizes;
}

} // namespace

std::vector<Row> nearestRows() {
    return {{"nearest", "index for exact nearest points", "nanoflann's index", "points",
             cloudSizes({10000, 40000, 160000, 400000}, nearestBuild)},
            {"nearest", "20,000 queries for the exact 8 nearest", "nanoflann, knnSearch", "points",
             cloudSizes({10000, 40000, 160000, 400000}, nearestQueries)},
            {"nearest", "partition tree", "nanoflann's index", "points",
             cloudSizes({10000, 40000, 100000, 400000}, treeBuild)},
            {"nearest", "50 queries of the partition tree for 8, inexact", "nanoflann, knnSearch, exact",
             "points", cloudSizes({1000, 10000, 40000, 100000}, treeQueries)}};
}

} // namespace Comparison
