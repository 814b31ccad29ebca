#include "Inspection/import/internal/welding.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <unordered_map>

// Points are kept or given to a kept one in the order of the file, so that the result depends on that order
// alone. Kept points lie in the cells of a grid four times as wide as the tolerance: narrower ones cost more
// look-ups, wider ones more distances. What is near a point lies in the cells from that of its coordinate
// less the tolerance to that of its coordinate plus the tolerance, along an axis mostly one, else two. Cells
// are named by whole numbers in double precision: these never overflow, and rounding keeps their order also
// where they are larger than 2^53. The grid is only looked up, never walked over, so that the order of its
// table does not show. Cost: one look-up of a few cells a point.

namespace QELT::Inspection {

namespace {

using Place = std::array<double, 3>;
using Cell = std::array<double, 3>;

/// Width of a cell in tolerances.
constexpr double cellWidths = 4.0;

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

struct CellHash {
    std::size_t operator()(Cell const& cell) const {
        std::uint64_t hash = 0;
        for (double const number : cell) {
            hash = (hash ^ std::bit_cast<std::uint64_t>(number)) * 0x9E3779B97F4A7C15ULL;
            hash ^= hash >> 32U;
        }
        return static_cast<std::size_t>(hash);
    }
};

class WeldGrid {
public:
    explicit WeldGrid(double distance) : tolerance(distance) {}

    /// The first kept point near this one, or `none`.
    std::uint32_t find(Place const& point) const {
        Cell low;
        Cell high;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = cellOf(point[axis] - tolerance);
            high[axis] = cellOf(point[axis] + tolerance);
        }
        std::uint32_t found = none;
        for (double x = low[0]; x <= high[0]; x = following(x)) {
            for (double y = low[1]; y <= high[1]; y = following(y)) {
                for (double z = low[2]; z <= high[2]; z = following(z)) {
                    found = std::min(found, findIn({x, y, z}, point));
                }
            }
        }
        return found;
    }

    void keep(Place const& point) {
        auto const index = static_cast<std::uint32_t>(kept.size());
        auto const [entry, isNew] =
            newest.try_emplace({cellOf(point[0]), cellOf(point[1]), cellOf(point[2])}, index);
        before.push_back(isNew ? none : entry->second);
        entry->second = index;
        kept.push_back(point);
    }

    std::vector<Place> const& points() const { return kept; }

private:
    /// Without a tolerance each coordinate is a cell of its own; both zeros are one.
    double cellOf(double coordinate) const {
        constexpr double limit = std::numeric_limits<double>::max();
        double const cell = tolerance > 0.0 ? std::floor(coordinate / (cellWidths * tolerance)) : coordinate;
        return std::clamp(cell, -limit, limit) + 0.0;
    }

    static double following(double cell) {
        return std::max(cell + 1.0, std::nextafter(cell, std::numeric_limits<double>::infinity()));
    }

    std::uint32_t findIn(Cell const& cell, Place const& point) const {
        auto const entry = newest.find(cell);
        std::uint32_t found = none;
        for (std::uint32_t i = entry == newest.end() ? none : entry->second; i != none; i = before[i]) {
            if (std::hypot(kept[i][0] - point[0], kept[i][1] - point[1], kept[i][2] - point[2]) <=
                tolerance) {
                found = i; // older ones come later
            }
        }
        return found;
    }

    double tolerance;
    std::unordered_map<Cell, std::uint32_t, CellHash> newest; ///< the point kept last in a cell
    std::vector<std::uint32_t> before;                        ///< the one kept before in the same cell
    std::vector<Place> kept;
};

} // namespace

WeldedPoints weld(std::vector<Place> const& points, double tolerance) {
    WeldGrid grid(tolerance);
    WeldedPoints welded;
    welded.newIndices.reserve(points.size());
    for (Place const& point : points) {
        std::uint32_t index = grid.find(point);
        if (index == none) {
            index = static_cast<std::uint32_t>(grid.points().size());
            grid.keep(point);
        }
        welded.newIndices.push_back(index);
    }
    welded.points = grid.points();
    return welded;
}

} // namespace QELT::Inspection
