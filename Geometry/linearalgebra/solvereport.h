#pragma once

namespace QELT::LinearAlgebra {

/// How far the solve of a linear system came.
struct SolveReport {
    /// Of a direct solver, how often the solution was refined.
    unsigned long iterations = 0;

    /// The Euclidean norm of the residual, as the iteration carries it along: NaN for a system that broke
    /// down. With no iteration it is that of the start value.
    double residual = 0.0;

    /// Whether the residual came down to the solver's tolerance.
    bool hasConverged = false;

    /// The Euclidean norm of the right side, for which the residual is small or large.
    double rightSide = 0.0;
};

} // namespace QELT::LinearAlgebra
