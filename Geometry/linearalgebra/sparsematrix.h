#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/linearalgebra/vector.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace QELT::LinearAlgebra {

/// A sparse matrix as a list of rows. Each row owns two parallel arrays, the stored values and their
/// columns, which ascend strictly; they appear with the row's first entry and grow by doubling. A stored
/// entry may hold 0.0, and entries are never removed one by one. Value semantics; rows and columns out of
/// range are harmless: reading gives 0.0, writing does nothing. Sizes and indices are kept in 32 bits.
class QELT_EXPORT SparseMatrix {
public:
    /// Thrown by pointer when dimensions do not fit: the handler catches a
    /// `SparseMatrixInvalidDimensionsException*` and owns the object.
    class QELT_EXPORT SparseMatrixInvalidDimensionsException {};

    /// Thrown by pointer, likewise, by an operation that block-wise storage would not have.
    class QELT_EXPORT SparseMatrixUnsupportedSSE2Function {};

    /// The content at construction.
    enum Canonical : int { CanonicalEmpty = 0, CanonicalIdentity = 1 };

    /// `approxNonZeroElementsPerRow` is the number of entries a row has room for when its first one arrives,
    /// at least 1. An identity that is not square throws `SparseMatrixInvalidDimensionsException*`.
    SparseMatrix(unsigned long rows, unsigned long columns, unsigned long approxNonZeroElementsPerRow,
                 Canonical canonical);
    SparseMatrix(SparseMatrix const& other);
    virtual ~SparseMatrix();

    SparseMatrix& operator=(SparseMatrix const& other);

    /// Stores v, 0.0 included, in place of an entry or as a new one. Appending to a row is cheapest: an
    /// entry before others moves them.
    void set(unsigned long r, unsigned long c, double v);
    /// Adds v to an entry, creating it if it is not stored, even when v is 0.0.
    void acc(unsigned long r, unsigned long c, double v);
    double get(unsigned long r, unsigned long c) const;

    /// A deep copy of `*other`, which must not be null; rows come out exactly as large as their content.
    /// The number of entries that new rows have room for is adopted only if the number of rows differs.
    void set(SparseMatrix const* other);

    unsigned long getNumberOfRows() const { return numberOfRows; }

    unsigned long getNumberOfColumns() const { return numberOfColumns; }

    /// The stored entries of a row, for reading: columns, which ascend strictly, and their values.
    struct Row {
        std::span<std::uint32_t const> columns;
        std::span<double const> values;
    };

    /// Empty past the last row. Valid until the matrix changes.
    Row getRow(unsigned long r) const;

    /// The matrix with rows for columns.
    SparseMatrix transpose() const;

    /// Sum and difference store every position that either operand stores, zeros that come out included.
    /// Different dimensions throw `SparseMatrixInvalidDimensionsException*`.
    SparseMatrix operator+(SparseMatrix const& other) const;
    SparseMatrix operator-(SparseMatrix const& other) const;

    /// The product stores an entry for every column of every row, zeros included: rows * columns entries.
    /// The terms of an entry are added to 0.0 in the ascending order of this matrix's columns. Dimensions
    /// that do not fit throw `SparseMatrixInvalidDimensionsException*`.
    SparseMatrix operator*(SparseMatrix const& other) const;

    /// The terms of each value are added to 0.0 in the ascending order of columns. A vector whose length is
    /// not the number of columns throws `SparseMatrixInvalidDimensionsException*`.
    Vector operator*(Vector const& vector) const;

    /// Without this a number would become a vector of that length.
    Vector operator*(double factor) const = delete;

private:
    using Values = std::unique_ptr<double[]>;
    using Indices = std::unique_ptr<std::uint32_t[]>;

    /// The arrays and the number of entries of a row; null and 0 past the last row.
    std::uint32_t* getpRowIndices(unsigned long r) const;
    double* getpRowValues(unsigned long r) const;
    unsigned long getNumberOfRowValues(unsigned long r) const;

    unsigned long getApproxNonZeroElementsPerRow() const { return approxNonZeroElementsPerRow; }

    void setApproxNonZeroElementsPerRow(unsigned long n);
    void setNumberOfColumns(unsigned long n);
    /// Drops all content and leaves n rows without entries.
    void setNumberOfRows(unsigned long n);

    void initFundamentalHeapPointers(unsigned long n);
    void uninitHeapPointers();
    /// Takes over the two arrays in place of the row's own; a row past the end is ignored.
    void replaceRow(unsigned long r, Values values, Indices indices, unsigned long count,
                    unsigned long capacity);

    static void checkSSE2();

    std::uint32_t getInitialCapacity() const;
    std::uint32_t getCapacityAfterAppending(std::uint32_t count) const;
    void makeRoom(std::uint32_t r);
    void setMergedRow(std::uint32_t r, SparseMatrix const& a, SparseMatrix const& b);
    void addRowProduct(std::uint32_t r, SparseMatrix const& other, double* sums) const;

    friend class CompactRows;
    friend class NormalEquations;
    friend class ScalarProduct;

    /// Row by row: the arrays, valid while the capacity is not 0, the number of stored entries and the
    /// number of entries that the arrays can hold.
    std::vector<Values> pRowValues;
    std::vector<Indices> pRowIndices;
    std::vector<std::uint32_t> pNumberOfRowValues;
    std::vector<std::uint32_t> pRowCapacities;
    std::uint32_t numberOfRows = 0;
    std::uint32_t numberOfColumns = 0;
    std::uint32_t approxNonZeroElementsPerRow = 0;

    /// What `Utility::isSSE2Present` answered, and whether it has been asked, as in `Vector`.
    static bool doUseSSE2;
    static bool isSSE2Checked;
};

} // namespace QELT::LinearAlgebra
