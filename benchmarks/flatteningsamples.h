#pragma once

#include "Geometry/geometry.h"

#include <cmath>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <vector>

/// Meshes to flatten, and their systems.
namespace Benchmarks {

using QELT::ProgressListener;
using QELT::Geometry::ThreeDimensional::Point;
using QELT::LinearAlgebra::LinearSolution;
using QELT::LinearAlgebra::LinearSolver;
using QELT::LinearAlgebra::SparseMatrix;
namespace TriMesh = QELT::Geometry::ThreeDimensional::TriMesh;
using MeshPointer = std::unique_ptr<TriMesh::Mesh>;

/// A wavy patch of side * side vertices that lie a little off a lattice, its squares split along diagonals of
/// random direction: vertices have four to eight neighbours.
inline MeshPointer makePatch(unsigned side) {
    std::mt19937 generator(5);
    std::uniform_real_distribution<double> jitter(-0.25, 0.25);
    std::vector<Point> points;
    std::vector<TriMesh::Face> faces;
    for (unsigned v = 0; v < side; ++v) {
        for (unsigned u = 0; u < side; ++u) {
            double const x = 100.0 * (u + jitter(generator)) / side;
            double const y = 100.0 * (v + jitter(generator)) / side;
            points.emplace_back(x, y, 5.0 * std::sin(0.07 * x) * std::cos(0.05 * y));
        }
    }
    for (unsigned v = 0; v + 1 < side; ++v) {
        for (unsigned u = 0; u + 1 < side; ++u) {
            unsigned const a = v * side + u;
            unsigned const b = a + side;
            if (generator() % 2 == 0) {
                faces.push_back({a, a + 1, b});
                faces.push_back({a + 1, b + 1, b});
            } else {
                faces.push_back({a, a + 1, b + 1});
                faces.push_back({a, b + 1, b});
            }
        }
    }
    return std::make_unique<TriMesh::Mesh>(points, faces);
}

/// Triangles around one vertex, with a rim of `edges` edges of uneven length.
inline MeshPointer makeFan(unsigned edges) {
    std::mt19937 generator(6);
    std::uniform_real_distribution<double> jitter(-0.2, 0.2);
    std::vector<Point> points = {Point(0.0, 0.0, 20.0)};
    std::vector<TriMesh::Face> faces;
    for (unsigned i = 0; i < edges; ++i) {
        double const t = 2.0 * std::numbers::pi * (i + jitter(generator)) / edges;
        double const r = 100.0 * (1.0 + 0.1 * std::cos(3.0 * t));
        points.emplace_back(r * std::cos(t), 0.6 * r * std::sin(t), 0.0);
        faces.push_back({0U, 1 + i, 1 + (i + 1) % edges});
    }
    return std::make_unique<TriMesh::Mesh>(points, faces);
}

/// Keeps both systems of a flattening, and answers with what it was given, or zeros.
class KnownSolver : public LinearSolver {
public:
    LinearSolution solveLeastSquares(SparseMatrix const& newRows, QELT::LinearAlgebra::Vector const& newRight,
                                     ProgressListener* const& /* listener */) override {
        rows.emplace(newRows);
        rowsRightSide.emplace(newRight);
        return {answerOf(boundary, newRows.getNumberOfColumns()), {}};
    }

    LinearSolution solveSymmetric(SparseMatrix const& newMatrix,
                                  QELT::LinearAlgebra::Vector const& newRightSide,
                                  QELT::LinearAlgebra::Vector const* /* start */,
                                  ProgressListener* const& /* listener */) override {
        matrix.emplace(newMatrix);
        rightSide.emplace(newRightSide);
        return {answerOf(solution, newMatrix.getNumberOfColumns()), {}};
    }

    std::optional<SparseMatrix> rows; ///< of the boundary
    std::optional<QELT::LinearAlgebra::Vector> rowsRightSide;
    std::optional<QELT::LinearAlgebra::Vector> boundary;
    std::optional<SparseMatrix> matrix; ///< of the inside
    std::optional<QELT::LinearAlgebra::Vector> rightSide;
    std::optional<QELT::LinearAlgebra::Vector> solution;

private:
    static QELT::LinearAlgebra::Vector const& answerOf(std::optional<QELT::LinearAlgebra::Vector>& known,
                                                       unsigned long count) {
        if (!known) {
            known.emplace(count);
            known->zero();
        }
        return *known;
    }
};

} // namespace Benchmarks
