#include "Geometry/quadmesh/generation/internal/resampler.h"

#include "Geometry/foundations/rounding.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/internal/boundarywalk.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using FlatBox = TwoDimensional::BoundingBoxAA<double>;
using FlatPoint = TwoDimensional::Point<double>;
using FlatVector = TwoDimensional::Vector<double>;
using GridPoint = TwoDimensional::Point<int>;

/// A run of whole numbers from `first` on, `last` not included.
struct Run {
    std::int64_t first;
    std::int64_t last;
};

/// The part of a run that lies between two bounds, both included.
Run getClamped(Run const& run, std::int64_t lowest, std::int64_t highest) {
    return {std::max(run.first, lowest), std::min(run.last, highest + 1)};
}

/// A triangle as it is looked at while its lattice points are gathered: its three sides in walking order.
class FlatTriangle {
public:
    explicit FlatTriangle(TriMesh::Triangle const& triangle) {
        TriMesh::Edge edge = triangle.getEdge(0);
        for (std::size_t i = 0; i < 3; ++i) {
            starts[i] = edge.vphiorg2();
            steps[i] = edge.vphi2();
            points[i] = edge.vphiorg3();
            edge = edge.rot();
        }
        determinant = (starts[1] - starts[0]).det(starts[2] - starts[0]);
    }

    /// Whether the place lies to the left of all sides or on them, exactly.
    bool getIsInside(FlatPoint const& g) const {
        for (std::size_t i = 0; i < 3; ++i) {
            if (steps[i].det(g - starts[i]) < 0.0) {
                return false;
            }
        }
        return true;
    }

    /// The place on the surface, by barycentric interpolation.
    Point getPoint(FlatPoint const& g) const {
        double const beta = (g - starts[0]).det(starts[2] - starts[0]) / determinant;
        double const gamma = (starts[1] - starts[0]).det(g - starts[0]) / determinant;
        double const alpha = 1.0 - beta - gamma;
        return TriangleMeasures::bary(points[0], points[1], points[2], alpha, beta, gamma);
    }

private:
    std::array<FlatPoint, 3> starts;
    std::array<FlatVector, 3> steps;
    std::array<Point, 3> points;
    double determinant;
};

/// The lattice points along one axis that may lie in a triangle: so many from `first` on, whose places are
/// `start` plus multiples of the spacing.
struct LatticeRun {
    LatticeRun(double low, double extent, double h) {
        first = truncateToInt32(std::floor(low / h));
        start = first * h;
        double const end = std::ceil((low + extent) / h) * h;
        count = std::int64_t{truncateToInt32(roundHalfUp((end - start) / h))} + 1;
    }

    /// The numbers, counted from `first`, of those that lie in a grid of that extent.
    Run getInside(std::uint32_t gridExtent) const {
        return getClamped({0, count}, -std::int64_t{first}, std::int64_t{gridExtent} - first);
    }

    std::int32_t first;
    double start;
    std::int64_t count;
};

/// Whether the segments from p to q and from q1 to q2 meet, ends included.
bool getDoSegmentsMeet(FlatPoint const& p, FlatPoint const& q, FlatPoint const& q1, FlatPoint const& q2) {
    FlatVector a = q - p;
    FlatVector b = q1 - q2;
    FlatVector const c = q1 - p;
    double det = a.det(b);
    if (det < 0.0) {
        det = -det;
        std::swap(a, b);
    }
    double const s = c.det(b);
    double const t = a.det(c);
    return 0.0 <= s && s <= det && 0.0 <= t && t <= det;
}

} // namespace

void Resampler::rasterise(TriMesh::Triangle const& triangle) const {
    double const h = spacing;
    FlatBox const box = triangle.getAABB2D();
    LatticeRun const alongU(box.getp().getU(), box.getd().getdU(), h);
    LatticeRun const alongV(box.getp().getV(), box.getd().getdV(), h);
    Run const insideU = alongU.getInside(nodes.extentU);
    Run const insideV = alongV.getInside(nodes.extentV);
    FlatTriangle const flat(triangle);
    for (std::int64_t j = insideV.first; j < insideV.last; ++j) {
        auto const& pointRow = nodes.points[alongV.first + j];
        auto const& flagRow = nodes.flags[alongV.first + j];
        for (std::int64_t i = insideU.first; i < insideU.last; ++i) {
            FlatPoint const g(alongU.start + static_cast<double>(i) * h,
                              alongV.start + static_cast<double>(j) * h);
            if (flat.getIsInside(g)) {
                auto const u = static_cast<std::size_t>(alongU.first + i);
                pointRow[u] = flat.getPoint(g);
                flagRow[u] = withFlag(flagRow[u], RectMesh::Valid);
            }
        }
    }
}

void Resampler::markBoundary(Edge const& start) const {
    forEachBoundaryEdge(start, [this](Edge const& edge) { mark(edge.dest(), RectMesh::Boundary); });
    mark(start.org(), RectMesh::Boundary);
}

void Resampler::markCut(TriMesh::Mesh const& mesh) const {
    auto const& [firstLip, secondLip] = mesh.getCutEdgeIndices();
    if (firstLip.empty()) {
        return;
    }
    for (auto const* const lip : {&firstLip, &secondLip}) {
        for (std::size_t k = 0; k + 1 < lip->size(); ++k) {
            markCutSegment(mesh.getVertex((*lip)[k].index).getPoint2D(),
                           mesh.getVertex((*lip)[k + 1].index).getPoint2D());
        }
    }
}

void Resampler::markCutSegment(FlatPoint const& p, FlatPoint const& q) const {
    double const h = spacing;
    std::int64_t const iLow = truncateToInt32(std::floor(std::min(p.getU(), q.getU()) / h));
    std::int64_t const jLow = truncateToInt32(std::floor(std::min(p.getV(), q.getV()) / h));
    std::int64_t const iHigh = truncateToInt32(std::ceil(std::max(p.getU(), q.getU()) / h));
    std::int64_t const jHigh = truncateToInt32(std::ceil(std::max(p.getV(), q.getV()) / h));
    // Only grid edges with an end in the grid can carry a mark.
    auto const markCrossed = [&](Run const& runI, Run const& runJ, int stepU, int stepV) {
        Run const insideI = getClamped(runI, -1, nodes.extentU);
        Run const insideJ = getClamped(runJ, -1, nodes.extentV);
        for (std::int64_t j = insideJ.first; j < insideJ.last; ++j) {
            for (std::int64_t i = insideI.first; i < insideI.last; ++i) {
                FlatPoint const q1(static_cast<double>(i) * h, static_cast<double>(j) * h);
                FlatPoint const q2(static_cast<double>(i + stepU) * h, static_cast<double>(j + stepV) * h);
                if (getDoSegmentsMeet(p, q, q1, q2)) {
                    markCutNode({static_cast<int>(i), static_cast<int>(j)});
                    markCutNode({static_cast<int>(i + stepU), static_cast<int>(j + stepV)});
                }
            }
        }
    };
    markCrossed({iLow, iHigh}, {jLow + 1, jHigh}, 1, 0);
    markCrossed({iLow + 1, iHigh}, {jLow, jHigh}, 0, 1);
}

void Resampler::markCutNode(GridPoint const& node) const {
    if (nodes.getIsInBounds(node) && getHasFlag(nodes.flagsOf(node), RectMesh::Boundary)) {
        mark(node, RectMesh::CutBoundary);
    }
}

void Resampler::markInterior() const {
    forEachNode({nodes.extentU, nodes.extentV}, [this](GridPoint const& node) {
        char const flagByte = nodes.flagsOf(node);
        if (getHasFlag(flagByte, RectMesh::Valid) && !getHasFlag(flagByte, RectMesh::Boundary)) {
            mark(node, RectMesh::Interior);
        }
    });
}

void Resampler::mark(GridPoint const& node, RectMesh::PointFlagID id) const {
    char& flagByte = nodes.flagsOf(node);
    flagByte = withFlag(flagByte, id);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
