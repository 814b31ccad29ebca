#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/linearalgebra/utility.h"
#include "Geometry/linearalgebra/vector.h"
#include "Geometry/trimesh/mesh.h"

#include <cmath>
#include <iostream>
#include <stdexcept>
#include <string>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr unsigned long entriesPerRow = 8;

constexpr double twoPi = 6.283185307179586;

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
    std::uint32_t const numberOfFree = toUInt32(vertices.size() - fixedPoints.size());
    LinearAlgebra::Vector solution(2UL * numberOfFree);
    if (doUseSolutionAsStart && pSolution != nullptr) {
        solution.set(pSolution);
    } else {
        solution.zero();
    }
    solveConformalSystem(fixedPoints, solution);
    if (pSolution != nullptr) {
        pSolution->set(&solution);
    }
    for (std::uint32_t i = 0; i < numberOfFree; ++i) {
        vertices[i].setPoint2D({solution.get(2UL * i), solution.get(2UL * i + 1)});
    }
    for (std::size_t j = 0; j < fixedPoints.size(); ++j) {
        vertices[numberOfFree + j].setPoint2D(fixedPoints[j]);
    }
    if (!transformMinBBArea2D()) {
        throw std::runtime_error("Principal component analysis failure");
    }
}

void Mesh::solveConformalSystem(std::vector<FlatPoint> const& fixedPoints, LinearAlgebra::Vector& solution) {
    std::uint32_t const numberOfFree = toUInt32(vertices.size() - fixedPoints.size());
    if (progressListener != nullptr) {
        std::string const order = std::to_string(2UL * numberOfFree);
        progressListener->setMessage(("Constructing order " + order + " Laplace-Beltrami matrix...").c_str());
    }
    ConformalSystem system(numberOfFree, fixedPoints);
    PercentageReporter progress(progressListener);
    for (std::uint32_t i = 0; i < numberOfFree; ++i) {
        bool const isBoundaryVertex = getIsBoundaryVertex(i);
        Edge first = getVertexArbitraryEdge(i);
        while (isBoundaryVertex && !first.isBoundary()) {
            first = first.oprev();
        }
        Edge edge = first;
        do {
            system.addTriangle(edge, isBoundaryVertex);
            edge = edge.onext();
        } while (edge.triangle != nullptr && edge != first);
        progress.reportShare(i, numberOfFree);
    }
    LinearAlgebra::SolveReport const report = LinearAlgebra::Utility::solveWithReport(
        system.getMatrix(), solution, system.getRightHandSide(), progressListener, progressTerminator);
    conformalMapReport.inside = report;
    std::cout << (report.hasConverged ? "\n" : "\nLinear system solve failure - carrying on...");
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
