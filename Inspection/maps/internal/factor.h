#pragma once

#include "Inspection/maps/internal/sparsecholesky.h"

#include <Eigen/SparseCore>

#include <memory>

namespace QELT::Inspection {

using SparseRows = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;
using DenseValues = Eigen::VectorXd;

/// What solves a system again and again once it is factorised.
class Factor {
public:
    virtual ~Factor() = default;

    virtual DenseValues solve(DenseValues const& rightSide) const = 0;
};

/// By Cholesky; null if a pivot is not positive. The matrix must be symmetric but for rounding.
std::unique_ptr<Factor> factoriseSymmetric(SparseRows const& matrix, ShareListener const& listener);

/// Of the normal equations, the transpose of `rows` times `rows`; likewise.
std::unique_ptr<Factor> factoriseNormal(SparseRows const& rows, ShareListener const& listener);

/// By LU with row exchanges, for any square matrix; null if it finds no pivot. Cannot be stopped.
std::unique_ptr<Factor> factoriseByLu(SparseRows const& matrix);

} // namespace QELT::Inspection
