#include "Inspection/maps/internal/sparsecholesky.h"

#include <Eigen/OrderingMethods>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numeric>
#include <utility>

// The multifrontal method (Duff and Reid, "The Multifrontal Solution of Indefinite Sparse Symmetric Linear
// Equations", 1983; Liu, "The Multifrontal Method for Sparse Matrix Solution", 1992).
//
//   1. the unknowns are ordered by approximate minimum degree, then along the elimination tree in postorder,
//      in which a column's descendants stand right before it;
//   2. the entries of each column of the factor are counted along the tree. Columns in a row that share
//      their rows form a supernode; small ones join the next one where few zeros are stored for it;
//   3. supernode by supernode a dense front is made of its columns and the updates that its children left on
//      a stack; its columns are eliminated, and what that leaves for the others goes onto the stack.
//
// A column at a time, as simpler methods go, waits for memory; fronts are dense and stay in the cache. They
// are also where the work can be stopped: the ordering is one step, and so is the elimination of a front.
//
// A pivot that is not positive and finite ends the work. There is no other tolerance: how good a solution is
// its residual tells. Dense products add up at most `panelWidth` terms at once, which every processor's cache
// holds in one piece, so the sums do not depend on its size.
//
// Of the triangulation of n points the factor has about n log n entries and costs about n to 1.5 steps.

namespace QELT::Inspection {

namespace {

constexpr int none = -1;

/// Columns that are eliminated in one step.
constexpr int panelWidth = 32;

/// Lower fronts are eliminated column by column: calls of dense kernels cost more.
constexpr int smallFrontHeight = 24;

/// A supernode joins the next one while no more zeros than this share of its entries are stored for it.
constexpr double maxZeroShare = 0.12;

/// Narrower ones join more freely: what a front costs besides its arithmetic is saved.
constexpr int narrowSupernode = 8;
constexpr double maxZeroShareOfNarrow = 0.4;

using Indices = std::vector<int>;

std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

/// The next column into which a column's elimination reaches, for each (Liu, "The Role of Elimination Trees
/// in Sparse Factorization", 1990). Column k of `upper` holds the row k of the lower triangle.
template <class Matrix>
Indices eliminationTree(Matrix const& upper) {
    auto const order = static_cast<int>(upper.cols());
    Indices parents(at(order), none);
    Indices ancestors(at(order), none);
    for (int k = 0; k < order; ++k) {
        for (typename Matrix::InnerIterator entry(upper, k); entry; ++entry) {
            for (int i = entry.index(); i != none && i < k;) {
                int const next = std::exchange(ancestors[at(i)], k);
                if (next == none) {
                    parents[at(i)] = k;
                }
                i = next;
            }
        }
    }
    return parents;
}

/// The columns, descendants before their ancestors and each subtree in one piece.
Indices postorderOf(Indices const& parents) {
    auto const order = static_cast<int>(parents.size());
    Indices firstChild(parents.size(), none);
    Indices nextSibling(parents.size(), none);
    Indices waiting;
    for (int k = order - 1; k >= 0; --k) {
        int const parent = parents[at(k)];
        if (parent == none) {
            waiting.push_back(k);
        } else {
            nextSibling[at(k)] = std::exchange(firstChild[at(parent)], k);
        }
    }
    Indices postorder;
    postorder.reserve(parents.size());
    while (!waiting.empty()) {
        int const k = waiting.back();
        int child = std::exchange(firstChild[at(k)], none);
        if (child == none) {
            waiting.pop_back();
            postorder.push_back(k);
        }
        for (; child != none; child = nextSibling[at(child)]) {
            waiting.push_back(child);
        }
    }
    return postorder;
}

/// How many entries each column of the factor has below its diagonal.
template <class Matrix>
Indices countsBelow(Matrix const& upper, Indices const& parents) {
    Indices counts(parents.size(), 0);
    Indices marks(parents.size(), none);
    for (int k = 0; k < static_cast<int>(parents.size()); ++k) {
        marks[at(k)] = k;
        for (typename Matrix::InnerIterator entry(upper, k); entry; ++entry) {
            for (int i = entry.index(); marks[at(i)] != k; i = parents[at(i)]) {
                marks[at(i)] = k;
                ++counts[at(i)];
            }
        }
    }
    return counts;
}

/// Whether a pivot's square root can be taken and divided by.
bool isUsable(double pivot) {
    return pivot > 0.0 && std::isfinite(pivot);
}

/// Eliminates the first `width` columns of a square block, column by column.
template <class Dense>
bool eliminateColumns(Eigen::Ref<Dense> front, Eigen::Index width) {
    Eigen::Index const height = front.rows();
    for (Eigen::Index j = 0; j < width; ++j) {
        double const pivot = std::real(front(j, j));
        if (!isUsable(pivot)) {
            return false;
        }
        front.col(j).tail(height - j) /= std::sqrt(pivot);
        for (Eigen::Index k = j + 1; k < height; ++k) {
            front.col(k).tail(height - k) -= front.col(j).tail(height - k) * Eigen::numext::conj(front(k, j));
        }
    }
    return true;
}

/// The same by dense kernels.
template <class Dense>
bool eliminatePanel(Eigen::Ref<Dense> front, Eigen::Index width) {
    Eigen::Index const below = front.rows() - width;
    auto corner = front.topLeftCorner(width, width);
    if (!eliminateColumns<Dense>(corner, width)) {
        return false;
    }
    auto side = front.bottomLeftCorner(below, width);
    corner.template triangularView<Eigen::Lower>().adjoint().template solveInPlace<Eigen::OnTheRight>(side);
    front.bottomRightCorner(below, below)
        .template selfadjointView<Eigen::Lower>()
        .rankUpdate(side, typename Dense::Scalar(-1.0));
    return true;
}

/// Eliminates the first `width` columns of a front: they become the factor's, what is behind them the update.
template <class Dense>
bool eliminateFront(Dense& front, Eigen::Index width) {
    for (Eigen::Index done = 0; done < width; done += panelWidth) {
        Eigen::Index const next = std::min<Eigen::Index>(panelWidth, width - done);
        Eigen::Index const height = front.rows() - done;
        bool const isSmall = height < smallFrontHeight || next == height;
        auto rest = front.bottomRightCorner(height, height);
        if (!(isSmall ? eliminateColumns<Dense>(rest, next) : eliminatePanel<Dense>(rest, next))) {
            return false;
        }
    }
    return true;
}

/// How many entries a supernode stores.
double entriesOf(double width, double below) {
    return width * (0.5 * (width + 1.0) + below);
}

/// Whether so many zeros may be stored in a supernode of this shape.
bool isWorthStoring(double zeros, double width, double below) {
    return zeros <=
           entriesOf(width, below) * (width <= narrowSupernode ? maxZeroShareOfNarrow : maxZeroShare);
}

} // namespace

template <class Scalar>
SparseCholesky<Scalar>::SparseCholesky(Matrix const& matrix, ShareListener const& listener) {
    order(matrix);
    Matrix lower(matrix.rows(), matrix.cols());
    lower.template selfadjointView<Eigen::Lower>() =
        matrix.template selfadjointView<Eigen::Lower>().twistedBy(toFactor);
    std::vector<Plan> const plans = planFronts(lower.adjoint());
    double const whole = std::accumulate(plans.begin(), plans.end(), 0.0,
                                         [](double sum, Plan const& plan) { return sum + plan.cost(); });
    supernodes.reserve(plans.size());
    places.resize(static_cast<std::size_t>(matrix.rows()));
    marks.assign(static_cast<std::size_t>(matrix.rows()), none);
    double done = 0.0;
    for (Plan const& plan : plans) {
        if (listener) {
            listener(done / whole);
        }
        isDefinite = eliminate(plan, lower);
        if (!isDefinite) {
            break;
        }
        done += plan.cost();
    }
    stack = {};
}

template <class Scalar>
void SparseCholesky<Scalar>::order(Matrix const& matrix) {
    auto const symmetric = matrix.template selfadjointView<Eigen::Lower>();
    Permutation byDegree;
    Eigen::AMDOrdering<int>()(symmetric, byDegree);
    Matrix upper(matrix.rows(), matrix.cols());
    upper.template selfadjointView<Eigen::Upper>() = symmetric.twistedBy(byDegree.inverse());
    Indices const postorder = postorderOf(eliminationTree(upper));
    toFactor.resize(matrix.rows());
    for (std::size_t place = 0; place < postorder.size(); ++place) {
        toFactor.indices()[byDegree.indices()[postorder[place]]] = static_cast<int>(place);
    }
}

template <class Scalar>
std::vector<typename SparseCholesky<Scalar>::Plan> SparseCholesky<Scalar>::planFronts(Matrix const& upper) {
    Indices const parents = eliminationTree(upper);
    Indices const counts = countsBelow(upper, parents);
    std::vector<Plan> plans;
    for (int k = 0; k < static_cast<int>(parents.size()); ++k) {
        Plan plan{k, 1, counts[at(k)], 0, 0.0};
        while (!plans.empty() && parents[at(plan.first - 1)] == plan.first) {
            Plan const& child = plans.back();
            double const zeros =
                plan.zeros + child.zeros + double(child.width) * (plan.width + plan.below - child.below);
            int const width = plan.width + child.width;
            if (!isWorthStoring(zeros, width, plan.below)) {
                break;
            }
            plan = {child.first, width, plan.below, 0, zeros};
            plans.pop_back();
        }
        plans.push_back(plan);
    }
    countChildren(plans, parents);
    return plans;
}

template <class Scalar>
void SparseCholesky<Scalar>::countChildren(std::vector<Plan>& plans, Indices const& parents) {
    Indices owners(parents.size());
    for (std::size_t p = 0; p < plans.size(); ++p) {
        std::fill_n(owners.begin() + plans[p].first, plans[p].width, static_cast<int>(p));
    }
    for (Plan const& plan : plans) {
        int const parent = parents[at(plan.first + plan.width - 1)];
        if (parent != none) {
            ++plans[at(owners[at(parent)])].childCount;
        }
    }
}

template <class Scalar>
std::vector<int> SparseCholesky<Scalar>::rowsBelow(Plan const& plan, Matrix const& lower) {
    int const end = plan.first + plan.width;
    Indices rows;
    auto const take = [&](int row) {
        if (row >= end && std::exchange(marks[at(row)], plan.first) != plan.first) {
            rows.push_back(row);
        }
    };
    for (int k = plan.first; k < end; ++k) {
        for (typename Matrix::InnerIterator entry(lower, k); entry; ++entry) {
            take(entry.index());
        }
    }
    std::for_each(stack.end() - plan.childCount, stack.end(),
                  [&](Update const& child) { std::for_each(child.rows.begin(), child.rows.end(), take); });
    std::sort(rows.begin(), rows.end());
    return rows;
}

template <class Scalar>
typename SparseCholesky<Scalar>::Dense
SparseCholesky<Scalar>::assemble(Plan const& plan, Indices const& below, Matrix const& lower) {
    std::iota(places.begin() + plan.first, places.begin() + plan.first + plan.width, 0);
    for (std::size_t k = 0; k < below.size(); ++k) {
        places[at(below[k])] = plan.width + static_cast<int>(k);
    }
    auto const height = plan.width + static_cast<Eigen::Index>(below.size());
    Dense front = Dense::Zero(height, height);
    for (int k = 0; k < plan.width; ++k) {
        for (typename Matrix::InnerIterator entry(lower, plan.first + k); entry; ++entry) {
            front(places[at(entry.index())], k) += entry.value();
        }
    }
    for (int child = 0; child < plan.childCount; ++child) {
        addUpdate(stack.back(), front);
        stack.pop_back();
    }
    return front;
}

template <class Scalar>
void SparseCholesky<Scalar>::addUpdate(Update const& update, Dense& front) const {
    auto const size = static_cast<Eigen::Index>(update.rows.size());
    for (Eigen::Index c = 0; c < size; ++c) {
        Scalar* const column = front.col(places[at(update.rows[static_cast<std::size_t>(c)])]).data();
        for (Eigen::Index r = c; r < size; ++r) {
            column[places[at(update.rows[static_cast<std::size_t>(r)])]] += update.values(r, c);
        }
    }
}

template <class Scalar>
bool SparseCholesky<Scalar>::eliminate(Plan const& plan, Matrix const& lower) {
    Indices below = rowsBelow(plan, lower);
    Dense front = assemble(plan, below, lower);
    if (!eliminateFront(front, plan.width)) {
        return false;
    }
    auto const left = static_cast<Eigen::Index>(below.size());
    if (left > 0) {
        stack.push_back({below, front.bottomRightCorner(left, left)});
    }
    supernodes.push_back({plan.first, plan.width, std::move(below), front.leftCols(plan.width)});
    return true;
}

template <class Scalar>
void SparseCholesky<Scalar>::solveForward(Supernode const& node, Values& x) {
    for (Eigen::Index k = 0; k < node.width; ++k) {
        auto const column = node.columns.col(k);
        Scalar const value = x[node.first + k] / column[k];
        x[node.first + k] = value;
        for (Eigen::Index r = k + 1; r < node.width; ++r) {
            x[node.first + r] -= column[r] * value;
        }
        for (std::size_t r = 0; r < node.below.size(); ++r) {
            x[node.below[r]] -= column[node.width + static_cast<Eigen::Index>(r)] * value;
        }
    }
}

template <class Scalar>
void SparseCholesky<Scalar>::solveBackward(Supernode const& node, Values& x) {
    for (Eigen::Index k = node.width - 1; k >= 0; --k) {
        auto const column = node.columns.col(k);
        Scalar value = x[node.first + k];
        for (Eigen::Index r = k + 1; r < node.width; ++r) {
            value -= Eigen::numext::conj(column[r]) * x[node.first + r];
        }
        for (std::size_t r = 0; r < node.below.size(); ++r) {
            value -=
                Eigen::numext::conj(column[node.width + static_cast<Eigen::Index>(r)]) * x[node.below[r]];
        }
        x[node.first + k] = value / column[k];
    }
}

template <class Scalar>
typename SparseCholesky<Scalar>::Values SparseCholesky<Scalar>::solve(Values const& rightSide) const {
    Values x = toFactor * rightSide;
    std::for_each(supernodes.begin(), supernodes.end(),
                  [&](Supernode const& node) { solveForward(node, x); });
    std::for_each(supernodes.rbegin(), supernodes.rend(),
                  [&](Supernode const& node) { solveBackward(node, x); });
    return toFactor.inverse() * x;
}

template class SparseCholesky<double>;
template class SparseCholesky<std::complex<double>>;

} // namespace QELT::Inspection
