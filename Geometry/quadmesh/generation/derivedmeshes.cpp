#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/quadmesh/internal/areastatistics.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/quadmesh/internal/shownrow.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

// Derived grids: the nodes of a grid, some or all of them, in a grid of their own, moved, scaled, thinned out
// or laid flat; and the two changes in place, a map of all points and a reflection.
//
// Steps: for each row of the result its source row is named, and in it the run of nodes that lie in the
// source; where these are valid, flags and point come along, the point as `getPoint` shows it, so that the
// result of a scaled grid stores the scale. A plain grid shows what it stores: its rows are read. Everything
// is made aside and then taken over, so that the result may be the source and, where memory is short, stays
// as it was. Whoever derives settles the areas anew; the search points only in the forms below that say so.
//
// Areas are measured row by row, as each is made, by the general form but for flattened grids, whose quads
// are rectangles and take a product each.
//
// Normalising: both forms round to floats before they scale, one the shifted point, the other the box's
// centre and each point's difference from it; the last bits hang on that. Which side of the box is the
// largest is asked with strict signs, so that a tie for it goes to z, also where z is the smallest.
//
// Restricting to a box in space: first the index box of the nodes inside, then a ring of empty nodes around
// it. The index box is built of boxes of one by one, from each node up and right, so that the ring is one
// node wide on the low sides and two on the high ones.
//
// Reversing: a reflection turns the winding of the quads over, the reversal turns it back. It reads what is
// shown and stores it. A grid of one row has no columns to turn: its points are cleared.
//
// Cost: the nodes of the result; for a box in space or a size, those of the grid too.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;
using GridBox = TwoDimensional::BoundingBoxAA<int>;
using GridExtents = TwoDimensional::Vector<unsigned long>;

/// The side that is strictly longer than the others, x before y; on a tie for the longest, z.
double getLargestSide(Vector const& size) {
    if (size.getdY() < size.getdX() && size.getdZ() < size.getdX()) {
        return size.getdX();
    }
    if (size.getdX() < size.getdY() && size.getdZ() < size.getdY()) {
        return size.getdY();
    }
    return size.getdZ();
}

/// The smallest power of two by which the grid must be thinned out in each direction to have at most so many
/// quads.
std::uint32_t getThinning(std::uint32_t numberOfQuads, std::uint32_t maxQuads) {
    std::uint32_t k = 1;
    while (maxQuads < numberOfQuads) {
        numberOfQuads >>= 2U;
        k <<= 1U;
    }
    return k;
}

/// A grid that others are derived from: what it shows, and its rows.
struct Source {
    RectMesh const& grid;
    Nodes nodes;

    bool getHasRow(std::int64_t v) const {
        return nodes.points != nullptr && v >= 0 && v <= std::int64_t{nodes.extentV};
    }
};

/// Which nodes of the source are taken: node i of the result's row or column is number `first` + i `step`
/// there. It may lie outside; whole numbers of 64 bits reach all that those of 32 bits name.
struct Selection {
    std::int64_t first = 0;
    std::int64_t step = 1;

    std::int64_t getSourceOf(std::int64_t i) const { return first + i * step; }

    /// The first node of the result whose source is at least `lowest`.
    std::int64_t getFirstFrom(std::int64_t lowest) const {
        return first >= lowest ? 0 : (lowest - first + step - 1) / step;
    }
};

/// Begins a node of the result: the one of the source, if that is valid and `take` answers with a point.
template <class Take>
void constructTaken(char sourceFlags, Take take, Point* point, char* flags) {
    if (getHasFlag(sourceFlags, RectMesh::Valid)) {
        if (std::optional<Point> const taken = take()) {
            std::construct_at(point, *taken);
            *flags = sourceFlags;
            return;
        }
    }
    std::construct_at(point);
    *flags = 0;
}

/// What comes out: nodes, and the areas of the quads that they store, measured while each row was at hand.
struct Derived {
    Nodes nodes;
    AreaStatistics areas;
};

/// Measures quads between two rows.
void addQuads(AreaStatistics& areas, StoredNodes const& low, StoredNodes const& high,
              std::uint32_t quadCount) {
    areas.addQuads(low, high, quadCount);
}

/// Nodes taken from a grid, row by row: for each that is valid there `take` is called with the source's row
/// of shown points and the node's place in the source, and answers with the point of the result, or with
/// nothing where the node is not taken. `measure` adds the areas between two rows.
template <class Take, class Measure = decltype(addQuads)>
Derived makeDerived(Source const& source, GridExtents const& extents, Selection const& alongU,
                    Selection const& alongV, Take take, Measure measure = addQuads) {
    Derived result;
    std::size_t const nodesU = toUInt32(extents.getdU()) + std::size_t{1};
    auto const nodesFrom = [&](std::int64_t lowest) {
        return std::min(nodesU, static_cast<std::size_t>(alongU.getFirstFrom(lowest)));
    };
    std::size_t const first = nodesFrom(0);
    std::size_t const end = std::max(first, nodesFrom(source.nodes.extentU + std::int64_t{1}));
    StoredNodes rowBelow;
    result.nodes = makeNodes(extents, [&](std::uint32_t j, Point* points, char* flags) {
        std::int64_t const v = alongV.getSourceOf(j);
        if (!source.getHasRow(v)) {
            constructEmpty(points, flags, nodesU);
        } else {
            constructEmpty(points, flags, first);
            constructEmpty(points + end, flags + end, nodesU - end);
            char const* const sourceFlags = source.nodes.flags[v].get();
            visitShownRow(source.grid, source.nodes, static_cast<std::uint32_t>(v), [&](auto const& row) {
                for (std::size_t i = first; i < end; ++i) {
                    auto const u = static_cast<std::size_t>(alongU.getSourceOf(static_cast<std::int64_t>(i)));
                    constructTaken(
                        sourceFlags[u], [&] { return take(row, u, v); }, points + i, flags + i);
                }
            });
        }
        if (j > 0) {
            measure(result.areas, rowBelow, {points, flags}, toUInt32(extents.getdU()));
        }
        rowBelow = {points, flags};
    });
    return result;
}

/// Adds the areas between two rows of a grid that lies in a plane along its axes, on finite points that do
/// not go back. Of the general form, the two cross products are then the product of the quad's sides and its
/// negative, exactly, since the sides are floats; their squares are far from the ends of doubles, so that
/// their roots are the product again, and its halves add up to it.
void addRectangles(AreaStatistics& areas, StoredNodes const& low, StoredNodes const& high,
                   std::uint32_t quadCount) {
    AreaStatistics sums = areas; // not where the flag bytes might lie too
    bool isLeftValid = getHasFlag(low.flags[0] & high.flags[0], RectMesh::Valid);
    for (std::size_t u = 0; u < quadCount; ++u) {
        bool const isRightValid = getHasFlag(low.flags[u + 1] & high.flags[u + 1], RectMesh::Valid);
        if (isLeftValid && isRightValid) {
            Vector const width = low.points[u + 1] - low.points[u];
            Vector const height = high.points[u] - low.points[u];
            sums.add(width.getdX() * height.getdY());
        }
        isLeftValid = isRightValid;
    }
    areas = sums;
}

/// All nodes in their places, with the points that `toPoint` makes of what they show.
template <class ToPoint>
Derived makeMoved(Source const& source, ToPoint toPoint) {
    return makeDerived(source, source.grid.getExtents(), {}, {},
                       [&](auto const& row, std::size_t u, std::int64_t) -> std::optional<Point> {
                           return toPoint(row[u]);
                       });
}

/// The selected nodes, with the points that they show.
Derived makeSelected(Source const& source, GridExtents const& extents, Selection const& alongU,
                     Selection const& alongV) {
    return makeDerived(
        source, extents, alongU, alongV,
        [](auto const& row, std::size_t u, std::int64_t) -> std::optional<Point> { return row[u]; });
}

/// A box that many points are asked for. The answers are those of `BoundingBoxAA::getIsInside`, in which a
/// coordinate that is not finite makes the products of the others with zero NaNs, so that no box holds it.
class SpaceBox {
public:
    explicit SpaceBox(BoundingBoxAA const& box) : corner(box.getp()), size(box.getd()) {}

    bool getIsInside(Point const& point) const {
        Vector const along = point - corner;
        return getIsWithin(along.getdX(), size.getdX()) && getIsWithin(along.getdY(), size.getdY()) &&
               getIsWithin(along.getdZ(), size.getdZ());
    }

private:
    static bool getIsWithin(double along, double length) {
        constexpr double maxFinite = std::numeric_limits<float>::max();
        return along >= 0.0 && along <= length && along <= maxFinite;
    }

    Point corner;
    Vector size;
};

/// The box around the nodes whose points lie in `box`, each of them a box of one by one.
GridBox getIndexBox(Source const& source, SpaceBox const& box) {
    GridBox indexBox;
    bool isStarted = false;
    for (std::uint32_t v = 0; source.getHasRow(v); ++v) {
        char const* const flags = source.nodes.flags[v].get();
        std::optional<std::uint32_t> first;
        std::uint32_t last = 0;
        visitShownRow(source.grid, source.nodes, v, [&](auto const& row) {
            for (std::uint32_t u = 0; u <= source.nodes.extentU; ++u) {
                if (getHasFlag(flags[u], RectMesh::Valid) && box.getIsInside(row[u])) {
                    first = first.value_or(u);
                    last = u;
                }
            }
        });
        if (first) {
            GridBox const rowBox({static_cast<int>(*first), static_cast<int>(v)},
                                 {static_cast<int>(last - *first) + 1, 1});
            indexBox = isStarted ? indexBox : rowBox;
            indexBox.expand(rowBox);
            isStarted = true;
        }
    }
    return indexBox;
}

/// The extents of a grid over such a box.
GridExtents toExtents(GridStep const& size) {
    return {static_cast<std::uint32_t>(size.getdU()), static_cast<std::uint32_t>(size.getdV())};
}

/// Turns a row or column of nodes end for end: `count` nodes from `first` on. Every point is stored as the
/// grid showed it; those of nodes that are not valid go along.
void reverseNodes(RectMesh const& grid, Nodes const& nodes, GridPoint const& first, GridStep const& along,
                  std::size_t count) {
    std::vector<std::pair<Point, char>> reversed;
    reversed.reserve(count);
    GridPoint node = first;
    for (std::size_t i = 0; i < count; ++i, node += along) {
        reversed.emplace_back(grid.getPoint(node), nodes.flagsOf(node));
    }
    for (auto const& [point, flagByte] : reversed) {
        node -= along;
        nodes.pointOf(node) = point;
        nodes.flagsOf(node) = flagByte;
    }
}

} // namespace

void RectMesh::setDerivedNodes(Nodes const& nodes, AreaStatistics const& storedAreas) {
    setNodes(nodes);
    numberOfSearchPointsU = 1;
    numberOfSearchPointsV = 1;
    if (getIsPlain(*this)) {
        maxQuadArea = storedAreas.getMax();
        meanQuadArea = storedAreas.getMean();
        minQuadArea = storedAreas.getMin();
    } else {
        getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
    }
}

void RectMesh::getFlattened(RectMesh& result) const {
    double const side = std::sqrt(meanQuadArea);
    auto const place = [side](std::size_t u, std::int64_t v) {
        return Point(static_cast<int>(u) * side, static_cast<int>(v) * side, 0.0);
    };
    auto const take = [place](auto const&, std::size_t u, std::int64_t v) -> std::optional<Point> {
        return place(u, v);
    };
    Point const last = place(extents.u, extents.v);
    bool const isFinite = std::isfinite(last.getX()) && std::isfinite(last.getY());
    auto const [nodes, areas] = makeDerived(Source{*this, getNodes()}, getExtents(), {}, {}, take,
                                            isFinite ? addRectangles : addQuads);
    result.setDerivedNodes(nodes, areas);
}

void RectMesh::getNormalised(double size, RectMesh& result) const {
    BoundingBoxAA const box = getBoundingBoxAA();
    double const scale = size / getLargestSide(box.getd());
    Point const centre = box.getp() + 0.5 * box.getd();
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    auto const [nodes, areas] = makeMoved(
        Source{*this, getNodes()}, [&](Point const& point) { return Point() + scale * (point - centre); });
    result.setDerivedNodes(nodes, areas);
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getNormalised(double scale, Vector const& shift, RectMesh& result) const {
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    auto const [nodes, areas] = makeMoved(Source{*this, getNodes()}, [&](Point const& point) {
        return Point() + scale * ((point + shift) - Point());
    });
    result.setDerivedNodes(nodes, areas);
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getSubSampled(ResampleDataType type, unsigned long value, RectMesh& result) const {
    std::uint32_t k = 1;
    if (type == ApproximateQuadCount) {
        k = getThinning(extents.u * extents.v, toUInt32(value));
    } else if (type == Factor) {
        k = std::max(toUInt32(value), 1U);
    }
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    std::string const name = fileName;
    auto const [nodes, areas] =
        makeSelected({*this, getNodes()}, {extents.u / k, extents.v / k}, {0, k}, {0, k});
    result.setDerivedNodes(nodes, areas);
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
    result.setFileName(name);
}

void RectMesh::getRestrictedToAABB(GridBox const& box, RectMesh& result) const {
    std::uint32_t const quadsPerPoint = quadsPerSearchPoint;
    GridPoint const& corner = box.getp();
    auto const [nodes, areas] =
        makeSelected({*this, getNodes()}, toExtents(box.getd()), {corner.getU(), 1}, {corner.getV(), 1});
    result.setDerivedNodes(nodes, areas);
    result.calculateSearchPoints(quadsPerPoint, result.numberOfSearchPointsU, result.numberOfSearchPointsV);
}

void RectMesh::getRestrictedToAABB(BoundingBoxAA const& box, RectMesh& result) const {
    Source const source{*this, getNodes()};
    SpaceBox const inside(box);
    GridBox const indexBox = getIndexBox(source, inside);
    GridPoint const corner = indexBox.getp() - GridStep(1, 1);
    auto const [nodes, areas] = makeDerived(
        source, toExtents(indexBox.getd() + GridStep(2, 2)), {corner.getU(), 1}, {corner.getV(), 1},
        [&](auto const& row, std::size_t u, std::int64_t) -> std::optional<Point> {
            Point const& point = row[u];
            return inside.getIsInside(point) ? std::optional<Point>(point) : std::nullopt;
        });
    result.setDerivedNodes(nodes, areas);
}

void RectMesh::transform(Point const& origin, AffineMap const& map) {
    for (std::uint32_t v = 0; getHasRows() && v <= extents.v; ++v) {
        for (std::uint32_t u = 0; u <= extents.u; ++u) {
            if (getFlag(flags[v][u], Valid)) {
                points[v][u] = origin + map(points[v][u] - origin);
            }
        }
    }
}

void RectMesh::mirror(CanonicalPlane plane, Point const& origin, CanonicalAxis axis) {
    LinearMap reflection;
    reflection.setAsIdentity();
    if (plane == PlaneYZ || plane == PlaneXZ || plane == PlaneXY) {
        auto const normalAxis = static_cast<unsigned long>(plane);
        reflection.set(normalAxis, normalAxis, -1.0);
    }
    transform(origin, AffineMap(reflection, Vector()));
    flipWinding(axis);
}

void RectMesh::flipWinding(CanonicalAxis axis) {
    if (axis != AxisU && axis != AxisV) {
        throw std::runtime_error("Invalid scan flip axis");
    }
    if (!getHasRows()) {
        return;
    }
    Nodes const nodes = getNodes();
    if (axis == AxisV) {
        for (std::uint32_t v = 0; v <= extents.v; ++v) {
            reverseNodes(*this, nodes, {0, static_cast<int>(v)}, {1, 0}, extents.u + std::size_t{1});
        }
    } else if (extents.v == 0) {
        std::fill_n(points[0].get(), extents.u + std::size_t{1}, Point());
    } else {
        for (std::uint32_t u = 0; u <= extents.u; ++u) {
            reverseNodes(*this, nodes, {static_cast<int>(u), 0}, {0, 1}, extents.v + std::size_t{1});
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
