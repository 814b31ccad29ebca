#pragma once

#include "Geometry/linearalgebra/sparsematrix.h"

#include <cstdint>
#include <vector>

namespace QELT::LinearAlgebra {

/// The normal equations of least-squares systems.
class NormalEquations {
public:
    NormalEquations() = delete;

    /// The transpose of `system` times `system`, holding only the entries that are not exactly 0.0. Those
    /// have the same bits as in `system.transpose() * system`, which stores all columns * columns entries.
    /// Time and memory grow with the terms of the sums: a banded system gives a banded product.
    ///
    /// `Utility::solve` takes the same steps from a finite start value with either product, as adding a zero
    /// term changes no sum. Only once a number overflows do the two part: both runs then end, unsolved, at
    /// the same iteration, but not all values of the solution need to be NaN in both.
    [[nodiscard]] static SparseMatrix getMatrixWithoutZeros(SparseMatrix const& system);

private:
    static std::vector<std::uint32_t> getTouchedColumns(SparseMatrix const& a, std::uint32_t r,
                                                        SparseMatrix const& b);
    static void moveNonZeroSums(std::vector<double>& sums, std::vector<std::uint32_t> const& touched,
                                SparseMatrix& product, std::uint32_t r);
};

} // namespace QELT::LinearAlgebra
