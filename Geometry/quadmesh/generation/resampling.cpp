#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/generation/internal/resampler.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/trimesh/mesh.h"

#include <cmath>
#include <optional>

// Resampling of a flattened mesh: a scan conversion of the triangles of the flat map, each lattice point
// mapped to the surface by barycentric coordinates (J. Pineda, A Parallel Algorithm for Polygon
// Rasterization, 1988, has the same inside test by the signs of three edge functions).
//
// Steps: the mean over the triangles of surface area to flat area gives the spacing, sqrt(area asked / mean),
// one for the whole map, so that single quads may be larger or smaller than asked; a caller who knows the map
// better gives the spacing, since few triangles that the map shrinks to almost nothing move that mean far.
// Each triangle then visits the lattice points of its own flat box and stores those inside. Then one boundary
// loop is walked, the two lips of a cut are drawn over the lattice to find the boundary nodes beside them,
// and what is left is interior.
//
// Tolerances: none, the inside test is a plain comparison with 0. A node on a side shared by two triangles is
// inside both, and the later one's value stands: any tolerance above 0 would let triangles reach beyond the
// outline and change the outer row of nodes, any below 0 would leave gaps along shared sides.
//
// Lines: the value of a side at a place is a product that depends on the line less one that depends on the
// column, and is below 0 where the one product is below the other. So in lines of up to 16 places the
// products of the columns are formed once a triangle, and those of all its lines are compared with them,
// without branches: whether a place is inside is as good as drawn by lot.
//
// Along a longer line the value of a side, as it is computed, never turns back, since differences, products
// with a constant and their roundings keep order. So the nodes inside lie side by side: the first is found by
// halving over the sides that bound it on the left, and the line is left with the first node outside behind
// it. That needs numbers without NaN: where places are infinite, undefined or near the end of the range,
// every node of the box is tested.
//
// Cost: the nodes plus the triangles, and in lines of up to 16 places all of the triangle's box. A coarse
// grid is bound by the triangles: each waits for three vertices wherever they lie, which is why they are read
// in blocks.
//
// Odd on purpose: the flat map counts from (0, 0), not from its box's corner. A map that is placed otherwise
// is cut at the grid. A triangle turned over in the map holds no node, one without flat area holds those on
// its line, where its coordinates are 0 / 0. The loop of a hole is not walked, so the nodes around it are
// marked interior. Progress is a share of the triangles with flat area: others take it over 100.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using FlatBox = TwoDimensional::BoundingBoxAA<double>;
using FlatVector = TwoDimensional::Vector<double>;

using Triangles = std::vector<TriMesh::Triangle*>;

FlatBox getFlatBox(TriMesh::Mesh const& mesh) {
    FlatBox box;
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        FlatBox const vertexBox(mesh.getVertex(v).getPoint2D(), FlatVector());
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

/// Corners lie all over the memory. Many in a row are waited for together, beside the work on one triangle
/// they are not.
constexpr std::size_t trianglesAtATime = 32;

/// Fills a block with the next triangles; the result is where those behind them start.
Triangles::iterator gather(std::vector<FlatTriangle>& block, TriMesh::Mesh const& mesh,
                           Triangles::iterator first, Triangles::iterator last) {
    block.clear();
    for (; first != last && block.size() < trianglesAtATime; ++first) {
        block.emplace_back(mesh, **first);
    }
    return first;
}

} // namespace

void RectMesh::construct(TriMesh::Mesh const& mesh, double quadArea) {
    construct(mesh, quadArea, std::nullopt);
}

void RectMesh::construct(TriMesh::Mesh const& mesh, double quadArea, std::optional<double> spacing) {
    targetQuadArea = quadArea;
    fileName = mesh.getFileName();
    sourceName = fileName;

    Triangles list;
    Triangles::iterator first;
    Triangles::iterator last;
    mesh.getTriangles(list, first, last);
    FlatVector const size = getFlatBox(mesh).getd();
    AreaRatio const ratio = getAreaRatio(mesh, first, last);
    double const h = spacing.value_or(std::sqrt(quadArea / ratio.mean));
    init({truncateToUInt32(size.getdU() / h + 1.0), truncateToUInt32(size.getdV() / h + 1.0)});

    Resampler const resampler(getNodes(), h);
    PercentageReporter progress(progressListener);
    std::uint64_t done = 0;
    std::vector<FlatTriangle> block;
    block.reserve(trianglesAtATime);
    while (first != last) {
        first = gather(block, mesh, first, last);
        for (FlatTriangle const& triangle : block) {
            resampler.rasterise(triangle);
            ++done;
            if (ratio.count != 0) {
                progress.reportShare(done, ratio.count);
            }
        }
    }
    resampler.markBoundary(getBoundaryEdge());
    resampler.markCut(mesh);
    resampler.markInterior();
    getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
    calculateSearchPoints(quadsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
