// A surface through a cloud of points by an advancing front, beside the peer's advancing front. The two
// choose differently where a cloud leaves a choice, so what is compared is how much surface either makes of
// it.

#include "benchmarks/comparison/cgalpeer.h"
#include "benchmarks/comparison/contest.h"
#include "benchmarks/wavygrid.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>

namespace Comparison {

namespace {

using namespace Benchmarks;

constexpr double extent = 100.0;

/// Where the points of a cloud lie: on the lattice of a corrugated sheet, where most distances have equals,
/// or anywhere on a wavy patch.
enum class CloudKind { Lattice, Random };

/// How far areas and numbers of triangles may be apart, as a part of the peer's. Through random points the
/// library lays triangles over each other, and more of them.
double toleranceOf(CloudKind kind) {
    return kind == CloudKind::Random ? 0.5 : 0.01;
}

/// The closest pair has points on its left.
std::vector<Point> makeCloud(int side, CloudKind kind) {
    std::mt19937 generator(1);
    auto const placed = [&](int i) {
        double const share = static_cast<double>(generator()) / 4294967296.0;
        return extent * (kind == CloudKind::Random ? share : static_cast<double>(i) / side);
    };
    std::vector<Point> points;
    for (int i = 0; i < side * side; ++i) {
        double const x = placed(i % side);
        double const y = placed(side - i / side);
        points.push_back(kind == CloudKind::Lattice ? Point(x, y, 5.0 * std::sin(0.07 * x))
                                                    : wavyPlace(x, y));
    }
    return points;
}

struct Surfaces {
    CloudKind kind = CloudKind::Lattice;
    std::vector<Point> points;
    PointCloud::Cloud cloud;
    std::vector<std::array<float, 3>> places;
    std::unique_ptr<TriMesh::Mesh> ours;
    std::vector<std::array<std::size_t, 3>> peer;
};

struct Amount {
    double triangles = 0.0;
    double area = 0.0;
};

double areaOf(Point const& a, Point const& b, Point const& c) {
    return 0.5 * TriangleMeasures::twoAT(a, b, c);
}

Amount amountOfOurs(Surfaces const& state) {
    std::vector<TriMesh::Triangle*> list;
    std::vector<TriMesh::Triangle*>::iterator first;
    std::vector<TriMesh::Triangle*>::iterator last;
    state.ours->getTriangles(list, first, last);
    Amount amount;
    for (; first != last; ++first) {
        auto const corner = [&](unsigned long i) -> Point const& {
            return state.points[(*first)->getAdjacentVertexIndex(i)];
        };
        amount.area += areaOf(corner(0), corner(1), corner(2));
        amount.triangles += 1.0;
    }
    return amount;
}

Amount amountOfPeers(Surfaces const& state) {
    Amount amount;
    for (auto const& [a, b, c] : state.peer) {
        amount.area += areaOf(state.points[a], state.points[b], state.points[c]);
        amount.triangles += 1.0;
    }
    return amount;
}

std::string differenceOf(Surfaces const& state) {
    Amount const ours = amountOfOurs(state);
    Amount const peer = amountOfPeers(state);
    double const tolerance = toleranceOf(state.kind);
    bool const areAlike = std::abs(ours.area - peer.area) <= tolerance * peer.area &&
                          std::abs(ours.triangles - peer.triangles) <= tolerance * peer.triangles;
    auto const told = [](Amount const& amount) {
        return std::to_string(amount.triangles) + " triangles of area " + std::to_string(amount.area);
    };
    return areAlike ? "" : told(ours) + " and " + told(peer);
}

Contest contestOf(int side, CloudKind kind) {
    auto const state = std::make_shared<Surfaces>();
    state->kind = kind;
    state->points = makeCloud(side, kind);
    for (Point const& p : state->points) {
        state->cloud.addPoint(p);
        state->places.push_back({p.getX(), p.getY(), p.getZ()});
    }
    return {[=] {
                state->ours = std::make_unique<TriMesh::Mesh>();
                state->ours->construct(state->cloud);
            },
            [=] { state->peer = reconstructWithCgal(state->places); }, [=] { return differenceOf(*state); },
            [=] {
                state->ours.reset();
                state->peer = {};
            }};
}

std::vector<Size> cloudSizes(CloudKind kind) {
    std::vector<Size> sizes;
    for (int const side : {100, 200, 400, 632}) {
        sizes.push_back({double(side) * side, [=] { return contestOf(side, kind); }});
    }
    return sizes;
}

} // namespace

std::vector<Row> reconstructionRows() {
    char const* const peer = "CGAL's advancing_front_surface_reconstruction";
    return {
        {"reconstruction", "surface through a lattice", peer, "points", cloudSizes(CloudKind::Lattice)},
        {"reconstruction", "surface through random points", peer, "points", cloudSizes(CloudKind::Random)}};
}

} // namespace Comparison
