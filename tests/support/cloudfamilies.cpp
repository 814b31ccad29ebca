#include "tests/support/cloudfamilies.h"

#include <cmath>
#include <limits>
#include <random>

namespace QELT::Testing {

using Geometry::ThreeDimensional::Point;
using Points = std::vector<Point>;

namespace {

class Maker {
public:
    explicit Maker(std::uint32_t seed) : generator(seed) {}

    Point inCube(double size, Point const& middle = Point()) {
        double const x = number(generator);
        double const y = number(generator);
        double const z = number(generator);
        return {middle.getX() + size * x, middle.getY() + size * y, middle.getZ() + size * z};
    }

    Points cube(std::size_t count, double size, Point const& middle = Point()) {
        Points points;
        for (std::size_t i = 0; i < count; ++i) {
            points.push_back(inCube(size, middle));
        }
        return points;
    }

    std::size_t below(std::size_t count) { return generator() % count; }

private:
    std::mt19937 generator;
    std::uniform_real_distribution<double> number{-1.0, 1.0};
};

Points lattice(int count, double spacing) {
    Points points;
    for (int i = 0; i < count * count * count; ++i) {
        points.emplace_back(spacing * (i % count), spacing * (i / count % count),
                            spacing * (i / (count * count)));
    }
    return points;
}

/// The points with some put onto others.
Points repeated(Maker& maker, Points points) {
    for (std::size_t i = 0; i < points.size() / 3; ++i) {
        points[maker.below(points.size())] = points[maker.below(points.size())];
    }
    return points;
}

Points mapped(Points points, Point (*map)(Point const&)) {
    for (Point& p : points) {
        p = map(p);
    }
    return points;
}

void addShapes(Maker& maker, std::vector<CloudFamily>& families) {
    families.push_back({"uniform", maker.cube(300, 1.0)});
    families.push_back({"far off", maker.cube(200, 1.0, Point(1e6, -2e6, 5e5))});
    Points clusters;
    for (int i = 0; i < 8; ++i) {
        Points const cluster = maker.cube(20, 0.01, maker.inCube(1.0));
        clusters.insert(clusters.end(), cluster.begin(), cluster.end());
    }
    families.push_back({"clusters", clusters});
    families.push_back({"lattice", lattice(5, 1.0)});
    families.push_back({"lattice of tenths", lattice(4, 0.1)});
    families.push_back({"cube corners", lattice(2, 2.0)});
    families.push_back({"sphere", mapped(maker.cube(200, 1.0), [](Point const& p) {
                            return Point() + (p - Point()) / std::sqrt((p - Point()).lSqr());
                        })});
    families.push_back({"plane", mapped(maker.cube(150, 1.0),
                                        [](Point const& p) { return Point(p.getX(), 3.0, p.getZ()); })});
    families.push_back(
        {"along y", mapped(maker.cube(60, 1.0), [](Point const& p) { return Point(2.0, p.getY(), -7.0); })});
    families.push_back(
        {"along z", mapped(maker.cube(60, 1.0), [](Point const& p) { return Point(2.0, 3.0, p.getZ()); })});
    families.push_back({"diagonal", mapped(maker.cube(60, 1.0), [](Point const& p) {
                            return Point(p.getX(), p.getX(), p.getX());
                        })});
    Points outlier = maker.cube(60, 1e-3);
    outlier.emplace_back(1e6, -1e6, 1e6);
    families.push_back({"outlier", outlier});
}

void addSmall(std::vector<CloudFamily>& families) {
    families.push_back({"one", {{3.0, -2.0, 1.0}}});
    families.push_back({"two along x", {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}}});
    families.push_back({"two along y", {{0.0, 0.0, 0.0}, {0.0, 1.0, 0.0}}});
    families.push_back({"two along z", {{0.0, 0.0, 0.0}, {0.0, 0.0, 1.0}}});
    families.push_back({"three along y, uneven", {{0.0, 0.0, 0.0}, {0.0, 0.1, 0.0}, {0.0, 10.0, 0.0}}});
    families.push_back({"three along z, uneven", {{5.0, 1.0, 0.0}, {5.0, 1.0, 0.1}, {5.0, 1.0, 10.0}}});
    families.push_back({"neighbouring floats",
                        {{1.0, 1.0, 1.0},
                         {1.0, std::nextafter(1.0F, 2.0F), 1.0},
                         {1.0, 1.0, std::nextafter(1.0F, 2.0F)},
                         {1.0, 1.0, std::nextafter(1.0F, 0.0F)}}});
}

void addCoincident(Maker& maker, std::vector<CloudFamily>& families) {
    families.push_back({"two alike", {{1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}}});
    families.push_back({"many alike", Points(40, Point(1.0, 2.0, 3.0))});
    families.push_back({"zeros of both signs", {{0.0, 0.0, 0.0}, {-0.0, 0.0, 0.0}, {0.0, -0.0, -0.0}}});
    families.push_back({"repeated", repeated(maker, maker.cube(120, 1.0))});
    families.push_back({"repeated lattice", repeated(maker, lattice(4, 1.0))});
    families.push_back({"repeated line", repeated(maker, mapped(maker.cube(50, 1.0), [](Point const& p) {
                                                      return Point(4.0, 4.0, p.getZ());
                                                  }))});
}

void addExtreme(Maker& maker, std::vector<CloudFamily>& families) {
    families.push_back({"tiny", maker.cube(80, 1e-36)});
    families.push_back({"denormal", maker.cube(80, 1e-43)});
    families.push_back({"huge", maker.cube(80, 1e38)});
    families.push_back({"beyond differences", maker.cube(80, 3.4e38)});
    families.push_back({"beyond differences in x", {{-3e38, 0.0, 0.0}, {3e38, 1.0, 1.0}, {0.0, 0.5, 0.2}}});
    families.push_back({"two beyond differences", {{-3e38, 0.0, 0.0}, {3e38, 1.0, 1.0}}});
    families.push_back({"largest alike", Points(5, Point(3.4e38, 3.4e38, -3.4e38))});
    families.push_back({"tiny and huge", {{1e-45, 0.0, 0.0}, {0.0, 0.0, 0.0}, {1e38, 0.0, 0.0}}});
    double const nan = std::numeric_limits<double>::quiet_NaN();
    Points holed = maker.cube(60, 1.0);
    for (std::size_t i = 7; i < holed.size(); i += 9) {
        holed[i] = Point(i % 2 == 0 ? nan : 0.1, i % 2 == 0 ? 0.2 : nan, 0.3);
    }
    families.push_back({"with NaNs", holed});
}

} // namespace

Points uniformCloud(std::uint32_t seed, std::size_t count) {
    return Maker(seed).cube(count, 1.0);
}

std::vector<CloudFamily> cloudFamilies(std::uint32_t seed) {
    Maker maker(seed);
    std::vector<CloudFamily> families;
    addShapes(maker, families);
    addSmall(families);
    addCoincident(maker, families);
    addExtreme(maker, families);
    return families;
}

} // namespace QELT::Testing
