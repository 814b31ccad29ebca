#include "tests/support/gridfamilies.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace QELT::Testing {

namespace {

using Extents = Geometry::TwoDimensional::Vector<unsigned long>;

/// A number in [0, 1), the same with every standard library (which the distributions of <random> are not).
double uniform(std::mt19937& random) {
    return static_cast<double>(random()) / 4294967296.0;
}

double symmetric(std::mt19937& random) {
    return 2.0 * uniform(random) - 1.0;
}

int highestU(RectMesh const& grid) {
    return static_cast<int>(grid.getExtents().getdU());
}

int highestV(RectMesh const& grid) {
    return static_cast<int>(grid.getExtents().getdV());
}

SpacePoint wave(double u, double v, double amplitude) {
    return {u, v, amplitude * (std::sin(0.31 * u + 0.2) + std::cos(0.23 * v - 0.1 * u))};
}

bool hasQuad(RectMesh const& grid) {
    for (int v = 0; v < highestV(grid); ++v) {
        for (int u = 0; u < highestU(grid); ++u) {
            if (grid.getIsQuadValid({u, v})) {
                return true;
            }
        }
    }
    return false;
}

void addSurfaces(std::vector<GridFamily>& families, std::uint32_t seed) {
    families.push_back({"flat", flatGrid(20, 15)});
    families.push_back({"tilted plane", tiltedPlaneGrid(17, 23)});
    families.push_back({"cylinder", cylinderGrid(30, 12, 25.0)});
    families.push_back({"sphere patch", spherePatchGrid(24, 24, 40.0)});
    families.push_back({"wavy", wavyGrid(40, 33, 2.0)});
    families.push_back({"steep waves", wavyGrid(28, 28, 12.0)});
    families.push_back({"noisy", noisyGrid(19, 21, 0.3, seed)});
    families.push_back({"crumpled", noisyGrid(14, 14, 1.5, seed + 1)});
    families.push_back({"huge offset", hugeOffsetGrid(18, 16)});
    families.push_back({"tiny scale", tinyScaleGrid(16, 18)});
    families.push_back({"degenerate quads", degenerateGrid(20, 20, seed + 2)});
    families.push_back({"mixed magnitudes", mixedMagnitudesGrid(18, 22, seed + 6)});
    families.push_back({"wide", wavyGrid(90, 3, 1.0)});
    families.push_back({"tall", wavyGrid(3, 90, 1.0)});
}

void addHoles(std::vector<GridFamily>& families, std::uint32_t seed) {
    families.push_back({"flat with one hole", flatGrid(21, 21)});
    punchMiddle(families.back().grid);
    families.push_back({"sphere patch with one hole", spherePatchGrid(30, 30, 50.0)});
    punchMiddle(families.back().grid);
    families.push_back({"wavy with many holes", wavyGrid(34, 34, 2.0)});
    punchMany(families.back().grid);
    families.push_back({"cylinder with few speckles", cylinderGrid(32, 20, 30.0)});
    punchSpeckles(families.back().grid, 0.03, seed + 3);
    families.push_back({"wavy with dense speckles", wavyGrid(25, 25, 3.0)});
    punchSpeckles(families.back().grid, 0.35, seed + 4);
    families.push_back({"noisy with low corner missing", noisyGrid(22, 18, 0.3, seed + 5)});
    punchHole(families.back().grid, {0, 0}, {9, 7});
    families.push_back({"half missing", wavyGrid(26, 26, 2.0)});
    punchHole(families.back().grid, {0, 0}, {12, 26});
}

void addSmall(std::vector<GridFamily>& families) {
    families.push_back({"one quad", flatGrid(1, 1, 2.0)});
    families.push_back({"two quads", wavyGrid(2, 1, 0.5)});
    families.push_back({"three nodes of one quad", flatGrid(1, 1)});
    punchHole(families.back().grid, {1, 1}, {1, 1});
    families.push_back({"single row", wavyGrid(12, 0, 1.0)});
    families.push_back({"single column", wavyGrid(0, 12, 1.0)});
    families.push_back({"one node", flatGrid(0, 0)});
    families.push_back({"no valid node", flatGrid(6, 5)});
    punchHole(families.back().grid, {0, 0}, {6, 5});
}

} // namespace

RectMesh makeGrid(std::uint32_t extentU, std::uint32_t extentV, Surface const& surface) {
    RectMesh grid;
    grid.init(Extents(extentU, extentV));
    for (int v = 0; v <= static_cast<int>(extentV); ++v) {
        for (int u = 0; u <= static_cast<int>(extentU); ++u) {
            grid.setPoint({u, v}, surface(u, v));
        }
    }
    settle(grid);
    return grid;
}

void settle(RectMesh& grid) {
    grid.getMaxMeanMinQuadSize(&grid.maxQuadArea, &grid.meanQuadArea, &grid.minQuadArea);
    grid.calculateSearchPoints(grid.quadsPerSearchPoint, grid.numberOfSearchPointsU,
                               grid.numberOfSearchPointsV);
}

RectMesh flatGrid(std::uint32_t extentU, std::uint32_t extentV, double spacing) {
    return makeGrid(extentU, extentV,
                    [=](int u, int v) { return SpacePoint(spacing * u, spacing * v, 0.0); });
}

RectMesh tiltedPlaneGrid(std::uint32_t extentU, std::uint32_t extentV) {
    return makeGrid(extentU, extentV, [](int u, int v) {
        return SpacePoint(3.0 + 0.8 * u - 0.3 * v, -2.0 + 0.5 * u + 0.9 * v, 1.0 + 0.4 * u - 0.6 * v);
    });
}

RectMesh cylinderGrid(std::uint32_t extentU, std::uint32_t extentV, double radius) {
    double const step = 2.4 / std::max(extentU, std::uint32_t{1});
    return makeGrid(extentU, extentV, [=](int u, int v) {
        double const angle = u * step - 1.2;
        return SpacePoint(radius * std::sin(angle), v * radius * step, radius * std::cos(angle));
    });
}

RectMesh spherePatchGrid(std::uint32_t extentU, std::uint32_t extentV, double radius) {
    double const stepU = 1.2 / std::max(extentU, std::uint32_t{1});
    double const stepV = 1.2 / std::max(extentV, std::uint32_t{1});
    return makeGrid(extentU, extentV, [=](int u, int v) {
        double const x = u * stepU - 0.6;
        double const y = v * stepV - 0.6;
        return SpacePoint(radius * x, radius * y, radius * std::sqrt(1.0 - x * x - y * y));
    });
}

RectMesh wavyGrid(std::uint32_t extentU, std::uint32_t extentV, double amplitude) {
    return makeGrid(extentU, extentV, [=](int u, int v) { return wave(u, v, amplitude); });
}

RectMesh noisyGrid(std::uint32_t extentU, std::uint32_t extentV, double amplitude, std::uint32_t seed) {
    std::mt19937 random(seed);
    return makeGrid(extentU, extentV, [&](int u, int v) {
        double const x = u + amplitude * symmetric(random);
        double const y = v + amplitude * symmetric(random);
        return SpacePoint(x, y, amplitude * symmetric(random));
    });
}

RectMesh hugeOffsetGrid(std::uint32_t extentU, std::uint32_t extentV) {
    return makeGrid(extentU, extentV, [](int u, int v) {
        SpacePoint const p = wave(u, v, 2.0);
        return SpacePoint(1.0e6 + p.getX(), -2.0e6 + p.getY(), 5.0e5 + p.getZ());
    });
}

RectMesh tinyScaleGrid(std::uint32_t extentU, std::uint32_t extentV) {
    return makeGrid(extentU, extentV, [](int u, int v) {
        SpacePoint const p = wave(u, v, 2.0);
        return SpacePoint(1.0e-7 * p.getX(), 1.0e-7 * p.getY(), 1.0e-7 * p.getZ());
    });
}

RectMesh mixedMagnitudesGrid(std::uint32_t extentU, std::uint32_t extentV, std::uint32_t seed) {
    constexpr double large = 1152921504606846976.0;
    constexpr std::array<double, 4> heights{1.0, -1.0, large, -large};
    std::mt19937 random(seed);
    return makeGrid(extentU, extentV,
                    [&](int u, int v) { return SpacePoint(u, v, heights[random() % heights.size()]); });
}

RectMesh degenerateGrid(std::uint32_t extentU, std::uint32_t extentV, std::uint32_t seed) {
    // Column 5k + 3 repeats column 5k + 2, row 7k + 4 repeats row 7k + 3.
    RectMesh grid = makeGrid(extentU, extentV, [](int u, int v) {
        return wave(u % 5 == 3 ? u - 1 : u, v % 7 == 4 ? v - 1 : v, 2.0);
    });
    std::mt19937 random(seed);
    for (int v = 0; v <= highestV(grid); ++v) {
        for (int u = 1; u <= highestU(grid); ++u) {
            if (uniform(random) < 0.08) {
                grid.setPoint({u, v}, grid.getPoint({u - 1, v}));
            }
        }
    }
    settle(grid);
    return grid;
}

void punchHole(RectMesh& grid, GridIndex const& low, GridIndex const& high) {
    for (int v = low.getV(); v <= high.getV(); ++v) {
        for (int u = low.getU(); u <= high.getU(); ++u) {
            grid.setPointFlags({u, v}, 0);
        }
    }
    settle(grid);
}

void punchMiddle(RectMesh& grid) {
    int const u = highestU(grid);
    int const v = highestV(grid);
    punchHole(grid, {u / 3, v / 3}, {2 * u / 3, 2 * v / 3});
}

void punchMany(RectMesh& grid) {
    for (int v = 2; v <= highestV(grid); v += 7) {
        for (int u = 2; u <= highestU(grid); u += 7) {
            punchHole(grid, {u, v}, {u + 2, v + 2});
        }
    }
}

void punchSpeckles(RectMesh& grid, double share, std::uint32_t seed) {
    std::mt19937 random(seed);
    for (int v = 0; v <= highestV(grid); ++v) {
        for (int u = 0; u <= highestU(grid); ++u) {
            if (uniform(random) < share) {
                grid.setPointFlags({u, v}, 0);
            }
        }
    }
    settle(grid);
}

void scatterFlags(RectMesh& grid, std::uint32_t seed) {
    constexpr std::array<char, 4> flagBytes{1, 3, 5, 21};
    std::mt19937 random(seed);
    for (int v = 0; v <= highestV(grid); ++v) {
        for (int u = 0; u <= highestU(grid); ++u) {
            bool const isValid = grid.getIsPointValid({u, v});
            char const flagByte = flagBytes[random() % flagBytes.size()];
            grid.setPointFlags({u, v}, isValid ? flagByte : char{0});
        }
    }
}

std::vector<GridFamily> gridFamilies(std::uint32_t seed) {
    std::vector<GridFamily> families;
    addSurfaces(families, seed);
    addHoles(families, seed);
    addSmall(families);
    return families;
}

std::vector<GridFamily> gridFamiliesWithQuads(std::uint32_t seed) {
    std::vector<GridFamily> families = gridFamilies(seed);
    std::erase_if(families, [](GridFamily const& family) { return !hasQuad(family.grid); });
    return families;
}

std::vector<GridFamily> wildGridFamilies(std::uint32_t seed) {
    using Limits = std::numeric_limits<float>;
    constexpr std::array<double, 14> coordinates{0.0,
                                                 -0.0,
                                                 1.0,
                                                 -1.0,
                                                 2.0,
                                                 3.0,
                                                 0.1,
                                                 1000.25,
                                                 Limits::denorm_min(),
                                                 Limits::min(),
                                                 1e30,
                                                 -Limits::max(),
                                                 Limits::infinity(),
                                                 Limits::quiet_NaN()};
    std::mt19937 random(seed);
    std::vector<GridFamily> families;
    for (std::uint32_t i = 0; i < 98; ++i) {
        bool const isFinite = i % 2 == 0;
        std::uint32_t const size = i / 2;
        std::size_t const kinds = isFinite ? (i % 4 == 0 ? 8U : 12U) : coordinates.size();
        auto const draw = [&] { return coordinates[random() % kinds]; };
        RectMesh const grid = makeGrid(size % 7U, size / 7U, [&](int, int) {
            double const x = draw();
            double const y = draw();
            return SpacePoint(x, y, draw());
        });
        families.push_back(
            {(isFinite ? "wild " : "wild with infinities and NaNs ") + std::to_string(i), grid});
        punchSpeckles(families.back().grid, i % 3 == 0 ? 0.0 : 0.15, seed + i);
    }
    return families;
}

} // namespace QELT::Testing
