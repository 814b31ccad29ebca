#include "Geometry/quadmesh/internal/areastatistics.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/quadmesh/internal/quadarea.h"
#include "Geometry/quadmesh/internal/shownrow.h"

#include <cmath>

// Geometry of quads. A quad of four points is no plane: it is taken as two triangles. Queries and the beam
// search cut it from its low corner to its high one, which gives the lower triangle (p, +u, +u+v) and the
// upper (p, +u+v, +v), and a beam is tested against these two. Areas are taken over the other diagonal, from
// the u corner to the v corner: files carry areas and are compared by them, so that neither may change sides.
//
// The normal of a node is the unit sum of the lower triangles' normals of the four quads at and above the
// node, weighted by area as they come, else of the three below. That is the normal half a quad further on;
// who compares grids by it counts on that.
//
// Statistics: one pass over all quads, v outer, u inner, whose sum of doubles hangs on that order. The
// smallest area starts at 1e11, so that a grid without quads, or with larger ones alone, answers with that.
// Comparisons with NaN are false: a quad of NaNs leaves largest and smallest alone and makes the mean NaN.
//
// The box grows node by node, and each time its extent is rounded anew, also where the node lies inside. Once
// that changes nothing any more it is left out for nodes inside.
//
// Tolerances: none, not for quads without area either, whose unit normals are NaN. Cost: a few operations a
// query; the statistics and the box, all nodes, off the rows of a plain grid and through `getPoint` of
// another.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

} // namespace

void RectMesh::getQuadPoints(GridPoint const& p, ThreeDimensional::Point* out) const {
    std::array<GridStep, 4> const steps{{{0, 0}, {1, 0}, {1, 1}, {0, 1}}};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        GridPoint const corner = p + steps[i];
        if (!getIsPointValid(corner)) {
            return;
        }
        out[i] = getPoint(corner);
    }
}

void RectMesh::getQuadTrianglePoints(GridPoint const& p, ThreeDimensional::Point* out, bool lower) const {
    out[0] = getPoint(p);
    out[1] = getPoint(p + (lower ? GridStep(1, 0) : GridStep(1, 1)));
    out[2] = getPoint(p + (lower ? GridStep(1, 1) : GridStep(0, 1)));
}

void RectMesh::getQuadTrianglePoints(GridPoint const& p, ThreeDimensional::Point* out, unsigned long index,
                                     int step) const {
    std::array<GridStep, 8> const ring{
        {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}}};
    std::uint32_t const first = toUInt32(index);
    if (first >= ring.size()) {
        return;
    }
    out[0] = getPoint(p);
    out[1] = getPoint(p + ring[first] * step);
    out[2] = getPoint(p + ring[(first + 1) % ring.size()] * step);
}

namespace {

ThreeDimensional::Vector getTriangleNormal(std::array<ThreeDimensional::Point, 3> const& corners) {
    return (corners[1] - corners[0]).cross(corners[2] - corners[0]);
}

} // namespace

ThreeDimensional::Vector RectMesh::getQuadNormalVector(GridPoint const& p, bool lower) const {
    std::array<ThreeDimensional::Point, 3> corners;
    getQuadTrianglePoints(p, corners.data(), lower);
    return getTriangleNormal(corners);
}

ThreeDimensional::Vector RectMesh::getQuadNormalVector(GridPoint const& p, unsigned long index) const {
    std::array<ThreeDimensional::Point, 3> corners;
    getQuadTrianglePoints(p, corners.data(), index, 1);
    return getTriangleNormal(corners);
}

ThreeDimensional::Vector RectMesh::getQuadUnitNormalVector(GridPoint const& p, bool lower) const {
    ThreeDimensional::Vector const normal = getQuadNormalVector(p, lower);
    return normal / std::sqrt(normal.lSqr());
}

ThreeDimensional::Vector RectMesh::getPointUnitNormalVector(GridPoint const& p) const {
    ThreeDimensional::Vector sum;
    bool isAnyValid = false;
    auto const addNormals = [&](std::initializer_list<GridStep> steps) {
        for (GridStep const& step : steps) {
            if (getIsQuadValid(p + step)) {
                sum += getQuadNormalVector(p + step, true);
                isAnyValid = true;
            }
        }
    };
    addNormals({{0, 0}, {1, 0}, {0, 1}, {1, 1}});
    if (!isAnyValid) {
        addNormals({{-1, 0}, {0, -1}, {-1, -1}});
    }
    if (!isAnyValid) {
        sum = ThreeDimensional::Vector(0.0, 0.0, 1.0);
    }
    return sum / std::sqrt(sum.lSqr());
}

std::pair<ThreeDimensional::Vector, ThreeDimensional::Vector>
RectMesh::getQuadBasis(GridPoint const& p) const {
    ThreeDimensional::Point const corner = getPoint(p);
    return {getPoint(p + GridStep(1, 0)) - corner, getPoint(p + GridStep(0, 1)) - corner};
}

ThreeDimensional::Point RectMesh::getMeanQuadPoint(GridPoint const& p) const {
    ThreeDimensional::Point const origin;
    if (!getIsQuadValid(p)) {
        return origin;
    }
    ThreeDimensional::Vector sum = getPoint(p + GridStep(1, 1)) - origin;
    sum += getPoint(p + GridStep(0, 1)) - origin;
    sum += getPoint(p + GridStep(1, 0)) - origin;
    sum += getPoint(p) - origin;
    return origin + 0.25 * sum;
}

namespace {

/// The quads of a plain grid that is not empty, off its rows.
AreaStatistics measureStoredQuads(Nodes const& nodes) {
    AreaStatistics statistics;
    for (std::uint32_t v = 0; v < nodes.extentV; ++v) {
        statistics.addQuads({nodes.points[v].get(), nodes.flags[v].get()},
                            {nodes.points[v + 1].get(), nodes.flags[v + 1].get()}, nodes.extentU);
    }
    return statistics;
}

/// The quads that a grid shows, measured one by one.
AreaStatistics measureShownQuads(RectMesh const& grid) {
    AreaStatistics statistics;
    forEachNode(grid.getExtents(), [&](GridPoint const& quad) {
        if (grid.getIsQuadValid(quad)) {
            statistics.add(getQuadArea(grid, quad));
        }
    });
    return statistics;
}

/// A box that grows point by point as `BoundingBoxAA::expand` lets it, roundings of its extent included. A
/// point inside is passed over where forming the high corner anew and the extent from it changes nothing.
class GrowingBox {
public:
    void add(Point const& point) {
        if (!isSettled || !getIsInside(point)) {
            grow(point.getBoundingBox());
        }
    }

    BoundingBoxAA const& getBox() const { return box; }

private:
    bool getIsInside(Point const& point) const {
        return low.getX() <= point.getX() && point.getX() <= high.getX() && low.getY() <= point.getY() &&
               point.getY() <= high.getY() && low.getZ() <= point.getZ() && point.getZ() <= high.getZ();
    }

    void grow(BoundingBoxAA const& pointBox) {
        if (!isStarted) {
            box = pointBox;
            isStarted = true;
        }
        box.expand(pointBox);
        low = box.getp();
        high = box.getp1();
        Vector const extent = high - low;
        isSettled = extent.getdX() == box.getd().getdX() && extent.getdY() == box.getd().getdY() &&
                    extent.getdZ() == box.getd().getdZ();
    }

    BoundingBoxAA box;
    Point low;
    Point high;
    bool isStarted = false;
    bool isSettled = false;
};

} // namespace

double getQuadArea(RectMesh const& grid, GridPoint const& p) {
    ThreeDimensional::Point const alongU = grid.getPoint(p + GridStep(1, 0));
    ThreeDimensional::Point const alongV = grid.getPoint(p + GridStep(0, 1));
    return getAreaOf(grid.getPoint(p), alongU, alongV, grid.getPoint(p + GridStep(1, 1)));
}

void RectMesh::getMaxMeanMinQuadSize(double* max, double* mean, double* min) const {
    bool const areRowsShown = getHasRows() && getIsPlain(*this);
    AreaStatistics const areas = areRowsShown ? measureStoredQuads(getNodes()) : measureShownQuads(*this);
    *max = areas.getMax();
    *mean = areas.getMean();
    *min = areas.getMin();
}

ThreeDimensional::BoundingBoxAA RectMesh::getBoundingBoxAA() const {
    GrowingBox box;
    for (std::uint32_t v = 0; getHasRows() && v <= extents.v; ++v) {
        visitShownRow(*this, getNodes(), v, [&](auto const& row) {
            for (std::size_t u = 0; u <= extents.u; ++u) {
                if (getHasFlag(flags[v][u], Valid)) {
                    box.add(row[u]);
                }
            }
        });
    }
    return box.getBox();
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
