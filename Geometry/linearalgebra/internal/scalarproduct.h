#pragma once

#include "Geometry/linearalgebra/sparsematrix.h"

namespace QELT::LinearAlgebra {

/// Reaches into a matrix for the product below, which the matrix cannot befriend itself: a friend would be
/// found through its argument by everyone who includes the matrix.
class ScalarProduct {
public:
    static SparseMatrix getProduct(double factor, SparseMatrix const& matrix);
};

/// The matrix with every stored value multiplied, for the difference of matrices alone.
SparseMatrix operator*(double factor, SparseMatrix const& matrix);

} // namespace QELT::LinearAlgebra
