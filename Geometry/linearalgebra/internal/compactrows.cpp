#include "Geometry/linearalgebra/internal/compactrows.h"

#include <algorithm>
#include <numeric>

// Compressed sparse rows (Saad, "Iterative Methods for Sparse Linear Systems", 2003, section 3.4): the
// values and the columns of all rows in two runs, and where each row starts. The rows of a `SparseMatrix`
// lie wherever they were allocated; a solver reads them hundreds of times, and reading one run is faster.
//
// Steps: go through the rows; where a row and the next one pair, as the equations for x and y of a point do,
// store the first alone and mark the run of such rows. A pair is multiplied in two lanes, which halves what
// is read.
//
// There is no tolerance: values pair by their bits, so that a NaN or a zero of the other sign never stands
// for another. A looser test would change sums. Each lane adds its terms to 0.0 in the order of the columns,
// as a row alone does, so the results have the same bits. One pass over the matrix, memory for each entry
// once.

namespace QELT::LinearAlgebra {

CompactRows::CompactRows(SparseMatrix const& matrix) {
    std::size_t const entries =
        std::accumulate(matrix.pNumberOfRowValues.begin(), matrix.pNumberOfRowValues.end(), std::size_t{0});
    columns.reserve(entries);
    values.reserve(entries);
    starts.reserve(std::size_t{matrix.numberOfRows} + 1);
    starts.push_back(0);
    for (std::uint32_t row = 0; row < matrix.numberOfRows;) {
        bool const isPaired = getIsPair(matrix, row);
        append(matrix, row);
        row += isPaired ? 2 : 1;
        extendRuns(isPaired, row);
    }
}

/// Whether a row and the next one hold the same values, to the bit, the second row's columns being each one
/// beyond the first row's. A value that is NaN may be any NaN, so bits are compared, not numbers.
bool CompactRows::getIsPair(SparseMatrix const& matrix, std::uint32_t firstRow) {
    std::uint32_t const count = matrix.pNumberOfRowValues[firstRow];
    std::uint32_t const secondRow = firstRow + 1;
    if (count == 0 || secondRow >= matrix.numberOfRows || matrix.pNumberOfRowValues[secondRow] != count) {
        return false;
    }
    std::uint32_t const* const firstColumns = matrix.pRowIndices[firstRow].get();
    std::uint32_t const* const secondColumns = matrix.pRowIndices[secondRow].get();
    return std::equal(firstColumns, firstColumns + count, secondColumns,
                      [](std::uint32_t first, std::uint32_t second) { return first + 1 == second; }) &&
           std::memcmp(matrix.pRowValues[firstRow].get(), matrix.pRowValues[secondRow].get(),
                       count * sizeof(double)) == 0;
}

void CompactRows::append(SparseMatrix const& matrix, std::uint32_t row) {
    std::uint32_t const count = matrix.pNumberOfRowValues[row];
    std::uint32_t const* const rowColumns = matrix.pRowIndices[row].get();
    double const* const rowValues = matrix.pRowValues[row].get();
    columns.insert(columns.end(), rowColumns, rowColumns + count);
    values.insert(values.end(), rowValues, rowValues + count);
    starts.push_back(values.size());
}

void CompactRows::extendRuns(bool isPaired, std::uint32_t endRow) {
    if (runs.empty() || runs.back().isPaired != isPaired) {
        runs.push_back({isPaired, endRow});
    } else {
        runs.back().endRow = endRow;
    }
}

} // namespace QELT::LinearAlgebra
