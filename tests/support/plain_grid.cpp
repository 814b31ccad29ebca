#include "tests/support/plain_grid.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace QELT::Testing {

namespace {

constexpr unsigned char validMask = 1;
constexpr unsigned char interiorMask = 2;
constexpr unsigned char boundaryMask = 4;

/// A float operation, rounded at once: the volatile object keeps the optimiser from carrying more digits.
float floatDifference(float a, float b) {
    float const volatile difference = a - b;
    return difference;
}

float floatSum(float a, float b) {
    float const volatile sum = a + b;
    return sum;
}

double length(PlainVector const& a) {
    return std::sqrt(plainDot(a, a));
}

double twiceTriangleArea(PlainPoint const& a, PlainPoint const& b, PlainPoint const& c) {
    return length(plainCross(plainDifference(b, a), plainDifference(c, b)));
}

PlainEdge rotated(PlainEdge const& edge) {
    return {edge.getEnd(), (edge.orientation + 1) % 4};
}

} // namespace

float plainNarrowed(double value) {
    float const volatile narrowed = static_cast<float>(value);
    return narrowed;
}

PlainVector plainDifference(PlainPoint const& a, PlainPoint const& b) {
    return {static_cast<double>(floatDifference(a.x, b.x)), static_cast<double>(floatDifference(a.y, b.y)),
            static_cast<double>(floatDifference(a.z, b.z))};
}

PlainPoint plainMoved(PlainPoint const& p, PlainVector const& step) {
    return {plainNarrowed(static_cast<double>(p.x) + step.x),
            plainNarrowed(static_cast<double>(p.y) + step.y),
            plainNarrowed(static_cast<double>(p.z) + step.z)};
}

PlainVector plainSum(PlainVector const& a, PlainVector const& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

PlainVector plainDifference(PlainVector const& a, PlainVector const& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

PlainVector plainScaled(double factor, PlainVector const& a) {
    return {factor * a.x, factor * a.y, factor * a.z};
}

PlainVector plainDivided(PlainVector const& a, double divisor) {
    return {a.x / divisor, a.y / divisor, a.z / divisor};
}

PlainVector plainCross(PlainVector const& a, PlainVector const& b) {
    return {a.y * b.z - a.z * b.y, b.x * a.z - a.x * b.z, a.x * b.y - b.x * a.y};
}

double plainDot(PlainVector const& a, PlainVector const& b) {
    double const yAndX = a.y * b.y + a.x * b.x;
    return yAndX + a.z * b.z;
}

double plainDistanceSqr(PlainPoint const& a, PlainPoint const& b) {
    PlainVector const d = plainDifference(a, b);
    float const squareX = plainNarrowed(d.x * d.x);
    float const squareY = plainNarrowed(d.y * d.y);
    float const squareZ = plainNarrowed(d.z * d.z);
    return static_cast<double>(floatSum(floatSum(squareY, squareX), squareZ));
}

std::int32_t plainRounded(double value) {
    double rounded = std::floor(value);
    if (value - rounded >= 0.5) {
        rounded = std::ceil(value);
    }
    if (std::isnan(rounded)) {
        return 0;
    }
    if (rounded >= 2147483647.0) {
        return 2147483647;
    }
    if (rounded <= -2147483648.0) {
        return -2147483647 - 1;
    }
    return static_cast<std::int32_t>(rounded);
}

std::int32_t plainWrappedSum(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t plainWrappedDifference(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

std::int32_t plainWrappedProduct(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

PlainIndex operator+(PlainIndex const& a, PlainIndex const& b) {
    return {plainWrappedSum(a.u, b.u), plainWrappedSum(a.v, b.v)};
}

PlainIndex operator-(PlainIndex const& a, PlainIndex const& b) {
    return {plainWrappedDifference(a.u, b.u), plainWrappedDifference(a.v, b.v)};
}

PlainIndex PlainEdge::getStep() const {
    static PlainIndex const steps[4] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    return steps[orientation % 4];
}

std::size_t PlainGrid::getNode(PlainIndex const& p) const {
    return static_cast<std::size_t>(p.v) * (highestU + std::size_t{1}) + static_cast<std::size_t>(p.u);
}

PlainPoint PlainGrid::getPoint(PlainIndex const& p) const {
    if (!getIsInBounds(p) || points.empty()) {
        std::fprintf(stderr, "The plain search read node (%d, %d), which the grid does not have.\n", p.u,
                     p.v);
        std::abort();
    }
    return points[getNode(p)];
}

bool PlainGrid::getIsInBounds(PlainIndex const& p) const {
    auto const limitU = static_cast<std::int32_t>(highestU);
    auto const limitV = static_cast<std::int32_t>(highestV);
    return 0 <= p.u && p.u <= limitU && 0 <= p.v && p.v <= limitV;
}

bool PlainGrid::getIsPointValid(PlainIndex const& p) const {
    return !points.empty() && getIsInBounds(p) && (flags[getNode(p)] & validMask) != 0;
}

bool PlainGrid::getIsQuadValid(PlainIndex const& p) const {
    return getIsPointValid(p) && getIsPointValid(p + PlainIndex{1, 0}) &&
           getIsPointValid(p + PlainIndex{0, 1}) && getIsPointValid(p + PlainIndex{1, 1});
}

bool PlainGrid::getIsBoundaryPoint(PlainIndex const& p) const {
    if (!getIsPointValid(p)) {
        return false;
    }
    for (int orientation = 0; orientation < 4; ++orientation) {
        PlainIndex const neighbour = PlainEdge{p, orientation}.getEnd();
        if (getIsInBounds(neighbour) && !getIsPointValid(neighbour)) {
            return true;
        }
    }
    return false;
}

bool PlainGrid::getIsInteriorNonExtendedPoint(PlainIndex const& p) const {
    return getIsPointValid(p) && (flags[getNode(p)] & (interiorMask | boundaryMask)) != 0;
}

PlainVector PlainGrid::getEdgeU(PlainIndex const& p) const {
    return plainDifference(getPoint(p + PlainIndex{1, 0}), getPoint(p));
}

PlainVector PlainGrid::getEdgeV(PlainIndex const& p) const {
    return plainDifference(getPoint(p + PlainIndex{0, 1}), getPoint(p));
}

PlainIndex PlainGrid::getFanCorner(PlainIndex const& p, unsigned index, int step, int corner) const {
    // The eight nodes around p, counter-clockwise from +u; fan triangle i has p and the nodes i and i + 1.
    static PlainIndex const ring[8] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
    if (corner == 0) {
        return p;
    }
    PlainIndex const direction = ring[(index + static_cast<unsigned>(corner) - 1U) % 8U];
    return p + PlainIndex{plainWrappedProduct(direction.u, step), plainWrappedProduct(direction.v, step)};
}

PlainVector PlainGrid::getFanNormal(PlainIndex const& p, unsigned index) const {
    PlainPoint const a = getPoint(getFanCorner(p, index, 1, 0));
    PlainPoint const b = getPoint(getFanCorner(p, index, 1, 1));
    PlainPoint const c = getPoint(getFanCorner(p, index, 1, 2));
    return plainCross(plainDifference(b, a), plainDifference(c, a));
}

PlainVector PlainGrid::getTriangleNormal(PlainIndex const& p, bool lower) const {
    PlainPoint const a = getPoint(p);
    PlainPoint const b = lower ? getPoint(p + PlainIndex{1, 0}) : getPoint(p + PlainIndex{1, 1});
    PlainPoint const c = lower ? getPoint(p + PlainIndex{1, 1}) : getPoint(p + PlainIndex{0, 1});
    return plainCross(plainDifference(b, a), plainDifference(c, a));
}

PlainVector PlainGrid::getPointUnitNormal(PlainIndex const& p) const {
    static PlainIndex const upAndRight[4] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    static PlainIndex const downAndLeft[3] = {{-1, 0}, {0, -1}, {-1, -1}};
    PlainVector sum;
    bool found = false;
    for (PlainIndex const& step : upAndRight) {
        if (getIsQuadValid(p + step)) {
            sum = plainSum(sum, getTriangleNormal(p + step, true));
            found = true;
        }
    }
    if (!found) {
        for (PlainIndex const& step : downAndLeft) {
            if (getIsQuadValid(p + step)) {
                sum = plainSum(sum, getTriangleNormal(p + step, true));
                found = true;
            }
        }
    }
    if (!found) {
        sum = {0.0, 0.0, 1.0};
    }
    return plainDivided(sum, length(sum));
}

PlainPoint PlainGrid::getMeanQuadPoint(PlainIndex const& p) const {
    if (!getIsQuadValid(p)) {
        return {};
    }
    PlainPoint const zero;
    PlainVector sum = plainDifference(getPoint(p + PlainIndex{1, 1}), zero);
    sum = plainSum(sum, plainDifference(getPoint(p + PlainIndex{0, 1}), zero));
    sum = plainSum(sum, plainDifference(getPoint(p + PlainIndex{1, 0}), zero));
    sum = plainSum(sum, plainDifference(getPoint(p), zero));
    return plainMoved(zero, plainScaled(0.25, sum));
}

double PlainGrid::getQuadArea(PlainIndex const& p) const {
    PlainPoint const p00 = getPoint(p);
    PlainPoint const p10 = getPoint(p + PlainIndex{1, 0});
    PlainPoint const p01 = getPoint(p + PlainIndex{0, 1});
    PlainPoint const p11 = getPoint(p + PlainIndex{1, 1});
    return 0.5 * twiceTriangleArea(p00, p10, p01) + 0.5 * twiceTriangleArea(p01, p10, p11);
}

PlainAreas PlainGrid::getAreas() const {
    PlainAreas areas{0.0, 0.0, 1e11};
    double sum = 0.0;
    std::uint32_t count = 0;
    for (std::int32_t v = 0; v < static_cast<std::int32_t>(highestV); ++v) {
        for (std::int32_t u = 0; u < static_cast<std::int32_t>(highestU); ++u) {
            if (!getIsQuadValid({u, v})) {
                continue;
            }
            double const area = getQuadArea({u, v});
            areas.min = areas.min > area ? area : areas.min;
            areas.max = area > areas.max ? area : areas.max;
            sum += area;
            ++count;
        }
    }
    areas.mean = count == 0 ? 0.0 : sum / count;
    return areas;
}

PlainBox PlainGrid::getBoundingBox() const {
    PlainBox box;
    bool found = false;
    for (std::int32_t v = 0; v <= static_cast<std::int32_t>(highestV); ++v) {
        for (std::int32_t u = 0; u <= static_cast<std::int32_t>(highestU); ++u) {
            if (!getIsPointValid({u, v})) {
                continue;
            }
            PlainPoint const point = getPoint({u, v});
            if (!found) {
                box = {point, {}};
                found = true;
            }
            PlainPoint high = plainMoved(box.p, box.d);
            PlainPoint const otherHigh = plainMoved(point, {});
            high.x = otherHigh.x > high.x ? otherHigh.x : high.x;
            high.y = otherHigh.y > high.y ? otherHigh.y : high.y;
            high.z = otherHigh.z > high.z ? otherHigh.z : high.z;
            box.p.x = point.x < box.p.x ? point.x : box.p.x;
            box.p.y = point.y < box.p.y ? point.y : box.p.y;
            box.p.z = point.z < box.p.z ? point.z : box.p.z;
            box.d = plainDifference(high, box.p);
        }
    }
    return box;
}

namespace {

/// The existing quad nearest to `base` in its column, the lower of two that are equally near.
std::optional<PlainIndex> nearestQuadInColumn(PlainGrid const& grid, PlainIndex const& base) {
    bool topReached = false;
    bool bottomReached = false;
    for (std::int32_t k = 0; !(topReached && bottomReached); ++k) {
        std::optional<PlainIndex> taken;
        PlainIndex const upper = base + PlainIndex{0, k};
        PlainIndex const lower = base - PlainIndex{0, k};
        if (grid.getIsQuadValid(upper)) {
            taken = upper;
        } else if (upper.v >= static_cast<std::int32_t>(grid.highestV)) {
            topReached = true;
        }
        if (grid.getIsQuadValid(lower)) {
            taken = lower;
        } else if (lower.v < 0) {
            bottomReached = true;
        }
        if (taken) {
            return taken;
        }
    }
    return std::nullopt;
}

std::uint32_t truncatedAtLeastOne(double value) {
    return value >= 1.0 ? static_cast<std::uint32_t>(value) : 1U;
}

} // namespace

PlainSearchPoints PlainGrid::getSearchPoints(std::uint32_t quadsPerPoint) const {
    std::uint32_t count = highestU * highestV / quadsPerPoint;
    count = count < 8U ? 8U : count;
    double const extentU = highestU;
    double const extentV = highestV;
    double const r = std::sqrt(static_cast<double>(count) * extentU / extentV);
    PlainSearchPoints result{truncatedAtLeastOne(r), truncatedAtLeastOne(r * extentV / extentU), {}};
    for (std::uint32_t j = 0; j < result.countV; ++j) {
        for (std::uint32_t i = 0; i < result.countU; ++i) {
            PlainIndex const base{static_cast<std::int32_t>((i + 1U) * highestU / (result.countU + 1U)),
                                  static_cast<std::int32_t>((j + 1U) * highestV / (result.countV + 1U))};
            std::optional<PlainIndex> const quad = nearestQuadInColumn(*this, base);
            if (quad) {
                result.quads.push_back(*quad);
            }
        }
    }
    return result;
}

bool PlainGrid::getIsEdgeOnQuad(PlainEdge const& edge) const {
    PlainEdge walker = edge;
    while (walker.orientation != 0) {
        walker = rotated(walker);
    }
    return getIsQuadValid(walker.origin);
}

bool PlainGrid::getIsEdgeOnBoundary(PlainEdge const& edge) const {
    PlainEdge const onTheRight{edge.origin, (edge.orientation + 3) % 4};
    return getIsEdgeOnQuad(edge) && !getIsEdgeOnQuad(onTheRight);
}

PlainEdge PlainGrid::getNextBoundaryEdge(PlainEdge const& edge) const {
    PlainEdge next{edge.getEnd(), (edge.orientation + 2) % 4};
    do {
        next.orientation = (next.orientation + 3) % 4;
    } while (!getIsEdgeOnBoundary(next));
    return next;
}

std::optional<PlainEdge> PlainGrid::getBoundaryEdge() const {
    // Both loops end at the extent along u.
    for (std::int32_t v = 0; v <= static_cast<std::int32_t>(highestU); ++v) {
        for (std::int32_t u = 0; u <= static_cast<std::int32_t>(highestU); ++u) {
            PlainEdge edge{{u, v}, 0};
            for (int turn = 0; turn < 4; ++turn) {
                edge = rotated(edge);
                if (getIsEdgeOnBoundary(edge)) {
                    return edge;
                }
            }
        }
    }
    return std::nullopt;
}

PlainGrid plainGridOf(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid) {
    PlainGrid plain;
    if (grid.points == nullptr) {
        return plain;
    }
    plain.highestU = static_cast<std::uint32_t>(grid.getExtents().getdU());
    plain.highestV = static_cast<std::uint32_t>(grid.getExtents().getdV());
    for (int v = 0; v <= static_cast<int>(plain.highestV); ++v) {
        for (int u = 0; u <= static_cast<int>(plain.highestU); ++u) {
            Geometry::ThreeDimensional::Point const point = grid.getPoint({u, v});
            plain.points.push_back({point.getX(), point.getY(), point.getZ()});
            plain.flags.push_back(static_cast<unsigned char>(grid.getPointFlags({u, v})));
        }
    }
    return plain;
}

} // namespace QELT::Testing
