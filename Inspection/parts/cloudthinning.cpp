#include "Inspection/parts/cloudthinning.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <unordered_map>

// Thinning by the order of the points, each staying unless one that stays is too near already. The points
// that stay lie in cubes with sides of the distance, so that those of 27 cubes are all that may be too near.
//
// The order of the file is kept, since a scanner writes line after line: along a line the steps are then as
// even as they can be. Distances are squared in double precision from the floats as they are, and one of
// exactly the distance is not too near, so that a lattice survives its own spacing.
//
// Cost: a cube holds few points that are that far apart. For a distance that is next to nothing beside the
// cloud the cubes are larger, lest their numbers overflow; then they are as empty.

namespace QELT::Inspection {

namespace {

/// Cubes along the longest side of the cloud: their numbers fit 20 bits.
constexpr double maxCubesAlong = 1 << 20;

/// The points that stay, by their cubes.
class KeptPoints {
public:
    KeptPoints(std::vector<Point> const& points, double distance) : distanceSqr(distance * distance) {
        low = points.front();
        Point high = low;
        for (Point const& point : points) {
            low.setMin(point);
            high.setMax(point);
        }
        double longest = 0.0;
        for (unsigned long axis = 0; axis < 3; ++axis) {
            longest =
                std::max(longest, static_cast<double>(high.get(axis)) - static_cast<double>(low.get(axis)));
        }
        side = std::max(distance, longest / maxCubesAlong);
    }

    /// Whether no point that stays is too near; then this one stays.
    bool keep(Point const& point) {
        Cube const cube = cubeOf(point);
        if (isCrowded(point, cube)) {
            return false;
        }
        newest.push_back({point, nothing});
        auto const number = static_cast<std::uint32_t>(newest.size() - 1);
        auto const [place, isNew] = cubes.emplace(keyOf(cube), number);
        if (!isNew) {
            newest.back().previous = place->second;
            place->second = number;
        }
        return true;
    }

private:
    using Cube = std::array<std::int64_t, 3>;

    static constexpr std::uint32_t nothing = 0xffffffffU;

    /// A point that stays, and the one that was the newest of its cube before it.
    struct Entry {
        Point point;
        std::uint32_t previous = nothing;
    };

    double distanceSqr;
    Point low;
    double side = 1.0;
    std::vector<Entry> newest;
    std::unordered_map<std::uint64_t, std::uint32_t> cubes; ///< the newest of each

    static double offset(Point const& a, Point const& b, unsigned long axis) {
        return static_cast<double>(a.get(axis)) - static_cast<double>(b.get(axis));
    }

    Cube cubeOf(Point const& point) const {
        Cube cube{};
        for (unsigned long axis = 0; axis < 3; ++axis) {
            cube.at(axis) = static_cast<std::int64_t>(offset(point, low, axis) / side);
        }
        return cube;
    }

    /// Numbers from -1 on, in 21 bits each.
    static std::uint64_t keyOf(Cube const& cube) {
        auto const part = [&](std::size_t axis) { return static_cast<std::uint64_t>(cube.at(axis) + 1); };
        return (part(0) << 42U) | (part(1) << 21U) | part(2);
    }

    bool isCrowded(Point const& point, Cube const& middle) const {
        for (std::int64_t x = -1; x <= 1; ++x) {
            for (std::int64_t y = -1; y <= 1; ++y) {
                for (std::int64_t z = -1; z <= 1; ++z) {
                    if (holdsNear({middle[0] + x, middle[1] + y, middle[2] + z}, point)) {
                        return true;
                    }
                }
            }
        }
        return false;
    }

    bool holdsNear(Cube const& cube, Point const& point) const {
        auto const place = cubes.find(keyOf(cube));
        std::uint32_t number = place == cubes.end() ? nothing : place->second;
        while (number != nothing && !isNear(newest[number].point, point)) {
            number = newest[number].previous;
        }
        return number != nothing;
    }

    bool isNear(Point const& a, Point const& b) const {
        double const x = offset(a, b, 0);
        double const y = offset(a, b, 1);
        double const z = offset(a, b, 2);
        return x * x + y * y + z * z < distanceSqr;
    }
};

} // namespace

std::vector<Point> thinned(std::vector<Point> const& points, double distance) {
    require(distance > 0.0 && std::isfinite(distance),
            "a spacing of " + toShortText(distance, 6) + " to thin to is not above zero");
    std::vector<Point> result;
    if (points.empty()) {
        return result;
    }
    KeptPoints kept(points, distance);
    std::copy_if(points.begin(), points.end(), std::back_inserter(result),
                 [&](Point const& point) { return kept.keep(point); });
    return result;
}

} // namespace QELT::Inspection
