#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <cmath>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using FlatBox = TwoDimensional::BoundingBoxAA<double>;
using FlatPoint = TwoDimensional::Point<double>;
using FlatVector = TwoDimensional::Vector<double>;
using GridPoint = TwoDimensional::Point<int>;

using Triangles = std::vector<TriMesh::Triangle*>;

/// A run of whole numbers from `first` on, `last` not included.
struct Run {
    std::int64_t first;
    std::int64_t last;
};

/// The part of a run that lies between two bounds, both included.
Run getClamped(Run const& run, std::int64_t lowest, std::int64_t highest) {
    return {std::max(run.first, lowest), std::min(run.last, highest + 1)};
}

FlatBox getFlatBox(TriMesh::Mesh const& mesh) {
    FlatBox box;
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        FlatBox const vertexBox = mesh.getVertex(v).getPoint2D().getBoundingBox();
        if (v == 0) {
            box = vertexBox;
        }
        box.expand(vertexBox);
    }
    return box;
}

/// How many times larger a triangle is on the surface than in the flat map, on average.
struct AreaRatio {
    double mean;
    std::uint32_t count;
};

/// Triangles without flat area take no part; without any other the mean is not a number.
AreaRatio getAreaRatio(TriMesh::Mesh const& mesh, Triangles::iterator first, Triangles::iterator last) {
    double sum = 0.0;
    std::uint32_t count = 0;
    for (auto triangle = first; triangle != last; ++triangle) {
        TriMesh::Vertex const& vertex0 = mesh.getVertex((*triangle)->getAdjacentVertexIndex(0));
        TriMesh::Vertex const& vertex1 = mesh.getVertex((*triangle)->getAdjacentVertexIndex(1));
        TriMesh::Vertex const& vertex2 = mesh.getVertex((*triangle)->getAdjacentVertexIndex(2));
        Vector const edge1 = vertex1.getPoint3D() - vertex0.getPoint3D();
        Vector const edge2 = vertex2.getPoint3D() - vertex0.getPoint3D();
        FlatVector const flatEdge1 = vertex1.getPoint2D() - vertex0.getPoint2D();
        FlatVector const flatEdge2 = vertex2.getPoint2D() - vertex0.getPoint2D();
        double const surface = std::sqrt(edge2.cross(edge1).lSqr());
        double const flat = std::abs(flatEdge2.det(flatEdge1));
        if (flat > 0.0) {
            sum += surface / flat;
            ++count;
        }
    }
    return {sum / count, count};
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

void RectMesh::construct(TriMesh::Mesh const& mesh, double quadArea) {
    targetQuadArea = quadArea;
    fileName = mesh.getFileName();
    sourceName = fileName;

    Triangles list;
    Triangles::iterator first;
    Triangles::iterator last;
    mesh.getTriangles(list, first, last);
    FlatVector const size = getFlatBox(mesh).getd();
    AreaRatio const ratio = getAreaRatio(mesh, first, last);
    double const h = std::sqrt(quadArea / ratio.mean);
    init({truncateToUInt32(size.getdU() / h + 1.0), truncateToUInt32(size.getdV() / h + 1.0)});

    PercentageReporter progress(progressListener);
    std::uint64_t done = 0;
    for (auto triangle = first; triangle != last; ++triangle) {
        rasterise(**triangle, h);
        ++done;
        if (ratio.count != 0) {
            progress.reportShare(done, ratio.count);
        }
    }
    markBoundary();
    markCut(mesh, h);
    markInterior();
    updateQuadAreas();
    calculateSearchPoints(quadsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
}

/// Stores the lattice points of a flat triangle. On a shared side the later triangle's value stands.
void RectMesh::rasterise(TriMesh::Triangle const& triangle, double h) {
    FlatBox const box = triangle.getAABB2D();
    LatticeRun const alongU(box.getp().getU(), box.getd().getdU(), h);
    LatticeRun const alongV(box.getp().getV(), box.getd().getdV(), h);
    Run const insideU = alongU.getInside(extents.u);
    Run const insideV = alongV.getInside(extents.v);
    FlatTriangle const flat(triangle);
    for (std::int64_t j = insideV.first; j < insideV.last; ++j) {
        auto const& pointRow = points[alongV.first + j];
        auto const& flagRow = flags[alongV.first + j];
        for (std::int64_t i = insideU.first; i < insideU.last; ++i) {
            FlatPoint const g(alongU.start + static_cast<double>(i) * h,
                              alongV.start + static_cast<double>(j) * h);
            if (flat.getIsInside(g)) {
                auto const u = static_cast<std::size_t>(alongU.first + i);
                pointRow[u] = flat.getPoint(g);
                flagRow[u] = setFlag(flagRow[u], Valid, true);
            }
        }
    }
}

/// Marks the nodes of one boundary loop, the one through the first boundary edge.
void RectMesh::markBoundary() {
    Edge const start = getBoundaryEdge();
    Edge edge = start;
    do {
        setPointFlag(edge.dest(), Boundary, true);
        edge = getNextBoundaryEdge(edge);
    } while (edge != start);
    setPointFlag(edge.org(), Boundary, true);
}

/// Marks the boundary nodes beside the cut, whose two lips are chains of vertices of the mesh.
void RectMesh::markCut(TriMesh::Mesh const& mesh, double spacing) {
    auto const& [firstLip, secondLip] = mesh.getCutEdgeIndices();
    if (firstLip.empty()) {
        return;
    }
    for (auto const* const lip : {&firstLip, &secondLip}) {
        for (std::size_t k = 0; k + 1 < lip->size(); ++k) {
            markCutSegment(mesh.getVertex((*lip)[k].index).getPoint2D(),
                           mesh.getVertex((*lip)[k + 1].index).getPoint2D(), spacing);
        }
    }
}

void RectMesh::markCutSegment(FlatPoint const& p, FlatPoint const& q, double spacing) {
    double const h = spacing;
    std::int64_t const iLow = truncateToInt32(std::floor(std::min(p.getU(), q.getU()) / h));
    std::int64_t const jLow = truncateToInt32(std::floor(std::min(p.getV(), q.getV()) / h));
    std::int64_t const iHigh = truncateToInt32(std::ceil(std::max(p.getU(), q.getU()) / h));
    std::int64_t const jHigh = truncateToInt32(std::ceil(std::max(p.getV(), q.getV()) / h));
    // Only grid edges with an end in the grid can carry a mark.
    auto const markCrossed = [&](Run const& runI, Run const& runJ, int stepU, int stepV) {
        Run const insideI = getClamped(runI, -1, extents.u);
        Run const insideJ = getClamped(runJ, -1, extents.v);
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

void RectMesh::markCutNode(GridPoint const& node) {
    if (getPointFlag(node, Boundary)) {
        setPointFlag(node, CutBoundary, true);
    }
}

void RectMesh::markInterior() {
    forEachNode([this](GridPoint const& node) {
        if (getIsPointValid(node) && !getPointFlag(node, Boundary)) {
            setPointFlag(node, Interior, true);
        }
    });
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
