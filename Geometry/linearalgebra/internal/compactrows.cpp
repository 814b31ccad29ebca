#include "Geometry/linearalgebra/internal/compactrows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>

// Sparse rows in slices that are multiplied in lockstep (Kreutzer, Hager, Wellein, Fehske and Bishop, "A
// Unified Sparse Matrix Data Format for Efficient General Sparse Matrix-Vector Multiplication on Modern
// Processors with Wide SIMD Units", 2014): a sum waits for each of its additions, four sums that are formed
// in turn wait at the same time, and rows of one length have one loop whose end is foreseen.
//
// Steps: go through the rows; where a row and the next one pair, as the equations for x and y of a point do,
// store the first alone and multiply it in two lanes. Rows of one kind are sorted by length within windows
// of 256 and cut into slices of four. The inner product with x needs the sums in the order of the rows, so
// it runs a window behind: its own chain of additions then waits beside those of the slices.
//
// There is no tolerance: values pair by their bits, so that a NaN or a zero of the other sign never stands
// for another. Each lane adds its terms to 0.0 in the order of the columns, as a row alone does, hence the
// same bits. Filling a slice up adds 0.0 * 0.0, as the values behind x are zeros whatever x holds; and a sum
// that starts at 0.0 is never -0.0, the only number that adding 0.0 changes.
//
// Cost: a sort in each window, and memory for each entry once. With seven entries a row a product takes half
// to two thirds of the time of one that adds row after row, two thirds where the matrix leaves the cache.

namespace QELT::LinearAlgebra {

namespace {

/// Two doubles side by side that are added and multiplied lane by lane, each as a double alone would be.
#if defined(__GNUC__)
using DoublePair = double __attribute__((vector_size(2 * sizeof(double))));
#else
struct DoublePair {
    double lanes[2];

    DoublePair& operator+=(DoublePair const& other) {
        lanes[0] += other.lanes[0];
        lanes[1] += other.lanes[1];
        return *this;
    }

    friend DoublePair operator*(DoublePair const& a, DoublePair const& b) {
        return {{a.lanes[0] * b.lanes[0], a.lanes[1] * b.lanes[1]}};
    }
};
#endif

DoublePair getPairAt(double const* place) {
    DoublePair pair;
    std::memcpy(&pair, place, sizeof pair);
    return pair;
}

/// The inner product of two vectors, formed bit by bit from the start on.
class InnerProduct {
public:
    InnerProduct(double const* newA, double const* newB) : a(newA), b(newB) {}

    void extendTo(std::size_t end) {
        for (; position < end; ++position) {
            sum += a[position] * b[position];
        }
    }

    /// Goes on by `count`, but not if that were beyond `end`.
    template <std::size_t count>
    void extendBy(std::size_t end) {
        if (position + count > end) {
            return;
        }
        for (std::size_t i = 0; i < count; ++i) {
            sum += a[position + i] * b[position + i];
        }
        position += count;
    }

    double getSum() const { return sum; }

private:
    double const* a;
    double const* b;
    std::size_t position = 0;
    double sum = 0.0;
};

} // namespace

CompactRows::CompactRows(SparseMatrix const& matrix)
    : order(matrix.numberOfRows), windows(getWindows(matrix)) {
    for (Window const& window : windows) {
        std::vector<std::uint32_t> const sorted = getRowsByLength(matrix, window);
        for (std::size_t i = 0; i < sorted.size(); i += sliceSize) {
            appendSlice(matrix, std::span(sorted).subspan(i, std::min(sliceSize, sorted.size() - i)));
        }
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

std::vector<CompactRows::Window> CompactRows::getWindows(SparseMatrix const& matrix) const {
    std::vector<Window> found;
    for (std::uint32_t row = 0; row < order;) {
        bool const isPaired = getIsPair(matrix, row);
        std::uint32_t const rowsEach = isPaired ? 2 : 1;
        bool const isNew = found.empty() || found.back().isPaired != isPaired ||
                           found.back().endRow - found.back().firstRow == windowSize * rowsEach;
        if (isNew) {
            found.push_back({isPaired, row, row});
        }
        row += rowsEach;
        found.back().endRow = row;
    }
    return found;
}

/// The stored rows of a window, the shortest first, and those of one length in ascending order.
std::vector<std::uint32_t> CompactRows::getRowsByLength(SparseMatrix const& matrix, Window const& window) {
    std::vector<std::uint32_t> sorted;
    sorted.reserve(windowSize);
    for (std::uint32_t row = window.firstRow; row < window.endRow; row += window.isPaired ? 2 : 1) {
        sorted.push_back(row);
    }
    std::sort(sorted.begin(), sorted.end(), [&matrix](std::uint32_t a, std::uint32_t b) {
        return std::tie(matrix.pNumberOfRowValues[a], a) < std::tie(matrix.pNumberOfRowValues[b], b);
    });
    return sorted;
}

/// Appends up to four rows, the last of which is the longest.
void CompactRows::appendSlice(SparseMatrix const& matrix, std::span<std::uint32_t const> sliceRows) {
    std::size_t const width = matrix.pNumberOfRowValues[sliceRows.back()];
    std::size_t const begin = values.size();
    widths.push_back(static_cast<std::uint32_t>(width));
    rows.insert(rows.end(), sliceRows.begin(), sliceRows.end());
    rows.resize(widths.size() * sliceSize, order);
    columns.resize(begin + sliceSize * width, order);
    values.resize(begin + sliceSize * width, 0.0);
    for (std::size_t i = 0; i < sliceRows.size(); ++i) {
        std::uint32_t const row = sliceRows[i];
        for (std::size_t k = 0; k < matrix.pNumberOfRowValues[row]; ++k) {
            columns[begin + sliceSize * k + i] = matrix.pRowIndices[row][k];
            values[begin + sliceSize * k + i] = matrix.pRowValues[row][k];
        }
    }
}

/// A product on its way through the slices.
class CompactRows::Product {
public:
    Product(CompactRows const& newMatrix, double const* newX, double* newProduct)
        : x(newX),
          product(newProduct),
          innerProduct(newX, newProduct),
          width(newMatrix.widths.data()),
          row(newMatrix.rows.data()),
          column(newMatrix.columns.data()),
          value(newMatrix.values.data()) {}

    template <bool isPaired>
    void multiply(Window const& window) {
        constexpr std::size_t rowsEach = isPaired ? 2 : 1;
        constexpr std::size_t rowsOfSlice = sliceSize * rowsEach;
        std::size_t const numberOfRows = window.endRow - window.firstRow;
        for (std::size_t done = 0; done < numberOfRows; done += rowsOfSlice) {
            if constexpr (isPaired) {
                multiplyPairs();
            } else {
                multiplySingles();
            }
            row += sliceSize;
            innerProduct.extendBy<rowsOfSlice>(window.firstRow);
        }
    }

    double getInnerProduct(std::size_t end) {
        innerProduct.extendTo(end);
        return innerProduct.getSum();
    }

private:
    void multiplyPairs() {
        std::array<DoublePair, sliceSize> sums{};
        for (std::uint32_t k = *width++; k > 0; --k) {
            for (std::size_t i = 0; i < sliceSize; ++i) {
                sums[i] += getPairAt(x + column[i]) * DoublePair{value[i], value[i]};
            }
            column += sliceSize;
            value += sliceSize;
        }
        for (std::size_t i = 0; i < sliceSize; ++i) {
            std::memcpy(product + row[i], &sums[i], sizeof sums[i]);
        }
    }

    /// Two rows to a pair of lanes.
    void multiplySingles() {
        std::array<DoublePair, sliceSize / 2> sums{};
        for (std::uint32_t k = *width++; k > 0; --k) {
            for (std::size_t i = 0; i < sliceSize; i += 2) {
                sums[i / 2] += DoublePair{x[column[i]], x[column[i + 1]]} * getPairAt(value + i);
            }
            column += sliceSize;
            value += sliceSize;
        }
        std::array<double, sliceSize> lanes;
        std::memcpy(lanes.data(), sums.data(), sizeof lanes);
        for (std::size_t i = 0; i < sliceSize; ++i) {
            product[row[i]] = lanes[i];
        }
    }

    double const* x;
    double* product;
    InnerProduct innerProduct;
    std::uint32_t const* width;
    std::uint32_t const* row;
    std::uint32_t const* column;
    double const* value;
};

double CompactRows::multiply(double const* x, double* product) const {
    Product ofRows(*this, x, product);
    for (Window const& window : windows) {
        if (window.isPaired) {
            ofRows.multiply<true>(window);
        } else {
            ofRows.multiply<false>(window);
        }
    }
    return ofRows.getInnerProduct(order);
}

} // namespace QELT::LinearAlgebra
