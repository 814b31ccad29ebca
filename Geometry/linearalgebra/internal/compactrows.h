#pragma once

#include "Geometry/linearalgebra/sparsematrix.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace QELT::LinearAlgebra {

/// Two doubles side by side that are added and multiplied lane by lane, each as a double alone would be.
#if defined(__GNUC__)
using DoublePair = double __attribute__((vector_size(2 * sizeof(double))));
#else
struct DoublePair {
    double values[2];

    double operator[](std::size_t i) const { return values[i]; }

    DoublePair& operator+=(DoublePair const& other) {
        values[0] += other.values[0];
        values[1] += other.values[1];
        return *this;
    }

    friend DoublePair operator*(DoublePair const& a, DoublePair const& b) {
        return {{a.values[0] * b.values[0], a.values[1] * b.values[1]}};
    }
};
#endif

/// A copy of a sparse matrix for many products with vectors: all entries in one run of memory, in the order
/// of the rows.
///
/// Systems for the coordinates of points often have the same equation for x and for y: two neighbouring rows
/// with the same values, the columns of the second one beyond those of the first. Such rows are stored once
/// and multiplied together. The sum of a row is the same, to the bit, either way.
class CompactRows {
public:
    explicit CompactRows(SparseMatrix const& matrix);

    /// Calls ready(row, sum) for each row in ascending order, with the row's product with x: terms are added
    /// to 0.0 in the order of the columns. x must have a value for each column.
    template <class Ready>
    void forEachProduct(double const* x, Ready ready) const;

private:
    /// Neighbouring rows that are all stored in the same way.
    struct Run {
        bool isPaired;
        std::uint32_t endRow;
    };

    static bool getIsPair(SparseMatrix const& matrix, std::uint32_t firstRow);

    void append(SparseMatrix const& matrix, std::uint32_t row);
    void extendRuns(bool isPaired, std::uint32_t endRow);

    double getProduct(std::size_t stored, double const* x) const;
    DoublePair getPairProduct(std::size_t stored, double const* x) const;

    std::vector<Run> runs;
    /// The entries of stored row or pair s are starts[s] to starts[s + 1]; of a pair, those of its first row.
    std::vector<std::size_t> starts;
    std::vector<std::uint32_t> columns;
    std::vector<double> values;
};

inline double CompactRows::getProduct(std::size_t stored, double const* x) const {
    double sum = 0.0;
    for (std::size_t k = starts[stored]; k < starts[stored + 1]; ++k) {
        sum += x[columns[k]] * values[k];
    }
    return sum;
}

inline DoublePair CompactRows::getPairProduct(std::size_t stored, double const* x) const {
    DoublePair sum = {0.0, 0.0};
    for (std::size_t k = starts[stored]; k < starts[stored + 1]; ++k) {
        DoublePair factors;
        std::memcpy(&factors, x + columns[k], sizeof factors);
        sum += factors * DoublePair{values[k], values[k]};
    }
    return sum;
}

template <class Ready>
void CompactRows::forEachProduct(double const* x, Ready ready) const {
    std::size_t stored = 0;
    std::size_t row = 0;
    for (Run const& run : runs) {
        if (run.isPaired) {
            for (; row < run.endRow; row += 2, ++stored) {
                DoublePair const sums = getPairProduct(stored, x);
                ready(row, sums[0]);
                ready(row + 1, sums[1]);
            }
        } else {
            for (; row < run.endRow; ++row, ++stored) {
                ready(row, getProduct(stored, x));
            }
        }
    }
}

} // namespace QELT::LinearAlgebra
