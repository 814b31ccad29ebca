#include "Inspection/import/internal/triangulation.h"

#include <algorithm>
#include <cmath>
#include <optional>

// Ears are cut off (G. H. Meisters, "Polygons have ears", 1975) in the polygon's plane, whose normal is the
// sum of the edges' cross products (Newell). The plane is looked at along the axis nearest to the normal:
// coordinates are not rounded by that. A corner is an ear if it turns to the left and no corner that does not
// lies in its triangle or on its rim, itself and the neighbours apart; so corners in a row of three do not
// end as a triangle without area where another way is. A convex polygon becomes a fan around its first
// corner. Where no ear is left, a corner between two others in a line goes first; else the polygon crosses
// itself, which is told, and the next corner goes. Either way each step gives one triangle, and none is lost.
// Signs are those of plain double arithmetic: corners nearer to a line than its rounding may be taken to lie
// on either side.
//
// Cutting an ear off changes what can be said of its two neighbours alone: whether the others are ears is
// kept. Where rounding or corners that coincide break that, all are asked again, a few times at most, before
// a polygon is said to cross itself. Cost: the square of the count of corners.

namespace QELT::Inspection {

namespace {

using SpacePoint = std::array<double, 3>;
using PlanePoint = std::array<double, 2>;

SpacePoint normalOf(std::span<std::uint32_t const> polygon, std::vector<SpacePoint> const& points) {
    SpacePoint normal{};
    SpacePoint const& origin = points[polygon[0]];
    for (std::size_t i = 1; i + 1 < polygon.size(); ++i) {
        SpacePoint a;
        SpacePoint b;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            a[axis] = points[polygon[i]][axis] - origin[axis];
            b[axis] = points[polygon[i + 1]][axis] - origin[axis];
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            std::size_t const next = (axis + 1) % 3;
            std::size_t const last = (axis + 2) % 3;
            normal[axis] += a[next] * b[last] - a[last] * b[next];
        }
    }
    return normal;
}

/// The polygon seen so that it goes round to the left.
std::vector<PlanePoint> flattened(std::span<std::uint32_t const> polygon,
                                  std::vector<SpacePoint> const& points) {
    SpacePoint const normal = normalOf(polygon, points);
    std::size_t axis = 0;
    for (std::size_t other = 1; other < 3; ++other) {
        axis = std::abs(normal[other]) > std::abs(normal[axis]) ? other : axis;
    }
    std::size_t first = (axis + 1) % 3;
    std::size_t second = (axis + 2) % 3;
    if (normal[axis] < 0.0) {
        std::swap(first, second);
    }
    std::vector<PlanePoint> flat;
    for (std::uint32_t const corner : polygon) {
        flat.push_back({points[corner][first], points[corner][second]});
    }
    return flat;
}

/// Above 0 where c lies to the left of the way from a to b.
double turn(PlanePoint const& a, PlanePoint const& b, PlanePoint const& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

/// How often all corners are asked again whether they are ears.
constexpr int maxRepetitions = 8;

enum class Ear : std::uint8_t { Unknown, No, Yes };

class EarCutter {
public:
    EarCutter(std::span<std::uint32_t const> corners, std::vector<SpacePoint> const& points)
        : polygon(corners),
          flat(flattened(corners, points)),
          ears(corners.size(), Ear::Unknown),
          left(corners.size()) {
        for (std::size_t i = 0; i < left; ++i) {
            next.push_back((i + 1) % left);
            previous.push_back((i + left - 1) % left);
        }
    }

    PolygonTriangles cut() {
        std::size_t corner = 1;
        while (left > 3) {
            corner = chooseFrom(corner);
            corner = cutOff(corner);
        }
        cutOff(corner);
        return std::move(result);
    }

private:
    double turnAt(std::size_t corner) const {
        return turn(flat[previous[corner]], flat[corner], flat[next[corner]]);
    }

    /// Whether a corner that does not turn to the left lies in the triangle or on its rim.
    bool isInTheWay(std::size_t other, PlanePoint const& a, PlanePoint const& b, PlanePoint const& c) const {
        PlanePoint const& place = flat[other];
        return turn(a, b, place) >= 0.0 && turn(b, c, place) >= 0.0 && turn(c, a, place) >= 0.0 &&
               place != a && place != b && place != c && !(turnAt(other) > 0.0);
    }

    bool findIsEar(std::size_t corner) const {
        if (!(turnAt(corner) > 0.0)) {
            return false;
        }
        std::size_t const before = previous[corner];
        std::size_t const after = next[corner];
        for (std::size_t other = next[after]; other != before; other = next[other]) {
            if (isInTheWay(other, flat[before], flat[corner], flat[after])) {
                return false;
            }
        }
        return true;
    }

    bool isEar(std::size_t corner) {
        if (ears[corner] == Ear::Unknown) {
            ears[corner] = findIsEar(corner) ? Ear::Yes : Ear::No;
        }
        return ears[corner] == Ear::Yes;
    }

    std::optional<std::size_t> findEarFrom(std::size_t corner) {
        for (std::size_t i = 0; i < left; ++i, corner = next[corner]) {
            if (isEar(corner)) {
                return corner;
            }
        }
        return std::nullopt;
    }

    /// The next ear; without one a corner in a line; without that the corner itself.
    std::size_t chooseFrom(std::size_t start) {
        auto ear = findEarFrom(start);
        if (!ear && repetitions < maxRepetitions) {
            ++repetitions;
            std::fill(ears.begin(), ears.end(), Ear::Unknown);
            ear = findEarFrom(start);
        }
        if (ear) {
            return *ear;
        }
        std::size_t corner = start;
        for (std::size_t i = 0; i < left; ++i, corner = next[corner]) {
            if (turnAt(corner) == 0.0) {
                return corner;
            }
        }
        result.isSimple = false;
        return start;
    }

    /// The corner behind the one cut off.
    std::size_t cutOff(std::size_t corner) {
        std::size_t const before = previous[corner];
        std::size_t const after = next[corner];
        result.triangles.push_back(ordered({before, corner, after}));
        next[before] = after;
        previous[after] = before;
        ears[before] = Ear::Unknown;
        ears[after] = Ear::Unknown;
        --left;
        return after;
    }

    /// Beginning with the corner that stands first in the polygon.
    std::array<std::uint32_t, 3> ordered(std::array<std::size_t, 3> corners) const {
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
        return {polygon[corners[0]], polygon[corners[1]], polygon[corners[2]]};
    }

    std::span<std::uint32_t const> polygon;
    std::vector<PlanePoint> flat;
    std::vector<std::size_t> next;
    std::vector<std::size_t> previous;
    std::vector<Ear> ears;
    int repetitions = 0;
    std::size_t left;
    PolygonTriangles result;
};

} // namespace

PolygonTriangles triangulate(std::span<std::uint32_t const> polygon, std::vector<SpacePoint> const& points) {
    if (polygon.size() == 3) {
        return {{{polygon[0], polygon[1], polygon[2]}}, true};
    }
    return EarCutter(polygon, points).cut();
}

} // namespace QELT::Inspection
