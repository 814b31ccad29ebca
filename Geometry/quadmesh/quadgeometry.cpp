#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <cmath>

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

/// By the two triangles on either side of the diagonal from the u corner to the v corner. The other queries
/// take the other diagonal, but files carry areas, which stay comparable only if this one stays.
double RectMesh::getQuadArea(GridPoint const& p) const {
    ThreeDimensional::Point const alongU = getPoint(p + GridStep(1, 0));
    ThreeDimensional::Point const alongV = getPoint(p + GridStep(0, 1));
    return 0.5 * TriangleMeasures::twoAT(getPoint(p), alongU, alongV) +
           0.5 * TriangleMeasures::twoAT(alongV, alongU, getPoint(p + GridStep(1, 1)));
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
            double const area = getQuadArea(quad);
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
    forEachNode([&](GridPoint const& node) {
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
