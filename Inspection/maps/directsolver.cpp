#include "Inspection/maps/directsolver.h"

#include "Inspection/maps/internal/factor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

// Both systems go the same way:
//
//   1. numbers that are not finite, and unknowns without an equation, end it: a factor would hide them;
//   2. the matrix is factorised (factor.cpp), of a least-squares problem that of its normal equations;
//   3. the solution is refined (Higham, "Accuracy and Stability of Numerical Algorithms", 2002, chapters 12
//      and 20): what is left of the right side is solved for again and added. The normal equations have the
//      square of the rows' condition, which grows with the square of the rim's edges: at 10,000 edges their
//      solution is 1e-4 off. What is left is therefore taken from the rows themselves, and two or three
//      refinements reach what the rows allow. The size of the corrections says when to stop: the residual is
//      at its rounding after the first solve already, while the solution still moves;
//   4. random values are multiplied by the matrix and solved for in the same way. A part that nothing holds
//      passes every test of the residual, but not this one; nor do slivers that cost most digits. On slivers
//      of 1e4 to 1e7 times their width the miss was within three times the distance between two solvers'
//      maps, from 1e-7 to 1 of the extent.
//
// The matrix of a map's inside is positive definite whatever its angles: it is the energy of the linear
// functions on the triangles, of which each counts for itself, less an area that a similarity alone makes as
// large. Obtuse angles, whose weights are negative, change nothing of that. It is not so where rounding has
// eaten up a sliver's area, and not symmetric where a surface meets itself in points. Then LU tries, and its
// answer has to pass the same tests.

namespace QELT::Inspection {

namespace {

constexpr unsigned long maxRefinements = 20;

/// A correction above this share of the one before it no longer helps.
constexpr double helpfulShare = 0.5;

/// A few roundings for each of the some ten terms of a residual's value.
constexpr double maxResidual = 1e-13;

/// What a map may be off, as a part of its extent.
constexpr double maxUncertainty = 1e-6;

/// LU fills up faster than Cholesky, and cannot be stopped: with so many unknowns it takes six seconds.
constexpr Eigen::Index maxUnknownsOfLu = 400000;

/// What the unknowns leave of the right side, and of how large terms that is the sum.
struct Remainder {
    DenseValues values;
    double scale = 0.0;

    double share() const { return values.size() == 0 ? 0.0 : values.norm() / scale; }
};

/// A system as the refinement sees it.
class System {
public:
    System(DirectSolver::Matrix const& matrix, DirectSolver::Values const& rightSide)
        : rows(rowsOf(matrix)), b(valuesOf(rightSide)) {
        if (rows.rows() != b.size()) {
            throw new DirectSolver::Matrix::SparseMatrixInvalidDimensionsException;
        }
    }

    virtual ~System() = default;
    System(System const&) = delete;
    System& operator=(System const&) = delete;

    static DenseValues valuesOf(DirectSolver::Values const& vector) {
        return Eigen::Map<DenseValues const>(vector.begin(),
                                             static_cast<Eigen::Index>(vector.getNumberOfValues()));
    }

    Eigen::Index unknowns() const { return rows.cols(); }

    bool isFinite() const {
        return b.allFinite() && std::all_of(rows.valuePtr(), rows.valuePtr() + rows.nonZeros(),
                                            [](double value) { return std::isfinite(value); });
    }

    /// Whether every unknown is in an equation.
    bool isComplete() const {
        std::vector<bool> isMet(static_cast<std::size_t>(rows.cols()));
        for (Eigen::Index k = 0; k < rows.nonZeros(); ++k) {
            if (rows.valuePtr()[k] != 0.0) {
                isMet[static_cast<std::size_t>(rows.innerIndexPtr()[k])] = true;
            }
        }
        return std::find(isMet.begin(), isMet.end(), false) == isMet.end();
    }

    DenseValues const& rightSide() const { return b; }

    DenseValues product(DenseValues const& x) const { return rows * x; }

    virtual std::unique_ptr<Factor> factorise(ShareListener const& listener) const = 0;

    /// For when the first factor was no good; null if there is none.
    virtual std::unique_ptr<Factor> factoriseOtherwise() const = 0;

    /// `target` takes the place of the right side.
    virtual Remainder remainder(DenseValues const& target, DenseValues const& x) const = 0;

protected:
    SparseRows const& getRows() const { return rows; }

private:
    static SparseRows rowsOf(DirectSolver::Matrix const& matrix);

    SparseRows rows;
    DenseValues b;
};

SparseRows System::rowsOf(DirectSolver::Matrix const& matrix) {
    SparseRows result(static_cast<Eigen::Index>(matrix.getNumberOfRows()),
                      static_cast<Eigen::Index>(matrix.getNumberOfColumns()));
    Eigen::Index count = 0;
    for (unsigned long r = 0; r < matrix.getNumberOfRows(); ++r) {
        count += static_cast<Eigen::Index>(matrix.getRow(r).values.size());
    }
    result.reserve(count);
    for (unsigned long r = 0; r < matrix.getNumberOfRows(); ++r) {
        auto const row = matrix.getRow(r);
        result.startVec(static_cast<Eigen::Index>(r));
        for (std::size_t k = 0; k < row.values.size(); ++k) {
            result.insertBack(static_cast<Eigen::Index>(r), row.columns[k]) = row.values[k];
        }
    }
    result.finalize();
    return result;
}

class SymmetricSystem : public System {
public:
    using System::System;

    std::unique_ptr<Factor> factorise(ShareListener const& listener) const override {
        return factoriseSymmetric(getRows(), listener);
    }

    std::unique_ptr<Factor> factoriseOtherwise() const override {
        return unknowns() <= maxUnknownsOfLu ? factoriseByLu(getRows()) : nullptr;
    }

    Remainder remainder(DenseValues const& target, DenseValues const& x) const override {
        return {target - getRows() * x, (getRows().cwiseAbs() * x.cwiseAbs()).norm() + target.norm()};
    }
};

class LeastSquaresSystem : public System {
public:
    LeastSquaresSystem(DirectSolver::Matrix const& matrix, DirectSolver::Values const& rightSide)
        : System(matrix, rightSide), transposed(getRows().transpose()) {}

    std::unique_ptr<Factor> factorise(ShareListener const& listener) const override {
        return factoriseNormal(getRows(), listener);
    }

    std::unique_ptr<Factor> factoriseOtherwise() const override { return nullptr; }

    Remainder remainder(DenseValues const& target, DenseValues const& x) const override {
        DenseValues const missed = target - getRows() * x;
        DenseValues const terms = getRows().cwiseAbs() * x.cwiseAbs() + target.cwiseAbs();
        return {transposed * missed, (transposed.cwiseAbs() * terms).norm()};
    }

private:
    SparseRows transposed;
};

double greatestOf(DenseValues const& values) {
    return values.size() == 0 ? 0.0 : values.cwiseAbs().maxCoeff();
}

/// The shares of the work that are done when the factor is made, and when the solution is refined.
constexpr double factorShare = 0.8;
constexpr double refinedShare = 0.9;

/// A refinement is told as a hundredth, the tenth and later ones as one.
double shareAfter(unsigned long refinements) {
    return 0.01 * static_cast<double>(std::min(refinements, 9UL));
}

struct Refined {
    DenseValues values;
    unsigned long refinements = 0;
    double correction = 0.0; ///< the last one's greatest value
};

/// Solves from `start` on. Values that are not finite are never added.
Refined refine(System const& system, Factor const& factor, DenseValues const& target,
               DenseValues const& start, ShareListener const& listener, double share) {
    Refined state{start, 0, std::numeric_limits<double>::infinity()};
    for (unsigned long k = 0; k <= maxRefinements; ++k) {
        listener(share + shareAfter(k));
        DenseValues const correction = factor.solve(system.remainder(target, state.values).values);
        double const size = greatestOf(correction);
        if (!correction.allFinite() || (k > 1 && size > state.correction)) {
            break;
        }
        bool const isLast = k > 0 && !(size < helpfulShare * state.correction);
        state.values += correction;
        state.refinements = k;
        state.correction = size;
        if (isLast || size <= std::numeric_limits<double>::epsilon() * greatestOf(state.values)) {
            break;
        }
    }
    return state;
}

/// Values from -1 to 1, the same on every platform.
DenseValues knownValues(Eigen::Index count) {
    std::mt19937 generator(1);
    DenseValues values(count);
    for (double& value : values) {
        value = static_cast<double>(generator()) / 2147483648.0 - 1.0;
    }
    return values;
}

/// How far known values of that extent are missed. Their right side has the part that no values explain in
/// common with the system's, of which `found` is the solution: a large one costs digits, too.
double missOf(System const& system, Factor const& factor, DenseValues const& found, double extent,
              ShareListener const& listener) {
    DenseValues const known = extent * knownValues(system.unknowns());
    DenseValues const target = system.product(known) + (system.rightSide() - system.product(found));
    Refined const again =
        refine(system, factor, target, DenseValues::Zero(system.unknowns()), listener, refinedShare);
    return greatestOf(again.values - known);
}

struct Attempt {
    DenseValues values;
    unsigned long refinements = 0;
    DirectSolve findings;
};

Attempt attempt(System const& system, Factor const& factor, DenseValues const& start,
                DirectSolveState success, ShareListener const& listener) {
    Refined const refined = refine(system, factor, system.rightSide(), start, listener, factorShare);
    double const greatest = greatestOf(refined.values);
    double const extent = greatest > 0.0 ? greatest : 1.0;
    Attempt result{refined.values, refined.refinements, {}};
    result.findings.residual = system.remainder(system.rightSide(), refined.values).share();
    double const miss = missOf(system, factor, refined.values, extent, listener);
    result.findings.uncertainty = std::max(refined.correction, miss) / extent;
    bool const doesHold =
        result.findings.residual <= maxResidual && result.findings.uncertainty <= maxUncertainty;
    result.findings.state = doesHold ? success : DirectSolveState::Inaccurate;
    return result;
}

Attempt failedAttempt(DenseValues const& start, DirectSolveState state) {
    double const noNumber = std::numeric_limits<double>::quiet_NaN();
    return {start, 0, {state, noNumber, noNumber}};
}

/// Cholesky's answer, or that of the other factor if it alone holds.
Attempt solve(System const& system, DenseValues const& start, ShareListener const& listener) {
    if (system.unknowns() == 0) {
        return {start, 0, {}};
    }
    if (!system.isFinite()) {
        return failedAttempt(start, DirectSolveState::NotFinite);
    }
    Attempt result = failedAttempt(start, DirectSolveState::Undetermined);
    if (!system.isComplete()) {
        return result;
    }
    if (auto const factor = system.factorise([&](double share) { listener(factorShare * share); })) {
        result = attempt(system, *factor, start, DirectSolveState::Solved, listener);
    }
    if (!result.findings.doesHold()) {
        if (auto const factor = system.factoriseOtherwise()) {
            Attempt const other = attempt(system, *factor, start, DirectSolveState::SolvedByLu, listener);
            return other.findings.doesHold() || result.findings.state == DirectSolveState::Undetermined
                       ? other
                       : result;
        }
    }
    return result;
}

/// Sends a percentage where it differs from the last one.
ShareListener percentagesTo(ProgressListener* const& listener) {
    return [&listener, last = 0UL](double share) mutable {
        auto const percent = static_cast<unsigned long>(std::lround(99.0 * share)) + 1;
        if (listener != nullptr && percent != last) {
            last = percent;
            listener->setPercentage(percent);
        }
    };
}

DirectSolver::Solution answer(System const& system, Attempt const& found) {
    auto const zeros = DenseValues::Zero(system.unknowns());
    DirectSolver::Solution solution{
        DirectSolver::Values(static_cast<unsigned long>(found.values.size())),
        {found.refinements, system.remainder(system.rightSide(), found.values).values.norm(),
         found.findings.doesHold(), system.remainder(system.rightSide(), zeros).values.norm()}};
    std::copy(found.values.begin(), found.values.end(), solution.values.begin());
    return solution;
}

} // namespace

DirectSolver::Solution DirectSolver::solveLeastSquares(Matrix const& rows, Values const& rightSide,
                                                       ProgressListener* const& listener) {
    leastSquares.reset();
    LeastSquaresSystem const system(rows, rightSide);
    Attempt const found = solve(system, DenseValues::Zero(system.unknowns()), percentagesTo(listener));
    leastSquares = found.findings;
    return answer(system, found);
}

DirectSolver::Solution DirectSolver::solveSymmetric(Matrix const& matrix, Values const& rightSide,
                                                    Values const* start, ProgressListener* const& listener) {
    symmetric.reset();
    if (matrix.getNumberOfRows() != matrix.getNumberOfColumns() ||
        (start != nullptr && start->getNumberOfValues() != matrix.getNumberOfColumns())) {
        throw new Matrix::SparseMatrixInvalidDimensionsException;
    }
    SymmetricSystem const system(matrix, rightSide);
    DenseValues const from =
        start != nullptr ? System::valuesOf(*start) : DenseValues::Zero(system.unknowns());
    Attempt const found = solve(system, from, percentagesTo(listener));
    symmetric = found.findings;
    return answer(system, found);
}

} // namespace QELT::Inspection
