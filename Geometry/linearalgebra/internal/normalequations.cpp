#include "Geometry/linearalgebra/internal/normalequations.h"

#include <algorithm>
#include <utility>

// The product of a sparse matrix' transpose with the matrix, row by row with one array of sums for all
// columns (Gustavson, "Two Fast Algorithms for Sparse Matrices: Multiplication and Permuted Transposition",
// 1978).
//
// For each row: find the columns that have terms at all, add the terms to their sums, then move the sums
// that are not 0.0 into the row and leave zeros behind. Terms come in ascending order of the inner index, as
// in the full product, hence the same bits.
//
// There is no tolerance: only a sum of exactly 0.0 is left out, of either sign, because adding a product
// with it changes no later sum of finite numbers. Leaving out small ones too would change solutions. The
// cost grows with the number of terms, times the logarithm for sorting the columns of a row, instead of with
// the square of the number of columns as the full product does.

namespace QELT::LinearAlgebra {

SparseMatrix NormalEquations::getMatrixWithoutZeros(SparseMatrix const& system) {
    SparseMatrix const transposed = system.transpose();
    std::uint32_t const order = system.numberOfColumns;
    SparseMatrix product(order, order, system.approxNonZeroElementsPerRow, SparseMatrix::CanonicalEmpty);
    std::vector<double> sums(order, 0.0);
    for (std::uint32_t r = 0; r < order; ++r) {
        std::vector<std::uint32_t> const touched = getTouchedColumns(transposed, r, system);
        transposed.addRowProduct(r, system, sums.data());
        moveNonZeroSums(sums, touched, product, r);
    }
    return product;
}

/// The columns, ascending, that row r of the product of a and b has terms for.
std::vector<std::uint32_t> NormalEquations::getTouchedColumns(SparseMatrix const& a, std::uint32_t r,
                                                              SparseMatrix const& b) {
    std::vector<std::uint32_t> touched;
    for (std::uint32_t k = 0; k < a.pNumberOfRowValues[r]; ++k) {
        std::uint32_t const row = a.pRowIndices[r][k];
        std::uint32_t const* const columns = b.pRowIndices[row].get();
        touched.insert(touched.end(), columns, columns + b.pNumberOfRowValues[row]);
    }
    std::sort(touched.begin(), touched.end());
    touched.erase(std::unique(touched.begin(), touched.end()), touched.end());
    return touched;
}

/// Stores the sums of the given columns that are not 0.0 as row r, and leaves 0.0 in their places.
void NormalEquations::moveNonZeroSums(std::vector<double>& sums, std::vector<std::uint32_t> const& touched,
                                      SparseMatrix& product, std::uint32_t r) {
    auto values = std::make_unique_for_overwrite<double[]>(touched.size());
    auto indices = std::make_unique_for_overwrite<std::uint32_t[]>(touched.size());
    std::uint32_t count = 0;
    for (std::uint32_t const column : touched) {
        double const sum = std::exchange(sums[column], 0.0);
        if (sum != 0.0) {
            values[count] = sum;
            indices[count] = column;
            ++count;
        }
    }
    product.replaceRow(r, std::move(values), std::move(indices), count, touched.size());
}

} // namespace QELT::LinearAlgebra
