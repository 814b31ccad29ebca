// Which rims are nearer to each other than a gap.
//
// A way along the surface is no shorter than the straight one, so only points within the gap in space are
// asked for the way (unrolling.h). They are found by cells of the gap's side, in the order of the cells; rims
// that hang together already are not compared again. That the straight line decides who is compared lets
// flaws meet over a slit or from grid to grid, which no path of pixels does. Cost: sorting the points, and
// for each those of its 27 cells that belong to rims not yet joined to its own.

#include "Inspection/indications/internal/rimclusters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <tuple>

namespace QELT::Inspection {

namespace {

using CellIndex = std::array<std::int64_t, 3>;

struct RimPoint {
    CellIndex cell;
    std::uint32_t rim;
    std::uint32_t number; ///< on its rim

    bool operator<(RimPoint const& other) const {
        return std::tie(cell, rim, number) < std::tie(other.cell, other.rim, other.number);
    }
};

CellIndex cellOf(Vector const& point, double side) {
    return {std::llround(std::floor(point.getdX() / side)), std::llround(std::floor(point.getdY() / side)),
            std::llround(std::floor(point.getdZ() / side))};
}

std::vector<RimPoint> inCells(std::vector<std::vector<Oriented>> const& rims, double side) {
    std::vector<RimPoint> points;
    for (std::uint32_t rim = 0; rim < rims.size(); ++rim) {
        for (std::uint32_t number = 0; number < rims[rim].size(); ++number) {
            points.push_back({cellOf(rims[rim][number].point, side), rim, number});
        }
    }
    std::sort(points.begin(), points.end());
    return points;
}

class Groups {
public:
    explicit Groups(std::size_t size) : parents(size) { std::iota(parents.begin(), parents.end(), 0U); }

    std::uint32_t firstOf(std::uint32_t rim) {
        while (parents[rim] != rim) {
            parents[rim] = parents[parents[rim]];
            rim = parents[rim];
        }
        return rim;
    }

    void join(std::uint32_t a, std::uint32_t b) {
        std::uint32_t const first = firstOf(a);
        std::uint32_t const second = firstOf(b);
        parents[std::max(first, second)] = std::min(first, second);
    }

private:
    std::vector<std::uint32_t> parents;
};

bool areNear(Oriented const& a, Oriented const& b, double gap) {
    return (a.point - b.point).lSqr() < gap * gap && a.normal.dot(b.normal) > 0.0 &&
           distanceAlong(a, b) < gap;
}

} // namespace

std::vector<std::uint32_t> clustersOf(std::vector<std::vector<Oriented>> const& rims, double gap) {
    Groups groups(rims.size());
    std::vector<RimPoint> const points = gap > 0.0 ? inCells(rims, gap) : std::vector<RimPoint>();
    auto const compare = [&](RimPoint const& point, CellIndex const& cell) {
        auto other = std::lower_bound(points.begin(), points.end(), RimPoint{cell, 0, 0});
        for (; other != points.end() && other->cell == cell; ++other) {
            if (groups.firstOf(point.rim) != groups.firstOf(other->rim) &&
                areNear(rims[point.rim][point.number], rims[other->rim][other->number], gap)) {
                groups.join(point.rim, other->rim);
            }
        }
    };
    for (RimPoint const& point : points) {
        for (std::int64_t i = 0; i < 27; ++i) {
            compare(point,
                    {point.cell[0] + i % 3 - 1, point.cell[1] + i / 3 % 3 - 1, point.cell[2] + i / 9 - 1});
        }
    }
    std::vector<std::uint32_t> firsts(rims.size());
    for (std::uint32_t rim = 0; rim < rims.size(); ++rim) {
        firsts[rim] = groups.firstOf(rim);
    }
    return firsts;
}

} // namespace QELT::Inspection
