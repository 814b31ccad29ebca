#pragma once

#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/linearalgebra/vector.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// Sparse matrices, their products and the conjugate gradient solver once more, step by step on standard
/// vectors, with no care for speed.
namespace QELT::Testing::PlainLinearAlgebra {

using Values = std::vector<double>;

struct Row {
    std::uint32_t capacity = 0;
    std::vector<std::uint32_t> columns;
    Values values;
};

struct Matrix {
    std::uint32_t columns = 0;
    std::uint32_t approxPerRow = 8;
    std::vector<Row> rows;

    Matrix() = default;

    Matrix(std::uint32_t numberOfRows, std::uint32_t numberOfColumns, std::uint32_t approx = 8)
        : columns(numberOfColumns), approxPerRow(approx), rows(numberOfRows) {}

    std::uint32_t numberOfRows() const { return static_cast<std::uint32_t>(rows.size()); }

    /// One entry, found by going through the row; the row's arrays double when one place is left.
    void set(std::uint32_t r, std::uint32_t c, double v);
    double get(std::uint32_t r, std::uint32_t c) const;
};

Matrix transpose(Matrix const& a);
Matrix sum(Matrix const& a, Matrix const& b);
Matrix scaled(double factor, Matrix const& a);
/// Column by column, with one cursor for each row of b.
Matrix product(Matrix const& a, Matrix const& b);
Values product(Matrix const& a, Values const& x);

double innerProduct(Values const& a, Values const& b);

struct Solution {
    bool isSolved = false;
    int iterations = 0;
    Values x;
    /// The residual's norm after each iteration.
    Values norms;
};

/// For a square matrix and vectors of its order.
Solution solve(Matrix const& a, Values const& start, Values const& b);

/// The same matrix and vector in the library's classes, and back. Matrices are built entry by entry.
LinearAlgebra::SparseMatrix toSparse(Matrix const& a);
LinearAlgebra::Vector toVector(Values const& values);
Values toValues(LinearAlgebra::Vector const& vector);

/// An empty text if the library's matrix has the dimensions, entries, bits and capacities of the plain one,
/// otherwise the first difference.
std::string getDifference(LinearAlgebra::SparseMatrix const& actual, Matrix const& expected);

/// A matrix with each entry stored at the given probability; one in ten of the stored entries is 0.0.
Matrix randomMatrix(std::mt19937& generator, std::uint32_t rows, std::uint32_t columns, double density,
                    std::uint32_t approxPerRow = 8);
Values randomValues(std::mt19937& generator, std::size_t n);

} // namespace QELT::Testing::PlainLinearAlgebra
