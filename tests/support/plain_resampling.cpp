#include "tests/support/plain_resampling.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace QELT::Testing::PlainResampling {

namespace {

using PlainFlattening::destinationOf;
using PlainFlattening::Flat;
using PlainFlattening::listTriangles;
using PlainFlattening::originOf;
using PlainFlattening::Side;

float single(double value) {
    float volatile narrowed = static_cast<float>(value);
    return narrowed;
}

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

double rounded(double value) {
    return value - std::floor(value) < 0.5 ? std::floor(value) : std::ceil(value);
}

struct Corners {
    std::array<Flat, 3> flat;
    std::array<Place, 3> place;
};

/// The corners from side 0 onwards: vertices 1, 2, 0.
Corners cornersOf(MeshRecord const& mesh, std::int64_t triangle) {
    Corners corners;
    for (std::uint32_t k = 0; k < 3; ++k) {
        std::uint32_t const v = originOf(mesh, {triangle, k});
        corners.flat[k] = mesh.flats[v];
        corners.place[k] = mesh.places[v];
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

Place interpolated(Corners const& t, Flat const& g) {
    Flat const ab = minus(t.flat[1], t.flat[0]);
    Flat const ac = minus(t.flat[2], t.flat[0]);
    Flat const ag = minus(g, t.flat[0]);
    double const whole = cross(ab, ac);
    double const beta = cross(ag, ac) / whole;
    double const gamma = cross(ab, ag) / whole;
    double const alpha = 1.0 - beta - gamma;
    Place place{};
    for (std::size_t k = 0; k < 3; ++k) {
        place[k] =
            single((alpha * static_cast<double>(t.place[0][k]) + beta * static_cast<double>(t.place[1][k])) +
                   gamma * static_cast<double>(t.place[2][k]));
    }
    return place;
}

void storePoint(Grid& grid, std::int64_t u, std::int64_t v, Place const& place) {
    std::size_t const node = grid.node(u, v);
    grid.repeatedStores += (grid.flags[node] & validMask) != 0 ? 1U : 0U;
    grid.points[node] = place;
    grid.flags[node] |= validMask;
}

void rasterise(Grid& grid, MeshRecord const& mesh, std::int64_t triangle) {
    double const h = grid.spacing;
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
    std::int64_t const nU = std::int64_t{toInteger(rounded((uEnd - uStart) / h))} + 1;
    std::int64_t const nV = std::int64_t{toInteger(rounded((vEnd - vStart) / h))} + 1;
    // No more than the grid's own nodes are looked at, however far the box reaches.
    std::int64_t const jLast = std::min(nV - 1, std::int64_t{grid.extentV} - jFirst + 1);
    std::int64_t const iLast = std::min(nU - 1, std::int64_t{grid.extentU} - iFirst + 1);
    for (std::int64_t j = std::max(std::int64_t{0}, -std::int64_t{jFirst} - 1); j <= jLast; ++j) {
        for (std::int64_t i = std::max(std::int64_t{0}, -std::int64_t{iFirst} - 1); i <= iLast; ++i) {
            Flat const g{uStart + static_cast<double>(i) * h, vStart + static_cast<double>(j) * h};
            if (!isInside(corners, g)) {
                continue;
            }
            std::int64_t const u = iFirst + i;
            std::int64_t const v = jFirst + j;
            if (u < 0 || v < 0 || u > grid.extentU || v > grid.extentV) {
                ++grid.storesOutside;
            } else {
                storePoint(grid, u, v, interpolated(corners, g));
            }
        }
    }
}

struct Stretch {
    double meanRatio = 0.0;
    std::uint32_t count = 0;
};

Stretch measureStretch(MeshRecord const& mesh, std::vector<std::int64_t> const& triangles) {
    double sum = 0.0;
    std::uint32_t count = 0;
    for (std::int64_t t : triangles) {
        auto const& v = mesh.triangles[static_cast<std::size_t>(t)].vertices;
        double const surface =
            crossLength(mesh.places[v[0]], mesh.places[v[2]], mesh.places[v[0]], mesh.places[v[1]]);
        double const flat = std::fabs(
            cross(minus(mesh.flats[v[2]], mesh.flats[v[0]]), minus(mesh.flats[v[1]], mesh.flats[v[0]])));
        if (flat > 0.0) {
            sum += surface / flat;
            ++count;
        }
    }
    return {sum / static_cast<double>(count), count};
}

/// A directed step on the grid, by orientation: +u, +v, -u, -v.
struct Step {
    std::int64_t u = 0;
    std::int64_t v = 0;
    int orientation = 0;

    bool operator==(Step const& other) const {
        return u == other.u && v == other.v && orientation == other.orientation;
    }
};

constexpr std::array<int, 4> stepU{1, 0, -1, 0};
constexpr std::array<int, 4> stepV{0, 1, 0, -1};

Step endOf(Step const& e, int newOrientation) {
    auto const k = static_cast<std::size_t>(e.orientation);
    return {e.u + stepU[k], e.v + stepV[k], newOrientation % 4};
}

Step turnedLeftAtEnd(Step const& e) {
    return endOf(e, e.orientation + 1);
}

Step reversed(Step const& e) {
    return endOf(e, e.orientation + 2);
}

Step clockwise(Step const& e) {
    return {e.u, e.v, (e.orientation + 3) % 4};
}

bool hasQuadOnLeft(Grid const& grid, Step e) {
    while (e.orientation != 0) {
        e = turnedLeftAtEnd(e);
    }
    return grid.isQuad(e.u, e.v);
}

bool isOnOutline(Grid const& grid, Step const& e) {
    return hasQuadOnLeft(grid, e) && !hasQuadOnLeft(grid, clockwise(e));
}

Step findOutline(Grid const& grid) {
    // The scan runs over a square of the u extent; rows beyond the grid hold nothing.
    for (std::int64_t v = 0; v <= grid.extentU; ++v) {
        for (std::int64_t u = 0; u <= grid.extentU; ++u) {
            Step e{u, v, 0};
            for (int turn = 0; turn < 4; ++turn) {
                e = turnedLeftAtEnd(e);
                if (isOnOutline(grid, e)) {
                    return e;
                }
            }
        }
    }
    throw std::runtime_error("No boundary found");
}

void markIfInside(Grid& grid, std::int64_t u, std::int64_t v, unsigned char mask) {
    if (u >= 0 && v >= 0 && u <= grid.extentU && v <= grid.extentV) {
        grid.flags[grid.node(u, v)] |= mask;
    }
}

void walkOutline(Grid& grid) {
    Step const first = findOutline(grid);
    Step e = first;
    do {
        Step const end = endOf(e, 0);
        markIfInside(grid, end.u, end.v, boundaryMask);
        e = reversed(e);
        do {
            e = clockwise(e);
        } while (!isOnOutline(grid, e));
    } while (!(e == first));
    markIfInside(grid, e.u, e.v, boundaryMask);
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

void markBesideCut(Grid& grid, std::int64_t u, std::int64_t v) {
    if (u >= 0 && v >= 0 && u <= grid.extentU && v <= grid.extentV &&
        (grid.flags[grid.node(u, v)] & boundaryMask) != 0) {
        grid.flags[grid.node(u, v)] |= cutBoundaryMask;
    }
}

void markCutSegment(Grid& grid, Flat const& p, Flat const& q) {
    double const h = grid.spacing;
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

void markCut(Grid& grid, MeshRecord const& mesh) {
    if (mesh.cutFirst.empty() || mesh.places.empty()) {
        return;
    }
    for (auto const* list : {&mesh.cutFirst, &mesh.cutSecond}) {
        for (std::size_t k = 0; k + 1 < list->size(); ++k) {
            markCutSegment(grid, mesh.flats[(*list)[k] % mesh.flats.size()],
                           mesh.flats[(*list)[k + 1] % mesh.flats.size()]);
        }
    }
}

void markInterior(Grid& grid) {
    for (unsigned char& flags : grid.flags) {
        if ((flags & validMask) != 0 && (flags & boundaryMask) == 0) {
            flags |= interiorMask;
        }
    }
}

void measureQuads(Grid& grid) {
    grid.minArea = 1e11;
    grid.maxArea = 0.0;
    double sum = 0.0;
    std::uint32_t count = 0;
    for (std::int64_t v = 0; v < grid.extentV; ++v) {
        for (std::int64_t u = 0; u < grid.extentU; ++u) {
            if (!grid.isQuad(u, v)) {
                continue;
            }
            Place const& p00 = grid.points[grid.node(u, v)];
            Place const& p10 = grid.points[grid.node(u + 1, v)];
            Place const& p01 = grid.points[grid.node(u, v + 1)];
            Place const& p11 = grid.points[grid.node(u + 1, v + 1)];
            double const area = 0.5 * crossLength(p00, p10, p10, p01) + 0.5 * crossLength(p01, p10, p10, p11);
            grid.minArea = grid.minArea > area ? area : grid.minArea;
            grid.maxArea = area > grid.maxArea ? area : grid.maxArea;
            sum += area;
            ++count;
        }
    }
    grid.meanArea = count == 0 ? 0.0 : sum / count;
}

void findSearchPoints(Grid& grid, std::uint32_t quadsPerPoint) {
    grid.searchPointsU = 1;
    grid.searchPointsV = 1;
    if (grid.extentU == 0 || grid.extentV == 0) {
        return;
    }
    std::uint32_t const target = std::max<std::uint32_t>(8, grid.extentU * grid.extentV / quadsPerPoint);
    double const r = std::sqrt(static_cast<double>(target) * grid.extentU / grid.extentV);
    grid.searchPointsU = std::max<std::uint32_t>(1, toExtent(r));
    grid.searchPointsV = std::max<std::uint32_t>(1, toExtent(r * grid.extentV / grid.extentU));
    for (std::uint32_t j = 0; j < grid.searchPointsV; ++j) {
        for (std::uint32_t i = 0; i < grid.searchPointsU; ++i) {
            std::int64_t const u = (i + 1) * grid.extentU / (grid.searchPointsU + 1);
            std::int64_t const v = (j + 1) * grid.extentV / (grid.searchPointsV + 1);
            std::int64_t taken = -1;
            bool isTopReached = false;
            bool isBottomReached = false;
            for (std::int64_t k = 0; taken < 0 && !(isTopReached && isBottomReached); ++k) {
                if (grid.isQuad(u, v + k)) {
                    taken = v + k;
                } else if (v + k >= grid.extentV) {
                    isTopReached = true;
                }
                if (grid.isQuad(u, v - k)) {
                    taken = v - k;
                } else if (v - k < 0) {
                    isBottomReached = true;
                }
            }
            if (taken >= 0) {
                grid.searchPoints.emplace_back(static_cast<std::int32_t>(u),
                                               static_cast<std::int32_t>(taken));
            }
        }
    }
}

bool makeNodes(Grid& grid) {
    constexpr std::uint64_t most = 1ULL << 28;
    std::uint64_t const columns = std::uint64_t{grid.extentU} + 1;
    std::uint64_t const rows = std::uint64_t{grid.extentV} + 1;
    if (columns > most || rows > most || columns * rows > most) {
        grid.extentU = 0;
        grid.extentV = 0;
        grid.error = "Insufficient memory to initialise quad-mesh.";
        return false;
    }
    grid.points.assign(columns * rows, Place{});
    grid.flags.assign(columns * rows, 0);
    return true;
}

void rasteriseAll(Grid& grid, MeshRecord const& mesh, std::vector<std::int64_t> const& triangles,
                  std::uint32_t count) {
    std::uint64_t done = 0;
    std::uint64_t last = 0;
    for (std::int64_t t : triangles) {
        rasterise(grid, mesh, t);
        ++done;
        if (count == 0) {
            continue;
        }
        std::uint64_t const percentage = 100 * done / count + 1;
        if (percentage != last) {
            grid.events.push_back("percentage " + std::to_string(percentage));
            last = percentage;
        }
    }
}

} // namespace

std::size_t Grid::node(std::int64_t u, std::int64_t v) const {
    if (u < 0 || v < 0 || u > extentU || v > extentV) {
        throw std::out_of_range("no such node");
    }
    return static_cast<std::size_t>(v) * (std::size_t{extentU} + 1) + static_cast<std::size_t>(u);
}

bool Grid::isValid(std::int64_t u, std::int64_t v) const {
    return u >= 0 && v >= 0 && u <= extentU && v <= extentV && (flags[node(u, v)] & validMask) != 0;
}

bool Grid::isQuad(std::int64_t u, std::int64_t v) const {
    return isValid(u, v) && isValid(u + 1, v) && isValid(u, v + 1) && isValid(u + 1, v + 1);
}

Grid resample(MeshRecord const& mesh, double quadArea, std::uint32_t quadsPerSearchPoint) {
    Grid grid;
    Box box;
    if (!mesh.flats.empty()) {
        box.low = mesh.flats[0];
        for (Flat const& p : mesh.flats) {
            box.grow(p);
        }
    }
    std::vector<std::int64_t> const triangles = listTriangles(mesh);
    Stretch const stretch = measureStretch(mesh, triangles);
    grid.spacing = std::sqrt(quadArea / stretch.meanRatio);
    grid.extentU = toExtent(box.extent[0] / grid.spacing + 1.0);
    grid.extentV = toExtent(box.extent[1] / grid.spacing + 1.0);
    if (!makeNodes(grid)) {
        return grid;
    }
    rasteriseAll(grid, mesh, triangles, stretch.count);
    try {
        walkOutline(grid);
    } catch (std::runtime_error const& error) {
        grid.error = error.what();
        return grid;
    }
    markCut(grid, mesh);
    markInterior(grid);
    measureQuads(grid);
    findSearchPoints(grid, quadsPerSearchPoint);
    return grid;
}

} // namespace QELT::Testing::PlainResampling
