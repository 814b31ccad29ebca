#include "Inspection/inspection.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

// The plain loop over beams that the Python module's batches are measured beside: the same beams, the same
// search, and the same arrays filled. Prints the processor time of the best of some rounds, and how many
// beams met the grid. usage: beamloop GRID BEAMS sure|walk, BEAMS holding six doubles a beam.

namespace {

using namespace QELT::Inspection;

constexpr int rounds = 5;

struct Arrays {
    explicit Arrays(std::size_t n)
        : indices(2 * n), points(3 * n), distances(n), angles(n), valid(n), states(n) {}

    std::vector<std::int32_t> indices;
    std::vector<float> points;
    std::vector<double> distances;
    std::vector<double> angles;
    std::vector<std::uint8_t> valid;
    std::vector<std::uint8_t> states;

    void set(std::size_t i, Hit const& hit) {
        indices[2 * i] = hit.quad.getU();
        indices[2 * i + 1] = hit.quad.getV();
        std::copy_n(hit.point.getCoordinates(), 3, &points[3 * i]);
        distances[i] = hit.distance;
        angles[i] = hit.angleToNormal;
        valid[i] = hit.isHit() ? 1 : 0;
        states[i] = static_cast<std::uint8_t>(hit.state);
    }
};

std::vector<double> numbersIn(char const* path) {
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    std::vector<double> numbers(static_cast<std::size_t>(stream.tellg()) / sizeof(double));
    stream.seekg(0);
    stream.read(reinterpret_cast<char*>(numbers.data()),
                static_cast<std::streamsize>(numbers.size() * sizeof(double)));
    return numbers;
}

Beam beamAt(double const* six) {
    return {Point(six), Vector(six + 3)};
}

Hit walkTo(Grid& grid, Beam const& beam) {
    auto const status = grid.getIntersection(beam.origin, beam.direction);
    Hit hit;
    if (status.getIsValid()) {
        hit.state = Hit::Inside;
        hit.quad = status.getIndices();
        hit.point = status.getQuadPoint();
        hit.distance = status.getIntersectionData().getDistanceToObject();
        hit.angleToNormal = status.getIntersectionData().getAngleToObjectNormal();
    }
    return hit;
}

struct Timing {
    double seconds = 0.0;
    std::size_t hitCount = 0;
};

template <class Find>
Timing timingOf(std::vector<double> const& numbers, Find find) {
    std::clock_t const start = std::clock();
    std::size_t const count = numbers.size() / 6;
    Arrays arrays(count);
    for (std::size_t i = 0; i < count; ++i) {
        arrays.set(i, find(beamAt(&numbers[6 * i])));
    }
    double const seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    return {seconds, static_cast<std::size_t>(std::ranges::count(arrays.valid, std::uint8_t{1}))};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: beamloop GRID BEAMS sure|walk\n";
        return 2;
    }
    Grid grid;
    loadGrid(grid, argv[1]);
    auto const numbers = numbersIn(argv[2]);
    bool const isSure = std::string(argv[3]) == "sure";
    SureSearch const search({&grid});
    Timing best{std::numeric_limits<double>::infinity(), 0};
    for (int i = 0; i < rounds; ++i) {
        Timing const timing = isSure
                                  ? timingOf(numbers, [&](Beam const& beam) { return search.find(beam); })
                                  : timingOf(numbers, [&](Beam const& beam) { return walkTo(grid, beam); });
        best = timing.seconds < best.seconds ? timing : best;
    }
    std::cout << best.seconds << ' ' << best.hitCount << '\n';
}
