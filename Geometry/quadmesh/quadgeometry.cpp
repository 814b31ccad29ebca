#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/quadmesh/internal/quadarea.h"

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
// Tolerances: none, not for quads without area either, whose unit normals are NaN. Cost: a few operations a
// query; the statistics and the box, all nodes.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using GridStep = TwoDimensional::Vector<int>;

/// No quad's area is expected to reach this: where the search for the smallest starts.
constexpr double areaBeyondAll = 1e11;

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

double getQuadArea(RectMesh const& grid, GridPoint const& p) {
    ThreeDimensional::Point const alongU = grid.getPoint(p + GridStep(1, 0));
    ThreeDimensional::Point const alongV = grid.getPoint(p + GridStep(0, 1));
    return 0.5 * TriangleMeasures::twoAT(grid.getPoint(p), alongU, alongV) +
           0.5 * TriangleMeasures::twoAT(alongV, alongU, grid.getPoint(p + GridStep(1, 1)));
}

void RectMesh::getMaxMeanMinQuadSize(double* max, double* mean, double* min) const {
    *min = areaBeyondAll;
    *max = 0.0;
    double sum = 0.0;
    std::uint32_t count = 0;
    for (int v = 0; v < static_cast<int>(extents.v); ++v) {
        for (int u = 0; u < static_cast<int>(extents.u); ++u) {
            GridPoint const quad(u, v);
            if (!getIsQuadValid(quad)) {
                continue;
            }
            double const area = getQuadArea(*this, quad);
            *min = *min > area ? area : *min;
            *max = area > *max ? area : *max;
            sum += area;
            ++count;
        }
    }
    *mean = count == 0 ? 0.0 : sum / count;
}

ThreeDimensional::BoundingBoxAA RectMesh::getBoundingBoxAA() const {
    ThreeDimensional::BoundingBoxAA box;
    bool isStarted = false;
    forEachNode(getExtents(), [&](GridPoint const& node) {
        if (!getIsPointValid(node)) {
            return;
        }
        ThreeDimensional::BoundingBoxAA const nodeBox = getPoint(node).getBoundingBox();
        if (!isStarted) {
            box = nodeBox;
            isStarted = true;
        }
        box.expand(nodeBox);
    });
    return box;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
