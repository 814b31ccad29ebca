// The nearest neighbours of points of a uniform cloud: the partition tree and the search for nearest points
// against a scan of all points. Answers are compared with those of the scan before any is timed. The search
// for nearest points must agree; the counters tell how far the tree differs.

#include "Geometry/geometry.h"
#include "benchmarks/uniformcloud.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <stdexcept>
#include <vector>

namespace {

using Benchmarks::makeUniformCloud;
using QELT::Geometry::ThreeDimensional::Point;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Object;
using QELT::Geometry::ThreeDimensional::BinarySpacePartition::Tree;
using QELT::Geometry::ThreeDimensional::PointCloud::NearestPoints;

/// A cloud, its tree, and queries from all over the cube.
struct Task {
    Task(std::size_t count, std::size_t newK)
        : k(newK), points(makeUniformCloud(count, 1)), queries(makeUniformCloud(200, 2)), objects(k) {
        std::vector<Object*> all;
        for (Point& p : points) {
            all.push_back(&p);
        }
        tree.construct(all, all.size());
        distances.resize(k);
    }

    void askTree(Point const& query) {
        tree.getkNearestNeighbours(k, &query, objects.data(), distances.data());
    }

    /// The k least distances, in ascending order.
    std::vector<double> const& scan(Point const& query) {
        scanned.clear();
        for (Point const& p : points) {
            scanned.push_back(p.getMinMaxDistance(query));
        }
        std::partial_sort(scanned.begin(), scanned.begin() + static_cast<std::ptrdiff_t>(k), scanned.end());
        return scanned;
    }

    std::size_t k;
    std::vector<Point> points;
    std::vector<Point> queries;
    Tree tree;
    std::vector<Object const*> objects;
    std::vector<double> distances;
    std::vector<double> scanned;
};

/// Counts queries of which a neighbour is not the true one, and objects among the answers that stand there
/// twice.
void compare(Task& task, benchmark::State& state) {
    std::size_t inexactQueries = 0;
    std::size_t wrongNeighbours = 0;
    std::size_t repeated = 0;
    for (Point const& query : task.queries) {
        task.askTree(query);
        std::vector<double> const& expected = task.scan(query);
        if (task.distances[0] < expected[0]) {
            throw std::logic_error("Nearer than the nearest");
        }
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < task.k; ++i) {
            wrong += task.distances[i] != expected[i] ? 1U : 0U;
        }
        std::set<Object const*> const distinct(task.objects.begin(), task.objects.end());
        inexactQueries += wrong > 0 ? 1U : 0U;
        wrongNeighbours += wrong;
        repeated += task.k - distinct.size();
    }
    auto const queries = static_cast<double>(task.queries.size());
    state.counters["inexact queries"] = static_cast<double>(inexactQueries) / queries;
    state.counters["wrong neighbours"] =
        static_cast<double>(wrongNeighbours) / (queries * static_cast<double>(task.k));
    state.counters["repeated"] = static_cast<double>(repeated) / (queries * static_cast<double>(task.k));
}

Task makeTask(benchmark::State const& state) {
    return {static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1))};
}

void searchTree(benchmark::State& state) {
    Task task = makeTask(state);
    compare(task, state);
    std::size_t i = 0;
    for (auto _ : state) {
        task.askTree(task.queries[i++ % task.queries.size()]);
        benchmark::DoNotOptimize(task.distances.data());
    }
    state.SetItemsProcessed(state.iterations());
}

void checkExact(Task& task, NearestPoints const& search) {
    for (Point const& query : task.queries) {
        std::vector<double> const& expected = task.scan(query);
        auto const found = search.getNearest(query, task.k);
        for (std::size_t i = 0; i < task.k; ++i) {
            if (std::sqrt(found.at(i).distanceSqr) != expected[i]) {
                throw std::logic_error("Not the nearest");
            }
        }
    }
}

void searchNearestPoints(benchmark::State& state) {
    Task task = makeTask(state);
    NearestPoints const search(task.points);
    checkExact(task, search);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(search.getNearest(task.queries[i++ % task.queries.size()], task.k));
    }
    state.SetItemsProcessed(state.iterations());
}

void scanAll(benchmark::State& state) {
    Task task = makeTask(state);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(task.scan(task.queries[i++ % task.queries.size()]).data());
    }
    state.SetItemsProcessed(state.iterations());
}

void construct(benchmark::State& state) {
    std::vector<Point> points = makeUniformCloud(static_cast<std::size_t>(state.range(0)), 1);
    std::vector<Object*> all;
    for (Point& p : points) {
        all.push_back(&p);
    }
    for (auto _ : state) {
        Tree tree;
        benchmark::DoNotOptimize(tree.construct(all, all.size()));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void constructNearestPoints(benchmark::State& state) {
    std::vector<Point> const points = makeUniformCloud(static_cast<std::size_t>(state.range(0)), 1);
    for (auto _ : state) {
        NearestPoints const search(points);
        benchmark::DoNotOptimize(search.getNumberOfPoints());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void setSizes(benchmark::internal::Benchmark* task) {
    for (int const count : {1000, 10000, 100000}) {
        for (int const k : {1, 8}) {
            task->Args({count, k});
        }
    }
}

} // namespace

BENCHMARK(searchTree)->Apply(setSizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(searchNearestPoints)->Apply(setSizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(scanAll)->Apply(setSizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(construct)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(constructNearestPoints)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
