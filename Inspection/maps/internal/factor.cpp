#include "Inspection/maps/internal/factor.h"

#include <Eigen/SparseLU>

#include <complex>
#include <optional>
#include <utility>

// The systems of a map treat the two coordinates of a point alike: turning all points by a right angle turns
// the equations with them. Such a matrix consists of blocks [a -b; b a], and is one of half as many complex
// numbers a + ib; where no b is there it is a real one for each coordinate alone. Factors of these take a
// half or a quarter of the memory, and as little time. Whether a matrix is of that form is seen from its
// entries, which must agree to the bit; any other is factorised as it is.

namespace QELT::Inspection {

namespace {

using Complex = std::complex<double>;
using ComplexRows = Eigen::SparseMatrix<Complex, Eigen::RowMajor, int>;

/// One block of two rows and two columns.
struct Block {
    double values[2][2] = {};

    bool isComplexNumber() const { return values[0][0] == values[1][1] && values[0][1] == -values[1][0]; }
};

/// Goes through a row's entries by blocks.
class BlockCursor {
public:
    BlockCursor(SparseRows const& rows, int row) : entry(rows, row) {}

    bool isAt(int block) const { return static_cast<bool>(entry) && entry.index() / 2 == block; }

    /// The least of the blocks that are ahead and `other`.
    int nearer(int other) const { return entry ? std::min(other, entry.index() / 2) : other; }

    void take(int block, double (&values)[2]) {
        for (; isAt(block); ++entry) {
            values[entry.index() % 2] = entry.value();
        }
    }

private:
    SparseRows::InnerIterator entry;
};

/// Appends two rows as one of complex numbers. False if they are of another form.
bool appendPair(SparseRows const& rows, int pair, ComplexRows& result) {
    BlockCursor upper(rows, 2 * pair);
    BlockCursor lower(rows, 2 * pair + 1);
    auto const end = static_cast<int>(rows.cols() / 2);
    result.startVec(pair);
    for (int block = upper.nearer(lower.nearer(end)); block != end; block = upper.nearer(lower.nearer(end))) {
        Block found;
        upper.take(block, found.values[0]);
        lower.take(block, found.values[1]);
        if (!found.isComplexNumber()) {
            return false;
        }
        result.insertBack(pair, block) = Complex(found.values[0][0], found.values[1][0]);
    }
    return true;
}

std::optional<ComplexRows> complexFormOf(SparseRows const& rows) {
    if (rows.rows() % 2 != 0 || rows.cols() % 2 != 0) {
        return std::nullopt;
    }
    ComplexRows result(rows.rows() / 2, rows.cols() / 2);
    result.reserve(rows.nonZeros() / 2);
    for (int pair = 0; pair < result.rows(); ++pair) {
        if (!appendPair(rows, pair, result)) {
            return std::nullopt;
        }
    }
    result.finalize();
    return result;
}

bool isReal(ComplexRows const& rows) {
    return std::all_of(rows.valuePtr(), rows.valuePtr() + rows.nonZeros(),
                       [](Complex const& value) { return value.imag() == 0.0; });
}

class PlainFactor : public Factor {
public:
    explicit PlainFactor(SparseCholesky<double>&& newCholesky) : cholesky(std::move(newCholesky)) {}

    DenseValues solve(DenseValues const& rightSide) const override { return cholesky.solve(rightSide); }

private:
    SparseCholesky<double> cholesky;
};

/// The same matrix for the first coordinates and for the second.
class TwofoldFactor : public Factor {
public:
    explicit TwofoldFactor(SparseCholesky<double>&& newCholesky) : cholesky(std::move(newCholesky)) {}

    DenseValues solve(DenseValues const& rightSide) const override {
        auto const every2nd = Eigen::seq(0, rightSide.size() - 2, 2);
        auto const others = Eigen::seq(1, rightSide.size() - 1, 2);
        DenseValues result(rightSide.size());
        result(every2nd) = cholesky.solve(rightSide(every2nd));
        result(others) = cholesky.solve(rightSide(others));
        return result;
    }

private:
    SparseCholesky<double> cholesky;
};

class ComplexFactor : public Factor {
public:
    explicit ComplexFactor(SparseCholesky<Complex>&& newCholesky) : cholesky(std::move(newCholesky)) {}

    DenseValues solve(DenseValues const& rightSide) const override {
        Eigen::VectorXcd numbers(rightSide.size() / 2);
        for (Eigen::Index i = 0; i < numbers.size(); ++i) {
            numbers[i] = Complex(rightSide[2 * i], rightSide[2 * i + 1]);
        }
        Eigen::VectorXcd const solved = cholesky.solve(numbers);
        DenseValues result(rightSide.size());
        for (Eigen::Index i = 0; i < numbers.size(); ++i) {
            result[2 * i] = solved[i].real();
            result[2 * i + 1] = solved[i].imag();
        }
        return result;
    }

private:
    SparseCholesky<Complex> cholesky;
};

class LuFactor : public Factor {
public:
    explicit LuFactor(SparseRows const& matrix) : lu(Eigen::SparseMatrix<double>(matrix)) {}

    bool isThere() const { return lu.info() == Eigen::Success; }

    DenseValues solve(DenseValues const& rightSide) const override { return lu.solve(rightSide); }

private:
    Eigen::SparseLU<Eigen::SparseMatrix<double>, Eigen::COLAMDOrdering<int>> lu;
};

/// Factorises a matrix, whose lower triangle counts, for a factor of that kind.
template <class Kind, class Scalar>
std::unique_ptr<Factor> factorise(Eigen::SparseMatrix<Scalar> const& matrix, ShareListener const& listener) {
    SparseCholesky<Scalar> cholesky(matrix, listener);
    return cholesky.isPositiveDefinite() ? std::make_unique<Kind>(std::move(cholesky)) : nullptr;
}

} // namespace

std::unique_ptr<Factor> factoriseSymmetric(SparseRows const& matrix, ShareListener const& listener) {
    std::optional<ComplexRows> const complex = complexFormOf(matrix);
    if (!complex) {
        return factorise<PlainFactor>(Eigen::SparseMatrix<double>(matrix), listener);
    }
    if (isReal(*complex)) {
        return factorise<TwofoldFactor>(Eigen::SparseMatrix<double>(complex->real()), listener);
    }
    return factorise<ComplexFactor>(Eigen::SparseMatrix<Complex>(*complex), listener);
}

std::unique_ptr<Factor> factoriseNormal(SparseRows const& rows, ShareListener const& listener) {
    if (std::optional<ComplexRows> const complex = complexFormOf(rows)) {
        Eigen::SparseMatrix<Complex> const columns = *complex;
        return factorise<ComplexFactor>(Eigen::SparseMatrix<Complex>(columns.adjoint() * columns), listener);
    }
    Eigen::SparseMatrix<double> const columns = rows;
    return factorise<PlainFactor>(Eigen::SparseMatrix<double>(columns.transpose() * columns), listener);
}

std::unique_ptr<Factor> factoriseByLu(SparseRows const& matrix) {
    auto factor = std::make_unique<LuFactor>(matrix);
    return factor->isThere() ? std::move(factor) : nullptr;
}

} // namespace QELT::Inspection
