#include "Geometry/linearalgebra/sparsematrix.h"

#include "Geometry/foundations/element.h"
#include "Geometry/linearalgebra/internal/scalarproduct.h"
#include "Geometry/linearalgebra/utility.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>
#include <numeric>
#include <utility>

// A matrix as a list of rows, each with its columns in ascending order and its values beside them. An entry
// is found by halving; storing one behind all others moves nothing, before others it moves them.
//
// - A row is allocated when its first entry arrives, with room for the number the matrix was told, and
//   doubles when a single place is left. A product gives its rows the capacity that appending one by one
//   would have led to.
// - Nothing is ever dropped for being zero or small: set, sum and difference keep what is stored, and a
//   product stores every column of every row. `NormalEquations` makes the product that holds non-zeros
//   alone.
// - A product adds its terms in the ascending order of the inner index but walks the other matrix by rows:
//   the same sums, without looking up an entry for each term. It costs the number of terms, plus rows times
//   columns for storing.
//
// Odd on purpose: a difference is a sum with -1.0 times the other matrix, and operations that a block-wise
// storage would not have still ask whether it is in use, which it never is.

namespace QELT::LinearAlgebra {

namespace {

std::uint32_t getDoubledCapacity(std::uint32_t capacity) {
    if (capacity > std::numeric_limits<std::uint32_t>::max() / 2) {
        throw std::bad_alloc();
    }
    return capacity * 2;
}

/// A row grows when only one place is left, not when none is.
bool getIsRowToGrow(std::uint32_t count, std::uint32_t capacity) {
    return count + 1 >= capacity;
}

/// The first position of a row whose column is not below `column`.
std::uint32_t getPosition(std::uint32_t const* indices, std::uint32_t count, std::uint32_t column) {
    return static_cast<std::uint32_t>(std::lower_bound(indices, indices + count, column) - indices);
}

std::unique_ptr<double[]> getCopy(double const* source, std::uint32_t count, std::uint32_t capacity) {
    auto copy = std::make_unique_for_overwrite<double[]>(capacity);
    std::copy_n(source, count, copy.get());
    return copy;
}

std::unique_ptr<std::uint32_t[]> getCopy(std::uint32_t const* source, std::uint32_t count,
                                         std::uint32_t capacity) {
    auto copy = std::make_unique_for_overwrite<std::uint32_t[]>(capacity);
    std::copy_n(source, count, copy.get());
    return copy;
}

} // namespace

bool SparseMatrix::doUseSSE2 = false;
bool SparseMatrix::isSSE2Checked = false;

void SparseMatrix::checkSSE2() {
    std::atomic_ref isChecked(isSSE2Checked);
    if (!isChecked) {
        std::atomic_ref(doUseSSE2).store(Utility::isSSE2Present());
        isChecked = true;
    }
}

SparseMatrix::SparseMatrix(unsigned long rows, unsigned long columns, unsigned long approxPerRow,
                           Canonical canonical)
    : numberOfColumns(toUInt32(columns)), approxNonZeroElementsPerRow(toUInt32(approxPerRow)) {
    setNumberOfRows(rows);
    if (canonical != CanonicalIdentity) {
        return;
    }
    if (numberOfRows != numberOfColumns) {
        throw new SparseMatrixInvalidDimensionsException;
    }
    for (std::uint32_t r = 0; r < numberOfRows; ++r) {
        set(r, r, 1.0);
    }
}

SparseMatrix::SparseMatrix(SparseMatrix const& other)
    : numberOfColumns(other.numberOfColumns), approxNonZeroElementsPerRow(other.approxNonZeroElementsPerRow) {
    setNumberOfRows(other.numberOfRows);
    set(&other);
}

SparseMatrix::~SparseMatrix() {
    uninitHeapPointers();
}

SparseMatrix& SparseMatrix::operator=(SparseMatrix const& other) {
    set(&other);
    return *this;
}

// ---- storage --------------------------------------------------------------------------------------------

std::uint32_t* SparseMatrix::getpRowIndices(unsigned long r) const {
    std::uint32_t const row = toUInt32(r);
    return row < numberOfRows ? pRowIndices[row].get() : nullptr;
}

double* SparseMatrix::getpRowValues(unsigned long r) const {
    std::uint32_t const row = toUInt32(r);
    return row < numberOfRows ? pRowValues[row].get() : nullptr;
}

unsigned long SparseMatrix::getNumberOfRowValues(unsigned long r) const {
    std::uint32_t const row = toUInt32(r);
    return row < numberOfRows ? pNumberOfRowValues[row] : 0;
}

void SparseMatrix::setApproxNonZeroElementsPerRow(unsigned long n) {
    approxNonZeroElementsPerRow = toUInt32(n);
}

void SparseMatrix::setNumberOfColumns(unsigned long n) {
    numberOfColumns = toUInt32(n);
}

void SparseMatrix::setNumberOfRows(unsigned long n) {
    uninitHeapPointers();
    numberOfRows = 0; // What holds if the storage cannot be had.
    initFundamentalHeapPointers(n);
    numberOfRows = toUInt32(n);
}

void SparseMatrix::initFundamentalHeapPointers(unsigned long n) {
    checkSSE2();
    std::size_t const rows = toUInt32(n);
    pRowValues.resize(rows);
    pRowIndices.resize(rows);
    pNumberOfRowValues.assign(rows, 0);
    pRowCapacities.assign(rows, 0);
}

void SparseMatrix::uninitHeapPointers() {
    pRowValues.clear();
    pRowIndices.clear();
    pNumberOfRowValues.clear();
    pRowCapacities.clear();
}

void SparseMatrix::replaceRow(unsigned long r, Values values, Indices indices, unsigned long count,
                              unsigned long capacity) {
    std::uint32_t const row = toUInt32(r);
    if (row >= numberOfRows) {
        return;
    }
    pRowValues[row] = std::move(values);
    pRowIndices[row] = std::move(indices);
    pNumberOfRowValues[row] = toUInt32(count);
    pRowCapacities[row] = toUInt32(capacity);
}

/// A matrix made for rows of 0 entries still gets room for the entry that arrives.
std::uint32_t SparseMatrix::getInitialCapacity() const {
    return std::max(approxNonZeroElementsPerRow, 1U);
}

/// The capacity of a row that was empty, after that many columns were set in ascending order.
std::uint32_t SparseMatrix::getCapacityAfterAppending(std::uint32_t count) const {
    if (count == 0) {
        return 0;
    }
    std::uint32_t capacity = getInitialCapacity();
    for (std::uint32_t stored = 1; stored < count; ++stored) {
        if (getIsRowToGrow(stored, capacity)) {
            capacity = getDoubledCapacity(capacity);
        }
    }
    return capacity;
}

/// Makes sure that row r can take one more entry.
void SparseMatrix::makeRoom(std::uint32_t r) {
    std::uint32_t const count = pNumberOfRowValues[r];
    std::uint32_t capacity = pRowCapacities[r];
    if (capacity == 0) {
        capacity = getInitialCapacity();
    } else if (getIsRowToGrow(count, capacity)) {
        capacity = getDoubledCapacity(capacity);
    } else {
        return;
    }
    Values values = getCopy(pRowValues[r].get(), count, capacity);
    Indices indices = getCopy(pRowIndices[r].get(), count, capacity);
    replaceRow(r, std::move(values), std::move(indices), count, capacity);
}

// ---- entries --------------------------------------------------------------------------------------------

void SparseMatrix::set(unsigned long r, unsigned long c, double v) {
    std::uint32_t const row = toUInt32(r);
    std::uint32_t const column = toUInt32(c);
    if (row >= numberOfRows || column >= numberOfColumns) {
        return;
    }
    makeRoom(row);
    std::uint32_t& count = pNumberOfRowValues[row];
    std::uint32_t* const indices = pRowIndices[row].get();
    double* const values = pRowValues[row].get();
    std::uint32_t const position = getPosition(indices, count, column);
    if (position == count || indices[position] != column) {
        std::copy_backward(indices + position, indices + count, indices + count + 1);
        std::copy_backward(values + position, values + count, values + count + 1);
        indices[position] = column;
        ++count;
    }
    values[position] = v;
}

void SparseMatrix::acc(unsigned long r, unsigned long c, double v) {
    set(r, c, get(r, c) + v);
}

double SparseMatrix::get(unsigned long r, unsigned long c) const {
    std::uint32_t const row = toUInt32(r);
    std::uint32_t const column = toUInt32(c);
    if (row >= numberOfRows || column >= numberOfColumns) {
        return 0.0;
    }
    std::uint32_t const* const indices = pRowIndices[row].get();
    std::uint32_t const count = pNumberOfRowValues[row];
    std::uint32_t const position = getPosition(indices, count, column);
    return position < count && indices[position] == column ? pRowValues[row][position] : 0.0;
}

void SparseMatrix::set(SparseMatrix const* other) {
    if (numberOfRows != other->numberOfRows) {
        setNumberOfRows(other->numberOfRows);
        approxNonZeroElementsPerRow = other->approxNonZeroElementsPerRow;
    }
    numberOfColumns = other->numberOfColumns;
    for (std::uint32_t r = 0; r < numberOfRows; ++r) {
        std::uint32_t const count = other->pNumberOfRowValues[r];
        Values values = getCopy(other->pRowValues[r].get(), count, count);
        Indices indices = getCopy(other->pRowIndices[r].get(), count, count);
        replaceRow(r, std::move(values), std::move(indices), count, count);
    }
}

// ---- arithmetic -----------------------------------------------------------------------------------------

SparseMatrix::Row SparseMatrix::getRow(unsigned long r) const {
    unsigned long const count = getNumberOfRowValues(r);
    if (count == 0) {
        return {};
    }
    return {{getpRowIndices(r), count}, {getpRowValues(r), count}};
}

SparseMatrix SparseMatrix::transpose() const {
    SparseMatrix transposed(numberOfColumns, numberOfRows, approxNonZeroElementsPerRow, CanonicalEmpty);
    for (std::uint32_t r = 0; r < numberOfRows; ++r) {
        for (std::uint32_t k = 0; k < pNumberOfRowValues[r]; ++k) {
            transposed.set(pRowIndices[r][k], r, pRowValues[r][k]);
        }
    }
    return transposed;
}

/// Row r becomes the sum of the rows r of a and b, with room for the entries of both.
void SparseMatrix::setMergedRow(std::uint32_t r, SparseMatrix const& a, SparseMatrix const& b) {
    constexpr std::uint64_t pastEnd = std::numeric_limits<std::uint64_t>::max();
    std::uint32_t const aCount = a.pNumberOfRowValues[r];
    std::uint32_t const bCount = b.pNumberOfRowValues[r];
    std::uint32_t const capacity = aCount + bCount;
    auto values = std::make_unique_for_overwrite<double[]>(capacity);
    auto indices = std::make_unique_for_overwrite<std::uint32_t[]>(capacity);
    std::uint32_t count = 0;
    for (std::uint32_t i = 0, j = 0; i < aCount || j < bCount; ++count) {
        std::uint64_t const aColumn = i < aCount ? a.pRowIndices[r][i] : pastEnd;
        std::uint64_t const bColumn = j < bCount ? b.pRowIndices[r][j] : pastEnd;
        indices[count] = static_cast<std::uint32_t>(std::min(aColumn, bColumn));
        if (aColumn == bColumn) {
            values[count] = a.pRowValues[r][i++] + b.pRowValues[r][j++];
        } else {
            values[count] = aColumn < bColumn ? a.pRowValues[r][i++] : b.pRowValues[r][j++];
        }
    }
    replaceRow(r, std::move(values), std::move(indices), count, capacity);
}

SparseMatrix SparseMatrix::operator+(SparseMatrix const& other) const {
    if (std::atomic_ref(doUseSSE2)) {
        throw new SparseMatrixUnsupportedSSE2Function;
    }
    if (numberOfRows != other.numberOfRows || numberOfColumns != other.numberOfColumns) {
        throw new SparseMatrixInvalidDimensionsException;
    }
    SparseMatrix sum(numberOfRows, numberOfColumns,
                     wrappedSum(approxNonZeroElementsPerRow, other.approxNonZeroElementsPerRow),
                     CanonicalEmpty);
    for (std::uint32_t r = 0; r < numberOfRows; ++r) {
        sum.setMergedRow(r, *this, other);
    }
    return sum;
}

SparseMatrix ScalarProduct::getProduct(double factor, SparseMatrix const& matrix) {
    SparseMatrix product(matrix);
    for (std::uint32_t r = 0; r < product.numberOfRows; ++r) {
        double* const values = product.pRowValues[r].get();
        std::uint32_t const count = product.pNumberOfRowValues[r];
        std::transform(values, values + count, values, [factor](double value) { return value * factor; });
    }
    return product;
}

SparseMatrix operator*(double factor, SparseMatrix const& matrix) {
    return ScalarProduct::getProduct(factor, matrix);
}

SparseMatrix SparseMatrix::operator-(SparseMatrix const& other) const {
    return *this + (-1.0 * other);
}

SparseMatrix SparseMatrix::operator*(SparseMatrix const& other) const {
    if (numberOfColumns != other.numberOfRows) {
        throw new SparseMatrixInvalidDimensionsException;
    }
    std::uint32_t const columns = other.numberOfColumns;
    SparseMatrix product(numberOfRows, columns,
                         std::max(approxNonZeroElementsPerRow, other.approxNonZeroElementsPerRow),
                         CanonicalEmpty);
    std::uint32_t const capacity = product.getCapacityAfterAppending(columns);
    for (std::uint32_t r = 0; r < numberOfRows; ++r) {
        auto values = std::make_unique_for_overwrite<double[]>(capacity);
        auto indices = std::make_unique_for_overwrite<std::uint32_t[]>(capacity);
        std::fill_n(values.get(), columns, 0.0);
        std::iota(indices.get(), indices.get() + columns, 0U);
        addRowProduct(r, other, values.get());
        product.replaceRow(r, std::move(values), std::move(indices), columns, capacity);
    }
    return product;
}

/// Adds row r of the product with `other` to one sum a column. Going through the other matrix row by row,
/// each column gets its terms in the order in which a search column by column would add them.
void SparseMatrix::addRowProduct(std::uint32_t r, SparseMatrix const& other, double* sums) const {
    for (std::uint32_t k = 0; k < pNumberOfRowValues[r]; ++k) {
        double const factor = pRowValues[r][k];
        std::uint32_t const row = pRowIndices[r][k];
        double const* const values = other.pRowValues[row].get();
        std::uint32_t const* const columns = other.pRowIndices[row].get();
        for (std::uint32_t n = 0; n < other.pNumberOfRowValues[row]; ++n) {
            sums[columns[n]] += factor * values[n];
        }
    }
}

Vector SparseMatrix::operator*(Vector const& vector) const {
    Vector product(numberOfRows);
    if (numberOfColumns != vector.getNumberOfValues()) {
        throw new SparseMatrixInvalidDimensionsException;
    }
    if (std::atomic_ref(doUseSSE2)) {
        return product;
    }
    double const* const x = vector.begin();
    for (std::uint32_t r = 0; r < numberOfRows; ++r) {
        double const* const values = pRowValues[r].get();
        std::uint32_t const* const indices = pRowIndices[r].get();
        double sum = 0.0;
        for (std::uint32_t k = 0; k < pNumberOfRowValues[r]; ++k) {
            sum += x[indices[k]] * values[k];
        }
        product.begin()[r] = sum;
    }
    return product;
}

} // namespace QELT::LinearAlgebra
