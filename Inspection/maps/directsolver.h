#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <cstdint>
#include <optional>

namespace QELT::Inspection {

/// How a direct solve ended.
enum class DirectSolveState : std::uint8_t {
    Solved,       ///< by Cholesky: every pivot was positive
    SolvedByLu,   ///< Cholesky met a pivot that was not, or its solution did not hold; that of LU did
    NotFinite,    ///< a number of the system is infinite or NaN
    Undetermined, ///< an unknown is in no equation, or no factor could be had
    Inaccurate,   ///< there is a solution, but it does not hold
};

/// What is known of a direct solve. A solution holds if its residual is the rounding's and its uncertainty is
/// below a millionth.
struct DirectSolve {
    DirectSolveState state = DirectSolveState::Solved;

    /// The residual's norm, divided by that of the terms that it is the sum of.
    double residual = 0.0;

    /// How far the greatest value may be off, as a part of it: by the last refinement, and by how well a
    /// solution that is known was found again, whichever is more.
    double uncertainty = 0.0;

    /// Whether the solution can be trusted.
    bool doesHold() const {
        return state == DirectSolveState::Solved || state == DirectSolveState::SolvedByLu;
    }
};

/// Solves by a sparse factor, which takes seconds where conjugate gradients take minutes, and does not lose
/// its way on long rims. Each solution is refined until that no longer helps. The same system gives the same
/// bits. Of a system without a solution the start is left, or zeros; the report has not converged then.
///
/// The listener hears percentages while the factor is made, and stops that by an exception. Ordering the
/// unknowns, the greatest dense block and LU are one step each: with a million vertices there are three
/// seconds at most between two calls, and a process that flattens them takes 2.6 GB.
class QELT_INSPECTION_EXPORT DirectSolver final : public QELT::LinearAlgebra::LinearSolver {
public:
    /// The core's name for what is solved with, on both sides, and what comes out.
    using Matrix = QELT::LinearAlgebra::SparseMatrix;
    using Values = QELT::LinearAlgebra::Vector;
    using Solution = QELT::LinearAlgebra::LinearSolution;

    Solution solveLeastSquares(Matrix const& rows, Values const& rightSide,
                               ProgressListener* const& listener) override;

    /// A matrix that is not square throws `SparseMatrix::SparseMatrixInvalidDimensionsException*`, as do, in
    /// both, lengths that do not fit.
    Solution solveSymmetric(Matrix const& matrix, Values const& rightSide, Values const* start,
                            ProgressListener* const& listener) override;

    /// Of the last solve of each kind, if it came to its end.
    std::optional<DirectSolve> const& getLeastSquares() const { return leastSquares; }

    std::optional<DirectSolve> const& getSymmetric() const { return symmetric; }

private:
    std::optional<DirectSolve> leastSquares;
    std::optional<DirectSolve> symmetric;
};

} // namespace QELT::Inspection
