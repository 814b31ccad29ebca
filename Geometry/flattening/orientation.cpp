#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <numbers>
#include <optional>
#include <span>
#include <utility>
#include <vector>

// A conformal map may come out turned in any way. It is turned so that its box along the axes is smallest and
// lies along u: 4096 angles over a quarter turn are tried, and the smallest box, the first of equals, is
// taken; where it is not wider than high, a quarter turn goes on top. Then its low corner moves to (0, 0).
//
// The steps are 0.022 degrees, a rise of 0.4 mm over a metre; fewer would show as a slant of long scans. A
// box that touches the outline's edges would be exact (rotating calipers), but gives other bits, and archived
// maps are compared. For the same reason boxes grow here as the library's do, rounding included: between
// boxes of nearly equal area that decides. Where the first box is NaN no other is smaller, and it stays.
//
// Few boxes have to be grown, though. The outline, two chains of points as of a convex hull (Andrew, "Another
// Efficient Algorithm for Convex Hulls in Two Dimensions", 1979), bounds the area at each angle from both
// sides, and an angle whose least area is above another one's greatest cannot be taken. Let e be the
// rounding of 1.0, S the largest coordinate, n the number of points. A chain passes over what lies no more
// than 16 e S above the chord between two others, so what it lacks in a direction is n times that at most; a
// grown box is off by 5 e S for each point that it includes. Together with the turned places' rounding an
// extent is off by less than (38 n + 700) e S: `getSlack` gives more. Where a coordinate is not finite, or so
// large or small that squares leave the range of doubles, all boxes are grown.
//
// Cost: some passes over the points, 4096 over the outline, and one over all points for each angle that the
// bounds leave: few, if the map is not as regular as a polygon.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t numberOfSteps = 4096;
constexpr double quarterTurn = std::numbers::pi / 2;
constexpr double epsilon = std::numeric_limits<double>::epsilon();

/// Coordinates of this size and its inverse, squared, multiplied and rounded, stay far inside the range.
constexpr double largestTameSize = 1e100;

/// The directions in which points are looked for that the others lie between.
constexpr std::uint32_t numberOfCoarseDirections = 8;

/// A point without what it takes to be one in the interface.
struct Place {
    double u;
    double v;

    Place getOpposite() const { return {-u, -v}; }

    bool operator<(Place const& other) const { return u < other.u || (u == other.u && v < other.v); }
};

using Places = std::vector<Place>;

struct Rotation {
    /// `step` steps of a quarter turn divided by their number.
    explicit Rotation(std::uint32_t step) {
        double const angle = step * quarterTurn * (1.0 / numberOfSteps);
        c = std::cos(angle);
        s = std::sin(angle);
    }

    double getU(Place const& p) const { return p.u * c + p.v * s; }

    double getV(Place const& p) const { return -p.u * s + p.v * c; }

    double c;
    double s;
};

/// One direction of a bounding box of points, to the bit as `TwoDimensional::BoundingBoxAA` grows: as a low
/// end and an extent, with the high end formed anew for every point, so that rounding gathers in the extent
/// and decides between boxes of nearly equal area.
class BoxSide {
public:
    explicit BoxSide(double first) : low(first) { settle(); }

    void include(double place) {
        if (isSettled && place >= low && place <= high) {
            return; // would give the same low end and extent again
        }
        double const newHigh = place + 0.0 > high ? place + 0.0 : high;
        low = place < low ? place : low;
        extent = newHigh - low;
        settle();
    }

    double getExtent() const { return extent; }

private:
    void settle() {
        high = low + extent;
        isSettled = high - low == extent;
    }

    double low;
    double extent = 0.0;
    double high = 0.0;
    bool isSettled = false;
};

/// The box around the turned points, of which there is at least one.
std::pair<BoxSide, BoxSide> getBox(Places const& points, Rotation const& rotation) {
    BoxSide u(rotation.getU(points.front()));
    BoxSide v(rotation.getV(points.front()));
    for (Place const& point : points) {
        u.include(rotation.getU(point));
        v.include(rotation.getV(point));
    }
    return {u, v};
}

// ---- outline --------------------------------------------------------------------------------------------

/// Whether p, which lies between a and b along u, lies above the chord from a to b, as far as rounding tells.
bool getIsAbove(Place const& a, Place const& p, Place const& b) {
    double const height = a.u == b.u ? std::max(a.v, b.v) : a.v + (b.v - a.v) * ((p.u - a.u) / (b.u - a.u));
    return p.v > height;
}

/// The places, given in ascending order, that lie above all chords between others.
Places getUpperChain(Places const& sorted) {
    Places chain;
    for (Place const& place : sorted) {
        while (chain.size() > 1 && !getIsAbove(chain[chain.size() - 2], chain.back(), place)) {
            chain.pop_back();
        }
        chain.push_back(place);
    }
    return chain;
}

/// The same places seen after half a turn, in ascending order again.
Places getOpposites(Places const& sorted) {
    Places opposites(sorted.size());
    std::transform(sorted.rbegin(), sorted.rend(), opposites.begin(), std::mem_fn(&Place::getOpposite));
    return opposites;
}

/// The upper chain of places and that of their opposites: the upper and the lower side of their outline.
struct Sides {
    explicit Sides(Places places) {
        std::sort(places.begin(), places.end());
        upper = getUpperChain(places);
        lower = getUpperChain(getOpposites(places));
    }

    Places getAll() const {
        Places all = getOpposites(lower);
        all.insert(all.end(), upper.begin(), upper.end());
        return all;
    }

    Places upper;
    Places lower;
};

bool getIsAbove(Places const& chain, Place const& p) {
    auto const next = std::upper_bound(chain.begin(), chain.end(), p,
                                       [](Place const& a, Place const& b) { return a.u < b.u; });
    return next == chain.begin() || next == chain.end() || getIsAbove(*(next - 1), p, *next);
}

/// Places of the outline in a few directions.
Places getCoarseOutline(Places const& points) {
    Places coarse;
    for (std::uint32_t k = 0; k < numberOfCoarseDirections; ++k) {
        Rotation const rotation(k * 4 * numberOfSteps / numberOfCoarseDirections);
        coarse.push_back(*std::max_element(points.begin(), points.end(), [&](Place const& a, Place const& b) {
            return rotation.getU(a) < rotation.getU(b);
        }));
    }
    return coarse;
}

/// Places among the points that, but for rounding, reach as far in all directions as all do. What lies inside
/// the coarse outline is not sorted.
Places getOutline(Places const& points) {
    Sides const coarse(getCoarseOutline(points));
    Places outer = coarse.getAll();
    std::copy_if(points.begin(), points.end(), std::back_inserter(outer), [&coarse](Place const& p) {
        return getIsAbove(coarse.upper, p) || getIsAbove(coarse.lower, p.getOpposite());
    });
    return Sides(std::move(outer)).getAll();
}

// ---- bounds ---------------------------------------------------------------------------------------------

double getLargestCoordinate(Places const& points) {
    double largest = 0.0;
    for (Place const& point : points) {
        largest = std::max({largest, std::abs(point.u), std::abs(point.v)});
    }
    return largest;
}

/// Whether all numbers are finite, and none so large or all so small that areas would not be exact enough.
bool getIsTame(Places const& points) {
    double const largest = getLargestCoordinate(points);
    return largest <= largestTameSize && largest >= 1.0 / largestTameSize &&
           std::none_of(points.begin(), points.end(),
                        [](Place const& p) { return std::isnan(p.u) || std::isnan(p.v); });
}

/// How far the extents of the outline and of the grown box may differ.
double getSlack(Places const& points) {
    return 32.0 * epsilon * (static_cast<double>(points.size()) + 32.0) * getLargestCoordinate(points);
}

/// What the area of a box is not below and not above.
struct AreaBounds {
    double least = 0.0;
    double greatest = std::numeric_limits<double>::infinity();
};

AreaBounds getAreaBounds(Places const& outline, Rotation const& rotation, double slack) {
    double lowU = rotation.getU(outline.front());
    double lowV = rotation.getV(outline.front());
    double highU = lowU;
    double highV = lowV;
    for (Place const& place : outline) {
        double const u = rotation.getU(place);
        double const v = rotation.getV(place);
        lowU = u < lowU ? u : lowU;
        highU = u > highU ? u : highU;
        lowV = v < lowV ? v : lowV;
        highV = v > highV ? v : highV;
    }
    double const width = highU - lowU;
    double const height = highV - lowV;
    double const least = std::max(0.0, width - slack) * std::max(0.0, height - slack);
    double const greatest = (width + slack) * (height + slack);
    return {least * (1.0 - 8.0 * epsilon), greatest * (1.0 + 8.0 * epsilon)};
}

/// The steps, in ascending order, whose box may be the smallest.
std::vector<std::uint32_t> getCandidates(Places const& points, ProgressListener* const& listener) {
    bool const isTame = getIsTame(points);
    Places const outline = isTame ? getOutline(points) : Places();
    double const slack = getSlack(points);
    PercentageReporter progress(listener);
    std::vector<AreaBounds> bounds(numberOfSteps);
    for (std::uint32_t step = 0; step < numberOfSteps; ++step) {
        if (isTame) {
            bounds[step] = getAreaBounds(outline, Rotation(step), slack);
        }
        progress.reportShare(step, numberOfSteps);
    }
    double const smallest = std::min_element(bounds.begin(), bounds.end(), [](auto const& a, auto const& b) {
                                return a.greatest < b.greatest;
                            })->greatest;
    std::vector<std::uint32_t> candidates;
    for (std::uint32_t step = 0; step < numberOfSteps; ++step) {
        if (bounds[step].least <= smallest) {
            candidates.push_back(step);
        }
    }
    return candidates;
}

/// The step that gives the smallest box, the first of equals, with a quarter turn on top unless the box is
/// then wider than high.
std::uint32_t findBestStep(Places const& points, ProgressListener* const& listener) {
    std::optional<double> bestArea;
    std::uint32_t bestStep = 0;
    for (std::uint32_t const step : getCandidates(points, listener)) {
        auto const [u, v] = getBox(points, Rotation(step));
        double const area = std::abs(u.getExtent() * v.getExtent());
        if (!bestArea || area < *bestArea) {
            bestArea = area;
            bool const isWide = std::abs(u.getExtent()) > std::abs(v.getExtent());
            bestStep = isWide ? step : step + numberOfSteps;
        }
    }
    return bestStep;
}

void moveToOrigin(std::span<Vertex> vertices) {
    TwoDimensional::BoundingBoxAA<double> box = vertices.front().getPoint2D().getBoundingBox();
    for (Vertex const& vertex : vertices) {
        box.expand(vertex.getPoint2D().getBoundingBox());
    }
    TwoDimensional::Vector<double> const toCorner = box.getp() - TwoDimensional::Point<double>();
    for (Vertex& vertex : vertices) {
        vertex.setPoint2D(vertex.getPoint2D() - toCorner);
    }
}

} // namespace

bool Mesh::transformMinBBArea2D() {
    reportMessage(progressListener, "Starting C-scan orientation calculation...");
    if (vertices.empty()) {
        return true;
    }
    Places points;
    points.reserve(vertices.size());
    for (Vertex const& vertex : vertices) {
        points.push_back({vertex.getPoint2D().getU(), vertex.getPoint2D().getV()});
    }
    Rotation const rotation(findBestStep(points, progressListener));
    for (Vertex& vertex : vertices) {
        Place const place{vertex.getPoint2D().getU(), vertex.getPoint2D().getV()};
        vertex.setPoint2D({rotation.getU(place), rotation.getV(place)});
    }
    moveToOrigin(vertices);
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
