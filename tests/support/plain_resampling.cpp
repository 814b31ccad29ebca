#include "tests/support/plain_resampling.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <stdexcept>

namespace QELT::Testing::PlainResampling {

namespace {

using PlainFlattening::Flat;
using PlainFlattening::flatOf;
using PlainFlattening::flatsOf;
using PlainFlattening::placeOf;

constexpr unsigned char validMask = 1;
constexpr unsigned char interiorMask = 2;
constexpr unsigned char boundaryMask = 4;
constexpr unsigned char cutBoundaryMask = 16;

/// The difference of two floats as a float, widened.
double singleDifference(float to, float from) {
    float const volatile difference = to - from;
    return static_cast<double>(difference);
}

/// The length of (b - a) x (d - c).
double crossLength(Place const& a, Place const& b, Place const& c, Place const& d) {
    double const x1 = singleDifference(b[0], a[0]);
    double const y1 = singleDifference(b[1], a[1]);
    double const z1 = singleDifference(b[2], a[2]);
    double const x2 = singleDifference(d[0], c[0]);
    double const y2 = singleDifference(d[1], c[1]);
    double const z2 = singleDifference(d[2], c[2]);
    double const x = y1 * z2 - z1 * y2;
    double const y = x2 * z1 - x1 * z2;
    double const z = x1 * y2 - y1 * x2;
    return std::sqrt((y * y + x * x) + z * z);
}

double cross(Flat const& a, Flat const& b) {
    return a[0] * b[1] - b[0] * a[1];
}

Flat minus(Flat const& a, Flat const& b) {
    return {a[0] - b[0], a[1] - b[1]};
}

struct Box {
    Flat low{};
    Flat extent{};

    void grow(Flat const& p) {
        for (std::size_t k = 0; k < 2; ++k) {
            double const high = low[k] + extent[k];
            double const newHigh = p[k] > high ? p[k] : high;
            low[k] = p[k] < low[k] ? p[k] : low[k];
            extent[k] = newHigh - low[k];
        }
    }
};

std::int32_t toInteger(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<std::int32_t>(std::clamp(std::trunc(value), -2147483648.0, 2147483647.0));
}

std::uint32_t toExtent(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<std::uint32_t>(std::clamp(std::trunc(value), 0.0, 4294967295.0));
}

struct Corners {
    std::array<Flat, 3> flat;
    std::array<Place, 3> place;
};

/// The corners from side 0 onwards: vertices 1, 2, 0.
Corners cornersOf(PlainMesh const& mesh, int triangle) {
    Corners corners;
    for (std::uint32_t k = 0; k < 3; ++k) {
        std::uint32_t const v = mesh.org({triangle, k});
        corners.flat[k] = flatOf(mesh, v);
        corners.place[k] = placeOf(mesh, v);
    }
    return corners;
}

bool isInside(Corners const& t, Flat const& g) {
    for (std::size_t k = 0; k < 3; ++k) {
        Flat const d = minus(t.flat[(k + 1) % 3], t.flat[k]);
        Flat const w = minus(g, t.flat[k]);
        if (d[0] * w[1] - d[1] * w[0] < 0.0) {
            return false;
        }
    }
    return true;
}

PlainPoint interpolated(Corners const& t, Flat const& g) {
    Flat const ab = minus(t.flat[1], t.flat[0]);
    Flat const ac = minus(t.flat[2], t.flat[0]);
    Flat const ag = minus(g, t.flat[0]);
    double const whole = cross(ab, ac);
    double const beta = cross(ag, ac) / whole;
    double const gamma = cross(ab, ag) / whole;
    double const alpha = 1.0 - beta - gamma;
    auto const mean = [&](std::size_t k) {
        return plainNarrowed(
            (alpha * static_cast<double>(t.place[0][k]) + beta * static_cast<double>(t.place[1][k])) +
            gamma * static_cast<double>(t.place[2][k]));
    };
    return {mean(0), mean(1), mean(2)};
}

PlainIndex indexOf(std::int64_t u, std::int64_t v) {
    return {static_cast<std::int32_t>(u), static_cast<std::int32_t>(v)};
}

void storePoint(Result& result, PlainIndex const& node, PlainPoint const& point) {
    std::size_t const k = result.grid.getNode(node);
    result.repeatedStores += (result.grid.flags[k] & validMask) != 0 ? 1U : 0U;
    result.grid.points[k] = point;
    result.grid.flags[k] |= validMask;
}

void rasterise(Result& result, PlainMesh const& mesh, int triangle) {
    double const h = result.spacing;
    Corners const corners = cornersOf(mesh, triangle);
    Box box{corners.flat[0], {0.0, 0.0}};
    box.grow(corners.flat[1]);
    box.grow(corners.flat[2]);
    std::int32_t const iFirst = toInteger(std::floor(box.low[0] / h));
    std::int32_t const jFirst = toInteger(std::floor(box.low[1] / h));
    double const uStart = iFirst * h;
    double const vStart = jFirst * h;
    double const uEnd = std::ceil((box.low[0] + box.extent[0]) / h) * h;
    double const vEnd = std::ceil((box.low[1] + box.extent[1]) / h) * h;
    std::int64_t const nU = std::int64_t{plainRounded((uEnd - uStart) / h)} + 1;
    std::int64_t const nV = std::int64_t{plainRounded((vEnd - vStart) / h)} + 1;
    // No more than the grid's own nodes are looked at, however far the box reaches.
    std::int64_t const jLast = std::min(nV - 1, std::int64_t{result.grid.highestV} - jFirst + 1);
    std::int64_t const iLast = std::min(nU - 1, std::int64_t{result.grid.highestU} - iFirst + 1);
    for (std::int64_t j = std::max(std::int64_t{0}, -std::int64_t{jFirst} - 1); j <= jLast; ++j) {
        for (std::int64_t i = std::max(std::int64_t{0}, -std::int64_t{iFirst} - 1); i <= iLast; ++i) {
            Flat const g{uStart + static_cast<double>(i) * h, vStart + static_cast<double>(j) * h};
            if (!isInside(corners, g)) {
                continue;
            }
            std::int64_t const u = iFirst + i;
            std::int64_t const v = jFirst + j;
            if (u < 0 || v < 0 || u > result.grid.highestU || v > result.grid.highestV) {
                ++result.storesOutside;
            } else {
                storePoint(result, indexOf(u, v), interpolated(corners, g));
            }
        }
    }
}

struct Stretch {
    double meanRatio = 0.0;
    std::uint32_t count = 0;
};

Stretch measureStretch(PlainMesh const& mesh, std::vector<int> const& triangles) {
    double sum = 0.0;
    std::uint32_t count = 0;
    for (int const t : triangles) {
        auto const& v = mesh.triangles[static_cast<std::size_t>(t)].vertices;
        double const surface =
            crossLength(placeOf(mesh, v[0]), placeOf(mesh, v[2]), placeOf(mesh, v[0]), placeOf(mesh, v[1]));
        double const flat = std::fabs(cross(minus(flatOf(mesh, v[2]), flatOf(mesh, v[0])),
                                            minus(flatOf(mesh, v[1]), flatOf(mesh, v[0]))));
        if (flat > 0.0) {
            sum += surface / flat;
            ++count;
        }
    }
    return {sum / static_cast<double>(count), count};
}

void walkOutline(PlainGrid& grid) {
    std::optional<PlainEdge> const first = grid.getBoundaryEdge();
    if (!first) {
        throw std::runtime_error("No boundary found");
    }
    PlainEdge edge = *first;
    do {
        grid.flags[grid.getNode(edge.getEnd())] |= boundaryMask;
        edge = grid.getNextBoundaryEdge(edge);
    } while (edge != *first);
}

bool doMeet(Flat const& p, Flat const& q, Flat const& q1, Flat const& q2) {
    Flat a = minus(q, p);
    Flat b = minus(q1, q2);
    Flat const c = minus(q1, p);
    double det = cross(a, b);
    if (det < 0.0) {
        det = -det;
        std::swap(a, b);
    }
    double const s = cross(c, b);
    double const t = cross(a, c);
    return 0.0 <= s && s <= det && 0.0 <= t && t <= det;
}

void markBesideCut(PlainGrid& grid, std::int64_t u, std::int64_t v) {
    PlainIndex const node = indexOf(u, v);
    if (grid.getIsInBounds(node) && (grid.flags[grid.getNode(node)] & boundaryMask) != 0) {
        grid.flags[grid.getNode(node)] |= cutBoundaryMask;
    }
}

void markCutSegment(PlainGrid& grid, double h, Flat const& p, Flat const& q) {
    std::int64_t const iLow = toInteger(std::floor(std::min(p[0], q[0]) / h));
    std::int64_t const jLow = toInteger(std::floor(std::min(p[1], q[1]) / h));
    std::int64_t const iHigh = toInteger(std::ceil(std::max(p[0], q[0]) / h));
    std::int64_t const jHigh = toInteger(std::ceil(std::max(p[1], q[1]) / h));
    auto const at = [h](std::int64_t i, std::int64_t j) {
        return Flat{static_cast<double>(i) * h, static_cast<double>(j) * h};
    };
    for (std::int64_t j = jLow + 1; j < jHigh; ++j) {
        for (std::int64_t i = iLow; i < iHigh; ++i) {
            if (doMeet(p, q, at(i, j), at(i + 1, j))) {
                markBesideCut(grid, i, j);
                markBesideCut(grid, i + 1, j);
            }
        }
    }
    for (std::int64_t j = jLow; j < jHigh; ++j) {
        for (std::int64_t i = iLow + 1; i < iHigh; ++i) {
            if (doMeet(p, q, at(i, j), at(i, j + 1))) {
                markBesideCut(grid, i, j);
                markBesideCut(grid, i, j + 1);
            }
        }
    }
}

void markCut(PlainGrid& grid, double h, PlainMesh const& mesh) {
    if (mesh.cut.first.empty() || mesh.vertices.empty()) {
        return;
    }
    for (auto const* list : {&mesh.cut.first, &mesh.cut.second}) {
        for (std::size_t k = 0; k + 1 < list->size(); ++k) {
            markCutSegment(grid, h, flatOf(mesh, (*list)[k] % mesh.vertices.size()),
                           flatOf(mesh, (*list)[k + 1] % mesh.vertices.size()));
        }
    }
}

void markInterior(PlainGrid& grid) {
    for (unsigned char& flags : grid.flags) {
        if ((flags & validMask) != 0 && (flags & boundaryMask) == 0) {
            flags |= interiorMask;
        }
    }
}

bool makeNodes(Result& result, std::uint32_t highestU, std::uint32_t highestV) {
    constexpr std::uint64_t most = 1ULL << 28;
    std::uint64_t const columns = std::uint64_t{highestU} + 1;
    std::uint64_t const rows = std::uint64_t{highestV} + 1;
    if (columns > most || rows > most || columns * rows > most) {
        result.error = "Insufficient memory to initialise quad-mesh.";
        return false;
    }
    result.grid = {highestU, highestV, std::vector<PlainPoint>(columns * rows),
                   std::vector<unsigned char>(columns * rows)};
    return true;
}

void rasteriseAll(Result& result, PlainMesh const& mesh, std::vector<int> const& triangles,
                  std::uint32_t count) {
    std::uint64_t done = 0;
    std::uint64_t last = 0;
    for (int const t : triangles) {
        rasterise(result, mesh, t);
        ++done;
        if (count == 0) {
            continue;
        }
        std::uint64_t const percentage = 100 * done / count + 1;
        if (percentage != last) {
            result.events.push_back(std::to_string(percentage) + "%");
            last = percentage;
        }
    }
}

} // namespace

Result resample(PlainMesh const& mesh, double quadArea, std::uint32_t quadsPerSearchPoint) {
    Result result;
    Box box;
    if (!mesh.vertices.empty()) {
        box.low = flatOf(mesh, 0);
        for (Flat const& p : flatsOf(mesh)) {
            box.grow(p);
        }
    }
    std::vector<int> const triangles = mesh.walkedTriangles();
    Stretch const stretch = measureStretch(mesh, triangles);
    result.spacing = std::sqrt(quadArea / stretch.meanRatio);
    if (!makeNodes(result, toExtent(box.extent[0] / result.spacing + 1.0),
                   toExtent(box.extent[1] / result.spacing + 1.0))) {
        return result;
    }
    rasteriseAll(result, mesh, triangles, stretch.count);
    try {
        walkOutline(result.grid);
    } catch (std::runtime_error const& error) {
        result.error = error.what();
        return result;
    }
    markCut(result.grid, result.spacing, mesh);
    markInterior(result.grid);
    result.areas = result.grid.getAreas();
    if (result.grid.highestU != 0 && result.grid.highestV != 0) {
        result.searchPoints = result.grid.getSearchPoints(quadsPerSearchPoint);
    }
    return result;
}

void storeTriangles(PlainGrid& grid, PlainMesh const& mesh, double spacing) {
    Result result;
    result.grid = grid;
    result.spacing = spacing;
    for (int const triangle : mesh.walkedTriangles()) {
        rasterise(result, mesh, triangle);
    }
    grid = result.grid;
}

} // namespace QELT::Testing::PlainResampling
