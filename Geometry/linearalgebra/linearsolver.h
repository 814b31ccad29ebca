#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/progresslistener.h"
#include "Geometry/linearalgebra/solvereport.h"
#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/linearalgebra/vector.h"

namespace QELT::LinearAlgebra {

/// What a solve answers with: a value for each unknown, and how it came to them.
struct LinearSolution {
    Vector values;
    SolveReport report;
};

/// A solver in place of the library's conjugate gradients, for who has a better one for large systems: an
/// owner that has one attached (`Mesh::setLinearSolver`) hands it its systems and takes the answer as it is,
/// converged or not.
///
/// A system may be without unknowns, and holds infinities and NaN where a triangle has no area. Its rows are
/// read by `SparseMatrix::getRow`; matrix, right side and start live as long as the call. The unknowns 2i and
/// 2i + 1 are the two coordinates of a point. `listener` is the owner's pointer, which may be null and may
/// become so in any of its calls: look at it before each. An exception, the listener's or the solver's own,
/// passes through the owner and ends what it did.
class QELT_EXPORT LinearSolver {
public:
    virtual ~LinearSolver() = default;

    /// The x for which the norm of rows x - rightSide is least. Of the report, `residual` is the norm of the
    /// transpose of `rows` times (rightSide - rows x), `rightSide` that of the transpose times the right
    /// side.
    virtual LinearSolution solveLeastSquares(SparseMatrix const& rows, Vector const& rightSide,
                                             ProgressListener* const& listener) = 0;

    /// The x for which matrix x = rightSide. The matrix is square, symmetric but for rounding, and positive
    /// definite but for faulty surfaces. `start`, if not null, is near the solution and as long as it.
    virtual LinearSolution solveSymmetric(SparseMatrix const& matrix, Vector const& rightSide,
                                          Vector const* start, ProgressListener* const& listener) = 0;
};

} // namespace QELT::LinearAlgebra
