// The partition tree over many points: its construction and its search, beside the exact nearest points of a
// list and, where it is installed, nanoflann. The search of the tree is not exact and looks at most of the
// tree, which its results depend on: what is compared is time alone.

#include "Geometry/geometry.h"
#include "benchmarks/uniformcloud.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <vector>

#if __has_include(<nanoflann.hpp>)
#include <nanoflann.hpp>
#endif

namespace {

using Benchmarks::makeUniformCloud;
using QELT::Geometry::ThreeDimensional::Point;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Object;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Tree;
using QELT::Geometry::ThreeDimensional::PointCloud::NearestPoints;

constexpr std::size_t k = 8;

std::vector<Object*> objectsOf(std::vector<Point>& points) {
    std::vector<Object*> objects;
    for (Point& point : points) {
        objects.push_back(&point);
    }
    return objects;
}

void buildTree(benchmark::State& state) {
    std::vector<Point> points = makeUniformCloud(static_cast<std::size_t>(state.range(0)), 1);
    std::vector<Object*> const objects = objectsOf(points);
    for (auto _ : state) {
        Tree tree;
        tree.construct(objects, objects.size());
        benchmark::DoNotOptimize(&tree);
    }
}

void searchTree(benchmark::State& state, unsigned long wanted) {
    std::vector<Point> points = makeUniformCloud(static_cast<std::size_t>(state.range(0)), 1);
    std::vector<Object*> const objects = objectsOf(points);
    Tree tree;
    tree.construct(objects, objects.size());
    std::vector<Point> const queries = makeUniformCloud(16, 2);
    std::array<Object const*, k> found{};
    std::array<double, k> distances{};
    std::size_t next = 0;
    for (auto _ : state) {
        tree.getkNearestNeighbours(wanted, &queries[next++ % queries.size()], found.data(), distances.data());
        benchmark::DoNotOptimize(found.data());
    }
}

void buildNearestPoints(benchmark::State& state) {
    std::vector<Point> const points = makeUniformCloud(static_cast<std::size_t>(state.range(0)), 1);
    for (auto _ : state) {
        NearestPoints const index(points);
        benchmark::DoNotOptimize(&index);
    }
}

void searchNearestPoints(benchmark::State& state) {
    NearestPoints const index(makeUniformCloud(static_cast<std::size_t>(state.range(0)), 1));
    std::vector<Point> const queries = makeUniformCloud(16, 2);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(index.getNearest(queries[next++ % queries.size()], k));
    }
}

#if __has_include(<nanoflann.hpp>)
struct Adaptor {
    std::vector<Point> const& points;

    std::size_t kdtree_get_point_count() const { return points.size(); }

    float kdtree_get_pt(std::size_t i, std::size_t axis) const {
        Point const& point = points[i];
        return axis == 0 ? point.getX() : (axis == 1 ? point.getY() : point.getZ());
    }

    template <class Box>
    bool kdtree_get_bbox(Box& /* box */) const {
        return false;
    }
};

using Flann = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, Adaptor>, Adaptor, 3,
                                                  std::uint32_t>;

void buildNanoflann(benchmark::State& state) {
    std::vector<Point> const points = makeUniformCloud(static_cast<std::size_t>(state.range(0)), 1);
    Adaptor const adaptor{points};
    for (auto _ : state) {
        Flann index(3, adaptor);
        index.buildIndex();
        benchmark::DoNotOptimize(&index);
    }
}
#endif

} // namespace

BENCHMARK(buildTree)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(buildNearestPoints)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);
#if __has_include(<nanoflann.hpp>)
BENCHMARK(buildNanoflann)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK_CAPTURE(searchTree, theNearest, 1)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(searchTree, eight, k)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(searchNearestPoints)->Arg(1000000)->Unit(benchmark::kMillisecond);
