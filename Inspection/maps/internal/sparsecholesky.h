#pragma once

#include <Eigen/Core>
#include <Eigen/SparseCore>

#include <complex>
#include <functional>
#include <vector>

namespace QELT::Inspection {

/// Is told the share of a work that is done, from 0 to 1; it stops the work by an exception.
using ShareListener = std::function<void(double share)>;

/// The Cholesky factor of a sparse positive definite matrix, of real numbers or of complex ones, of which
/// it is hermitian. The same matrix gives the same bits.
template <class Scalar>
class SparseCholesky {
public:
    using Matrix = Eigen::SparseMatrix<Scalar>;
    using Values = Eigen::Matrix<Scalar, Eigen::Dynamic, 1>;

    /// Reads the lower triangle. `listener`, if there is one, is told before each front.
    SparseCholesky(Matrix const& matrix, ShareListener const& listener);

    /// Whether every pivot was positive and finite. If not, there is no factor.
    bool isPositiveDefinite() const { return isDefinite; }

    /// Of a factor that is there.
    Values solve(Values const& rightSide) const;

private:
    using Dense = Eigen::Matrix<Scalar, Eigen::Dynamic, Eigen::Dynamic>;

    /// Columns of the factor that share their rows: `width` from `first` on, and below them the rows of
    /// `below`. `columns` holds all of these rows, of which the upper ones are triangular.
    struct Supernode {
        int first = 0;
        int width = 0;
        std::vector<int> below;
        Dense columns;
    };

    /// What eliminating a supernode leaves for the rows below it; the lower triangle counts.
    struct Update {
        std::vector<int> rows;
        Dense values;
    };

    /// A supernode before it is eliminated: its columns, how many rows it has below them, how many updates
    /// it takes up, and how many zeros it stores.
    struct Plan {
        int first = 0;
        int width = 0;
        int below = 0;
        int childCount = 0;
        double zeros = 0.0;

        double cost() const { return double(width) * (width + below) * (width + below); }
    };

    using Permutation = Eigen::PermutationMatrix<Eigen::Dynamic, Eigen::Dynamic, int>;

    void order(Matrix const& matrix);
    static std::vector<Plan> planFronts(Matrix const& upper);
    static void countChildren(std::vector<Plan>& plans, std::vector<int> const& parents);
    std::vector<int> rowsBelow(Plan const& plan, Matrix const& lower);
    Dense assemble(Plan const& plan, std::vector<int> const& below, Matrix const& lower);
    void addUpdate(Update const& update, Dense& front) const;
    bool eliminate(Plan const& plan, Matrix const& lower);
    static void solveForward(Supernode const& node, Values& x);
    static void solveBackward(Supernode const& node, Values& x);

    Permutation toFactor;
    std::vector<Supernode> supernodes;
    std::vector<Update> stack;
    std::vector<int> places; ///< of a row in the front that is being worked on
    std::vector<int> marks;
    bool isDefinite = true;
};

extern template class SparseCholesky<double>;
extern template class SparseCholesky<std::complex<double>>;

} // namespace QELT::Inspection
