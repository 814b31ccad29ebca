#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/progresslistener.h"
#include "Geometry/foundations/progressterminator.h"
#include "Geometry/linearalgebra/solvereport.h"
#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/linearalgebra/vector.h"

namespace QELT::LinearAlgebra {

/// The iterative solver, and two questions about the processor.
class QELT_EXPORT Utility {
public:
    Utility() = delete;

    /// Solves A x = b for a symmetric positive definite A by conjugate gradients, down to a residual of norm
    /// 1e-20 and in at most 262144 iterations. `x` holds the start value and receives the last iterate,
    /// converged or not; `*pIterations`, if not null, the number of iterations. The answer is whether it
    /// converged; a system that breaks down does not. The terminator is never asked.
    ///
    /// A listener, which may be null, gets one message and may be gone after it, unless it is a
    /// `SolveListener`, which is told of each iteration; with either, each writes a progress line to standard
    /// output. Dimensions that do not fit throw, with `x` and `*pIterations` as they were:
    /// `SparseMatrix::SparseMatrixInvalidDimensionsException*` if the columns of A are not as many as the
    /// values of x, or if A is not square and an iteration is needed, and
    /// `Vector::VectorInvalidDimensionsException*` if its rows are not as many as the values of b.
    static bool solve(SparseMatrix const& A, Vector& x, Vector const& b, unsigned long* pIterations,
                      ProgressListener* listener, ProgressTerminator* terminator);

    /// The same solve, which answers with all that there is to tell about its end. It looks at the owner's
    /// pointer `listener` before every call, so that a listener may detach itself in any.
    static SolveReport solveWithReport(SparseMatrix const& A, Vector& x, Vector const& b,
                                       ProgressListener* const& listener, ProgressTerminator* terminator);

    /// Writes the residual norm and the number of iterations to standard output, after a carriage return and
    /// without a newline, so that a terminal shows the lines in one place. The format of the numbers is the
    /// same whatever format or locale standard output has been set to.
    static void setSolveProgress(double residual, int iterations);

    /// Whether vectors and matrices are stored in aligned blocks: false on every processor.
    static bool isSSE2Present();

    /// Whether the processor has SSE2, by its own statement.
    static bool isSSEPresent();
};

} // namespace QELT::LinearAlgebra
