#pragma once

namespace QELT::LinearAlgebra {

/// How far the solve of a linear system came.
struct SolveReport {
    unsigned long iterations = 0;

    /// The Euclidean norm of the residual, as the iteration carries it along: NaN for a system that broke
    /// down. With no iteration it is that of the start value.
    double residual = 0.0;

    /// Whether the residual came down to the solver's tolerance.
    bool hasConverged = false;
};

} // namespace QELT::LinearAlgebra
