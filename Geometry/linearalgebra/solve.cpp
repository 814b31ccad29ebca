#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/linearalgebra/internal/compactrows.h"
#include "Geometry/linearalgebra/solvelistener.h"
#include "Geometry/linearalgebra/utility.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

// Conjugate gradients without preconditioning (Hestenes and Stiefel, "Methods of Conjugate Gradients for
// Solving Linear Systems", 1952), with the residual r = b - A x and the direction d = r to begin with. An
// iteration takes q = A d, goes alpha = r.r / d.q along d, lowers the residual by alpha q, and makes the
// next direction from the new residual plus beta = r.r / (the old r.r) times the old one, which is conjugate
// to it.
//
// - The residual that is tested is the one carried along, not b - A x computed anew. Only that is why an
//   absolute norm of 1e-20 can be reached, whatever the size of the numbers: it goes on shrinking after x
//   itself has come to rest at its rounding. A greater tolerance would end runs while digits of x still
//   change, and change all flat maps with them.
// - In exact arithmetic n iterations are enough for n unknowns; 262144 is the end for systems that rounding
//   keeps from it. A norm of NaN, as of a direction without curvature, is not greater than the tolerance and
//   ends the run at once.
// - An iteration costs one product with the matrix, together with the inner product d.q, and two passes over
//   the vectors. All storage is had before the first.
//
// Odd on purpose: all sums start at 0.0 and run in ascending order, one term after the other, since flat
// maps are compared bit by bit; only what has the same operands is shared. Whether anyone listens, and of
// which kind, is settled before the first call, as a plain listener may be gone after it.

namespace QELT::LinearAlgebra {

namespace {

/// The Euclidean norm of the residual at which a system counts as solved, whatever the size of its numbers.
constexpr double residualTolerance = 1e-20;
constexpr int maximumIterations = 262144;

/// The state of the conjugate gradient iteration for a square matrix. All storage is had at construction.
///
/// The two products with the matrix and the inner products that an iteration calls for have the same operands
/// several times over: each is computed once, in the loop that has its operands at hand. All sums start at
/// 0.0 and run in ascending order. Direction and product are longer than the other vectors, as `CompactRows`
/// asks.
class ConjugateGradients {
public:
    ConjugateGradients(SparseMatrix const& matrix, Vector const& start, Vector const& startResidual)
        : rows(matrix),
          iterate(start),
          residual(startResidual),
          direction(startResidual.getNumberOfValues() + CompactRows::valuesBehind, 0.0),
          product(direction.size()),
          residualSqr(residual.normL2Sqr()) {
        std::copy(startResidual.begin(), startResidual.end(), direction.begin());
    }

    void advance() {
        if (isStarted) {
            turnDirection();
        }
        isStarted = true;
        double const curvature = rows.multiply(direction.data(), product.data());
        step(residualSqr / curvature);
    }

    double getNorm() const { return std::sqrt(residualSqr); }

    Vector const& getIterate() const { return iterate; }

private:
    /// The new direction: the residual, plus as much of the old direction as makes the two conjugate.
    void turnDirection() {
        double const beta = residualSqr / previousResidualSqr;
        double const* const r = residual.begin();
        double* const d = direction.data();
        std::size_t const n = residual.getNumberOfValues();
        for (std::size_t i = 0; i < n; ++i) {
            d[i] = r[i] + d[i] * beta;
        }
    }

    /// Goes along the direction and brings the residual and its square up to date.
    void step(double alpha) {
        double const* const d = direction.data();
        double const* const q = product.data();
        double* const x = iterate.begin();
        double* const r = residual.begin();
        std::size_t const n = residual.getNumberOfValues();
        double sum = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            x[i] = x[i] + d[i] * alpha;
            double const value = r[i] - q[i] * alpha;
            r[i] = value;
            sum += value * value;
        }
        previousResidualSqr = residualSqr;
        residualSqr = sum;
    }

    CompactRows rows;
    Vector iterate;
    Vector residual;
    std::vector<double> direction;
    std::vector<double> product;
    double residualSqr;
    double previousResidualSqr = 0.0;
    bool isStarted = false;
};

SolveReport makeReport(int iterations, double norm, double rightSide) {
    return {static_cast<unsigned long>(iterations), norm, residualTolerance >= norm, rightSide};
}

/// Who is told of each iteration, as settled before the listener's first call: one that is no `SolveListener`
/// may be gone after it.
struct Audience {
    explicit Audience(ProgressListener* const& ownersListener)
        : listener(ownersListener),
          hasListener(ownersListener != nullptr),
          isSolveListener(dynamic_cast<SolveListener*>(ownersListener) != nullptr) {}

    void tell(SolveReport const& report) const {
        if (hasListener) {
            Utility::setSolveProgress(report.residual, static_cast<int>(report.iterations));
        }
        if (isSolveListener) {
            if (auto* const solveListener = dynamic_cast<SolveListener*>(listener)) {
                solveListener->setSolveProgress(report);
            }
        }
    }

    ProgressListener* const& listener;
    bool hasListener;
    bool isSolveListener;
};

/// Iterates from `x` until the residual's norm is small enough, NaN, or the iterations run out. `start` tells
/// of the start; on return `x` is the last iterate.
SolveReport iterate(SparseMatrix const& A, Vector& x, Vector const& residual, SolveReport const& start,
                    Audience const& audience) {
    ConjugateGradients gradients(A, x, residual);
    SolveReport report = start;
    int iterations = 0;
    while (report.residual > residualTolerance && iterations < maximumIterations) {
        ++iterations;
        gradients.advance();
        report = makeReport(iterations, gradients.getNorm(), start.rightSide);
        audience.tell(report);
    }
    x.set(&gradients.getIterate());
    return report;
}

/// `label`, a colon, the number as a stream in its original state would write it, and a full stop.
void appendItem(std::string& line, char const* label, double value) {
    constexpr int defaultPrecision = 6;
    std::array<char, 32> digits;
    auto const written = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                       std::chars_format::general, defaultPrecision);
    line += label;
    line += ": ";
    line.append(digits.data(), written.ptr);
    line += ".  ";
}

} // namespace

bool Utility::solve(SparseMatrix const& A, Vector& x, Vector const& b, unsigned long* pIterations,
                    ProgressListener* listener, ProgressTerminator* terminator) {
    SolveReport const report = solveWithReport(A, x, b, listener, terminator);
    if (pIterations != nullptr) {
        *pIterations = report.iterations;
    }
    return report.hasConverged;
}

SolveReport Utility::solveWithReport(SparseMatrix const& A, Vector& x, Vector const& b,
                                     ProgressListener* const& listener,
                                     ProgressTerminator* /* terminator */) {
    Audience const audience(listener);
    reportMessage(listener, "Solving linear system...");
    Vector const residual = b - A * x;
    SolveReport const start = makeReport(0, residual.normL2(), b.normL2());
    if (!(start.residual > residualTolerance)) {
        return start;
    }
    if (A.getNumberOfRows() != A.getNumberOfColumns()) {
        throw new SparseMatrix::SparseMatrixInvalidDimensionsException;
    }
    return iterate(A, x, residual, start, audience);
}

void Utility::setSolveProgress(double residual, int iterations) {
    std::string line = "\r";
    appendItem(line, "Residual L2 norm", residual);
    appendItem(line, "Iterations to Max. 262144", iterations);
    std::cout.write(line.data(), static_cast<std::streamsize>(line.size()));
}

} // namespace QELT::LinearAlgebra
