#include "Geometry/linearalgebra/internal/attachedsolver.h"

#include "Geometry/foundations/internal/percentage.h"

#include <stdexcept>

namespace QELT::LinearAlgebra {

namespace {

SolveReport take(LinearSolution const& answer, unsigned long numberOfUnknowns, Vector& solution) {
    if (answer.values.getNumberOfValues() != numberOfUnknowns) {
        throw std::runtime_error("Linear solver gave a wrong number of values");
    }
    solution.set(&answer.values);
    return answer.report;
}

} // namespace

SolveReport AttachedSolver::solveLeastSquares(SparseMatrix const& rows, Vector& solution,
                                              Vector const& rightSide) const {
    reportMessage(listener, "Solving linear system...");
    return take(solver.solveLeastSquares(rows, rightSide, listener), rows.getNumberOfColumns(), solution);
}

SolveReport AttachedSolver::solveSymmetric(SparseMatrix const& matrix, Vector& solution,
                                           Vector const& rightSide, Vector const* start) const {
    reportMessage(listener, "Solving linear system...");
    if (start != nullptr && start->getNumberOfValues() != matrix.getNumberOfColumns()) {
        throw new SparseMatrix::SparseMatrixInvalidDimensionsException;
    }
    return take(solver.solveSymmetric(matrix, rightSide, start, listener), matrix.getNumberOfColumns(),
                solution);
}

} // namespace QELT::LinearAlgebra
