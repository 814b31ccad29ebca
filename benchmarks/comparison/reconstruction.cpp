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

/// Surfaces agree if their areas and numbers of triangles do, to this part.
constexpr double tolerance = 0.01;

constexpr double extent = 100.0;

/// The points of a lattice on a corrugated sheet, where most distances have equals, or those of a wavy patch
/// with each moved by up to half a step, which leaves nothing of the lattice. The closest pair has points on
/// its left.
std::vector<Point> makeCloud(int side, bool isLattice) {
    std::mt19937 generator(1);
    double const step = extent / side;
    auto const jitter = [&] { return step * (static_cast<double>(generator()) / 4294967296.0 - 0.5); };
    std::vector<Point> points;
    for (int i = 0; i < side * side; ++i) {
        double const x = step * (i % side) + (isLattice ? 0.0 : jitter());
        double const y = step * (side - i / side) + (isLattice ? 0.0 : jitter());
        points.push_back(isLattice ? Point(x, y, 5.0 * std::sin(0.07 * x)) : wavyPlace(x, y));
    }
    return points;
}

struct Surfaces {
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
    bool const areAlike = std::abs(ours.area - peer.area) <= tolerance * peer.area &&
                          std::abs(ours.triangles - peer.triangles) <= tolerance * peer.triangles;
    auto const told = [](Amount const& amount) {
        return std::to_string(amount.triangles) + " triangles of area " + std::to_string(amount.area);
    };
    return areAlike ? "" : told(ours) + " and " + told(peer);
}

Contest contestOf(int side, bool isLattice) {
    auto const state = std::make_shared<Surfaces>();
    state->points = makeCloud(side, isLattice);
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

std::vector<Size> cloudSizes(bool isLattice) {
    std::vector<Size> sizes;
    for (int const side : {100, 200, 400, 632}) {
        sizes.push_back({double(side) * side, [=] { return contestOf(side, isLattice); }});
    }
    return sizes;
}

} // namespace

std::vector<Row> reconstructionRows() {
    char const* const peer = "CGAL's advancing_front_surface_reconstruction";
    return {{"reconstruction", "surface through scattered points", peer, "points", cloudSizes(false)},
            {"reconstruction", "surface through a lattice", peer, "points", cloudSizes(true)}};
}

} // namespace Comparison
