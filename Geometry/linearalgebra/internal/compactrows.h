#pragma once

#include "Geometry/linearalgebra/sparsematrix.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace QELT::LinearAlgebra {

/// A copy of a square sparse matrix for many products with vectors: all entries in one run of memory, in the
/// order in which a product takes them.
///
/// Systems for the coordinates of points often have the same equation for x and for y: two neighbouring rows
/// with the same values, the columns of the second one beyond those of the first. Such rows are stored once
/// and multiplied together, and rows of about the same length are multiplied in turn, entry by entry. The sum
/// of a row is the same, to the bit, either way.
class CompactRows {
public:
    explicit CompactRows(SparseMatrix const& matrix);

    /// So many values follow those of the rows in each vector: zeros in x, anything in a product.
    static constexpr std::size_t valuesBehind = 2;

    /// Sets `product` to the matrix times x, where the terms of each row are added to 0.0 in the order of the
    /// columns. The answer is the inner product of x and `product`, summed in ascending order from 0.0.
    double multiply(double const* x, double* product) const;

private:
    /// So many stored rows are multiplied in turn.
    static constexpr std::size_t sliceSize = 4;

    /// Rows are sorted by length within so many stored ones that follow each other.
    static constexpr std::size_t windowSize = 256;

    /// Stored rows that follow each other and are all pairs or all single. No row from `endRow` on is in it.
    struct Window {
        bool isPaired;
        std::uint32_t firstRow;
        std::uint32_t endRow;
    };

    static bool getIsPair(SparseMatrix const& matrix, std::uint32_t firstRow);
    static std::vector<std::uint32_t> getRowsByLength(SparseMatrix const& matrix, Window const& window);

    std::vector<Window> getWindows(SparseMatrix const& matrix) const;
    void appendSlice(SparseMatrix const& matrix, std::span<std::uint32_t const> sliceRows);

    class Product;

    std::uint32_t order;
    std::vector<Window> windows;
    /// Slice by slice the number of entries of its longest row, and the rows; of a pair, the first one.
    std::vector<std::uint32_t> widths;
    std::vector<std::uint32_t> rows;
    /// Slice by slice the first entries of its rows, the second ones and so on. Where a row has no more, and
    /// for rows that fill up a window's last slice, 0.0 stands at the column behind all others.
    std::vector<std::uint32_t> columns;
    std::vector<double> values;
};

} // namespace QELT::LinearAlgebra
