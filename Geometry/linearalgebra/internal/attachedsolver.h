#pragma once

#include "Geometry/linearalgebra/linearsolver.h"

namespace QELT::LinearAlgebra {

/// How the library asks a solver that is attached to an owner: with the message that every solve sends first,
/// and with an eye on the length of what comes back.
class AttachedSolver {
public:
    AttachedSolver(LinearSolver& attachedSolver, ProgressListener* const& ownersListener)
        : solver(attachedSolver), listener(ownersListener) {}

    /// Sets `solution` to the answer, whatever it was.
    /// \throws std::runtime_error "Linear solver gave a wrong number of values", and what the solver throws.
    SolveReport solveLeastSquares(SparseMatrix const& rows, Vector& solution, Vector const& rightSide) const;

    /// The same; `start` may be null. A start that is not as long as the solution throws
    /// `SparseMatrix::SparseMatrixInvalidDimensionsException*`, as the library's own solver does.
    SolveReport solveSymmetric(SparseMatrix const& matrix, Vector& solution, Vector const& rightSide,
                               Vector const* start) const;

private:
    LinearSolver& solver;
    ProgressListener* const& listener;
};

} // namespace QELT::LinearAlgebra
