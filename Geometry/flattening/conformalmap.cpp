#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/linearalgebra/internal/attachedsolver.h"
#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/linearalgebra/utility.h"
#include "Geometry/linearalgebra/vector.h"
#include "Geometry/trimesh/internal/connectivity.h"
#include "Geometry/trimesh/mesh.h"

#include <cmath>
#include <iostream>
#include <numbers>
#include <stdexcept>
#include <string>

// A surface is flattened by the map that keeps angles best in the least-squares sense (Lévy et al., "Least
// Squares Conformal Maps for Automatic Texture Atlas Generation", 2002), in the form that it shares with the
// discrete harmonic map (Desbrun, Meyer, Alliez, "Intrinsic Parameterizations of Surface Meshes", 2002):
// cotangent weights, and at a free boundary a term that makes area count against the harmonic energy. Both
// give the same map.
//
//   1. vertices are renumbered, unknowns first (interiorpromotion.cpp);
//   2. either two far corners are pinned at (0.5, 1) and (1, 0.5), or the outline is rolled out and fixed
//      (developableboundary.cpp);
//   3. one system with two rows for each free vertex is assembled, fan by fan, and solved by conjugate
//      gradients, or by the solver that is attached. Two pins take the four freedoms of a similarity; with
//      the outline fixed, holes alone keep a free boundary and its term;
//   4. the map is turned straight (orientation.cpp).
//
// There is no tolerance here: a triangle without area gives infinite weights and spoils the map, on purpose
// visibly. The solver's limit is that of linearalgebra/solve.cpp. A solve that does not converge is used as
// it is, since the last iterate is often still a usable map; the report tells. Cotangents of obtuse angles
// are negative, so inner triangles may fold over where the surface is far from flat; nothing here prevents
// that.
//
// Cost: linear for assembly. With the outline fixed, conjugate gradients take about the square root of the
// number of vertices in iterations, each linear; with two pins nearly as many as vertices. Rows start with
// room for 8 entries: a vertex with six neighbours has seven.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr unsigned long entriesPerRow = 8;

constexpr double twoPi = 2 * std::numbers::pi;

using FlatPoint = TwoDimensional::Point<double>;

/// The linear system of the conformal map. Unknowns are the places of the free vertices, those with the
/// lowest indices: x of vertex i at 2i, y at 2i + 1. The others stand at fixed places.
class ConformalSystem {
public:
    ConformalSystem(std::uint32_t newNumberOfFree, std::vector<FlatPoint> const& newFixedPoints)
        : numberOfFree(newNumberOfFree),
          fixedPoints(newFixedPoints),
          laplaceBeltrami(2UL * newNumberOfFree, 2UL * newNumberOfFree, entriesPerRow,
                          LinearAlgebra::SparseMatrix::CanonicalEmpty),
          rhs(2UL * newNumberOfFree) {
        rhs.zero();
    }

    /// Adds the triangle of `e` to the equations of vertex `e.org()`: the harmonic energy with cotangent
    /// weights and, for a boundary vertex, the area term that lets the boundary find its own shape.
    void addTriangle(Edge const& e, bool isBoundaryVertex) {
        Point const& po = e.vphiorg3();
        Point const& pd = e.vphidest3();
        Point const& pa = e.rot().vphidest3();
        double const twoArea = std::sqrt((po - pa).cross(pd - po).lSqr());
        double const cotD = -((pd - po).dot(pa - pd)) / twoArea;
        double const cotA = -((pa - pd).dot(po - pa)) / twoArea;
        std::uint32_t const i = toUInt32(e.org());
        std::uint32_t const d = toUInt32(e.dest());
        std::uint32_t const a = toUInt32(e.rot().dest());
        for (std::uint32_t k = 0; k < 2; ++k) {
            laplaceBeltrami.acc(2 * i + k, 2 * i + k, 0.5 * (cotA + cotD));
            addNeighbour(i, k, d, k, -0.5 * cotA);
            addNeighbour(i, k, a, k, -0.5 * cotD);
        }
        if (isBoundaryVertex) {
            addNeighbour(i, 0, d, 1, -0.5);
            addNeighbour(i, 1, d, 0, 0.5);
            addNeighbour(i, 0, a, 1, 0.5);
            addNeighbour(i, 1, a, 0, -0.5);
        }
    }

    LinearAlgebra::SparseMatrix const& getMatrix() const { return laplaceBeltrami; }

    LinearAlgebra::Vector const& getRightHandSide() const { return rhs; }

private:
    /// Adds `weight` times coordinate `otherAxis` of a vertex to the equation of coordinate `axis` of vertex
    /// i; what is known goes to the other side.
    void addNeighbour(std::uint32_t i, std::uint32_t axis, std::uint32_t other, std::uint32_t otherAxis,
                      double weight) {
        if (other < numberOfFree) {
            laplaceBeltrami.acc(2 * i + axis, 2 * other + otherAxis, weight);
        } else {
            rhs.acc(2 * i + axis, -weight * fixedPoints[other - numberOfFree].get(otherAxis));
        }
    }

    std::uint32_t numberOfFree;
    std::vector<FlatPoint> const& fixedPoints;
    LinearAlgebra::SparseMatrix laplaceBeltrami;
    LinearAlgebra::Vector rhs;
};

ConformalSystem assembleSystem(Connectivity const& surface, std::vector<FlatPoint> const& fixedPoints,
                               ProgressListener* const& listener) {
    std::uint32_t const numberOfFree = toUInt32(surface.getNumberOfVertices() - fixedPoints.size());
    std::string const order = std::to_string(2UL * numberOfFree);
    reportMessage(listener, ("Constructing order " + order + " Laplace-Beltrami matrix...").c_str());
    ConformalSystem system(numberOfFree, fixedPoints);
    PercentageReporter progress(listener);
    for (std::uint32_t i = 0; i < numberOfFree; ++i) {
        Fan const fan = surface.getFan(i);
        for (Edge const& spoke : fan) {
            system.addTriangle(spoke, fan.getStartsAtBoundary());
        }
        progress.reportShare(i, numberOfFree);
    }
    return system;
}

/// By conjugate gradients. On entry `solution` is the start value.
LinearAlgebra::SolveReport solveSystem(ConformalSystem const& system, LinearAlgebra::Vector& solution,
                                       ProgressListener* const& listener, ProgressTerminator* terminator) {
    LinearAlgebra::SolveReport const report = LinearAlgebra::Utility::solveWithReport(
        system.getMatrix(), solution, system.getRightHandSide(), listener, terminator);
    std::cout << (report.hasConverged ? "\n" : "\nLinear system solve failure - carrying on...");
    return report;
}

/// The solved places first, the fixed ones behind them.
void setFlatPlaces(std::vector<Vertex>& vertices, LinearAlgebra::Vector const& solution,
                   std::vector<FlatPoint> const& fixedPoints) {
    std::size_t const numberOfFree = vertices.size() - fixedPoints.size();
    for (std::size_t i = 0; i < numberOfFree; ++i) {
        vertices[i].setPoint2D({solution.get(2 * i), solution.get(2 * i + 1)});
    }
    for (std::size_t j = 0; j < fixedPoints.size(); ++j) {
        vertices[numberOfFree + j].setPoint2D(fixedPoints[j]);
    }
}

} // namespace

void Mesh::conformalMap(bool doPinExtremeCorners, LinearAlgebra::Vector* pSolution,
                        bool doUseSolutionAsStart) {
    conformalMapReport = {};
    reportMessage(progressListener, "Promoting interior...");
    unsigned long numberOfInteriorVertices = 0;
    unsigned long numberOfBoundaryVertices = 0;
    promoteInterior(doPinExtremeCorners, numberOfInteriorVertices, numberOfBoundaryVertices);

    std::vector<FlatPoint> fixedPoints{{0.5, 1.0}, {1.0, 0.5}};
    if (!doPinExtremeCorners) {
        reportMessage(progressListener, "Least-squares developable boundary unwrapping...");
        fixedPoints.resize(numberOfBoundaryVertices);
        getDevelopableBoundaryConformalMap(numberOfBoundaryVertices, fixedPoints.data());
    }
    LinearAlgebra::Vector solution(2UL * toUInt32(vertices.size() - fixedPoints.size()));
    bool const hasStart = doUseSolutionAsStart && pSolution != nullptr;
    if (hasStart) {
        solution.set(pSolution);
    } else {
        solution.zero();
    }
    solveForInside(fixedPoints, solution, hasStart);
    if (pSolution != nullptr) {
        pSolution->set(&solution);
    }
    setFlatPlaces(vertices, solution, fixedPoints);
    if (!transformMinBBArea2D()) {
        throw std::runtime_error("Principal component analysis failure");
    }
}

void Mesh::solveForInside(std::vector<FlatPoint> const& fixedPoints, LinearAlgebra::Vector& solution,
                          bool hasStart) {
    ConformalSystem const system = assembleSystem(getConnectivity(), fixedPoints, progressListener);
    if (linearSolver == nullptr) {
        conformalMapReport.inside = solveSystem(system, solution, progressListener, progressTerminator);
        return;
    }
    conformalMapReport.inside = LinearAlgebra::AttachedSolver(*linearSolver, progressListener)
                                    .solveSymmetric(system.getMatrix(), solution, system.getRightHandSide(),
                                                    hasStart ? &solution : nullptr);
}

void Mesh::conformalMapTest() {
    constexpr int ringSize = 6;
    addVertex(Vertex(Point(0.0, 0.0, 0.0)));
    for (int i = 0; i < ringSize; ++i) {
        double const t = i * twoPi / ringSize;
        addVertex(Vertex(Point(std::cos(t), std::sin(t), 1.0)));
    }
    addFloatingTriangle({0, 1, 2});
    Edge edge = getVertexArbitraryEdge(0);
    for (int const apex : {3, 4, 5, 6, 1}) {
        addBoundaryTriangle(edge.rot().rot(), apex);
        edge = edge.onext();
    }
    conformalMap(true, nullptr, false);
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
