// Several threads at a time do all that the library is for, each with objects of its own. Each must find what
// the others find, and under the thread sanitizer nothing that they share may be touched without order.

#include "Geometry/geometry.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace QELT;
using namespace QELT::Geometry::ThreeDimensional;
using QuadMesh::QuadIndicesIntersectionStatus;
using QuadMesh::RectMesh;
using Results = std::vector<double>;

constexpr std::size_t numberOfThreads = 4;
constexpr int side = 8;

/// Runs the work in all threads at once, which start when the last is there, and gives their results.
template <class Result, class Work>
std::vector<Result> runInThreads(Work work) {
    std::vector<Result> results(numberOfThreads);
    std::atomic<std::size_t> waiting = numberOfThreads;
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < numberOfThreads; ++number) {
        threads.emplace_back([&, number] {
            for (--waiting; waiting != 0;) {
                std::this_thread::yield();
            }
            results[number] = work(number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

/// A folder of its own for a thread's files.
std::string pathFor(std::size_t number, std::string const& name) {
    return testing::TempDir() + "threads-" + std::to_string(getpid()) + "-" + std::to_string(number) + name;
}

void add(Results& results, Point const& point) {
    results.insert(results.end(), {point.getX(), point.getY(), point.getZ()});
}

void add(Results& results, QuadIndicesIntersectionStatus const& status) {
    results.push_back(status.getIsValid() ? 1.0 : 0.0);
    results.push_back(status.getIndices().getU());
    results.push_back(status.getIndices().getV());
    add(results, status.getQuadPoint());
}

/// A wavy square of points.
Point pointAt(int u, int v) {
    return {1.0 * u, 1.0 * v, 0.5 * std::sin(0.5 * u) * std::cos(0.4 * v)};
}

std::string makeObj() {
    std::ostringstream text;
    for (int v = 0; v <= side; ++v) {
        for (int u = 0; u <= side; ++u) {
            Point const point = pointAt(u, v);
            text << "v " << point.getX() << ' ' << point.getY() << ' ' << point.getZ() << '\n';
        }
    }
    for (int v = 0; v < side; ++v) {
        for (int u = 0; u < side; ++u) {
            int const corner = v * (side + 1) + u + 1;
            text << "f " << corner << ' ' << corner + 1 << ' ' << corner + side + 2 << "\nf " << corner << ' '
                 << corner + side + 2 << ' ' << corner + side + 1 << '\n';
        }
    }
    return text.str();
}

/// From a file to a flat map, and on to a grid and its file.
std::unique_ptr<RectMesh> makeGrid(std::size_t number, bool doPinExtremeCorners, Results& results) {
    std::string const path = pathFor(number, "part.obj");
    std::ofstream(path) << makeObj();
    TriMesh::Mesh mesh;
    mesh.load(path.c_str());
    LinearAlgebra::Vector solution(1);
    mesh.conformalMap(doPinExtremeCorners, &solution, false);
    results.push_back(solution.normL2());
    auto grid = std::make_unique<RectMesh>();
    grid->construct(mesh, 0.05 * (doPinExtremeCorners ? 0.02 : 1.0));
    mesh.save(path.c_str(), true, false);
    std::array<Point, 4> corners;
    mesh.getCorners(corners.data());
    for (Point const& corner : corners) {
        add(results, corner);
    }
    return grid;
}

void shoot(RectMesh& grid, Results& results) {
    for (int i = 0; i < 40; ++i) {
        add(results, grid.getIntersectionStatus(Point(0.2 * i, 7.5 - 0.17 * i, 9.0),
                                                Vector(0.05, -0.02, -1.0), i % 10 == 0));
    }
}

void reconstruct(Results& results) {
    PointCloud::Cloud cloud;
    for (int i = 0; i < 120; ++i) {
        cloud.addPoint(Point(std::fmod(0.618 * i, 1.0), i / 120.0, 0.1 * std::sin(0.1 * i)));
    }
    TriMesh::Mesh mesh;
    mesh.construct(cloud);
    std::vector<TriMesh::Triangle*> list;
    std::vector<TriMesh::Triangle*>::iterator first;
    std::vector<TriMesh::Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    results.push_back(static_cast<double>(last - first));
}

void askTree(Results& results) {
    std::vector<Point> points;
    for (int i = 0; i < 200; ++i) {
        points.emplace_back(std::sin(1.7 * i), std::cos(2.3 * i), std::sin(0.3 * i));
    }
    std::vector<BinarySpacePartition::Object*> objects;
    for (Point& point : points) {
        objects.push_back(&point);
    }
    BinarySpacePartition::Tree tree;
    tree.construct(objects, objects.size());
    std::array<BinarySpacePartition::Object const*, 5> nearest{};
    std::array<double, 5> distances{};
    for (Point const& point : points) {
        tree.getkNearestNeighbours(nearest.size(), &point, nearest.data(), distances.data());
        results.insert(results.end(), distances.begin(), distances.end());
    }
}

void askGroups(std::size_t number, RectMesh& grid, Results& results) {
    std::string const path = pathFor(number, "part.quads");
    grid.save(path.c_str());
    QuadMesh::RectMeshGroups groups;
    groups.load({{path, path}, {path}}, {{{0, 0}, {500, 0}}, {{0, 500}}});
    groups.setPosition(0);
    for (int i = 0; i < 40; ++i) {
        add(results, groups.getIntersectionStatus(Point(0.2 * i, 7.5 - 0.17 * i, 9.0),
                                                  Vector(0.05, -0.02, -1.0), false));
    }
    results.push_back(QuadMesh::RectMeshGroups::getUVBoundingBox({{path}}, {{{3, 4}}}).getd().getdU());
}

void fit(Results& results) {
    std::vector<Point> points;
    for (int i = 0; i < 30; ++i) {
        double const angle = 0.4 * i;
        double const height = 0.06 * i - 0.9;
        double const radius = std::sqrt(1.0 - height * height);
        points.emplace_back(radius * std::cos(angle), radius * std::sin(angle), height);
    }
    Point centre;
    double radius = 0.0;
    Utility::getSphereFit(points.data(), points.size(), centre, radius, nullptr);
    add(results, centre);
    results.push_back(radius);
}

void multiply(Results& results) {
    LinearAlgebra::SparseMatrix matrix(3, 3, 2, LinearAlgebra::SparseMatrix::CanonicalIdentity);
    matrix.set(0, 2, 0.5);
    LinearAlgebra::Vector vector(3);
    vector.allOnes();
    results.push_back((matrix * vector).normL2Sqr());
    results.push_back((matrix + matrix.transpose()).get(2, 0));
}

Results doEverything(std::size_t number) {
    Results results;
    multiply(results);
    std::unique_ptr<RectMesh> const pinned = makeGrid(number, true, results);
    std::unique_ptr<RectMesh> const grid = makeGrid(number, false, results);
    results.push_back(grid->getMeanQuadArea());
    grid->extendBoundary(QuadMesh::Basic, 2, 0);
    shoot(*pinned, results);
    shoot(*grid, results);
    askGroups(number, *grid, results);
    reconstruct(results);
    askTree(results);
    fit(results);
    return results;
}

} // namespace

TEST(Threads, FindTheSameWithObjectsOfTheirOwn) {
    std::vector<Results> const found = runInThreads<Results>(doEverything);
    Results const alone = doEverything(numberOfThreads);
    EXPECT_GT(alone.size(), 1000U);
    for (Results const& results : found) {
        EXPECT_EQ(results, alone);
    }
}

TEST(Threads, GridsHaveNamesOfTheirOwn) {
    constexpr int gridsAThread = 500;
    using Names = std::vector<std::string>;
    std::set<std::string> names;
    auto const nameGrids = [](std::size_t /*number*/) {
        Names made;
        for (int i = 0; i < gridsAThread; ++i) {
            made.push_back(RectMesh().getShortFileName());
        }
        return made;
    };
    for (Names const& made : runInThreads<Names>(nameGrids)) {
        names.insert(made.begin(), made.end());
    }
    EXPECT_EQ(names.size(), numberOfThreads * gridsAThread);
}
